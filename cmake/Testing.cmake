# How tests become CTest tests. Labels: unit, integration, documents, checks, robustness, packages.
# A test's requirements of the machine are fixtures: an unmet one is one failure, and its tests do not run.
# Every test has a time limit; a program that reports its own cases writes them to TARNO_TEST_RESULTS/<test>.xml.
include(GoogleTest)
find_program(PYTHON3 python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)
set(TARNO_TEST_RESULTS ${CMAKE_BINARY_DIR}/test-results)
file(MAKE_DIRECTORY ${TARNO_TEST_RESULTS})

# add_requirement(NAME ARGUMENT...): a fixture that succeeds if tests/integration/support/machine.py ARGUMENT...
# does.
function(add_requirement NAME)
    add_test(NAME ${NAME} WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}/tests/integration
        COMMAND ${PYTHON3} -B -m support.machine ${NAME} ${ARGN})
    set_tests_properties(${NAME} PROPERTIES FIXTURES_SETUP ${NAME} LABELS requirements TIMEOUT 330)
endfunction()

# add_unit_tests(PROGRAM PROPERTY VALUE...): each case is a test of its own; with TARNO_UNIT_TESTS_AT_ONCE the
# whole program is one test.
function(add_unit_tests PROGRAM)
    if(NOT TARNO_UNIT_TESTS_AT_ONCE)
        gtest_discover_tests(${PROGRAM} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60
            PROPERTIES LABELS unit TIMEOUT 120 ${ARGN})
        return()
    endif()
    add_test(NAME ${PROGRAM}
        COMMAND ${CMAKE_SOURCE_DIR}/tests/with-own-files ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${PROGRAM}>
            --gtest_brief=1 --gtest_output=xml:${TARNO_TEST_RESULTS}/${PROGRAM}.xml)
    set_tests_properties(${PROGRAM} PROPERTIES LABELS unit TIMEOUT 600 DEPENDS counters ${ARGN})
endfunction()

# add_python_tests(NAME LABEL MINUTES PYTEST_ARGUMENT...): one run of pytest.
function(add_python_tests NAME LABEL MINUTES)
    if(NOT LAUNCHER)
        set(LAUNCHER ${CMAKE_SOURCE_DIR}/tests/with-own-files)
    endif()
    add_test(NAME ${NAME} WORKING_DIRECTORY ${CMAKE_SOURCE_DIR}
        COMMAND ${LAUNCHER} ${PYTHON3} -B -m pytest --quiet -p no:cacheprovider
            --junitxml=${TARNO_TEST_RESULTS}/${NAME}.xml ${ARGN})
    math(EXPR SECONDS "${MINUTES} * 60")
    set_tests_properties(${NAME} PROPERTIES LABELS ${LABEL} TIMEOUT ${SECONDS})
endfunction()

# add_integration_tests(NAME LABEL MINUTES PYTEST_ARGUMENT...): one run of tests that start the agent.
function(add_integration_tests NAME LABEL MINUTES)
    set(LAUNCHER ${CMAKE_SOURCE_DIR}/tests/integration/with-files-in-memory)
    add_python_tests(${NAME} ${LABEL} ${MINUTES} -c tests/integration/pytest.ini --dist loadgroup ${ARGN})
endfunction()

# borrow_tools(DIRECTORY PRESET): puts the tools of another build next to the agent in a directory for
# integration tests.
function(borrow_tools DIRECTORY PRESET)
    foreach(PROGRAM tools/deviceSim/tarnoDeviceSim tools/mapping/tarnoMapping)
        cmake_path(GET PROGRAM PARENT_PATH PARENT)
        file(MAKE_DIRECTORY ${DIRECTORY}/${PARENT})
        file(CREATE_LINK ${CMAKE_SOURCE_DIR}/build/${PRESET}/${PROGRAM} ${DIRECTORY}/${PROGRAM} SYMBOLIC)
    endforeach()
endfunction()

# add_check(NAME LABEL MINUTES COMMAND...): a command whose exit status is the result.
function(add_check NAME LABEL MINUTES)
    add_test(NAME ${NAME} WORKING_DIRECTORY ${CMAKE_SOURCE_DIR} COMMAND ${ARGN})
    math(EXPR SECONDS "${MINUTES} * 60")
    set_tests_properties(${NAME} PROPERTIES LABELS ${LABEL} TIMEOUT ${SECONDS})
endfunction()
