#include "ZabbixScripts.h"

namespace
{
constexpr const char *textOf = R"(function textOf(value) {
    if (!/^([0-9A-F]{2} )+$/.test(value)) {
        return value;
    }
    try {
        return decodeURIComponent(value.replace(/(..) /g, '%$1'));
    } catch (error) {
        return value;
    }
}
)";
} // namespace

std::string zabbixScripts::text()
{
    return std::string(textOf) + "return textOf(value);";
}

std::string zabbixScripts::rows()
{
    return std::string(textOf) + R"(var rows = JSON.parse(value);
rows.forEach(function (row) {
    for (var name in row) {
        row[name] = textOf(row[name]).replace(/\{(?=[$#?A-Z])|\$(?=[1-9])/g, '$& ');
    }
});
return JSON.stringify(rows);)";
}

std::string zabbixScripts::places(unsigned count)
{
    return "return value / 1" + std::string(count, '0') + ';';
}
