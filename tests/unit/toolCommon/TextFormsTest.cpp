#include "TextForms.h"

#include <gtest/gtest.h>

using textForms::isUtf8;

TEST(TextForms, ShowUnprintableCharactersAndTheBackslashAsHexadecimal)
{
    EXPECT_EQ(textForms::oneLine("a b"), "a b");
    EXPECT_EQ(textForms::oneLine("a\nb\\\x7f\xe9"), "a\\x0Ab\\x5C\\x7F\\xE9");
    EXPECT_EQ(textForms::oneLine("a\nb\\\x7f\xe9", textForms::HexDigits::lowerCase),
              "a\\x0ab\\x5c\\x7f\\xe9");
}

TEST(TextForms, QuoteATextTruncatedIfItIsLong)
{
    EXPECT_EQ(textForms::quoted("a\nb\x7F"), "\"a\\x0Ab\\x7F\"");
    EXPECT_EQ(textForms::quoted(std::string(60, 'x')), '"' + std::string(60, 'x') + '"');
    EXPECT_EQ(textForms::quoted(std::string(100, 'x')), '"' + std::string(60, 'x') + "...\"");
}

TEST(Utf8, HasCharactersOfOneToFourBytes)
{
    EXPECT_TRUE(isUtf8(""));
    EXPECT_TRUE(isUtf8("caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80"));
}

TEST(Utf8, ReachesFromTheFirstToTheLastCodePoint)
{
    EXPECT_TRUE(isUtf8("\x01\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80"));
    EXPECT_TRUE(isUtf8("\xF0\x90\x80\x80 \xF4\x8F\xBF\xBF"));
}

TEST(Utf8, HasNoLoneBytes)
{
    for (const char *const text : {"\xC3(", "\xFF", "\x80", "a\xBF"}) {
        EXPECT_FALSE(isUtf8(text)) << text;
    }
}

TEST(Utf8, EndsAfterAWholeCharacter)
{
    for (const char *const text : {"\xC3", "\xE2\x82", "\xF0\x9F\x98"}) {
        EXPECT_FALSE(isUtf8(text)) << text;
    }
}

TEST(Utf8, HasNoOverlongForms)
{
    for (const char *const text : {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF"}) {
        EXPECT_FALSE(isUtf8(text)) << text;
    }
}

TEST(Utf8, HasNoSurrogates)
{
    for (const char *const text : {"\xED\xA0\x80", "\xED\xBF\xBF", "\xED\xA0\xBD\xED\xB8\x80"}) {
        EXPECT_FALSE(isUtf8(text)) << text;
    }
}

TEST(Utf8, HasNothingBeyondTheLastCodePoint)
{
    for (const char *const text :
         {"\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xF8\x88\x80\x80\x80"}) {
        EXPECT_FALSE(isUtf8(text)) << text;
    }
}
