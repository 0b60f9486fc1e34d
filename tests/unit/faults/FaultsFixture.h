#pragma once

#include "DataManage.h"
#include "agent/AgentFixture.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>

/// Something that the agent does, made ready: what is watched, and what came of it.
struct Attempt {
    std::function<void()> act;
    std::function<std::string()> outcome;
};

/// What the agent's code on this thread has made and not given back.
struct Held {
    std::ptrdiff_t allocations;
    int timers;
    long long sqliteBytes;

    bool operator==(const Held &) const = default;
};

void PrintTo(const Held &held, std::ostream *out);

/// An agent with three scalars and two tables on a device that holds all of their objects, and the
/// things that it does. A test that comes to hang on a lock ends the run by a signal.
class FaultsFixture : public AgentFixture
{
public:
    Attempt startsUp();
    Attempt opensTheLink();
    Attempt loadsTheMapping();
    Attempt usesAStore();
    Attempt startsTheMaster();

    Attempt readsAnObject();
    Attempt readsAnObjectOnAnotherThread();
    Attempt writesAnObject();
    Attempt selectsAnObject();
    Attempt setsAnObject();

    Attempt getsAScalar();
    Attempt getsATimeStamp();
    Attempt getsTheNextScalar();
    Attempt setsAScalar();
    Attempt getsACell();
    Attempt getsTheNextCell();
    Attempt setsACell();

protected:
    FaultsFixture();
    ~FaultsFixture() override;

    /// Whatever comes is answered in time.
    void waitsLong();
    /// What got lost is not waited for.
    void waitsBriefly();

    static Held held();

private:
    class Link;

    /// Back to before start-up.
    void stops();
    void serves();
    void waits(std::chrono::milliseconds answerWait);
    Attempt asks(const Name &name, int mode);
    Attempt sets(const Name &name);
    std::string setOutcome(const std::string &status, const Name &name, long value);

    Link *_pLink = nullptr;
    long _value = 1000;
};
