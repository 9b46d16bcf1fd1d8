# Debian packages, made by CPack's DEB generator from the install components (the
# package preset: `cmake --workflow --preset package`, or scripts/package):
#
#   libgravok-data1     component Runtime: the shared library, named after its SONAME
#   libgravok-data-dev  component Development: headers, the .so link, the CMake package
#                       and gravok-data.pc; depends on exactly this libgravok-data1
#   gravok-tools        component tools: the gravok tool, its manual page and the JSON,
#                       Triangle-files, LandXML and DXF plug-in modules
#   python3-gravok      component python: the package gravok for Debian's python3
#
# Each package carries in /usr/share/doc/<package>/ the copyright file (written from
# LICENSE, so that the licence text lives in one place), the Debian changelog and
# CHANGELOG.md as the upstream changelog. Dependencies on other packages come from
# dpkg-shlibdeps; those between these packages are exact versions.

if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  message(FATAL_ERROR "Debian packages are made on Linux only")
endif()
if(NOT CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  message(FATAL_ERROR "Debian packages install into /usr: configure with "
                      "-DCMAKE_INSTALL_PREFIX=/usr (the package preset does)")
endif()
find_program(GRAVOK_GZIP gzip REQUIRED)

set(GRAVOK_DEB_REVISION 1 CACHE STRING "Debian revision of the packages (the -1 of 1.0.0-1)")
set(GRAVOK_DEB_MAINTAINER "gravok-data developers <maintainers@gravok-data.invalid>"
    CACHE STRING "Maintainer field of the Debian packages: name <address>")
set(gravok_deb_version ${PROJECT_VERSION}-${GRAVOK_DEB_REVISION})

# Component -> package name; only the components this build installs are packaged.
set(gravok_deb_components Runtime Development)
set(gravok_deb_package_Runtime libgravok-data${PROJECT_VERSION_MAJOR})
set(gravok_deb_package_Development libgravok-data-dev)
set(gravok_deb_package_tools gravok-tools)
set(gravok_deb_package_python python3-gravok)
if(TARGET gravok)
  list(APPEND gravok_deb_components tools)
endif()
if(TARGET gravok_python)
  list(APPEND gravok_deb_components python)
endif()

# The copyright file in the machine-readable format: every file is the project's,
# under the licence of LICENSE, named by its SPDX identifier, with LICENSE's Copyright
# line as the header and its text from "Permission" on as the licence paragraph
# (blank lines as " .", every line indented by one space).
set(gravok_license_spdx MIT)
set(gravok_deb_dir ${PROJECT_BINARY_DIR}/debian)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/LICENSE)
file(READ ${PROJECT_SOURCE_DIR}/LICENSE gravok_license_text)
if(NOT gravok_license_text MATCHES "^MIT License\n")
  message(FATAL_ERROR "LICENSE is not the ${gravok_license_spdx} licence: update "
                      "gravok_license_spdx in ${CMAKE_CURRENT_LIST_FILE} with it")
endif()
if(NOT gravok_license_text MATCHES "(^|\n)Copyright (\\(c\\) )?([^\n]+)")
  message(FATAL_ERROR "LICENSE has no line starting with \"Copyright \"")
endif()
set(gravok_copyright "${CMAKE_MATCH_3}")
string(FIND "${gravok_license_text}" "Permission" gravok_terms_at)
string(SUBSTRING "${gravok_license_text}" ${gravok_terms_at} -1 gravok_license_text)
string(STRIP "${gravok_license_text}" gravok_license_text)
string(REPLACE "\n" "\n " gravok_license_text "\n${gravok_license_text}")
# Twice, for blank lines that follow each other.
string(REGEX REPLACE "\n [ \t]*\n" "\n .\n" gravok_license_text "${gravok_license_text}")
string(REGEX REPLACE "\n [ \t]*\n" "\n .\n" gravok_license_text "${gravok_license_text}")
file(WRITE ${gravok_deb_dir}/copyright
"Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: ${PROJECT_NAME}
Upstream-Contact: ${GRAVOK_DEB_MAINTAINER}

Files: *
Copyright: ${gravok_copyright}
License: ${gravok_license_spdx}

License: ${gravok_license_spdx}${gravok_license_text}
")

# The Debian changelog: one entry for this version, dated by SOURCE_DATE_EPOCH when
# it is set (reproducible packages), else by the time of configuring.
string(TIMESTAMP gravok_deb_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE ${gravok_deb_dir}/changelog.Debian
"${PROJECT_NAME} (${gravok_deb_version}) unstable; urgency=medium

  * Release ${PROJECT_VERSION}. What it holds: changelog.gz beside this file.

 -- ${GRAVOK_DEB_MAINTAINER}  ${gravok_deb_date}
")

# gzip -9n: the compression Debian asks for, without a name or time stamp.
set(gravok_deb_gz ${gravok_deb_dir}/changelog.Debian.gz ${gravok_deb_dir}/changelog.gz)
add_custom_command(
  OUTPUT ${gravok_deb_gz}
  COMMAND ${GRAVOK_GZIP} -9nc ${gravok_deb_dir}/changelog.Debian > ${gravok_deb_dir}/changelog.Debian.gz
  COMMAND ${GRAVOK_GZIP} -9nc ${PROJECT_SOURCE_DIR}/CHANGELOG.md > ${gravok_deb_dir}/changelog.gz
  DEPENDS ${gravok_deb_dir}/changelog.Debian ${PROJECT_SOURCE_DIR}/CHANGELOG.md
  COMMENT "Compressing the changelogs of the Debian packages"
  VERBATIM)
add_custom_target(gravok-deb-docs ALL DEPENDS ${gravok_deb_gz})

# lintian asks a first Debian changelog entry to close the archive's request-for-
# packaging bug; these packages are not uploaded to the archive, so there is none.
foreach(component IN LISTS gravok_deb_components)
  set(package ${gravok_deb_package_${component}})
  install(FILES ${gravok_deb_dir}/copyright ${gravok_deb_gz}
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package} COMPONENT ${component})
  file(WRITE ${gravok_deb_dir}/overrides/${package}
       "# Not uploaded to the Debian archive: no request-for-packaging bug to close.\n"
       "${package}: initial-upload-closes-no-bugs\n")
  install(FILES ${gravok_deb_dir}/overrides/${package}
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides COMPONENT ${component})
endforeach()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${GRAVOK_DEB_MAINTAINER})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL ${gravok_deb_components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${GRAVOK_DEB_REVISION})
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${GRAVOK_DEB_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The library of this build, for dpkg-shlibdeps to read what the tool, the plug-ins
# and the module need of it; the dependency on its package is written out below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
# A shlibs file for every library with a SONAME: only libgravok-data.so.1 has one.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
foreach(component IN LISTS gravok_deb_components)
  string(TOUPPER ${component} c)
  set(CPACK_DEBIAN_${c}_PACKAGE_NAME ${gravok_deb_package_${component}})
endforeach()
set(gravok_deb_runtime "${gravok_deb_package_Runtime} (= ${gravok_deb_version})")

# Descriptions: the first line is the package's synopsis, CPack indents the rest. The
# summary below is CPack's own default, which CPack leaves out of the description
# (any other summary would become every package's synopsis).
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
set(gravok_deb_about "gravok-data carries a terrain-grading problem between the applications that
hold site designs and the optimiser that reshapes the ground: the
existing-ground mesh, the grading elements, the slope limits and settings,
units and the coordinate origin.")

# The library. Its shlibs file tells dpkg-shlibdeps of other packages which package
# holds libgravok-data.so.1; the trigger runs ldconfig once after dpkg is done.
configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/triggers ${gravok_deb_dir}/runtime/triggers COPYONLY)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# CPack would also write a postinst and a postrm calling ldconfig, which the trigger
# replaces; naming those two scripts here, without making them, keeps them out (CPack
# warns that they are missing, and the package has neither).
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${gravok_deb_dir}/runtime/triggers
    ${gravok_deb_dir}/runtime/none/postinst ${gravok_deb_dir}/runtime/none/postrm)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "exchange of terrain-grading problems - shared library
${gravok_deb_about}

This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${gravok_deb_runtime}")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "exchange of terrain-grading problems - development files
${gravok_deb_about}

This package holds the C++ headers, the CMake package gravok-data (target
gravok::data) and the pkg-config file gravok-data.pc.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${gravok_deb_runtime}")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "exchange of terrain-grading problems - tool and plug-ins
${gravok_deb_about}

This package holds the gravok tool, which opens, inspects, copies, plots and
cleans grading problems, and the plug-in modules for JSON problem documents,
Triangle mesh files, LandXML surfaces and DXF drawings, which the tool and the
Python module find by themselves.")

if(TARGET gravok_python)
  # The extension is built for one interpreter version: the package depends on it.
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  set(gravok_py ${Python3_VERSION_MAJOR}.${Python3_VERSION_MINOR})
  math(EXPR gravok_py_next "${Python3_VERSION_MINOR} + 1")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  # Byte-compiled on installation and cleaned before removal (the scripts must be
  # named postinst and prerm inside the package).
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/python-postinst ${gravok_deb_dir}/python/postinst COPYONLY)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/python-prerm ${gravok_deb_dir}/python/prerm COPYONLY)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${gravok_deb_dir}/python/postinst
      ${gravok_deb_dir}/python/prerm)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
      "${gravok_deb_runtime}, python3 (>= ${gravok_py}), python3 (<< ${Python3_VERSION_MAJOR}.${gravok_py_next}), python3-numpy")
  set(CPACK_DEBIAN_PYTHON_DESCRIPTION "exchange of terrain-grading problems - Python 3 module
${gravok_deb_about}

This package holds the Python 3 module gravok, with NumPy arrays for meshes.")
endif()

include(CPack)
