#include "ServingProcess.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

ServingProcess::ServingProcess(const std::function<void()> &serve) : _process(fork())
{
    if (_process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        serve();
        _exit(EXIT_FAILURE);
    }
    if (_process == -1) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
}

ServingProcess::~ServingProcess()
{
    kill(_process, SIGKILL);
    waitpid(_process, nullptr, 0);
}
