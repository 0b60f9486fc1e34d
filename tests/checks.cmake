# Checks of the sources and the documents, and the coverage of the agent by its tests.
foreach(CHECK format shell python cppcheck)
    add_check(${CHECK} checks 10 scripts/lint ${CHECK})
endforeach()
add_python_tests(documents documents 5 tests/documents)

if(TARNO_COVERAGE)
    # Runs before all tests that count.
    add_check(counters coverage 1 find ${CMAKE_BINARY_DIR} -name *.gcda -delete)

    # What only a process with a master reaches. Its device and mappings come from the tools of the asan build.
    borrow_tools(${CMAKE_BINARY_DIR} asan)
    add_integration_tests(process coverage 10 --numprocesses 4
        tests/integration/test_command_line.py tests/integration/test_master_mode.py
        tests/integration/test_service_manager.py tests/integration/test_slow_sets.py
        tests/integration/test_start_up.py)
    set_tests_properties(process PROPERTIES DEPENDS counters
        ENVIRONMENT TARNO_BUILD_DIR=${CMAKE_BINARY_DIR} FIXTURES_REQUIRED "installed;namespaces")

    add_check(coverage coverage 5 scripts/coverage --report)
    set_tests_properties(coverage PROPERTIES
        DEPENDS "unitTests;process" FIXTURES_REQUIRED "installed;namespaces")
endif()
