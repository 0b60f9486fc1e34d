#include "SnmpAgentX.h"

#include "TableHandlerOne.h"
#include "TableHandlerTwo.h"
#include "agent/AgentFixture.h"
#include "agent/Registry.h"
#include "support/CapturedOutput.h"
#include "support/SystemCalls.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <list>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char *answerTaken = "called, failed: errno: Bad address, error code:14\n";

class SnmpAgentXTest : public AgentFixture
{
protected:
    SnmpAgentXTest() { Registry::reset(); }

    ~SnmpAgentXTest() override { Registry::reset(); }

    /// Integer scalars 1.2.1, 1.2.2, … with ids from 0x101 on, all writable, with values 1, 2, ….
    void mappingHoldsIntegers(int count)
    {
        _mapping.run("INSERT INTO SNMP_GENERAL_OBJ_TABLE WITH RECURSIVE n(i) AS (SELECT 1 UNION "
                     "ALL SELECT i + 1 FROM n WHERE i < " +
                     std::to_string(count) +
                     ") SELECT printf('%04x', 256 + i), 0, 0, '2', '3', 1, 2, i, 0, '0', '0', "
                     "NULL, '0' FROM n");
        for (int scalar = 1; scalar <= count; ++scalar) {
            const auto id = static_cast<std::uint16_t>(256 + scalar);
            _pDevice->holdsInteger(id, static_cast<std::uint32_t>(scalar), 4);
            _pDevice->makesWritable(id);
        }
    }

    void loads() const { SnmpAgentX::getInstance(_mapping.path()); }

    void registers() const
    {
        loads();
        const CapturedOutput output;
        SnmpAgentX::registerScalarObjects();
    }

    std::string outputOfRegistration() const
    {
        loads();
        CapturedOutput output;
        SnmpAgentX::registerScalarObjects();
        return output.text();
    }

    static std::vector<int> magics()
    {
        std::vector<int> magics;
        for (const SnmpObjOid &scalar : Registry::scalarObjs) {
            magics.push_back(scalar.magic);
        }
        return magics;
    }
};

TEST_F(SnmpAgentXTest, MakesTheOneInstanceWithoutAMapping)
{
    SnmpAgentX *const registry = SnmpAgentX::getInstance();
    ASSERT_NE(registry, nullptr);
    EXPECT_EQ(SnmpAgentX::getInstance(), registry);
    EXPECT_EQ(Registry::database, nullptr);
}

TEST_F(SnmpAgentXTest, MakesTheOneInstanceWithTheMappingOfThePath)
{
    _mapping.addScalar("101", "2", "1", 1, 2, 3);
    SnmpAgentX *const registry = SnmpAgentX::getInstance(_mapping.path());
    EXPECT_EQ(Registry::s_instance, registry);
    std::vector<SnmpObjOid> scalars;
    Registry::database->getSnmpObjOidList(scalars);
    EXPECT_THAT(scalars, SizeIs(1));
}

TEST_F(SnmpAgentXTest, IgnoresThePathOnceThereIsAnInstance)
{
    SnmpAgentX *const registry = SnmpAgentX::getInstance(_mapping.path());
    const SnmpDataBase *const dataBase = Registry::database;
    CapturedOutput output;
    EXPECT_EQ(SnmpAgentX::getInstance("/nonexistent/other.db"), registry);
    EXPECT_EQ(Registry::database, dataBase);
    EXPECT_EQ(output.text(), "");
}

TEST_F(SnmpAgentXTest, IgnoresThePathAfterAnInstanceWithoutAMapping)
{
    SnmpAgentX *const registry = SnmpAgentX::getInstance();
    EXPECT_EQ(SnmpAgentX::getInstance(_mapping.path()), registry);
    EXPECT_EQ(Registry::database, nullptr);
}

TEST_F(SnmpAgentXTest, TakesTheMappingWithIt)
{
    loads();
    delete Registry::s_instance;
    Registry::s_instance = nullptr;
    EXPECT_EQ(Registry::database, nullptr);
}

TEST_F(SnmpAgentXTest, GoesWithoutAMappingThatWasNeverLoaded)
{
    SnmpAgentX::getInstance();
    delete Registry::s_instance;
    Registry::s_instance = nullptr;
    EXPECT_EQ(Registry::database, nullptr);
}

TEST_F(SnmpAgentXTest, CountsAnEmptyMappingAndRegistersNothing)
{
    EXPECT_EQ(outputOfRegistration(),
              "objCount=0\nERR: DatabaseFacade::select:  error!  cmd=13  oid=0x80ba\n");
    EXPECT_EQ(agentLibrary::registrationsBelow(defaultBase()), 0U);
}

TEST_F(SnmpAgentXTest, RegistersAnEmptyMappingAsNoVariables)
{
    registers();
    EXPECT_THAT(systemCalls::registeredVariables(), ElementsAre(0U));
}

TEST_F(SnmpAgentXTest, RegistersAllScalarsAtOnce)
{
    mappingHoldsIntegers(3);
    registers();
    EXPECT_THAT(systemCalls::registeredVariables(), ElementsAre(3U));
}

TEST_F(SnmpAgentXTest, RegistersEveryScalarUnderTheBaseOfTheDevice)
{
    deviceGivesBaseOid(".1.3.6.1.4.1.99999.1");
    mappingHoldsIntegers(2);
    EXPECT_EQ(outputOfRegistration(), "objCount=2\n");
    const Name base{1, 3, 6, 1, 4, 1, 99999, 1};
    EXPECT_NE(agentLibrary::registrationAt(below(base, {1, 2, 1})), nullptr);
    EXPECT_NE(agentLibrary::registrationAt(below(base, {1, 2, 2})), nullptr);
    EXPECT_EQ(agentLibrary::registrationsBelow(base), 2U);
}

TEST_F(SnmpAgentXTest, RegistersUnderTheDefaultBaseWhereTheDeviceGivesNone)
{
    mappingHoldsIntegers(1);
    registers();
    EXPECT_NE(agentLibrary::registrationAt(below(defaultBase(), {1, 2, 1})), nullptr);
}

TEST_F(SnmpAgentXTest, IgnoresTheNumberBeforeTheFirstPeriodOfTheBase)
{
    deviceGivesBaseOid("1.3.6");
    mappingHoldsIntegers(1);
    registers();
    EXPECT_NE(agentLibrary::registrationAt({3, 6, 1, 2, 1}), nullptr);
}

TEST_F(SnmpAgentXTest, RegistersUnderNothingWithoutAPeriodInTheBase)
{
    deviceGivesBaseOid("136");
    mappingHoldsIntegers(1);
    registers();
    EXPECT_NE(agentLibrary::registrationAt({1, 2, 1}), nullptr);
}

TEST_F(SnmpAgentXTest, RegistersUnderTheLongestBaseThatAValueHolds)
{
    std::string text = ".1";
    Name base{1};
    for (; base.size() < 32; base.push_back(3)) {
        text += ".3";
    }
    deviceGivesBaseOid(text);
    mappingHoldsIntegers(1);
    registers();
    EXPECT_NE(agentLibrary::registrationAt(below(base, {1, 2, 1})), nullptr);
}

TEST_F(SnmpAgentXTest, RegistersUnderABaseOfMoreThan32Numbers)
{
    std::string text;
    for (int period = 0; period < 64; ++period) {
        text += '.';
    }
    deviceGivesBaseOid(text);
    mappingHoldsIntegers(1);
    registers();
    EXPECT_NE(agentLibrary::registrationAt(below(Name(64), {1, 2, 1})), nullptr);
}

TEST_F(SnmpAgentXTest, FillsTheVariableOfAScalarFromItsRecord)
{
    _mapping.addScalar("'105', 0, 77, '142', '12', 7, 8, 9, 10, '0', '0', NULL, '0'");
    registers();
    auto *const registration = agentLibrary::registrationAt(below(defaultBase(), {7, 8, 9}));
    ASSERT_NE(registration, nullptr);
    EXPECT_STREQ(registration->handlerName, "QRVTX-71K");
    const auto *const variable = static_cast<const struct variable3 *>(
        netsnmp_find_handler_data_by_name(registration, "old_api"));
    ASSERT_NE(variable, nullptr);
    EXPECT_EQ(variable->magic, 1);
    EXPECT_EQ(variable->type, 0x42);
    EXPECT_EQ(variable->acl, 0x12);
    EXPECT_EQ(variable->findVar, &SnmpAgentX::read_Var);
    EXPECT_EQ(variable->namelen, 3);
    EXPECT_EQ(Name(variable->name, variable->name + 3), (Name{7, 8, 9}));
}

u_char *findNothing(struct variable * /*vp*/, oid * /*name*/, size_t * /*length*/, int /*exact*/,
                    size_t * /*valueLength*/, WriteMethod ** /*writeMethod*/)
{
    return nullptr;
}

TEST_F(SnmpAgentXTest, GuardsItsScalarsAndNoOtherVariable)
{
    const Name other{1, 3, 6, 1, 4, 1, 99999, 7};
    struct variable3 variable = {};
    variable.findVar = findNothing;
    variable.namelen = 1;
    variable.name[0] = 1;
    register_mib("other", reinterpret_cast<struct variable *>(&variable), sizeof variable, 1,
                 other.data(), other.size());
    mappingHoldsIntegers(1);
    registers();
    auto *const scalar = agentLibrary::registrationAt(below(defaultBase(), {1, 2, 1}));
    EXPECT_NE(netsnmp_find_handler_by_name(scalar, "scalarGuard"), nullptr);
    auto *const notOurs = agentLibrary::registrationAt(below(other, {1}));
    ASSERT_NE(notOurs, nullptr);
    EXPECT_EQ(netsnmp_find_handler_by_name(notOurs, "scalarGuard"), nullptr);
}

TEST_F(SnmpAgentXTest, NumbersTheScalarsInAscendingId)
{
    _mapping.addScalar("301", "2", "1", 1, 1, 1);
    _mapping.addScalar("101", "2", "1", 1, 1, 2);
    _mapping.addScalar("201", "2", "1", 1, 1, 3);
    registers();
    EXPECT_THAT(magics(), ElementsAre(1, 2, 3));
    EXPECT_EQ(Registry::scalarObjs[0].objId, 0x101);
    EXPECT_EQ(Registry::scalarObjs[2].objId, 0x301);
}

TEST_F(SnmpAgentXTest, NumbersWrapAtEightBits)
{
    mappingHoldsIntegers(257);
    registers();
    EXPECT_EQ(magics().at(254), 255);
    EXPECT_EQ(magics().at(255), 0);
    EXPECT_EQ(magics().at(256), 1);
}

TEST_F(SnmpAgentXTest, ServesAndWritesEachOfMoreScalarsThanNumbers)
{
    mappingHoldsIntegers(300);
    registers();
    const CapturedOutput output;
    for (oid arc = 1; arc <= 300; ++arc) {
        const Name name = below(defaultBase(), {1, 2, arc, 0});
        ManagerRequest get;
        get.asksFor(name);
        get.run(MODE_GET);
        ASSERT_EQ(get.varbind(0).type, ASN_INTEGER);
        ASSERT_EQ(get.integer(0), static_cast<long>(arc));
    }
    for (const oid arc : {1U, 44U, 255U, 256U, 257U, 300U}) {
        _pDevice->forgetRequests();
        ManagerRequest set;
        set.setsInteger(below(defaultBase(), {1, 2, arc, 0}), 7);
        ASSERT_EQ(set.runSet(), SNMP_ERR_NOERROR);
        const auto low = static_cast<std::uint8_t>(256 + arc);
        const auto high = static_cast<std::uint8_t>((256 + arc) >> 8);
        EXPECT_THAT(_pDevice->writes(), ElementsAre(Frame{1, 7, low, high, 7, 0, 0, 0}));
    }
}

TEST_F(SnmpAgentXTest, ServesEachOfAsManyScalarsAsNumbers)
{
    mappingHoldsIntegers(255);
    registers();
    for (const oid arc : {1U, 255U}) {
        ManagerRequest get;
        get.asksFor(below(defaultBase(), {1, 2, arc, 0}));
        get.run(MODE_GET);
        EXPECT_EQ(get.integer(0), static_cast<long>(arc));
    }
}

TEST_F(SnmpAgentXTest, TheLibraryWalksFromTheBaseToAScalar)
{
    mappingHoldsIntegers(1);
    registers();
    ManagerRequest next;
    next.asksFor(below(defaultBase(), {1, 2, 1}));
    next.run(MODE_GETNEXT);
    EXPECT_EQ(next.name(0), below(defaultBase(), {1, 2, 1, 0}));
    EXPECT_EQ(next.integer(0), 1);
}

TEST_F(SnmpAgentXTest, ASetOfSeveralScalarsWritesTheOneLookedUpLast)
{
    mappingHoldsIntegers(2);
    registers();
    const CapturedOutput output;
    ManagerRequest set;
    set.setsInteger(below(defaultBase(), {1, 2, 1, 0}), 7);
    set.setsInteger(below(defaultBase(), {1, 2, 2, 0}), 8);
    EXPECT_EQ(set.runSet(), SNMP_ERR_NOERROR);
    EXPECT_THAT(_pDevice->writes(), ElementsAre(Frame{1, 7, 0x02, 0x01, 7, 0, 0, 0},
                                                Frame{1, 7, 0x02, 0x01, 8, 0, 0, 0}));
}

TEST_F(SnmpAgentXTest, TheLibraryRefusesToSetAReadOnlyScalar)
{
    _mapping.addScalar("101", "2", "1", 1, 2, 1);
    _pDevice->holdsInteger(0x101, 5, 4);
    registers();
    ManagerRequest set;
    set.setsInteger(below(defaultBase(), {1, 2, 1, 0}), 7);
    EXPECT_EQ(set.runSet(), SNMP_ERR_NOTWRITABLE);
    EXPECT_THAT(_pDevice->writes(), IsEmpty());
}

/// One call of the read handler for the first scalar of the mapping, whose name is 1.2.3.
class ReadVarTest : public SnmpAgentXTest
{
protected:
    ReadVarTest() { named({1, 2, 3}); }

    void named(const Name &name)
    {
        _variable.namelen = static_cast<u_char>(name.size());
        std::copy(name.begin(), name.end(), std::begin(_variable.name));
    }

    /// A scalar of this type and access for the device's object 0x101.
    void scalarIs(const std::string &asnType, const std::string &access)
    {
        _mapping.addScalar("101", asnType, access, 1, 2, 3);
        registers();
        _variable.magic = 1;
    }

    u_char *read(const Name &name, bool exact)
    {
        std::copy(name.begin(), name.end(), _name.begin());
        _length = name.size();
        _valueLength = 99;
        _writeMethod = reinterpret_cast<WriteMethod *>(1);
        return SnmpAgentX::read_Var(&_variable, _name.data(), &_length, exact ? 1 : 0,
                                    &_valueLength, &_writeMethod);
    }

    u_char *get() { return read({1, 2, 3, 0}, true); }

    u_char *getNext(const Name &name) { return read(name, false); }

    std::string textOfGet()
    {
        const u_char *const answer = get();
        return answer == nullptr
                   ? "null"
                   : std::string(reinterpret_cast<const char *>(answer), _valueLength);
    }

    struct variable _variable = {};
    std::array<oid, MAX_OID_LEN> _name{};
    std::size_t _length = 0;
    std::size_t _valueLength = 0;
    WriteMethod *_writeMethod = nullptr;
};

TEST_F(ReadVarTest, AGetMatchesTheInstanceOnly)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarIs("2", "1");
    EXPECT_EQ(read({1, 2, 3}, true), nullptr);
    EXPECT_EQ(read({1, 2, 3, 1}, true), nullptr);
    EXPECT_EQ(read({1, 2, 3, 0, 0}, true), nullptr);
    EXPECT_NE(read({1, 2, 3, 0}, true), nullptr);
}

TEST_F(ReadVarTest, AVariableThatBelongsToNoScalarIsNotServed)
{
    mappingHoldsIntegers(300);
    registers();
    // This number would belong to the 45th scalar and, if there were that many, the 301st.
    _variable.magic = 45;
    EXPECT_EQ(get(), nullptr);
}

TEST_F(ReadVarTest, ANameThatDoesNotMatchChangesNothing)
{
    scalarIs("2", "3");
    EXPECT_EQ(read({1, 2, 4, 0}, true), nullptr);
    EXPECT_EQ(_length, 4U);
    EXPECT_EQ(_valueLength, 99U);
    EXPECT_EQ(Registry::pendingObj.objId, 0);
}

TEST_F(ReadVarTest, AGetNextFindsTheInstanceFromBelow)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarIs("2", "1");
    for (const Name &name : {Name{1, 2, 3}, Name{1, 2}, Name{1, 2, 2, 7}}) {
        EXPECT_NE(getNext(name), nullptr);
        EXPECT_EQ(Name(_name.begin(), _name.begin() + 4), (Name{1, 2, 3, 0}));
        EXPECT_EQ(_length, 4U);
    }
}

TEST_F(ReadVarTest, AGetNextLeavesTheInstanceBehind)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarIs("2", "1");
    EXPECT_EQ(getNext({1, 2, 3, 0}), nullptr);
    EXPECT_EQ(getNext({1, 2, 3, 1}), nullptr);
    EXPECT_EQ(getNext({1, 2, 4}), nullptr);
}

TEST_F(ReadVarTest, AnIntegerIsFourBytesInHostOrder)
{
    _pDevice->holdsInteger(0x101, 0xFFFFFFFE, 4, ValueKind::signedInteger);
    scalarIs("2", "1");
    const u_char *const answer = get();
    ASSERT_EQ(answer, Registry::answer.data());
    EXPECT_EQ(_valueLength, 4U);
    std::int32_t number = 0;
    std::memcpy(&number, answer, sizeof number);
    EXPECT_EQ(number, -2);
}

TEST_F(ReadVarTest, ATextIsItsBytesWithoutTerminator)
{
    _pDevice->holdsText(0x101, "abc", 16);
    scalarIs("4", "1");
    EXPECT_EQ(textOfGet(), "abc");
}

TEST_F(ReadVarTest, AnEmptyTextHasLengthZero)
{
    _pDevice->holdsText(0x101, "", 16);
    scalarIs("4", "1");
    EXPECT_EQ(get(), Registry::answer.data());
    EXPECT_EQ(_valueLength, 0U);
}

TEST_F(ReadVarTest, ATextMayFillTheValue)
{
    _pDevice->holdsText(0x101, std::string(64, 'x'));
    scalarIs("4", "1");
    EXPECT_EQ(textOfGet(), std::string(64, 'x'));
}

TEST_F(ReadVarTest, TheAnswerIsClearedAfterTheText)
{
    _pDevice->holdsText(0x101, "abc", 16);
    scalarIs("4", "1");
    get();
    EXPECT_EQ(std::count(Registry::answer.begin() + 3, Registry::answer.end(), 0), 125);
}

TEST_F(ReadVarTest, EveryTypeButIntegerIsServedAsTheConvertedText)
{
    _pDevice->holdsText(0x101, "123", 16);
    scalarIs("42", "1");
    EXPECT_EQ(textOfGet(), "123");
}

TEST_F(ReadVarTest, ANumberTypeWithATextTooLongForTheLibraryIsServedEmpty)
{
    _pDevice->holdsText(0x101, std::string(59, '7'));
    scalarIs("42", "1");
    EXPECT_EQ(textOfGet(), "");
}

TEST_F(ReadVarTest, AReadOnlyScalarHasNoWriteMethodAndIsNotRemembered)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarIs("2", "1");
    EXPECT_NE(get(), nullptr);
    EXPECT_EQ(_writeMethod, nullptr);
    EXPECT_EQ(Registry::pendingObj.objId, 0);
}

TEST_F(ReadVarTest, AWritableScalarIsRememberedAndReturnsItsWriteMethod)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarIs("2", "2");
    EXPECT_NE(get(), nullptr);
    EXPECT_EQ(_writeMethod, &SnmpAgentX::write_Var);
    EXPECT_EQ(Registry::pendingObj.objId, 0x101);
}

TEST_F(ReadVarTest, AMagicNumberBeyondTheLastScalarIsNotServed)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarIs("2", "3");
    // So that an access beyond the last one is caught.
    Registry::scalarObjs.shrink_to_fit();
    for (const int magic : {0, 2, 255}) {
        _variable.magic = static_cast<u_char>(magic);
        EXPECT_EQ(get(), nullptr);
        EXPECT_EQ(_length, 4U);
        EXPECT_EQ(_valueLength, 4U);
        EXPECT_EQ(_writeMethod, nullptr);
    }
}

TEST_F(ReadVarTest, AnObjectThatTheDeviceRefusesIsLoggedAndNotServed)
{
    scalarIs("2", "3");
    CapturedOutput output;
    EXPECT_EQ(get(), nullptr);
    EXPECT_EQ(output.text(), "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x0101\n"
                             "SnmpAgentX::read_Var  getObjValue ERROR  oid = 101 !!!!!!!!!!!\n");
}

TEST_F(ReadVarTest, TheIdOfAnUnreadableObjectIsInUppercase)
{
    _mapping.addScalar("ab0d", "2", "1", 1, 2, 3);
    registers();
    _variable.magic = 1;
    CapturedOutput output;
    get();
    EXPECT_THAT(output.text(), testing::HasSubstr(" oid = AB0D !!!!!!!!!!!\n"));
}

TEST_F(ReadVarTest, AnErrorAnswerServesNothingOfAnEarlierObject)
{
    _pDevice->holdsInteger(0x102, 5, 4);
    _mapping.addScalar("102", "2", "1", 1, 2, 3);
    scalarIs("2", "1");
    _variable.magic = 2;
    EXPECT_NE(get(), nullptr);
    _variable.magic = 1;
    EXPECT_EQ(get(), nullptr);
}

TEST_F(ReadVarTest, ANameTooShortToTellScalarsOfOneNumberApartIsNotServed)
{
    mappingHoldsIntegers(256);
    registers();
    _pDevice->forgetRequests();
    _variable.magic = 1;
    named({1, 2});
    EXPECT_EQ(read({1, 2, 0}, true), nullptr);
    EXPECT_THAT(_pDevice->requests(), IsEmpty());
}

TEST_F(ReadVarTest, ANameWhoseArcsNoScalarOfItsNumberHasIsNotServed)
{
    mappingHoldsIntegers(300);
    registers();
    _variable.magic = 1;
    for (const Name &name : {Name{9, 2, 1}, Name{1, 9, 1}, Name{1, 2, 2}}) {
        named(name);
        EXPECT_EQ(read(below(name, {0}), true), nullptr);
    }
    named({1, 2, 257});
    EXPECT_NE(read({1, 2, 257, 0}, true), nullptr);
}

TEST_F(ReadVarTest, TheNumberAloneTellsAsManyScalarsAsNumbersApart)
{
    mappingHoldsIntegers(255);
    registers();
    _variable.magic = 255;
    named({9, 9, 9});
    EXPECT_NE(read({9, 9, 9, 0}, true), nullptr);
}

TEST_F(ReadVarTest, ANameOfFullLengthIsCutToLeaveRoomForTheInstance)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarIs("2", "1");
    named(Name(MAX_OID_LEN, 1));
    Name instance(MAX_OID_LEN, 1);
    instance.back() = 0;
    EXPECT_NE(read(instance, true), nullptr);
    EXPECT_EQ(_length, std::size_t{MAX_OID_LEN});
}

TEST_F(ReadVarTest, RunningOutOfMemoryServesNothing)
{
    _mapping.addScalar("'101', 0, 0, '2', '1', 1, 2, 3, 0, '0', '0', '" + std::string(100, 't') +
                       "', '0'");
    _pDevice->holdsInteger(0x101, 5, 4);
    registers();
    _variable.magic = 1;
    const Name instance{1, 2, 3, 0};
    const u_char *answer = nullptr;
    {
        const systemCalls::FailingCalls noMemory("new", 0);
        answer = read(instance, true);
    }
    EXPECT_EQ(answer, nullptr);
    EXPECT_NE(get(), nullptr);
}

/// Calls of the write handler after the read handler served the writable object 0x101.
class WriteVarTest : public SnmpAgentXTest
{
protected:
    void scalarHolds(const std::string &asnType, const std::string &valueType = "0")
    {
        _mapping.addScalar("101", asnType, "3", 1, 2, 3, valueType);
        _pDevice->makesWritable(0x101);
        loads();
        Registry::pendingObj.objId = 0x101;
        std::array<char *, 1> end{};
        Registry::pendingObj.valueType =
            static_cast<std::uint16_t>(std::strtoul(valueType.c_str(), end.data(), 16));
    }

    static int write(int action, std::uint8_t type, std::vector<u_char> value)
    {
        return SnmpAgentX::write_Var(action, value.data(), type, value.size(), nullptr, nullptr, 0);
    }

    static int writeInteger(std::int64_t value)
    {
        std::vector<u_char> bytes(sizeof value);
        std::memcpy(bytes.data(), &value, sizeof value);
        return write(MODE_SET_ACTION, ASN_INTEGER, bytes);
    }

    static int writeText(const std::string &text)
    {
        return write(MODE_SET_ACTION, ASN_OCTET_STR, {text.begin(), text.end()});
    }

    static Frame textFrame(const std::string &text, std::size_t size)
    {
        Frame frame{1, static_cast<std::uint8_t>(size + 3), 0x01, 0x01};
        frame.insert(frame.end(), text.begin(), text.end());
        frame.resize(size + 4);
        return frame;
    }
};

TEST_F(WriteVarTest, OnlyTheActionWrites)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarHolds("2", "4001");
    for (const int action :
         {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_COMMIT, MODE_SET_FREE, MODE_SET_UNDO}) {
        CapturedOutput output;
        EXPECT_EQ(write(action, ASN_INTEGER, {7, 0, 0, 0}), SNMP_ERR_NOERROR);
        EXPECT_EQ(output.text(), "");
    }
    EXPECT_THAT(_pDevice->requests(), IsEmpty());
    EXPECT_EQ(Registry::pendingValue.oid, 0x101);
    EXPECT_EQ(Registry::pendingValue.attr, 0x4001);
}

TEST_F(WriteVarTest, AnIntegerIsItsFirstFourBytes)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarHolds("2");
    CapturedOutput output;
    EXPECT_EQ(writeInteger(0x7F01020304), SNMP_ERR_NOERROR);
    EXPECT_EQ(output.text(),
              std::string(answerTaken) + "set 'ACTION'  oid = 101   set length = 8..\n");
    EXPECT_THAT(_pDevice->writes(), ElementsAre(Frame{1, 7, 0x01, 0x01, 4, 3, 2, 1}));
}

TEST_F(WriteVarTest, MissingBytesOfAnIntegerAreZero)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarHolds("2");
    EXPECT_EQ(write(MODE_SET_ACTION, ASN_INTEGER, {7}), SNMP_ERR_NOERROR);
    EXPECT_THAT(_pDevice->writes(), ElementsAre(Frame{1, 7, 0x01, 0x01, 7, 0, 0, 0}));
}

TEST_F(WriteVarTest, ATextIsWrittenUpToItsNul)
{
    _pDevice->holdsText(0x101, "old", 10);
    scalarHolds("4");
    CapturedOutput output;
    EXPECT_EQ(writeText(std::string("new\0ignored", 11)), SNMP_ERR_NOERROR);
    EXPECT_THAT(output.text(), testing::EndsWith("set 'ACTION'  oid = 101   set length = 11..\n"));
    EXPECT_THAT(_pDevice->writes(), ElementsAre(textFrame("new", 10)));
}

TEST_F(WriteVarTest, ATextOf64BytesFillsTheValue)
{
    _pDevice->holdsText(0x101, "old", 64);
    scalarHolds("4");
    EXPECT_EQ(writeText(std::string(64, 'x')), SNMP_ERR_NOERROR);
    EXPECT_THAT(_pDevice->writes(), ElementsAre(textFrame(std::string(64, 'x'), 64)));
}

TEST_F(WriteVarTest, ALongerTextIsRefusedBeforeTheDeviceIsAsked)
{
    _pDevice->holdsText(0x101, "old", 64);
    scalarHolds("4");
    CapturedOutput output;
    EXPECT_EQ(writeText(std::string(65, 'x')), SNMP_ERR_BADVALUE);
    EXPECT_EQ(output.text(), "");
    EXPECT_THAT(_pDevice->requests(), IsEmpty());
}

TEST_F(WriteVarTest, ALongerTextIsAcceptedWhenItsNulComesInTime)
{
    _pDevice->holdsText(0x101, "old", 10);
    scalarHolds("4");
    EXPECT_EQ(writeText("new" + std::string(97, '\0')), SNMP_ERR_NOERROR);
    EXPECT_THAT(_pDevice->writes(), ElementsAre(textFrame("new", 10)));
}

TEST_F(WriteVarTest, EveryTypeButIntegerIsTakenAsText)
{
    _pDevice->holdsText(0x101, "old", 10);
    scalarHolds("4");
    EXPECT_EQ(write(MODE_SET_ACTION, ASN_GAUGE, {'5', 0, 0, 0}), SNMP_ERR_NOERROR);
    EXPECT_THAT(_pDevice->writes(), ElementsAre(textFrame("5", 10)));
}

TEST_F(WriteVarTest, AValueWithoutBytesIsAnEmptyText)
{
    _pDevice->holdsText(0x101, "old", 10);
    scalarHolds("4");
    EXPECT_EQ(SnmpAgentX::write_Var(MODE_SET_ACTION, nullptr, ASN_NULL, 0, nullptr, nullptr, 0),
              SNMP_ERR_NOERROR);
    EXPECT_THAT(_pDevice->writes(), ElementsAre(textFrame("", 10)));
}

TEST_F(WriteVarTest, AnObjectThatTheDeviceHoldsReadOnlyIsABadValue)
{
    scalarHolds("2");
    _pDevice->holdsInteger(0x101, 5, 4);
    EXPECT_EQ(writeInteger(7), SNMP_ERR_BADVALUE);
    EXPECT_THAT(_pDevice->writes(), IsEmpty());
}

TEST_F(WriteVarTest, AnObjectThatCannotBeReadIsABadValue)
{
    scalarHolds("2");
    CapturedOutput output;
    EXPECT_EQ(writeInteger(7), SNMP_ERR_BADVALUE);
    EXPECT_EQ(output.text(), "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x0101\n");
}

TEST_F(WriteVarTest, AWriteThatTheDeviceRefusesCountsAsDone)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    _pDevice->answersWritesWith({0x13, 7, 0x01, 0x01});
    scalarHolds("2");
    EXPECT_EQ(writeInteger(7), SNMP_ERR_NOERROR);
}

TEST_F(WriteVarTest, RunningOutOfMemoryIsAGeneralError)
{
    _mapping.addScalar("'101', 0, 0, '2', '3', 1, 2, 3, 0, '0', '0', '" + std::string(100, 't') +
                       "', '0'");
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarHolds("2");
    std::array<u_char, 4> value{7};
    int status = SNMP_ERR_NOERROR;
    {
        const systemCalls::FailingCalls noMemory("new", 0);
        status = SnmpAgentX::write_Var(MODE_SET_ACTION, value.data(), ASN_INTEGER, value.size(),
                                       nullptr, nullptr, 0);
    }
    EXPECT_EQ(status, SNMP_ERR_GENERR);
}

TEST_F(WriteVarTest, WhatIsWrittenStaysOutOfThePendingValue)
{
    _pDevice->holdsInteger(0x101, 5, 4);
    scalarHolds("2");
    EXPECT_EQ(writeInteger(7), SNMP_ERR_NOERROR);
    EXPECT_EQ(Registry::pendingValue.len, 0);
    EXPECT_EQ(Registry::pendingValue.int32(), 0U);
}

/// Sets as the library makes them: the read handler looks up a scalar, then the write handler acts.
/// The first scalar, 1.2.1 on the object 0x101, is readable and writable; each test chooses the
/// second, 1.2.2 on 0x102.
class SetAfterLookupTest : public ReadVarTest
{
protected:
    void secondScalarHasAccess(const std::string &access)
    {
        _mapping.addScalar("101", "2", "3", 1, 2, 1);
        _mapping.addScalar("102", "2", access, 1, 2, 2);
        deviceHolds(0x101);
        registers();
    }

    void deviceHolds(std::uint16_t id)
    {
        _pDevice->holdsInteger(id, 5, 4);
        _pDevice->makesWritable(id);
    }

    /// Whether the scalar could be read.
    bool looksUp(std::uint8_t scalar)
    {
        _variable.magic = scalar;
        named({1, 2, scalar});
        return read({1, 2, scalar, 0}, true) != nullptr;
    }

    static int sets(u_char value)
    {
        std::array<u_char, 4> bytes{value};
        return SnmpAgentX::write_Var(MODE_SET_ACTION, bytes.data(), ASN_INTEGER, bytes.size(),
                                     nullptr, nullptr, 0);
    }
};

TEST_F(SetAfterLookupTest, AScalarThatCannotBeReadIsRefusedAndNoOtherIsWritten)
{
    secondScalarHasAccess("3");
    EXPECT_TRUE(looksUp(1));
    EXPECT_FALSE(looksUp(2));
    EXPECT_EQ(sets(7), SNMP_ERR_BADVALUE);
    EXPECT_THAT(_pDevice->writes(), IsEmpty());
}

TEST_F(SetAfterLookupTest, AScalarThatCouldNotBeReadBeforeIsTheOneThatIsWritten)
{
    secondScalarHasAccess("3");
    EXPECT_TRUE(looksUp(1));
    EXPECT_FALSE(looksUp(2));
    deviceHolds(0x102);
    EXPECT_EQ(sets(7), SNMP_ERR_NOERROR);
    EXPECT_THAT(_pDevice->writes(), ElementsAre(Frame{1, 7, 0x02, 0x01, 7, 0, 0, 0}));
}

TEST_F(SetAfterLookupTest, AReadOnlyScalarLookedUpInBetweenChangesNothing)
{
    secondScalarHasAccess("1");
    deviceHolds(0x102);
    EXPECT_TRUE(looksUp(1));
    EXPECT_TRUE(looksUp(2));
    EXPECT_EQ(sets(7), SNMP_ERR_NOERROR);
    EXPECT_THAT(_pDevice->writes(), ElementsAre(Frame{1, 7, 0x01, 0x01, 7, 0, 0, 0}));
}

/// A handler class that exposes the flag passed with its table.
template <class Handler>
class Flagged : public Handler
{
public:
    using Handler::s_tableFlag;
};

class TableObjectsTest : public SnmpAgentXTest
{
protected:
    TableObjectsTest() { deviceGivesBaseOid(".1.3"); }

    void mappingHoldsTables(std::initializer_list<const char *> nodes) const
    {
        for (const char *const node : nodes) {
            _mapping.addCell("501", node, 2, 1, ASN_INTEGER, 3);
        }
    }

    std::string outputOfRegistration() const
    {
        SnmpAgentX *const registry = SnmpAgentX::getInstance(_mapping.path());
        CapturedOutput output;
        EXPECT_EQ(registry->registerTableObjects(), 0);
        return output.text();
    }

    template <class Handler>
    static std::vector<long> rowsOf()
    {
        std::vector<long> rows;
        void *loopContext = nullptr;
        void *dataContext = nullptr;
        netsnmp_variable_list index{};
        index.type = ASN_INTEGER;
        auto *row = Handler::get_first_data_point(&loopContext, &dataContext, &index, nullptr);
        while (row != nullptr) {
            rows.push_back(*index.val.integer);
            row = Handler::get_next_data_point(&loopContext, &dataContext, &index, nullptr);
        }
        Handler::free_loop_context_at_end(loopContext, nullptr);
        return rows;
    }

    static std::string handlerAt(const Name &name)
    {
        const auto *const registration = agentLibrary::registrationAt(name);
        return registration == nullptr ? "" : registration->handlerName;
    }
};

TEST_F(TableObjectsTest, AMappingWithoutTablesRegistersAndPrintsNothing)
{
    EXPECT_EQ(outputOfRegistration(), "");
    EXPECT_THAT(_pDevice->requests(), IsEmpty());
    EXPECT_EQ(agentLibrary::registrationsBelow({1, 3, 3}), 0U);
}

TEST_F(TableObjectsTest, OneTableIsServedByTheFirstHandler)
{
    mappingHoldsTables({".3.1"});
    _pDevice->holdsInteger(0x0A41, 0, 1);
    EXPECT_EQ(outputOfRegistration(), "TableHandlerOne::init_table node=.1.3.3.1\n"
                                      "getFixDeviceNum(ancestorNode[i].ancestorNode)=4\n");
    EXPECT_EQ(handlerAt({1, 3, 3, 1}), "TableHandlerOne");
    EXPECT_THAT(rowsOf<TableHandlerOne>(), ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(rowsOf<TableHandlerTwo>(), IsEmpty());
}

TEST_F(TableObjectsTest, KeepsTheHandlersOfItsTablesByNode)
{
    mappingHoldsTables({".3.7", ".3.2", ".3.5"});
    outputOfRegistration();
    const auto &tables = Registry::tables();
    ASSERT_THAT(tables, SizeIs(2));
    EXPECT_NE(dynamic_cast<const TableHandlerOne *>(tables.at(".3.7")), nullptr);
    EXPECT_NE(dynamic_cast<const TableHandlerTwo *>(tables.at(".3.2")), nullptr);
}

TEST_F(TableObjectsTest, TablesComeWithoutAFlag)
{
    mappingHoldsTables({".3.1", ".3.2"});
    Flagged<TableHandlerOne>::s_tableFlag = 9;
    Flagged<TableHandlerTwo>::s_tableFlag = 9;
    outputOfRegistration();
    EXPECT_EQ(Flagged<TableHandlerOne>::s_tableFlag, 0);
    EXPECT_EQ(Flagged<TableHandlerTwo>::s_tableFlag, 0);
}

TEST_F(TableObjectsTest, TheThirdTableIsNeitherRegisteredNorPrinted)
{
    mappingHoldsTables({".3.7", ".3.2", ".3.5"});
    _pDevice->holdsInteger(0x0A41, 1, 1);
    EXPECT_EQ(outputOfRegistration(), "TableHandlerOne::init_table node=.1.3.3.7\n"
                                      "getFixDeviceNum(ancestorNode[i].ancestorNode)=8\n"
                                      "TableHandlerOne::init_table node=.1.3.3.2\n"
                                      "getFixDeviceNum(ancestorNode[i].ancestorNode)=8\n");
    EXPECT_EQ(handlerAt({1, 3, 3, 7}), "TableHandlerOne");
    EXPECT_EQ(handlerAt({1, 3, 3, 2}), "TableHandlerTwo");
    EXPECT_EQ(handlerAt({1, 3, 3, 5}), "");
}

TEST_F(TableObjectsTest, EveryTableHasEightRowsWhereTheDeviceSaysOne)
{
    mappingHoldsTables({".3.1", ".3.2"});
    _pDevice->holdsInteger(0x0A41, 1, 1);
    outputOfRegistration();
    EXPECT_THAT(rowsOf<TableHandlerOne>(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(rowsOf<TableHandlerTwo>(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
}

TEST_F(TableObjectsTest, ATableHasNoRowsWhereTheDeviceSaysAnythingElse)
{
    mappingHoldsTables({".3.1"});
    _pDevice->holdsInteger(0x0A41, 2, 1);
    EXPECT_EQ(outputOfRegistration(), "TableHandlerOne::init_table node=.1.3.3.1\n"
                                      "getFixDeviceNum(ancestorNode[i].ancestorNode)=0\n");
    EXPECT_THAT(rowsOf<TableHandlerOne>(), IsEmpty());
    EXPECT_EQ(handlerAt({1, 3, 3, 1}), "TableHandlerOne");
}

TEST_F(TableObjectsTest, ATableHasNoRowsWhereTheDeviceDoesNotSay)
{
    mappingHoldsTables({".3.1"});
    EXPECT_EQ(outputOfRegistration(), "TableHandlerOne::init_table node=.1.3.3.1\n"
                                      "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x0a41\n"
                                      "getFixDeviceNum(ancestorNode[i].ancestorNode)=0\n");
    EXPECT_THAT(rowsOf<TableHandlerOne>(), IsEmpty());
}

TEST_F(TableObjectsTest, TheDeviceIsAskedForEachTable)
{
    mappingHoldsTables({".3.1", ".3.2"});
    _pDevice->holdsInteger(0x0A41, 0, 1);
    outputOfRegistration();
    const Frame base{2, 7, 0xBA, 0x80, 0, 0, 0, 0};
    const Frame rows{2, 7, 0x41, 0x0A, 0, 0, 0, 0};
    EXPECT_THAT(_pDevice->requests(), ElementsAre(base, rows, base, rows));
}

TEST_F(TableObjectsTest, ATableOfTooLongANodeStillGetsRowsAndTheNextIsRegistered)
{
    std::string node;
    for (int arc = 0; arc < MAX_OID_LEN; ++arc) {
        node += ".1";
    }
    mappingHoldsTables({node.c_str(), ".3.2"});
    _pDevice->holdsInteger(0x0A41, 0, 1);
    EXPECT_EQ(outputOfRegistration(), "TableHandlerOne::init_table node=.1.3" + node +
                                          "\nnetsnmp_handler_registration* my_handler is NULL\n"
                                          "getFixDeviceNum(ancestorNode[i].ancestorNode)=4\n"
                                          "TableHandlerOne::init_table node=.1.3.3.2\n"
                                          "getFixDeviceNum(ancestorNode[i].ancestorNode)=4\n");
    EXPECT_EQ(handlerAt({1, 3, 3, 2}), "TableHandlerTwo");
}

class StartSnmpdTest : public testing::Test
{
protected:
    StartSnmpdTest() { systemCalls::reset(); }

    ~StartSnmpdTest() override { systemCalls::reset(); }

    static std::int32_t start()
    {
        return SnmpAgentX::startSnmpd("/etc/snmp/snmpd.conf", "161", "tcp:705");
    }

    static constexpr const char *command = "/mnt/actflash/currsw/app/snmpd -x tcp:705 -f -Le -c "
                                           "/etc/snmp/snmpd.conf UDP:161 &";
};

TEST_F(StartSnmpdTest, PreparesBothDirectoriesOnAFreshDevice)
{
    systemCalls::onlyDirectoriesAre({});
    CapturedOutput output;
    EXPECT_EQ(start(), 0);
    EXPECT_THAT(systemCalls::commands(),
                ElementsAre("mkdir -p /home/snmp/share/snmp",
                            "cp -r /mnt/actflash/currsw/mibs /home/snmp/share/snmp",
                            "mkdir /etc/snmp", "killall -9 snmpd", command));
    EXPECT_EQ(output.text(), std::string("cmd->") + command + "\n");
}

TEST_F(StartSnmpdTest, PrintsTheCommandWhenTheOldMasterHasEndedAndBeforeItsOwnStarts)
{
    systemCalls::onlyDirectoriesAre({"/home/snmp/share/snmp", "/etc/snmp"});
    systemCalls::duringSystem([](const std::string &run) { std::printf("run %s\n", run.c_str()); });
    CapturedOutput output;
    EXPECT_EQ(start(), 0);
    const std::string line = command;
    EXPECT_EQ(output.text(), "run killall -9 snmpd\ncmd->" + line + "\nrun " + line + "\n");
}

TEST_F(StartSnmpdTest, ReplacesARunningMasterOnAPreparedDevice)
{
    systemCalls::onlyDirectoriesAre({"/home/snmp/share/snmp", "/etc/snmp"});
    const CapturedOutput output;
    EXPECT_EQ(start(), 0);
    EXPECT_THAT(systemCalls::commands(), ElementsAre("killall -9 snmpd", command));
}

TEST_F(StartSnmpdTest, CopiesNothingIntoAMibDirectoryThatExists)
{
    systemCalls::onlyDirectoriesAre({"/home/snmp/share/snmp"});
    const CapturedOutput output;
    EXPECT_EQ(start(), 0);
    EXPECT_THAT(systemCalls::commands(),
                ElementsAre("mkdir /etc/snmp", "killall -9 snmpd", command));
}

TEST_F(StartSnmpdTest, CopiesTheMibsEvenWhereTheSettingsExist)
{
    systemCalls::onlyDirectoriesAre({"/etc/snmp"});
    const CapturedOutput output;
    EXPECT_EQ(start(), 0);
    EXPECT_THAT(systemCalls::commands(),
                ElementsAre("mkdir -p /home/snmp/share/snmp",
                            "cp -r /mnt/actflash/currsw/mibs /home/snmp/share/snmp",
                            "killall -9 snmpd", command));
}

TEST_F(StartSnmpdTest, GoesOnWhenEveryCommandFails)
{
    systemCalls::onlyDirectoriesAre({});
    systemCalls::fail("system", ENOMEM);
    CapturedOutput output;
    EXPECT_EQ(start(), 0);
    EXPECT_THAT(systemCalls::commands(), SizeIs(5));
    EXPECT_EQ(output.text(), std::string("cmd->") + command + "\n");
}

TEST_F(StartSnmpdTest, PutsTheSettingsIntoTheCommandAsTheyAre)
{
    systemCalls::onlyDirectoriesAre({"/home/snmp/share/snmp", "/etc/snmp"});
    const CapturedOutput output;
    SnmpAgentX::startSnmpd("a,b", "1161 UDP:1162", "/var/agentx/master");
    EXPECT_EQ(systemCalls::commands().back(), "/mnt/actflash/currsw/app/snmpd -x "
                                              "/var/agentx/master -f -Le -c a,b UDP:1161 "
                                              "UDP:1162 &");
}
} // namespace
