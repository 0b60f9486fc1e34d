#include "YamlNodes.h"

#include <algorithm>

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
    return refusalOf(text, [](const YAML::Node &root, YamlErrors &errors) {
        (void)YamlMap(root, errors, "thing", {"one", "two"}).text("one");
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

TEST(YamlNodes, AreRefusedInASecondDocument)
{
    EXPECT_EQ(refusalOfMap("one: 1\n---\ntwo: 2\n"), "some.yaml:2:1: second document in the file");
}

TEST(YamlNodes, AreReadBeforeTheEndOfADocument)
{
    std::string one;
    yamlNodes::read("---\none: 1\n...\n---\n", "some.yaml",
                    [&one](const YAML::Node &root, YamlErrors &errors) {
                        one = YamlMap(root, errors, "thing", {"one"}).text("one");
                    });
    EXPECT_EQ(one, "1");
}

TEST(YamlNodes, GiveAPlaceToAReasonWithoutOne)
{
    EXPECT_EQ(refusalOf("a: 1\nb: 2\n",
                        [](const YAML::Node &root, YamlErrors & /*errors*/) {
                            yamlNodes::at(root["b"], [] { throw InputError("too late"); });
                        }),
              "some.yaml:2:4: too late");
}

TEST(YamlNodes, KeepThePlaceThatAReasonHas)
{
    EXPECT_EQ(refusalOf("a: 1\nb: 2\n",
                        [](const YAML::Node &root, YamlErrors & /*errors*/) {
                            yamlNodes::at(root["b"],
                                          [&] { yamlNodes::fail(root["a"], "too early"); });
                        }),
              "some.yaml:1:4: too early");
}

TEST(YamlNodes, MayBeBytesThatAreNotText)
{
    std::string bytes;
    yamlNodes::read("\"a\\0b\"", "some.yaml", [&](const YAML::Node &root, YamlErrors & /*errors*/) {
        bytes = yamlNodes::bytes(root, "value");
    });
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
              "some.yaml: is longer than 8 MiB, the limit for YAML files");
}

TEST(YamlMap, HasKnownKeysOnceEach)
{
    EXPECT_EQ(refusalOfMap("one: 1\nthree: 3\n"),
              "some.yaml:2:1: unknown key \"three\" in thing; allowed: one, two");
    EXPECT_EQ(refusalOfMap("onne: 1\n"),
              "some.yaml:1:1: unknown key \"onne\" in thing (did you mean "
              "\"one\"?); allowed: one, two");
    EXPECT_EQ(refusalOfMap("one: 1\none: 1\n"), "some.yaml:2:1: duplicate key \"one\" in thing");
}

TEST(YamlMap, KnowsWhatIsNotThere)
{
    yamlNodes::read("one: 1", "some.yaml", [](const YAML::Node &root, YamlErrors &errors) {
        const YamlMap map(root, errors, "thing", {"one", "two"});
        EXPECT_EQ(map.text("two"), "");
        EXPECT_EQ(map.number("two", 9, 7), 7U);
        EXPECT_FALSE(map.flag("two"));
    });
    EXPECT_EQ(refusalOf("{one: 1}",
                        [](const YAML::Node &root, YamlErrors &errors) {
                            (void)YamlMap(root, errors, "thing", {"one", "two"}).required("two");
                        }),
              "some.yaml:1:1: thing has no \"two\"");
}

TEST(YamlErrors, AreAllReportedInTheOrderOfTheirPlaces)
{
    EXPECT_EQ(refusalOf("a: 1\nb: 2\nc: 3\n",
                        [](const YAML::Node &root, YamlErrors &errors) {
                            errors.collect([&] { yamlNodes::fail(root["c"], "third"); });
                            errors.collect([&] { yamlNodes::fail(root["a"], "first"); });
                            yamlNodes::fail(root["b"], "second");
                        }),
              "some.yaml:1:4: first\nsome.yaml:2:4: second\nsome.yaml:3:4: third");
}

TEST(YamlErrors, AreReportedOnceForAllAliasesOfANode)
{
    EXPECT_EQ(refusalOf("[&a x, *a]",
                        [](const YAML::Node &root, YamlErrors &errors) {
                            for (const YAML::Node &each : root) {
                                errors.collect([&] { yamlNodes::fail(each, "odd"); });
                            }
                        }),
              "some.yaml:1:2: odd");
}

TEST(YamlErrors, CountColumnsInCharacters)
{
    const auto refuseTwo = [](const YAML::Node &root, YamlErrors &errors) {
        (void)YamlMap(root, errors, "thing", {"one", "two"}).number("two", 9, 0);
    };
    EXPECT_EQ(refusalOf("{one: \"\u00C4\u20AC\", two: x}", refuseTwo),
              "some.yaml:1:18: two \"x\" is not a number from 0 to 9");
    EXPECT_EQ(refusalOf("\xEF\xBB\xBFone: \u00C4\ntwo: x", refuseTwo),
              "some.yaml:2:6: two \"x\" is not a number from 0 to 9");
}

TEST(YamlErrors, AreCountedFromTheTwentyFirstOn)
{
    const std::string lines =
        refusalOf("[0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 1]",
                  [](const YAML::Node &root, YamlErrors &errors) {
                      for (const YAML::Node &each : root) {
                          errors.collect([&] { yamlNodes::fail(each, "odd"); });
                      }
                  });
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 20);
    EXPECT_TRUE(lines.ends_with("some.yaml:1:59: odd\nsome.yaml: and 2 more")) << lines;
}

TEST(YamlErrors, LeaveAnEmptyValueBehind)
{
    YamlErrors errors("");
    EXPECT_EQ(errors.valueOf([] { return 5; }), 5);
    const auto failing = []() -> int { throw PlacedError({}, "odd"); };
    EXPECT_EQ(errors.valueOf(failing), 0);
    EXPECT_THROW(errors.throwAny("some.yaml"), InputError);
}

TEST(InputError, IsPrintedWithOneLineForEachReason)
{
    EXPECT_EQ(errorLines(InputError("a:1:1: odd\na: and 2 more")),
              "error: a:1:1: odd\nerror: a: and 2 more\n");
}
