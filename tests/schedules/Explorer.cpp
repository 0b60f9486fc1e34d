#include "Explorer.h"

#include "Mapping.h"
#include "Schedule.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{
constexpr std::uint64_t lookUpEvery = 4096;

/// Memory shared by the processes. An oracle stays where its process left it, even after a crash.
struct Shared {
    struct Share {
        Oracle oracle{0, 0, 1};
        std::uint64_t schedules = 0;
        bool failed = false;
    };

    std::atomic<bool> isOver = false;
    std::array<Share, 64> shares;
};

Shared &makeShared()
{
    void *const place =
        mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (place == MAP_FAILED) {
        std::abort();
    }
    return *new (place) Shared;
}

double secondsSinceBoot()
{
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

std::string grouped(std::uint64_t number)
{
    std::string digits = std::to_string(number);
    for (auto place = static_cast<std::ptrdiff_t>(digits.size()) - 3; place > 0; place -= 3) {
        digits.insert(static_cast<std::size_t>(place), ",");
    }
    return digits;
}

void runShare(Shared &shared, Shared::Share &share, unsigned steps, std::uint64_t most)
{
    Schedule schedule(share.oracle, steps);
    do {
        const bool broken = schedule.run().has_value();
        if (share.oracle.isOurs()) {
            ++share.schedules;
            share.failed = broken;
        }
    } while (!share.failed && share.schedules < most &&
             (share.schedules % lookUpEvery != 0 || !shared.isOver) && share.oracle.advance());
    shared.isOver = shared.isOver || share.failed;
}

/// Runs a task in a process of its own, which does not outlive this one.
template <typename Task>
pid_t fork(Task task)
{
    std::fflush(stdout);
    const pid_t process = ::fork();
    if (process == -1) {
        std::abort();
    }
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        task();
        std::fflush(stdout);
        _exit(EXIT_SUCCESS);
    }
    return process;
}

bool endsWell(pid_t process)
{
    int status = 0;
    return waitpid(process, &status, 0) == process && status == 0;
}

/// Runs the counterexample once more and prints it event by event.
void tell(Oracle oracle, unsigned steps)
{
    const bool ended = endsWell(fork([&oracle, steps] {
        story::s_isTold = true;
        Schedule(oracle, steps).run();
    }));
    if (!ended) {
        std::puts("the agent crashed");
    }
}

/// Runs all schedules with this many steps; returns the share with a counterexample, or null.
const Shared::Share *runDepth(Shared &shared, const Exploration &exploration, unsigned steps,
                              std::uint64_t most)
{
    std::vector<pid_t> processes;
    for (unsigned job = 0; job < exploration.jobs; ++job) {
        Shared::Share &share = shared.shares.at(job);
        share.oracle = Oracle(exploration.disturbances, job, exploration.jobs);
        share.schedules = 0;
        processes.push_back(fork([&shared, &share, steps, most, &exploration] {
            runShare(shared, share, steps, most / exploration.jobs + 1);
        }));
    }
    const Shared::Share *broken = nullptr;
    for (unsigned job = 0; job < exploration.jobs; ++job) {
        Shared::Share &share = shared.shares.at(job);
        if (!endsWell(processes[job]) || share.failed) {
            broken = &share;
        }
    }
    return broken;
}
} // namespace

bool explore(const Exploration &exploration)
{
    // Load it before the process forks.
    mapping();
    Shared &shared = makeShared();
    const double begin = secondsSinceBoot();
    std::uint64_t schedules = 0;
    const Shared::Share *broken = nullptr;
    unsigned steps = 0;
    while (broken == nullptr && steps < exploration.depth && schedules < exploration.schedules) {
        ++steps;
        broken = runDepth(shared, exploration, steps, exploration.schedules - schedules);
        for (const Shared::Share &share : shared.shares) {
            schedules += share.schedules;
        }
    }
    if (broken != nullptr) {
        tell(broken->oracle, steps);
    }
    std::string limits;
    if (exploration.disturbances != Oracle::noLimit) {
        limits = " (disturbances: at most " + std::to_string(exploration.disturbances) + ")";
    }
    if (broken == nullptr && schedules >= exploration.schedules) {
        limits += " (not all)";
    }
    std::fprintf(stdout, "schedules: %s of depth %u%s in %.0f s, %s\n", grouped(schedules).c_str(),
                 steps, limits.c_str(), secondsSinceBoot() - begin,
                 broken == nullptr ? "no counterexample" : "a counterexample");
    return broken == nullptr;
}
