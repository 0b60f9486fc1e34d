#include "VerifyFrames.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{
using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t id = 0x0102;
constexpr std::array<std::uint8_t, 6> request{1, 5, 0x02, 0x01, 0x2C, 0x01};

/// The code of the fault of an answer to a read of an object of two bytes; empty if it has none.
std::string codeOfRead(const Bytes &frame, std::size_t width = 2)
{
    const auto fault = verifyFrames::faultOfRead(frame, id, width);
    return fault ? std::string(fault->code) : "";
}

std::string codeOfWrite(const Bytes &frame)
{
    const auto fault = verifyFrames::faultOfWrite(frame, request);
    return fault ? std::string(fault->code) : "";
}
} // namespace

TEST(VerifyFrames, TakeARightAnswer)
{
    EXPECT_EQ(codeOfRead({0x12, 5, 0, 0, 0x02, 0x01, 0x2C, 0x01}), "");
    EXPECT_EQ(codeOfRead({0x12, 5, 0, 0, 0x02, 0x01, 0x2C, 0x01}, 0), "");
}

TEST(VerifyFrames, TellARefusalFromAnythingElse)
{
    EXPECT_EQ(codeOfRead({0x13, 3, 0, 0, 0x02, 0x01}), "TV202");
    EXPECT_EQ(codeOfRead({0x13, 3, 0, 0, 0x03, 0x01}), "TV212");
    EXPECT_EQ(codeOfRead({0x13, 3, 0, 0, 0x02, 0x01, 0}), "TV212");
}

TEST(VerifyFrames, CompareTheId)
{
    EXPECT_EQ(codeOfRead({0x12, 5, 0, 0, 0x03, 0x01, 0x2C, 0x01}), "TV203");
}

TEST(VerifyFrames, TellAWrongLengthByteFromFurtherBytesByTheStatedWidth)
{
    const Bytes shortened{0x12, 4, 0, 0, 0x02, 0x01, 0x2C, 0x01};
    EXPECT_EQ(codeOfRead(shortened, 2), "TV204");
    EXPECT_EQ(codeOfRead(shortened, 1), "TV206");
    EXPECT_EQ(codeOfRead(shortened, 0), "TV206");
}

TEST(VerifyFrames, FindAValueThatIsCutOff)
{
    EXPECT_EQ(codeOfRead({0x12, 5, 0, 0, 0x02, 0x01, 0x2C}), "TV204");
    EXPECT_EQ(codeOfRead({0x12, 2, 0, 0, 0x02, 0x01}), "TV204");
    EXPECT_EQ(codeOfRead({0x12, 5, 0, 0, 0x02}), "TV205");
    EXPECT_EQ(codeOfRead({}), "TV205");
}

TEST(VerifyFrames, KnowTheWidthsOfNumbers)
{
    EXPECT_EQ(codeOfRead({0x12, 6, 0, 1, 0x02, 0x01, 1, 2, 3}, 3), "TV204");
    EXPECT_EQ(codeOfRead({0x12, 6, 0, 2, 0x02, 0x01, 'a', 'b', 'c'}, 3), "");
}

TEST(VerifyFrames, KnowTheLongestAnswer)
{
    Bytes frame{0x12, 5, 0, 0, 0x02, 0x01, 0x2C, 0x01};
    frame.resize(1024);
    EXPECT_EQ(codeOfRead(frame), "TV206");
    frame.resize(1025);
    EXPECT_EQ(codeOfRead(frame), "TV207");
}

TEST(VerifyFrames, JudgeTheAnswerToAWrite)
{
    EXPECT_EQ(codeOfWrite({0x11, 5, 0x02, 0x01}), "");
    EXPECT_EQ(codeOfWrite({0x14, 5, 0x02, 0x01}), "TV602");
    EXPECT_EQ(codeOfWrite({0x11, 5, 0x03, 0x01}), "TV604");
    EXPECT_EQ(codeOfWrite({0x11, 5, 0x02, 0x01, 0, 0}), "TV604");
    EXPECT_EQ(codeOfWrite({0x11, 5, 0x02, 0x01, 0, 0, 0}), "TV605");
    EXPECT_EQ(codeOfWrite({}), "TV604");
}

TEST(VerifyFrames, AreShownInHexadecimal)
{
    EXPECT_EQ(verifyFrames::hexadecimal(request), "01 05 02 01 2C 01");
    EXPECT_EQ(verifyFrames::hexadecimal(Bytes(17)),
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 ...");
    EXPECT_EQ(verifyFrames::hexadecimal({}), "empty");
}
