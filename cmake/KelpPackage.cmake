# Debian packages through `cpack -G DEB` in a build folder:
#   libkelp0     the runtime libraries and message catalogues (component runtime)
#   libkelp-dev  headers, CMake package and pkg-config file (component dev)
#   kelp-tools   the kelp tool and its manual page (component tools)
# Dependencies are written out rather than computed by dpkg-shlibdeps, which
# cannot see our own libraries while they are being packaged.
include_guard(GLOBAL)

set(CPACK_PACKAGE_NAME kelp)
set(CPACK_PACKAGE_VENDOR "libkelp developers")
set(CPACK_PACKAGE_CONTACT "libkelp developers <libkelp@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Utility library for product catalogues, baskets and prices")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tools)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(kelp_deb_version "${PROJECT_VERSION}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libkelp0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
  "libc6 (>= 2.34), libgcc-s1, libstdc++6 (>= 12), libsqlite3-0, libuuid1")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "libkelp runtime libraries\n libkelp.so.0 with its platform library and reference host, and the\n message catalogues of the text domain quv:kelp.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libkelp-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libkelp0 (= ${kelp_deb_version})")
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "libkelp development files\n Headers (one per class), the CMake package kelp and the pkg-config file kelp.pc.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kelp-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libkelp0 (= ${kelp_deb_version})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
  "the kelp command-line tool\n Checks and formats XML, renders rich text, computes money amounts and\n prints catalogue reports.")

include(CPack)
