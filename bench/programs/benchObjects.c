#include "benchObjects.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const unsigned long base[] = {BENCH_BASE};

enum { baseLength = sizeof base / sizeof base[0] };

static struct benchObject objectBelowBase(const unsigned long *arcs, size_t arcCount, long value)
{
    struct benchObject object = {.nameLength = baseLength + arcCount, .value = value};
    memcpy(object.name, base, sizeof base);
    memcpy(object.name + baseLength, arcs, arcCount * sizeof *arcs);
    return object;
}

struct benchObject benchScalar(unsigned index)
{
    const unsigned long arcs[] = {1, index / benchScalarsPerGroup + 1,
                                  index % benchScalarsPerGroup + 1, 0};
    return objectBelowBase(arcs, sizeof arcs / sizeof arcs[0], 100000L + (long)index);
}

struct benchObject benchCell(unsigned column, unsigned row)
{
    const unsigned long arcs[] = {2, 1, 1, column, row, 0};
    const long value = column == benchRowColumn ? (long)row : 200000L + (long)(column * 10 + row);
    return objectBelowBase(arcs, sizeof arcs / sizeof arcs[0], value);
}

uint16_t benchScalarId(unsigned index)
{
    return (uint16_t)(benchFirstScalarId + index);
}

uint16_t benchCellId(unsigned column, unsigned row)
{
    return (uint16_t)(benchFirstCellId + (column - benchFirstColumn) * benchRows + row - 1);
}

static long *makeValues(unsigned count)
{
    long *const values = calloc(count, sizeof *values);
    if (values == NULL) {
        perror("benchObjects");
        exit(EXIT_FAILURE);
    }
    return values;
}

struct benchStore makeBenchStore(unsigned scalars, unsigned columns)
{
    const unsigned cells = columns * benchRows;
    const struct benchStore store = {makeValues(scalars), scalars, makeValues(cells), cells};
    for (unsigned index = 0; index < scalars; ++index) {
        store.scalars[index] = benchScalar(index).value;
    }
    for (unsigned index = 0; index < cells; ++index) {
        store.cells[index] =
            benchCell(index / benchRows + benchFirstColumn, index % benchRows + 1).value;
    }
    return store;
}

long *benchStored(const struct benchStore *store, uint16_t id)
{
    if (id >= benchFirstCellId) {
        const unsigned cell = id - (unsigned)benchFirstCellId;
        return cell < store->cellCount ? &store->cells[cell] : NULL;
    }
    const unsigned scalar = id - (unsigned)benchFirstScalarId;
    return scalar < store->scalarCount ? &store->scalars[scalar] : NULL;
}
