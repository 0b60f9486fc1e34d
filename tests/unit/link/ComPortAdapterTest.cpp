#include "ComPortAdapter.h"

#include "link/LinkFixture.h"
#include "link/WaitingCall.h"
#include "support/PrivateIpcNamespace.h"
#include "support/SystemCalls.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <numeric>

#include <gmock/gmock.h>
#include <sys/msg.h>

namespace
{
using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char *sendErrorLine = "ComPortAdapter::write msg_queue error:\n";

Frame countedUp(std::size_t size)
{
    Frame frame(size);
    std::iota(frame.begin(), frame.end(), std::uint8_t{1});
    return frame;
}

class ComPortAdapterTest : public LinkFixture
{
protected:
    ComPortAdapterTest()
    {
        port.open();
        port.observeDiscarded([this](ComPortAdapter::Payload payload) {
            discarded.emplace_back(payload.begin(), payload.end());
        });
    }

    std::int32_t write(const Frame &frame, std::uint32_t length)
    {
        std::int32_t written = 0;
        printed = capture([&] { written = port.write(frame.data(), length); });
        return written;
    }

    std::int32_t read(std::uint32_t size, const Deadline &deadline = {})
    {
        return readInto(buffer.data(), size, deadline);
    }

    std::int32_t readInto(void *to, std::uint32_t size, const Deadline &deadline = {})
    {
        std::int32_t received = 0;
        printed = capture([&] {
            received = port.read(to, size, deadline);
            error = errno;
        });
        return received;
    }

    Frame firstBytes(std::int32_t count) { return {buffer.begin(), buffer.begin() + count}; }

    static unsigned modeOf(key_t key)
    {
        msqid_ds state{};
        EXPECT_EQ(msgctl(msgget(key, 0), IPC_STAT, &state), 0);
        return state.msg_perm.mode & 0777U;
    }

    ComPortAdapter port;
    std::array<std::uint8_t, 10000> buffer{};
    int error = 0;
    std::vector<Frame> discarded;
};

TEST_F(ComPortAdapterTest, OpensBothQueuesForEveryUser)
{
    EXPECT_EQ(modeOf(0x4008), 0666U);
    EXPECT_EQ(modeOf(0x4009), 0666U);
}

TEST_F(ComPortAdapterTest, KeepsWhatWaitsInTheQueuesWhenFirstOpened)
{
    linkQueues::putAnswer({1});
    linkQueues::putRequest({2});
    EXPECT_EQ(ComPortAdapter().open(), 0);
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
    EXPECT_EQ(linkQueues::waitingRequests(), 1U);
}

TEST_F(ComPortAdapterTest, DiscardsBothQueuesWhenOpenedAgain)
{
    linkQueues::putAnswer({1});
    linkQueues::putRequest({2});
    EXPECT_EQ(port.open(), 0);
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);
    EXPECT_EQ(linkQueues::waitingRequests(), 0U);
}

TEST_F(ComPortAdapterTest, MakesNewQueuesWhenOpenedAgain)
{
    const int answers = msgget(linkPort::answerKey, 0);
    const int requests = msgget(linkPort::requestKey, 0);
    port.open();
    EXPECT_NE(msgget(linkPort::answerKey, 0), -1);
    EXPECT_NE(msgget(linkPort::answerKey, 0), answers);
    EXPECT_NE(msgget(linkPort::requestKey, 0), -1);
    EXPECT_NE(msgget(linkPort::requestKey, 0), requests);
}

TEST_F(ComPortAdapterTest, RemovesBothQueues)
{
    EXPECT_EQ(port.removeQueues(), 0);
    EXPECT_EQ(msgget(linkPort::answerKey, 0), -1);
    EXPECT_EQ(msgget(linkPort::requestKey, 0), -1);
}

TEST_F(ComPortAdapterTest, LeavesTheQueuesWhenItEnds)
{
    linkQueues::putAnswer({1});
    {
        ComPortAdapter other;
        other.open();
    }
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
}

TEST_F(ComPortAdapterTest, SendsTheBytesUnderItsMessageType)
{
    EXPECT_EQ(write({5, 6, 7}, 3), 3);
    EXPECT_EQ(linkQueues::takeRequest(), (Frame{5, 6, 7}));
    EXPECT_EQ(linkQueues::typeOfLastRequest(), 0x9999);
    EXPECT_TRUE(port.sent());
    EXPECT_EQ(printed, "");
}

TEST_F(ComPortAdapterTest, SendsAnEmptyPayload)
{
    EXPECT_EQ(write({5}, 0), 0);
    EXPECT_EQ(linkQueues::takeRequest(), Frame{});
}

TEST_F(ComPortAdapterTest, SendsAtMost2048Bytes)
{
    const Frame frame = countedUp(5000);
    const Frame longest(frame.begin(), frame.begin() + 2048);
    for (const std::uint32_t length : {2048U, 2049U, 5000U, static_cast<std::uint32_t>(-1)}) {
        EXPECT_EQ(write(frame, length), 2048) << length;
        EXPECT_EQ(linkQueues::takeRequest(), longest) << length;
    }
    EXPECT_EQ(write(frame, 2047), 2047);
    EXPECT_EQ(linkQueues::takeRequest()->size(), 2047U);
}

TEST_F(ComPortAdapterTest, LogsAFullQueueAndReturnsTheCappedLength)
{
    linkQueues::fillRequestQueue();
    EXPECT_EQ(write(countedUp(5000), 5000), 2048);
    EXPECT_EQ(printed, sendErrorLine);
    EXPECT_FALSE(port.sent());
}

TEST_F(ComPortAdapterTest, SendsWithoutAWordWhenAskedTo)
{
    bool taken = true;
    linkQueues::fillRequestQueue();
    EXPECT_EQ(capture([&] { taken = port.send("abc", 3); }), "");
    EXPECT_FALSE(taken);
    EXPECT_FALSE(port.sent());
    linkQueues::emptyRequestQueue();
    EXPECT_TRUE(port.send("abc", 3));
    EXPECT_TRUE(port.sent());
}

TEST_F(ComPortAdapterTest, HasSentNothingAtFirst)
{
    EXPECT_FALSE(port.sent());
}

TEST_F(ComPortAdapterTest, LogsThatTheRequestQueueCannotBeOpened)
{
    systemCalls::fail("msgget", ENOSPC);
    EXPECT_EQ(write({1, 2, 3}, 3), 3);
    EXPECT_EQ(printed, sendErrorLine);
}

TEST_F(ComPortAdapterTest, ReadsThePayloadWithoutItsMessageType)
{
    linkQueues::putAnswer({5, 6, 7}, linkPort::messageType);
    EXPECT_EQ(read(1024), 3);
    EXPECT_EQ(firstBytes(4), (Frame{5, 6, 7, 0}));
    EXPECT_EQ(printed, "");
}

TEST_F(ComPortAdapterTest, ReadsMessagesOfAnyTypeInTheirOrder)
{
    linkQueues::putAnswer({1}, 0x7FFFFFFF);
    linkQueues::putAnswer({2}, 1);
    EXPECT_EQ(read(10), 1);
    EXPECT_EQ(buffer[0], 1);
    EXPECT_EQ(read(10), 1);
    EXPECT_EQ(buffer[0], 2);
}

TEST_F(ComPortAdapterTest, ReadsAnEmptyPayload)
{
    linkQueues::putAnswer({});
    EXPECT_EQ(read(10), 0);
}

TEST_F(ComPortAdapterTest, ReadsAtMost4096Bytes)
{
    const Frame longest = countedUp(4096);
    linkQueues::putAnswer(longest);
    EXPECT_EQ(read(10000), 4096);
    EXPECT_EQ(firstBytes(4096), longest);

    linkQueues::putAnswer(countedUp(4097));
    EXPECT_EQ(read(10000), -1);
    EXPECT_EQ(error, E2BIG);
}

TEST_F(ComPortAdapterTest, LeavesAnAnswerOverTheCapacityInTheQueue)
{
    linkQueues::putAnswer({1, 2, 3, 4});
    EXPECT_EQ(read(3), -1);
    EXPECT_EQ(printed, tooLongLine());
    EXPECT_EQ(error, E2BIG);
    EXPECT_EQ(linkQueues::takeAnswer(), (Frame{1, 2, 3, 4}));
    EXPECT_EQ(firstBytes(1), Frame{0});
}

TEST_F(ComPortAdapterTest, ReadsBlockUntilAnAnswerArrives)
{
    WaitingCall call([this] { return port.read(buffer.data(), 10); });
    ASSERT_TRUE(call.comesToWait());
    linkQueues::putAnswer({5, 6});
    EXPECT_EQ(call.result(), 2);
}

TEST_F(ComPortAdapterTest, ReadsEndAtTheDeadline)
{
    EXPECT_EQ(read(10, std::chrono::steady_clock::now() + 5ms), -1);
    EXPECT_EQ(printed, timedOutLine());
    EXPECT_EQ(error, ETIMEDOUT);
}

TEST_F(ComPortAdapterTest, ReadWithoutABufferConsumesAnAnswerThatFits)
{
    linkQueues::putAnswer({1, 2, 3});
    EXPECT_EQ(readInto(nullptr, 3), -1);
    EXPECT_EQ(printed, badAddressLine());
    EXPECT_EQ(error, EFAULT);
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);
}

TEST_F(ComPortAdapterTest, ReadWithoutABufferLeavesALongerAnswer)
{
    linkQueues::putAnswer({1, 2, 3, 4});
    EXPECT_EQ(readInto(nullptr, 3), -1);
    EXPECT_EQ(printed, tooLongLine());
    EXPECT_EQ(error, E2BIG);
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
}

TEST_F(ComPortAdapterTest, ReadWithoutABufferEndsAtTheDeadline)
{
    EXPECT_EQ(readInto(nullptr, 3, std::chrono::steady_clock::now() + 5ms), -1);
    EXPECT_EQ(printed, timedOutLine());
    EXPECT_EQ(error, ETIMEDOUT);
}

TEST_F(ComPortAdapterTest, LogsThatTheAnswerQueueCannotBeOpened)
{
    systemCalls::fail("msgget", ENOSPC);
    EXPECT_EQ(read(10), -1);
    EXPECT_EQ(printed, errnoLine("Invalid argument", 22));
}

TEST_F(ComPortAdapterTest, DrainsMessagesOfAnyType)
{
    linkQueues::putAnswer({1}, 1);
    linkQueues::putAnswer({}, 0x9999);
    linkQueues::putAnswer(Frame(100), 77);
    port.drain();
    EXPECT_THAT(discarded, ElementsAre(Frame{1}, Frame{}, Frame(100)));
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);
}

TEST_F(ComPortAdapterTest, DrainsAnEmptyQueueAtOnce)
{
    port.drain();
    EXPECT_THAT(discarded, IsEmpty());
}

TEST_F(ComPortAdapterTest, DrainsWithoutAnObserverToo)
{
    port.observeDiscarded({});
    linkQueues::putAnswer({1});
    port.drain();
    EXPECT_EQ(linkQueues::waitingAnswers(), 0U);
}

TEST_F(ComPortAdapterTest, DrainsUpToTheFirstLongMessage)
{
    linkQueues::putAnswer({1});
    linkQueues::putAnswer(Frame(101));
    linkQueues::putAnswer({2});
    port.drain();
    EXPECT_THAT(discarded, ElementsAre(Frame{1}));
    EXPECT_EQ(linkQueues::takeAnswer(), Frame(101));
    EXPECT_EQ(linkQueues::takeAnswer(), Frame{2});
}

TEST_F(ComPortAdapterTest, DrainsUpToAnotherLimit)
{
    linkQueues::putAnswer(Frame(1024));
    linkQueues::putAnswer(Frame(1025));
    port.drainUpTo(1024);
    EXPECT_THAT(discarded, ElementsAre(Frame(1024)));
    EXPECT_EQ(linkQueues::takeAnswer(), Frame(1025));
}

TEST_F(ComPortAdapterTest, NeverDrainsMoreThanAReceiveTakes)
{
    linkQueues::putAnswer(Frame(4096));
    linkQueues::putAnswer(Frame(4097));
    port.drainUpTo(5000);
    EXPECT_THAT(discarded, ElementsAre(Frame(4096)));
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
}

TEST_F(ComPortAdapterTest, DrainsNothingWithoutAQueue)
{
    linkQueues::putAnswer({1});
    systemCalls::fail("msgget", ENOSPC);
    port.drain();
    systemCalls::reset();
    EXPECT_THAT(discarded, IsEmpty());
    EXPECT_EQ(linkQueues::waitingAnswers(), 1U);
}

TEST_F(ComPortAdapterTest, ShowsWhatAReadWithoutABufferConsumed)
{
    linkQueues::putAnswer({1, 2, 3});
    readInto(nullptr, 3);
    EXPECT_THAT(discarded, ElementsAre(Frame{1, 2, 3}));
}

TEST_F(ComPortAdapterTest, ShowsNothingOfWhatAReadReturns)
{
    linkQueues::putAnswer({1, 2, 3});
    read(3);
    EXPECT_THAT(discarded, IsEmpty());
}

TEST_F(ComPortAdapterTest, ReceivesAsItReadsButPrintsNothing)
{
    linkQueues::putAnswer({1, 2, 3});
    printed = capture([&] {
        EXPECT_EQ(port.receive(buffer.data(), 3, {}), 3);
        EXPECT_EQ(port.receive(buffer.data(), 3, std::chrono::steady_clock::now()), -1);
        EXPECT_EQ(errno, ETIMEDOUT);
    });
    EXPECT_EQ(printed, "");
    EXPECT_EQ(firstBytes(3), (Frame{1, 2, 3}));
}

TEST_F(ComPortAdapterTest, KnowsWhetherItHasAnAnswerQueue)
{
    read(3, std::chrono::steady_clock::now());
    EXPECT_TRUE(port.hasAnswerQueue());
    systemCalls::fail("msgget", EACCES);
    read(3, std::chrono::steady_clock::now());
    EXPECT_FALSE(port.hasAnswerQueue());
}

TEST_F(ComPortAdapterTest, DropsAnAnswerOfAnySize)
{
    linkQueues::putAnswer(Frame(8000));
    linkQueues::putAnswer({2});
    port.dropAnswer();
    EXPECT_THAT(discarded, ElementsAre(Frame(100)));
    EXPECT_EQ(linkQueues::takeAnswer(), Frame{2});
}

TEST_F(ComPortAdapterTest, DropsNothingFromAnEmptyQueue)
{
    port.dropAnswer();
    EXPECT_THAT(discarded, IsEmpty());
}

TEST_F(ComPortAdapterTest, CountsTheWaitingRequests)
{
    EXPECT_EQ(port.waitingRequests(), 0U);
    linkQueues::putRequest({1});
    linkQueues::putRequest({2});
    EXPECT_EQ(port.waitingRequests(), 2U);
}

TEST_F(ComPortAdapterTest, CountsTheWaitingAnswers)
{
    EXPECT_EQ(port.waitingAnswers(), 0U);
    linkQueues::putAnswer({1});
    linkQueues::putAnswer(Frame(150));
    EXPECT_EQ(port.waitingAnswers(), 2U);
    EXPECT_EQ(port.waitingRequests(), 0U);
}

TEST_F(ComPortAdapterTest, CountsNothingInQueuesThatAreGone)
{
    linkQueues::putRequest({1});
    linkQueues::putAnswer({1});
    linkQueues::remove();
    EXPECT_EQ(port.waitingRequests(), 0U);
    EXPECT_EQ(port.waitingAnswers(), 0U);
}

/// In a namespace whose first queues have the ids 0 and 1.
[[noreturn]] void countWithoutOpening()
{
    const bool isPrivate = enterPrivateIpcNamespace();
    linkQueues::putAnswer({1});
    linkQueues::putRequest({2});
    const ComPortAdapter closed;
    std::_Exit(isPrivate && closed.waitingAnswers() + closed.waitingRequests() == 0 ? 0 : 1);
}

TEST_F(ComPortAdapterTest, CountsNothingBeforeItIsOpen)
{
    EXPECT_EXIT(countWithoutOpening(), testing::ExitedWithCode(0), "");
}

TEST_F(ComPortAdapterTest, FindsQueuesThatWereRemovedAndMadeAgain)
{
    linkQueues::remove();
    EXPECT_EQ(write({1, 2}, 2), 2);
    EXPECT_EQ(linkQueues::takeRequest(), (Frame{1, 2}));
    linkQueues::putAnswer({3});
    EXPECT_EQ(read(10), 1);
    linkQueues::remove();
    linkQueues::putAnswer({4});
    port.drain();
    linkQueues::remove();
    linkQueues::putAnswer({5});
    port.dropAnswer();
    EXPECT_THAT(discarded, ElementsAre(Frame{4}, Frame{5}));
}
} // namespace
