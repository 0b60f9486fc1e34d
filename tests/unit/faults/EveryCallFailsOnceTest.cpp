#include "faults/FaultsFixture.h"

#include "support/CapturedOutput.h"
#include "support/SystemCalls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <sqlite3.h>

namespace
{
using testing::AnyOf;
using testing::MatchesRegex;

struct Failure {
    const char *call;
    int error;
    const char *errorName;
};

/// Every call of the agent's code that can fail, and how. Left out: pthread_mutex_…, sigemptyset
/// and pthread_sigmask, which cannot fail as they are used; sleep, whose early end changes nothing;
/// the calls of ServiceNotifier, which has tests of its own.
constexpr std::array failures{
    Failure{"msgget", ENOSPC, "ENOSPC"},
    Failure{"msgsnd", EAGAIN, "EAGAIN"},
    Failure{"msgrcv", EACCES, "EACCES"},
    Failure{"msgrcv", EIDRM, "EIDRM"},
    Failure{"msgrcv", EINTR, "EINTR"},
    Failure{"msgctl", EACCES, "EACCES"},
    Failure{"timer_create", EAGAIN, "EAGAIN"},
    Failure{"timer_settime", EINVAL, "EINVAL"},
    Failure{"timer_delete", EINVAL, "EINVAL"},
    Failure{"sigaction", EINVAL, "EINVAL"},
    Failure{"calloc", ENOMEM, "ENOMEM"},
    Failure{"new", ENOMEM, "ENOMEM"},
    Failure{"sqlite3_open", SQLITE_CANTOPEN, "CANTOPEN"},
    Failure{"sqlite3_close", SQLITE_BUSY, "BUSY"},
    Failure{"sqlite3_get_table", SQLITE_NOMEM, "NOMEM"},
    Failure{"sqlite3_get_table", SQLITE_CORRUPT, "CORRUPT"},
    Failure{"sqlite3_exec", SQLITE_FULL, "FULL"},
    Failure{"opendir", EACCES, "EACCES"},
    Failure{"system", ENOMEM, "ENOMEM"},
    Failure{"time", EOVERFLOW, "EOVERFLOW"},
};

constexpr const char *outOfMemory = "out of memory";

struct Flow {
    const char *name;
    Attempt (FaultsFixture::*make)();
    /// Every call that the flow makes.
    std::vector<std::string> calls;
    /// The outcomes allowed if a call fails and if memory runs out; the good outcome is always
    /// allowed.
    const char *whenACallFails;
    const char *whenMemoryFails;
    /// Whether what it allocates stays, as after start-up.
    bool keeps = false;
};

const std::vector<Flow> &flows()
{
    static const std::vector<Flow> s_flows{
        {"StartUp",
         &FaultsFixture::startsUp,
         {"msgget", "msgsnd", "msgrcv", "msgctl", "timer_create", "timer_settime", "sigaction",
          "calloc", "new", "sqlite3_open", "sqlite3_close", "sqlite3_get_table"},
         "scalars (0\\+0|3\\+0|0\\+3), tables [0-2]\\+[0-2], rows [04]\\+[04]",
         outOfMemory,
         true},
        {"Link",
         &FaultsFixture::opensTheLink,
         {"msgget", "msgctl", "new"},
         "257",
         outOfMemory,
         true},
        {"Mapping",
         &FaultsFixture::loadsTheMapping,
         {"new", "sqlite3_open", "sqlite3_close", "sqlite3_get_table"},
         "scalars [03], tables [02]",
         outOfMemory},
        {"Store",
         &FaultsFixture::usesAStore,
         {"new", "sqlite3_open", "sqlite3_close", "sqlite3_get_table", "sqlite3_exec"},
         "(0|-1) (0|-1) (0|-1) (0|-1)",
         outOfMemory},
        {"Master",
         &FaultsFixture::startsTheMaster,
         {"opendir", "system", "new"},
         "[34] commands",
         outOfMemory},
        {"Read",
         &FaultsFixture::readsAnObject,
         {"msgget", "msgsnd", "msgrcv", "timer_settime"},
         "0",
         ""},
        {"ReadAfterAnotherThread",
         &FaultsFixture::readsAnObjectOnAnotherThread,
         {"msgget", "msgsnd", "msgrcv", "timer_create", "timer_settime", "timer_delete",
          "sigaction"},
         "0",
         ""},
        {"Write",
         &FaultsFixture::writesAnObject,
         {"msgget", "msgsnd", "msgrcv", "timer_settime"},
         "0, (not )?written",
         ""},
        {"Select",
         &FaultsFixture::selectsAnObject,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "new"},
         "-1",
         outOfMemory},
        {"Set",
         &FaultsFixture::setsAnObject,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "new"},
         "-?[01], (not )?written",
         outOfMemory},
        {"ScalarGet",
         &FaultsFixture::getsAScalar,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "new"},
         "nothing",
         "error 5"},
        {"TimeStampGet",
         &FaultsFixture::getsATimeStamp,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "time", "new"},
         "nothing|[0-9:]+ 1[0-9/]+(1969|1970)",
         "error 5"},
        {"ScalarGetNext",
         &FaultsFixture::getsTheNextScalar,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "new"},
         "nothing",
         "error 5"},
        {"ScalarSet",
         &FaultsFixture::setsAScalar,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "new"},
         "(done|error 3), (not )?written",
         "error 5, not written"},
        {"CellGet",
         &FaultsFixture::getsACell,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "calloc", "new"},
         "nothing",
         "error 5"},
        {"CellGetNext",
         &FaultsFixture::getsTheNextCell,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "calloc", "new"},
         "nothing",
         "error 5"},
        {"CellSet",
         &FaultsFixture::setsACell,
         {"msgget", "msgsnd", "msgrcv", "timer_settime", "calloc", "new"},
         "(done|error 3), (not )?written",
         "error 5, (not )?written"},
    };
    return s_flows;
}

bool makes(const Flow &flow, const std::string &call)
{
    return std::find(flow.calls.begin(), flow.calls.end(), call) != flow.calls.end();
}

struct Case {
    Flow flow;
    Failure failure;
};

std::vector<Case> everyCase()
{
    std::vector<Case> cases;
    for (const Flow &flow : flows()) {
        for (const Failure &failure : failures) {
            if (makes(flow, failure.call)) {
                cases.push_back({.flow = flow, .failure = failure});
            }
        }
    }
    return cases;
}

void PrintTo(const Case &tested, std::ostream *out)
{
    *out << tested.flow.name << '_' << tested.failure.call << '_' << tested.failure.errorName;
}

void PrintTo(const Flow &flow, std::ostream *out)
{
    *out << flow.name;
}

class EveryCallFailsOnce : public FaultsFixture, public testing::WithParamInterface<Case>
{
protected:
    std::string goodOutcome()
    {
        const CapturedOutput output;
        waitsLong();
        const Attempt attempt = (this->*GetParam().flow.make)();
        attempt.act();
        return attempt.outcome();
    }

    /// The outcome if the n-th call fails; nullopt if there are fewer calls.
    std::optional<std::string> outcomeWithout(unsigned n)
    {
        const CapturedOutput output;
        const auto &[flow, failure] = GetParam();
        const Attempt attempt = (this->*flow.make)();
        waitsBriefly();
        bool hasOutcome = true;
        unsigned seen = 0;
        {
            const systemCalls::FailingCalls failing(failure.call, failure.error, n);
            try {
                attempt.act();
            } catch (const std::bad_alloc &) {
                hasOutcome = false;
            }
            seen = failing.seen();
        }
        if (seen < n) {
            return std::nullopt;
        }
        return hasOutcome ? attempt.outcome() : outOfMemory;
    }

    [[nodiscard]] bool isAboutMemory() const
    {
        return GetParam().failure.call == std::string("new");
    }
};

TEST_P(EveryCallFailsOnce, AndAllIsWellAfterwards)
{
    constexpr unsigned limit = 1000;
    const auto &[flow, failure] = GetParam();
    const std::string good = goodOutcome();
    ASSERT_EQ(goodOutcome(), good);
    const Held before = held();
    const char *const whenItFails = isAboutMemory() ? flow.whenMemoryFails : flow.whenACallFails;
    unsigned n = 1;
    for (; n < limit; ++n) {
        {
            const auto outcome = outcomeWithout(n);
            if (!outcome) {
                break;
            }
            ASSERT_THAT(*outcome, AnyOf(good, MatchesRegex(whenItFails))) << "call " << n;
        }
        ASSERT_EQ(goodOutcome(), good) << "after call " << n;
        if (!flow.keeps) {
            ASSERT_EQ(held(), before) << "after call " << n;
        }
    }
    EXPECT_GT(n, 1U) << "never called";
    EXPECT_LT(n, limit);
}

INSTANTIATE_TEST_SUITE_P(Faults, EveryCallFailsOnce, testing::ValuesIn(everyCase()),
                         testing::PrintToStringParamName());

class EveryCallIsKnown : public FaultsFixture, public testing::WithParamInterface<Flow>
{
protected:
    unsigned callsOf(const char *call)
    {
        constexpr unsigned none = 0;
        const CapturedOutput output;
        waitsLong();
        const Attempt attempt = (this->*GetParam().make)();
        const systemCalls::FailingCalls counting(call, 0, none);
        attempt.act();
        return counting.seen();
    }
};

TEST_P(EveryCallIsKnown, AndNoOtherIsMade)
{
    callsOf("");
    for (const Failure &failure : failures) {
        EXPECT_EQ(callsOf(failure.call) > 0, makes(GetParam(), failure.call)) << failure.call;
    }
}

INSTANTIATE_TEST_SUITE_P(Faults, EveryCallIsKnown, testing::ValuesIn(flows()),
                         testing::PrintToStringParamName());
} // namespace
