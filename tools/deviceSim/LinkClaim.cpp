#include "LinkClaim.h"

#include "LinkUsers.h"
#include "VerifyQueues.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <string>

#include <sys/ipc.h>
#include <sys/sem.h>

namespace
{
/// No key of the link, nor one that another program is likely to use.
constexpr key_t semaphoreKey = 0x54534C4B;
constexpr int forEveryUser = 0666;
/// How often the semaphore of a simulator that just ended may be removed in between.
constexpr int mostAttempts = 100;

bool take(int semaphore)
{
    std::array<sembuf, 2> steps{{{0, 0, IPC_NOWAIT}, {0, 1, SEM_UNDO}}};
    return semop(semaphore, steps.data(), steps.size()) == 0;
}

std::string nameOfHolder(int semaphore)
{
    // A process of another PID namespace has no id here.
    const int process = semctl(semaphore, 0, GETPID);
    return process > 0 ? LinkUser{.process = process, .program = "tarnoDeviceSim"}.text()
                       : "another tarnoDeviceSim";
}
} // namespace

LinkClaim::LinkClaim()
{
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        _semaphore = semget(semaphoreKey, 1, IPC_CREAT | forEveryUser);
        if (_semaphore >= 0 && take(_semaphore)) {
            return;
        }
        if (errno == EAGAIN) {
            throw UnusableLink(nameOfHolder(_semaphore) +
                               " serves the queues already; a second device needs an IPC namespace "
                               "of its own (unshare --ipc)");
        }
        if (errno != EIDRM && errno != EINVAL) {
            break;
        }
    }
    throw UnusableLink(std::string("semaphore: ") + std::strerror(errno));
}

LinkClaim::~LinkClaim()
{
    semctl(_semaphore, 0, IPC_RMID);
}
