# Script run by the package_consumer test (cmake -P): installs the build
# into a staging prefix, checks what is there and builds the README's
# example against it.
file(REMOVE_RECURSE ${WORK_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/readme_example.cmake)
set(PREFIX ${WORK_DIR}/prefix)
kelp_run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})
# The tool's documents come along; the packaging files stay out.
foreach(f share/man/man1/kelp.1.gz share/bash-completion/completions/kelp
          share/doc/kelp/formats.md include/kelp/platform/zob/zob_mem.h
          ${LIBDIR}/pkgconfig/kelp-host.pc)
  if(NOT EXISTS ${PREFIX}/${f})
    message(FATAL_ERROR "cmake --install did not install ${f}")
  endif()
endforeach()
if(EXISTS ${PREFIX}/share/doc/libkelp0 OR EXISTS ${PREFIX}/include/zob)
  message(FATAL_ERROR "cmake --install installed Debian files or include/zob")
endif()
kelp_build_readme_example()
file(REMOVE_RECURSE ${WORK_DIR})
