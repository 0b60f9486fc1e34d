#include "DeviceFixture.h"

#include <array>
#include <cstring>
#include <string>

namespace
{
class ValuesTest : public DeviceFixture
{
protected:
    /// An object whose getter and setter work on `number`, `text` and `outcome`.
    void declaresWithFunctions(tarno_kind kind, std::size_t width)
    {
        declares({.id = id,
                  .kind = kind,
                  .width = width,
                  .writable = 1,
                  .get = get,
                  .set = set,
                  .user = this});
    }

    std::uint32_t number = 0;
    std::string text;
    std::size_t seenWidth = 0;
    std::uint16_t seenId = 0;
    tarno_outcome outcome = TARNO_DONE;

private:
    static tarno_outcome get(void *user, std::uint16_t object, tarno_value *value)
    {
        auto &test = *static_cast<ValuesTest *>(user);
        test.seenId = object;
        value->u = test.number;
        value->s = static_cast<std::int32_t>(test.number);
        std::memcpy(value->data, test.text.data(), test.text.size());
        return test.outcome;
    }

    static tarno_outcome set(void *user, std::uint16_t object, const tarno_value *value)
    {
        auto &test = *static_cast<ValuesTest *>(user);
        test.seenId = object;
        test.seenWidth = value->width;
        test.number = value->kind == TARNO_SIGNED ? static_cast<std::uint32_t>(value->s) : value->u;
        test.text = value->data;
        return test.outcome;
    }
};

std::uint8_t lengthOf(std::size_t width)
{
    return static_cast<std::uint8_t>(width + 3);
}
} // namespace

TEST_F(ValuesTest, AnsweredNumbersHaveTheirWidthAndTheLowByteFirst)
{
    std::uint32_t variable = 0x12345678;
    declaresNumber(TARNO_UNSIGNED, 4, &variable);
    EXPECT_EQ(answerTo(readOf(id)), (Frame{0x12, 7, 0, 0, 0x23, 0x01, 0x78, 0x56, 0x34, 0x12}));
}

TEST_F(ValuesTest, VariablesOfOneAndTwoBytesAreReadAsSuch)
{
    std::uint16_t two = 0x0102;
    declaresNumber(TARNO_UNSIGNED, 2, &two);
    std::array<std::uint8_t, 2> one{7, 9};
    declares({.id = 1,
              .kind = TARNO_UNSIGNED,
              .width = 1,
              .writable = 0,
              .get = nullptr,
              .set = nullptr,
              .user = one.data()});
    EXPECT_EQ(answerTo(readOf(id)), (Frame{0x12, 5, 0, 0, 0x23, 0x01, 2, 1}));
    EXPECT_EQ(answerTo(readOf(1)), (Frame{0x12, 4, 0, 0, 1, 0, 7}));
}

TEST_F(ValuesTest, TheAttributeSaysTheKindAndWhetherTheObjectIsWritable)
{
    std::int8_t variable = -7;
    declaresNumber(TARNO_SIGNED, 1, &variable, true);
    EXPECT_EQ(answerTo(readOf(id)), (Frame{0x12, 4, 0x10, 0x01, 0x23, 0x01, 0xF9}));
}

TEST_F(ValuesTest, TextIsPaddedToItsWidth)
{
    std::array<char, 5> bytes{'a', 'b'};
    declares({.id = id,
              .kind = TARNO_TEXT,
              .width = bytes.size(),
              .writable = 0,
              .get = nullptr,
              .set = nullptr,
              .user = bytes.data()});
    EXPECT_EQ(answerTo(readOf(id)), (Frame{0x12, 8, 0, 0x02, 0x23, 0x01, 'a', 'b', 0, 0, 0}));
}

TEST_F(ValuesTest, AWrittenVariableChangesAndNothingBesideIt)
{
    std::array<std::uint16_t, 2> variables{1, 2};
    declaresNumber(TARNO_UNSIGNED, 2, variables.data(), true);
    EXPECT_EQ(answerTo(writeOf(id, {0x39, 0x05})), (Frame{0x11, 5, 0x23, 0x01}));
    EXPECT_EQ(variables, (std::array<std::uint16_t, 2>{1337, 2}));
}

TEST_F(ValuesTest, WrittenVariablesOfOneAndFourBytesChange)
{
    std::uint8_t one = 0;
    std::uint32_t four = 0;
    declaresNumber(TARNO_UNSIGNED, 1, &one, true);
    declares({.id = 1,
              .kind = TARNO_UNSIGNED,
              .width = 4,
              .writable = 1,
              .get = nullptr,
              .set = nullptr,
              .user = &four});
    static_cast<void>(answerTo(writeOf(id, {200})));
    static_cast<void>(answerTo(writeOf(1, {1, 2, 3, 4})));
    EXPECT_EQ(one, 200);
    EXPECT_EQ(four, 0x04030201U);
}

TEST_F(ValuesTest, AWrittenTextOrBlockChangesItsBytes)
{
    std::array<char, 4> bytes{'o', 'l', 'd', '!'};
    declares({.id = id,
              .kind = TARNO_TEXT,
              .width = 3,
              .writable = 1,
              .get = nullptr,
              .set = nullptr,
              .user = bytes.data()});
    static_cast<void>(answerTo(writeOf(id, {'n', 0, 0})));
    EXPECT_EQ(bytes, (std::array<char, 4>{'n', 0, 0, '!'}));
}

TEST_F(ValuesTest, AGetterGivesTheNumberCutToTheWidth)
{
    declaresWithFunctions(TARNO_UNSIGNED, 2);
    number = 0x12345;
    EXPECT_EQ(answerTo(readOf(id)), (Frame{0x12, 5, 0x10, 0, 0x23, 0x01, 0x45, 0x23}));
    EXPECT_EQ(seenId, id);
}

TEST_F(ValuesTest, AGetterGivesASignedNumber)
{
    declaresWithFunctions(TARNO_SIGNED, 4);
    number = static_cast<std::uint32_t>(-2);
    EXPECT_EQ(answerTo(readOf(id)),
              (Frame{0x12, 7, 0x10, 0x01, 0x23, 0x01, 0xFE, 0xFF, 0xFF, 0xFF}));
}

TEST_F(ValuesTest, AGetterOfATextFindsItEmpty)
{
    declaresWithFunctions(TARNO_TEXT, 3);
    text = "abc";
    EXPECT_EQ(answerTo(readOf(id)), (Frame{0x12, 6, 0x10, 0x02, 0x23, 0x01, 'a', 'b', 'c'}));
    text = "z";
    EXPECT_EQ(answerTo(readOf(id)), (Frame{0x12, 6, 0x10, 0x02, 0x23, 0x01, 'z', 0, 0}));
}

TEST_F(ValuesTest, ASetterGetsSignedNumbersOfEveryWidth)
{
    for (const std::size_t width : {std::size_t{1}, std::size_t{2}, std::size_t{4}}) {
        isMadeWith({});
        declaresWithFunctions(TARNO_SIGNED, width);
        Frame minusTwo(width, 0xFF);
        minusTwo[0] = 0xFE;
        static_cast<void>(answerTo(writeOf(id, minusTwo)));
        EXPECT_EQ(static_cast<std::int32_t>(number), -2);
        EXPECT_EQ(seenWidth, width);
    }
}

TEST_F(ValuesTest, ASetterGetsUnsignedNumbersWithoutASign)
{
    declaresWithFunctions(TARNO_UNSIGNED, 1);
    static_cast<void>(answerTo(writeOf(id, {0xFE})));
    EXPECT_EQ(number, 254U);
}

TEST_F(ValuesTest, ASetterGetsTextThatEndsEvenWithoutANul)
{
    declaresWithFunctions(TARNO_TEXT, TARNO_WIDEST);
    static_cast<void>(answerTo(writeOf(id, Frame(TARNO_WIDEST, 'x'))));
    EXPECT_EQ(text, std::string(TARNO_WIDEST, 'x'));
}

TEST_F(ValuesTest, AFailureIsAnErrorAnswer)
{
    declaresWithFunctions(TARNO_UNSIGNED, 1);
    outcome = TARNO_FAILED;
    EXPECT_EQ(answerTo(readOf(id)), (Frame{0x13, 3, 0, 0, 0x23, 0x01}));
    EXPECT_EQ(answerTo(writeOf(id, {1})), (Frame{0x14, lengthOf(1), 0x23, 0x01}));
    EXPECT_EQ(statistics().errors, 2U);
}

TEST_F(ValuesTest, NotNowIsNoAnswer)
{
    declaresWithFunctions(TARNO_UNSIGNED, 1);
    outcome = TARNO_NOT_NOW;
    EXPECT_EQ(answerTo(readOf(id)), Frame());
    EXPECT_EQ(answerTo(writeOf(id, {1})), Frame());
    EXPECT_EQ(statistics().unanswered, 2U);
    EXPECT_EQ(statistics().errors, 0U);
}
