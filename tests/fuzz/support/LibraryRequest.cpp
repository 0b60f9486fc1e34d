#include "support/LibraryRequest.h"

#include "support/Invariant.h"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <set>

namespace
{
/// The library's own setter would reject what does not fit.
void setRawValue(netsnmp_variable_list &variable, std::uint8_t type, const std::string &bytes)
{
    variable.type = type;
    variable.val_len = bytes.size();
    variable.val.string = nullptr;
    if (!bytes.empty()) {
        variable.val.string = static_cast<u_char *>(std::malloc(bytes.size()));
        std::memcpy(variable.val.string, bytes.data(), bytes.size());
    }
}
} // namespace

std::string arbitraryBytes(FuzzedDataProvider &input)
{
    const auto length = input.ConsumeIntegralInRange<std::size_t>(0, 80);
    std::string bytes = input.ConsumeBytesAsString(length);
    if (input.ConsumeBool()) {
        bytes.resize(length, '7');
    }
    return bytes;
}

void mustBeEncodable(const netsnmp_variable_list &variable)
{
    static const std::set<u_char> s_sent{ASN_INTEGER,   ASN_OCTET_STR, ASN_OBJECT_ID,
                                         ASN_IPADDRESS, ASN_COUNTER,   ASN_GAUGE,
                                         ASN_TIMETICKS, ASN_OPAQUE,    ASN_COUNTER64};
    mustHold(s_sent.count(variable.type) == 0 || variable.val_len == 0 ||
                 variable.val.string != nullptr,
             "a value that has a length has bytes");
}

LibraryRequest::~LibraryRequest()
{
    for (netsnmp_request_info &request : _requests) {
        netsnmp_free_request_data_sets(&request);
        snmp_free_var(request.requestvb);
    }
    netsnmp_free_agent_data_sets(&_info);
}

void LibraryRequest::add(const Name &name, std::uint8_t type, const std::string &bytes)
{
    netsnmp_variable_list *variable = nullptr;
    snmp_varlist_add_variable(&variable, name.data(), name.size(), ASN_NULL, nullptr, 0);
    setRawValue(*variable, type, bytes);
    netsnmp_request_info &request = _requests.emplace_back();
    request.requestvb = variable;
    request.agent_req_info = &_info;
    request.index = static_cast<int>(_requests.size());
    request.range_end = _registration.rootoid;
    request.range_end_len = _registration.rootoid_len;
    if (_requests.size() > 1) {
        netsnmp_request_info &previous = *std::prev(_requests.end(), 2);
        previous.next = &request;
        request.prev = &previous;
    }
}

int LibraryRequest::run(int mode)
{
    _info.mode = mode;
    for (netsnmp_request_info &request : _requests) {
        request.processed = 0;
        request.status = SNMP_ERR_NOERROR;
    }
    const int status = netsnmp_call_handlers(&_registration, &_info, &_requests.front());
    for (const netsnmp_request_info &request : _requests) {
        mustBeEncodable(*request.requestvb);
    }
    const int marked = netsnmp_check_requests_error(&_requests.front());
    return status != SNMP_ERR_NOERROR ? status : marked;
}

const netsnmp_variable_list &LibraryRequest::varbind(std::size_t position) const
{
    return *std::next(_requests.begin(), static_cast<std::ptrdiff_t>(position))->requestvb;
}
