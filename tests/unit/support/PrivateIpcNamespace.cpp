#include "support/PrivateIpcNamespace.h"

#include <sched.h>

bool enterPrivateIpcNamespace()
{
    return unshare(CLONE_NEWIPC) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0;
}
