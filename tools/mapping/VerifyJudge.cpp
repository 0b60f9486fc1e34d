#include "VerifyJudge.h"

#include "Configuration.h"
#include "DeviceObjects.h"
#include "InputError.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "ServedValue.h"
#include "TextForms.h"
#include "VerifyForms.h"
#include "VerifyFrames.h"
#include "VerifyTimes.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <set>

namespace
{
using Outcome = VerifyExchange::Outcome;
using Milliseconds = std::chrono::duration<double, std::milli>;

constexpr const char *baseName = "the base OID";
constexpr const char *rowsName = "the number of rows";
constexpr std::size_t seenBytes = sizeof(DeviceValue::data);

std::string timeText(std::chrono::microseconds time)
{
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.0f ms", Milliseconds(time).count());
    return text.data();
}

template <typename Entry>
VerifiedObject verified(const Entry &entry, bool isWritable, unsigned row)
{
    const std::uint16_t objId = entry.record.objId;
    return {.objId = objId,
            .linkId = deviceObject::onLink(objId),
            .info = &entry.record,
            .notes = &entry.notes,
            .place = placeOf(entry, "objId"),
            .name = entry.notes.name.empty() ? numbers::objectIdText(objId) : entry.notes.name,
            .isWritable = isWritable,
            .row = row};
}

VerifiedObject startObject(std::uint16_t objId, const char *name)
{
    return {.objId = objId, .linkId = objId, .name = name};
}

/// One judgement of one device.
class Judgement
{
public:
    Judgement(const CheckedMapping &mapping, const std::vector<VerifiedObject> &objects,
              const DeviceReadings &readings)
        : _mapping(mapping), _objects(objects), _readings(readings)
    {
    }

    Findings judge(unsigned rows, bool hasBase)
    {
        if (!judgeLink()) {
            return std::move(_findings);
        }
        std::set<std::uint16_t> seen;
        for (const VerifiedObject &object : _objects) {
            const DeviceReading &reading = _readings.objects.at(object.linkId);
            if (seen.insert(object.linkId).second) {
                judgeAnswer(object, reading);
            }
            if (isSound(object)) {
                judgeContent(object, reading, rows, hasBase);
            }
        }
        joinCommon();
        judgeTimes();
        judgeRow();
        judgeWritings();
        judgeProbes();
        verifyForms::judge(_mapping, _readings.objects, _findings);
        nameCells();
        return std::move(_findings);
    }

private:
    Finding &add(std::string_view code, const VerifiedObject &object, const std::string &what)
    {
        const std::string row = object.row == 0 ? "" : "row " + std::to_string(object.row) + ", ";
        Finding &finding = _findings.add(code, object.place,
                                         row + numbers::objectIdText(object.objId) + ": " + what);
        finding.object = object.name;
        return finding;
    }

    [[nodiscard]] std::size_t countOf(Outcome outcome) const
    {
        return static_cast<std::size_t>(
            std::count_if(_readings.objects.begin(), _readings.objects.end(),
                          [outcome](const auto &each) { return each.second.outcome == outcome; }));
    }

    /// Whether there is anything else to judge.
    bool judgeLink()
    {
        if (!_readings.hasQueues) {
            _findings.add("TV101", {}, "the queues 0x4008 and 0x4009 do not exist");
            return false;
        }
        if (_readings.areQueuesRemoved) {
            _findings.add("TV104", {}, "the queues were removed during the verification");
            return false;
        }
        if (_readings.neverTaken != 0) {
            _findings.add("TV102", {},
                          std::to_string(_readings.neverTaken) +
                              " requests of an earlier program are still in the queue");
            return false;
        }
        const std::size_t answered = countOf(Outcome::answered);
        const std::size_t open = countOf(Outcome::unknown);
        if (answered == 0) {
            _findings.add("TV102", {},
                          "none of " + std::to_string(_readings.objects.size()) +
                              " requests was answered");
        } else if (_readings.isCutShort) {
            _findings.add("TV103", {}, std::to_string(open) + " objects were not read");
        } else if (open != 0) {
            _findings.add("TV105", {},
                          std::to_string(open) + " objects were not answered any more");
        }
        return answered != 0;
    }

    void judgeAnswer(const VerifiedObject &object, const DeviceReading &reading)
    {
        if (reading.outcome == Outcome::silent) {
            add("TV201", object, "no answer");
        }
        if (reading.again != 0) {
            add("TV208", object,
                std::to_string(reading.again) + " further answer" +
                    (reading.again == 1 ? "" : "s"));
        }
        if (reading.isOutOfOrder) {
            add("TV213", object, "answered after a later request");
        }
        const auto fault = faultOf(object);
        if (fault) {
            add(fault->code, object, fault->what);
        }
    }

    [[nodiscard]] std::optional<FrameFault> faultOf(const VerifiedObject &object) const
    {
        const DeviceReading &reading = _readings.objects.at(object.linkId);
        if (!reading.isAnswered()) {
            return std::nullopt;
        }
        const std::size_t width = object.notes == nullptr ? 0 : object.notes->device.width;
        auto fault = verifyFrames::faultOfRead(reading.frame, object.linkId, width);
        // The agent has a default for a base that the device does not have.
        const bool isDefault = fault && fault->code == "TV202" && object.info == nullptr &&
                               object.linkId == deviceObject::baseOid &&
                               (_mapping.baseText == configuration::defaultBaseOid);
        return isDefault ? std::nullopt : fault;
    }

    [[nodiscard]] bool isSound(const VerifiedObject &object) const
    {
        const DeviceReading &reading = _readings.objects.at(object.linkId);
        return reading.isAnswered() && !verifyFrames::faultOfRead(reading.frame, object.linkId, 0);
    }

    void judgeContent(const VerifiedObject &object, const DeviceReading &reading, unsigned rows,
                      bool hasBase)
    {
        const auto answer = deviceFrame::decodeAnswer(reading.frame);
        if (object.info != nullptr) {
            judgeAccess(object, answer);
            judgeText(object, answer);
            if (isOfStatedKind(object, answer)) {
                judgeValue(object, answer);
            }
        } else if (object.linkId == deviceObject::baseOid) {
            judgeBase(object, answer, hasBase);
        } else {
            judgeRows(object, answer, rows);
        }
    }

    void judgeAccess(const VerifiedObject &object, const deviceFrame::Answer &answer)
    {
        const bool allows = (answer.attribute & writableBit) != 0;
        if (object.isWritable && !allows) {
            add("TV305", object, "read-write in the mapping, read-only in the device")
                .place.column = "access";
        }
        const bool isWritableSomewhere =
            std::any_of(_objects.begin(), _objects.end(), [&](const VerifiedObject &each) {
                return each.linkId == object.linkId && each.isWritable;
            });
        if (allows && !isWritableSomewhere) {
            add("TV306", object, "read-only in the mapping, read-write in the device")
                .place.column = "access";
        }
    }

    void judgeText(const VerifiedObject &object, const deviceFrame::Answer &answer)
    {
        DeviceValue value;
        value.attr = answer.attribute;
        if (value.kind() != ValueKind::string) {
            return;
        }
        const std::string all(answer.value.begin(), answer.value.end());
        const std::string text = all.substr(0, all.find('\0'));
        if (!textForms::isUtf8(text)) {
            add("TV311", object, textForms::quoted(text));
        }
        if (text.size() > seenBytes) {
            add("TV312", object,
                std::to_string(text.size()) + " bytes: " + textForms::quoted(text));
        }
        if (all.find_first_not_of('\0', text.size()) != std::string::npos) {
            add("TV313", object, textForms::quoted(all));
        }
    }

    static bool isOfStatedKind(const VerifiedObject &object, const deviceFrame::Answer &answer)
    {
        const std::string &stated = object.notes->device.kind;
        return stated.empty() || stated == verifyForms::kindOf(answer);
    }

    void judgeValue(const VerifiedObject &object, const deviceFrame::Answer &answer)
    {
        const auto served = servedValue(answer, *object.info);
        if (!served || !served->number) {
            return;
        }
        if (*served->number < 0 && verifyForms::kindOf(answer) == "unsigned" &&
            answer.value.size() == sizeof(std::uint32_t)) {
            add("TV323", object, "served as " + served->text);
        }
        const auto range = mappingWords::rangeIn(object.notes->range);
        if (range && (*served->number < range->first || *served->number > range->second)) {
            add("TV321", object, served->text + " is not in " + object.notes->range);
        }
        const auto &labels = object.notes->labels;
        const bool isLabelled = std::any_of(labels.begin(), labels.end(), [&](const Label &each) {
            return each.first == *served->number;
        });
        if (!labels.empty() && !isLabelled) {
            add("TV322", object, served->text + " is not one of " + mappingWords::labels(labels));
        }
    }

    void judgeBase(const VerifiedObject &object, const deviceFrame::Answer &answer, bool hasBase)
    {
        DeviceValue value;
        (void)deviceFrame::storeAnswer(answer, value);
        const std::string text(value.text());
        Oid base;
        try {
            base = numbersIn(baseText({}, text.empty() ? "empty" : text));
        } catch (const InputError &) {
            add("TV401", object, textForms::quoted(text));
            return;
        }
        if (hasBase && base != _mapping.base) {
            add("TV402", object, textForms::quoted(text) + ", in the source " + _mapping.baseText);
        }
    }

    void judgeRows(const VerifiedObject &object, const deviceFrame::Answer &answer, unsigned rows)
    {
        DeviceValue value;
        const bool isRead = deviceFrame::storeAnswer(answer, value);
        const unsigned code = value.data.front();
        if (!isRead || code > 1) {
            add("TV403", object, std::to_string(code));
            return;
        }
        const unsigned found = code == 1 ? manyRows : fewRows;
        if (found != rows) {
            add("TV404", object,
                std::to_string(found) + " rows, in the mapping " + std::to_string(rows));
        }
    }

    /// A fault of the whole device is reported once.
    void joinCommon()
    {
        std::map<std::string_view, std::size_t> counts;
        for (const Finding &finding : _findings.all()) {
            ++counts[finding.rule->code];
        }
        for (const auto &[code, count] : counts) {
            if (count < 2 || count != _readings.objects.size()) {
                continue;
            }
            Finding joined = *std::find_if(
                _findings.all().begin(), _findings.all().end(),
                [shared = code](const Finding &each) { return each.rule->code == shared; });
            joined.what = "all " + std::to_string(count) + " objects, such as " + joined.what;
            joined.object.clear();
            joined.place = {};
            std::erase_if(_findings.all(), [shared = code](const Finding &each) {
                return each.rule->code == shared;
            });
            _findings.all().push_back(std::move(joined));
        }
    }

    [[nodiscard]] static std::string_view codeOfTime(const DeviceReading &reading)
    {
        return reading.worst > verifyTimes::answerWait   ? "TV211"
               : reading.worst > verifyTimes::repetition ? "TV210"
               : reading.time > verifyTimes::silentWait  ? "TV209"
                                                         : std::string_view();
    }

    /// One finding for each limit.
    void judgeTimes()
    {
        std::map<std::string_view,
                 std::vector<std::pair<const VerifiedObject *, const DeviceReading *>>>
            slow;
        std::set<std::uint16_t> seen;
        for (const VerifiedObject &object : _objects) {
            if (!seen.insert(object.linkId).second) {
                continue;
            }
            slow[codeOfTime(_readings.objects.at(object.linkId))].emplace_back(
                &object, &_readings.objects.at(object.linkId));
            const auto writing = _readings.writings.find(object.linkId);
            if (writing != _readings.writings.end()) {
                slow[codeOfTime(writing->second.answer)].emplace_back(&object,
                                                                      &writing->second.answer);
            }
        }
        slow.erase(std::string_view());
        for (const auto &[code, objects] : slow) {
            const auto [object, reading] =
                *std::max_element(objects.begin(), objects.end(), [](const auto &a, const auto &b) {
                    return a.second->worst < b.second->worst;
                });
            Finding &finding = add(code, *object, timeText(reading->worst));
            if (objects.size() > 1) {
                finding.what += ", and " + std::to_string(objects.size() - 1) + " more";
            }
        }
    }

    void judgeRow()
    {
        const VerifyExchange::Row &row = _readings.row;
        if (row.unanswered != 0) {
            _findings.add("TV214", {},
                          std::to_string(row.unanswered) + " of " + std::to_string(row.sent) +
                              " requests in a row were not answered in 3 s");
        }
        if (row.outOfOrder) {
            _findings.add("TV213", {},
                          "of requests in a row, " + numbers::objectIdText(*row.outOfOrder) +
                              " was answered after a later one");
        }
    }

    void judgeWritings()
    {
        for (const auto &[linkId, writing] : _readings.writings) {
            const VerifiedObject &object = *std::find_if(
                _objects.begin(), _objects.end(), [written = linkId](const VerifiedObject &each) {
                    return each.linkId == written && each.isWritable;
                });
            judgeWriting(object, writing);
        }
    }

    void judgeWriting(const VerifiedObject &object, const DeviceWriting &writing)
    {
        if (!writing.answer.isAnswered()) {
            add("TV601", object, "no answer");
            return;
        }
        if (writing.answer.again != 0) {
            add("TV208", object, "the write is answered again");
        }
        const auto fault = verifyFrames::faultOfWrite(writing.answer.frame, writing.request);
        if (fault) {
            add(fault->code, object, fault->what);
        } else if (writing.before != writing.after) {
            add("TV603", object,
                "read " + verifyFrames::hexadecimal(writing.before) + ", after the write " +
                    verifyFrames::hexadecimal(writing.after));
        }
    }

    void judgeProbes()
    {
        const auto &unknown = _readings.unknownId;
        if (unknown && !unknown->answer.isAnswered()) {
            _findings.add("TV701", {}, numbers::objectIdText(unknown->linkId) + ": no answer");
        }
        const auto &readOnly = _readings.readOnly;
        if (!readOnly) {
            return;
        }
        const std::vector<std::uint8_t> &frame = readOnly->answer.frame;
        if (!readOnly->answer.isAnswered()) {
            _findings.add("TV702", {}, numbers::objectIdText(readOnly->linkId) + ": no answer");
        } else if (!frame.empty() && frame.front() == static_cast<std::uint8_t>(
                                                          deviceFrame::Command::writeAccepted)) {
            _findings.add("TV703", {},
                          numbers::objectIdText(readOnly->linkId) + ": the answer is " +
                              verifyFrames::hexadecimal(frame));
        }
    }

    /// With the instance of the row that it is about.
    void nameCells()
    {
        nameObjects(_mapping, _findings);
        for (Finding &finding : _findings.all()) {
            const auto object =
                std::find_if(_objects.begin(), _objects.end(), [&](const VerifiedObject &each) {
                    return each.place.row != 0 && each.place.table == finding.place.table &&
                           each.place.row == finding.place.row;
                });
            if (object == _objects.end()) {
                continue;
            }
            finding.object = finding.object.empty() ? object->name : finding.object;
            if (object->row != 0) {
                finding.oid += '.' + std::to_string(object->row) + ".0";
            }
        }
    }

    const CheckedMapping &_mapping;
    const std::vector<VerifiedObject> &_objects;
    const DeviceReadings &_readings;
    Findings _findings;
};
} // namespace

VerifyJudge::VerifyJudge(const CheckedMapping &mapping, unsigned rows, bool hasBase)
    : _mapping(mapping), _rows(rows), _hasBase(hasBase)
{
    _objects.push_back(startObject(deviceObject::baseOid, baseName));
    if (!mapping.tables.empty()) {
        _objects.push_back(startObject(deviceObject::tableRows, rowsName));
    }
    for (const ScalarEntry &entry : mapping.source.scalars) {
        _objects.push_back(verified(entry, (entry.record.access & scalarWriteBit) != 0, 0));
    }
    for (const CellEntry &entry : mapping.source.cells) {
        _objects.push_back(
            verified(entry, entry.record.access == columnReadWrite, entry.record.instance));
    }
}

DeviceQuestions VerifyJudge::questions() const
{
    DeviceQuestions questions;
    std::set<std::uint16_t> seen;
    for (const VerifiedObject &object : _objects) {
        if (seen.insert(object.linkId).second) {
            questions.objects.push_back(object.linkId);
        }
        if (object.isWritable) {
            questions.writable.insert(object.linkId);
        }
    }
    return questions;
}

Findings VerifyJudge::judge(const DeviceReadings &readings) const
{
    return Judgement(_mapping, _objects, readings).judge(_rows, _hasBase);
}

VerifySummary VerifyJudge::summary(const DeviceReadings &readings) const
{
    VerifySummary summary;
    summary.device = readings.device;
    std::vector<std::chrono::microseconds> times;
    std::set<std::uint16_t> seen;
    for (const VerifiedObject &object : _objects) {
        if (!seen.insert(object.linkId).second) {
            continue;
        }
        summary.asked.push_back(object.name);
        const auto found = readings.objects.find(object.linkId);
        if (found == readings.objects.end() || !found->second.isAnswered()) {
            continue;
        }
        times.push_back(found->second.time);
        if (summary.slowest.empty() || found->second.worst > summary.worst) {
            summary.worst = found->second.worst;
            summary.slowest = object.name;
        }
    }
    summary.answered = times.size();
    if (!times.empty()) {
        const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        summary.median = *middle;
    }
    return summary;
}
