#include "VerifyJudge.h"
#include "Checker.h"
#include "SourceReader.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace
{
using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;
using Outcome = VerifyExchange::Outcome;

constexpr std::uint16_t baseId = 0x80BA;
constexpr std::uint16_t levelId = 0x0101;
constexpr std::uint16_t labelId = 0x0103;

constexpr const char *source = "module: {name: PUMP-MIB, base: .1.3.6}\n"
                               "scalars:\n"
                               "  - {name: level, oid: 1.1.1, object: 0x0101, type: integer,\n"
                               "     range: 0..90, device: {kind: unsigned, width: 1}}\n"
                               "  - {name: label, oid: 1.1.2, object: 0x0103, type: text,\n"
                               "     access: read-write, device: {kind: string, width: 4}}\n";

/// A device as it has answered, and the judgement of it.
class VerifyJudgeTest : public testing::Test
{
protected:
    VerifyJudgeTest()
        : _database(sourceReader::parse(source, "pump.yaml"), "pump.yaml"),
          _mapping(checkedMapping(_database, {}))
    {
        keepServed(_mapping);
        device.hasQueues = true;
        answers(baseId, 0x0200, {'.', '1', '.', '3', '.', '6'});
        answers(levelId, 0x0000, {7});
        answers(labelId, 0x0210, {'p', 'u', 'm', 'p'});
    }

    void answers(std::uint16_t linkId, unsigned attribute, const Bytes &value)
    {
        Bytes frame{0x12,
                    static_cast<std::uint8_t>(value.size() + 3),
                    static_cast<std::uint8_t>(attribute),
                    static_cast<std::uint8_t>(attribute >> 8U),
                    static_cast<std::uint8_t>(linkId),
                    static_cast<std::uint8_t>(linkId >> 8U)};
        frame.insert(frame.end(), value.begin(), value.end());
        answersWith(linkId, frame);
    }

    void answersWith(std::uint16_t linkId, const Bytes &frame)
    {
        device.objects[linkId] = {
            .outcome = Outcome::answered, .frame = frame, .time = 1ms, .worst = 1ms};
    }

    void isSilentFor(std::uint16_t linkId, Outcome outcome = Outcome::silent)
    {
        device.objects[linkId] = {};
        device.objects[linkId].outcome = outcome;
    }

    void takes(std::uint16_t linkId, std::chrono::milliseconds shortest,
               std::chrono::milliseconds worst)
    {
        device.objects[linkId].time = shortest;
        device.objects[linkId].worst = worst;
    }

    [[nodiscard]] Findings judged() const { return VerifyJudge(_mapping, 4, true).judge(device); }

    [[nodiscard]] std::vector<std::string> codes() const
    {
        const Findings findings = judged();
        std::vector<std::string> codes;
        for (const Finding &each : findings.all()) {
            codes.emplace_back(each.rule->code);
        }
        return codes;
    }

    DeviceReadings device;

private:
    MappingDatabase _database;
    CheckedMapping _mapping;
};
} // namespace

TEST_F(VerifyJudgeTest, FindsNothingInAGoodDevice)
{
    EXPECT_THAT(codes(), IsEmpty());
}

TEST_F(VerifyJudgeTest, SaysOnceThatThereIsNoDevice)
{
    device = {};
    EXPECT_THAT(codes(), ElementsAre("TV101"));
}

TEST_F(VerifyJudgeTest, SaysOnceThatNothingIsAnswered)
{
    for (const std::uint16_t each : {baseId, levelId, labelId}) {
        isSilentFor(each, Outcome::unknown);
    }
    EXPECT_THAT(codes(), ElementsAre("TV102"));
}

TEST_F(VerifyJudgeTest, TellsAnObjectWithoutAnAnswerFromADeviceThatHasStopped)
{
    isSilentFor(levelId);
    EXPECT_THAT(codes(), ElementsAre("TV201"));
    isSilentFor(levelId, Outcome::unknown);
    EXPECT_THAT(codes(), ElementsAre("TV105"));
}

TEST_F(VerifyJudgeTest, SaysThatObjectsWereNotReadInTime)
{
    isSilentFor(levelId, Outcome::unknown);
    device.isCutShort = true;
    EXPECT_THAT(codes(), ElementsAre("TV103"));
}

TEST_F(VerifyJudgeTest, NamesTheObjectItsOidAndItsId)
{
    isSilentFor(labelId);
    const Findings findings = judged();
    ASSERT_EQ(findings.all().size(), 1U);
    EXPECT_EQ(findings.all().front().object, "label");
    EXPECT_EQ(findings.all().front().oid, ".1.3.6.1.1.2.0");
    EXPECT_THAT(findings.all().front().what, HasSubstr("0x0103"));
}

TEST_F(VerifyJudgeTest, TakesTheShortestTimeForTheShortLimitAndTheWorstForTheLongOnes)
{
    takes(levelId, 40ms, 900ms);
    EXPECT_THAT(codes(), IsEmpty());
    takes(levelId, 41ms, 41ms);
    EXPECT_THAT(codes(), ElementsAre("TV209"));
    takes(levelId, 1ms, 1001ms);
    EXPECT_THAT(codes(), ElementsAre("TV210"));
    takes(levelId, 1ms, 3001ms);
    EXPECT_THAT(codes(), ElementsAre("TV211"));
}

TEST_F(VerifyJudgeTest, JoinsSlowObjectsByTheLimitThatTheyMiss)
{
    takes(levelId, 60ms, 60ms);
    takes(labelId, 80ms, 80ms);
    takes(baseId, 2s, 2s);
    const Findings findings = judged();
    ASSERT_EQ(findings.all().size(), 2U);
    EXPECT_EQ(findings.all().front().object, "label");
    EXPECT_EQ(findings.all().front().what, "0x0103: 80 ms, and 1 more");
}

TEST_F(VerifyJudgeTest, ReportsAFaultOfEveryObjectOnce)
{
    for (const std::uint16_t each : {baseId, levelId, labelId}) {
        device.objects[each].frame.push_back(0xA5);
    }
    EXPECT_THAT(codes(), ElementsAre("TV206"));
}

TEST_F(VerifyJudgeTest, JudgesNoValueOfAnAnswerWithAFault)
{
    answersWith(levelId, {0x12, 5, 0, 0, 0x01, 0x01, 200});
    EXPECT_THAT(codes(), ElementsAre("TV204"));
}

TEST_F(VerifyJudgeTest, ComparesTheValueThatAManagerGetsWithTheRange)
{
    answers(levelId, 0x0000, {90});
    EXPECT_THAT(codes(), IsEmpty());
    answers(levelId, 0x0000, {91});
    EXPECT_THAT(codes(), ElementsAre("TV321"));
}

TEST_F(VerifyJudgeTest, ReportsRequestsInARowThatAreLostOrOutOfOrder)
{
    device.row = {.sent = 200, .unanswered = 3, .outOfOrder = {}};
    EXPECT_THAT(codes(), ElementsAre("TV214"));
    device.row = {.sent = 200, .unanswered = 0, .outOfOrder = levelId};
    EXPECT_THAT(codes(), ElementsAre("TV213"));
}

TEST_F(VerifyJudgeTest, ReportsAValueThatReadsBackDifferently)
{
    DeviceWriting &writing = device.writings[labelId];
    writing.request = {1, 7, 0x03, 0x01, 'p', 'u', 'm', 'p'};
    writing.answer.outcome = Outcome::answered;
    writing.answer.frame = {0x11, 7, 0x03, 0x01};
    writing.before = writing.after = device.objects[labelId].frame;
    EXPECT_THAT(codes(), IsEmpty());
    writing.after.back() = 's';
    EXPECT_THAT(codes(), ElementsAre("TV603"));
}

TEST_F(VerifyJudgeTest, SumsUpWhatWasRead)
{
    takes(labelId, 3ms, 9ms);
    isSilentFor(levelId);
    const MappingDatabase database(sourceReader::parse(source, "pump.yaml"), "pump.yaml");
    CheckedMapping mapping = checkedMapping(database, {});
    keepServed(mapping);
    const VerifySummary summary = VerifyJudge(mapping, 4, true).summary(device);
    EXPECT_THAT(summary.asked, ElementsAre("the base OID", "level", "label"));
    EXPECT_EQ(summary.answered, 2U);
    EXPECT_EQ(summary.worst, 9ms);
    EXPECT_EQ(summary.slowest, "label");
}

TEST(VerifyRules, HaveCodesThatNoOtherRuleHas)
{
    std::set<std::string_view> codes;
    for (const auto rules : {checkRules(), verifyRules()}) {
        for (const CheckRule &rule : rules) {
            EXPECT_TRUE(codes.insert(rule.code).second) << rule.code;
            EXPECT_EQ(&checkRule(rule.code), &rule);
        }
    }
}

TEST(VerifyAcceptances, AreNoFindingOfTheCheckWhenNothingNeedsThem)
{
    const auto written = sourceReader::parseWritten(
        std::string(source) + "  - {name: last, oid: 1.1.3, object: 0x9, type: integer, accept: "
                              "{TV209: It is measured on request.}}\n",
        "pump.yaml");
    const MappingDatabase database(written.mapping, "pump.yaml");
    EXPECT_THAT(check(database, written.places, {}).all(), IsEmpty());
}
