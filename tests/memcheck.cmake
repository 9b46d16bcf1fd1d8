# The memcheck preset (GRAVOK_MEMCHECK=ON): every test program runs under valgrind's
# memcheck, which reports reads of uninitialised memory that AddressSanitizer does not
# see, invalid accesses and leaks. Any error makes the program exit with status 99, and
# the ctest entry fails. The wrapper is the targets' CROSSCOMPILING_EMULATOR, which
# add_test and gtest_discover_tests (listing and running) both put in front of a test
# program; it must be set before the test programs are created.
find_program(GRAVOK_VALGRIND NAMES valgrind REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR
    ${GRAVOK_VALGRIND} --tool=memcheck --error-exitcode=99 --track-origins=yes
    --suppressions=${CMAKE_CURRENT_SOURCE_DIR}/memcheck.supp
    --leak-check=full --show-leak-kinds=definite,indirect
    --errors-for-leak-kinds=definite,indirect --num-callers=30)

# Listing the tests of a program also runs under valgrind, which takes longer.
set(GRAVOK_DISCOVERY_TIMEOUT 300)

# What does not run under memcheck, each with its reason. This is the only list: it
# goes into the build tree's CTestCustom.cmake, which ctest reads before it runs.
set(gravok_memcheck_skipped
    # Death tests: the forked child ends with exit(1) by design, in the middle of the
    # test's frames; memcheck's leak check then finds the test's own heap blocks
    # unreachable, and its error status replaces the exit status the test expects.
    PolyFileDeathTest.UnreadableFilesEndTheProcessOrAreReportedByRead
    PolyFileFuzz.FieldsReadAsTheClassicStreamReadsThem
    # A file with a line of a gigabyte: memcheck's shadow memory for the reader's
    # gigabyte buffers and its slowdown on them would take minutes; the cases of the
    # same readers with 16 MiB fields run.
    HostileInput.ALongLineIsReadWithinItsOwnSize
    # Console tests drive a child program on a pseudo-terminal and wait for its output
    # and its threads; they do not run the child under memcheck anyway, and the slowed
    # parent makes them time-sensitive. The console layer's code is still checked by
    # log_test.
    Console.ColoursOnlyTerminalLinesAndSplitsLevelsBetweenStreams
    Console.ConcurrentLinesStayWhole
    # Not test programs of the library: a build of the headers, a look at the symbol
    # table, an install and a build of the host example.
    Headers.EachCompilesAlone
    Exports.OnlyInterfaceSymbols
    Package.ConsumedWhenInstalled)
list(JOIN gravok_memcheck_skipped "\n  " skipped)
file(WRITE ${PROJECT_BINARY_DIR}/CTestCustom.cmake
     "# Written by tests/memcheck.cmake: tests that do not run under memcheck.\n"
     "list(APPEND CTEST_CUSTOM_TESTS_IGNORE\n  ${skipped})\n")
