# Everything is built so that a fuzzer sees which branches an input takes, and so that the first
# error that a sanitizer finds ends the run.
find_package(GTest REQUIRED)

target_compile_options(compilerRules INTERFACE
    -O2 -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
target_link_options(compilerRules INTERFACE -fsanitize=address,undefined)
