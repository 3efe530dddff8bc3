# Debian packages through `cpack -G DEB` in a build folder:
#   libkelp0     the runtime libraries and message catalogues (component runtime)
#   libkelp-dev  headers, CMake package and pkg-config files (component dev)
#   kelp-tools   the kelp tool, its manual page, bash completion and the
#                data formats under share/doc/kelp (component tools)
# Built from a tree configured with CMAKE_INSTALL_PREFIX=/usr, the paths the
# tool and the library have compiled in (message catalogues, documentation)
# are those of the packages.
#
# lintian (Debian's package checker) passes them without an error. Each
# package carries its own copyright file (the Expat licence, LICENSE) and
# changelog; binaries are stripped; the manual page is compressed;
# dependencies on system libraries are computed by dpkg-shlibdeps, the ones
# between our packages are written out (dpkg-shlibdeps cannot see our own
# libraries while they are being packaged); libkelp0 declares its shared
# libraries (shlibs) and activates the ldconfig trigger.
#
# What lintian still says, and why it stays:
# - maintainer-script-empty (warning, overridden in
#   cmake/debian/libkelp0.lintian-overrides): libkelp0's postinst and postrm
#   do nothing on purpose; without them cpack writes scripts that call
#   ldconfig, which the trigger already does (maintscript-calls-ldconfig).
# - no-symbols-control-file (info): a symbols file needs dpkg-gensymbols
#   and a debian/ source tree; the shlibs file gives dependent packages a
#   correct, if coarser, version bound.
# - hardening-no-bindnow, hardening-no-fortify-functions (info): the flags
#   are the builder's choice (CMAKE_CXX_FLAGS, CMAKE_SHARED_LINKER_FLAGS);
#   packages from the debug build (-O0) cannot have fortified functions.
# - binary-has-unneeded-section .comment (info): cpack strips debugging
#   symbols only.
include_guard(GLOBAL)

# The one place that names who answers for the packages: the control files
# and the changelogs take it from here.
set(KELP_PACKAGE_MAINTAINER
  "Seed 709c5104 maintainers <maintainers@users.noreply.c-seed-709c5104.example>"
  CACHE STRING "Maintainer of the Debian packages: Name <address>")

set(CPACK_PACKAGE_NAME kelp)
set(CPACK_PACKAGE_VENDOR "libkelp developers")
set(CPACK_PACKAGE_CONTACT "${KELP_PACKAGE_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${KELP_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Utility library for product catalogues, baskets and prices")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Where dpkg-shlibdeps finds our own libraries while they are packaged.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/platform ${PROJECT_BINARY_DIR}/host)

set(kelp_deb_version "${PROJECT_VERSION}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkelp0)
# The shlibs file: only libkelp0 holds shared objects (the development
# package holds the .so links alone).
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "libkelp runtime libraries\n libkelp.so.0 with its platform library and reference host, and the\n message catalogues of the text domain quv:kelp.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libkelp-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libkelp0 (= ${kelp_deb_version})")
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "libkelp development files\n Headers (one per class), the CMake package kelp and the pkg-config\n files kelp.pc and kelp-host.pc.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kelp-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libkelp0 (= ${kelp_deb_version})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "command-line tool of libkelp\n Checks and formats XML, renders rich text, computes money amounts and\n prints catalogue reports.")

# Per package: the copyright file and the changelog (compressed), and the
# lintian overrides. Only package builds install them (EXCLUDE_FROM_ALL: a
# component install, as cpack runs, takes them; `cmake --install` does not).
find_program(KELP_GZIP gzip REQUIRED)
set(KELP_PACKAGE_DATE "Wed, 25 Nov 2026 12:00:00 +0000")
set(kelp_deb_dir ${PROJECT_BINARY_DIR}/debian)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/copyright.in ${kelp_deb_dir}/copyright @ONLY)
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in ${kelp_deb_dir}/changelog @ONLY)
add_custom_command(OUTPUT ${kelp_deb_dir}/changelog.gz
  COMMAND ${KELP_GZIP} -9 -n -c ${kelp_deb_dir}/changelog > ${kelp_deb_dir}/changelog.gz
  DEPENDS ${kelp_deb_dir}/changelog
  COMMENT "Compressing the Debian changelog")
add_custom_target(kelp-deb-changelog ALL DEPENDS ${kelp_deb_dir}/changelog.gz)
foreach(component runtime dev tools)
  string(TOUPPER ${component} c)
  set(package ${CPACK_DEBIAN_${c}_PACKAGE_NAME})
  install(FILES ${kelp_deb_dir}/copyright ${kelp_deb_dir}/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
  set(overrides ${PROJECT_SOURCE_DIR}/cmake/debian/${package}.lintian-overrides)
  if(EXISTS ${overrides})
    install(FILES ${overrides} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
      RENAME ${package} COMPONENT ${component} EXCLUDE_FROM_ALL)
  endif()
endforeach()
# Shared libraries are announced to the dynamic linker by dpkg's ldconfig
# trigger. Our own postinst and postrm keep cpack from writing scripts that
# call ldconfig as well.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers
  ${PROJECT_SOURCE_DIR}/cmake/debian/postinst ${PROJECT_SOURCE_DIR}/cmake/debian/postrm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
