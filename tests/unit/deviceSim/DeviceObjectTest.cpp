#include "SimulatorFixture.h"

#include <array>
#include <string>
#include <utility>

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
DeviceObject objectOf(ValueKind kind, std::size_t width, std::string_view value)
{
    DeviceObject object(0x0100, kind, width, true);
    object.setText(value);
    return object;
}

std::string refusalOf(ValueKind kind, std::size_t width, std::string_view value)
{
    return reasonOf([&] { objectOf(kind, width, value); });
}
} // namespace

TEST(DeviceObject, keepsIntegersLittleEndian)
{
    EXPECT_THAT(objectOf(ValueKind::unsignedInteger, 1, "255").value(), ElementsAre(255));
    EXPECT_THAT(objectOf(ValueKind::unsignedInteger, 2, "0x1234").value(), ElementsAre(0x34, 0x12));
    EXPECT_THAT(objectOf(ValueKind::signedInteger, 4, "-2").value(),
                ElementsAre(0xFE, 0xFF, 0xFF, 0xFF));
}

TEST(DeviceObject, showsIntegersInDecimalWithTheirSign)
{
    EXPECT_EQ(objectOf(ValueKind::unsignedInteger, 1, "255").text(), "255");
    EXPECT_EQ(objectOf(ValueKind::signedInteger, 1, "-128").text(), "-128");
    EXPECT_EQ(objectOf(ValueKind::signedInteger, 2, "32767").text(), "32767");
    EXPECT_EQ(objectOf(ValueKind::unsignedInteger, 4, "4294967295").text(), "4294967295");
    EXPECT_EQ(objectOf(ValueKind::signedInteger, 4, "-2147483648").text(), "-2147483648");
}

TEST(DeviceObject, takesANumberWithTheDecimalPlacesThatItHas)
{
    DeviceObject object(0x0100, ValueKind::signedInteger, 2, true);
    object.setPlaces(2);
    for (const auto &[text, number] : {std::pair("48.2", "4820"), std::pair("-0.05", "-5"),
                                       std::pair("7", "7"), std::pair(".5", "50")}) {
        object.setText(text);
        EXPECT_EQ(object.text(), number) << text;
    }
    EXPECT_EQ(object.decimalText(), "0.5");
    for (const char *wrong : {"1.234", "1.", "1.2.3", "0x1.2", "."}) {
        EXPECT_EQ(reasonOf([&] { object.setText(wrong); }),
                  "value \"" + std::string(wrong) + "\" is not a number from -32768 to 32767");
    }
}

TEST(DeviceObject, withoutDecimalPlacesHasNoDecimalText)
{
    EXPECT_EQ(objectOf(ValueKind::unsignedInteger, 1, "5").decimalText(), "");
    EXPECT_EQ(refusalOf(ValueKind::unsignedInteger, 1, "4.8"),
              "value \"4.8\" is not a number from 0 to 255");
    DeviceObject text = objectOf(ValueKind::string, 4, "4.8");
    text.setPlaces(1);
    EXPECT_EQ(text.text(), "4.8");
    EXPECT_EQ(text.decimalText(), "");
}

TEST(DeviceObject, refusesANumberThatDoesNotFitItsWidth)
{
    EXPECT_EQ(refusalOf(ValueKind::unsignedInteger, 1, "256"),
              "value \"256\" is not a number from 0 to 255");
    EXPECT_EQ(refusalOf(ValueKind::unsignedInteger, 2, "-1"),
              "value \"-1\" is not a number from 0 to 65535");
    EXPECT_EQ(refusalOf(ValueKind::signedInteger, 1, "128"),
              "value \"128\" is not a number from -128 to 127");
}

TEST(DeviceObject, padsATextToItsWidth)
{
    const DeviceObject object = objectOf(ValueKind::string, 4, "ab");
    EXPECT_THAT(object.value(), ElementsAre('a', 'b', 0, 0));
    EXPECT_EQ(object.text(), "ab");
    EXPECT_EQ(object.length(), 7);
}

TEST(DeviceObject, holdsATextAsLongAsItsWidth)
{
    EXPECT_EQ(objectOf(ValueKind::string, 2, "ab").text(), "ab");
    EXPECT_EQ(refusalOf(ValueKind::string, 2, "abc"), "value of 3 bytes exceeds the width of 2");
}

TEST(DeviceObject, takesABlockInHexadecimal)
{
    const DeviceObject object = objectOf(ValueKind::other, 20, "0a0b");
    EXPECT_EQ(object.length(), 23);
    EXPECT_EQ(object.text().substr(0, 8), "0a 0b 00");
}

TEST(DeviceObject, reportsKindAndWritabilityInItsAttribute)
{
    EXPECT_EQ(DeviceObject(1, ValueKind::unsignedInteger, 1, false).attribute(), 0x0000);
    EXPECT_EQ(DeviceObject(1, ValueKind::signedInteger, 1, true).attribute(), 0x0110);
    EXPECT_EQ(DeviceObject(1, ValueKind::string, 1, true).attribute(), 0x0210);
    EXPECT_EQ(DeviceObject(1, ValueKind::other, 1, false).attribute(), 0x0300);
}

TEST(DeviceObject, refusesWidthsThatNoFrameCarries)
{
    EXPECT_EQ(reasonOf([] { DeviceObject(1, ValueKind::signedInteger, 3, true); }),
              "width 3 of a number is not 1, 2 or 4");
    EXPECT_EQ(reasonOf([] { DeviceObject(1, ValueKind::string, 253, true); }),
              "width 253 exceeds 252");
    EXPECT_EQ(DeviceObject(1, ValueKind::string, 252, true).length(), 255);
    EXPECT_EQ(DeviceObject(1, ValueKind::string, 0, true).length(), 3);
}

TEST(DeviceObject, takesAWriteOfItsWidth)
{
    DeviceObject object = objectOf(ValueKind::unsignedInteger, 2, "1");
    EXPECT_TRUE(object.write(std::array<std::uint8_t, 2>{0x34, 0x12}));
    EXPECT_EQ(object.text(), "4660");
}

TEST(DeviceObject, refusesAWriteOfAnotherWidth)
{
    DeviceObject object = objectOf(ValueKind::unsignedInteger, 2, "1");
    EXPECT_FALSE(object.write(std::array<std::uint8_t, 1>{9}));
    EXPECT_EQ(object.text(), "1");
}

TEST(DeviceObject, refusesAWriteWhenItIsNotWritable)
{
    DeviceObject object(1, ValueKind::unsignedInteger, 1, false);
    EXPECT_FALSE(object.write(std::array<std::uint8_t, 1>{9}));
    EXPECT_EQ(object.text(), "0");
}

TEST(DeviceObject, dropsWhatIsWrittenBeyondTheEndOfAText)
{
    DeviceObject object = objectOf(ValueKind::string, 4, "abcd");
    EXPECT_TRUE(object.write(std::array<std::uint8_t, 4>{'x', 0, 'y', 'z'}));
    EXPECT_THAT(object.value(), ElementsAre('x', 0, 0, 0));
}
