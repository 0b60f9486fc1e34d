#ifndef OBJECT_VALUES_H
#define OBJECT_VALUES_H

#include "benchOptions.h"

#include <stdbool.h>
#include <stdint.h>

/// Where a bare agent keeps its values: in its own memory, or on the device behind the queues. The
/// program is linked with one of the two.
///
/// It is also linked with what a set reads before its write: nothing, since a bare agent needs
/// nothing, or everything that the rules of the device link make an agent read.

/// Once, before the first value. False, with errno set, if the values cannot be accessed.
bool openValues(const struct benchOptions *options);
bool readValue(uint16_t id, long *value);
bool writeValue(uint16_t id, long value);

/// Called at each step of a set of a cell.
void readForStep(uint16_t id);
/// Called before each write, whose width depends on what is read here.
void readForWidth(uint16_t id);

#endif
