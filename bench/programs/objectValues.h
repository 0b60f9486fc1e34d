#ifndef OBJECT_VALUES_H
#define OBJECT_VALUES_H

#include "benchOptions.h"

#include <stdbool.h>
#include <stdint.h>

/// Where a bare agent has its values: in its own memory, or with the device behind the queues. The
/// program is linked with one of the two.
///
/// It is also linked with what a set reads on the way to its write: nothing, for a bare agent needs
/// nothing, or all that the rules of the device link have an agent read.

/// Once, before the first value. False, with errno set, when there are none to be had.
bool openValues(const struct benchOptions *options);
bool readValue(uint16_t id, long *value);
bool writeValue(uint16_t id, long value);

/// At each step of the set of a cell.
void readForStep(uint16_t id);
/// Ahead of each write, which takes the width of the value from what it reads.
void readForWidth(uint16_t id);

#endif
