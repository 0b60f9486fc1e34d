#pragma once

#include <cstdint>
#include <string>

/// One row of a table: its index and the row after it.
struct IndexNode {
    std::int32_t index;
    IndexNode *next;
};

/// The base of every SNMP table that the agent serves: its rows, a list of indexes in ascending
/// signed order without duplicates, owned by the object. Adding a row that exists or removing one
/// that does not is a no-op. Not locked: derived classes lock and publish.
class SnmpTableStrategy
{
public:
    SnmpTableStrategy() = default;
    virtual ~SnmpTableStrategy();
    SnmpTableStrategy(const SnmpTableStrategy &) = delete;
    SnmpTableStrategy &operator=(const SnmpTableStrategy &) = delete;

    virtual void add_index(int index) = 0;
    virtual void remove_index(int index) = 0;
    /// Frees every row. Not for a registered table: what was published still points at the rows.
    virtual void clear_indexes();
    /// Registers the table of this node with the agent library.
    virtual void init_table(std::uint8_t flag, const std::string &tableNode) = 0;

protected:
    void insertIndex(std::int32_t index);
    void removeIndex(std::int32_t index);

    std::string name;
    IndexNode *indexes = nullptr;
};
