#ifndef BENCH_OPTIONS_H
#define BENCH_OPTIONS_H

#ifdef __cplusplus
extern "C" {
#endif

/// What a program here is started with: [-x ADDRESS] [-s SCALARS] [-c COLUMNS] [ARGUMENT].
struct benchOptions {
    /// Of the master agent; null without one.
    const char *address;
    unsigned scalars;
    unsigned columns;
    /// Null without one.
    const char *argument;
};

/// Without its option, a number is the largest that is measured: 1000 scalars, 20 columns. Ends the
/// process with a line on standard error where the command line cannot be taken.
struct benchOptions readBenchOptions(int argc, char **argv);

/// Ends the process as a command line that cannot be taken does.
__attribute__((noreturn)) void refuseBenchOptions(const char *program);

#ifdef __cplusplus
}
#endif

#endif
