#include "OneProcessor.h"

#include <cstddef>

#include <sched.h>
#include <unistd.h>

void stayOnThisProcessor()
{
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(static_cast<std::size_t>(sched_getcpu()), &processors);
    sched_setaffinity(getpid(), sizeof processors, &processors);
}
