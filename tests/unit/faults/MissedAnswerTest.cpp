#include "link/LinkFixture.h"
#include "support/ScriptedDevice.h"
#include "support/SystemCalls.h"

#include <cerrno>
#include <thread>

namespace
{
using namespace std::chrono_literals;

constexpr std::uint16_t objectA = 0x0A01;
constexpr std::uint16_t objectB = 0x0A02;
constexpr std::uint32_t failed = 255;
/// An exchange drains the queue first, then waits for its answer.
constexpr unsigned wait = 2;

/// A device that answers the first request only after the agent's receive failed, so late that the
/// answer reaches the next exchange.
class MissedAnswerTest : public LinkFixture
{
protected:
    MissedAnswerTest()
    {
        _device.holdsInteger(objectB, 2, 4);
        _device.isSilentAbout(objectA);
    }

    void missesTheAnswerToARead(int error)
    {
        {
            const systemCalls::FailingCalls failing("msgrcv", error, wait);
            ASSERT_EQ(read(objectA), failed);
        }
        answersLateWith(
            ScriptedDevice::readAnswer(objectA, attribute::unsignedInteger, {1, 0, 0, 0}));
    }

    void missesTheAnswerToAWrite()
    {
        {
            const systemCalls::FailingCalls failing("msgrcv", EACCES, wait);
            write(objectA, {.len = 7, .oid = objectA});
        }
        answersLateWith({0x11, 7, 0x01, 0x0A, 0, 0, 0, 0});
    }

    /// Sends the answer with the next request, once the device has seen the request that it belongs
    /// to.
    void answersLateWith(const Frame &answer)
    {
        const auto end = std::chrono::steady_clock::now() + 10s;
        while (_device.requests().empty() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(1ms);
        }
        _device.forgetRequests();
        _device.sendsLateAnswers({answer});
    }

    std::uint32_t integerReadFrom(std::uint16_t objId)
    {
        read(objId);
        return value.int32();
    }

    ScriptedDevice _device;
};

TEST_F(MissedAnswerTest, IsNotTakenForTheAnswerToAnotherObject)
{
    for (const int error : {EACCES, EIDRM, EINVAL}) {
        openLinkTo(_device, {.answerWait = 10s, .silentAnswerWait = 10s});
        missesTheAnswerToARead(error);
        EXPECT_EQ(integerReadFrom(objectB), 2U) << error;
        _device.forgetRequests();
    }
}

TEST_F(MissedAnswerTest, IsNotTakenForTheAnswerToAnotherObjectInStartUp)
{
    openLinkInStartUp({});
    missesTheAnswerToARead(EACCES);
    EXPECT_EQ(integerReadFrom(objectB), 2U);
}

TEST_F(MissedAnswerTest, OfAWriteIsNotTakenForTheAnswerToAnObject)
{
    openLinkTo(_device, {.answerWait = 10s, .silentAnswerWait = 10s});
    missesTheAnswerToAWrite();
    EXPECT_EQ(integerReadFrom(objectB), 2U);
}
} // namespace
