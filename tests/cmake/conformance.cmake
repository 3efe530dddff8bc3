# The W3C XML conformance suite (label "conformance"). Its data is fetched by
# scripts/fetch-test-data.sh into build/cache/xmlconf; without it the tests
# report themselves skipped. Unexpected results fail xmlconf while
# KELP_CONFORMANCE_ENFORCE is on (the default); off, they are only reported.
# Every tests/conformance/*_test.cpp goes into one program; each CTest below
# runs its own test of it.
option(KELP_CONFORMANCE_ENFORCE "Fail the XML conformance test on unexpected results" ON)

file(GLOB kelp_conformance_sources CONFIGURE_DEPENDS
  ${CMAKE_CURRENT_SOURCE_DIR}/conformance/*_test.cpp)
add_executable(conformance_tests ${kelp_conformance_sources})
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
add_test(NAME xmlconf COMMAND conformance_tests --gtest_filter=XmlConformance.W3CSuite)
set_tests_properties(xmlconf PROPERTIES
  LABELS "conformance"
  TIMEOUT 900
  SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]"
  ENVIRONMENT "KELP_CONFORMANCE_ENFORCE=${kelp_conformance_enforce}")

# Every well-formed document of the suite read into a DOM, written and read
# again gives an equal tree.
add_test(NAME xmlconf_dom_roundtrip COMMAND conformance_tests --gtest_filter=XmlConformance.DomRoundTrip)
set_tests_properties(xmlconf_dom_roundtrip PROPERTIES
  LABELS "conformance"
  TIMEOUT 900
  SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]")
