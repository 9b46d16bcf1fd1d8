# The API reference. The `docs` target runs doxygen over the public headers and the
# pages of docs/ and writes HTML into <build>/docs/html; any warning, an undocumented
# public declaration included, fails it. The target exists when doxygen is found
# (Debian: doxygen) and GRAVOK_BUILD_DOCS is on; it is never part of the default build.
find_package(Doxygen QUIET)
if(NOT DOXYGEN_FOUND)
  message(STATUS "doxygen not found: the docs target is not available")
  return()
endif()

set(GRAVOK_DOCS_DIR ${PROJECT_BINARY_DIR}/docs)
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${GRAVOK_DOCS_DIR}/Doxyfile @ONLY)
file(GLOB GRAVOK_DOCS_INPUTS CONFIGURE_DEPENDS
  ${PROJECT_SOURCE_DIR}/include/gravok/*.h ${PROJECT_SOURCE_DIR}/docs/*.md)
add_custom_command(
  OUTPUT ${GRAVOK_DOCS_DIR}/html/index.html
  COMMAND ${DOXYGEN_EXECUTABLE} ${GRAVOK_DOCS_DIR}/Doxyfile
  DEPENDS ${GRAVOK_DOCS_DIR}/Doxyfile ${GRAVOK_DOCS_INPUTS}
  WORKING_DIRECTORY ${GRAVOK_DOCS_DIR}
  COMMENT "Building the API reference in ${GRAVOK_DOCS_DIR}/html"
  VERBATIM)
add_custom_target(docs DEPENDS ${GRAVOK_DOCS_DIR}/html/index.html)
