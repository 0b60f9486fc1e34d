#include "support/HandlerWorld.h"

#include "DataManage.h"
#include "SnmpDataBase.h"
#include "support/MappingFile.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace
{
constexpr std::array types{0x02, 0x04, 0x40, 0x41, 0x42, 0x43, 0x44, 0x46, 0x47,
                           0x48, 0x05, 0x06, 0x03, 0x01, 0x30, 0x76, 0x77, 0x78,
                           0x79, 0x7A, 0x7B, 0x80, 0xA0, 0xFF, 0x00, 0x102};
constexpr std::array codes{"0", "0001", "0003", "0004", "2004", "000b", "1000", "f004"};
constexpr int scalars = static_cast<int>(types.size()) * 4;
constexpr int columns = static_cast<int>(types.size()) * 2;
constexpr const char *baseText = ".1.3.6.1.4.1.32473.8";

std::string hexadecimal(int number)
{
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%04x", static_cast<unsigned>(number));
    return text.data();
}

int typeOf(int position)
{
    return types.at(static_cast<std::size_t>(position) % types.size());
}

const char *codeOf(int position)
{
    return codes.at(static_cast<std::size_t>(position) / 2 % codes.size());
}

std::string scalarRow(int position)
{
    return "INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES('" + hexadecimal(0x0100 + position) +
           "',0,0,'" + hexadecimal(typeOf(position)) + "','" + (position % 3 == 1 ? "1" : "3") +
           "',1,1," + std::to_string(position + 1) + ",0,'" + codeOf(position) + "','0',NULL,'0');";
}

std::string cellRow(int table, int row, int position)
{
    return "INSERT INTO SNMP_TABLE_OBJ_TABLE VALUES('" +
           hexadecimal(table * 0x1000 + row * 0x100 + position) + "',0," +
           std::to_string(position + 2) + "," + std::to_string(typeOf(position)) + "," +
           (position % 3 == 1 ? "1" : "3") + ",'.3." + std::to_string(table) + "','" +
           codeOf(position) + "','0',NULL," + std::to_string(row) + ",0,'0','0');";
}

void fill(const MappingFile &file)
{
    std::string statements = "BEGIN;";
    for (int position = 0; position < scalars; ++position) {
        statements += scalarRow(position);
    }
    for (const int table : {1, 2}) {
        for (int row = 1; row <= handlerWorld::rows; ++row) {
            for (int position = 0; position < columns; ++position) {
                statements += cellRow(table, row, position);
            }
        }
    }
    file.run(statements + "COMMIT;");
}

/// The singleton, in the state of a process that has just started.
class Link : public DataManage
{
public:
    static void renew()
    {
        delete s_instance;
        s_instance = new Link;
        s_instance->limitWaits();
    }
};

template <class Table>
void registerTable(const char *node)
{
    static auto *const handler = new Table(*Registry::database);
    handler->init_table(0, node);
    for (int row = 1; row <= handlerWorld::rows; ++row) {
        handler->add_index(row);
    }
}
} // namespace

void handlerWorld::start()
{
    agentLibrary::start();
    const MappingFile file;
    fill(file);
    simulatedLink::reset();
    Link::renew();
    const std::string oidText = baseText;
    simulatedLink::everyObjectHolds(text, {oidText.begin(), oidText.end()});
    SnmpAgentX::getInstance(file.path());
    SnmpAgentX::registerScalarObjects();
    registerTable<OpenedTable<TableHandlerOne>>(".3.1");
    registerTable<OpenedTable<TableHandlerTwo>>(".3.2");
}

void handlerWorld::renew()
{
    simulatedLink::reset();
    Link::renew();
    Registry::answer.fill(0);
    Registry::pendingObj = SnmpObjOid{};
    Registry::pendingValue = DeviceValue{};
    OpenedTable<TableHandlerOne>::s_value = DeviceValue{};
    OpenedTable<TableHandlerTwo>::s_value = DeviceValue{};
}

void handlerWorld::misbehave(FuzzedDataProvider &input)
{
    simulatedLink::everyObjectHolds(input);
    if (input.ConsumeBool()) {
        simulatedLink::follow(input);
    }
}

const Name &handlerWorld::base()
{
    static const Name s_base{1, 3, 6, 1, 4, 1, 32473, 8};
    return s_base;
}

Name handlerWorld::plainScalar()
{
    return below(base(), {1, 1, 1, 0});
}

Name handlerWorld::plainCell(oid table)
{
    return below(base(), {3, table, 1, 2, 1, 0});
}

std::size_t handlerWorld::scalarCount()
{
    return scalars;
}

unsigned handlerWorld::lastColumn()
{
    return columns + 1;
}
