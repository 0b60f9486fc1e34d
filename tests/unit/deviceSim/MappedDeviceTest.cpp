#include "MappedDevice.h"

#include "DeviceObjects.h"
#include "MappingDatabase.h"
#include "ObjectFile.h"
#include "SimulatorFixture.h"
#include "SimulatorObjects.h"
#include "SourceReader.h"

#include <string>

namespace
{
MappingDatabase mappingOf(const std::string &source)
{
    return {sourceReader::parse(source, "shelf.yaml"), "shelf.yaml"};
}

/// The device of a mapping with one scalar, whose source has this description of the device.
SimulatedDevice deviceWith(const std::string &description)
{
    return mappedDevice::of(
        mappingOf("scalars: [{name: level, oid: 1.1.1, object: 0x0110, type: integer, device: {" +
                  description + "}}]"),
        "shelf.yaml");
}

std::string refusalOf(const std::string &description)
{
    return reasonOf([&] { static_cast<void>(deviceWith(description)); });
}
} // namespace

TEST(MappedDevice, HasTheObjectsThatTheAgentReadsAtItsStart)
{
    const SimulatedDevice device =
        mappedDevice::of(mappingOf("{module: {base: \".1.3.6.1.4.1.32473\"},"
                                   " scalars: [{oid: 1.1.1, object: 0x0110, type: integer}]}"),
                         "shelf.yaml");
    EXPECT_EQ(device.objects.size(), 3U);
    EXPECT_EQ(device.objects.at(deviceObject::baseOid).text(), ".1.3.6.1.4.1.32473");
    EXPECT_EQ(device.objects.at(deviceObject::tableRows).text(), "0");
}

TEST(MappedDevice, HasEachObjectAsTheSourceDescribesIt)
{
    const SimulatedDevice device = deviceWith("kind: signed, width: 2, value: -5");
    const DeviceObject &level = device.objects.at(0x0110);
    EXPECT_EQ(level.name(), "level");
    EXPECT_EQ(level.kind(), ValueKind::signedInteger);
    EXPECT_EQ(level.value().size(), 2U);
    EXPECT_EQ(level.text(), "-5");
}

TEST(MappedDevice, IsTheDeviceOfTheObjectFileThatTheMappingMakes)
{
    const MappingDatabase mapping = mappingOf(R"(
scalars:
  - {name: level, oid: 1.1.1, object: 0x0110, type: integer, access: read-write,
     device: {kind: unsigned, width: 4, value: 7, motion: walk 9 0 100 1}}
  - {oid: 1.1.2, object: 0x0111, type: text, conversion: ipv4}
  - {oid: 1.1.4, object: 0x0113, type: text, conversion: decimal 2, device: {value: 250}}
  - {oid: 1.1.3, object: 0x0112, type: text, text: contact, device: {value: "it's \\ \"\xE9\""}}
)");
    SimulatedDevice device = mappedDevice::of(mapping, "shelf.yaml", 5);
    SimulatedDevice ofFile =
        objectFile::parse(simulatorObjects::write(mapping, {}), "shelf.yaml", 5);
    ASSERT_EQ(device.objects.size(), ofFile.objects.size());
    for (auto &[id, object] : device.objects) {
        DeviceObject &other = ofFile.objects.at(id);
        EXPECT_EQ(object.attribute(), other.attribute()) << id;
        EXPECT_EQ(object.length(), other.length()) << id;
        EXPECT_EQ(object.name(), other.name()) << id;
        EXPECT_EQ(object.text(), other.text()) << id;
        EXPECT_EQ(object.decimalText(), other.decimalText()) << id;
        object.moveTo(std::chrono::seconds(50));
        other.moveTo(std::chrono::seconds(50));
        EXPECT_EQ(object.text(), other.text()) << id;
    }
}

TEST(MappedDevice, TakesDecimalPlacesFromTheConversion)
{
    SimulatedDevice device = mappedDevice::of(
        mappingOf("scalars: [{oid: 1.1.1, object: 0x0110, type: text, conversion: decimal 1}]"),
        "shelf.yaml");
    DeviceObject &object = device.objects.at(0x0110);
    object.setText("48.2");
    EXPECT_EQ(object.text(), "482");
    EXPECT_EQ(object.decimalText(), "48.2");
}

TEST(MappedDevice, NeedsAnObject)
{
    EXPECT_EQ(reasonOf([] {
                  static_cast<void>(
                      mappedDevice::of(mappingOf("module: {base: \".1.3.6\"}"), "shelf.yaml"));
              }),
              "shelf.yaml: the mapping has no objects");
}

TEST(MappedDevice, NamesTheFileAndTheObjectOfAWrongDescription)
{
    EXPECT_EQ(refusalOf("kind: unsigned, width: 1, value: 256"),
              "shelf.yaml: object 0x0110 \"level\": value \"256\" is not a number from 0 to 255");
    EXPECT_EQ(refusalOf("kind: unsigned, width: 3"),
              "shelf.yaml: object 0x0110 \"level\": width 3 of a number is not 1, 2 or 4");
    EXPECT_EQ(refusalOf("kind: other, value: 0g"),
              "shelf.yaml: object 0x0110 \"level\": \"0g\" does not consist of pairs of "
              "hexadecimal digits");
    EXPECT_EQ(refusalOf("kind: string, motion: clock"),
              "shelf.yaml: object 0x0110 \"level\": only numbers can have a motion");
    EXPECT_EQ(refusalOf("motion: replay none.csv"),
              "shelf.yaml: object 0x0110 \"level\": recording none.csv cannot be read");
}
