#include "Supervision.h"

#include "DataManage.h"

#include <chrono>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/agent_callbacks.h>

namespace
{
constexpr const char *waitingForDevice = "STATUS=waiting for the device";
constexpr const char *waitingForMaster = "STATUS=waiting for the master agent";
// A repeated READY=1 has no effect.
constexpr const char *serving = "READY=1\nSTATUS=serving";

extern "C" {
int sessionOpened(int /*major*/, int /*minor*/, void * /*session*/, void *isConnected)
{
    *static_cast<bool *>(isConnected) = true;
    return SNMPERR_SUCCESS;
}

int sessionClosed(int /*major*/, int /*minor*/, void * /*session*/, void *isConnected)
{
    *static_cast<bool *>(isConnected) = false;
    return SNMPERR_SUCCESS;
}

void keepAlive(unsigned /*alarm*/, void *notifier)
{
    static_cast<ServiceNotifier *>(notifier)->keepAlive();
}
}

timeval toTimeval(std::chrono::microseconds period)
{
    const auto whole = std::chrono::duration_cast<std::chrono::seconds>(period);
    return {.tv_sec = static_cast<time_t>(whole.count()),
            .tv_usec = static_cast<suseconds_t>((period - whole).count())};
}
} // namespace

void Supervision::waitsForDevice() const
{
    if (_notifier.isSupervised()) {
        _notifier.send(waitingForDevice);
    }
}

void Supervision::waitsForMaster()
{
    if (_notifier.isSupervised()) {
        _notifier.send(waitingForMaster);
        snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_START, sessionOpened,
                               &_isConnected);
        snmp_register_callback(SNMP_CALLBACK_APPLICATION, SNMPD_CALLBACK_INDEX_STOP, sessionClosed,
                               &_isConnected);
    }
}

void Supervision::serves(DataManage &link)
{
    if (const auto period = _notifier.keepAlivePeriod()) {
        snmp_alarm_register_hr(toTimeval(*period), SA_REPEAT, keepAlive, &_notifier);
        link.observeExchanges([this] { _notifier.keepAlive(); });
    }
}

void Supervision::report()
{
    // The library registers every object before it returns to the loop. A message that could not be
    // sent is sent in a later turn.
    if (_notifier.isSupervised() && _isConnected != _isReported &&
        _notifier.send(_isConnected ? serving : waitingForMaster)) {
        _isReported = _isConnected;
    }
}
