// Arbitrary: requests through the agent library's table iterator to both tables, with any name
// below them, several varbinds, any type and length of value; calls of the request handler with any
// mode, column and row, with or without contexts; rows that are added and removed; what the device
// holds and does.
// Must hold: an answer has no more bytes than a record and none that the library could not encode;
// rows come in order and complete; only the action phase writes; statuses are those of SNMP; and
// the next good request is answered correctly.

#include "support/HandlerWorld.h"
#include "support/Invariant.h"
#include "support/LibraryRequest.h"

#include <array>
#include <iterator>
#include <list>

#include <fuzzer/FuzzedDataProvider.h>

namespace
{
constexpr std::array<int, 9> allModes{MODE_GET,          MODE_GETNEXT,      MODE_GETBULK,
                                      MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION,
                                      MODE_SET_COMMIT,   MODE_SET_FREE,     MODE_SET_UNDO};

Name cellName(FuzzedDataProvider &input, oid table)
{
    Name name = below(handlerWorld::base(), {3, table});
    const auto arcs = input.ConsumeIntegralInRange<std::size_t>(0, 6);
    const std::array usual{oid{1}, input.ConsumeIntegralInRange<oid>(0, handlerWorld::lastColumn()),
                           input.ConsumeIntegralInRange<oid>(0, handlerWorld::rows + 1), oid{0}};
    for (std::size_t arc = 0; arc < arcs; ++arc) {
        const bool isUsual = arc < usual.size() && !input.ConsumeBool();
        name.push_back(isUsual ? usual.at(arc) : input.ConsumeIntegral<std::uint32_t>());
    }
    return name;
}

void runSet(LibraryRequest &request, FuzzedDataProvider &input)
{
    int status = SNMP_ERR_NOERROR;
    for (const int mode : {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION}) {
        status = status == SNMP_ERR_NOERROR ? request.run(mode) : status;
    }
    request.run(status != SNMP_ERR_NOERROR ? MODE_SET_FREE
                : input.ConsumeBool()      ? MODE_SET_COMMIT
                                           : MODE_SET_UNDO);
}

void askTheLibrary(FuzzedDataProvider &input)
{
    const oid table = input.ConsumeIntegralInRange<oid>(1, 2);
    netsnmp_handler_registration *const registration =
        agentLibrary::registrationAt(below(handlerWorld::base(), {3, table}));
    mustHold(registration != nullptr, "every table is registered");
    LibraryRequest request(*registration);
    const int mode = input.PickValueInArray<int>({MODE_GET, MODE_GETNEXT, MODE_SET_RESERVE1});
    for (unsigned varbinds = input.ConsumeIntegralInRange(1U, 3U); varbinds > 0; --varbinds) {
        const Name name = cellName(input, table);
        // Reads reach a subagent as names without values.
        if (mode == MODE_SET_RESERVE1) {
            request.add(name, input.ConsumeIntegral<std::uint8_t>(), arbitraryBytes(input));
        } else {
            request.add(name, ASN_NULL, "");
        }
    }
    if (mode == MODE_SET_RESERVE1) {
        runSet(request, input);
    } else {
        request.run(mode);
    }
}

/// Requests as the table iterator passes them, but with any part missing.
class CellRequests
{
public:
    CellRequests() = default;

    ~CellRequests()
    {
        for (Cell &cell : _cells) {
            netsnmp_free_request_data_sets(&cell.request);
            snmp_free_var(cell.request.requestvb);
        }
    }

    CellRequests(const CellRequests &) = delete;
    CellRequests &operator=(const CellRequests &) = delete;

    void add(FuzzedDataProvider &input)
    {
        Cell &cell = _cells.emplace_back();
        const std::string value = arbitraryBytes(input);
        const oid name = 1;
        snmp_varlist_add_variable(&cell.request.requestvb, &name, 1, ASN_OCTET_STR, value.data(),
                                  value.size());
        cell.table.colnum = input.ConsumeBool()
                                ? input.ConsumeIntegralInRange(1U, handlerWorld::lastColumn())
                                : input.ConsumeIntegral<unsigned>();
        cell.row.index = input.ConsumeBool() ? 1 : input.ConsumeIntegral<std::int32_t>();
        if (!input.ConsumeBool()) {
            hold(cell, TABLE_ITERATOR_NAME, &cell.row);
        }
        if (!input.ConsumeBool()) {
            hold(cell, TABLE_HANDLER_NAME, &cell.table);
        }
        if (_cells.size() > 1) {
            std::prev(_cells.end(), 2)->request.next = &cell.request;
        }
    }

    netsnmp_request_info *list() { return _cells.empty() ? nullptr : &_cells.front().request; }

    void answersMustBeSound() const
    {
        for (const Cell &cell : _cells) {
            const netsnmp_variable_list &answer = *cell.request.requestvb;
            mustHold(answer.val_len <= 80, "a text has at most the bytes of its record");
            mustBeEncodable(answer);
        }
    }

private:
    struct Cell {
        netsnmp_request_info request{};
        netsnmp_table_request_info table{};
        IndexNode row{};
    };

    static void hold(Cell &cell, const char *name, void *data)
    {
        netsnmp_request_add_list_data(&cell.request, netsnmp_create_data_list(name, data, nullptr));
    }

    std::list<Cell> _cells;
};

template <class Table>
void callDirectly(FuzzedDataProvider &input)
{
    CellRequests requests;
    for (unsigned cells = input.ConsumeIntegralInRange(0U, 3U); cells > 0; --cells) {
        requests.add(input);
    }
    netsnmp_agent_request_info info{};
    info.mode =
        input.ConsumeBool() ? input.PickValueInArray(allModes) : input.ConsumeIntegral<int>();
    simulatedLink::forgetTraffic();
    const int status = Table::handle_table_request(nullptr, nullptr, &info, requests.list());
    mustHold(status == SNMP_ERR_NOERROR ||
                 (status == SNMP_ERR_GENERR && requests.list() == nullptr) ||
                 (status == SNMP_ERR_READONLY && info.mode == MODE_SET_RESERVE1) ||
                 (status == SNMP_ERR_BADVALUE && info.mode == MODE_SET_ACTION),
             "a status belongs to its mode");
    if (info.mode == MODE_GET) {
        requests.answersMustBeSound();
    }
    for (const Frame &frame : simulatedLink::requests()) {
        mustHold(frame[0] == 2 || info.mode == MODE_SET_ACTION, "only the action writes");
    }
}

template <class Table>
void walkDirectly(FuzzedDataProvider &input)
{
    void *loopContext = nullptr;
    void *dataContext = nullptr;
    netsnmp_variable_list index{};
    index.type = ASN_INTEGER;
    const auto *row = Table::get_first_data_point(&loopContext, &dataContext, &index, nullptr);
    long previous = 0;
    unsigned left = input.ConsumeIntegralInRange(0U, 8U);
    for (; row != nullptr && left > 0; --left) {
        mustHold(*row->val.integer == previous + 1, "rows come in order");
        previous = *row->val.integer;
        Table::free_data_context(Table::make_data_context(loopContext, nullptr), nullptr);
        row = Table::get_next_data_point(&loopContext, &dataContext, &index, nullptr);
    }
    mustHold(row != nullptr || previous == handlerWorld::rows || left > 8, "a walk has every row");
    mustHold(dataContext == nullptr, "rows supply no data context");
    Table::free_loop_context_at_end(loopContext, nullptr);
    snmp_reset_var_buffers(&index);
}

void nextGoodRequestIsRight(oid table)
{
    handlerWorld::renew();
    simulatedLink::everyObjectHolds(handlerWorld::writable, {4, 3, 2, 1});
    netsnmp_handler_registration &registration =
        *agentLibrary::registrationAt(below(handlerWorld::base(), {3, table}));
    const Name name = handlerWorld::plainCell(table);
    LibraryRequest get(registration);
    get.add(name, ASN_NULL, "");
    mustHold(get.run(MODE_GET) == SNMP_ERR_NOERROR, "a good request succeeds");
    mustHold(get.varbind(0).type == ASN_INTEGER && *get.varbind(0).val.integer == 0x01020304,
             "a good request gives the value");
}

template <class Table>
void step(FuzzedDataProvider &input)
{
    switch (input.ConsumeIntegralInRange(0, 2)) {
    case 1:
        callDirectly<Table>(input);
        break;
    case 2:
        walkDirectly<Table>(input);
        break;
    default:
        askTheLibrary(input);
        break;
    }
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    handlerWorld::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size)
{
    FuzzedDataProvider input(bytes, size);
    handlerWorld::renew();
    handlerWorld::misbehave(input);
    const bool isFirst = input.ConsumeBool();
    for (unsigned steps = input.ConsumeIntegralInRange(1U, 3U); steps > 0; --steps) {
        if (isFirst) {
            step<OpenedTable<TableHandlerOne>>(input);
        } else {
            step<OpenedTable<TableHandlerTwo>>(input);
        }
    }
    nextGoodRequestIsRight(isFirst ? 1 : 2);
    return 0;
}
