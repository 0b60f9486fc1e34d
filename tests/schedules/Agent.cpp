#include "Agent.h"

#include "Mapping.h"

#include <algorithm>

namespace
{
using objects::Index;
using properties::Number;

constexpr LinkPolicy policy{.answerWait = properties::answerWait,
                            .silentAnswerWait = properties::silentAnswerWait,
                            .dropOversizedAnswers = false};
constexpr unsigned framesOfRead = 1;
constexpr unsigned framesOfSet = 2;
} // namespace

bool Agent::get(Index object, DeviceValue &value)
{
    TELL(_world, "get %s", objects::all[object].name);
    return read(object, value);
}

void Agent::set(Index object)
{
    const objects::Object &what = objects::all[object];
    TELL(_world, "set %s", what.name);
    beginOperation(object, true);
    DeviceValue value;
    value.oid = what.id;
    value.attr = what.attribute;
    value.setInt32(what.written);
    const bool succeeded = _link->setSnmpValue(value, mapping()) == 0;
    endOperation();
    const bool isWritable = (what.attribute & writableBit) != 0;
    if (isWritable) {
        checkInStep(framesOfSet, succeeded);
    } else {
        checkInStep(framesOfRead, !succeeded);
    }
    TELL(_world, "set %s %s", what.name, succeeded ? "is done" : "is refused");
}

void Agent::start()
{
    TELL(_world, "an agent starts");
    _world.startAgent();
    _link.emplace(policy);
    for (const Index object : {objects::baseOid, objects::tableRows}) {
        DeviceValue value;
        const bool succeeded = read(object, value);
        if (!succeeded && !_world.errorAnswered && _world.habit == Habit::keepsRules) {
            _world.violate(Number::startEnds, "a start went on without the device's answer");
        }
        const auto since = std::max(_world.operationBegin, _world.lastDisturbance);
        if (_world.now - since > properties::startBound) {
            _world.violate(Number::startEnds, "a start took longer than it may");
        }
    }
    _link->limitWaits();
    _world.agentStarted();
}

bool Agent::read(Index object, DeviceValue &value)
{
    beginOperation(object, false);
    value = DeviceValue{};
    value.oid = objects::all[object].id;
    const bool succeeded = _link->getObjValue(value.oid, value) == 0;
    endOperation();
    checkRead(object, succeeded, value);
    checkInStep(framesOfRead, succeeded);
    TELL(_world, "get %s %s", objects::all[object].name, succeeded ? "succeeds" : "fails");
    return succeeded;
}

void Agent::beginOperation(Index object, bool writing)
{
    ++_world.version;
    _world.asked = object;
    _world.writing = writing;
    _world.operationBegin = _world.now;
    _world.framesSent = 0;
    _world.deviceTook = {};
    _world.errorAnswered = false;
    _world.beginExchange();
}

void Agent::endOperation()
{
    _world.endExchange();
}

void Agent::checkRead(Index object, bool succeeded, const DeviceValue &value)
{
    if (_world.habit != Habit::keepsRules) {
        return;
    }
    const objects::Object &own = objects::all[object];
    if (succeeded && !objects::holdsOwnValue(object, value)) {
        TELL(_world, "get %s takes what %s holds", own.name, objects::nameOfHeld(value));
        _world.violate(Number::ownValue, "a value of another object");
    }
    const bool isUntouched = value.len == 0 && value.attr == 0;
    if (!isUntouched && (value.len != own.length || value.attr != own.attribute) &&
        !_world.errorAnswered) {
        _world.violate(Number::ownValue, "a width or attribute of another object");
    }
}

void Agent::checkInStep(unsigned frames, bool succeeded)
{
    if (!_world.inStep) {
        return;
    }
    if (!succeeded && !_world.errorAnswered) {
        const bool foreign = _world.habit == Habit::foreignIds;
        _world.violate(foreign ? Number::foreignIds : Number::inStep, "an answer was not taken");
    }
    if (_world.framesSent > frames || (succeeded && _world.framesSent != frames)) {
        _world.violate(Number::inStep, "more or fewer requests than it takes");
    }
    if (_world.now - _world.operationBegin != _world.deviceTook) {
        _world.violate(Number::inStep, "a wait for something else than the device");
    }
}
