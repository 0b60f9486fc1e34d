#include "ObjectTable.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace
{
constexpr std::uint16_t firstOfGroups = 0x0910;
constexpr std::uint16_t lastOfGroups = 0x0917;

/// A C program may pass any number, which must not be read as the enumeration.
unsigned kindOf(const tarno_object &object)
{
    unsigned kind = 0;
    static_assert(sizeof kind == sizeof object.kind);
    std::memcpy(&kind, &object.kind, sizeof kind);
    return kind;
}

bool isWidth(const tarno_object &object)
{
    switch (kindOf(object)) {
    case TARNO_UNSIGNED:
    case TARNO_SIGNED:
        return object.width == 1 || object.width == 2 || object.width == 4;
    case TARNO_TEXT:
    case TARNO_BYTES:
        return object.width >= 1 && object.width <= TARNO_WIDEST;
    default:
        return false;
    }
}

bool isComplete(const tarno_object &object)
{
    const bool hasVariable = object.user != nullptr;
    const bool canRead = object.get != nullptr || hasVariable;
    const bool canWrite = object.writable == 0 || object.set != nullptr || hasVariable;
    const bool isRequested = object.id < firstOfGroups || object.id > lastOfGroups;
    return isWidth(object) && canRead && canWrite && isRequested;
}

int byId(const void *left, const void *right)
{
    return static_cast<const tarno_object *>(left)->id -
           static_cast<const tarno_object *>(right)->id;
}

bool hasDuplicate(const tarno_object *sorted, std::size_t count)
{
    for (std::size_t index = 1; index < count; ++index) {
        if (sorted[index - 1].id == sorted[index].id) {
            return true;
        }
    }
    return false;
}

bool areComplete(const tarno_object *objects, std::size_t count)
{
    for (std::size_t index = 0; index < count; ++index) {
        if (!isComplete(objects[index])) {
            return false;
        }
    }
    return true;
}
} // namespace

namespace tarno
{
ObjectTable::~ObjectTable()
{
    std::free(_objects);
}

int ObjectTable::add(const tarno_object *objects, std::size_t count)
{
    if (count == 0) {
        return 0;
    }
    if (objects == nullptr || count > UINT16_MAX || !areComplete(objects, count)) {
        return EINVAL;
    }
    const std::size_t total = _count + count;
    auto *const all = static_cast<tarno_object *>(std::malloc(total * sizeof(tarno_object)));
    if (all == nullptr) {
        return ENOMEM;
    }
    if (_count != 0) {
        std::memcpy(all, _objects, _count * sizeof(tarno_object));
    }
    std::memcpy(all + _count, objects, count * sizeof(tarno_object));
    std::qsort(all, total, sizeof(tarno_object), byId);
    if (hasDuplicate(all, total)) {
        std::free(all);
        return EEXIST;
    }
    std::free(_objects);
    _objects = all;
    _count = total;
    return 0;
}

const tarno_object *ObjectTable::find(std::uint16_t id) const noexcept
{
    std::size_t first = 0;
    std::size_t end = _count;
    while (first < end) {
        const std::size_t middle = first + (end - first) / 2;
        if (_objects[middle].id == id) {
            return &_objects[middle];
        }
        if (_objects[middle].id < id) {
            first = middle + 1;
        } else {
            end = middle;
        }
    }
    return nullptr;
}
} // namespace tarno
