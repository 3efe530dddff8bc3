# Translated unit names: the names are cached for the life of a process on
# first use, so each language runs in a program of its own, started in that
# language with the build tree's catalogues.
add_executable(l10n_tests ${CMAKE_CURRENT_SOURCE_DIR}/l10n/utl_UnitNames_l10n_test.cpp)
target_link_libraries(l10n_tests PRIVATE kelp-test-support)
add_dependencies(l10n_tests kelp-translations)
kelp_warnings(l10n_tests)
foreach(lang de fr)
  string(TOUPPER ${lang} country)
  add_test(NAME l10n_unit_names_${lang} COMMAND l10n_tests)
  set_tests_properties(l10n_unit_names_${lang} PROPERTIES LABELS unit
    ENVIRONMENT "LC_ALL=${lang}_${country}.UTF-8;LANGUAGE=;KELP_LOCALEDIR=${PROJECT_BINARY_DIR}/locale"
    SKIP_RETURN_CODE 77)
endforeach()

# Every catalogue translates every text of the template.
find_program(KELP_MSGCMP msgcmp)
if(KELP_MSGCMP)
  foreach(lang de fr)
    add_test(NAME l10n_catalogue_complete_${lang}
      COMMAND ${KELP_MSGCMP} ${PROJECT_SOURCE_DIR}/po/${lang}.po
              ${PROJECT_SOURCE_DIR}/po/quv-kelp.pot)
    set_tests_properties(l10n_catalogue_complete_${lang} PROPERTIES LABELS unit)
  endforeach()
endif()

# The labels of the tool's catalogue report and quote (marked
# `label(lang, "...")`) are all in the template, and so, by the tests above,
# translated.
find_program(KELP_XGETTEXT xgettext)
if(KELP_MSGCMP AND KELP_XGETTEXT)
  add_test(NAME l10n_catalogue_report_labels
    COMMAND ${CMAKE_COMMAND} -DXGETTEXT=${KELP_XGETTEXT} -DMSGCMP=${KELP_MSGCMP}
      -DSOURCES=${PROJECT_SOURCE_DIR}/tools/kelp/kelp_catalogue.cpp,${PROJECT_SOURCE_DIR}/tools/kelp/kelp_basket.cpp
      -DTEMPLATE=${PROJECT_SOURCE_DIR}/po/quv-kelp.pot
      -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/l10n-labels
      -P ${CMAKE_CURRENT_SOURCE_DIR}/l10n/labels_in_template.cmake)
  set_tests_properties(l10n_catalogue_report_labels PROPERTIES LABELS unit)
endif()
