#include "ObjectFile.h"
#include "SimulatorFixture.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace
{
SimulatedDevice device(const std::string &text)
{
    return objectFile::parse(text, "device.yaml");
}

std::string refusalOf(const std::string &text)
{
    return reasonOf([&] { static_cast<void>(device(text)); });
}

/// The error for one object whose keys start at line 2, column 5.
std::string refusalOfObject(const std::string &keys)
{
    return refusalOf("objects:\n  - " + keys + "\n");
}
} // namespace

TEST(ObjectFile, givesObjectsOfEveryKind)
{
    const SimulatedDevice read = device("objects:\n"
                                        "  - {id: 0x80BA, kind: string, value: \".1.3.6\"}\n"
                                        "  - {id: 2, kind: unsigned, width: 4, value: 0xFFFFFFFF}\n"
                                        "  - {id: 3, kind: signed, width: 2, value: -5}\n"
                                        "  - {id: 4, kind: other, value: 0a 0b}\n");
    EXPECT_EQ(read.objects.size(), 4U);
    EXPECT_EQ(read.objects.at(0x80BA).text(), ".1.3.6");
    EXPECT_EQ(read.objects.at(2).text(), "4294967295");
    EXPECT_EQ(read.objects.at(3).text(), "-5");
    EXPECT_EQ(read.objects.at(4).text(), "0a 0b");
}

TEST(ObjectFile, makesTextsAndBlocksAsWideAsTheirValueUnlessItSaysOtherwise)
{
    const SimulatedDevice read = device("objects:\n"
                                        "  - {id: 1, kind: string, value: abc}\n"
                                        "  - {id: 2, kind: string, value: abc, width: 60}\n"
                                        "  - {id: 3, kind: other, value: 0a0b}\n"
                                        "  - {id: 4, kind: other, width: 20}\n"
                                        "  - {id: 5, kind: string}\n");
    EXPECT_EQ(read.objects.at(1).length(), 6);
    EXPECT_EQ(read.objects.at(2).length(), 63);
    EXPECT_EQ(read.objects.at(3).length(), 5);
    EXPECT_EQ(read.objects.at(4).length(), 23);
    EXPECT_EQ(read.objects.at(5).length(), 3);
}

TEST(ObjectFile, startsObjectsWithoutAValueAtZero)
{
    EXPECT_EQ(device("objects: [{id: 1, kind: unsigned, width: 2}]").objects.at(1).text(), "0");
}

TEST(ObjectFile, makesObjectsReadOnlyUnlessItSaysOtherwise)
{
    const SimulatedDevice read = device("objects:\n"
                                        "  - {id: 1, kind: unsigned, width: 1}\n"
                                        "  - {id: 2, kind: unsigned, width: 1, writable: true}\n"
                                        "  - {id: 3, kind: unsigned, width: 1, writable: false}\n");
    EXPECT_EQ(read.objects.at(1).attribute(), 0x0000);
    EXPECT_EQ(read.objects.at(2).attribute(), 0x0010);
    EXPECT_EQ(read.objects.at(3).attribute(), 0x0000);
}

TEST(ObjectFile, namesObjects)
{
    EXPECT_EQ(device("objects: [{id: 1, kind: string, name: location}]").objects.at(1).name(),
              "location");
}

TEST(ObjectFile, takesJson)
{
    const SimulatedDevice read = device(
        R"({"objects": [{"id": 1, "kind": "string", "value": "a\u0001b", "writable": true}]})");
    EXPECT_EQ(read.objects.at(1).text(), "a\001b");
}

TEST(ObjectFile, setsFaultsPerObjectAndForAll)
{
    SimulatedDevice read = device("faults: [delay 5]\n"
                                  "objects:\n"
                                  "  - {id: 1, kind: string, faults: [silent times 2, extra 3]}\n");
    EXPECT_EQ(read.faults.take(1, FaultScope::reads).size(), 3U);
    EXPECT_EQ(read.faults.take(2, FaultScope::reads).size(), 1U);
}

TEST(ObjectFile, makesTheDeviceSequentialUnlessItSaysOtherwise)
{
    EXPECT_FALSE(device("objects: []").concurrent);
    EXPECT_FALSE(device("{concurrent: false, objects: []}").concurrent);
    EXPECT_TRUE(device("{concurrent: true, objects: []}").concurrent);
}

TEST(ObjectFile, mayListNoObjects)
{
    EXPECT_TRUE(device("objects: []").objects.empty());
}

TEST(ObjectFile, saysWhereAnObjectIsWrong)
{
    EXPECT_EQ(refusalOfObject("{id: 70000, kind: string}"),
              "device.yaml:2:10: object id \"70000\" is not a number from 0 to 65535");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: text}"),
              "device.yaml:2:19: kind \"text\" is not one of unsigned, signed, string, other");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: string, colour: red}"),
              "device.yaml:2:27: unknown key \"colour\" in object; allowed: id, kind, width, "
              "places, value, writable, name, faults, motion");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: string, id: 2}"),
              "device.yaml:2:27: duplicate key \"id\" in object");
    EXPECT_EQ(refusalOfObject("{kind: string}"), "device.yaml:2:5: object has no \"id\"");
    EXPECT_EQ(refusalOfObject("{id: 1}"), "device.yaml:2:5: object has no \"kind\"");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: signed}"), "device.yaml:2:5: number has no \"width\"");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: string, writable: perhaps}"),
              "device.yaml:2:37: writable is neither true nor false");
    EXPECT_EQ(refusalOfObject("{id: [1], kind: string}"),
              "device.yaml:2:10: id is not a single value");
    EXPECT_EQ(refusalOfObject("lonely"), "device.yaml:2:5: object is not a map");
}

TEST(ObjectFile, saysWhereAValueOrAWidthIsWrong)
{
    EXPECT_EQ(refusalOfObject("{id: 1, kind: unsigned, width: 1, value: 256}"),
              "device.yaml:2:46: value \"256\" is not a number from 0 to 255");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: unsigned, width: 3, value: 1}"),
              "device.yaml:2:36: width 3 of a number is not 1, 2 or 4");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: string, width: 253}"),
              "device.yaml:2:34: width \"253\" is not a number from 0 to 252");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: string, width: 2, value: abc}"),
              "device.yaml:2:44: value of 3 bytes exceeds the width of 2");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: other, value: 0a0}"),
              "device.yaml:2:33: \"0a0\" does not consist of pairs of hexadecimal digits");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: string, value: " + std::string(253, 'x') + "}"),
              "device.yaml:2:34: width 253 exceeds 252");
}

TEST(ObjectFile, saysWhereAFaultIsWrong)
{
    EXPECT_EQ(refusalOfObject("{id: 1, kind: string, faults: [sleepy]}"),
              "device.yaml:2:36: unknown fault \"sleepy\"");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: string, faults: silent}"),
              "device.yaml:2:35: faults is not a list");
    EXPECT_EQ(refusalOf("objects: []\nfaults: [delay]\n"),
              "device.yaml:2:10: \"delay\" needs an argument");
}

TEST(ObjectFile, refusesTheSameObjectTwice)
{
    EXPECT_EQ(refusalOf("objects:\n- {id: 10, kind: string}\n- {id: 0x0A, kind: string}\n"),
              "device.yaml:3:8: duplicate object 0x000A");
}

TEST(ObjectFile, reportsTheErrorsOfAllObjects)
{
    EXPECT_EQ(
        refusalOf("objects:\n  - {id: 1, kind: txt}\n  - {id: 2, kind: strng}\n"),
        "device.yaml:2:19: kind \"txt\" is not one of unsigned, signed, string, other\n"
        "device.yaml:3:19: kind \"strng\" is not one of unsigned, signed, string, other (did you "
        "mean \"string\"?)");
}

TEST(ObjectFile, refusesAnotherStructure)
{
    EXPECT_EQ(refusalOf(""), "device.yaml:1:1: the object file is not a map");
    EXPECT_EQ(refusalOf("- 1\n"), "device.yaml:1:1: the object file is not a map");
    EXPECT_EQ(refusalOf("faults: []\n"), "device.yaml:1:1: the object file has no \"objects\"");
    EXPECT_EQ(refusalOf("objects: 5\n"), "device.yaml:1:10: objects is not a list");
    EXPECT_EQ(refusalOf("objects: []\nconcurrent: perhaps\n"),
              "device.yaml:2:13: concurrent is neither true nor false");
    EXPECT_EQ(
        refusalOf("objects: []\nthings: []\n"),
        "device.yaml:2:1: unknown key \"things\" in the object file; allowed: objects, faults, "
        "concurrent");
}

TEST(ObjectFile, givesNumbersDecimalPlaces)
{
    const SimulatedDevice read =
        device("objects: [{id: 1, kind: signed, width: 2, places: 2, value: -1.5}]");
    EXPECT_EQ(read.objects.at(1).text(), "-150");
    EXPECT_EQ(read.objects.at(1).decimalText(), "-1.5");
    EXPECT_EQ(refusalOfObject("{id: 1, kind: signed, width: 2, places: 16}"),
              "device.yaml:2:45: places \"16\" is not a number from 0 to 15");
}

TEST(ObjectFile, thatIsAMappingIsRecognised)
{
    const std::string hint = "this is a mapping: use --mapping";
    EXPECT_EQ(refusalOf("module: {name: X}\nscalars: []\n"), "device.yaml:1:1: " + hint);
    EXPECT_EQ(refusalOf("# a comment\ncells: []\n"), "device.yaml:2:1: " + hint);
    EXPECT_EQ(refusalOf("SQLite format 3\0..."), "device.yaml: " + hint);
}

TEST(ObjectFile, saysWhereItIsNoYaml)
{
    EXPECT_EQ(refusalOf("objects:\n  - {id: 1\n").rfind("device.yaml:3:1: ", 0), 0U)
        << refusalOf("objects:\n  - {id: 1\n");
}

TEST(ObjectFile, isReadFromDisk)
{
    const std::string path = testing::TempDir() + "deviceSimObjects.yaml";
    std::ofstream(path) << "objects: [{id: 7, kind: string, value: x}]\n";
    EXPECT_EQ(objectFile::read(path).objects.at(7).text(), "x");
    std::remove(path.c_str());
}

TEST(ObjectFile, thatCannotBeReadIsNamed)
{
    EXPECT_EQ(reasonOf([] { static_cast<void>(objectFile::read("/nowhere/device.yaml")); }),
              "/nowhere/device.yaml: cannot be read: No such file or directory");
    EXPECT_EQ(reasonOf([] { static_cast<void>(objectFile::read("/")); }),
              "/: cannot be read: Is a directory");
}
