# The binary-interface check: a test that compares the library just built with the
# committed baseline abi/gravok-data.abi (scripts/abi-check), and a target that
# rewrites the baseline from it after a deliberate change (scripts/abi-baseline).
# Both need libabigail's abidw and abidiff (Debian's abigail-tools). The baseline is
# made from a RelWithDebInfo build on Linux: the comparison reads the library's debug
# information, and only what the public headers in include/gravok declare counts.
if(NOT CMAKE_SYSTEM_NAME STREQUAL "Linux")
  message(FATAL_ERROR "GRAVOK_ABI_CHECK reads an ELF library: build it on Linux")
endif()
if(NOT CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
  message(WARNING "the ABI baseline is made from a RelWithDebInfo build, this one is "
                  "'${CMAKE_BUILD_TYPE}'")
endif()

enable_testing()
add_test(NAME abi.compatible_with_baseline
         COMMAND ${PROJECT_SOURCE_DIR}/scripts/abi-check $<TARGET_FILE:gravok-data>)
add_custom_target(abi-baseline
  COMMAND ${PROJECT_SOURCE_DIR}/scripts/abi-baseline $<TARGET_FILE:gravok-data>
  DEPENDS gravok-data
  USES_TERMINAL
  COMMENT "Writing abi/gravok-data.abi from the library just built")
