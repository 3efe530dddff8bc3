# The W3C XML conformance suite (label "conformance"). Its data is fetched by
# scripts/fetch-test-data.sh into build/cache/xmlconf; without it the test
# reports itself skipped. Unexpected results fail the test while
# KELP_CONFORMANCE_ENFORCE is on (the default); off, they are only reported.
option(KELP_CONFORMANCE_ENFORCE "Fail the XML conformance test on unexpected results" ON)

add_executable(conformance_tests ${CMAKE_CURRENT_SOURCE_DIR}/conformance/xmlconf_test.cpp)
target_link_libraries(conformance_tests PRIVATE kelp-test-support)
target_compile_definitions(conformance_tests PRIVATE
  KELP_XMLCONF_DIR="${PROJECT_SOURCE_DIR}/build/cache/xmlconf/xmlconf"
  KELP_KNOWN_DEVIATIONS="${CMAKE_CURRENT_SOURCE_DIR}/conformance/known_deviations.txt")
kelp_warnings(conformance_tests)

if(KELP_CONFORMANCE_ENFORCE)
  set(kelp_conformance_enforce 1)
else()
  set(kelp_conformance_enforce 0)
endif()
add_test(NAME xmlconf COMMAND conformance_tests)
set_tests_properties(xmlconf PROPERTIES
  LABELS "conformance"
  TIMEOUT 900
  SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]"
  ENVIRONMENT "KELP_CONFORMANCE_ENFORCE=${kelp_conformance_enforce}")
