#include "TableRegistration.h"

#include "BaseOid.h"
#include "ManagerValue.h"
#include "MappingRecords.h"

tableRegistration::Registration tableRegistration::makeRegistration(const char *name,
                                                                    Netsnmp_Node_Handler *handler,
                                                                    const std::string &nodeText)
{
    const auto tableOid = toOid(nodeText, MAX_OID_LEN - cellSuffixLength);
    return Registration(
        tableOid ? netsnmp_create_handler_registration(name, handler, tableOid->data(),
                                                       tableOid->size(), HANDLER_CAN_RWRITE)
                 : nullptr);
}

void tableRegistration::setInteger(netsnmp_variable_list &variable, std::int32_t number)
{
    snmp_set_var_typed_value(&variable, ASN_INTEGER, &number, sizeof number);
}

void tableRegistration::setAnswer(netsnmp_variable_list &variable, std::uint16_t asnType,
                                  const DeviceValue &value)
{
    if (asnType == ASN_INTEGER) {
        setInteger(variable, static_cast<std::int32_t>(value.int32()));
        return;
    }
    const auto tag = static_cast<std::uint8_t>(asnType);
    snmp_set_var_typed_value(&variable, tag, value.data.data(),
                             managerValue::servedLength(tag, value));
}

void tableRegistration::setIndex(netsnmp_variable_list *indexData, std::int32_t index)
{
    snmp_set_var_value(indexData, &index, sizeof index);
}
