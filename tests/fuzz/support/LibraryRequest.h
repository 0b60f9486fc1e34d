#pragma once

#include "agent/AgentLibrary.h"

#include <cstdint>
#include <list>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

/// The bytes of a value: up to 80, often more of them than the input has.
[[nodiscard]] std::string arbitraryBytes(FuzzedDataProvider &input);

/// A number that the library cannot take in is left without bytes, and the library would look for
/// them when it encodes it. Types that are never sent do not matter.
void mustBeEncodable(const netsnmp_variable_list &variable);

/// One request of any shape to one registration: whatever types and lengths its values have, the
/// library's handlers of that registration get all its varbinds at once.
class LibraryRequest
{
public:
    explicit LibraryRequest(netsnmp_handler_registration &registration)
        : _registration(registration)
    {
    }

    ~LibraryRequest();
    LibraryRequest(const LibraryRequest &) = delete;
    LibraryRequest &operator=(const LibraryRequest &) = delete;

    /// The bytes stand in a block of their own size under this type, fitting or not.
    void add(const Name &name, std::uint8_t type, const std::string &bytes);
    /// The status of one phase, be it what the handlers returned or what a varbind was marked with.
    int run(int mode);

    [[nodiscard]] std::size_t size() const { return _requests.size(); }

    [[nodiscard]] const netsnmp_variable_list &varbind(std::size_t position) const;

private:
    netsnmp_handler_registration &_registration;
    netsnmp_agent_request_info _info{};
    std::list<netsnmp_request_info> _requests;
};
