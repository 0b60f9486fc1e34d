#include "Conformance.h"
#include "DatabaseFile.h"
#include "InputError.h"
#include "MappingDatabase.h"
#include "MappingWords.h"
#include "MibWriter.h"
#include "SourceReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace
{
constexpr const char *twoRevisions = R"(module:
  name: PUMP-MIB
  base: .1.3.6.1.4.1.32473.20
  revisions: [{day: 2026-01-15, text: One.}, {day: 2026-06-01, text: Two.}]
)";

ServedMapping servedOf(const std::string &source)
{
    return servedBy(MappingDatabase(sourceReader::parse(source, "pump.yaml"), "pump.yaml"), {});
}

/// The mapping of two revisions with these scalars.
ServedMapping servedWith(const std::string &scalars)
{
    return servedOf(twoRevisions + ("scalars:\n" + scalars));
}

std::string errorOf(const std::string &source)
{
    try {
        (void)sourceReader::parse(source, "pump.yaml");
    } catch (const InputError &error) {
        return error.what();
    }
    return "";
}

std::string errorWith(const std::string &scalars)
{
    return errorOf(twoRevisions + ("scalars:\n" + scalars));
}

std::vector<std::string> namesIn(const ConformanceGroup &group)
{
    std::vector<std::string> names;
    for (const ConformanceMember &member : group.members) {
        names.push_back(member.name);
    }
    return names;
}

constexpr const char *state = "  - {name: state, oid: 1.1.1, object: 0x10, type: integer}\n";
constexpr const char *hours =
    "  - {name: hours, oid: 1.1.2, object: 0x11, type: integer, since: 2026-06-01}\n";

std::string withAlarmsOfTwoRevisions()
{
    return std::string(state) +
           "alarms:\n"
           "  - {name: first, number: 1, object: state, condition: above, raise: 5}\n"
           "  - {name: later, number: 2, object: state, condition: changed, since: 2026-06-01}\n";
}
} // namespace

TEST(Revisions, OfAModuleAreWrittenWithTheirGroupsAndStatements)
{
    const MappingInput input(goldenPath("revisions.yaml"));
    const PublishedMib mib = mibWriter::write(servedBy(input.database(), {}));
    expectGolden("revisions.mib", mib.text);
    EXPECT_THAT(mib.remarks, ElementsAre());
}

TEST(Revisions, PutNewObjectsIntoANewGroup)
{
    const ServedMapping served = servedWith(std::string(state) + hours);
    const Conformance conformance = conformanceOf(served);
    ASSERT_EQ(conformance.groups.size(), 2U);
    EXPECT_THAT(namesIn(conformance.groups[0]), ElementsAre("state"));
    EXPECT_THAT(namesIn(conformance.groups[1]), ElementsAre("hours"));
    EXPECT_EQ(conformance.groups[1].name, "pumpMIBGroup20260601");
    ASSERT_EQ(conformance.compliances.size(), 2U);
    EXPECT_STREQ(conformance.compliances[0].status, "deprecated");
    EXPECT_THAT(conformance.compliances[1].groups,
                ElementsAre("pumpMIBGroup", "pumpMIBGroup20260601"));
}

TEST(Revisions, WithoutNewObjectsHaveNoGroup)
{
    const ServedMapping served = servedWith(state);
    const Conformance conformance = conformanceOf(served);
    EXPECT_EQ(conformance.groups.size(), 1U);
    ASSERT_EQ(conformance.compliances.size(), 1U);
    EXPECT_STREQ(conformance.compliances[0].status, "current");
}

TEST(Revisions, EndTheGroupOfWhatTheyDropAndKeepItsOtherMembers)
{
    const ServedMapping served =
        servedWith(std::string(state) +
                   "  - {name: key, oid: 1.1.3, object: 0x12, type: text, status: deprecated}\n");
    const Conformance conformance = conformanceOf(served);
    ASSERT_EQ(conformance.groups.size(), 2U);
    EXPECT_THAT(namesIn(conformance.groups[0]), ElementsAre("state", "key"));
    EXPECT_STREQ(conformance.groups[0].status, "deprecated");
    EXPECT_THAT(namesIn(conformance.groups[1]), ElementsAre("state"));
    EXPECT_THAT(conformance.compliances.back().groups, ElementsAre("pumpMIBGroup20260601"));
}

TEST(Revisions, DoNotMoveTheConformancePart)
{
    const std::string first = "  - {name: a, oid: 100.1.1, object: 0x10, type: integer}\n";
    EXPECT_EQ(conformanceOf(servedWith(first)).arc, 101U);
    const ServedMapping later =
        servedWith("  - {name: a, oid: 100.1.1, object: 0x10, type: integer, since: 2026-06-01}\n");
    EXPECT_THROW((void)conformanceOf(later), InputError);
}

TEST(Revisions, AddAColumnWithoutMovingAnother)
{
    const auto mibWith = [](const std::string &columns) {
        return mibWriter::write(
                   servedOf(
                       twoRevisions +
                       ("tables:\n  - name: doorTable\n    node: .2.1\n    columns:\n" + columns)))
            .text;
    };
    const std::string one = "      - {name: doorKey, first: 0x100, type: integer}\n";
    const std::string more =
        one + "      - {name: doorLock, first: 0x200, type: integer, since: 2026-06-01}\n";
    EXPECT_THAT(mibWith(one), HasSubstr("::= { doorEntry 65536 }"));
    EXPECT_THAT(mibWith(more), HasSubstr("::= { doorEntry 65536 }"));
    EXPECT_THAT(mibWith(more), HasSubstr("::= { doorEntry 3 }"));
}

TEST(Revisions, PublishAnObsoleteScalarThatIsNotServed)
{
    const ServedMapping served =
        servedWith(std::string(state) + "  - {name: key, oid: 1.1.3, type: text, status: obsolete, "
                                        "until: 2026-06-01}\n");
    ASSERT_EQ(served.objects.size(), 1U);
    EXPECT_EQ(served.objects[0].notes.name, "state");
    EXPECT_THAT(mibWriter::write(served).text, HasSubstr("key OBJECT-TYPE"));
}

TEST(Revisions, AreSortedByDay)
{
    const MappingSource source = sourceReader::parse(
        "module: {revisions: [{day: 2026-06-01, text: b}, {day: 2026-01-15, text: a}]}", "x");
    ASSERT_EQ(source.module.revisions.size(), 2U);
    EXPECT_EQ(source.module.revisions[0].text, "a");
}

TEST(Revisions, MustHaveTheDaysThatObjectsName)
{
    EXPECT_EQ(errorWith("  - {name: a, oid: 1.1.1, object: 0x10, type: integer, "
                        "since: 2026-05-31}\n"),
              "pump.yaml:6:63: since 2026-05-31 is not the day of a revision of the module");
}

TEST(Revisions, MustBeNamedIfSeveralMayHaveDroppedAnObject)
{
    const std::string third = "module: {revisions: [{day: 2026-01-01, text: a}, {day: 2026-02-01, "
                              "text: b}, {day: 2026-03-01, text: c}]}\n";
    const std::string object =
        "scalars: [{oid: 1.1.1, object: 0x10, type: integer, status: deprecated";
    EXPECT_THAT(errorOf(third + object + "}]"), HasSubstr("status needs \"until\""));
    EXPECT_EQ(errorOf(third + object + ", until: 2026-02-01}]"), "");
    EXPECT_THAT(errorOf(third + object + ", until: 2026-01-01}]"),
                HasSubstr("is not after the revision that added the object"));
}

TEST(Revisions, MustFollowTheOneThatAddedADroppedObject)
{
    EXPECT_THAT(errorOf("scalars: [{oid: 1.1.1, object: 0x10, type: integer, status: obsolete}]"),
                HasSubstr("1:61: status needs a revision after the one that added the object"));
}

TEST(Revisions, MustNotDisagreeWithTheDayOfTheLastChange)
{
    EXPECT_THAT(
        errorOf("module: {updated: 2026-01-16, revisions: [{day: 2026-01-15, text: a}]}"),
        HasSubstr("1:19: updated 2026-01-16 is not the day of the latest revision, 2026-01-15"));
}

TEST(Revisions, MustBeDaysOfTheCalendar)
{
    EXPECT_THAT(errorOf("module: {revisions: [{day: 2026-02-30, text: a}]}"),
                HasSubstr("1:28: day \"2026-02-30\" is not a day in the form YYYY-MM-DD"));
    EXPECT_THAT(
        errorOf("module: {revisions: [{day: 2026-02-03, text: a}, {day: 2026-02-03, text: b}]}"),
        HasSubstr("1:56: duplicate revision 2026-02-03"));
}

TEST(ReservedNumbers, AreNotUsedAgain)
{
    const std::string reserved = "module: {reserved: [1.1.9, .3, .2.1.1.3]}\n";
    EXPECT_EQ(errorOf(reserved + "scalars: [{oid: 1.1.9, object: 0x10, type: integer}]"),
              "pump.yaml:2:17: number .1.1.9 is reserved (.1.1.9): it must not be used again");
    EXPECT_EQ(errorOf(reserved + "scalars: [{oid: 1.1.90, object: 0x10, type: integer}]"), "");
    EXPECT_THAT(errorOf(reserved + "tables: [{node: .3.1}]"), HasSubstr("2:17: number .3.1"));
    EXPECT_THAT(errorOf(reserved + "tables: [{node: .2.1, rows: 1, columns: [{first: 0x1, type: "
                                   "text}, {first: 0x2, type: text}]}]"),
                HasSubstr("number .2.1.1.3 is reserved"));
}

TEST(ReservedNumbers, AreNotThoseOfTheConformancePart)
{
    EXPECT_EQ(conformanceOf(servedOf("module: {reserved: [100]}\n"
                                     "scalars: [{oid: 1.1.9, object: 0x10, type: integer}]"))
                  .arc,
              101U);
}

TEST(Ranges, BelongToNumbersWithoutLabels)
{
    const std::string scalar = "scalars: [{oid: 1.1.9, object: 0x10, ";
    EXPECT_EQ(errorOf(scalar + "type: integer, range: -5..5}]"), "");
    EXPECT_THAT(errorOf(scalar + "type: integer, range: 5..-5}]"), HasSubstr("range \"5..-5\""));
    EXPECT_THAT(errorOf(scalar + "type: text, range: 0..5}]"),
                HasSubstr("range needs type integer without labels"));
    EXPECT_THAT(errorOf(scalar + "type: integer, labels: {0: a}, range: 0..5}]"),
                HasSubstr("range needs type integer without labels"));
}

TEST(MibText, SpellsOutUnitsAndNamesWhatItCannotSpell)
{
    const PublishedMib mib = mibWriter::write(
        servedOf("scalars:\n  - {name: heat, oid: 1.1.1, object: 0x10, type: integer, units: °C, "
                 "description: Wärme in kΩ}\n"));
    EXPECT_THAT(mib.text, HasSubstr("\"degrees Celsius\""));
    EXPECT_THAT(mib.text, HasSubstr("\"W?rme in kohm\""));
    EXPECT_THAT(mib.remarks, ElementsAre("heat: \"ä\" is not ASCII; the module has \"?\" instead"));
}

TEST(MibText, LeavesOutWhatTheAgentDoesNotServeCorrectly)
{
    const PublishedMib mib = mibWriter::write(
        servedOf("scalars:\n  - {name: errors, oid: 1.1.1, object: 0x10, type: counter32}\n"
                 "  - {name: state, oid: 1.1.2, object: 0x11, type: integer}\n"));
    EXPECT_THAT(mib.text, Not(HasSubstr("errors")));
    EXPECT_THAT(mib.remarks, ElementsAre("errors: not published: the agent does not serve type "
                                         "Counter32 correctly"));
}

TEST(MibText, HasNoNamesThatDifferOnlyInCase)
{
    const std::string text =
        mibWriter::write(servedOf("scalars:\n"
                                  "  - {name: portState, oid: 1.1.1, object: 0x10, type: integer}\n"
                                  "  - {name: portstate, oid: 1.1.2, object: 0x11, type: text}\n"))
            .text;
    EXPECT_THAT(text, HasSubstr("portstateX2 OBJECT-TYPE"));
}

TEST(Labels, WithHyphensAreRefusedInASourceAndMendedInADatabase)
{
    EXPECT_THAT(
        errorOf("scalars: [{oid: 1.1.1, object: 0x1, type: integer, labels: {0: not-there}}]"),
        HasSubstr("label \"not-there\" is not a lower-case letter followed by letters and digits: "
                  "write notThere"));
    EXPECT_THAT(mappingWords::labelsIn("0=not-there 1=there"),
                ElementsAre(Label(0, "notThere"), Label(1, "there")));
}

TEST(Revisions, PutNewAlarmsIntoANewGroupOfNotifications)
{
    const Conformance conformance = conformanceOf(servedWith(withAlarmsOfTwoRevisions()));
    ASSERT_EQ(conformance.notificationGroups.size(), 2U);
    EXPECT_THAT(namesIn(conformance.notificationGroups[0]), ElementsAre("first", "firstClear"));
    EXPECT_THAT(namesIn(conformance.notificationGroups[1]), ElementsAre("later"));
    ASSERT_EQ(conformance.compliances.size(), 2U);
    EXPECT_THAT(conformance.compliances[0].groups,
                ElementsAre("pumpMIBGroup", "pumpMIBNotificationGroup"));
    EXPECT_THAT(conformance.compliances[1].groups,
                ElementsAre("pumpMIBGroup", "pumpMIBNotificationGroup",
                            "pumpMIBNotificationGroup20260601"));
}

TEST(Revisions, NumberTheGroupsOfNotificationsApartFromAllOthers)
{
    const Conformance conformance = conformanceOf(servedWith(withAlarmsOfTwoRevisions()));
    EXPECT_EQ(conformance.groups[0].number, 2U);
    EXPECT_EQ(conformance.notificationGroups[0].number, 65536U);
    EXPECT_EQ(conformance.notificationGroups[1].number, 65538U);
}
