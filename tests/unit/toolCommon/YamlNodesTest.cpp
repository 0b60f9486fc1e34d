#include "YamlNodes.h"

#include <gtest/gtest.h>

namespace
{
/// The error that `read` reports for the root of a text.
template <typename Read>
std::string refusalOf(const std::string &text, Read read)
{
    try {
        yamlNodes::read(text, "some.yaml", read);
        ADD_FAILURE() << "was read: " << text;
        return {};
    } catch (const InputError &error) {
        return error.what();
    }
}

/// The error for the map "thing" with the keys "one" and "two", of which "one" is read as a text.
std::string refusalOfMap(const std::string &text)
{
    return refusalOf(text, [](const YAML::Node &root) {
        (void)YamlMap(root, "thing", {"one", "two"}).text("one");
    });
}
} // namespace

TEST(YamlNodes, AreRefusedWithFileLineAndColumn)
{
    EXPECT_EQ(refusalOfMap("two: 2\none: [1]\n"), "some.yaml:2:6: one is not a single value");
    EXPECT_EQ(refusalOfMap("- 1\n"), "some.yaml:1:1: thing is not a map");
    EXPECT_EQ(refusalOfMap(""), "some.yaml:1:1: thing is not a map");
    EXPECT_EQ(refusalOfMap("one: \"\\0\"\n"), "some.yaml:1:6: one \"\\x00\" is not UTF-8 text");
}

TEST(YamlNodes, GiveAPlaceToAReasonWithoutOne)
{
    EXPECT_EQ(refusalOf("a: 1\nb: 2\n",
                        [](const YAML::Node &root) {
                            yamlNodes::at(root["b"], [] { throw InputError("too late"); });
                        }),
              "some.yaml:2:4: too late");
}

TEST(YamlNodes, KeepThePlaceThatAReasonHas)
{
    EXPECT_EQ(refusalOf("a: 1\nb: 2\n",
                        [](const YAML::Node &root) {
                            yamlNodes::at(root["b"],
                                          [&] { yamlNodes::fail(root["a"], "too early"); });
                        }),
              "some.yaml:1:4: too early");
}

TEST(YamlNodes, MayBeBytesThatAreNotText)
{
    std::string bytes;
    yamlNodes::read("\"a\\0b\"", "some.yaml",
                    [&](const YAML::Node &root) { bytes = yamlNodes::bytes(root, "value"); });
    EXPECT_EQ(bytes, std::string("a\0b", 3));
}

TEST(YamlNodes, AreRefusedIfTheyAreNotYaml)
{
    EXPECT_EQ(refusalOfMap("one: }\n"), "some.yaml:1:6: illegal flow end");
}

TEST(YamlNodes, AreNotReadFromATextThatIsTooLong)
{
    constexpr std::size_t longest = std::size_t{8} << 20;
    EXPECT_EQ(refusalOfMap('#' + std::string(longest, ' ')),
              "some.yaml: is longer than 8 MiB, the most of a YAML file");
}

TEST(YamlMap, HasKnownKeysOnceEach)
{
    EXPECT_EQ(refusalOfMap("one: 1\nthree: 3\n"), "some.yaml:2:1: unknown key \"three\" in thing");
    EXPECT_EQ(refusalOfMap("one: 1\none: 1\n"), "some.yaml:2:1: duplicate key \"one\" in thing");
}

TEST(YamlMap, KnowsWhatIsNotThere)
{
    yamlNodes::read("one: 1", "some.yaml", [](const YAML::Node &root) {
        const YamlMap map(root, "thing", {"one", "two"});
        EXPECT_EQ(map.text("two"), "");
        EXPECT_EQ(map.number("two", 9, 7), 7U);
        EXPECT_FALSE(map.flag("two"));
    });
    EXPECT_EQ(refusalOf("{one: 1}",
                        [](const YAML::Node &root) {
                            (void)YamlMap(root, "thing", {"one", "two"}).required("two");
                        }),
              "some.yaml:1:1: thing has no \"two\"");
}
