#include "DeviceExchanges.h"
#include "OneProcessor.h"
#include "support/PrivateIpcNamespace.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <iterator>
#include <string_view>
#include <vector>

namespace
{
constexpr std::uint32_t exchangesEach = 10'000;

/// 0 if it is not a number.
unsigned numberIn(std::string_view text)
{
    unsigned number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size() ? number : 0;
}

template <typename Part>
double median(const std::vector<deviceExchanges::Round> &rounds, const Part &part)
{
    std::vector<double> numbers;
    std::transform(rounds.begin(), rounds.end(), std::back_inserter(numbers), part);
    const auto middle = numbers.begin() + std::ssize(numbers) / 2;
    std::nth_element(numbers.begin(), middle, numbers.end());
    return *middle;
}
} // namespace

// deviceExchanges ROUNDS: rounds of 10,000 exchanges each with the device library and without.
int main(int argc, char **argv)
{
    const unsigned rounds = argc == 2 ? numberIn(argv[1]) : 0;
    if (rounds == 0) {
        std::fputs("Usage: deviceExchanges ROUNDS\n", stderr);
        return EXIT_FAILURE;
    }
    if (!enterPrivateIpcNamespace()) {
        std::perror("deviceExchanges: no IPC namespace of its own");
        return EXIT_FAILURE;
    }
    stayOnThisProcessor();
    try {
        using deviceExchanges::Round;
        const std::vector<Round> measured = deviceExchanges::measure(rounds, exchangesEach);
        std::printf("{\"exchanges\": %u, \"raw\": %.0f, \"library\": %.0f, \"ratio\": %.4f}\n",
                    rounds * exchangesEach,
                    median(measured, [](const Round &round) { return round.raw; }),
                    median(measured, [](const Round &round) { return round.library; }),
                    median(measured, [](const Round &round) { return round.library / round.raw; }));
        return EXIT_SUCCESS;
    } catch (const std::exception &error) {
        std::fprintf(stderr, "deviceExchanges: %s\n", error.what());
        return EXIT_FAILURE;
    }
}
