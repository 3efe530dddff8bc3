# The shared library's identity and exported symbols: SONAME libkelp.so.0,
# and nothing exported but the library's own namespaces.
if(NOT KELP_SANITIZE)
  add_test(NAME abi_symbols
    COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/package/check_symbols.sh $<TARGET_FILE:kelp>)
  set_tests_properties(abi_symbols PROPERTIES LABELS "unit;package")
endif()
