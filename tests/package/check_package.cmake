# Installs the build tree BUILD_DIR into WORK_DIR/prefix, then builds the host example
# in CONSUMER_DIR against the installed package twice, through find_package and through
# pkg-config, and runs both programs. Any failing step fails the script.
# In a cross build, TOOLCHAIN_FILE is the build's toolchain file and EMULATOR what runs
# its programs (Wine for Windows); the pkg-config half is for POSIX hosts only.

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status
                  OUTPUT_VARIABLE out ERROR_VARIABLE out)
  if(NOT status EQUAL 0)
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "failed (${status}): ${command}\n${out}")
  endif()
  set(last_output "${out}" PARENT_SCOPE)
endfunction()

set(config_args)
if(CONFIG)
  set(config_args --config ${CONFIG})
endif()
set(sanitize_flags)
if(SANITIZE)
  set(sanitize_flags -fsanitize=${SANITIZE})
endif()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} ${config_args} --prefix ${prefix})

# 1. find_package(gravok-data CONFIG REQUIRED) and gravok::data.
set(build ${WORK_DIR}/cmake-build)
if(TOOLCHAIN_FILE)
  set(compiler_args -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN_FILE})
else()
  set(compiler_args -DCMAKE_CXX_COMPILER=${CXX})
endif()
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${build} -G ${GENERATOR}
    -DCMAKE_BUILD_TYPE=${CONFIG} ${compiler_args}
    "-DCMAKE_CXX_FLAGS=${sanitize_flags}" -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${build} ${config_args})
find_program(consumer NAMES gravok-consumer gravok-consumer.exe
             PATHS ${build} ${build}/${CONFIG} NO_DEFAULT_PATH REQUIRED)
# A Windows program finds the installed DLL on its PATH (WINEPATH under Wine), ahead
# of the one in the build tree.
if(CMAKE_HOST_WIN32)
  set(ENV{PATH} "${prefix}/bin;$ENV{PATH}")
elseif(EMULATOR)
  set(ENV{WINEPATH} "Z:${prefix}/bin")
endif()
run(${EMULATOR} ${consumer})
message("${last_output}")

# 2. pkg-config --cflags --libs gravok-data.
if(NOT TOOLCHAIN_FILE AND NOT CMAKE_HOST_WIN32)
  find_program(PKG_CONFIG NAMES pkg-config pkgconf REQUIRED)
  set(ENV{PKG_CONFIG_PATH} ${prefix}/${LIBDIR}/pkgconfig)
  run(${PKG_CONFIG} --cflags --libs gravok-data)
  string(STRIP "${last_output}" pc_flags)
  separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
  run(${CXX} -std=c++17 ${sanitize_flags} ${CONSUMER_DIR}/main.cpp ${pc_flags}
      -Wl,-rpath,${prefix}/${LIBDIR} -o ${WORK_DIR}/pkg-config-consumer)
  run(${WORK_DIR}/pkg-config-consumer)
  message("through pkg-config: ${last_output}")
endif()

# 3. The installed tool and Python package, where the build has them, from the moved
# prefix: each finds the library in it through its relative run path.
if(NOT TOOLCHAIN_FILE AND NOT CMAKE_HOST_WIN32)
  if(EXISTS ${prefix}/bin/gravok)
    run(${prefix}/bin/gravok providers)
    message("installed gravok: ${last_output}")
  endif()
  file(GLOB_RECURSE python_packages ${prefix}/__init__.py)
  list(FILTER python_packages INCLUDE REGEX "/gravok/__init__.py$")
  if(python_packages)
    list(GET python_packages 0 package)
    get_filename_component(site ${package} DIRECTORY)
    get_filename_component(site ${site} DIRECTORY)
    find_program(PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
    # -s: a package in the user's site-packages must not stand in for this one. (No
    # semicolons in the code: run() would split it into arguments.)
    run(${CMAKE_COMMAND} -E env PYTHONPATH=${site} PYTHONDONTWRITEBYTECODE=1 ${PYTHON} -s -c
        "import gravok
assert gravok.__file__.startswith('${site}'), gravok.__file__
print(gravok.__file__, len(gravok.allElementTypes()), 'kinds')")
    message("installed Python package: ${last_output}")
  endif()
endif()
