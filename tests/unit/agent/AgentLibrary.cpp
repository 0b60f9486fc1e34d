#include "agent/AgentLibrary.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <set>

#include <gtest/gtest.h>

namespace
{
netsnmp_handler_registration *registrationOver(const Name &name)
{
    netsnmp_subtree *const subtree = netsnmp_subtree_find(name.data(), name.size(), nullptr, "");
    return subtree == nullptr ? nullptr : subtree->reginfo;
}

bool isWithin(const netsnmp_subtree &subtree, const Name &name)
{
    return snmp_oid_compare(subtree.name_a, std::min<std::size_t>(subtree.namelen, name.size()),
                            name.data(), name.size()) == 0;
}

/// The iterators of registered tables. The library does not own them: they outlive the
/// registration, as in an agent.
std::set<netsnmp_iterator_info *> keptByTables()
{
    std::set<netsnmp_iterator_info *> kept;
    for (const netsnmp_subtree *subtree = netsnmp_subtree_find_first(""); subtree != nullptr;
         subtree = subtree->next) {
        auto *const iterator = static_cast<netsnmp_iterator_info *>(
            netsnmp_find_handler_data_by_name(subtree->reginfo, TABLE_ITERATOR_NAME));
        if (iterator != nullptr && (iterator->flags & NETSNMP_HANDLER_OWNS_IINFO) == 0) {
            kept.insert(iterator);
        }
    }
    return kept;
}
} // namespace

Name below(const Name &base, const Name &arcs)
{
    Name name = base;
    name.insert(name.end(), arcs.begin(), arcs.end());
    return name;
}

void agentLibrary::start()
{
    static const int s_initialised = [] {
        netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, LOG_DEBUG);
        netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 1);
        return init_agent("unitTests");
    }();
    ASSERT_EQ(s_initialised, 0);
    const auto kept = keptByTables();
    clear_context();
    for (netsnmp_iterator_info *const iterator : kept) {
        netsnmp_iterator_delete_table(iterator);
    }
    setup_tree();
}

netsnmp_handler_registration *agentLibrary::registrationAt(const Name &name)
{
    netsnmp_handler_registration *const registration = registrationOver(name);
    const bool isExact = registration != nullptr &&
                         snmp_oid_compare(registration->rootoid, registration->rootoid_len,
                                          name.data(), name.size()) == 0;
    return isExact ? registration : nullptr;
}

std::size_t agentLibrary::registrationsBelow(const Name &name)
{
    std::size_t count = 0;
    for (const netsnmp_subtree *subtree = netsnmp_subtree_find_first(""); subtree != nullptr;
         subtree = subtree->next) {
        if (subtree->reginfo != nullptr && isWithin(*subtree, name)) {
            ++count;
        }
    }
    return count;
}

ManagerRequest::~ManagerRequest()
{
    for (Varbind &varbind : _varbinds) {
        netsnmp_free_request_data_sets(&varbind.request);
        snmp_free_var(varbind.request.requestvb);
    }
    netsnmp_free_agent_data_sets(&_info);
}

void ManagerRequest::asksFor(const Name &name)
{
    add(name, ASN_NULL, nullptr, 0);
}

void ManagerRequest::setsInteger(const Name &name, long value)
{
    add(name, ASN_INTEGER, &value, sizeof value);
}

void ManagerRequest::setsText(const Name &name, const std::string &text)
{
    add(name, ASN_OCTET_STR, text.data(), text.size());
}

void ManagerRequest::run(int mode)
{
    _info.mode = mode;
    for (Varbind &varbind : _varbinds) {
        varbind.isServed = false;
    }
    for (const Varbind &varbind : _varbinds) {
        if (!varbind.isServed) {
            callHandlersOf(varbind);
        }
    }
}

int ManagerRequest::runSet()
{
    for (const int mode :
         {MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION, MODE_SET_COMMIT}) {
        run(mode);
        if (_status != SNMP_ERR_NOERROR) {
            const int refusal = _status;
            run(mode == MODE_SET_ACTION ? MODE_SET_UNDO : MODE_SET_FREE);
            return refusal;
        }
    }
    return SNMP_ERR_NOERROR;
}

const netsnmp_variable_list &ManagerRequest::varbind(std::size_t position) const
{
    return *std::next(_varbinds.begin(), static_cast<std::ptrdiff_t>(position))->request.requestvb;
}

Name ManagerRequest::name(std::size_t position) const
{
    const netsnmp_variable_list &variable = varbind(position);
    return {variable.name, variable.name + variable.name_length};
}

std::string ManagerRequest::text(std::size_t position) const
{
    const netsnmp_variable_list &variable = varbind(position);
    return {reinterpret_cast<const char *>(variable.val.string), variable.val_len};
}

long ManagerRequest::integer(std::size_t position) const
{
    return *varbind(position).val.integer;
}

ManagerRequest::Varbind &ManagerRequest::add(const Name &name, std::uint8_t type, const void *value,
                                             std::size_t length)
{
    Varbind &varbind = _varbinds.emplace_back();
    varbind.registration = registrationOver(name);
    netsnmp_variable_list *list = nullptr;
    snmp_varlist_add_variable(&list, name.data(), name.size(), type, value, length);
    varbind.request.requestvb = list;
    varbind.request.agent_req_info = &_info;
    varbind.request.index = static_cast<int>(_varbinds.size());
    return varbind;
}

void ManagerRequest::callHandlersOf(const Varbind &first)
{
    ASSERT_NE(first.registration, nullptr);
    netsnmp_request_info *list = nullptr;
    netsnmp_request_info **end = &list;
    for (Varbind &varbind : _varbinds) {
        if (varbind.registration == first.registration) {
            varbind.isServed = true;
            varbind.request.next = nullptr;
            varbind.request.processed = 0;
            varbind.request.status = 0;
            *end = &varbind.request;
            end = &varbind.request.next;
        }
    }
    const int status = netsnmp_call_handlers(first.registration, &_info, list);
    const int refusal = netsnmp_check_requests_error(list);
    if (_status == SNMP_ERR_NOERROR) {
        _status = status != SNMP_ERR_NOERROR ? status : refusal;
    }
}
