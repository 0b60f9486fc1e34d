#pragma once

#include "ComPortAdapter.h"
#include "DeviceValue.h"
#include "Exchange.h"
#include "Mutex.h"
#include "SnmpObjConvertStrategy.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

class SnmpDataBase;

/// Reads and writes single device objects, raw (`getObjValue`, `setObjValue`) and as SNMP sees them
/// (`select`, `setSnmpValue`). Callers are serialized: one exchange at a time. Waits are unbounded
/// until `limitWaits`. The typed operations throw std::bad_alloc if the mapping's record cannot be
/// allocated; nothing else throws. Failures are logged on standard output. The raw operations
/// return 0 or 255, the typed ones 0, 255 or -1.
class DataManage
{
public:
    /// The singleton, created and opened by the first call, which must precede any concurrent use.
    /// It lives as long as the process.
    static DataManage *getInstance();

    virtual ~DataManage();
    DataManage(const DataManage &) = delete;
    DataManage &operator=(const DataManage &) = delete;

    /// From now on the policy limits every wait for an answer. Before that, at start-up, waits are
    /// unbounded.
    void limitWaits();

    /// Call between two requests of a manager: no signal interrupts the process until the next
    /// exchange.
    void disarmTimer();

    /// Sets a function to call before each exchange, with the link locked. Call this once; the
    /// function must not throw.
    void observeExchanges(std::function<void()> observer);

    /// Reads an object into `len`, `attr` and `data` of `out`; `oid` is left alone. Returns 0, or
    /// 255 with `out` unchanged, with two exceptions: a wait that expired clears `len` and `attr`,
    /// and a value whose length does not fit its kind still sets `len` and `attr`.
    std::uint32_t getObjValue(std::uint16_t objId, DeviceValue &out);

    /// Writes `len` - 3 bytes of `data` to an object and takes the device's answer off the queue. 0
    /// once the exchange is done, whatever the answer was.
    std::uint32_t setObjValue(std::uint16_t objId, const DeviceValue &value);

    /// Reads the object named by the record's `oid` and converts it for SNMP: an integer becomes a
    /// 32-bit integer with `len` 7 unless its conversion makes it text. A failed read is ignored:
    /// what the record held is converted. 0, or -1 if the object is not in the mapping or the
    /// record holds an integer of unsupported length.
    std::int32_t select(DeviceValue &value, SnmpDataBase &database);

    /// Writes the manager's value in `data` (a 32-bit integer, or text) to the object named by the
    /// record's `oid`, in the device's form and width; `attr` tells the conversion whether an
    /// integer is signed. 0 or 255 from the write, -1 if the value is rejected or the object is
    /// unreadable, not writable or not in the mapping. `len` and `data` are overwritten.
    std::int32_t setSnmpValue(DeviceValue &value, SnmpDataBase &database);

    /// Prints bytes for debugging: "%x " for each, then a newline.
    static void dump(std::span<const std::uint8_t> bytes);

protected:
    explicit DataManage(const LinkPolicy &policy = {});

    static inline DataManage *s_instance = nullptr;

    LinkPolicy _policy;

private:
    static std::uint32_t decode(std::span<const std::uint8_t> frame, DeviceValue &out);

    std::unique_ptr<ComPortAdapter> _pComPortAdapter;
    std::unique_ptr<SnmpObjConvertStrategy> _pConvertStrategy;
    Mutex _mutex;
    std::unique_ptr<Exchange> _pExchange;
    std::function<void()> _beforeExchange = [] {};
};
