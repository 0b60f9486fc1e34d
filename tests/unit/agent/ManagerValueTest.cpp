#include "ManagerValue.h"

#include "agent/AgentLibrary.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

// The AgentX encoder of the agent library, which none of its headers declares.
extern "C" u_char *agentx_realloc_build_varbind(u_char **buffer, size_t *size, size_t *used,
                                                int mayGrow, netsnmp_variable_list *variable,
                                                int networkByteOrder);

namespace
{
/// The inline buffer of the library's variables.
constexpr std::size_t libraryBuffer = 40;

DeviceValue valueOf(const std::string &text)
{
    DeviceValue value;
    value.setText(text);
    return value;
}

std::size_t servedLength(int tag, std::size_t textLength)
{
    return managerValue::servedLength(static_cast<std::uint8_t>(tag),
                                      valueOf(std::string(textLength, '7')));
}

const unsigned char *bytesOf(const std::string &text)
{
    return reinterpret_cast<const unsigned char *>(text.data());
}

DeviceValue valueFilledWith(std::uint8_t byte)
{
    DeviceValue value;
    value.data.fill(byte);
    return value;
}

class ServedLengthOfNumbers : public testing::TestWithParam<int>
{
};

TEST_P(ServedLengthOfNumbers, IsTheTextUpToTheBufferOfTheLibrary)
{
    EXPECT_EQ(servedLength(GetParam(), 0), 0U);
    EXPECT_EQ(servedLength(GetParam(), 4), 4U);
    EXPECT_EQ(servedLength(GetParam(), libraryBuffer), libraryBuffer);
}

TEST_P(ServedLengthOfNumbers, IsNothingBeyondIt)
{
    EXPECT_EQ(servedLength(GetParam(), libraryBuffer + 1), 0U);
    EXPECT_EQ(servedLength(GetParam(), 64), 0U);
}

INSTANTIATE_TEST_SUITE_P(NumberTypes, ServedLengthOfNumbers,
                         testing::Values(ASN_INTEGER, ASN_COUNTER, ASN_GAUGE, ASN_TIMETICKS,
                                         ASN_COUNTER64, ASN_UINTEGER, ASN_OPAQUE_FLOAT,
                                         ASN_OPAQUE_DOUBLE, ASN_OPAQUE_COUNTER64, ASN_OPAQUE_I64,
                                         ASN_OPAQUE_U64));

TEST(ServedLengthTest, IsAllOfATextThatIsServedAsOctets)
{
    EXPECT_EQ(servedLength(ASN_OCTET_STR, 0), 0U);
    EXPECT_EQ(servedLength(ASN_OCTET_STR, 41), 41U);
    EXPECT_EQ(servedLength(ASN_OCTET_STR, 64), 64U);
    EXPECT_EQ(servedLength(ASN_IPADDRESS, 64), 64U);
}

/// Serves a value and encodes it for the master, as for a scalar or a cell of this type.
void serveAndEncode(std::uint8_t tag, const DeviceValue &value)
{
    const std::array<oid, 4> name{1, 3, 6, 1};
    netsnmp_variable_list *variable = nullptr;
    snmp_varlist_add_variable(&variable, name.data(), name.size(), ASN_NULL, nullptr, 0);
    snmp_set_var_typed_value(variable, tag, value.data.data(),
                             managerValue::servedLength(tag, value));
    std::array<u_char, 1024> packet{};
    u_char *buffer = packet.data();
    size_t size = packet.size();
    size_t used = 0;
    agentx_realloc_build_varbind(&buffer, &size, &used, 0, variable, 1);
    snmp_free_varbind(variable);
}

[[noreturn]] void serveEveryTypeWithEveryText()
{
    for (int tag = 0; tag <= 255; ++tag) {
        for (std::size_t length = 0; length <= 64; ++length) {
            serveAndEncode(static_cast<std::uint8_t>(tag), valueOf(std::string(length, '7')));
        }
        serveAndEncode(static_cast<std::uint8_t>(tag), valueFilledWith(0xFF));
    }
    std::_Exit(0);
}

TEST(ServedValueTest, SurvivesTheLibraryWhateverItsTypeAndText)
{
    // In a process of its own: a value that the library cannot handle crashes it.
    EXPECT_EXIT(serveEveryTypeWithEveryText(), testing::ExitedWithCode(0), "");
}

TEST(TakeIntegerTest, TakesTheFirstFourBytes)
{
    const std::array<unsigned char, 8> bytes{0x78, 0x56, 0x34, 0x12, 0xFF, 0xFF, 0xFF, 0xFF};
    DeviceValue value = valueFilledWith(0xEE);
    managerValue::takeInteger(bytes.data(), bytes.size(), value);
    EXPECT_EQ(value.int32(), 0x12345678U);
    EXPECT_EQ(value.data[4], 0xEE);
}

TEST(TakeIntegerTest, CountsMissingBytesAsZero)
{
    const std::array<unsigned char, 2> bytes{0x78, 0x56};
    DeviceValue value = valueFilledWith(0xEE);
    managerValue::takeInteger(bytes.data(), bytes.size(), value);
    EXPECT_EQ(value.int32(), 0x5678U);
    managerValue::takeInteger(nullptr, 4, value);
    EXPECT_EQ(value.int32(), 0U);
}

TEST(TextLengthTest, EndsAtTheFirstNul)
{
    EXPECT_EQ(managerValue::textLength(bytesOf(std::string("ab\0cd", 5)), 5), 2U);
}

TEST(TextLengthTest, NeverLooksPastWhatWasSent)
{
    const std::vector<unsigned char> bytes{'a', 'b', 'c'};
    EXPECT_EQ(managerValue::textLength(bytes.data(), bytes.size()), 3U);
    EXPECT_EQ(managerValue::textLength(bytes.data(), 2), 2U);
    EXPECT_EQ(managerValue::textLength(bytes.data(), 0), 0U);
    EXPECT_EQ(managerValue::textLength(nullptr, 5), 0U);
}

TEST(TakeTextTest, PutsTheTextIntoTheClearedRecord)
{
    DeviceValue value = valueFilledWith(0xEE);
    managerValue::takeText(bytesOf("abc"), 3, value);
    EXPECT_EQ(value.text(), "abc");
    EXPECT_EQ(std::count(value.data.begin() + 3, value.data.end(), 0), 61);
}

TEST(TakeTextTest, TakesTheFirst64BytesWithoutATerminator)
{
    DeviceValue value;
    managerValue::takeText(bytesOf(std::string(63, 'a') + "bcd"), 66, value);
    EXPECT_EQ(value.text(), std::string(63, 'a') + "b");
}

TEST(TakeTextTest, TakesNothingAsAnEmptyText)
{
    DeviceValue value = valueFilledWith(0xEE);
    managerValue::takeText(nullptr, 0, value);
    EXPECT_EQ(value.text(), "");
}
} // namespace
