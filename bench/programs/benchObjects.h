#ifndef BENCH_OBJECTS_H
#define BENCH_OBJECTS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The objects that every agent here serves and the manager requests: scalars BASE.1.(i / 100 +
/// 1).(i % 100 + 1).0 and the cells BASE.2.1.1.column.row.0 of one table, all of them writable
/// integers. Column 1 is the row number, which is not an object of the device.
#define BENCH_BASE 1, 3, 6, 1, 4, 1, 32473, 8, 2, 2, 3, 8
#define BENCH_BASE_TEXT ".1.3.6.1.4.1.32473.8.2.2.3.8"

enum {
    benchScalarsPerGroup = 100,
    benchRows = 8,
    benchRowColumn = 1,
    benchFirstColumn = 2,
    benchFirstScalarId = 0x1000,
    benchFirstCellId = 0x3000,
    /// As many as fit into the device ids of scalars, and the cells after them.
    benchMostScalars = benchFirstCellId - benchFirstScalarId,
    benchMostColumns = 253,
    /// Arcs of the root of all scalars and of the table.
    benchScalarRootLength = 13,
    benchTableRootLength = 14,
    benchLongestName = 18
};

/// One object as a manager sees it.
struct benchObject {
    /// Of the type that the SNMP library uses for arcs.
    unsigned long name[benchLongestName];
    size_t nameLength;
    long value;
};

/// The scalar at `index`, from 0.
struct benchObject benchScalar(unsigned index);
/// The cell of a column from 1 and a row from 1.
struct benchObject benchCell(unsigned column, unsigned row);

uint16_t benchScalarId(unsigned index);
/// Of a mapped column, from 2.
uint16_t benchCellId(unsigned column, unsigned row);

/// The values of all device objects by id.
struct benchStore {
    long *scalars;
    unsigned scalarCount;
    long *cells;
    unsigned cellCount;
};

/// All objects with their initial values. Ends the process if memory runs out.
struct benchStore makeBenchStore(unsigned scalars, unsigned columns);
/// Where an object's value is stored; null if there is no such object.
long *benchStored(const struct benchStore *store, uint16_t id);

#ifdef __cplusplus
}
#endif

#endif
