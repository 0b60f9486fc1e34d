#include "objectValues.h"

void readForStep(uint16_t id)
{
    long value = 0;
    readValue(id, &value);
}

void readForWidth(uint16_t id)
{
    long value = 0;
    readValue(id, &value);
}
