#include "Values.h"

#include <cstring>

namespace
{
constexpr unsigned bitsOfByte = 8;

bool isNumber(const tarno_object &object)
{
    return object.kind == TARNO_UNSIGNED || object.kind == TARNO_SIGNED;
}

std::uint32_t variable(const tarno_object &object)
{
    switch (object.width) {
    case sizeof(std::uint8_t):
        return *static_cast<const std::uint8_t *>(object.user);
    case sizeof(std::uint16_t):
        return *static_cast<const std::uint16_t *>(object.user);
    default:
        return *static_cast<const std::uint32_t *>(object.user);
    }
}

void setVariable(const tarno_object &object, std::uint32_t number)
{
    switch (object.width) {
    case sizeof(std::uint8_t):
        *static_cast<std::uint8_t *>(object.user) = static_cast<std::uint8_t>(number);
        break;
    case sizeof(std::uint16_t):
        *static_cast<std::uint16_t *>(object.user) = static_cast<std::uint16_t>(number);
        break;
    default:
        *static_cast<std::uint32_t *>(object.user) = number;
    }
}

std::uint32_t fromBytes(const std::uint8_t *bytes, std::size_t width)
{
    std::uint32_t number = 0;
    for (std::size_t index = width; index-- > 0;) {
        number = number << bitsOfByte | bytes[index];
    }
    return number;
}

void toBytes(std::uint32_t number, std::uint8_t *bytes, std::size_t width)
{
    for (std::size_t index = 0; index < width; ++index, number >>= bitsOfByte) {
        bytes[index] = static_cast<std::uint8_t>(number);
    }
}

std::int32_t withSign(std::uint32_t number, std::size_t width)
{
    switch (width) {
    case sizeof(std::int8_t):
        return static_cast<std::int8_t>(number);
    case sizeof(std::int16_t):
        return static_cast<std::int16_t>(number);
    default:
        return static_cast<std::int32_t>(number);
    }
}

void prepare(const tarno_object &object, tarno::values::Room &room)
{
    if (!isNumber(object)) {
        std::memset(room.data, 0, sizeof room.data);
    }
    room.value = {.kind = object.kind, .width = object.width, .u = 0, .s = 0, .data = room.data};
}
} // namespace

namespace tarno
{
tarno_outcome values::get(const tarno_object &object, Room &room, std::uint8_t *bytes)
{
    prepare(object, room);
    if (object.get != nullptr) {
        const tarno_outcome outcome = object.get(object.user, object.id, &room.value);
        if (outcome != TARNO_DONE) {
            return outcome;
        }
    } else if (isNumber(object)) {
        toBytes(variable(object), bytes, object.width);
        return TARNO_DONE;
    } else {
        std::memcpy(room.data, object.user, object.width);
    }
    if (isNumber(object)) {
        const bool isSigned = object.kind == TARNO_SIGNED;
        toBytes(isSigned ? static_cast<std::uint32_t>(room.value.s) : room.value.u, bytes,
                object.width);
    } else {
        std::memcpy(bytes, room.data, object.width);
    }
    return TARNO_DONE;
}

tarno_outcome values::set(const tarno_object &object, Room &room, const std::uint8_t *bytes)
{
    prepare(object, room);
    if (isNumber(object)) {
        const std::uint32_t number = fromBytes(bytes, object.width);
        room.value.u = object.kind == TARNO_UNSIGNED ? number : 0;
        room.value.s = object.kind == TARNO_SIGNED ? withSign(number, object.width) : 0;
    } else {
        std::memcpy(room.data, bytes, object.width);
    }
    if (object.set != nullptr) {
        return object.set(object.user, object.id, &room.value);
    }
    if (isNumber(object)) {
        setVariable(object, fromBytes(bytes, object.width));
    } else {
        std::memcpy(object.user, room.data, object.width);
    }
    return TARNO_DONE;
}
} // namespace tarno
