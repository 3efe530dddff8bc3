# Script run by the deb_packages test (cmake -P): builds the three Debian
# packages with cpack, unpacks them into a temporary root with dpkg -x,
# checks their names, dependencies and contents, runs the unpacked tool and
# builds the README's example against the root.
file(REMOVE_RECURSE ${WORK_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/readme_example.cmake)
kelp_run(cpack -G DEB --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}/debs)

set(root ${WORK_DIR}/root)
set(expect_libkelp0 "${LIBDIR}/libkelp.so.0" "${LIBDIR}/libkelp-platform.so.0"
    "${LIBDIR}/libkelp-host.so.0" "share/locale/de/LC_MESSAGES/quv:kelp.mo")
set(expect_libkelp-dev "include/kelp/kelp.h" "include/kelp/host.h" "include/zob/zob_unknown.h"
    "${LIBDIR}/libkelp.so" "${LIBDIR}/cmake/kelp/kelpConfig.cmake" "${LIBDIR}/pkgconfig/kelp.pc")
set(expect_kelp-tools "bin/kelp" "share/man/man1/kelp.1")
set(expect_depends_libkelp-dev "libkelp0 (= ${VERSION})")
set(expect_depends_kelp-tools "libkelp0 (= ${VERSION})")
foreach(package libkelp0 libkelp-dev kelp-tools)
  file(GLOB deb ${WORK_DIR}/debs/${package}_${VERSION}_*.deb)
  if(NOT deb)
    message(FATAL_ERROR "cpack made no ${package} package")
  endif()
  kelp_run(dpkg-deb -f ${deb} Package)
  string(STRIP "${kelp_last_output}" name)
  if(NOT name STREQUAL package)
    message(FATAL_ERROR "${deb} names itself '${name}'")
  endif()
  if(DEFINED expect_depends_${package})
    kelp_run(dpkg-deb -f ${deb} Depends)
    string(STRIP "${kelp_last_output}" depends)
    if(NOT depends STREQUAL expect_depends_${package})
      message(FATAL_ERROR "${package} depends on '${depends}'")
    endif()
  endif()
  # Each package holds its own files and none of the others'.
  set(only ${WORK_DIR}/only-${package})
  kelp_run(dpkg -x ${deb} ${only})
  foreach(f IN LISTS expect_${package})
    if(NOT EXISTS ${only}/usr/${f} AND NOT IS_SYMLINK ${only}/usr/${f})
      message(FATAL_ERROR "${package} lacks /usr/${f}")
    endif()
  endforeach()
  kelp_run(dpkg -x ${deb} ${root})
endforeach()
if(EXISTS ${WORK_DIR}/only-libkelp0/usr/include OR EXISTS ${WORK_DIR}/only-libkelp0/usr/bin)
  message(FATAL_ERROR "libkelp0 holds development or tool files")
endif()

# The unpacked tool finds the unpacked libraries by itself.
kelp_run(${root}/usr/bin/kelp --version)
if(NOT kelp_last_output MATCHES "^kelp ${VERSION} ")
  message(FATAL_ERROR "unpacked tool printed: ${kelp_last_output}")
endif()

set(PREFIX ${root}/usr)
kelp_build_readme_example()
file(REMOVE_RECURSE ${WORK_DIR})
