#include "DeferredSignals.h"

#include <initializer_list>

DeferredSignals::DeferredSignals()
{
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ}) {
        sigaddset(&ending, signal);
    }
    pthread_sigmask(SIG_BLOCK, &ending, &_previous);
}

DeferredSignals::~DeferredSignals()
{
    pthread_sigmask(SIG_SETMASK, &_previous, nullptr);
}
