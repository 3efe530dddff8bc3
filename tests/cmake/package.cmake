# Installs the project into a staging folder and builds a small outside
# project against it, once through find_package(kelp) and once through
# pkg-config, so that the package files are known to work.
if(NOT KELP_SANITIZE)
  add_test(NAME package_consumer
    COMMAND ${CMAKE_COMMAND}
      -DBUILD_DIR=${PROJECT_BINARY_DIR}
      -DSOURCE_DIR=${CMAKE_CURRENT_SOURCE_DIR}/package/consumer
      -DWORK_DIR=${CMAKE_CURRENT_BINARY_DIR}/package-consumer
      -DCXX=${CMAKE_CXX_COMPILER}
      -P ${CMAKE_CURRENT_SOURCE_DIR}/package/consumer_test.cmake)
  set_tests_properties(package_consumer PROPERTIES LABELS "package" TIMEOUT 600 RUN_SERIAL ON)
endif()
