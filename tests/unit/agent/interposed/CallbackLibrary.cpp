#include "CallbackLibrary.h"

// The build compiles this once for each library, with the names of its functions.

int CALLBACK()
{
    return calledInLibrary;
}

Callback HANDED_ON_CALLBACK()
{
    return CALLBACK;
}
