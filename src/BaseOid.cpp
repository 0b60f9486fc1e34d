#include "BaseOid.h"

#include "Configuration.h"
#include "DataManage.h"
#include "DeviceObjects.h"
#include "TextNumbers.h"

#include <cstdint>

std::string readBaseOidText()
{
    DeviceValue value;
    if (DataManage::getInstance()->getObjValue(deviceObject::baseOid, value) != 0) {
        return configuration::defaultBaseOid;
    }
    return std::string(value.text());
}

std::optional<std::vector<oid>> toOid(const std::string &text, std::size_t most)
{
    std::vector<std::uint32_t> numbers(most);
    const std::int32_t found = parseDottedNumbers(text.c_str(), numbers.data(), most);
    const auto count = static_cast<std::size_t>(found);
    if (count > most) {
        return std::nullopt;
    }
    return std::vector<oid>(numbers.begin(), numbers.begin() + found);
}
