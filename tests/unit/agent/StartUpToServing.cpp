#include <cstdio>
#include <cstdlib>

// Linked with the agent's main function: a process that gets as far as serving requests reports so
// and exits.

// The linker's name for a wrapped call is fixed.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" int __wrap_agent_check_and_process(int /*block*/)
{
    std::fputs("serving\n", stderr);
    std::exit(EXIT_SUCCESS);
}
