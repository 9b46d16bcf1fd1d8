# The Python package's folder lies inside every install prefix: the per-user prefix,
# the interpreter's own prefix for local packages, and a prefix of no interpreter.
# Arguments: -DPYTHON=<interpreter> -DSOURCE_DIR=<source tree>.
include(${SOURCE_DIR}/cmake/GravokPythonSite.cmake)
execute_process(COMMAND ${PYTHON} -c "import site, sys, sysconfig; print(site.getuserbase(), sysconfig.get_path('platlib'), sys.version_info[0], sys.version_info[1], sep=';')"
                OUTPUT_VARIABLE facts OUTPUT_STRIP_TRAILING_WHITESPACE)
list(GET facts 0 user_base)
list(GET facts 1 own_platlib)
list(GET facts 2 major)
list(GET facts 3 minor)
get_filename_component(own_prefix ${own_platlib} DIRECTORY)  # lib/python3.X
get_filename_component(own_prefix ${own_prefix} DIRECTORY)   # lib
get_filename_component(own_prefix ${own_prefix} DIRECTORY)
file(RELATIVE_PATH own_folder ${own_prefix} ${own_platlib})

set(failures "")
foreach(case
        "${user_base}=lib/python${major}.${minor}/site-packages"
        "${own_prefix}=${own_folder}"
        "/opt/gravok-python-check=lib/python${major}.${minor}/site-packages"
        "/tmp/a prefix with spaces=lib/python${major}.${minor}/site-packages")
  string(REPLACE "=" ";" case "${case}")
  list(GET case 0 prefix)
  list(GET case 1 wanted)
  gravok_python_site(folder "${prefix}" ${PYTHON})
  if(NOT folder STREQUAL wanted)
    string(APPEND failures "\nprefix ${prefix}: '${folder}', wanted '${wanted}'")
  endif()
endforeach()
if(failures)
  message(FATAL_ERROR "${failures}")
endif()
