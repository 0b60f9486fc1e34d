#ifndef BENCH_OPTIONS_H
#define BENCH_OPTIONS_H

#ifdef __cplusplus
extern "C" {
#endif

/// The options of a program here: [-x ADDRESS] [-s SCALARS] [-c COLUMNS] [ARGUMENT].
struct benchOptions {
    /// The address of the master agent; null if not given.
    const char *address;
    unsigned scalars;
    unsigned columns;
    /// Null if not given.
    const char *argument;
};

/// Numbers default to the largest that are measured: 1000 scalars, 20 columns. Ends the process
/// with a line on standard error if the command line is invalid.
struct benchOptions readBenchOptions(int argc, char **argv);

/// Ends the process as for an invalid command line.
__attribute__((noreturn)) void refuseBenchOptions(const char *program);

#ifdef __cplusplus
}
#endif

#endif
