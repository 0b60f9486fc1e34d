#include "DeviceFixture.h"

#include "support/SystemCalls.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

namespace
{
class DeclarationTest : public DeviceFixture
{
protected:
    int declared(const tarno_object &object) { return tarno_device_add(device.get(), &object, 1); }

    /// A complete object, to be spoilt.
    tarno_object object()
    {
        return {.id = id,
                .kind = TARNO_UNSIGNED,
                .width = 2,
                .writable = 0,
                .get = nullptr,
                .set = nullptr,
                .user = &variable};
    }

    std::uint16_t variable = 5;
};

tarno_outcome nothing(void * /*user*/, std::uint16_t /*id*/, tarno_value * /*value*/)
{
    return TARNO_DONE;
}
} // namespace

TEST_F(DeclarationTest, TakesNumbersOfOneTwoAndFourBytesOnly)
{
    for (std::uint16_t width = 0; width < 6; ++width) {
        tarno_object number = object();
        number.id = width;
        number.width = width;
        const bool isWidth = width == 1 || width == 2 || width == 4;
        EXPECT_EQ(declared(number), isWidth ? 0 : -EINVAL) << width;
    }
}

TEST_F(DeclarationTest, TakesTextsAndBlocksUpToTheWidestValueOfAFrame)
{
    std::array<char, TARNO_WIDEST> text{};
    for (const std::size_t width : {std::size_t{0}, std::size_t{1}, std::size_t{TARNO_WIDEST},
                                    std::size_t{TARNO_WIDEST + 1}}) {
        tarno_object block = object();
        block.id = static_cast<std::uint16_t>(width);
        block.kind = width % 2 == 0 ? TARNO_TEXT : TARNO_BYTES;
        block.width = width;
        block.user = text.data();
        EXPECT_EQ(declared(block), width >= 1 && width <= TARNO_WIDEST ? 0 : -EINVAL) << width;
    }
}

TEST_F(DeclarationTest, RefusesAKindThatThereIsNot)
{
    tarno_object strange = object();
    // As a C program may pass it.
    const int number = TARNO_BYTES + 1;
    std::memcpy(&strange.kind, &number, sizeof number);
    EXPECT_EQ(declared(strange), -EINVAL);
}

TEST_F(DeclarationTest, RefusesAnObjectThatNothingCanRead)
{
    tarno_object blind = object();
    blind.user = nullptr;
    EXPECT_EQ(declared(blind), -EINVAL);
    blind.get = nothing;
    EXPECT_EQ(declared(blind), 0);
}

TEST_F(DeclarationTest, RefusesAWritableObjectThatNothingCanWrite)
{
    tarno_object deaf = object();
    deaf.user = nullptr;
    deaf.get = nothing;
    deaf.writable = 1;
    EXPECT_EQ(declared(deaf), -EINVAL);
}

TEST_F(DeclarationTest, RefusesTheMembersOfAGroupButNotTheirNeighbours)
{
    for (const std::uint16_t member :
         std::array<std::uint16_t, 4>{0x0910, 0x0913, 0x0914, 0x0917}) {
        tarno_object grouped = object();
        grouped.id = member;
        EXPECT_EQ(declared(grouped), -EINVAL) << member;
    }
    for (const std::uint16_t other :
         std::array<std::uint16_t, 4>{0x090F, 0x0918, TARNO_FIRST_GROUP, TARNO_SECOND_GROUP}) {
        tarno_object alone = object();
        alone.id = other;
        EXPECT_EQ(declared(alone), 0) << other;
    }
}

TEST_F(DeclarationTest, RefusesAnIdTwiceInOneCallOrInTwo)
{
    const std::array twice{object(), object()};
    EXPECT_EQ(tarno_device_add(device.get(), twice.data(), twice.size()), -EEXIST);
    EXPECT_EQ(declared(object()), 0);
    EXPECT_EQ(declared(object()), -EEXIST);
}

TEST_F(DeclarationTest, DeclaresAllObjectsOrNone)
{
    std::array two{object(), object()};
    two[0].id = 1;
    two[1].width = 3;
    EXPECT_EQ(tarno_device_add(device.get(), two.data(), two.size()), -EINVAL);
    EXPECT_EQ(answerTo(readOf(1))[0], 0x13);
}

TEST_F(DeclarationTest, CopiesWhatItIsGiven)
{
    tarno_object first = object();
    EXPECT_EQ(declared(first), 0);
    first.id = 9;
    EXPECT_EQ(answerTo(readOf(id))[0], 0x12);
}

TEST_F(DeclarationTest, FindsEachOfManyObjects)
{
    for (std::uint16_t other = 1000; other > 0; --other) {
        tarno_object one = object();
        one.id = static_cast<std::uint16_t>(other * 2);
        ASSERT_EQ(declared(one), 0);
    }
    for (const std::uint16_t known : std::array<std::uint16_t, 3>{2, 1000, 2000}) {
        EXPECT_EQ(answerTo(readOf(known))[0], 0x12);
    }
    for (const std::uint16_t unknown : std::array<std::uint16_t, 3>{1, 1001, 2001}) {
        EXPECT_EQ(answerTo(readOf(unknown))[0], 0x13);
    }
}

TEST_F(DeclarationTest, OfNothingIsNoError)
{
    EXPECT_EQ(tarno_device_add(device.get(), nullptr, 0), 0);
    EXPECT_EQ(tarno_device_add(device.get(), nullptr, 1), -EINVAL);
}

TEST_F(DeclarationTest, RefusesMoreObjectsThanThereAreIds)
{
    const std::vector<tarno_object> many(0x10000, object());
    EXPECT_EQ(tarno_device_add(device.get(), many.data(), many.size()), -EINVAL);
}

TEST_F(DeclarationTest, IsOverOnceAThreadServes)
{
    systemCalls::fail("msgget", ENOSPC);
    EXPECT_EQ(tarno_device_start(device.get()), 0);
    EXPECT_EQ(declared(object()), -EBUSY);
    EXPECT_EQ(tarno_device_join(device.get()), 0);
    EXPECT_EQ(declared(object()), 0);
}

TEST_F(DeclarationTest, GoesWithTheVersionOfTheLibrary)
{
    const std::string header =
        std::to_string(TARNO_VERSION_MAJOR) + '.' + std::to_string(TARNO_VERSION_MINOR) + '.';
    EXPECT_EQ(std::string(tarno_version()).substr(0, header.size()), header);
}

TEST_F(DeclarationTest, OfNoDeviceCanBeFreed)
{
    tarno_device_free(nullptr);
    EXPECT_NE(device, nullptr);
}

TEST_F(DeclarationTest, EndsWithTheFirstStep)
{
    EXPECT_EQ(step(), 0);
    EXPECT_EQ(declared(object()), -EBUSY);
}
