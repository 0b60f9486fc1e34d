#include "ServedValue.h"

#include "ObjectTypes.h"
#include "SnmpObjConvertStrategy.h"

namespace
{
/// Widens an integer of 1 or 2 bytes to 32 bits, as the agent does.
void widen(DeviceValue &value)
{
    const bool isSigned = value.kind() == ValueKind::signedInteger;
    const std::uint32_t number = value.int32();
    if (value.len == deviceFrame::int8Length) {
        value.setInt32(isSigned ? static_cast<std::uint32_t>(static_cast<std::int8_t>(number))
                                : static_cast<std::uint8_t>(number));
    } else if (value.len == deviceFrame::int16Length) {
        value.setInt32(isSigned ? static_cast<std::uint32_t>(static_cast<std::int16_t>(number))
                                : static_cast<std::uint16_t>(number));
    }
}

bool isNumber(const DeviceValue &value)
{
    return value.kind() == ValueKind::unsignedInteger || value.kind() == ValueKind::signedInteger;
}
} // namespace

std::optional<ServedValue> servedValue(const deviceFrame::Answer &answer, const SnmpObjInfo &info)
{
    DeviceValue value;
    const bool isStored = deviceFrame::storeAnswer(answer, value);
    // The agent shows its own time, whatever the device answers in a number or block of any size.
    const bool isTime = conversion::kindOf(info.valueType) == conversion::dateTimeText;
    if (!isStored && (!isTime || isNumber(value))) {
        return std::nullopt;
    }
    if (isNumber(value)) {
        widen(value);
    }
    const SnmpObjConvertStrategy convert;
    convert.toDisplay(info.valueType, value);
    if (info.asnType != objectType::integer) {
        return ServedValue{.number = {}, .text = std::string(value.text())};
    }
    const auto number = static_cast<std::int32_t>(value.int32());
    return ServedValue{.number = number, .text = std::to_string(number)};
}
