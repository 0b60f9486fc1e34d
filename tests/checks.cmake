# What the sources and the documents have to be; and how much of the agent the tests of a coverage build reach.
foreach(CHECK format shell cppcheck)
    add_check(${CHECK} checks 10 scripts/lint ${CHECK})
endforeach()
add_python_tests(documents documents 5 tests/documents)

if(TARNO_COVERAGE)
    # Before all tests that are counted.
    add_check(counters coverage 1 find ${CMAKE_BINARY_DIR} -name *.gcda -delete)
    add_check(coverage coverage 5 scripts/coverage --report)
    set_tests_properties(coverage PROPERTIES
        DEPENDS "unitTests;mappingToolTests;integration;published" FIXTURES_REQUIRED "namespaces;netbase;modules")
endif()
