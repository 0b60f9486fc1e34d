#include "objectValues.h"

#include "deviceQueues.h"

bool openValues(const struct benchOptions *options)
{
    (void)options;
    return openDeviceQueues();
}

bool readValue(uint16_t id, long *value)
{
    return readFromDevice(id, value);
}

bool writeValue(uint16_t id, long value)
{
    return writeToDevice(id, value);
}
