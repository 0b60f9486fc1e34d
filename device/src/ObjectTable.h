#pragma once

#include "tarnodevice.h"

#include <cstddef>
#include <cstdint>

namespace tarno
{
/// The declared objects, sorted by id. Memory is allocated by `add` only.
class ObjectTable
{
public:
    ObjectTable() = default;
    ObjectTable(const ObjectTable &) = delete;
    ObjectTable &operator=(const ObjectTable &) = delete;
    ~ObjectTable();

    /// Copies the objects: all of them, or none with EINVAL, EEXIST or ENOMEM.
    [[nodiscard]] int add(const tarno_object *objects, std::size_t count);

    /// Null if no object has this id.
    [[nodiscard]] const tarno_object *find(std::uint16_t id) const noexcept;

private:
    tarno_object *_objects = nullptr;
    std::size_t _count = 0;
};
} // namespace tarno
