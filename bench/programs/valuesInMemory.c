#include "objectValues.h"

#include "benchObjects.h"

#include <stddef.h>

static struct benchStore store;

bool openValues(const struct benchOptions *options)
{
    store = makeBenchStore(options->scalars, options->columns);
    return true;
}

bool readValue(uint16_t id, long *value)
{
    const long *const stored = benchStored(&store, id);
    if (stored == NULL) {
        return false;
    }
    *value = *stored;
    return true;
}

bool writeValue(uint16_t id, long value)
{
    long *const stored = benchStored(&store, id);
    if (stored == NULL) {
        return false;
    }
    *stored = value;
    return true;
}
