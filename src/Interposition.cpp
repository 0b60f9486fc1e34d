#include "Interposition.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <span>

#include <dlfcn.h>
#include <link.h>

// If the library does not bind its own function, it has a slot for the address, which the loader
// fills before `main`. The slots are found through the dynamic section and its relocations. Slots
// of plain calls are in a separate table and may be filled later; callbacks are not among them.

namespace
{
using Address = ElfW(Addr);
using Object = dl_phdr_info;
using Segment = ElfW(Phdr);
using DynamicEntry = ElfW(Dyn);

struct Search {
    Address ours = 0;
    Address original = 0;
    bool isFound = false;
};

template <typename Entry>
std::span<const Entry> table(Address start, std::size_t bytes)
{
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the loader gives its tables as numbers.
    return {reinterpret_cast<const Entry *>(start), bytes / sizeof(Entry)};
}

std::span<const Segment> segmentsOf(const Object &object)
{
    return {object.dlpi_phdr, object.dlpi_phnum};
}

bool contains(const Object &object, Address address)
{
    return std::ranges::any_of(segmentsOf(object), [&](const Segment &segment) {
        return segment.p_type == PT_LOAD &&
               address - (object.dlpi_addr + segment.p_vaddr) < segment.p_memsz;
    });
}

/// A shared library without a dynamic section cannot be loaded.
std::span<const DynamicEntry> dynamicSectionOf(const Object &object)
{
    const Segment &segment =
        *std::ranges::find(segmentsOf(object), Address{PT_DYNAMIC}, &Segment::p_type);
    return table<DynamicEntry>(object.dlpi_addr + segment.p_vaddr, segment.p_memsz);
}

Address dynamicValue(const Object &object, decltype(DynamicEntry::d_tag) tag)
{
    for (const DynamicEntry &entry : dynamicSectionOf(object)) {
        if (entry.d_tag == tag) {
            return entry.d_un.d_val;
        }
    }
    return 0;
}

/// The loader relocates the addresses in place if the dynamic section is writable.
Address dynamicAddress(const Object &object, decltype(DynamicEntry::d_tag) tag)
{
    const Address address = dynamicValue(object, tag);
    return address < object.dlpi_addr ? object.dlpi_addr + address : address;
}

/// Reads byte by byte: a sanitized library has slots in guarded memory, and memcpy would be
/// checked.
[[gnu::no_sanitize_address]] Address slotAt(Address address)
{
    const auto slot = table<std::byte>(address, sizeof address);
    std::array<std::byte, sizeof address> content{};
    for (std::size_t index = 0; index < content.size(); ++index) {
        content[index] = slot[index];
    }
    return std::bit_cast<Address>(content);
}

template <typename Relocation>
std::ptrdiff_t slotsWith(const Object &object, Address start, std::size_t bytes, Address content)
{
    return std::ranges::count_if(
        table<Relocation>(start, bytes), [&](const Relocation &relocation) {
            return slotAt(object.dlpi_addr + relocation.r_offset) == content;
        });
}

int searchObject(Object *object, std::size_t /*size*/, void *data)
{
    auto &search = *static_cast<Search *>(data);
    if (!contains(*object, search.original)) {
        return 0;
    }
    // 32-bit ARM has tables of the first kind, the 64-bit processors of the second.
    const auto slots = slotsWith<ElfW(Rel)>(*object, dynamicAddress(*object, DT_REL),
                                            dynamicValue(*object, DT_RELSZ), search.ours) +
                       slotsWith<ElfW(Rela)>(*object, dynamicAddress(*object, DT_RELA),
                                             dynamicValue(*object, DT_RELASZ), search.ours);
    search.isFound = slots != 0;
    return 1;
}
} // namespace

Interposition::Interposition(const char *name, const void *ours) noexcept
    : _pOurs(ours), _pOriginal(dlsym(RTLD_NEXT, name))
{
}

bool Interposition::isInEffect() const
{
    // If dlsym found nothing: no library contains the null address.
    Search search{.ours = reinterpret_cast<Address>(_pOurs),
                  .original = reinterpret_cast<Address>(_pOriginal)};
    dl_iterate_phdr(searchObject, &search);
    return search.isFound;
}
