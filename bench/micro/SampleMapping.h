#pragma once

#include "support/LinkQueues.h"
#include "support/MappingFile.h"

#include <cstdint>
#include <map>

/// The objects that the benchmarks request: a mapping of any size, and the answers of a device that
/// holds all of its objects.
namespace sampleMapping
{
/// Scalars `base.1.2.n.0` with n from 1, and a table with columns from 2 on. All are writable
/// integers. Ids count up from these, those of cells row by row.
inline constexpr std::uint16_t firstScalar = 0x1000;
inline constexpr std::uint16_t firstCell = 0x4000;
inline constexpr int scalarNode1 = 1;
inline constexpr int scalarNode2 = 2;
inline constexpr const char *tableNode = ".3.1";
inline constexpr int rows = 4;
/// The device's answer to every read.
inline constexpr std::uint8_t value = 42;

struct Size {
    int scalars = 10;
    int columns = 6;
    /// The text of each row. Up to 15 characters fit into a string's inline buffer.
    const char *text = "";
};

void fill(const MappingFile &file, const Size &size);

/// The device's answers to reads of the objects, and to what the agent reads at its start.
std::map<std::uint16_t, Frame> answers(const Size &size);
} // namespace sampleMapping
