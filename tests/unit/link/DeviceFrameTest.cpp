#include "DeviceFrame.h"

#include "support/LinkQueues.h"

#include <algorithm>
#include <numeric>
#include <tuple>

#include <gtest/gtest.h>

namespace
{
constexpr std::uint16_t stringAttribute = 0x0200;

/// Command, length byte, attribute word and object id of an answer.
using Header = std::tuple<std::uint8_t, std::uint8_t, std::uint16_t, std::uint16_t>;

class DeviceFrameTest : public testing::Test
{
protected:
    DeviceFrameTest() { std::iota(value.data.begin(), value.data.end(), std::uint8_t{1}); }

    /// The bytes of the write request that go to the device.
    Frame writeOf(std::uint8_t length)
    {
        value.len = length;
        const auto request = deviceFrame::makeWriteRequest(0x1234, value);
        return {request.begin(), request.begin() + length + 1};
    }

    static Header headerOf(const Frame &frame)
    {
        const auto answer = deviceFrame::decodeAnswer(frame);
        return {answer.command, answer.length, answer.attribute, answer.objId};
    }

    bool stores(const Frame &frame)
    {
        return deviceFrame::storeAnswer(deviceFrame::decodeAnswer(frame), value);
    }

    static Frame stringAnswer(std::uint8_t length, std::size_t arrived)
    {
        Frame frame{0x12, length, 0x10, stringAttribute >> 8, 0x34, 0x12};
        frame.resize(frame.size() + arrived, 'x');
        return frame;
    }

    DeviceValue value;
};

TEST_F(DeviceFrameTest, ReadRequestHasEightBytes)
{
    const auto request = deviceFrame::makeReadRequest(0x1234);
    EXPECT_EQ(Frame(request.begin(), request.end()), (Frame{2, 7, 0x34, 0x12, 0, 0, 0, 0}));
}

TEST_F(DeviceFrameTest, WriteRequestCarriesTheBytesThatItsLengthCounts)
{
    EXPECT_EQ(writeOf(4), (Frame{1, 4, 0x34, 0x12, 1}));
    EXPECT_EQ(writeOf(5), (Frame{1, 5, 0x34, 0x12, 1, 2}));
    EXPECT_EQ(writeOf(7), (Frame{1, 7, 0x34, 0x12, 1, 2, 3, 4}));
    EXPECT_EQ(writeOf(10), (Frame{1, 10, 0x34, 0x12, 1, 2, 3, 4, 5, 6, 7}));
}

TEST_F(DeviceFrameTest, WriteRequestOfABlockCarriesTwentyBytes)
{
    Frame expected{1, 23, 0x34, 0x12};
    expected.insert(expected.end(), value.data.begin(), value.data.begin() + 20);
    EXPECT_EQ(writeOf(23), expected);
}

TEST_F(DeviceFrameTest, WriteRequestCarriesAtMostSixtyFourBytesThenZeros)
{
    Frame expected{1, 255, 0x34, 0x12};
    expected.insert(expected.end(), value.data.begin(), value.data.end());
    expected.resize(256, 0);
    EXPECT_EQ(writeOf(255), expected);
}

TEST_F(DeviceFrameTest, WriteRequestIsZeroAfterTheBytesThatItsLengthCounts)
{
    for (const std::uint8_t length : Frame{4, 5, 7, 10, 23}) {
        value.len = length;
        const auto request = deviceFrame::makeWriteRequest(0x1234, value);
        EXPECT_EQ(std::count(request.begin() + length + 1, request.end(), 0), 255 - length);
    }
}

TEST_F(DeviceFrameTest, WriteRequestOfALengthBelowThreeIsCutWithinItsHeader)
{
    EXPECT_EQ(writeOf(0), (Frame{1}));
    EXPECT_EQ(writeOf(1), (Frame{1, 1}));
    EXPECT_EQ(writeOf(2), (Frame{1, 2, 0x34}));
    EXPECT_EQ(writeOf(3), (Frame{1, 3, 0x34, 0x12}));
}

TEST_F(DeviceFrameTest, WriteRequestOfALengthBelowThreeCarriesNoData)
{
    value.len = 2;
    const auto request = deviceFrame::makeWriteRequest(0x1234, value);
    EXPECT_EQ(std::count(request.begin() + 4, request.end(), 0), 252);
}

TEST_F(DeviceFrameTest, DeviceKnowsWritesOfFourLengthsOnly)
{
    Frame known;
    for (int length = 0; length <= 255; ++length) {
        if (deviceFrame::isWritableLength(static_cast<std::uint8_t>(length))) {
            known.push_back(static_cast<std::uint8_t>(length));
        }
    }
    EXPECT_EQ(known, (Frame{4, 5, 7, 23}));
}

TEST_F(DeviceFrameTest, AnswerIsSplitIntoItsFields)
{
    const Frame frame{0x12, 5, 0x10, 0x01, 0x34, 0x12, 0xAA, 0xBB};
    EXPECT_EQ(headerOf(frame), (Header{0x12, 5, 0x0110, 0x1234}));
    const auto answer = deviceFrame::decodeAnswer(frame);
    EXPECT_EQ(Frame(answer.value.begin(), answer.value.end()), (Frame{0xAA, 0xBB}));
}

TEST_F(DeviceFrameTest, HeaderBytesThatDidNotArriveCountAsZero)
{
    const Frame whole{0x12, 5, 0x10, 0x01, 0x34, 0x12};
    for (std::size_t arrived = 0; arrived < whole.size(); ++arrived) {
        const Frame part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(arrived));
        Frame withZeros = part;
        withZeros.resize(whole.size());
        EXPECT_EQ(headerOf(part), headerOf(withZeros)) << arrived;
        EXPECT_TRUE(deviceFrame::decodeAnswer(part).value.empty()) << arrived;
    }
}

constexpr deviceFrame::RequestName readOf1234{deviceFrame::Command::readRequest, 0x1234};
constexpr deviceFrame::RequestName writeOf1234{deviceFrame::Command::writeRequest, 0x1234};

TEST_F(DeviceFrameTest, ReadAnswerNamesTheReadOfItsObject)
{
    const Frame answer{0x12, 4, 0x34, 0x12, 0x34, 0x12, 7};
    EXPECT_TRUE(deviceFrame::names(answer, readOf1234));
    EXPECT_FALSE(deviceFrame::names(answer, writeOf1234));
    EXPECT_FALSE(deviceFrame::names(Frame{0x12, 4, 0x34, 0x12, 0x35, 0x12, 7}, readOf1234));
}

TEST_F(DeviceFrameTest, WriteAnswerNamesTheWriteOfItsObject)
{
    const Frame answer{0x11, 4, 0x34, 0x12, 0x34, 0x12};
    EXPECT_TRUE(deviceFrame::names(answer, writeOf1234));
    EXPECT_FALSE(deviceFrame::names(answer, readOf1234));
    EXPECT_FALSE(deviceFrame::names(Frame{0x11, 4, 0x34, 0x13}, writeOf1234));
}

TEST_F(DeviceFrameTest, ErrorNamesAReadOrAWriteByThePlaceOfItsId)
{
    const Frame ofRead{0x13, 3, 0, 0, 0x34, 0x12};
    EXPECT_TRUE(deviceFrame::names(ofRead, readOf1234));
    EXPECT_FALSE(deviceFrame::names(ofRead, writeOf1234));
    const Frame ofWrite{0x14, 4, 0x34, 0x12};
    EXPECT_TRUE(deviceFrame::names(ofWrite, writeOf1234));
    EXPECT_FALSE(deviceFrame::names(ofWrite, readOf1234));
}

TEST_F(DeviceFrameTest, AnswerNamesItsObjectOnlyWithAWholeId)
{
    EXPECT_TRUE(deviceFrame::names(Frame{0x12, 4, 0, 0, 0x34, 0x12}, readOf1234));
    EXPECT_FALSE(deviceFrame::names(Frame{0x12, 4, 0, 0, 0x34}, readOf1234));
    EXPECT_TRUE(deviceFrame::names(Frame{0x11, 4, 0x34, 0x12}, writeOf1234));
    EXPECT_FALSE(deviceFrame::names(Frame{0x11, 4, 0x34}, writeOf1234));
    constexpr deviceFrame::RequestName readOf0{deviceFrame::Command::readRequest, 0};
    EXPECT_FALSE(deviceFrame::names(Frame{}, readOf0));
}

TEST_F(DeviceFrameTest, AnswerMayBelongToAnyRequestOfItsDirection)
{
    EXPECT_TRUE(deviceFrame::mayAnswer(Frame{0x12}, readOf1234));
    EXPECT_FALSE(deviceFrame::mayAnswer(Frame{0x12}, writeOf1234));
    EXPECT_TRUE(deviceFrame::mayAnswer(Frame{0x11}, writeOf1234));
    EXPECT_FALSE(deviceFrame::mayAnswer(Frame{0x11}, readOf1234));
}

TEST_F(DeviceFrameTest, ErrorMayBelongToAnyRequest)
{
    for (const Frame &error : {Frame{0x13}, Frame{0x14}, Frame{}}) {
        EXPECT_TRUE(deviceFrame::mayAnswer(error, readOf1234));
        EXPECT_TRUE(deviceFrame::mayAnswer(error, writeOf1234));
    }
}

TEST_F(DeviceFrameTest, RequestsAreDistinguishedByDirectionAndObject)
{
    EXPECT_NE(readOf1234, writeOf1234);
    constexpr deviceFrame::RequestName readOf1235{deviceFrame::Command::readRequest, 0x1235};
    EXPECT_NE(readOf1234, readOf1235);
}

TEST_F(DeviceFrameTest, StoredAnswerLeavesTheObjectIdAlone)
{
    value.oid = 0x7777;
    ASSERT_TRUE(stores({0x12, 4, 0x10, 0, 0x34, 0x12, 0xAA}));
    EXPECT_EQ(value.len, 4);
    EXPECT_EQ(value.oid, 0x7777);
    EXPECT_EQ(value.attr, 0x0010);
}

TEST_F(DeviceFrameTest, StoredIntegerChangesOnlyItsOwnBytes)
{
    ASSERT_TRUE(stores({0x12, 4, 0, 0, 0x34, 0x12, 0xAA}));
    EXPECT_EQ(value.int32(), 0x040302AAU);
    ASSERT_TRUE(stores({0x12, 5, 0, 1, 0x34, 0x12, 0xBB, 0xCC}));
    EXPECT_EQ(value.int32(), 0x0403CCBBU);
    ASSERT_TRUE(stores({0x12, 7, 0, 3, 0x34, 0x12, 0xDD, 0xEE, 0xFF, 0x99}));
    EXPECT_EQ(value.int32(), 0x99FFEEDDU);
    EXPECT_EQ(value.data[4], 5);
}

TEST_F(DeviceFrameTest, StoredTextIsFollowedByZeros)
{
    ASSERT_TRUE(stores(stringAnswer(8, 5)));
    EXPECT_EQ(value.len, 8);
    EXPECT_EQ(value.text(), "xxxxx");
    EXPECT_EQ(std::count(value.data.begin(), value.data.end(), 0), 59);
}

TEST_F(DeviceFrameTest, StoredTextMayBeEmpty)
{
    ASSERT_TRUE(stores(stringAnswer(3, 0)));
    EXPECT_EQ(value.text(), "");
}

TEST_F(DeviceFrameTest, StoredTextHasAtMostSixtyFourBytes)
{
    ASSERT_TRUE(stores(stringAnswer(255, 252)));
    EXPECT_EQ(value.len, 255);
    EXPECT_EQ(value.text(), std::string(64, 'x'));
}

TEST_F(DeviceFrameTest, BytesBeyondTheCountedOnesAreIgnored)
{
    ASSERT_TRUE(stores(stringAnswer(6, 9)));
    EXPECT_EQ(value.text(), "xxx");
}

TEST_F(DeviceFrameTest, TextOfALengthBelowThreeIsRefused)
{
    for (std::uint8_t length = 0; length < 3; ++length) {
        EXPECT_FALSE(stores(stringAnswer(length, 10))) << int{length};
    }
}

TEST_F(DeviceFrameTest, IntegerOfAnyOtherLengthIsRefused)
{
    for (int length = 0; length <= 255; ++length) {
        Frame frame = stringAnswer(static_cast<std::uint8_t>(length), 252);
        for (const std::uint8_t kind : Frame{0, 1, 3}) {
            frame[3] = kind;
            EXPECT_EQ(stores(frame), length == 4 || length == 5 || length == 7) << length;
        }
    }
}

TEST_F(DeviceFrameTest, ValueThatDidNotArriveWholeIsRefused)
{
    EXPECT_FALSE(stores({0x12, 4, 0, 0, 0x34, 0x12}));
    EXPECT_FALSE(stores({0x12, 5, 0, 0, 0x34, 0x12, 1}));
    EXPECT_FALSE(stores({0x12, 7, 0, 0, 0x34, 0x12, 1, 2, 3}));
    EXPECT_FALSE(stores(stringAnswer(8, 4)));
    EXPECT_FALSE(stores(stringAnswer(100, 64)));
}

TEST_F(DeviceFrameTest, RefusedValueStillLeavesItsLengthAndAttributeWord)
{
    const auto dataBefore = value.data;
    EXPECT_FALSE(stores({0x12, 23, 0x10, 0x01, 0x34, 0x12}));
    EXPECT_EQ(value.len, 23);
    EXPECT_EQ(value.attr, 0x0110);
    EXPECT_EQ(value.data, dataBefore);
}
} // namespace
