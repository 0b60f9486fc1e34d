#include "Measuring.h"
#include "OneProcessor.h"
#include "support/PrivateIpcNamespace.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <benchmark/benchmark.h>
#include <gtest/gtest.h>

// What one request costs, piece by piece, each next to its baseline: microBenchmarks
// [--benchmark_filter=REGULAR_EXPRESSION]. The exit status is 1 if any of them gives a wrong
// result.

int main(int argc, char **argv)
{
    // As in the agent, so that output costs the same as there.
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    testing::GTEST_FLAG(throw_on_failure) = true;
    testing::InitGoogleTest();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    if (!enterPrivateIpcNamespace()) {
        std::fprintf(stderr, "microBenchmarks: no IPC namespace of its own (%s); run it as root\n",
                     std::strerror(errno));
        return EXIT_FAILURE;
    }
    stayOnThisProcessor();
    benchmark::RunSpecifiedBenchmarks();
    return measuring::anyFailed() ? EXIT_FAILURE : EXIT_SUCCESS;
}
