#include "Story.h"

#include <cstdarg>
#include <cstdio>

// NOLINTNEXTLINE(cert-dcl50-cpp): lines are formatted as everywhere, by printf.
void story::print(std::chrono::nanoseconds time, const char *format, ...)
{
    std::fprintf(stdout, "%8.3f s  ", std::chrono::duration<double>(time).count());
    std::va_list arguments;
    va_start(arguments, format);
    std::vfprintf(stdout, format, arguments);
    va_end(arguments);
    std::fputs("\n", stdout);
    // The next event may end the process.
    std::fflush(stdout);
}
