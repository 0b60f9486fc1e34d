#include "QuietOutput.h"

#include <fcntl.h>
#include <unistd.h>

QuietOutput::QuietOutput()
{
    std::fflush(stdout);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) {
        return;
    }
    _kept = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (_kept >= 0) {
        dup2(nowhere, STDOUT_FILENO);
    }
    close(nowhere);
}

QuietOutput::~QuietOutput()
{
    if (_kept >= 0) {
        std::fflush(stdout);
        dup2(_kept, STDOUT_FILENO);
        close(_kept);
    }
}
