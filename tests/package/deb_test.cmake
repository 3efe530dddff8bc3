# Script run by the deb_packages test (cmake -P): builds the three Debian
# packages with cpack, has lintian check them (when it is installed),
# unpacks them into a temporary root with dpkg -x, checks their names,
# dependencies and contents, runs the unpacked tool and builds the README's
# example against the root.
file(REMOVE_RECURSE ${WORK_DIR})
include(${CMAKE_CURRENT_LIST_DIR}/readme_example.cmake)
kelp_run(cpack -G DEB --config ${BUILD_DIR}/CPackConfig.cmake -B ${WORK_DIR}/debs)

set(root ${WORK_DIR}/root)
set(expect_libkelp0 "${LIBDIR}/libkelp.so.0" "${LIBDIR}/libkelp-platform.so.0"
    "${LIBDIR}/libkelp-host.so.0" "share/locale/de/LC_MESSAGES/quv:kelp.mo")
set(expect_libkelp-dev "include/kelp/kelp.h" "include/kelp/host.h"
    "include/kelp/platform/zob/zob_unknown.h" "include/kelp/platform/fw/fw_IApplication.h"
    "${LIBDIR}/libkelp.so" "${LIBDIR}/cmake/kelp/kelpConfig.cmake" "${LIBDIR}/pkgconfig/kelp.pc"
    "${LIBDIR}/pkgconfig/kelp-host.pc")
set(expect_kelp-tools "bin/kelp" "share/man/man1/kelp.1.gz"
    "share/bash-completion/completions/kelp" "share/doc/kelp/formats.md")
# Dependencies on system libraries are computed; ours are written out.
set(expect_depends_libkelp0 "^libc6 .*libsqlite3-0.*libuuid1")
set(expect_depends_libkelp-dev "^libkelp0 \\(= ${VERSION}\\)$")
set(expect_depends_kelp-tools "^libkelp0 \\(= ${VERSION}\\), libc6 ")
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
    if(NOT depends MATCHES "${expect_depends_${package}}")
      message(FATAL_ERROR "${package} depends on '${depends}'")
    endif()
  endif()
  # Every package names its licence and has its changelog.
  foreach(f copyright changelog.gz)
    list(APPEND expect_${package} "share/doc/${package}/${f}")
  endforeach()
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
# The platform's generic folder names stay below the library's own.
foreach(dir zob ktz vorn fw)
  if(EXISTS ${WORK_DIR}/only-libkelp-dev/usr/include/${dir})
    message(FATAL_ERROR "libkelp-dev installs include/${dir} at the include root")
  endif()
endforeach()
file(GLOB deb ${WORK_DIR}/debs/libkelp0_${VERSION}_*.deb)
kelp_run(dpkg-deb -I ${deb} shlibs triggers)
if(NOT kelp_last_output MATCHES "libkelp 0 libkelp0 \\(>= ${VERSION}\\)"
   OR NOT kelp_last_output MATCHES "activate-noawait ldconfig")
  message(FATAL_ERROR "libkelp0 lacks its shlibs or ldconfig trigger:\n${kelp_last_output}")
endif()

# lintian, Debian's package checker, finds no error; its warnings are
# explained in cmake/KelpPackage.cmake (the test command installs it).
find_program(LINTIAN lintian)
if(LINTIAN)
  file(GLOB debs ${WORK_DIR}/debs/*.deb)
  execute_process(COMMAND ${LINTIAN} --fail-on error ${debs}
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0 OR out MATCHES "(^|\n)[EW]: ")
    message(FATAL_ERROR "lintian:\n${out}\n${err}")
  endif()
else()
  message(STATUS "lintian is not installed; the packages were not checked")
endif()

# The unpacked tool finds the unpacked libraries by itself.
kelp_run(${root}/usr/bin/kelp --version)
if(NOT kelp_last_output MATCHES "^kelp ${VERSION} ")
  message(FATAL_ERROR "unpacked tool printed: ${kelp_last_output}")
endif()

set(PREFIX ${root}/usr)
kelp_build_readme_example()
file(REMOVE_RECURSE ${WORK_DIR})
