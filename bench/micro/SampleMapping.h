#pragma once

#include "support/LinkQueues.h"
#include "support/MappingFile.h"

#include <cstdint>
#include <map>

/// The objects that the benchmarks ask for: a mapping of any size, and the answers of a device that
/// holds all of it.
namespace sampleMapping
{
/// Scalars `base.1.2.n.0` with n from 1, and a table with columns from 2 on. All are integers that
/// may be written. Ids go up from these, of the cells row by row.
inline constexpr std::uint16_t firstScalar = 0x1000;
inline constexpr std::uint16_t firstCell = 0x4000;
inline constexpr int scalarNode1 = 1;
inline constexpr int scalarNode2 = 2;
inline constexpr const char *tableNode = ".3.1";
inline constexpr int rows = 4;
/// What the device answers to every read.
inline constexpr std::uint8_t value = 42;

struct Size {
    int scalars = 10;
    int columns = 6;
    /// The text that each row carries. Up to 15 characters a string holds in itself.
    const char *text = "";
};

void fill(const MappingFile &file, const Size &size);

/// The device's answers to reads of `size`, and to what the agent reads at its start.
std::map<std::uint16_t, Frame> answers(const Size &size);
} // namespace sampleMapping
