# Windows programs cross-compiled on Linux run under Wine: test discovery, the tests
# and the package check all go through build/<preset>/wine/wine-run (see
# cmake/wine-run.sh.in), which CMake knows as the cross-compiling emulator. A test
# added with add_test(NAME ... COMMAND <target>) or gtest_discover_tests runs under
# Wine without anything else.
find_program(GRAVOK_WINE NAMES wine wine64 REQUIRED)
find_program(GRAVOK_WINESERVER NAMES wineserver REQUIRED
             HINTS /usr/lib/wine /usr/lib/x86_64-linux-gnu/wine)

# The folders of the MinGW-w64 runtime DLLs the programs link against.
set(GRAVOK_WINE_PATH "Z:${PROJECT_BINARY_DIR}")
foreach(dll libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
                  OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${path}" OR NOT EXISTS "${path}")
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} does not know where ${dll} is")
  endif()
  get_filename_component(folder "${path}" DIRECTORY)
  get_filename_component(folder "${folder}" REALPATH)
  string(APPEND GRAVOK_WINE_PATH ";Z:${folder}")
endforeach()

set(GRAVOK_WINE_PREFIX ${PROJECT_BINARY_DIR}/wine/prefix)
set(GRAVOK_WINE_RUN ${PROJECT_BINARY_DIR}/wine/wine-run)
configure_file(${PROJECT_SOURCE_DIR}/cmake/wine-run.sh.in ${GRAVOK_WINE_RUN} @ONLY
               FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
                                GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR ${GRAVOK_WINE_RUN})

# The prefix is made by the build, so that the first test discovery does not wait
# for it.
add_custom_command(OUTPUT ${GRAVOK_WINE_PREFIX}/.gravok-ready
                   COMMAND ${GRAVOK_WINE_RUN} --prefix-only
                   COMMENT "Creating the Wine prefix")
add_custom_target(gravok_wine_prefix ALL DEPENDS ${GRAVOK_WINE_PREFIX}/.gravok-ready)
