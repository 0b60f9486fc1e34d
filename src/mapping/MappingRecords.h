#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The records of the mapping between SNMP objects and device objects: plain, copyable values. A
/// new record is all zero; numbers are truncated to their field's width when loaded. "Carried"
/// fields are kept for the authors of mappings and not interpreted here.

/// What the value path needs to know about one device object; the common base of both mappings
/// below.
struct SnmpObjInfo {
    /// Carried.
    std::uint8_t attr1 = 0;
    /// Non-zero marks the object for `getFlaggedObjIds`.
    std::uint8_t flag = 0;
    /// The conversion code, see SnmpObjConvertStrategy.h.
    std::uint16_t valueType = 0;
    /// Carried.
    std::uint16_t attr2 = 0;
    /// The SNMP syntax; its low 8 bits are the BER tag (2: INTEGER, 4: OCTET STRING).
    std::uint16_t asnType = 0;
    /// Scalars: the access of the registered variable. Table columns: 3 is read-write, anything
    /// else read-only.
    std::uint16_t access = 0;
    /// Carried.
    std::string text;
};

/// One scalar.
struct SnmpObjOid : SnmpObjInfo {
    std::uint16_t objId = 0;
    /// The 1-based position in the registration, truncated to 8 bits; overwrites the loaded number.
    std::uint8_t magic = 0;
    /// The scalar's name below the base OID.
    std::uint32_t oidArc1 = 0;
    std::uint32_t oidArc2 = 0;
    std::uint32_t oidArc3 = 0;
    /// Carried.
    std::uint32_t oidArc4 = 0;
};

/// One cell: one column of one row of a table.
struct SnmpTableOid : SnmpObjInfo {
    std::uint16_t objId = 0;
    std::uint32_t column = 0;
    /// The table's name everywhere: its OID below the base OID as dotted text.
    std::string tableNode;
    /// The row.
    std::uint8_t instance = 0;
    /// Carried.
    std::uint8_t tableKind = 0;
    /// Carried.
    std::uint16_t attr3 = 0;
};

/// One table.
struct SnmpTableInfo {
    std::uint8_t tableKind = 0;
    std::string tableNode;
};

/// The access bit that makes a scalar writable.
inline constexpr std::uint16_t scalarWriteBit = 0x2;
/// The access code of a writable table column.
inline constexpr std::uint16_t columnReadWrite = 3;

/// How many sub-identifiers a cell's OID has after its table's: the entry, the column and the two
/// components of the index.
inline constexpr std::size_t cellSuffixLength = 4;

/// The key of a cell: its table node, the row as two and the column as eight lowercase hexadecimal
/// digits. So the cells of a row are contiguous, in column order.
[[nodiscard]] std::string tableKey(std::string_view tableNode, std::uint8_t instance,
                                   std::uint32_t column);
