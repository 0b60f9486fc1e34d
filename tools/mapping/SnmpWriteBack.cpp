#include "SnmpWriteBack.h"

#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"

namespace
{
constexpr std::size_t longestText = sizeof(DeviceValue::data);
constexpr std::size_t unsigned16Width = 2;

bool isStoredAsNumber(const DeviceNotes &device)
{
    return device.kind == "unsigned" || device.kind == "signed";
}

/// Whether the agent writes a number as it is.
bool arrivesUnchanged(std::uint16_t valueType, std::int32_t number)
{
    DeviceValue value;
    value.setInt32(static_cast<std::uint32_t>(number));
    SnmpObjConvertStrategy().fromDisplay(valueType, value);
    return value.int32() == static_cast<std::uint32_t>(number);
}

bool isNumberKept(const ServedObject &object, const DeviceNotes &device, std::int32_t number)
{
    const std::uint16_t valueType = object.info.valueType;
    const auto *const conversion = conversion::find(valueType);
    const bool isText = conversion != nullptr && conversion->result == conversion::Result::text;
    const bool isCut = conversion::kindOf(valueType) == conversion::unsigned16 &&
                       (device.width == 0 || device.width > unsigned16Width);
    // The agent writes 0 for a negative number in a cell.
    const bool isLost = object.table && number < 0;
    return isStoredAsNumber(device) && !isText && !isCut && !isLost &&
           arrivesUnchanged(valueType, number);
}

std::string shownDecimal(std::uint16_t valueType, std::uint32_t stored)
{
    DeviceValue value;
    value.setInt32(stored);
    SnmpObjConvertStrategy().toDisplay(valueType, value);
    return std::string(value.text());
}

/// Whether the agent writes the only number that it shows as this text.
bool isDecimalKept(std::uint16_t valueType, const DeviceNotes &device, const std::string &text)
{
    DeviceValue value;
    value.setText(text);
    if (!isStoredAsNumber(device) || SnmpObjConvertStrategy().fromDisplay(valueType, value) != 0) {
        return false;
    }
    const std::uint32_t stored = value.int32();
    return shownDecimal(valueType, stored) == text && shownDecimal(valueType, stored + 1) != text &&
           (stored == 0 || shownDecimal(valueType, stored - 1) != text);
}

bool isTextKept(const ServedObject &object, const DeviceNotes &device, const std::string &text)
{
    const std::uint16_t valueType = object.info.valueType;
    if (conversion::kindOf(valueType) == conversion::decimalText) {
        return isDecimalKept(valueType, device, text);
    }
    const bool isAsStored = conversion::kindOf(valueType) == conversion::scaledInteger &&
                            conversion::placesOf(valueType) == 0;
    const bool isWhole =
        text.size() < longestText || (device.width != 0 && device.width <= longestText);
    return isAsStored && device.kind == "string" && isWhole;
}
} // namespace

bool canBeWrittenBack(const ServedObject &object, const ServedInstance &instance,
                      const SnmpValue &read)
{
    const DeviceNotes &device = instance.notes.device;
    if (read.type != object.info.asnType) {
        return false;
    }
    return read.type == objectType::integer
               ? isNumberKept(object, device, read.number)
               : read.type == objectType::octetString && isTextKept(object, device, read.text);
}
