# Extracts the texts marked label(lang, "...") from SOURCES (paths joined by
# commas) with xgettext and fails when the message template TEMPLATE lacks
# any of them (cmake -P).
string(REPLACE "," ";" sources "${SOURCES}")
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
execute_process(COMMAND ${XGETTEXT} -C --keyword= --keyword=label:2 --from-code=UTF-8
    -o ${WORK_DIR}/labels.pot ${sources}
  RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT EXISTS ${WORK_DIR}/labels.pot)
  message(FATAL_ERROR "xgettext found no labels in ${SOURCES}: ${err}")
endif()
execute_process(COMMAND ${MSGCMP} --use-untranslated ${TEMPLATE} ${WORK_DIR}/labels.pot
  RESULT_VARIABLE rc ERROR_VARIABLE err)
file(REMOVE_RECURSE ${WORK_DIR})
if(NOT rc EQUAL 0)
  string(REGEX REPLACE "[^\n]*this message is not used\n" "" err "${err}")
  message(FATAL_ERROR "labels missing from ${TEMPLATE}:\n${err}")
endif()
