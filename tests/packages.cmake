# The Debian packages of a release build: made, checked, and installed in root directories of Debian's own
# packages.
add_check(packageRoot packages 15 scripts/package-root)
set_tests_properties(packageRoot PROPERTIES FIXTURES_SETUP packages)
add_check(lintian packages 5 scripts/lint packages)
add_python_tests(packages packages 8 tests/packaging -c tests/packaging/pytest.ini
    --ignore=tests/packaging/test_other_architecture.py)
set_tests_properties(lintian packages PROPERTIES FIXTURES_REQUIRED packages)
set_tests_properties(packages PROPERTIES FIXTURES_REQUIRED "packages;namespaces" ENVIRONMENT
    "TARNO_PACKAGES=${CMAKE_SOURCE_DIR}/build/release/packages;TARNO_PACKAGE_ROOT=${CMAKE_SOURCE_DIR}/build/package-root.tar;TARNO_MAKER_ROOT=${CMAKE_SOURCE_DIR}/build/maker-root.tar;TARNO_OPENRC_ROOT=${CMAKE_SOURCE_DIR}/build/openrc-root.tar")
