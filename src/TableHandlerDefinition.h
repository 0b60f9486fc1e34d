#pragma once

/// The definitions of the class template in TableHandler.h. Only for the source file of each
/// table's class, which instantiates it.

#include "BaseOid.h"
#include "DataManage.h"
#include "ManagerValue.h"
#include "SnmpDataBase.h"
#include "TableHandler.h"
#include "TableRegistration.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

/// The column that holds the row number; it needs no cell in the mapping.
inline constexpr unsigned rowColumn = 1;

template <class Derived>
TableHandler<Derived>::TableHandler(SnmpDataBase &database)
{
    s_database = &database;
    s_rowHead = nullptr;
    s_mutex.emplace();
}

template <class Derived>
TableHandler<Derived>::~TableHandler()
{
    // A lock still held must not prevent the mutex from being destroyed.
    s_mutex->unlock();
    s_mutex.reset();
}

template <class Derived>
void TableHandler<Derived>::add_index(int index)
{
    const Mutex::Guard guard(*s_mutex);
    insertIndex(index);
    s_rowHead = indexes;
}

template <class Derived>
void TableHandler<Derived>::remove_index(int index)
{
    const Mutex::Guard guard(*s_mutex);
    removeIndex(index);
    s_rowHead = indexes;
}

template <class Derived>
void TableHandler<Derived>::init_table(std::uint8_t flag, const std::string &tableNode)
{
    s_tableNode = tableNode;
    s_tableFlag = flag;
    const std::string nodeText = readBaseOidText() + tableNode;
    // Fixed text: every table's class prints this name.
    std::printf("TableHandlerOne::init_table node=%s\n", nodeText.c_str());
    tableRegistration::Registration registration = tableRegistration::makeRegistration(
        Derived::registrationName, handle_table_request, nodeText);
    if (!registration) {
        std::puts("netsnmp_handler_registration* my_handler is NULL");
        return;
    }
    auto table = tableRegistration::allocateZeroed<netsnmp_table_registration_info>();
    tableRegistration::Iterator iterator(
        tableRegistration::allocateZeroed<netsnmp_iterator_info>().release());
    if (!table || !iterator) {
        return;
    }
    std::vector<SnmpTableOid> columns;
    s_database->getSnmpTableColumns(s_tableNode, columns);
    // Two index components: the library appends the second, which no row ever fills, to every cell.
    netsnmp_table_helper_add_indexes(table.get(), ASN_INTEGER, ASN_INTEGER, 0);
    table->min_column = rowColumn;
    table->max_column = static_cast<unsigned>(columns.size()) + rowColumn;

    iterator->get_first_data_point = get_first_data_point;
    iterator->get_next_data_point = get_next_data_point;
    iterator->make_data_context = make_data_context;
    iterator->free_data_context = free_data_context;
    iterator->free_loop_context_at_end = free_loop_context_at_end;
    iterator->table_reginfo = table.release();
    // The library uses it as long as the table is registered, which is the life of the process.
    netsnmp_iterator_info *const registered = iterator.release();
    if (netsnmp_register_table_iterator(registration.release(), registered) != MIB_REGISTERED_OK) {
        iterator.reset(registered);
    }
}

template <class Derived>
netsnmp_variable_list *
TableHandler<Derived>::get_first_data_point(void **loop_context, void ** /*data_context*/,
                                            netsnmp_variable_list *index_data,
                                            netsnmp_iterator_info *iterator)
{
    const Mutex::Guard guard(*s_mutex);
    if (s_rowHead == nullptr) {
        return nullptr;
    }
    // make_data_context sets the data context: one set here would be freed once for each varbind of
    // the table in a request.
    *loop_context = make_data_context(s_rowHead, iterator);
    if (*loop_context == nullptr) {
        return nullptr;
    }
    tableRegistration::setIndex(index_data, s_rowHead->index);
    return index_data;
}

template <class Derived>
netsnmp_variable_list *
TableHandler<Derived>::get_next_data_point(void **loop_context, void ** /*data_context*/,
                                           netsnmp_variable_list *index_data,
                                           netsnmp_iterator_info * /*iterator*/)
{
    if (loop_context == nullptr || *loop_context == nullptr) {
        return nullptr;
    }
    auto *const row = static_cast<IndexNode *>(*loop_context);
    if (row->next == nullptr) {
        return nullptr;
    }
    *row = *row->next;
    tableRegistration::setIndex(index_data, row->index);
    return index_data;
}

template <class Derived>
void *TableHandler<Derived>::make_data_context(void *loop_context,
                                               netsnmp_iterator_info * /*iterator*/)
{
    auto copy = tableRegistration::allocateZeroed<IndexNode>();
    if (copy && loop_context != nullptr) {
        *copy = *static_cast<const IndexNode *>(loop_context);
    }
    return copy.release();
}

template <class Derived>
void TableHandler<Derived>::free_data_context(void *data_context,
                                              netsnmp_iterator_info * /*iterator*/)
{
    std::free(data_context);
}

template <class Derived>
void TableHandler<Derived>::free_loop_context_at_end(void *loop_context,
                                                     netsnmp_iterator_info * /*iterator*/)
{
    std::free(loop_context);
}

template <class Derived>
int TableHandler<Derived>::handle_table_request(netsnmp_mib_handler * /*handler*/,
                                                netsnmp_handler_registration * /*registration*/,
                                                netsnmp_agent_request_info *requestInfo,
                                                netsnmp_request_info *requests)
try {
    if (requests == nullptr) {
        return SNMP_ERR_GENERR;
    }
    for (netsnmp_request_info *request = requests; request != nullptr; request = request->next) {
        const int status = serve(requestInfo->mode, *requests, *request);
        if (status != SNMP_ERR_NOERROR) {
            return status;
        }
    }
    return SNMP_ERR_NOERROR;

} catch (...) {
    return SNMP_ERR_GENERR;
}

/// A request that cannot be served is left untouched: the library then answers noSuchInstance.
template <class Derived>
int TableHandler<Derived>::serve(int mode, const netsnmp_request_info &first,
                                 netsnmp_request_info &request)
{
    const auto *const row =
        static_cast<const IndexNode *>(netsnmp_extract_iterator_context(&request));
    const netsnmp_table_request_info *const cellName = netsnmp_extract_table_info(&request);
    if (row == nullptr || cellName == nullptr) {
        return SNMP_ERR_NOERROR;
    }
    if (cellName->colnum == rowColumn) {
        tableRegistration::setInteger(*request.requestvb, row->index);
        return SNMP_ERR_NOERROR;
    }
    SnmpTableOid cell;
    if (s_database->getSnmpTableOid(s_tableNode, cellName->colnum,
                                    static_cast<std::uint8_t>(row->index), cell) == -1) {
        std::puts("get_Column_Def(column,colunmInfo) is ERROR !!!!!!!!!!!!!!!!!!!");
        return SNMP_ERR_NOERROR;
    }
    if (!readCell(cell)) {
        std::puts(" get_ data is ERROR !!!!!!!!!!!!!!!!!!!");
        return SNMP_ERR_NOERROR;
    }
    return serveCell(mode, first, *request.requestvb, cell);
}

template <class Derived>
int TableHandler<Derived>::serveCell(int mode, const netsnmp_request_info &first,
                                     netsnmp_variable_list &answer, const SnmpTableOid &cell)
{
    switch (mode) {
    case MODE_GET:
        tableRegistration::setAnswer(answer, cell.asnType, s_value);
        return SNMP_ERR_NOERROR;
    case MODE_SET_RESERVE1:
        if (cell.access != columnReadWrite) {
            std::printf(" %s SNMP_ERR_READONLY\n", Derived::sourcePath);
            return SNMP_ERR_READONLY;
        }
        return SNMP_ERR_NOERROR;
    case MODE_SET_ACTION:
        // One table set writes one value: that of its first varbind.
        return writeCell(cell, *first.requestvb);
    default:
        return SNMP_ERR_NOERROR;
    }
}

/// Every mode first reads the cell into the class's record.
template <class Derived>
bool TableHandler<Derived>::readCell(const SnmpTableOid &cell)
{
    s_value.oid = cell.objId;
    s_value.attr = cell.valueType;
    return DataManage::getInstance()->select(s_value, *s_database) != -1;
}

template <class Derived>
int TableHandler<Derived>::writeCell(const SnmpTableOid &cell,
                                     const netsnmp_variable_list &newValue)
{
    DeviceValue value = s_value;
    if (cell.asnType == ASN_INTEGER) {
        managerValue::takeInteger(newValue.val.string, newValue.val_len, value);
    } else {
        managerValue::takeText(newValue.val.string, newValue.val_len, value);
    }
    if (DataManage::getInstance()->setSnmpValue(value, *s_database) == -1) {
        std::puts("SNMP_ERR_BADVALUE");
        return SNMP_ERR_BADVALUE;
    }
    return SNMP_ERR_NOERROR;
}
