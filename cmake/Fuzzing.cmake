# Instruments everything for the fuzzer, and makes the first sanitizer error end the run.
find_package(GTest REQUIRED)

target_compile_options(compilerRules INTERFACE
    -O2 -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
target_link_options(compilerRules INTERFACE -fsanitize=address,undefined)
