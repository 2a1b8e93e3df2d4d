# A test program of a room. Its tests are named after the room, so that `ctest -R '^sr\.'` runs a room's.
#
#   tavrel_test(ROOM SOURCE...
#       [PART NAME]             another program of the same room: test_ROOM_NAME
#       [LIBRARIES LIBRARY...]  what it links beside GoogleTest
#       [DEFINITIONS D...]
#       [ENGINES | CLUSTERS WHICH | RUNNER COMMAND...]
#       [LOCK WHAT]             what one of its tests has to itself
#       [TIMEOUT SECONDS])      of one test (60)
#
# A room with a main.cpp among its sources brings its own main function. The tests of a program with
# ENGINES run beside PostgreSQL and MariaDB servers, with CLUSTERS beside clusters of them; as one start of the
# servers, or whatever else a RUNNER starts, serves the whole program, ctest sees it as one test, ROOM.NAME.
function(tavrel_test room)
    cmake_parse_arguments(PARSE_ARGV 1 test ENGINES "PART;TIMEOUT;LOCK;CLUSTERS" "LIBRARIES;DEFINITIONS;RUNNER")
    if(NOT test_TIMEOUT)
        set(test_TIMEOUT 60)
    endif()
    set(support ${PROJECT_SOURCE_DIR}/tests/support)
    if(test_ENGINES)
        set(test_RUNNER env TAVREL_BIN=${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${support}/engines)
    elseif(test_CLUSTERS)
        set(test_RUNNER env TAVREL_BIN=${CMAKE_RUNTIME_OUTPUT_DIRECTORY} ${support}/clusters ${test_CLUSTERS})
    endif()
    string(REPLACE . _ program test_${room})
    if(test_PART)
        string(APPEND program _${test_PART})
    endif()

    add_executable(${program} ${test_UNPARSED_ARGUMENTS})
    set(main GTest::gtest_main)
    if(test_UNPARSED_ARGUMENTS MATCHES "main\\.cpp")
        set(main GTest::gtest)
    endif()
    target_link_libraries(${program} PRIVATE ${test_LIBRARIES} GTest::gmock ${main})
    target_compile_definitions(${program} PRIVATE ${test_DEFINITIONS})
    if(test_ENGINES OR test_CLUSTERS)
        add_dependencies(${program} orbenta-catalogue) # writes the engines' entries
    endif()

    # Libraries leak and race in their own way. A race of ours ends the program that it is in, so that a test
    # notices it in the programs that it starts too.
    set(properties
        TIMEOUT ${test_TIMEOUT}
        ENVIRONMENT LSAN_OPTIONS=suppressions=${support}/lsan.supp
        ENVIRONMENT_MODIFICATION "TSAN_OPTIONS=set:suppressions=${support}/tsan.supp halt_on_error=1")
    if(test_LOCK)
        list(APPEND properties RESOURCE_LOCK ${test_LOCK})
    endif()
    if(test_RUNNER)
        add_test(NAME ${room}.${test_PART} COMMAND ${test_RUNNER} $<TARGET_FILE:${program}>)
        set_tests_properties(${room}.${test_PART} PROPERTIES ${properties} COST ${test_TIMEOUT}) # the longest begin first
    else()
        gtest_discover_tests(${program} TEST_PREFIX ${room}. DISCOVERY_MODE PRE_TEST PROPERTIES ${properties})
    endif()
endfunction()
