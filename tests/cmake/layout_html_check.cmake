# The layout module's HTML output checked with libxml2's HTML parser. A
# program of its own: libxml2 is a test-only dependency and must stay out of
# libkelp and of the other test programs.
add_executable(layout_html_check ${CMAKE_CURRENT_SOURCE_DIR}/layout/lo_html_check.cpp)
target_link_libraries(layout_html_check PRIVATE kelp-test-support xml2)
target_include_directories(layout_html_check PRIVATE ${PROJECT_SOURCE_DIR} /usr/include/libxml2)
kelp_warnings(layout_html_check)
gtest_discover_tests(layout_html_check DISCOVERY_TIMEOUT 60 PROPERTIES LABELS unit)
