# A program that never calls setlocale (label "unit"): in the "C" locale it
# starts in, the writer and the reader keep UTF-8 text.
add_executable(c_locale_check ${CMAKE_CURRENT_SOURCE_DIR}/c_locale/c_locale_check.cpp)
target_link_libraries(c_locale_check PRIVATE kelp kelp-host kelp-platform)
kelp_warnings(c_locale_check)
add_test(NAME c_locale COMMAND c_locale_check)
set_tests_properties(c_locale PROPERTIES LABELS "unit" ENVIRONMENT "LC_ALL=C")
