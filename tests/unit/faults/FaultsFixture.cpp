#include "faults/FaultsFixture.h"

#include "SnmpDataBase.h"
#include "Sqlite3.h"
#include "TableHandlerOne.h"
#include "TableHandlerTwo.h"
#include "agent/Registry.h"
#include "support/SystemCalls.h"

#include <array>
#include <cstdint>
#include <memory>
#include <ostream>
#include <vector>

#include <pthread.h>
#include <sqlite3.h>
#include <unistd.h>

namespace
{
constexpr unsigned longestTestSeconds = 120;
constexpr std::uint16_t integerObject = 0x101;
constexpr const char *baseText = ".1.3.6.1.4.1.99999.1";

Name base()
{
    return {1, 3, 6, 1, 4, 1, 99999, 1};
}

Name scalarName(oid scalar)
{
    return below(base(), {1, 2, scalar, 0});
}

Name cellName()
{
    return below(base(), {3, 1, 1, 2, 1, 0});
}

std::string statusText(int status)
{
    return status == SNMP_ERR_NOERROR ? "done" : "error " + std::to_string(status);
}

/// What a manager sees of the first varbind.
std::string answerText(const ManagerRequest &request)
{
    if (request.status() != SNMP_ERR_NOERROR) {
        return statusText(request.status());
    }
    switch (request.varbind(0).type) {
    case ASN_INTEGER:
        return std::to_string(request.integer(0));
    case ASN_OCTET_STR:
        return request.text(0);
    default:
        return "nothing";
    }
}

/// The rows of a class's table.
template <class Handler>
class RowsOf : public Handler
{
public:
    static std::string count()
    {
        int rows = 0;
        for (const IndexNode *row = Handler::s_rowHead; row != nullptr; row = row->next) {
            ++rows;
        }
        return std::to_string(rows);
    }

    static void forget() { Handler::s_rowHead = nullptr; }
};

std::string countBelow(const Name &name)
{
    return std::to_string(agentLibrary::registrationsBelow(name));
}

extern "C" void *readOnce(void * /*argument*/)
{
    DeviceValue value;
    DataManage::getInstance()->getObjValue(integerObject, value);
    return nullptr;
}

DeviceValue ofInteger(long value)
{
    DeviceValue result{.len = 7, .oid = integerObject};
    result.setInt32(static_cast<std::uint32_t>(value));
    return result;
}
} // namespace

/// The process's link, with waits that the test chooses.
class FaultsFixture::Link : public DataManage
{
public:
    static void forget()
    {
        if (s_instance != nullptr) {
            // An answer still on its way must not reach the next link, which would not expect it.
            DeviceValue value;
            s_instance->getObjValue(integerObject, value);
        }
        delete s_instance;
        s_instance = nullptr;
    }

    static Link *replace()
    {
        forget();
        auto *const link = new Link;
        s_instance = link;
        return link;
    }

    void waits(std::chrono::milliseconds answerWait)
    {
        _policy.answerWait = answerWait;
        _policy.silentAnswerWait = answerWait;
    }
};

void PrintTo(const Held &held, std::ostream *out)
{
    *out << held.allocations << " allocations, " << held.timers << " timers, " << held.sqliteBytes
         << " bytes of SQLite";
}

FaultsFixture::FaultsFixture()
{
    alarm(longestTestSeconds);
    const std::string description(40, 'd');
    _mapping.addScalar("'101', 0, 0, '2', '3', 1, 2, 1, 0, '0', '0', '" + description + "', '0'");
    _mapping.addScalar("102", "4", "3", 1, 2, 2);
    _mapping.addScalar("103", "4", "1", 1, 2, 3, "3");
    _mapping.addCell("'502', 0, 2, 2, 3, '.3.1', '0', '0', '" + description + "', 1, 0, '0', '0'");
    _mapping.addCell("602", ".3.2", 2, 1, ASN_INTEGER, 3);
    deviceGivesBaseOid(baseText);
    _pDevice->holdsInteger(0x0A41, 0, 1);
    _pDevice->holdsText(0x102, "two", 16);
    for (const std::uint16_t id : std::array<std::uint16_t, 4>{0x101, 0x103, 0x502, 0x602}) {
        _pDevice->holdsInteger(id, id, 4);
        _pDevice->makesWritable(id);
    }
    systemCalls::stopClockAt(1'700'000'000);
}

FaultsFixture::~FaultsFixture()
{
    stops();
    alarm(0);
}

void FaultsFixture::stops()
{
    Registry::reset();
    Link::forget();
    _pLink = nullptr;
    agentLibrary::start();
    RowsOf<TableHandlerOne>::forget();
    RowsOf<TableHandlerTwo>::forget();
}

void FaultsFixture::serves()
{
    if (_pLink != nullptr) {
        return;
    }
    stops();
    _pLink = Link::replace();
    SnmpAgentX::getInstance(_mapping.path());
    SnmpAgentX::registerScalarObjects();
    SnmpAgentX::getInstance()->registerTableObjects();
    _pLink->limitWaits();
    waitsLong();
}

void FaultsFixture::waitsLong()
{
    waits(std::chrono::seconds(10));
}

void FaultsFixture::waitsBriefly()
{
    waits(std::chrono::milliseconds(20));
}

void FaultsFixture::waits(std::chrono::milliseconds answerWait)
{
    if (_pLink != nullptr) {
        _pLink->waits(answerWait);
        // As between two requests.
        _pLink->disarmTimer();
    }
}

Held FaultsFixture::held()
{
    return {.allocations = systemCalls::liveAllocations(),
            .timers = systemCalls::liveTimers(),
            .sqliteBytes = sqlite3_memory_used()};
}

Attempt FaultsFixture::startsUp()
{
    stops();
    return {[this] {
                SnmpAgentX::getInstance(_mapping.path());
                SnmpAgentX::registerScalarObjects();
                SnmpAgentX::getInstance()->registerTableObjects();
            },
            [] {
                return "scalars " + countBelow(below(base(), {1})) + '+' +
                       countBelow(below(defaultBase(), {1})) + ", tables " +
                       countBelow(below(base(), {3})) + '+' +
                       countBelow(below(defaultBase(), {3})) + ", rows " +
                       RowsOf<TableHandlerOne>::count() + '+' + RowsOf<TableHandlerTwo>::count();
            }};
}

Attempt FaultsFixture::opensTheLink()
{
    stops();
    return {[] { DataManage::getInstance(); },
            [] {
                DeviceValue value;
                DataManage::getInstance()->getObjValue(integerObject, value);
                return std::to_string(value.int32());
            }};
}

Attempt FaultsFixture::loadsTheMapping()
{
    auto pMapping = std::make_shared<std::unique_ptr<SnmpDataBase>>();
    return {[this, pMapping] { *pMapping = std::make_unique<SnmpDataBase>(_mapping.path()); },
            [pMapping] {
                std::vector<SnmpObjOid> scalars;
                std::vector<SnmpTableInfo> tables;
                (*pMapping)->getSnmpObjOidList(scalars);
                (*pMapping)->getSnmpTableList(tables);
                return "scalars " + std::to_string(scalars.size()) + ", tables " +
                       std::to_string(tables.size());
            }};
}

Attempt FaultsFixture::usesAStore()
{
    auto pStatuses = std::make_shared<std::array<int, 4>>();
    return {[this, pStatuses] {
                Sqlite3 store(_mapping.path());
                char **result = nullptr;
                int rows = 0;
                int columns = 0;
                auto &[opened, executed, queried, closed] = *pStatuses;
                opened = store.open();
                executed = store.exec("PRAGMA user_version = 1");
                queried = store.query("SELECT 1", &result, &rows, &columns);
                store.freeTable(result);
                closed = store.close();
            },
            [pStatuses] {
                const auto &[opened, executed, queried, closed] = *pStatuses;
                return std::to_string(opened) + ' ' + std::to_string(executed) + ' ' +
                       std::to_string(queried) + ' ' + std::to_string(closed);
            }};
}

Attempt FaultsFixture::startsTheMaster()
{
    systemCalls::reset();
    systemCalls::onlyDirectoriesAre({"/home/snmp/share/snmp", "/etc/snmp"});
    return {[] { SnmpAgentX::startSnmpd("/etc/snmp/snmpd.conf", "161", "tcp:705"); },
            [] { return std::to_string(systemCalls::commands().size()) + " commands"; }};
}

Attempt FaultsFixture::readsAnObject()
{
    serves();
    auto pValue = std::make_shared<DeviceValue>();
    return {[pValue] { DataManage::getInstance()->getObjValue(integerObject, *pValue); },
            [pValue] { return std::to_string(pValue->int32()); }};
}

Attempt FaultsFixture::readsAnObjectOnAnotherThread()
{
    serves();
    // Not a std::thread, which allocates on one thread and frees on the other.
    pthread_t other{};
    EXPECT_EQ(pthread_create(&other, nullptr, readOnce, nullptr), 0);
    pthread_join(other, nullptr);
    return readsAnObject();
}

Attempt FaultsFixture::writesAnObject()
{
    serves();
    const long value = ++_value;
    auto pStatus = std::make_shared<std::uint32_t>();
    return {[value, pStatus] {
                *pStatus = DataManage::getInstance()->setObjValue(integerObject, ofInteger(value));
            },
            [this, value, pStatus] {
                return setOutcome(std::to_string(*pStatus), scalarName(1), value);
            }};
}

Attempt FaultsFixture::selectsAnObject()
{
    serves();
    auto pValue = std::make_shared<DeviceValue>();
    pValue->oid = integerObject;
    auto pStatus = std::make_shared<std::int32_t>();
    return {[pValue, pStatus] {
                *pStatus = DataManage::getInstance()->select(*pValue, *Registry::database);
            },
            [pValue, pStatus] {
                return *pStatus == 0 ? std::to_string(pValue->int32()) : std::to_string(*pStatus);
            }};
}

Attempt FaultsFixture::setsAnObject()
{
    serves();
    const long value = ++_value;
    auto pValue = std::make_shared<DeviceValue>(ofInteger(value));
    auto pStatus = std::make_shared<std::int32_t>();
    return {[pValue, pStatus] {
                *pStatus = DataManage::getInstance()->setSnmpValue(*pValue, *Registry::database);
            },
            [this, value, pStatus] {
                return setOutcome(std::to_string(*pStatus), scalarName(1), value);
            }};
}

Attempt FaultsFixture::getsAScalar()
{
    return asks(scalarName(1), MODE_GET);
}

Attempt FaultsFixture::getsATimeStamp()
{
    return asks(scalarName(3), MODE_GET);
}

Attempt FaultsFixture::getsTheNextScalar()
{
    return asks(below(base(), {1, 2, 1}), MODE_GETNEXT);
}

Attempt FaultsFixture::setsAScalar()
{
    return sets(scalarName(1));
}

Attempt FaultsFixture::getsACell()
{
    return asks(cellName(), MODE_GET);
}

Attempt FaultsFixture::getsTheNextCell()
{
    return asks(below(base(), {3, 1, 1, 2}), MODE_GETNEXT);
}

Attempt FaultsFixture::setsACell()
{
    return sets(cellName());
}

Attempt FaultsFixture::asks(const Name &name, int mode)
{
    serves();
    auto pRequest = std::make_shared<ManagerRequest>();
    pRequest->asksFor(name);
    return {[pRequest, mode] { pRequest->run(mode); },
            [pRequest] { return answerText(*pRequest); }};
}

Attempt FaultsFixture::sets(const Name &name)
{
    serves();
    const long value = ++_value;
    auto pRequest = std::make_shared<ManagerRequest>();
    pRequest->setsInteger(name, value);
    return {[pRequest] { pRequest->runSet(); },
            [this, pRequest, name, value] {
                return setOutcome(statusText(pRequest->status()), name, value);
            }};
}

std::string FaultsFixture::setOutcome(const std::string &status, const Name &name, long value)
{
    waitsLong();
    ManagerRequest get;
    get.asksFor(name);
    get.run(MODE_GET);
    return status + (get.integer(0) == value ? ", written" : ", not written");
}
