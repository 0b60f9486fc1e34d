#include "objectValues.h"

void readForStep(uint16_t id)
{
    (void)id;
}

void readForWidth(uint16_t id)
{
    (void)id;
}
