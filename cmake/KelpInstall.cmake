# Installation layout and the find_package(kelp) / pkg-config packages.
include_guard(GLOBAL)
include(CMakePackageConfigHelpers)

set(KELP_INSTALL_TARGETS kelp kelp-host)
if(KELP_PLATFORM STREQUAL "bundled")
  list(APPEND KELP_INSTALL_TARGETS kelp-platform)
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/
    DESTINATION ${KELP_PLATFORM_INSTALL_INCLUDEDIR} COMPONENT dev FILES_MATCHING PATTERN "*.h")
endif()
# Installed libraries find each other, and the tool finds them, relative to
# their own place, so that an installed or unpacked tree works wherever it
# lies.
set_target_properties(${KELP_INSTALL_TARGETS} PROPERTIES INSTALL_RPATH "$ORIGIN")
file(RELATIVE_PATH kelp_bin_to_lib /kelp-prefix/${CMAKE_INSTALL_BINDIR}
  /kelp-prefix/${CMAKE_INSTALL_LIBDIR})
set_target_properties(kelp-tool PROPERTIES INSTALL_RPATH "$ORIGIN/${kelp_bin_to_lib}")
install(TARGETS ${KELP_INSTALL_TARGETS} EXPORT kelpTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(TARGETS kelp-tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/kelp ${PROJECT_SOURCE_DIR}/host/include/kelp
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_BINARY_DIR}/include/kelp/kelp.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kelp COMPONENT dev)

set(KELP_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kelp)
install(EXPORT kelpTargets NAMESPACE kelp:: DESTINATION ${KELP_CMAKE_DIR} COMPONENT dev)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kelpConfig.cmake.in
  ${PROJECT_BINARY_DIR}/kelpConfig.cmake INSTALL_DESTINATION ${KELP_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kelpConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kelpConfig.cmake ${PROJECT_BINARY_DIR}/kelpConfigVersion.cmake
  DESTINATION ${KELP_CMAKE_DIR} COMPONENT dev)

# The .pc files find their prefix relative to their own folder, so that an
# installed tree can be moved (or unpacked into a staging root).
file(RELATIVE_PATH KELP_PC_PREFIX_REL
  /kelp-prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /kelp-prefix)
string(REGEX REPLACE "/$" "" KELP_PC_PREFIX_REL "${KELP_PC_PREFIX_REL}")
if(KELP_PLATFORM STREQUAL "bundled")
  set(KELP_PC_PLATFORM_CFLAGS "-I\${includedir}/kelp/platform")
  # What the platform library links privately, for static linking.
  set(KELP_PC_LIBS_PRIVATE "-lsqlite3 -luuid -pthread")
else()
  set(KELP_PC_PLATFORM_CFLAGS "")
  set(KELP_PC_LIBS_PRIVATE "-pthread")
endif()
foreach(pc kelp kelp-host)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${pc}.pc.in ${PROJECT_BINARY_DIR}/${pc}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

# The data formats the tool reads are its documentation: samples/README.md
# (the catalogue format) as share/doc/kelp/formats.md, and every further
# samples/<format>.md under its own name.
file(GLOB KELP_FORMAT_DOCS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/samples/*.md)
foreach(doc IN LISTS KELP_FORMAT_DOCS)
  get_filename_component(name ${doc} NAME)
  if(name STREQUAL "README.md")
    set(name formats.md)
  endif()
  install(FILES ${doc} DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME ${name} COMPONENT tools)
endforeach()
