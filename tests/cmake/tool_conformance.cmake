# The W3C XML conformance suite through the kelp tool (label "conformance"):
# `kelp xml format` and `kelp xml canon` run as processes over the
# well-formed documents. The tests are part of the conformance program
# (tests/conformance/tool_xml_test.cpp) and report themselves skipped
# without the suite's data.
if(TARGET conformance_tests AND TARGET kelp-tool)
  target_compile_definitions(conformance_tests PRIVATE KELP_TOOL_PATH="$<TARGET_FILE:kelp-tool>")
  target_include_directories(conformance_tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/tool)
  add_dependencies(conformance_tests kelp-tool)

  add_test(NAME xmlconf_tool_format
           COMMAND conformance_tests --gtest_filter=XmlConformance.ToolFormat)
  add_test(NAME xmlconf_tool_canon
           COMMAND conformance_tests --gtest_filter=XmlConformance.ToolCanon)
  set_tests_properties(xmlconf_tool_format xmlconf_tool_canon PROPERTIES
    LABELS "conformance"
    TIMEOUT 900
    SKIP_REGULAR_EXPRESSION "\\[  SKIPPED \\]")
endif()
