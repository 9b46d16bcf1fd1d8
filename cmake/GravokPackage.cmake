# Install rules: the library, its headers, the CMake package gravok-data and the
# pkg-config file gravok-data.pc. The library itself is the component Runtime, all
# else the component Development; the tool and the plug-ins install as the component
# tools and the Python module as python, which keeps the packages of
# cmake/GravokDebian.cmake apart. Both package files are relocatable: they find the
# install prefix from their own location, so an installed tree may be moved whole.

set(GRAVOK_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/gravok-data)

install(TARGETS gravok-data EXPORT gravok-data-targets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT Runtime
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime
          NAMELINK_COMPONENT Development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Development
  FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT Development)
install(EXPORT gravok-data-targets NAMESPACE gravok::
  DESTINATION ${GRAVOK_CMAKE_DIR} COMPONENT Development)

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/gravok-data-config.cmake.in
  ${PROJECT_BINARY_DIR}/gravok-data-config.cmake
  INSTALL_DESTINATION ${GRAVOK_CMAKE_DIR})
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/gravok-data-config-version.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/gravok-data-config.cmake
  ${PROJECT_BINARY_DIR}/gravok-data-config-version.cmake
  DESTINATION ${GRAVOK_CMAKE_DIR} COMPONENT Development)

# The .pc file names its prefix relative to its own folder (pkg-config's pcfiledir).
set(GRAVOK_PC_DIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH GRAVOK_PC_TO_PREFIX /root/${GRAVOK_PC_DIR} /root)
string(REGEX REPLACE "/$" "" GRAVOK_PC_TO_PREFIX "${GRAVOK_PC_TO_PREFIX}")
set(GRAVOK_PC_PREFIX "\${pcfiledir}/${GRAVOK_PC_TO_PREFIX}")
# Installed into /usr (the Debian packages), the prefix is written as it is, so that
# pkg-config leaves out the system's -I/usr/include and -L, as for every system package.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(GRAVOK_PC_PREFIX /usr)
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/gravok-data.pc.in
               ${PROJECT_BINARY_DIR}/gravok-data.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/gravok-data.pc DESTINATION ${GRAVOK_PC_DIR}
        COMPONENT Development)
