#include "SnmpJudgement.h"
#include "SnmpWriteBack.h"

#include "MappingDatabase.h"
#include "MappingWords.h"
#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"
#include "SourceReader.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{
SnmpValue integerAt(const std::string &oid, std::int32_t number)
{
    return {.oid = numbersIn(oid), .type = objectType::integer, .number = number, .text = {}};
}

SnmpValue textAt(const std::string &oid, const std::string &text)
{
    return {.oid = numbersIn(oid), .type = objectType::octetString, .text = text};
}

/// An object of a mapping, and what the device has.
class WriteBack : public testing::Test
{
protected:
    void objectIs(const char *type, const std::string &conversion, const char *kind,
                  std::size_t width)
    {
        object.info.asnType = mappingWords::typeCode(type).value();
        object.info.valueType = mappingWords::conversionCode(conversion).value();
        instance.notes.device.kind = kind;
        instance.notes.device.width = width;
    }

    void objectIsACell() { object.table = 0; }

    [[nodiscard]] bool keeps(std::int32_t number) const
    {
        return canBeWrittenBack(object, instance, integerAt(".1", number));
    }

    [[nodiscard]] bool keeps(const std::string &text) const
    {
        return canBeWrittenBack(object, instance, textAt(".1", text));
    }

    ServedObject object;
    ServedInstance instance;
};
} // namespace

TEST_F(WriteBack, KeepsAPlainNumber)
{
    objectIs("integer", "raw", "unsigned", 2);
    EXPECT_TRUE(keeps(1500));
    EXPECT_TRUE(keeps(0));
}

TEST_F(WriteBack, KeepsNoScaledNumberButZero)
{
    objectIs("integer", "scaled 1", "unsigned", 2);
    EXPECT_FALSE(keeps(130));
    EXPECT_TRUE(keeps(0));
}

TEST_F(WriteBack, KeepsNegativeNumbersOfScalarsOnly)
{
    objectIs("integer", "raw", "signed", 1);
    EXPECT_TRUE(keeps(-5));
    objectIsACell();
    EXPECT_FALSE(keeps(-5));
}

TEST_F(WriteBack, KeepsNoNumberThatMayBeCutOff)
{
    objectIs("integer", "uint16", "unsigned", 4);
    EXPECT_FALSE(keeps(7));
    objectIs("integer", "uint16", "unsigned", 2);
    EXPECT_TRUE(keeps(7));
}

TEST_F(WriteBack, NeedsToKnowHowTheDeviceStoresIt)
{
    objectIs("integer", "raw", "", 0);
    EXPECT_FALSE(keeps(7));
    objectIs("text", "raw", "", 0);
    EXPECT_FALSE(keeps("seven"));
}

TEST_F(WriteBack, KeepsNothingOfAnotherTypeThanTheMappingHas)
{
    objectIs("text", "raw", "unsigned", 2);
    EXPECT_FALSE(keeps(7));
}

TEST_F(WriteBack, KeepsAWholeText)
{
    objectIs("text", "raw", "string", 100);
    EXPECT_TRUE(keeps("noc@example.net"));
    EXPECT_TRUE(keeps(""));
}

TEST_F(WriteBack, KeepsNoTextThatMayBeCutOff)
{
    const std::string longest(64, 'x');
    objectIs("text", "raw", "string", 100);
    EXPECT_FALSE(keeps(longest));
    objectIs("text", "raw", "string", 64);
    EXPECT_TRUE(keeps(longest));
}

TEST_F(WriteBack, KeepsNoBlockAndNoScaledText)
{
    objectIs("text", "raw", "other", 4);
    EXPECT_FALSE(keeps("abc"));
    objectIs("text", "scaled 1", "string", 4);
    EXPECT_FALSE(keeps("abc"));
}

TEST_F(WriteBack, KeepsNoAddressAndNoTime)
{
    objectIs("text", "ipv4", "other", 4);
    EXPECT_FALSE(keeps("192.0.2.1"));
    objectIs("text", "dateTime", "unsigned", 4);
    EXPECT_FALSE(keeps("9:5:7 3/14/2026"));
}

TEST_F(WriteBack, KeepsADecimalText)
{
    objectIs("text", "decimal 1", "unsigned", 2);
    EXPECT_TRUE(keeps("12.50"));
}

TEST_F(WriteBack, KeepsNoDecimalTextOfATextOfTheDevice)
{
    objectIs("text", "decimal 1", "string", 8);
    EXPECT_FALSE(keeps("12.50"));
}

TEST_F(WriteBack, KeepsNoDecimalTextWithHiddenPlaces)
{
    objectIs("text", "decimal 3", "unsigned", 2);
    EXPECT_FALSE(keeps("0.25"));
}

TEST_F(WriteBack, KeepsNoDecimalTextThatArrivesRounded)
{
    objectIs("text", "decimal 2", "unsigned", 4);
    EXPECT_FALSE(keeps("0.29"));
    EXPECT_FALSE(keeps("167772.16"));
}

TEST_F(WriteBack, KeepsNothingThatIsNoDecimalText)
{
    objectIs("text", "decimal 2", "signed", 2);
    for (const char *text : {"-0.50", "", "50", ".", "a.50", "9999999999.00"}) {
        EXPECT_FALSE(keeps(text)) << text;
    }
}

TEST_F(WriteBack, OfADecimalTextLeavesTheDeviceAsItIs)
{
    const SnmpObjConvertStrategy converter;
    std::size_t written = 0;
    for (unsigned places = 0; places <= 4; ++places) {
        objectIs("text", "decimal " + std::to_string(places), "unsigned", 4);
        for (std::uint32_t stored = 0; stored < 10000; ++stored) {
            DeviceValue value;
            value.setInt32(stored);
            static_cast<void>(converter.toDisplay(object.info.valueType, value));
            if (keeps(std::string(value.text()))) {
                static_cast<void>(converter.fromDisplay(object.info.valueType, value));
                ASSERT_EQ(value.int32(), stored) << places << " places";
                ++written;
            }
        }
    }
    EXPECT_GT(written, 20000U);
}

namespace
{
constexpr const char *pump = R"(
module: {name: PUMP-MIB, base: .1.3.6.1.4.1.32473.20}
scalars:
  - {name: pumpState, oid: 1.1.1, object: 0x10, type: integer, labels: {0: off, 1: on}}
  - {name: pumpLimit, oid: 1.1.2, object: 0x11, type: integer, access: read-write, range: 0..9}
  - {name: pumpPressure, oid: 1.1.3, object: 0x12, type: text, conversion: decimal 2}
  - {name: pumpAddress, oid: 1.1.4, object: 0x13, type: text, conversion: ipv4}
  - {name: pumpTime, oid: 1.1.5, object: 0x14, type: text, conversion: dateTime}
tables:
  - name: valveTable
    node: .2.1
    rows: 8
    columns:
      - {name: valveOpening, first: 0x100, type: integer, access: read-write, range: 0..100}
  - name: hoseTable
    node: .2.2
    rows: 8
    columns:
      - {name: hoseName, first: 0x200, type: text}
)";

/// What a good agent answers for the pump, and the findings once something differs.
class Judgement : public testing::Test
{
protected:
    Judgement()
    {
        for (const ServedObject &object : served.objects) {
            for (const ServedInstance &each : object.instances) {
                reading.walk.push_back(goodValue(object, each));
            }
        }
    }

    [[nodiscard]] static SnmpValue goodValue(const ServedObject &object,
                                             const ServedInstance &instance)
    {
        SnmpValue value{.oid = instance.oid, .type = objectType::integer, .number = 1, .text = {}};
        if (object.info.asnType == objectType::octetString) {
            value = {.oid = instance.oid, .type = objectType::octetString, .text = "4.12"};
        }
        if (object.notes.name == "pumpAddress") {
            value.text = "192.0.2.1";
        } else if (object.notes.name == "pumpTime") {
            value.text = "9:5:7 3/14/2026";
        } else if (object.isRowNumber()) {
            value.number = instance.row;
        }
        return value;
    }

    SnmpValue &at(const std::string &below)
    {
        const Oid oid = numbersIn(oidText(served.base) + below);
        return *std::find_if(reading.walk.begin(), reading.walk.end(),
                             [&oid](const SnmpValue &value) { return value.oid == oid; });
    }

    /// The walk does not find what matches; a get answers with the type.
    template <typename Matches>
    void lacks(Matches matches, std::uint8_t type)
    {
        for (const SnmpValue &value : reading.walk) {
            if (matches(oidText(value.oid))) {
                reading.got[value.oid] = {.oid = value.oid, .type = type, .text = {}};
            }
        }
        std::erase_if(reading.walk,
                      [&](const SnmpValue &value) { return matches(oidText(value.oid)); });
    }

    void lacksAllBelow(const std::string &below, std::uint8_t type)
    {
        const std::string start = oidText(served.base) + below + '.';
        lacks([start](const std::string &oid) { return oid.starts_with(start); }, type);
    }

    void hasAlso(const std::string &below)
    {
        reading.walk.push_back(integerAt(oidText(served.base) + below, 1));
        std::sort(reading.walk.begin(), reading.walk.end(),
                  [](const SnmpValue &a, const SnmpValue &b) { return a.oid < b.oid; });
    }

    /// "TV506 pumpState: noSuchObject"
    [[nodiscard]] std::vector<std::string> judged() const
    {
        Findings findings;
        snmpJudgement::judgeReading(served, reading, findings);
        std::vector<std::string> all;
        for (const Finding &finding : findings.all()) {
            const std::string &object = finding.object.empty() ? finding.oid : finding.object;
            all.push_back(std::string(finding.rule->code) + ' ' + object + ": " + finding.what);
        }
        return all;
    }

    ServedMapping served = servedBy(MappingDatabase(sourceReader::parse(pump, "pump"), "pump"), {});
    SnmpReading reading;
};
} // namespace

TEST_F(Judgement, FindsNothingWrongWithAGoodAgent)
{
    EXPECT_THAT(judged(), IsEmpty());
}

TEST_F(Judgement, OfAnAgentThatServesNothingIsOneFinding)
{
    lacksAllBelow("", snmpTag::noSuchObject);
    EXPECT_THAT(judged(), ElementsAre("TV503 .1.3.6.1.4.1.32473.20: nothing below "
                                      ".1.3.6.1.4.1.32473.20"));
}

TEST_F(Judgement, OfAMissingTableIsOneFinding)
{
    lacksAllBelow(".2.1", snmpTag::noSuchObject);
    EXPECT_THAT(judged(), ElementsAre("TV505 valveTable: noSuchObject"));
}

TEST_F(Judgement, OfFewerRowsIsOneFinding)
{
    for (const char *column : {".2.1.1.1", ".2.1.1.2", ".2.2.1.1", ".2.2.1.2"}) {
        for (const char *row : {".5", ".6", ".7", ".8"}) {
            lacksAllBelow(std::string(column) + row, snmpTag::noSuchInstance);
        }
    }
    EXPECT_THAT(judged(), ElementsAre("TV504 : 4 rows instead of 8"));
}

TEST_F(Judgement, OfNoRowsIsOneFinding)
{
    lacksAllBelow(".2.1", snmpTag::noSuchInstance);
    lacksAllBelow(".2.2", snmpTag::noSuchInstance);
    EXPECT_THAT(judged(), ElementsAre("TV504 : 0 rows instead of 8"));
}

TEST_F(Judgement, OfMoreRowsIsOneFinding)
{
    hasAlso(".2.1.1.1.9.0");
    hasAlso(".2.2.1.1.9.0");
    EXPECT_THAT(judged(), ElementsAre("TV504 : 9 rows instead of 8"));
}

TEST_F(Judgement, TellsAnObjectThatIsNotServedFromOneWithoutAValue)
{
    lacksAllBelow(".1.1.1", snmpTag::noSuchObject);
    lacksAllBelow(".1.1.2", snmpTag::noSuchInstance);
    EXPECT_THAT(judged(),
                ElementsAre("TV506 pumpState: noSuchObject", "TV507 pumpLimit: noSuchInstance"));
}

TEST_F(Judgement, NamesTheRowsOfAColumn)
{
    lacksAllBelow(".2.1.1.2.3", snmpTag::noSuchInstance);
    EXPECT_THAT(judged(), ElementsAre("TV507 valveOpening: noSuchInstance, row 3"));
    lacksAllBelow(".2.1.1.2", snmpTag::noSuchInstance);
    EXPECT_THAT(judged(), ElementsAre("TV507 valveOpening: noSuchInstance, rows 1..8"));
}

TEST_F(Judgement, FindsWhatAWalkSkips)
{
    lacksAllBelow(".1.1.2", objectType::integer);
    EXPECT_THAT(judged(), ElementsAre("TV509 pumpLimit: a get finds it, a walk does not"));
}

TEST_F(Judgement, OfAWalkThatWentBackIsOneFinding)
{
    reading.wentBackAfter = numbersIn(".1.3.6.1");
    lacksAllBelow(".2.1.1.2", objectType::integer);
    EXPECT_THAT(judged(), ElementsAre("TV510 : the walk ends after .1.3.6.1"));
}

TEST_F(Judgement, FindsWhatTheMappingDoesNotHave)
{
    hasAlso(".1.1.9.0");
    hasAlso(".2.1.1.3.1.0");
    hasAlso(".2.1.1.3.2.0");
    EXPECT_THAT(judged(), ElementsAre("TV511 .1.3.6.1.4.1.32473.20.1.1.9: 1 instance",
                                      "TV511 .1.3.6.1.4.1.32473.20.2.1.1.3: 2 instances"));
}

TEST_F(Judgement, FindsAnotherType)
{
    at(".1.1.1.0").type = 0x42;
    EXPECT_THAT(judged(), ElementsAre("TV512 pumpState: Gauge32 instead of INTEGER"));
}

TEST_F(Judgement, FindsANumberOutsideItsRange)
{
    at(".1.1.2.0").number = 10;
    at(".2.1.1.2.4.0").number = -1;
    EXPECT_THAT(judged(), ElementsAre("TV513 pumpLimit: 10 is not in 0..9",
                                      "TV513 valveOpening: -1 is not in 0..100, row 4"));
}

TEST_F(Judgement, TakesTheBoundsOfARange)
{
    at(".1.1.2.0").number = 9;
    at(".2.1.1.2.4.0").number = 0;
    EXPECT_THAT(judged(), IsEmpty());
}

TEST_F(Judgement, FindsANumberWithoutALabel)
{
    at(".1.1.1.0").number = 2;
    EXPECT_THAT(judged(), ElementsAre("TV514 pumpState: 2 has no label"));
}

TEST_F(Judgement, FindsATextThatItsConversionDoesNotMake)
{
    at(".1.1.3.0").text = "4.1";
    at(".1.1.4.0").text = "192.0.2";
    at(".1.1.5.0").text = "noon";
    EXPECT_THAT(judged(), ElementsAre(R"(TV515 pumpPressure: "4.1" is not a decimal number)",
                                      R"(TV515 pumpAddress: "192.0.2" is not an IPv4 address)",
                                      R"(TV515 pumpTime: "noon" is not a date and time)"));
}

TEST_F(Judgement, TakesNegativeDecimals)
{
    at(".1.1.3.0").text = "-0.50";
    EXPECT_THAT(judged(), IsEmpty());
}

TEST(SetJudgement, AWritableObjectTakesSets)
{
    ServedObject scalar;
    scalar.info.access = scalarWriteBit;
    EXPECT_EQ(snmpJudgement::codeOfSet(scalar, ""), "");
    EXPECT_EQ(snmpJudgement::codeOfSet(scalar, "notWritable"), "TV522");
    EXPECT_EQ(snmpJudgement::codeOfSet(scalar, "badValue"), "TV522");
}

TEST(SetJudgement, AReadOnlyScalarRefusesSetsBeforeTheDeviceDoes)
{
    const ServedObject scalar;
    EXPECT_EQ(snmpJudgement::codeOfSet(scalar, "notWritable"), "");
    EXPECT_EQ(snmpJudgement::codeOfSet(scalar, "badValue"), "TV523");
    EXPECT_EQ(snmpJudgement::codeOfSet(scalar, ""), "TV523");
}

TEST(SetJudgement, AReadOnlyCellRefusesSets)
{
    ServedObject cell;
    cell.table = 0;
    cell.column = 2;
    EXPECT_EQ(snmpJudgement::codeOfSet(cell, "genErr"), "");
    EXPECT_EQ(snmpJudgement::codeOfSet(cell, ""), "TV523");
}
