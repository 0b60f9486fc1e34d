# The unit tests, and the integration tests with the agent, under memcheck. One share of the unit tests per
# processor.
set(LOGS ${CMAKE_BINARY_DIR}/memcheck)
set(UNDER_VALGRIND ${CMAKE_SOURCE_DIR}/tests/memcheck/under-valgrind)
set(MEMCHECK_TESTS memcheckIntegration)
cmake_host_system_information(RESULT PROCESSORS QUERY NUMBER_OF_LOGICAL_CORES)

foreach(PROGRAM unitTests mappingToolTests)
    math(EXPR LAST "${PROCESSORS} - 1")
    foreach(SHARE RANGE ${LAST})
        set(NAME memcheck-${PROGRAM}-${SHARE})
        add_check(${NAME} memcheck 60 ${UNDER_VALGRIND} $<TARGET_FILE:${PROGRAM}> --gtest_brief=1
            --gtest_output=xml:${TARNO_TEST_RESULTS}/${NAME}.xml)
        set_tests_properties(${NAME} PROPERTIES FIXTURES_REQUIRED "memcheckLogs;namespaces"
            ENVIRONMENT "TARNO_MEMCHECK_LOGS=${LOGS};GTEST_TOTAL_SHARDS=${PROCESSORS};GTEST_SHARD_INDEX=${SHARE}")
        list(APPEND MEMCHECK_TESTS ${NAME})
    endforeach()
endforeach()

# Each line has a test, a tab, and the reason.
file(STRINGS ${CMAKE_SOURCE_DIR}/tests/memcheck/unsuited UNSUITED REGEX "^[^#]+\t")
list(TRANSFORM UNSUITED REPLACE "^([^\t]*)\t.*" "--deselect=tests/integration/\\1")
math(EXPR WORKERS "${PROCESSORS} * 2")
add_integration_tests(memcheckIntegration memcheck 60 --numprocesses ${WORKERS} tests/integration ${UNSUITED})
set_tests_properties(memcheckIntegration PROPERTIES RUN_SERIAL ON
    FIXTURES_REQUIRED "memcheckLogs;installed;namespaces" ENVIRONMENT
    "TARNO_BUILD_DIR=${CMAKE_BINARY_DIR};TARNO_MEMCHECK_LOGS=${LOGS};TARNO_AGENT_LAUNCHER=${UNDER_VALGRIND}")

# In some tests the agent runs as a user of its own.
add_check(memcheckLogs memcheck 1 bash -c "rm -rf \"$1\" && mkdir --mode=1777 \"$1\"" clear ${LOGS})
set_tests_properties(memcheckLogs PROPERTIES FIXTURES_SETUP memcheckLogs)
add_check(memcheck memcheck 5 tests/memcheck/check-logs ${LOGS})
set_tests_properties(memcheck PROPERTIES DEPENDS "${MEMCHECK_TESTS}" FIXTURES_REQUIRED memcheckLogs)
