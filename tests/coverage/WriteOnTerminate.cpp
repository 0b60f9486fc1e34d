#include <csignal>

// Linked into coverage builds only: the agent runs until it is killed, and a killed process does
// not write its counters. SIGTERM writes them first and then ends the process as usual.
extern "C" void __gcov_dump(); // NOLINT(bugprone-reserved-identifier,readability-identifier-naming)

namespace
{
extern "C" void writeAndEnd(int signal)
{
    __gcov_dump();
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

[[gnu::constructor]] void writeOnTerminate()
{
    std::signal(SIGTERM, writeAndEnd);
}
} // namespace
