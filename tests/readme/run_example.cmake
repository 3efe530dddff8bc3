# Runs one "Getting started" program of the README (cmake -P) with its
# settings in a folder of its own, and compares what it prints with the
# README's text. Expects PROGRAM, EXPECTED, WORK_DIR and RUN_DIR (the folder
# it runs in: the source tree, whose samples/ the examples read).
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
set(ENV{KELP_REGISTRY_DIR} ${WORK_DIR})
execute_process(COMMAND ${PROGRAM} WORKING_DIRECTORY ${RUN_DIR} RESULT_VARIABLE rc OUTPUT_VARIABLE got ERROR_VARIABLE err)
file(REMOVE_RECURSE ${WORK_DIR})
file(READ ${EXPECTED} expected)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} failed (${rc}):\n${got}${err}")
endif()
if(NOT got STREQUAL expected)
  message(FATAL_ERROR "${PROGRAM} printed\n${got}\nthe README shows\n${expected}")
endif()
