#pragma once

#include "DataManage.h"
#include "agent/AgentFixture.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>

/// One prepared operation of the agent: the observed part, and its outcome.
struct Attempt {
    std::function<void()> act;
    std::function<std::string()> outcome;
};

/// What the agent's code on this thread holds.
struct Held {
    std::ptrdiff_t allocations;
    int timers;
    long long sqliteBytes;

    bool operator==(const Held &) const = default;
};

void PrintTo(const Held &held, std::ostream *out);

/// An agent with three scalars and two tables, a device that holds all of their objects, and the
/// agent's operations. A test that deadlocks is ended by a signal.
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

    /// Every answer arrives in time.
    void waitsLong();
    /// Lost answers are not waited for.
    void waitsBriefly();

    static Held held();

private:
    class Link;

    /// Returns to the state before start-up.
    void stops();
    void serves();
    void waits(std::chrono::milliseconds answerWait);
    Attempt asks(const Name &name, int mode);
    Attempt sets(const Name &name);
    std::string setOutcome(const std::string &status, const Name &name, long value);

    Link *_pLink = nullptr;
    long _value = 1000;
};
