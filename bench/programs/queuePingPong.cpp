#include "benchObjects.h"
#include "benchOptions.h"
#include "deviceQueues.h"

#include <chrono>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// How many values the link delivers if nothing else is done. An echoDevice is on the other side.
int main(int argc, char **argv)
{
    using Seconds = std::chrono::duration<double>;
    const benchOptions options = readBenchOptions(argc, argv);
    const Seconds limit(options.argument == nullptr ? 0 : std::strtod(options.argument, nullptr));
    if (limit <= Seconds::zero()) {
        refuseBenchOptions(argv[0]);
    }
    if (!openDeviceQueues()) {
        std::perror("queuePingPong");
        return EXIT_FAILURE;
    }
    const auto start = std::chrono::steady_clock::now();
    Seconds passed{};
    std::uint64_t roundTrips = 0;
    const long expected = benchScalar(0).value;
    for (; passed < limit; passed = std::chrono::steady_clock::now() - start) {
        long value = 0;
        if (!readFromDevice(benchScalarId(0), &value) || value != expected) {
            std::fputs("queuePingPong: wrong answer\n", stderr);
            return EXIT_FAILURE;
        }
        ++roundTrips;
    }
    std::printf("{\"roundTrips\": %" PRIu64 ", \"seconds\": %.6f}\n", roundTrips, passed.count());
    return EXIT_SUCCESS;
}
