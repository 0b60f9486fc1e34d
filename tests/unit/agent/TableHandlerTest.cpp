#include "TableHandlerOne.h"
#include "TableHandlerTwo.h"

#include "agent/AgentFixture.h"
#include "link/WaitingCall.h"
#include "support/CapturedOutput.h"
#include "support/SystemCalls.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <iterator>
#include <list>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr int integerType = ASN_INTEGER;
constexpr int textType = ASN_OCTET_STR;
constexpr int readOnly = 1;
constexpr int readWrite = 3;
constexpr unsigned rowColumn = 1;
constexpr const char *node = ".3.1";

/// A handler class that exposes its class-wide state.
template <class Derived>
class Opened : public Derived
{
public:
    using Derived::Derived;
    using Derived::indexes;
    using Derived::s_database;
    using Derived::s_mutex;
    using Derived::s_rowHead;
    using Derived::s_tableFlag;
    using Derived::s_tableNode;
    using Derived::s_value;
};

/// The requests of one call of a handler, as the table iterator passes them: the column and row of
/// each. A request without a row has no iterator context.
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

    void add(std::optional<unsigned> column, std::optional<int> row)
    {
        Cell &cell = _cells.emplace_back();
        const oid name = 1;
        snmp_varlist_add_variable(&cell.request.requestvb, &name, 1, ASN_NULL, nullptr, 0);
        if (row) {
            cell.row.index = *row;
            netsnmp_request_add_list_data(
                &cell.request, netsnmp_create_data_list(TABLE_ITERATOR_NAME, &cell.row, nullptr));
        }
        if (column) {
            cell.table.colnum = *column;
            netsnmp_request_add_list_data(
                &cell.request, netsnmp_create_data_list(TABLE_HANDLER_NAME, &cell.table, nullptr));
        }
        if (_cells.size() > 1) {
            std::prev(_cells.end(), 2)->request.next = &cell.request;
        }
    }

    void carries(std::size_t position, std::uint8_t type, const std::string &bytes)
    {
        snmp_set_var_typed_value(&at(position), type, bytes.data(), bytes.size());
    }

    void carriesInteger(std::size_t position, long value)
    {
        snmp_set_var_typed_value(&at(position), ASN_INTEGER, &value, sizeof value);
    }

    netsnmp_request_info *list() { return &_cells.front().request; }

    netsnmp_variable_list &at(std::size_t position)
    {
        return *std::next(_cells.begin(), static_cast<std::ptrdiff_t>(position))->request.requestvb;
    }

    std::string text(std::size_t position)
    {
        const netsnmp_variable_list &variable = at(position);
        return {reinterpret_cast<const char *>(variable.val.string), variable.val_len};
    }

private:
    struct Cell {
        netsnmp_request_info request{};
        netsnmp_table_request_info table{};
        IndexNode row{};
    };

    std::list<Cell> _cells;
};

template <class Derived>
class TableHandlerTest : public AgentFixture
{
protected:
    using Handler = Opened<Derived>;

    TableHandlerTest()
    {
        // Four columns: a read-write and a read-only integer, a read-write and a read-only text.
        addColumn(2, 0x502, integerType, readWrite);
        addColumn(3, 0x503, integerType, readOnly);
        addColumn(4, 0x504, textType, readWrite);
        addColumn(5, 0x505, textType, readOnly);
        _pDevice->holdsInteger(0x502, 22, 4);
        _pDevice->makesWritable(0x502);
        _pDevice->holdsInteger(0x503, 33, 4);
        _pDevice->holdsText(0x504, "four", 64);
        _pDevice->makesWritable(0x504);
        _pDevice->holdsText(0x505, "five", 16);
        loadMapping();
    }

    void addColumn(int column, int objId, int type, int access)
    {
        std::array<char, 8> id{};
        std::snprintf(id.data(), id.size(), "%04x", static_cast<unsigned>(objId));
        _mapping.addCell(id.data(), node, column, 1, type, access);
    }

    /// Loads the current contents of the mapping file and creates a new handler.
    void loadMapping()
    {
        _pHandler.reset();
        _pDataBase = std::make_unique<SnmpDataBase>(_mapping.path());
        _pHandler = std::make_unique<Handler>(*_pDataBase);
        Handler::s_tableNode = node;
        Handler::s_value = DeviceValue{};
    }

    void registers(const std::string &tableNode = node, std::uint8_t flag = 0)
    {
        const CapturedOutput output;
        _pHandler->init_table(flag, tableNode);
    }

    void hasRows(std::initializer_list<int> rows)
    {
        for (const int row : rows) {
            _pHandler->add_index(row);
        }
    }

    static netsnmp_handler_registration *registration(const Name &suffix = {3, 1})
    {
        return agentLibrary::registrationAt(below(defaultBase(), suffix));
    }

    /// The rows that the callbacks return in one walk, checking the data context that they leave.
    static std::vector<long> walk()
    {
        std::vector<long> rows;
        void *loopContext = nullptr;
        void *dataContext = nullptr;
        netsnmp_variable_list index{};
        index.type = ASN_INTEGER;
        const auto *found =
            Handler::get_first_data_point(&loopContext, &dataContext, &index, nullptr);
        while (found != nullptr) {
            EXPECT_EQ(found, &index);
            EXPECT_EQ(dataContext, nullptr);
            rows.push_back(*index.val.integer);
            found = Handler::get_next_data_point(&loopContext, &dataContext, &index, nullptr);
        }
        Handler::free_loop_context_at_end(loopContext, nullptr);
        return rows;
    }

    /// Takes the lock and never releases it.
    void isLockedForGood() { ::new (_keptGuard.data()) Mutex::Guard(*Handler::s_mutex); }

    std::vector<std::string> mutexCallsOfDestruction()
    {
        const systemCalls::MutexCalls calls;
        _pHandler.reset();
        return calls.names();
    }

    /// Makes the call while the lock is held elsewhere: it must wait and do nothing until then.
    static void mustWaitForTheLock(const std::function<void()> &call,
                                   const std::function<bool()> &isDone)
    {
        std::optional<Mutex::Guard> guard(std::in_place, *Handler::s_mutex);
        WaitingCall waiting([&call] {
            call();
            return 0;
        });
        EXPECT_TRUE(waiting.comesToWait());
        EXPECT_FALSE(isDone());
        guard.reset();
        EXPECT_EQ(waiting.result(), 0);
        EXPECT_TRUE(isDone());
    }

    int handle(int mode)
    {
        netsnmp_agent_request_info info{};
        info.mode = mode;
        return Handler::handle_table_request(nullptr, nullptr, &info, _requests.list());
    }

    int get(unsigned column, int row = 1)
    {
        _requests.add(column, row);
        return handle(MODE_GET);
    }

    [[nodiscard]] bool isUntouched(std::size_t position)
    {
        return _requests.at(position).type == ASN_NULL;
    }

    long integer(std::size_t position) { return *_requests.at(position).val.integer; }

    static Name cellName(oid column, oid row)
    {
        return below(defaultBase(), {3, 1, 1, column, row, 0});
    }

    std::unique_ptr<SnmpDataBase> _pDataBase;
    std::unique_ptr<Handler> _pHandler;
    CellRequests _requests;
    alignas(Mutex::Guard) std::array<std::byte, sizeof(Mutex::Guard)> _keptGuard{};
};

using BothHandlers = testing::Types<TableHandlerOne, TableHandlerTwo>;
TYPED_TEST_SUITE(TableHandlerTest, BothHandlers);

TYPED_TEST(TableHandlerTest, ConstructionTakesTheDatabaseAndClearsTheRows)
{
    this->hasRows({1});
    this->loadMapping();
    EXPECT_EQ(TestFixture::Handler::s_rowHead, nullptr);
    EXPECT_EQ(TestFixture::Handler::s_database, this->_pDataBase.get());
    EXPECT_THAT(this->walk(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, DestructionUnlocksAndThenDestroysTheMutex)
{
    EXPECT_THAT(this->mutexCallsOfDestruction(), ElementsAre("unlock", "destroy"));
}

TYPED_TEST(TableHandlerTest, DestructionUnlocksAMutexThatIsHeldToo)
{
    this->isLockedForGood();
    EXPECT_THAT(this->mutexCallsOfDestruction(), ElementsAre("unlock", "destroy"));
}

TYPED_TEST(TableHandlerTest, ARowIsAddedUnderTheLock)
{
    this->mustWaitForTheLock([this] { this->hasRows({1}); },
                             [this] { return this->_pHandler->indexes != nullptr; });
}

TYPED_TEST(TableHandlerTest, ARowIsRemovedUnderTheLock)
{
    this->hasRows({1});
    this->mustWaitForTheLock([this] { this->_pHandler->remove_index(1); },
                             [this] { return this->_pHandler->indexes == nullptr; });
}

TYPED_TEST(TableHandlerTest, TheFirstRowIsLookedUpUnderTheLock)
{
    this->hasRows({1});
    std::vector<long> rows;
    this->mustWaitForTheLock([&] { rows = this->walk(); }, [&] { return !rows.empty(); });
}

TYPED_TEST(TableHandlerTest, EveryChangeOfTheRowsIsPublished)
{
    this->hasRows({2});
    EXPECT_EQ(TestFixture::Handler::s_rowHead, this->_pHandler->indexes);
    this->hasRows({1});
    EXPECT_EQ(TestFixture::Handler::s_rowHead, this->_pHandler->indexes);
    this->_pHandler->remove_index(1);
    EXPECT_EQ(TestFixture::Handler::s_rowHead, this->_pHandler->indexes);
    EXPECT_THAT(this->walk(), ElementsAre(2));
}

TYPED_TEST(TableHandlerTest, ATableWithoutRowsHasNoFirstRow)
{
    EXPECT_THAT(this->walk(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, RowsComeOutInOrderAndOnce)
{
    this->hasRows({3, 1, 4, 2, 2});
    EXPECT_THAT(this->walk(), ElementsAre(1, 2, 3, 4));
}

TYPED_TEST(TableHandlerTest, TheLoopContextIsACopyOfTheRow)
{
    this->hasRows({1, 2});
    void *loopContext = nullptr;
    void *dataContext = nullptr;
    netsnmp_variable_list index{};
    index.type = ASN_INTEGER;
    this->_pHandler->get_first_data_point(&loopContext, &dataContext, &index, nullptr);
    const auto *const copy = static_cast<const IndexNode *>(loopContext);
    EXPECT_NE(copy, TestFixture::Handler::s_rowHead);
    EXPECT_EQ(copy->index, 1);
    EXPECT_EQ(copy->next, TestFixture::Handler::s_rowHead->next);
    this->_pHandler->free_loop_context_at_end(loopContext, nullptr);
}

TYPED_TEST(TableHandlerTest, ThereIsNoFirstRowWithoutMemoryForItsContext)
{
    this->hasRows({1});
    systemCalls::fail("calloc", ENOMEM);
    EXPECT_THAT(this->walk(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, ThereIsNoNextRowWithoutALoopContext)
{
    void *none = nullptr;
    netsnmp_variable_list index{};
    EXPECT_EQ(this->_pHandler->get_next_data_point(nullptr, nullptr, &index, nullptr), nullptr);
    EXPECT_EQ(this->_pHandler->get_next_data_point(&none, nullptr, &index, nullptr), nullptr);
}

TYPED_TEST(TableHandlerTest, TheDataContextIsACopyOfTheLoopContext)
{
    IndexNode row{.index = 7, .next = nullptr};
    void *const copy = this->_pHandler->make_data_context(&row, nullptr);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy, &row);
    EXPECT_EQ(static_cast<const IndexNode *>(copy)->index, 7);
    this->_pHandler->free_data_context(copy, nullptr);
}

TYPED_TEST(TableHandlerTest, TheDataContextOfNoLoopContextIsZero)
{
    void *const copy = this->_pHandler->make_data_context(nullptr, nullptr);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(static_cast<const IndexNode *>(copy)->index, 0);
    EXPECT_EQ(static_cast<const IndexNode *>(copy)->next, nullptr);
    this->_pHandler->free_data_context(copy, nullptr);
}

TYPED_TEST(TableHandlerTest, ThereIsNoDataContextWithoutMemory)
{
    IndexNode row{.index = 7, .next = nullptr};
    systemCalls::fail("calloc", ENOMEM);
    EXPECT_EQ(this->_pHandler->make_data_context(&row, nullptr), nullptr);
}

TYPED_TEST(TableHandlerTest, RegistersTheTableBelowTheBaseOfTheDevice)
{
    this->deviceGivesBaseOid(".1.3.6.1.4.1.99999.1");
    CapturedOutput output;
    this->_pHandler->init_table(9, node);
    EXPECT_EQ(output.text(), "TableHandlerOne::init_table node=.1.3.6.1.4.1.99999.1.3.1\n");
    const auto *const registration =
        agentLibrary::registrationAt({1, 3, 6, 1, 4, 1, 99999, 1, 3, 1});
    ASSERT_NE(registration, nullptr);
    EXPECT_STREQ(registration->handlerName, TypeParam::registrationName);
    EXPECT_EQ(registration->modes & HANDLER_CAN_RWRITE, HANDLER_CAN_RWRITE);
    EXPECT_EQ(TestFixture::Handler::s_tableNode, node);
    EXPECT_EQ(TestFixture::Handler::s_tableFlag, 9);
}

TYPED_TEST(TableHandlerTest, RegistersBelowTheDefaultBaseWhereTheDeviceGivesNone)
{
    CapturedOutput output;
    this->_pHandler->init_table(0, node);
    EXPECT_EQ(output.text(),
              std::string("ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x80ba\n"
                          "TableHandlerOne::init_table node=") +
                  TestFixture::defaultBaseText + ".3.1\n");
    EXPECT_NE(this->registration(), nullptr);
}

TYPED_TEST(TableHandlerTest, DeclaresTwoIntegerIndexesAndOneColumnMoreThanTheMapping)
{
    this->registers();
    ASSERT_NE(this->registration(), nullptr);
    const auto *const table = netsnmp_find_table_registration_info(this->registration());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->min_column, 1U);
    EXPECT_EQ(table->max_column, 5U);
    ASSERT_EQ(table->number_indexes, 2U);
    EXPECT_EQ(table->indexes->type, ASN_INTEGER);
    EXPECT_EQ(table->indexes->next_variable->type, ASN_INTEGER);
}

TYPED_TEST(TableHandlerTest, TheIteratorHasNoFlagsAndNoDataOfItsOwn)
{
    this->registers();
    ASSERT_NE(this->registration(), nullptr);
    const auto *const iterator = static_cast<const netsnmp_iterator_info *>(
        netsnmp_find_handler_data_by_name(this->registration(), TABLE_ITERATOR_NAME));
    ASSERT_NE(iterator, nullptr);
    EXPECT_EQ(iterator->flags, 0);
    EXPECT_EQ(iterator->myvoid, nullptr);
}

TYPED_TEST(TableHandlerTest, ATableUnknownToTheMappingHasItsRowColumnOnly)
{
    this->registers(".9.9");
    ASSERT_NE(this->registration({9, 9}), nullptr);
    const auto *const table = netsnmp_find_table_registration_info(this->registration({9, 9}));
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->max_column, 1U);
}

TYPED_TEST(TableHandlerTest, ANodeThatLeavesNoRoomForItsCellsIsNotRegistered)
{
    std::string longest;
    for (std::size_t arc = TestFixture::defaultBase().size(); arc < MAX_OID_LEN - 4; ++arc) {
        longest += ".1";
    }
    this->registers(longest);
    EXPECT_EQ(agentLibrary::registrationsBelow(TestFixture::defaultBase()), 1U);

    agentLibrary::start();
    CapturedOutput output;
    this->_pHandler->init_table(0, longest + ".1");
    EXPECT_THAT(output.text(),
                testing::EndsWith(".1.1\nnetsnmp_handler_registration* my_handler is NULL\n"));
    EXPECT_EQ(agentLibrary::registrationsBelow(TestFixture::defaultBase()), 0U);
}

TYPED_TEST(TableHandlerTest, ANodeWithoutAnyNumberIsRefusedByTheLibrary)
{
    this->_pDevice->holdsText(0x80BA, "", 8);
    CapturedOutput output;
    this->_pHandler->init_table(0, "table");
    EXPECT_EQ(output.text(), "TableHandlerOne::init_table node=table\n");
}

TYPED_TEST(TableHandlerTest, IsNotRegisteredWithoutMemoryForEitherStructure)
{
    for (const int successes : {0, 1}) {
        systemCalls::fail("calloc", ENOMEM, successes);
        this->registers();
        EXPECT_EQ(this->registration(), nullptr);
        systemCalls::reset();
    }
}

TYPED_TEST(TableHandlerTest, ASecondRegistrationOfTheSameTableIsHarmless)
{
    this->registers();
    const auto *const first = this->registration();
    this->registers();
    EXPECT_EQ(this->registration(), first);
}

TYPED_TEST(TableHandlerTest, NoRequestsAreAGeneralError)
{
    netsnmp_agent_request_info info{};
    EXPECT_EQ(this->_pHandler->handle_table_request(nullptr, nullptr, &info, nullptr),
              SNMP_ERR_GENERR);
}

TYPED_TEST(TableHandlerTest, RequestsWithoutARowOrAColumnAreSkipped)
{
    this->_requests.add(2, std::nullopt);
    this->_requests.add(std::nullopt, 1);
    this->_requests.add(2, 1);
    EXPECT_EQ(this->handle(MODE_GET), SNMP_ERR_NOERROR);
    EXPECT_TRUE(this->isUntouched(0));
    EXPECT_TRUE(this->isUntouched(1));
    EXPECT_EQ(this->integer(2), 22);
}

TYPED_TEST(TableHandlerTest, TheFirstColumnIsTheRowWithoutAskingAnybody)
{
    CapturedOutput output;
    EXPECT_EQ(this->get(rowColumn, 7), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.at(0).type, ASN_INTEGER);
    EXPECT_EQ(this->integer(0), 7);
    EXPECT_EQ(output.text(), "");
    EXPECT_THAT(this->_pDevice->requests(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, ASetOfTheFirstColumnSucceedsAndWritesNothing)
{
    this->_requests.add(rowColumn, 7);
    this->_requests.carriesInteger(0, 99);
    for (const int mode : {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION}) {
        EXPECT_EQ(this->handle(mode), SNMP_ERR_NOERROR);
    }
    EXPECT_EQ(this->integer(0), 7);
    EXPECT_THAT(this->_pDevice->requests(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, AGetOfAnIntegerColumnAnswersFourBytesOfTheDevice)
{
    EXPECT_EQ(this->get(2), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.at(0).type, ASN_INTEGER);
    EXPECT_EQ(this->integer(0), 22);
    EXPECT_EQ(this->_pDevice->requests().at(0), (Frame{2, 7, 0x02, 0x05, 0, 0, 0, 0}));
}

TYPED_TEST(TableHandlerTest, AGetOfANegativeIntegerKeepsItsSign)
{
    this->_pDevice->holdsInteger(0x503, 0xFFFFFFFB, 4, ValueKind::signedInteger);
    EXPECT_EQ(this->get(3), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->integer(0), -5);
}

TYPED_TEST(TableHandlerTest, AGetOfATextColumnAnswersItWithoutTerminator)
{
    EXPECT_EQ(this->get(5), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.at(0).type, ASN_OCTET_STR);
    EXPECT_EQ(this->_requests.text(0), "five");
}

TYPED_TEST(TableHandlerTest, AGetOfAnEmptyTextAnswersAnEmptyText)
{
    this->_pDevice->holdsText(0x505, "", 16);
    EXPECT_EQ(this->get(5), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.at(0).type, ASN_OCTET_STR);
    EXPECT_EQ(this->_requests.at(0).val_len, 0U);
}

TYPED_TEST(TableHandlerTest, ATextThatFillsTheValueIsServedWhole)
{
    this->_pDevice->holdsText(0x505, std::string(64, 'x'));
    EXPECT_EQ(this->get(5), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.text(0), std::string(64, 'x'));
}

TYPED_TEST(TableHandlerTest, OtherTypesAreServedWithTheBytesOfTheText)
{
    this->addColumn(6, 0x506, ASN_IPADDRESS, readOnly);
    this->_pDevice->holdsText(0x506, "1234");
    this->loadMapping();
    EXPECT_EQ(this->get(6), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.at(0).type, ASN_IPADDRESS);
    EXPECT_EQ(this->_requests.text(0), "1234");
}

TYPED_TEST(TableHandlerTest, ANumberTypeWithATextTooLongForTheLibraryIsServedEmpty)
{
    this->addColumn(6, 0x506, ASN_GAUGE, readOnly);
    this->_pDevice->holdsText(0x506, std::string(59, '7'));
    this->loadMapping();
    EXPECT_EQ(this->get(6), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.at(0).type, ASN_GAUGE);
    EXPECT_EQ(this->integer(0), 0);
}

TYPED_TEST(TableHandlerTest, OnlyTheLowByteOfATypeIsServed)
{
    this->addColumn(6, 0x506, 0x104, readOnly);
    this->_pDevice->holdsText(0x506, "low");
    this->loadMapping();
    EXPECT_EQ(this->get(6), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.at(0).type, ASN_OCTET_STR);
    EXPECT_EQ(this->_requests.text(0), "low");
}

TYPED_TEST(TableHandlerTest, ACellOutsideTheMappingIsLoggedAndLeftUntouched)
{
    CapturedOutput output;
    EXPECT_EQ(this->get(9, 2), SNMP_ERR_NOERROR);
    EXPECT_EQ(output.text(), " getSnmpTableOid .3.10200000009\n "
                             "get_Column_Def(column,colunmInfo) is ERROR !!!!!!!!!!!!!!!!!!!\n");
    EXPECT_TRUE(this->isUntouched(0));
    EXPECT_THAT(this->_pDevice->requests(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, ARowOver255IsLookedUpByItsLowEightBits)
{
    EXPECT_EQ(this->get(2, 257), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->integer(0), 22);
}

TYPED_TEST(TableHandlerTest, AnUnreadableCellIsLoggedAndLeftUntouched)
{
    this->addColumn(6, 0x506, integerType, readOnly);
    this->loadMapping();
    CapturedOutput output;
    EXPECT_EQ(this->get(6), SNMP_ERR_NOERROR);
    EXPECT_EQ(output.text(), "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x0506\n"
                             " get_ data is ERROR !!!!!!!!!!!!!!!!!!!\n");
    EXPECT_TRUE(this->isUntouched(0));
}

TYPED_TEST(TableHandlerTest, AnErrorAnswerServesWhatTheClassReadLast)
{
    this->addColumn(6, 0x506, integerType, readOnly);
    this->loadMapping();
    this->get(2);
    EXPECT_EQ(this->get(6), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->integer(1), 22);
}

TYPED_TEST(TableHandlerTest, AnErrorAnswerServesTheLastNumberWithTheSignOfItsOwnConversion)
{
    this->_mapping.addCell("506", node, 6, 1, textType, readOnly, "4");
    this->_pDevice->holdsInteger(0x503, 0xFFFFFFFB, 4, ValueKind::signedInteger);
    this->loadMapping();
    this->get(3);
    EXPECT_EQ(this->get(6), SNMP_ERR_NOERROR);
    EXPECT_EQ(this->_requests.text(1), "4294967296.00");
}

TYPED_TEST(TableHandlerTest, ASkippedRequestDoesNotEndTheOthers)
{
    this->_requests.add(9, 1);
    this->_requests.add(3, 1);
    EXPECT_EQ(this->handle(MODE_GET), SNMP_ERR_NOERROR);
    EXPECT_TRUE(this->isUntouched(0));
    EXPECT_EQ(this->integer(1), 33);
}

TYPED_TEST(TableHandlerTest, ASetOfAReadOnlyColumnIsRefusedAtOnce)
{
    this->_requests.add(3, 1);
    this->_requests.add(2, 1);
    CapturedOutput output;
    EXPECT_EQ(this->handle(MODE_SET_RESERVE1), SNMP_ERR_READONLY);
    const std::string name = TypeParam::registrationName;
    EXPECT_EQ(output.text(), " ../src/" + name + ".cpp SNMP_ERR_READONLY\n");
    EXPECT_THAT(this->_pDevice->requests(), SizeIs(1));
}

TYPED_TEST(TableHandlerTest, EveryAccessButReadWriteIsReadOnly)
{
    this->addColumn(6, 0x502, integerType, 2);
    this->loadMapping();
    this->_requests.add(6, 1);
    EXPECT_EQ(this->handle(MODE_SET_RESERVE1), SNMP_ERR_READONLY);
}

TYPED_TEST(TableHandlerTest, ASetOfAReadWriteColumnIsReserved)
{
    this->_requests.add(2, 1);
    EXPECT_EQ(this->handle(MODE_SET_RESERVE1), SNMP_ERR_NOERROR);
    EXPECT_THAT(this->_pDevice->writes(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, ASetOfAnUnreadableReadOnlyCellPassesTheAccessTest)
{
    this->addColumn(6, 0x506, integerType, readOnly);
    this->loadMapping();
    this->_requests.add(6, 1);
    EXPECT_EQ(this->handle(MODE_SET_RESERVE1), SNMP_ERR_NOERROR);
}

TYPED_TEST(TableHandlerTest, EveryOtherPhaseOfASetReadsTheCellAndWritesNothing)
{
    for (const int mode : {MODE_SET_RESERVE2, MODE_SET_COMMIT, MODE_SET_FREE, MODE_SET_UNDO}) {
        this->_pDevice->forgetRequests();
        CellRequests requests;
        requests.add(2, 1);
        requests.carriesInteger(0, 99);
        netsnmp_agent_request_info info{};
        info.mode = mode;
        EXPECT_EQ(this->_pHandler->handle_table_request(nullptr, nullptr, &info, requests.list()),
                  SNMP_ERR_NOERROR);
        EXPECT_THAT(this->_pDevice->requests(), ElementsAre(Frame{2, 7, 0x02, 0x05, 0, 0, 0, 0}));
    }
}

TYPED_TEST(TableHandlerTest, TheActionOfASetWritesAnInteger)
{
    this->_requests.add(2, 1);
    this->_requests.carriesInteger(0, 0x01020304);
    EXPECT_EQ(this->handle(MODE_SET_ACTION), SNMP_ERR_NOERROR);
    EXPECT_THAT(this->_pDevice->writes(),
                ElementsAre(Frame{1, 7, 0x02, 0x05, 0x04, 0x03, 0x02, 0x01}));
}

TYPED_TEST(TableHandlerTest, WhatASetWritesDoesNotBecomeWhatTheClassReadLast)
{
    this->_requests.add(2, 1);
    this->_requests.carriesInteger(0, 0x01020304);
    EXPECT_EQ(this->handle(MODE_SET_ACTION), SNMP_ERR_NOERROR);
    EXPECT_EQ(TestFixture::Handler::s_value.int32(), 22U);
}

TYPED_TEST(TableHandlerTest, TheActionOfASetWritesAText)
{
    this->_requests.add(4, 1);
    this->_requests.carries(0, ASN_OCTET_STR, "new");
    EXPECT_EQ(this->handle(MODE_SET_ACTION), SNMP_ERR_NOERROR);
    Frame expected{1, 67, 0x04, 0x05, 'n', 'e', 'w'};
    expected.resize(68);
    EXPECT_THAT(this->_pDevice->writes(), ElementsAre(expected));
}

TYPED_TEST(TableHandlerTest, ALongerTextIsWrittenUpTo64BytesWithoutATerminator)
{
    this->_requests.add(4, 1);
    this->_requests.carries(0, ASN_OCTET_STR, std::string(64, 'a') + std::string(36, 'b'));
    EXPECT_EQ(this->handle(MODE_SET_ACTION), SNMP_ERR_NOERROR);
    Frame expected{1, 67, 0x04, 0x05};
    expected.resize(68, 'a');
    EXPECT_THAT(this->_pDevice->writes(), ElementsAre(expected));
}

TYPED_TEST(TableHandlerTest, AWrittenTextEndsAtItsNul)
{
    this->_requests.add(4, 1);
    this->_requests.carries(0, ASN_OCTET_STR, std::string("ab\0cd", 5));
    EXPECT_EQ(this->handle(MODE_SET_ACTION), SNMP_ERR_NOERROR);
    Frame expected{1, 67, 0x04, 0x05, 'a', 'b'};
    expected.resize(68);
    EXPECT_THAT(this->_pDevice->writes(), ElementsAre(expected));
}

TYPED_TEST(TableHandlerTest, TheTypeOfTheColumnDecidesHowTheNewValueIsRead)
{
    this->_requests.add(2, 1);
    this->_requests.carries(0, ASN_OCTET_STR, "A");
    EXPECT_EQ(this->handle(MODE_SET_ACTION), SNMP_ERR_NOERROR);
    EXPECT_THAT(this->_pDevice->writes(), ElementsAre(Frame{1, 7, 0x02, 0x05, 'A', 0, 0, 0}));
}

TYPED_TEST(TableHandlerTest, ASetOfTwoColumnsWritesTheFirstValueIntoBoth)
{
    this->addColumn(6, 0x506, integerType, readWrite);
    this->_pDevice->holdsInteger(0x506, 66, 4);
    this->_pDevice->makesWritable(0x506);
    this->loadMapping();
    this->_requests.add(2, 1);
    this->_requests.carriesInteger(0, 5);
    this->_requests.add(6, 1);
    this->_requests.carriesInteger(1, 6);
    EXPECT_EQ(this->handle(MODE_SET_ACTION), SNMP_ERR_NOERROR);
    EXPECT_THAT(this->_pDevice->writes(), ElementsAre(Frame{1, 7, 0x02, 0x05, 5, 0, 0, 0},
                                                      Frame{1, 7, 0x06, 0x05, 5, 0, 0, 0}));
}

TYPED_TEST(TableHandlerTest, AValueThatIsRefusedEndsTheSet)
{
    this->_pDevice->holdsText(0x504, "four", 4);
    this->_pDevice->makesWritable(0x504);
    this->_requests.add(4, 1);
    this->_requests.carries(0, ASN_OCTET_STR, "longer");
    this->_requests.add(2, 1);
    CapturedOutput output;
    EXPECT_EQ(this->handle(MODE_SET_ACTION), SNMP_ERR_BADVALUE);
    EXPECT_EQ(output.text(), "SNMP_ERR_BADVALUE\n");
    EXPECT_THAT(this->_pDevice->writes(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, RunningOutOfMemoryIsAGeneralError)
{
    this->_mapping.addCell("'506', 0, 6, 4, 3, '.3.1', '0', '0', '" + std::string(100, 't') +
                           "', 1, 0, '0', '0'");
    this->loadMapping();
    this->_requests.add(6, 1);
    int status = SNMP_ERR_NOERROR;
    {
        const systemCalls::FailingCalls noMemory("new", 0);
        status = this->handle(MODE_GET);
    }
    EXPECT_EQ(status, SNMP_ERR_GENERR);
}

TYPED_TEST(TableHandlerTest, TheLibraryServesTwoVarbindsOfOneTable)
{
    this->registers();
    this->hasRows({1});
    ManagerRequest request;
    request.asksFor(this->cellName(2, 1));
    request.asksFor(this->cellName(5, 1));
    request.run(MODE_GET);
    EXPECT_EQ(request.integer(0), 22);
    EXPECT_EQ(request.text(1), "five");
}

TYPED_TEST(TableHandlerTest, TheLibraryServesTheNextOfTwoVarbindsOfOneTable)
{
    this->registers();
    this->hasRows({1});
    ManagerRequest request;
    request.asksFor(below(TestFixture::defaultBase(), {3, 1}));
    request.asksFor(this->cellName(4, 1));
    request.run(MODE_GETNEXT);
    EXPECT_EQ(request.name(0), this->cellName(1, 1));
    EXPECT_EQ(request.integer(0), 1);
    EXPECT_EQ(request.name(1), this->cellName(5, 1));
    EXPECT_EQ(request.text(1), "five");
}

TYPED_TEST(TableHandlerTest, TheLibrarySetsTwoVarbindsOfOneTable)
{
    this->registers();
    this->hasRows({1});
    ManagerRequest request;
    request.setsInteger(this->cellName(1, 1), 9);
    request.setsInteger(this->cellName(2, 1), 9);
    EXPECT_EQ(request.runSet(), SNMP_ERR_NOERROR);
    // The row column is read first and overwritten with the row, which is then written.
    EXPECT_THAT(this->_pDevice->writes(), ElementsAre(Frame{1, 7, 0x02, 0x05, 1, 0, 0, 0}));
}

TYPED_TEST(TableHandlerTest, TheLibraryServesNoColumnBeyondTheLast)
{
    this->registers();
    this->hasRows({1});
    this->_pDevice->forgetRequests();
    ManagerRequest request;
    request.asksFor(this->cellName(6, 1));
    request.run(MODE_GET);
    EXPECT_EQ(request.varbind(0).type, SNMP_NOSUCHOBJECT);
    EXPECT_THAT(this->_pDevice->requests(), IsEmpty());
}

TYPED_TEST(TableHandlerTest, TheLibraryServesNoRowThatIsNotThere)
{
    this->registers();
    this->hasRows({1});
    this->_pDevice->forgetRequests();
    ManagerRequest request;
    request.asksFor(this->cellName(2, 2));
    request.run(MODE_GET);
    EXPECT_EQ(request.varbind(0).type, ASN_NULL);
    EXPECT_THAT(this->_pDevice->requests(), IsEmpty());
}

/// Both classes side by side.
class TwoTablesTest : public AgentFixture
{
protected:
    using One = Opened<TableHandlerOne>;
    using Two = Opened<TableHandlerTwo>;

    TwoTablesTest()
    {
        _mapping.addCell("502", ".3.1", 2, 1, integerType, readWrite);
        _mapping.addCell("602", ".3.2", 2, 1, integerType, readWrite);
        _pDevice->holdsInteger(0x502, 22, 4);
        _pDevice->holdsInteger(0x602, 62, 4);
        _pDataBase = std::make_unique<SnmpDataBase>(_mapping.path());
        _pOne = std::make_unique<One>(*_pDataBase);
        _pTwo = std::make_unique<Two>(*_pDataBase);
    }

    void registersBoth()
    {
        _pOne->init_table(0, ".3.1");
        _pTwo->init_table(0, ".3.2");
    }

    std::unique_ptr<SnmpDataBase> _pDataBase;
    std::unique_ptr<One> _pOne;
    std::unique_ptr<Two> _pTwo;
};

TEST_F(TwoTablesTest, BothPrintTheSameLineWithTheirOwnNode)
{
    deviceGivesBaseOid(".1.3");
    CapturedOutput output;
    registersBoth();
    EXPECT_EQ(output.text(), "TableHandlerOne::init_table node=.1.3.3.1\n"
                             "TableHandlerOne::init_table node=.1.3.3.2\n");
}

TEST_F(TwoTablesTest, TheRowsOfOneAreNotThoseOfTheOther)
{
    _pOne->add_index(1);
    EXPECT_NE(One::s_rowHead, nullptr);
    EXPECT_EQ(Two::s_rowHead, nullptr);
    _pTwo->add_index(5);
    EXPECT_EQ(One::s_rowHead->index, 1);
    EXPECT_EQ(Two::s_rowHead->index, 5);
    EXPECT_EQ(One::s_rowHead->next, nullptr);
}

TEST_F(TwoTablesTest, EachServesItsOwnCells)
{
    const CapturedOutput output;
    registersBoth();
    _pOne->add_index(1);
    _pTwo->add_index(1);
    ManagerRequest request;
    request.asksFor(below(defaultBase(), {3, 1, 1, 2, 1, 0}));
    request.asksFor(below(defaultBase(), {3, 2, 1, 2, 1, 0}));
    request.run(MODE_GET);
    EXPECT_EQ(request.integer(0), 22);
    EXPECT_EQ(request.integer(1), 62);
}
} // namespace
