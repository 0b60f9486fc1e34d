#include "Schedule.h"

#include "CalmDevice.h"
#include "SystemCalls.h"

#include <array>

enum class Schedule::Step : std::uint8_t {
    getA,
    getC,
    getB,
    setA,
    setC,
    setB,
    restartAgent,
    removeRequests,
    removeAnswers,
    removeRequestQueue,
    removeAnswerQueue,
    removeBothQueues,
    restartDevice,
    deviceGoesOn,
    minutePasses,
    trapSend,
    trapReceive,
    trapWait,
    trapWaitBoth
};

namespace
{
constexpr unsigned habits = 3;
constexpr std::size_t mostSteps = 20;
constexpr auto aMinute = std::chrono::seconds(60);
} // namespace

std::optional<properties::Number> Schedule::run()
{
    _oracle.rewind();
    _usedA = false;
    World world(_oracle);
    systemCalls::leadTo(world);
    world.habit = static_cast<Habit>(_oracle.choose(habits));
    world.device.start(world.habit);
    try {
        Agent agent(world);
        agent.start();
        runSteps(world, agent);
        if (!world.violated) {
            CalmDevice(world, agent).mustServe();
        }
    } catch (const NeverEnds &) {
        // The violation has been recorded.
    }
    return world.violated;
}

void Schedule::runSteps(World &world, Agent &agent)
{
    for (unsigned step = 1; step <= _steps && !world.violated; ++step) {
        world.device.beginStep(_steps - step);
        perform(chooseStep(world), world, agent);
    }
}

Schedule::Step Schedule::chooseStep(const World &world)
{
    using enum Step;
    std::array<Step, mostSteps> steps{};
    unsigned count = 0;
    const auto offer = [&steps, &count](Step step, bool makesDifference = true) {
        if (makesDifference) {
            steps[count++] = step;
        }
    };
    offer(getA);
    offer(getC);
    offer(getB, _usedA);
    offer(setA);
    offer(setC);
    offer(setB, _usedA);
    offer(restartAgent);
    const unsigned operations = count;
    if (_oracle.mayDisturb()) {
        offer(removeRequests, !world.requests.isEmpty());
        offer(removeAnswers, !world.answers.isEmpty());
        offer(removeRequestQueue);
        offer(removeAnswerQueue);
        offer(removeBothQueues);
        offer(restartDevice, world.device.holdsRequest());
        offer(deviceGoesOn, world.device.holdsRequest());
        offer(minutePasses);
        offer(trapSend, world.trap == Trap::none);
        offer(trapReceive, world.trap == Trap::none);
        offer(trapWait, world.trap == Trap::none);
        offer(trapWaitBoth, world.trap == Trap::none);
    }
    const unsigned chosen = _oracle.choose(count);
    if (chosen >= operations) {
        _oracle.disturb();
    }
    _usedA = _usedA || steps[chosen] == getA || steps[chosen] == setA;
    return steps[chosen];
}

void Schedule::perform(Step step, World &world, Agent &agent)
{
    using enum Step;
    DeviceValue value;
    switch (step) {
    case getA:
        agent.get(objects::a, value);
        break;
    case getB:
        agent.get(objects::b, value);
        break;
    case getC:
        agent.get(objects::c, value);
        break;
    case setA:
        agent.set(objects::a);
        break;
    case setB:
        agent.set(objects::b);
        break;
    case setC:
        agent.set(objects::c);
        break;
    case restartAgent:
        agent.start();
        break;
    case removeRequests:
        TELL(world, "the messages of the request queue are removed");
        world.disturb();
        world.requests.clear();
        break;
    case removeAnswers:
        TELL(world, "the messages of the answer queue are removed");
        world.disturb();
        world.answers.clear();
        break;
    case removeRequestQueue:
        TELL(world, "the request queue is removed");
        world.disturb();
        world.requests.remove();
        break;
    case removeAnswerQueue:
        TELL(world, "the answer queue is removed");
        world.disturb();
        world.answers.remove();
        break;
    case removeBothQueues:
        world.removeQueues();
        break;
    case restartDevice:
        world.device.restart();
        world.device.work();
        break;
    case deviceGoesOn:
        world.device.goOn();
        world.device.work();
        break;
    case minutePasses:
        TELL(world, "a minute passes");
        world.operationBegin = world.now;
        world.pass(aMinute);
        break;
    case trapSend:
        world.trap = Trap::requestQueueBeforeSend;
        break;
    case trapReceive:
        world.trap = Trap::answerQueueBeforeWait;
        break;
    case trapWait:
        world.trap = Trap::answerQueueInWait;
        break;
    case trapWaitBoth:
        world.trap = Trap::bothQueuesInWait;
        break;
    }
}
