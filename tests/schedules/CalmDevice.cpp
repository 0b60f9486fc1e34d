#include "CalmDevice.h"

#include "DeviceFrame.h"

#include <array>

namespace
{
using objects::Index;
using properties::Number;

constexpr std::array seenByManagers{objects::a, objects::b, objects::c};
constexpr unsigned reads = 3;
constexpr std::chrono::milliseconds betweenPolls{100};
constexpr std::uint32_t longestAnswer = 1024;

bool holdsOversized(const Queue &answers)
{
    for (std::size_t index = 0; index < answers.size(); ++index) {
        if (answers.at(index).size > longestAnswer) {
            return true;
        }
    }
    return false;
}
} // namespace

void CalmDevice::mustServe()
{
    _world.trap = Trap::none;
    TELL(_world, "from now on the device answers everything at once");
    _world.device.calmDown();
    // By design these stay until the queue is removed.
    if (holdsOversized(_world.answers)) {
        _world.answers.remove();
    }
    if (_world.habit == Habit::keepsRules) {
        readAgain();
    } else if (!_world.inStep) {
        poll();
    }
}

void CalmDevice::readAgain()
{
    std::array<unsigned, seenByManagers.size()> served{};
    for (unsigned round = 1; round <= reads; ++round) {
        for (const Index object : seenByManagers) {
            DeviceValue value;
            const bool succeeded = _agent.get(object, value);
            served[object] += succeeded ? 1U : 0U;
            if (!succeeded && round > 1) {
                _world.violate(Number::servedAgain, "a second failure of an object");
            }
            if (served[object] > 1 && !objects::holdsVersion(object, value, _world.version)) {
                _world.violate(Number::servedAgain, "an old value once more");
            }
            if (_world.violated) {
                return;
            }
        }
    }
}

void CalmDevice::poll()
{
    const auto end = _world.now + properties::recoveryBound;
    while (!allAreServed()) {
        _world.pass(betweenPolls);
        if (_world.violated) {
            return;
        }
        if (_world.now > end) {
            _world.violate(_world.habit == Habit::foreignIds ? Number::foreignIds
                                                             : Number::servedAgain,
                           "an object is not served in time");
            return;
        }
    }
}

bool CalmDevice::allAreServed()
{
    bool all = true;
    for (const Index object : seenByManagers) {
        DeviceValue value;
        all = _agent.get(object, value) && objects::holdsOwnValue(object, value) &&
              objects::holdsVersion(object, value, _world.version) && all;
    }
    return all;
}
