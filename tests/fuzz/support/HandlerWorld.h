#pragma once

#include "TableHandlerOne.h"
#include "TableHandlerTwo.h"
#include "agent/AgentLibrary.h"
#include "agent/Registry.h"
#include "support/SimulatedLink.h"

#include <cstdint>

/// A table handler that exposes its class-wide state.
template <class Derived>
class OpenedTable : public Derived
{
public:
    using Derived::Derived;
    using Derived::s_tableNode;
    using Derived::s_value;
};

/// The agent after its start-up, for targets that send it requests: a mapping with scalars and with
/// columns of two tables for every SNMP type, both accesses and all conversions, registered with
/// the agent library, on a simulated link.
namespace handlerWorld
{
inline constexpr std::uint16_t writable = 0x0010;
inline constexpr std::uint16_t text = 0x0200;
inline constexpr int rows = 3;

/// Registers everything; once.
void start();
/// Restores all class-wide state to that after start-up, with a good device.
void renew();
/// From now on the input determines what the device holds and does, and the link may fail.
void misbehave(FuzzedDataProvider &input);

[[nodiscard]] const Name &base();
/// The instances of the first scalar and of the first column of the first table: a writable INTEGER
/// without conversion.
[[nodiscard]] Name plainScalar();
[[nodiscard]] Name plainCell(oid table);
/// How many scalars there are, and the last column of each table.
[[nodiscard]] std::size_t scalarCount();
[[nodiscard]] unsigned lastColumn();
} // namespace handlerWorld
