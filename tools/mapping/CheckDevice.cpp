#include "CheckedMapping.h"
#include "DeviceMotion.h"
#include "DeviceValue.h"
#include "InputError.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"
#include "TextForms.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <limits>
#include <tuple>

namespace
{
constexpr std::size_t addressWidth = 4;
constexpr std::size_t widestNumber = 4;
constexpr std::size_t longestText = sizeof(DeviceValue::data);
/// Enough to find a decimal text that does not read back.
constexpr std::int64_t numbersTried = 100000;

bool isReadableWidth(std::size_t width)
{
    return width == 1 || width == 2 || width == widestNumber;
}

/// An object of the mapping with what its author says of the device.
class DescribedObject
{
public:
    DescribedObject(const SnmpObjInfo &info, const ObjectNotes &notes, bool isCell, bool isWritable)
        : _info(info), _notes(notes), _isCell(isCell), _isWritable(isWritable)
    {
    }

    [[nodiscard]] const DeviceNotes &device() const { return _notes.device; }

    [[nodiscard]] const std::vector<Label> &labels() const { return _notes.labels; }

    [[nodiscard]] bool isCell() const { return _isCell; }

    [[nodiscard]] bool isWritable() const { return _isWritable; }

    [[nodiscard]] bool isSigned() const { return device().kind == "signed"; }

    [[nodiscard]] bool isNumber() const { return isSigned() || device().kind == "unsigned"; }

    [[nodiscard]] bool isText() const { return device().kind == "string"; }

    [[nodiscard]] bool isBlock() const { return device().kind == "other"; }

    [[nodiscard]] bool hasWidth() const { return device().width != 0; }

    [[nodiscard]] bool isInteger() const { return _info.asnType == objectType::integer; }

    [[nodiscard]] bool isOctets() const { return _info.asnType == objectType::octetString; }

    [[nodiscard]] bool isConvertedBy(std::uint16_t kind) const
    {
        return conversion::kindOf(_info.valueType) == kind;
    }

    [[nodiscard]] bool isAddress() const
    {
        return isConvertedBy(conversion::ipv4Text) ||
               isConvertedBy(conversion::ipv4TextAlternative);
    }

    /// Whether a manager gets the device's bytes unconverted.
    [[nodiscard]] bool isAsStored() const
    {
        const conversion::Conversion *const found = conversion::find(_info.valueType);
        return found == nullptr || found->result == conversion::Result::asStored;
    }

    [[nodiscard]] unsigned places() const { return conversion::placesOf(_info.valueType); }

    /// Whether the agent can read an integer or a block of this width.
    [[nodiscard]] bool isOfReadableWidth() const
    {
        return !hasWidth() || isReadableWidth(device().width);
    }

    /// The numbers that fit in the device's object, if it is a number with a valid width.
    [[nodiscard]] std::optional<deviceMotion::Range> numbers() const
    {
        return deviceNumbers(device());
    }

    [[nodiscard]] std::string text() const
    {
        return "kind " + device().kind +
               (hasWidth() ? ", width " + std::to_string(device().width) : std::string()) +
               ", type " + mappingWords::snmpType(_info.asnType) + ", conversion " +
               mappingWords::conversion(_info.valueType);
    }

private:
    const SnmpObjInfo &_info;
    const ObjectNotes &_notes;
    bool _isCell;
    bool _isWritable;
};

/// A rule on how an object is stored and served.
struct FormRule {
    const char *code;
    bool (*isBroken)(const DescribedObject &);
};

/// Objects that the agent cannot read: no other rule tells what a manager sees.
constexpr std::array unreadableForms{
    FormRule{"TM909",
             [](const DescribedObject &object) {
                 return object.isBlock() && !object.isOfReadableWidth() &&
                        !object.isConvertedBy(conversion::dateTimeText);
             }},
    FormRule{"TM917",
             [](const DescribedObject &object) {
                 return object.isNumber() && !object.isOfReadableWidth();
             }},
};

constexpr std::array forms{
    FormRule{"TM901",
             [](const DescribedObject &object) {
                 return object.isCell() && object.isWritable() && object.isInteger() &&
                        object.isSigned() && object.isConvertedBy(conversion::scaledInteger);
             }},
    FormRule{"TM902",
             [](const DescribedObject &object) {
                 return !object.isCell() && object.isWritable() && object.isInteger() &&
                        object.isSigned() && object.isConvertedBy(conversion::scaledInteger) &&
                        object.places() != 0;
             }},
    FormRule{"TM903",
             [](const DescribedObject &object) {
                 return object.isWritable() && object.isOctets() && object.isSigned() &&
                        object.isConvertedBy(conversion::decimalText);
             }},
    FormRule{"TM904",
             [](const DescribedObject &object) {
                 return object.isInteger() && object.device().kind == "unsigned" &&
                        object.device().width == widestNumber && object.isAsStored();
             }},
    FormRule{"TM905",
             [](const DescribedObject &object) {
                 return object.isInteger() && object.isText() &&
                        (object.isAsStored() || object.isConvertedBy(conversion::unsigned16));
             }},
    FormRule{"TM906",
             [](const DescribedObject &object) {
                 return object.isOctets() && object.isNumber() && object.isAsStored();
             }},
    FormRule{"TM907",
             [](const DescribedObject &object) {
                 return object.isOctets() && object.isText() &&
                        object.isConvertedBy(conversion::decimalText);
             }},
    FormRule{"TM908",
             [](const DescribedObject &object) {
                 return object.isOctets() && object.isBlock() && object.isAsStored();
             }},
    FormRule{"TM910",
             [](const DescribedObject &object) {
                 return object.isAddress() && !object.isText() && object.hasWidth() &&
                        object.device().width != addressWidth;
             }},
    FormRule{"TM911",
             [](const DescribedObject &object) { return object.isAddress() && object.isText(); }},
    FormRule{"TM912",
             [](const DescribedObject &object) {
                 return object.isInteger() && object.isSigned() &&
                        object.isConvertedBy(conversion::unsigned16);
             }},
    FormRule{"TM919",
             [](const DescribedObject &object) {
                 return object.isInteger() && object.isWritable() && object.isNumber() &&
                        object.device().width == widestNumber &&
                        object.isConvertedBy(conversion::unsigned16);
             }},
};

/// The first number whose decimal text does not read back, or nothing.
std::string lostDecimal(unsigned places, std::int64_t largest)
{
    for (std::int64_t number = 1; number <= std::min(largest, numbersTried); ++number) {
        DeviceValue value;
        value.setInt32(static_cast<std::uint32_t>(number));
        SnmpObjConvertStrategy::toDecimalText(places, value);
        const std::string set(value.text());
        SnmpObjConvertStrategy::fromDecimalText(places, value);
        const std::uint32_t stored = value.int32();
        if (stored != number) {
            SnmpObjConvertStrategy::toDecimalText(places, value);
            return set + " is stored as " + std::to_string(stored) + " and reads back as " +
                   std::string(value.text());
        }
    }
    return {};
}

void checkDecimal(const DescribedObject &object, const FindingPlace &place, Findings &findings)
{
    const auto numbers = object.numbers();
    const conversion::Conversion *const decimal = conversion::find(conversion::decimalText);
    if (!object.isWritable() || !object.isOctets() || !numbers ||
        !object.isConvertedBy(conversion::decimalText) || object.places() > decimal->shownPlaces) {
        return;
    }
    const std::string lost = lostDecimal(object.places(), numbers->high);
    if (!lost.empty()) {
        findings.add("TM913", place, lost);
    }
}

void checkForm(const DescribedObject &object, const FindingPlace &place, Findings &findings)
{
    for (const FormRule &rule : unreadableForms) {
        if (rule.isBroken(object)) {
            findings.add(rule.code, place, object.text());
            return;
        }
    }
    for (const FormRule &rule : forms) {
        if (rule.isBroken(object)) {
            findings.add(rule.code, place, object.text());
        }
    }
    checkDecimal(object, place, findings);
}

bool isNumberWithin(const std::string &text, const deviceMotion::Range &range)
{
    try {
        (void)numbers::within(text, range.low, range.high, "value");
        return true;
    } catch (const InputError &) {
        return false;
    }
}

/// Whether a text is pairs of hexadecimal digits for at most so many bytes.
bool isBlockWithin(const std::string &text, std::size_t width)
{
    std::size_t digits = 0;
    std::size_t inWord = 0;
    for (const char each : text + ' ') {
        if (std::isspace(static_cast<unsigned char>(each)) != 0) {
            if (inWord % 2 != 0) {
                return false;
            }
            inWord = 0;
        } else if (std::isxdigit(static_cast<unsigned char>(each)) == 0) {
            return false;
        } else {
            ++inWord;
            ++digits;
        }
    }
    return digits / 2 <= width;
}

bool fitsWidth(const DescribedObject &object)
{
    const DeviceNotes &device = object.device();
    const auto numbers = object.numbers();
    if (numbers) {
        return isNumberWithin(device.value, *numbers);
    }
    if (!object.hasWidth()) {
        return true;
    }
    return object.isText() ? device.value.size() <= device.width
                           : !object.isBlock() || isBlockWithin(device.value, device.width);
}

void checkValue(const DescribedObject &object, FindingPlace place, Findings &findings)
{
    const DeviceNotes &device = object.device();
    place.column = "deviceValue";
    if (object.isText() && device.value.size() > longestText) {
        findings.add("TM208", place,
                     textForms::quoted(device.value) + " has " +
                         std::to_string(device.value.size()) + " bytes");
    } else if (!device.value.empty() && !fitsWidth(object)) {
        findings.add("TM914", place,
                     textForms::quoted(device.value) + " in kind " + device.kind + ", width " +
                         std::to_string(device.width));
    }
}

void checkMotion(const DescribedObject &object, FindingPlace place, Findings &findings)
{
    const std::string &motion = object.device().motion;
    place.column = "deviceMotion";
    if (motion.empty()) {
        return;
    }
    if (!deviceMotion::isKnown(motion) || object.isText() || object.isBlock()) {
        findings.add("TM916", place, textForms::quoted(motion));
        return;
    }
    const auto numbers = object.numbers();
    const auto range = deviceMotion::rangeOf(motion);
    if (numbers && range && (range->low < numbers->low || range->high > numbers->high)) {
        findings.add("TM915", place,
                     textForms::quoted(motion) + " leaves " + std::to_string(numbers->low) +
                         " to " + std::to_string(numbers->high));
    }
}

void checkLabels(const DescribedObject &object, FindingPlace place, Findings &findings)
{
    const auto numbers = object.numbers();
    place.column = "labels";
    for (const auto &[number, label] : object.labels()) {
        if (numbers && (number < numbers->low || number > numbers->high)) {
            findings.add("TM918", place,
                         std::to_string(number) + ": " + label + " is not from " +
                             std::to_string(numbers->low) + " to " + std::to_string(numbers->high));
        }
    }
}

/// The cells of a column usually have one form, which is reported once.
auto formOf(const CellEntry &entry)
{
    const SnmpTableOid &cell = entry.record;
    const DeviceNotes &device = entry.notes.device;
    return std::tuple(cell.tableNode, cell.column, cell.asnType, cell.access, cell.valueType,
                      device.kind, device.width, mappingWords::labels(entry.notes.labels));
}
} // namespace

std::optional<deviceMotion::Range> deviceNumbers(const DeviceNotes &device)
{
    const bool isSigned = device.kind == "signed";
    if ((!isSigned && device.kind != "unsigned") || !isReadableWidth(device.width)) {
        return std::nullopt;
    }
    const std::int64_t values = std::int64_t{1} << (8 * device.width);
    return isSigned ? deviceMotion::Range{-values / 2, values / 2 - 1}
                    : deviceMotion::Range{0, values - 1};
}

void checkDevices(const CheckedMapping &mapping, Findings &findings)
{
    for (const ScalarEntry &entry : mapping.source.scalars) {
        const DescribedObject object(entry.record, entry.notes, false,
                                     (entry.record.access & scalarWriteBit) != 0);
        const FindingPlace place = placeOf(entry, "deviceKind");
        checkForm(object, place, findings);
        checkLabels(object, place, findings);
        checkValue(object, place, findings);
        checkMotion(object, place, findings);
    }
    std::set<decltype(formOf(mapping.source.cells.front()))> seen;
    for (const CellEntry &entry : mapping.source.cells) {
        const DescribedObject object(entry.record, entry.notes, true,
                                     entry.record.access == columnReadWrite);
        const FindingPlace place = placeOf(entry, "deviceKind");
        if (seen.insert(formOf(entry)).second) {
            checkForm(object, place, findings);
            checkLabels(object, place, findings);
            checkMotion(object, place, findings);
        }
        checkValue(object, place, findings);
    }
}
