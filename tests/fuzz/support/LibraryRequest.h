#pragma once

#include "agent/AgentLibrary.h"

#include <cstdint>
#include <list>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

/// The bytes of a value: up to 80, often more than the input has left.
[[nodiscard]] std::string arbitraryBytes(FuzzedDataProvider &input);

/// The library stores no bytes for a number that it cannot take, and would read them when it
/// encodes the number. Types that are never sent do not matter.
void mustBeEncodable(const netsnmp_variable_list &variable);

/// One request of any shape to one registration: whatever types and lengths its values have, the
/// library's handlers of that registration get all of its varbinds at once.
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

    /// Stores the bytes in a block of exactly their size under this type, fitting or not.
    void add(const Name &name, std::uint8_t type, const std::string &bytes);
    /// Runs one phase and returns its status: what the handlers returned, or a varbind's error.
    int run(int mode);

    [[nodiscard]] std::size_t size() const { return _requests.size(); }

    [[nodiscard]] const netsnmp_variable_list &varbind(std::size_t position) const;

private:
    netsnmp_handler_registration &_registration;
    netsnmp_agent_request_info _info{};
    std::list<netsnmp_request_info> _requests;
};
