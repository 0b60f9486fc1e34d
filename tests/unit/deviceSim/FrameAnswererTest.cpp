#include "Parsing.h"
#include "SimulatorFixture.h"

#include <chrono>
#include <string>

using std::chrono::milliseconds;

namespace
{
constexpr const char *readOfByte = "02 07 02 01 00 00 00 00";
constexpr const char *answerOfByte = "12 04 10 00 02 01 c8";
constexpr const char *writeOfByte = "01 04 02 01 05";
constexpr const char *byteAccepted = "11 04 02 01";

class FrameAnswererTest : public SimulatorFixture
{
};
} // namespace

TEST_F(FrameAnswererTest, answersAReadWithKindWritabilityIdAndValue)
{
    EXPECT_EQ(answerTo(readOfByte), answerOfByte);
    EXPECT_EQ(read(longId), "12 07 10 01 03 01 fe ff ff ff");
    EXPECT_EQ(read(blockId), "12 06 10 03 04 01 01 02 03");
    EXPECT_EQ(read(fixedId), "12 05 00 00 05 01 34 12");
}

TEST_F(FrameAnswererTest, answersATextWithItsWholeWidth)
{
    EXPECT_EQ(read(textId), "12 09 10 02 01 01 61 62 63 00 00 00");
}

TEST_F(FrameAnswererTest, refusesToReadAnUnknownObject)
{
    EXPECT_EQ(read(unknownId), "13 03 00 00 99 01");
    EXPECT_EQ(device.unknown, 1U);
}

TEST_F(FrameAnswererTest, acceptsAWriteWithFourBytesAndKeepsTheValue)
{
    EXPECT_EQ(answerTo(writeOfByte), byteAccepted);
    EXPECT_EQ(valueOf(byteId), "5");
    EXPECT_EQ(answerTo("01 07 03 01 04 03 02 01"), "11 07 03 01");
    EXPECT_EQ(valueOf(longId), "16909060");
    EXPECT_EQ(answerTo("01 09 01 01 68 69 00 00 00 00"), "11 09 01 01");
    EXPECT_EQ(valueOf(textId), "hi");
}

TEST_F(FrameAnswererTest, refusesAWriteToAnObjectThatIsNotWritable)
{
    EXPECT_EQ(answerTo("01 05 05 01 00 00"), "14 05 05 01");
    EXPECT_EQ(valueOf(fixedId), "4660");
}

TEST_F(FrameAnswererTest, refusesAWriteOfTheWrongLength)
{
    EXPECT_EQ(answerTo("01 05 02 01 05 00"), "14 05 02 01");
    EXPECT_EQ(answerTo("01 04 02 01 05 00"), "14 04 02 01");
    EXPECT_EQ(answerTo("01 04 02 01"), "14 04 02 01");
    EXPECT_EQ(valueOf(byteId), "200");
}

TEST_F(FrameAnswererTest, refusesToWriteAnUnknownObject)
{
    EXPECT_EQ(answerTo("01 04 99 01 05"), "14 04 99 01");
    EXPECT_EQ(device.unknown, 1U);
}

TEST_F(FrameAnswererTest, answersNothingToWhatIsNoRequest)
{
    for (const char *const frame :
         {"", "02", "01 04 02", "02 07 02 01 00 00 00", "02 07 02 01 00 00 00 00 00",
          "02 08 02 01 00 00 00 00", "03 07 02 01 00 00 00 00", "12 04 10 00 02 01 c8"}) {
        EXPECT_EQ(exchange(frame).request, RequestKind::malformed) << frame;
        EXPECT_EQ(answerTo(frame), "") << frame;
    }
    EXPECT_EQ(device.malformed, 16U);
    EXPECT_EQ(device.total.reads, 0U);
}

TEST_F(FrameAnswererTest, countsRequestsInAllAndPerId)
{
    answerTo(readOfByte);
    answerTo(readOfByte);
    answerTo(writeOfByte);
    read(unknownId);
    EXPECT_EQ(device.total.reads, 3U);
    EXPECT_EQ(device.total.writes, 1U);
    EXPECT_EQ(device.perId[byteId].reads, 2U);
    EXPECT_EQ(device.perId[unknownId].reads, 1U);
}

TEST_F(FrameAnswererTest, answersOnceAndAtOnceWithoutFaults)
{
    const Exchange answered = exchange(readOfByte);
    EXPECT_EQ(answered.copies, 1U);
    EXPECT_FALSE(answered.isHeldUp());
}

TEST_F(FrameAnswererTest, delaysTheAnswer)
{
    spoil(byteId, "delay 50");
    const Exchange answered = exchange(readOfByte);
    EXPECT_EQ(answered.delay, milliseconds(50));
    EXPECT_EQ(answered.pause, milliseconds(0));
    EXPECT_TRUE(answered.isHeldUp());
    EXPECT_EQ(answerTo(readOfByte), answerOfByte);
}

TEST_F(FrameAnswererTest, pausesOnceBeforeARequest)
{
    spoil(byteId, "pause 50");
    const Exchange answered = exchange(readOfByte);
    EXPECT_EQ(answered.pause, milliseconds(50));
    EXPECT_EQ(answered.delay, milliseconds(0));
    EXPECT_TRUE(answered.isHeldUp());
    EXPECT_EQ(parsing::hexText(answered.answer), answerOfByte);
    EXPECT_FALSE(exchange(readOfByte).isHeldUp());
}

TEST_F(FrameAnswererTest, addsAPauseToADelay)
{
    spoil(byteId, "pause 50");
    spoilAll("delay 20");
    const Exchange answered = exchange(readOfByte);
    EXPECT_EQ(answered.pause, milliseconds(50));
    EXPECT_EQ(answered.delay, milliseconds(20));
}

TEST_F(FrameAnswererTest, readsTheValueWhenTheRequestIsCarriedOutNotWhenItIsTaken)
{
    Exchange taken = take(readOfByte);
    device.objects.at(byteId).setText("7");
    carryOut(taken);
    EXPECT_EQ(parsing::hexText(taken.answer), "12 04 10 00 02 01 07");
}

TEST_F(FrameAnswererTest, keepsAWrittenValueOnlyWhenTheRequestIsCarriedOut)
{
    Exchange taken = take(writeOfByte);
    EXPECT_EQ(valueOf(byteId), "200");
    carryOut(taken);
    EXPECT_EQ(valueOf(byteId), "5");
}

TEST_F(FrameAnswererTest, keepsTheFaultsThatARequestMetWhenItWasTaken)
{
    spoil(byteId, "extra 1");
    Exchange taken = take(readOfByte);
    device.faults.clear();
    carryOut(taken);
    EXPECT_EQ(parsing::hexText(taken.answer), std::string(answerOfByte) + " a5");
}

TEST_F(FrameAnswererTest, keepsWhatIsWrittenWhenItIsSilent)
{
    spoil(byteId, "silent");
    EXPECT_EQ(exchange(writeOfByte).copies, 0U);
    EXPECT_EQ(valueOf(byteId), "5");
}

TEST_F(FrameAnswererTest, refusesWithAnErrorCommand)
{
    spoil(byteId, "error");
    EXPECT_EQ(answerTo(readOfByte), "13 03 00 00 02 01");
    EXPECT_EQ(answerTo(writeOfByte), "14 04 02 01");
    spoil(byteId, "error 0x7f");
    EXPECT_EQ(answerTo(readOfByte), "7f 03 00 00 02 01");
    EXPECT_EQ(valueOf(byteId), "200");
}

TEST_F(FrameAnswererTest, givesAWrongLength)
{
    spoil(byteId, "length 9");
    EXPECT_EQ(answerTo(readOfByte), "12 09 10 00 02 01 c8");
    EXPECT_EQ(answerTo(writeOfByte), "11 09 02 01");
}

TEST_F(FrameAnswererTest, givesAWrongId)
{
    spoil(byteId, "wrong-id 0xBEEF");
    EXPECT_EQ(answerTo(readOfByte), "12 04 10 00 ef be c8");
    EXPECT_EQ(answerTo(writeOfByte), "11 04 ef be");
}

TEST_F(FrameAnswererTest, appendsExtraBytes)
{
    spoil(byteId, "extra 2");
    EXPECT_EQ(answerTo(readOfByte), std::string(answerOfByte) + " a5 a5");
}

TEST_F(FrameAnswererTest, cutsTheAnswerOff)
{
    spoil(byteId, "truncate 3");
    EXPECT_EQ(answerTo(readOfByte), "12 04 10");
    spoil(byteId, "truncate 0");
    EXPECT_EQ(exchange(readOfByte).copies, 1U);
    EXPECT_EQ(answerTo(readOfByte), "");
    spoil(byteId, "truncate 99");
    EXPECT_EQ(answerTo(readOfByte), answerOfByte);
}

TEST_F(FrameAnswererTest, repeatsTheAnswer)
{
    spoil(byteId, "duplicate");
    EXPECT_EQ(exchange(readOfByte).copies, 2U);
    spoil(byteId, "duplicate 4");
    EXPECT_EQ(exchange(readOfByte).copies, 5U);
}

TEST_F(FrameAnswererTest, answersExactlyTheBytesGiven)
{
    spoil(byteId, "raw 00ff");
    EXPECT_EQ(answerTo(readOfByte), "00 ff");
}

TEST_F(FrameAnswererTest, answersGarbageOfAnySize)
{
    for (const std::size_t size : {0U, 1U, 7U, 8192U}) {
        spoil(byteId, "size " + std::to_string(size));
        EXPECT_EQ(exchange(readOfByte).answer.size(), size);
    }
}

TEST_F(FrameAnswererTest, repeatsItsGarbageInTheNextRun)
{
    spoil(byteId, "size 16");
    SimulatedDevice sameDevice = device;
    FrameAnswerer sameSeed(sameDevice, 1);
    SimulatedDevice otherDevice = device;
    FrameAnswerer otherSeed(otherDevice, 2);
    const auto garbage = exchange(readOfByte).answer;
    EXPECT_EQ(exchangeWith(sameSeed, readOfByte).answer, garbage);
    EXPECT_NE(exchangeWith(otherSeed, readOfByte).answer, garbage);
}

TEST_F(FrameAnswererTest, combinesFaultsOfAllAndOfTheObject)
{
    spoilAll("delay 10");
    spoil(byteId, "wrong-id 1");
    spoil(byteId, "extra 4");
    spoil(byteId, "truncate 8");
    spoil(byteId, "duplicate");
    const Exchange answered = exchange(readOfByte);
    EXPECT_EQ(parsing::hexText(answered.answer), "12 04 10 00 01 00 c8 a5");
    EXPECT_EQ(answered.delay, milliseconds(10));
    EXPECT_EQ(answered.copies, 2U);
}

TEST_F(FrameAnswererTest, staysSilentWhateverElseIsWrong)
{
    spoil(byteId, "silent");
    spoil(byteId, "duplicate 3");
    EXPECT_EQ(exchange(readOfByte).copies, 0U);
}

TEST_F(FrameAnswererTest, spoilsReadsOrWritesOnly)
{
    spoil(byteId, "silent only writes");
    EXPECT_EQ(answerTo(readOfByte), answerOfByte);
    EXPECT_EQ(answerTo(writeOfByte), "");
}

TEST_F(FrameAnswererTest, spoilsTheAnswersOfUnknownObjectsToo)
{
    spoil(unknownId, "silent");
    EXPECT_EQ(read(unknownId), "");
}
