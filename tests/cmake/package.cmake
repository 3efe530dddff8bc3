# Packaging checks (label "package"): the installed tree and the Debian
# packages must each be usable by an outside project — the README's example
# is built and run against them. Not in sanitizer builds, whose libraries
# need the sanitizer runtime.
if(NOT KELP_SANITIZE)
  set(kelp_package_args
    -DBUILD_DIR=${PROJECT_BINARY_DIR}
    -DREADME=${PROJECT_SOURCE_DIR}/README.md
    -DLIBDIR=${CMAKE_INSTALL_LIBDIR}
    -DVERSION=${PROJECT_VERSION}
    -DCXX=${CMAKE_CXX_COMPILER})
  add_test(NAME package_consumer
    COMMAND ${CMAKE_COMMAND} ${kelp_package_args}
      -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/package-consumer
      -P ${CMAKE_CURRENT_SOURCE_DIR}/package/consumer_test.cmake)
  add_test(NAME deb_packages
    COMMAND ${CMAKE_COMMAND} ${kelp_package_args}
      -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/deb-packages
      -P ${CMAKE_CURRENT_SOURCE_DIR}/package/deb_test.cmake)
  set_tests_properties(package_consumer deb_packages PROPERTIES
    LABELS "package" TIMEOUT 600 RUN_SERIAL ON)
endif()
