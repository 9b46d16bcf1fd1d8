# Installs the build tree as a packager does, with DESTDIR, checks that nothing lands
# outside the prefix, moves the installed tree and runs its gravok tool, which must
# find the installed plug-ins by itself. Arguments: -DBUILD_DIR=<build tree>
# -DWORK_DIR=<scratch folder> -DPREFIX=<absolute install prefix> -DLIBDIR=<the
# install's library folder, relative> -DSITE_PLUGIN=<a working test module>
# -DBARE_MODULE=<a module without entry points> -DLANDXML_FILE=<a LandXML surface>,
# where the Python package is built -DPYTHON=<its interpreter> and -DPYTHON_DIR=<its
# install folder, relative to the prefix or absolute>, and, in a multi-configuration
# build, -DCONFIG=<configuration>.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
set(failures "")
set(stage ${WORK_DIR}/stage)

function(fail what)
  set(failures "${failures}\n${what}" PARENT_SCOPE)
endfunction()

# 1. Everything the install writes lies under DESTDIR + PREFIX.
set(config_args)
if(CONFIG)
  set(config_args --config ${CONFIG})
endif()
set(ENV{DESTDIR} ${stage})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} ${config_args}
                        --prefix ${PREFIX}
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
unset(ENV{DESTDIR})
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "cmake --install failed (${rc}):\n${out}${err}")
endif()
string(REGEX MATCHALL "-- (Installing|Up-to-date): [^\n]*" lines "${out}")
list(LENGTH lines installed)
if(installed LESS 10)
  fail("only ${installed} files installed:\n${out}")
endif()
foreach(line IN LISTS lines)
  string(REGEX REPLACE "^-- [A-Za-z-]+: " "" path "${line}")
  string(FIND "${path}" "${stage}${PREFIX}/" at)
  if(NOT at EQUAL 0)
    fail("installed outside DESTDIR + prefix: ${path}")
  endif()
endforeach()
file(GLOB_RECURSE staged LIST_DIRECTORIES false "${stage}/*")
foreach(path IN LISTS staged)
  string(FIND "${path}" "${stage}${PREFIX}/" at)
  if(NOT at EQUAL 0)
    fail("outside the prefix in DESTDIR: ${path}")
  endif()
endforeach()

# 2. The installed tree, moved, finds its own plug-ins.
set(moved ${WORK_DIR}/moved)
file(RENAME ${stage}${PREFIX} ${moved})
set(gravok ${moved}/bin/gravok)
set(plugins ${moved}/${LIBDIR}/gravok/plugins)
set(landxml ${plugins}/libgravok_landxml_plugin.so)

# run(<name> <arguments>...): runs the moved tool; sets <name>_rc and <name>_out
# (standard error, where the warnings go before anything else, then standard output).
function(run name)
  execute_process(COMMAND ${gravok} ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out
                  ERROR_VARIABLE err)
  set(${name}_rc ${rc} PARENT_SCOPE)
  set(${name}_out "${err}${out}" PARENT_SCOPE)
endfunction()

# check(<name> <status> <regex> [NOT <regex>]): the run <name> exited with a status
# that matches <status>,
# its output matches <regex> and, after NOT, does not match the second one.
function(check name status regex)
  set(text "${${name}_out}")
  if(NOT "${${name}_rc}" MATCHES "^(${status})$" OR NOT text MATCHES "${regex}" OR
     (ARGC GREATER 4 AND text MATCHES "${ARGV4}"))
    fail("${name}: exit ${${name}_rc} (wanted ${status}), wanted /${regex}/ ${ARGV3} ${ARGV4}\n${text}")
  endif()
  set(failures "${failures}" PARENT_SCOPE)
endfunction()

# A path as a regular expression matching exactly it.
function(literal out path)
  string(REGEX REPLACE "([][+.*?()^$|\\\\])" "\\\\\\1" quoted "${path}")
  set(${out} "${quoted}" PARENT_SCOPE)
endfunction()
literal(landxml_re ${landxml})

run(providers providers)
check(providers 0 "landxml \\(store\\): [^\n]*\\[${landxml_re}\\]")
# Every other module installed beside it is found as well; the JSON and Triangle-file
# formats are built into the tool, whose own providers keep their names.
file(GLOB installed_modules ${plugins}/*.so)
foreach(module IN LISTS installed_modules)
  literal(module_re ${module})
  if(NOT module MATCHES "(json|triangle)_plugin" AND
     NOT providers_out MATCHES "\\[${module_re}\\]")
    fail("gravok providers names no provider of ${module}:\n${providers_out}")
  endif()
endforeach()

# A LandXML surface opens and draws with no plug-in option.
run(inspect inspect ${LANDXML_FILE})
check(inspect "[01]" "mesh: [0-9]+ vertices")
run(plot plot ${LANDXML_FILE} -o ${WORK_DIR}/surface.svg)
check(plot 0 "" NOT "warning|error")
if(NOT EXISTS ${WORK_DIR}/surface.svg)
  fail("plot wrote no ${WORK_DIR}/surface.svg")
endif()

# The moved tree's Python package opens it too, finding the same installed plug-ins
# (the environment names none).
if(PYTHON AND PYTHON_DIR AND NOT IS_ABSOLUTE "${PYTHON_DIR}")
  set(ENV{PYTHONPATH} ${moved}/${PYTHON_DIR})
  unset(ENV{GRAVOK_PLUGINS})
  unset(ENV{GRAVOK_PLUGIN_PATH})
  execute_process(
    COMMAND ${PYTHON} -c "import sys, gravok
problem = gravok.open(sys.argv[1])
print(gravok.installed_plugin_folder(), [s.name for s in problem.surfaces])"
            ${LANDXML_FILE}
    RESULT_VARIABLE python_rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  unset(ENV{PYTHONPATH})
  set(python_out "${err}${out}")
  literal(plugins_re ${plugins})
  check(python 0 "^${plugins_re} \\['A', 'B', 'C'\\]")
endif()

# The same module named again is skipped, not an error.
run(duplicate --verbose --plugin ${landxml} providers)
check(duplicate 0 "loaded already[^\n]*; skipped")
set(ENV{GRAVOK_PLUGINS} ${landxml})
run(duplicate_env providers)
unset(ENV{GRAVOK_PLUGINS})
check(duplicate_env 0 "landxml \\(store\\)" NOT "error|warning")

# --no-plugins loads only what --plugin names.
run(none --no-plugins providers)
check(none 0 "json \\(store\\)" NOT "landxml")
run(named --no-plugins --plugin ${landxml} providers)
check(named 0 "landxml \\(store\\)")

# GRAVOK_PLUGIN_PATH adds folders; an entry relative to the current directory is
# never read.
set(extra ${WORK_DIR}/extra)
file(MAKE_DIRECTORY ${extra})
file(CHMOD ${extra} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
     GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
file(COPY ${SITE_PLUGIN} DESTINATION ${extra} FILE_PERMISSIONS OWNER_READ OWNER_WRITE
     OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
get_filename_component(site_name ${SITE_PLUGIN} NAME)
literal(site_re ${extra}/${site_name})
set(ENV{GRAVOK_PLUGIN_PATH} "extra::${extra}")
execute_process(COMMAND ${gravok} providers WORKING_DIRECTORY ${WORK_DIR}
                RESULT_VARIABLE path_rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
set(path_out "${err}${out}")
check(path 0 "warning: the plug-in folder 'extra' is not an absolute path.*site-plugin survey sites \\(source\\): [^\n]*\\[${site_re}\\]")

# A folder that every user may write is refused, and the others still load.
file(CHMOD ${extra} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
     GROUP_WRITE GROUP_EXECUTE WORLD_READ WORLD_WRITE WORLD_EXECUTE)
run(open_folder providers)
check(open_folder 0 "warning: [^\n]*may be written by every user.*landxml \\(store\\)"
      NOT "site-plugin")
unset(ENV{GRAVOK_PLUGIN_PATH})

# A broken module in the installed folder is reported; the others still load.
file(COPY ${BARE_MODULE} DESTINATION ${plugins})
get_filename_component(bare_name ${BARE_MODULE} NAME)
run(broken providers)
check(broken 0 "warning: [^\n]*${bare_name}[^\n]*not a plug-in module.*landxml \\(store\\)")

if(failures)
  message(FATAL_ERROR "${failures}")
endif()
