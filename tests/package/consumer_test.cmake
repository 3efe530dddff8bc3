# Script run by the package_consumer test (cmake -P): installs the build
# into a staging prefix and builds the README's example against it.
file(REMOVE_RECURSE ${WORK_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/readme_example.cmake)
set(PREFIX ${WORK_DIR}/prefix)
kelp_run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})
kelp_build_readme_example()
file(REMOVE_RECURSE ${WORK_DIR})
