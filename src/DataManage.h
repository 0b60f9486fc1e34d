#pragma once

#include "ComPortAdapter.h"
#include "DeviceValue.h"
#include "Exchange.h"
#include "Mutex.h"
#include "SnmpObjConvertStrategy.h"

#include <cstdint>
#include <memory>
#include <span>

class SnmpDataBase;

/// Reads and writes single device objects, raw (`getObjValue`, `setObjValue`) and as SNMP sees them
/// (`select`, `setSnmpValue`). One exchange is under way at a time, whoever calls; waits are
/// unbounded until `limitWaits`. The typed operations throw std::bad_alloc when there is no memory
/// for the mapping's record; nothing else throws. Failures print a line on standard output. The raw
/// operations return 0 or 255, the typed ones 0, 255 or -1.
class DataManage
{
public:
    /// The one instance, made and opened by the first call, which must come before any concurrent
    /// use. It lives as long as the process.
    static DataManage *getInstance();

    virtual ~DataManage();
    DataManage(const DataManage &) = delete;
    DataManage &operator=(const DataManage &) = delete;

    /// From now on no wait for an answer exceeds the policy. Before, start-up waits for the device
    /// as long as it takes.
    void limitWaits();

    /// Between one request of a manager and the next: until the next exchange nothing interrupts
    /// the process.
    void disarmTimer();

    /// Reads an object into `len`, `attr` and `data` of `out`; its `oid` is left alone. 0, or 255
    /// with `out` as it was, except: a wait that expired clears `len` and `attr`, and a value whose
    /// length does not fit its kind leaves that length and the attribute word there.
    std::uint32_t getObjValue(std::uint16_t objId, DeviceValue &out);

    /// Writes `len` - 3 bytes of `data` to an object and takes the device's answer off the queue.
    /// 0 once the exchange is done, whatever the answer was.
    std::uint32_t setObjValue(std::uint16_t objId, const DeviceValue &value);

    /// Reads the object named by the record's `oid` and converts it for SNMP: an integer becomes a
    /// 32-bit word with `len` 7 unless its conversion makes it text. A failed read goes unnoticed
    /// and converts what the record held. 0, or -1 when the object is not in the mapping or the
    /// record holds an integer of no known length.
    std::int32_t select(DeviceValue &value, SnmpDataBase &database);

    /// Writes the manager's value in `data` (a 32-bit integer, or text) to the object named by
    /// the record's `oid`, in the device's form and width; `attr` tells the conversion how to read
    /// an integer. 0 or 255 from the write, -1 when the value is refused or the object is
    /// unreadable, not writable or not in the mapping. `len` and `data` are overwritten.
    std::int32_t setSnmpValue(DeviceValue &value, SnmpDataBase &database);

    /// Prints a byte block for debugging: "%x " for each byte, then a newline.
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
};
