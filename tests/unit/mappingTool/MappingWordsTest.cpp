#include "MappingWords.h"

#include <limits>

#include <gtest/gtest.h>

TEST(MappingWords, FindEveryCodeAgain)
{
    for (unsigned code = 0; code <= std::numeric_limits<std::uint16_t>::max(); ++code) {
        const auto value = static_cast<std::uint16_t>(code);
        ASSERT_EQ(mappingWords::typeCode(mappingWords::type(value)), value);
        ASSERT_EQ(mappingWords::accessCode(mappingWords::access(value)), value);
        ASSERT_EQ(mappingWords::conversionCode(mappingWords::conversion(value)), value);
    }
}

TEST(MappingWords, NameTheConversions)
{
    EXPECT_EQ(mappingWords::conversionCode("raw"), 0x0000);
    EXPECT_EQ(mappingWords::conversionCode("ipv4"), 0x0001);
    EXPECT_EQ(mappingWords::conversionCode("dateTime"), 0x0003);
    EXPECT_EQ(mappingWords::conversionCode("decimal 2"), 0x2004);
    EXPECT_EQ(mappingWords::conversionCode("scaled 15"), 0xF000);
    EXPECT_EQ(mappingWords::conversionCode("uint16"), 0x000B);
    EXPECT_EQ(mappingWords::conversionCode("decimal 16"), std::nullopt);
    EXPECT_EQ(mappingWords::conversionCode("decimal"), std::nullopt);
    EXPECT_EQ(mappingWords::conversionCode("hex 2"), std::nullopt);
}

TEST(MappingWords, WriteLabelsAndReadThemAgain)
{
    const std::vector<Label> labels{{-1, "unknown"}, {0, "down"}, {1, "up"}};
    EXPECT_EQ(mappingWords::labels(labels), "-1=unknown 0=down 1=up");
    EXPECT_EQ(mappingWords::labelsIn("-1=unknown 0=down 1=up"), labels);
    EXPECT_TRUE(mappingWords::labelsIn("nonsense =x 1= x=1 2=No").empty());
}

TEST(MappingWords, KnowWhatANameIs)
{
    EXPECT_TRUE(mappingWords::isName("portName2"));
    EXPECT_FALSE(mappingWords::isName("PortName"));
    EXPECT_FALSE(mappingWords::isName("port-name"));
    EXPECT_FALSE(mappingWords::isName(""));
    EXPECT_FALSE(mappingWords::isName(std::string(65, 'a')));
    EXPECT_TRUE(mappingWords::isHyphenated("not-there"));
    EXPECT_FALSE(mappingWords::isHyphenated("not-"));
    EXPECT_FALSE(mappingWords::isHyphenated("not--there"));
}
