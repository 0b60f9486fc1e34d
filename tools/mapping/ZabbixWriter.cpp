#include "ZabbixWriter.h"

#include "AlarmNotifications.h"
#include "ServedAlarms.h"
#include "ZabbixItems.h"
#include "ZabbixScripts.h"
#include "ZabbixTriggers.h"
#include "ZabbixUuid.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <vector>

#include <yaml-cpp/yaml.h>

namespace
{
/// Seconds between two values of an item, unless an alarm is polled more often.
constexpr std::uint32_t interval = 60;
constexpr const char *group = "Templates/tarnoSnmp";
/// The time without values after which the device has a problem; templates of Zabbix use this name.
constexpr const char *patience = "{$SNMP.TIMEOUT}";

class Writer
{
public:
    Writer(const ServedMapping &served, const zabbixWriter::Options &options)
        : _served(served), _options(options), _name(metricsName(served.module))
    {
        for (const ServedObject &object : served.objects) {
            if (zabbixItems::isItem(object)) {
                _items.push_back(&object);
            }
        }
        for (const ServedAlarm &alarm : served.alarms) {
            if (servedAlarms::isWatched(alarm) && alarmNotifications::isPublished(served, alarm)) {
                _alarms.push_back(&alarm);
            }
        }
    }

    std::string write()
    {
        _out << YAML::BeginMap;
        map("zabbix_export", [this] {
            field("version", "6.0");
            list("groups", [this] {
                entry([this] {
                    field("uuid", zabbixUuid::of("", "group", group));
                    field("name", group);
                });
            });
            list("templates", [this] { entry([this] { writeTemplate(); }); });
        });
        _out << YAML::EndMap;
        return std::string("# Zabbix template; generated from a mapping.\n") + _out.c_str() + '\n';
    }

private:
    void writeTemplate()
    {
        writeUuid("template", "");
        field("template", _name);
        field("name", _served.module.name);
        if (!_served.module.description.empty()) {
            field("description", _served.module.description);
        }
        list("groups", [this] { entry([this] { field("name", group); }); });
        writeItems();
        writeDiscoveryRules();
        writeMacros();
        writeValueMaps();
    }

    // Items

    /// Of a table, or the scalars.
    [[nodiscard]] std::vector<const ServedObject *> itemsOf(std::optional<std::size_t> table) const
    {
        std::vector<const ServedObject *> items;
        std::copy_if(_items.begin(), _items.end(), std::back_inserter(items),
                     [table](const ServedObject *each) { return each->table == table; });
        return items;
    }

    void writeItems()
    {
        const auto scalars = itemsOf({});
        if (scalars.empty() && _alarms.empty()) {
            return;
        }
        list("items", [this, &scalars] {
            for (const ServedObject *object : scalars) {
                writeItem(*object);
            }
            writeNotifications();
        });
    }

    /// And, for a counter, an item for its rate.
    void writeItem(const ServedObject &object)
    {
        entry([this, &object] {
            writeUuid("item", object.notes.name);
            field("name", zabbixItems::name(_served, object));
            field("type", "SNMP_AGENT");
            field("snmp_oid", object.table ? oidText(object.oid) + ".{#SNMPINDEX}"
                                           : oidText(object.instances.front().oid));
            field("key", zabbixItems::key(_served, object));
            field("delay", std::to_string(secondsOf(object)) + 's');
            writeValueType(zabbixItems::valueType(object));
            writeUnits(object.notes.units, "");
            writeDescription(object.notes.description);
            if (object.isLabelledNumber()) {
                map("valuemap", [this, &object] { field("name", object.notes.name); });
            }
            writeScript(object);
            writeTags(object);
            writeTriggers(object);
        });
        if (object.isCounter()) {
            writeRate(object);
        }
    }

    void writeRate(const ServedObject &object)
    {
        entry([this, &object] {
            const std::string key = zabbixItems::key(_served, object);
            const std::string rate = _name + '.' + object.notes.name;
            writeUuid("rate", object.notes.name);
            field("name", zabbixItems::name(_served, object) + " per second");
            field("type", "DEPENDENT");
            field("key", rate + ".rate" + key.substr(rate.size()));
            field("delay", "0");
            writeValueType("FLOAT");
            writeUnits(object.notes.units, "/s");
            writePreprocessing("CHANGE_PER_SECOND", "");
            map("master_item", [this, &key] { field("key", key); });
            writeTags(object);
        });
    }

    /// No longer than any of its alarms wants.
    [[nodiscard]] std::uint32_t secondsOf(const ServedObject &object) const
    {
        std::uint32_t seconds = interval;
        for (const ServedAlarm *alarm : alarmsOf(object)) {
            seconds = std::min(seconds, alarm->notes.every);
        }
        return seconds;
    }

    /// Texts have no trends. What Zabbix takes for granted is left out, as Zabbix does: otherwise
    /// it would announce a change with each import.
    void writeValueType(const std::string &type)
    {
        if (type == "CHAR" || type == "LOG") {
            field("trends", "0");
        }
        if (type != "UNSIGNED") {
            field("value_type", type);
        }
    }

    /// The exclamation mark keeps Zabbix from writing thousands of what may already have a prefix.
    void writeUnits(const std::string &units, const char *suffix)
    {
        if (!units.empty()) {
            field("units", '!' + zabbixItems::plain(units) + suffix);
        }
    }

    void writeDescription(const std::string &text)
    {
        if (!text.empty()) {
            field("description", zabbixItems::plain(text));
        }
    }

    void writeScript(const ServedObject &object)
    {
        if (const unsigned places = object.decimalPlaces(); places != 0) {
            writePreprocessing("JAVASCRIPT", zabbixScripts::places(places));
        } else if (zabbixItems::isPlainText(object)) {
            writePreprocessing("JAVASCRIPT", zabbixScripts::text());
        }
    }

    void writePreprocessing(const char *type, const std::string &parameter)
    {
        list("preprocessing", [this, type, &parameter] {
            entry([this, type, &parameter] {
                field("type", type);
                list("parameters", [this, &parameter] { _out << YAML::DoubleQuoted << parameter; });
            });
        });
    }

    void writeTags(const ServedObject &object)
    {
        list("tags", [this, &object] {
            writeTag("component", object.table ? _served.tables[*object.table].notes.name : _name);
            if (object.table) {
                writeTag("row", zabbixItems::row(_served, *object.table));
            }
        });
    }

    void writeTag(const char *tag, const std::string &value)
    {
        entry([this, tag, &value] {
            field("tag", tag);
            field("value", value);
        });
    }

    // Notifications

    void writeNotifications()
    {
        for (const ServedAlarm *alarm : _alarms) {
            for (const AlarmNotification &each : alarmNotifications::of(_served, *alarm)) {
                writeTrapItem(each.name, "notification " + each.name,
                              "snmptrap[\"" + zabbixTriggers::pattern(_served, each) + "\"]");
            }
        }
        if (!_alarms.empty() && _options.hasFallback) {
            writeTrapItem("", "other notifications", "snmptrap.fallback");
        }
    }

    void writeTrapItem(const std::string &identity, const std::string &name, const std::string &key)
    {
        entry([this, &identity, &name, &key] {
            writeUuid("notification", identity);
            field("name", name);
            field("type", "SNMP_TRAP");
            field("key", key);
            field("delay", "0");
            writeValueType("LOG");
            field("logtimefmt", "yyyyMMdd.hhmmss");
            list("tags", [this] { writeTag("component", "notifications"); });
        });
    }

    // Tables

    void writeDiscoveryRules()
    {
        if (itemsOf({}).size() == _items.size()) {
            return;
        }
        list("discovery_rules", [this] {
            for (std::size_t table = 0; table < _served.tables.size(); ++table) {
                if (!itemsOf(table).empty()) {
                    entry([this, table] { writeDiscoveryRule(table); });
                }
            }
        });
    }

    void writeDiscoveryRule(std::size_t table)
    {
        const TableNotes &notes = _served.tables[table].notes;
        writeUuid("table", notes.name);
        field("name", notes.name);
        field("type", "SNMP_AGENT");
        std::string macros;
        for (const ServedObject *name : zabbixItems::rowNames(_served, table)) {
            macros +=
                (macros.empty() ? "" : ",") + zabbixItems::macro(*name) + ',' + oidText(name->oid);
        }
        field("snmp_oid", "discovery[" + macros + ']');
        field("key", _name + '.' + notes.name);
        field("delay", "1h");
        writeFilter(table);
        writeDescription(notes.description);
        if (zabbixItems::rowNames(_served, table).size() > 1) {
            writePreprocessing("JAVASCRIPT", zabbixScripts::rows());
        }
        list("item_prototypes", [this, table] {
            for (const ServedObject *object : itemsOf(table)) {
                writeItem(*object);
            }
        });
    }

    /// The agent itself answers the row numbers, the device the names. Without this condition the
    /// rows of a silent device would lose their names.
    void writeFilter(std::size_t table)
    {
        const auto names = zabbixItems::rowNames(_served, table);
        if (names.size() == 1) {
            return;
        }
        map("filter", [this, &names] {
            field("evaltype", "AND");
            list("conditions", [this, &names] {
                for (std::size_t index = 1; index < names.size(); ++index) {
                    entry([this, &names, index] {
                        field("macro", zabbixItems::macro(*names[index]));
                        field("operator", "EXISTS");
                        field("formulaid", std::string(1, static_cast<char>('A' + index - 1)));
                    });
                }
            });
        });
    }

    // Triggers

    [[nodiscard]] std::vector<const ServedAlarm *> alarmsOf(const ServedObject &object) const
    {
        std::vector<const ServedAlarm *> alarms;
        std::copy_if(
            _alarms.begin(), _alarms.end(), std::back_inserter(alarms),
            [&object](const ServedAlarm *each) { return each->notes.object == object.notes.name; });
        return alarms;
    }

    void writeTriggers(const ServedObject &object)
    {
        const auto alarms = alarmsOf(object);
        const bool isSentinel = &object == sentinel();
        if (alarms.empty() && !isSentinel) {
            return;
        }
        list(object.table ? "trigger_prototypes" : "triggers", [&] {
            for (const ServedAlarm *alarm : alarms) {
                writeTrigger(alarm->notes.name, zabbixTriggers::of(_served, *alarm),
                             object.notes.description);
            }
            if (isSentinel) {
                writeTrigger(
                    "no values",
                    {.name = "no values",
                     .eventName = "The device or its agent has no values",
                     .expression = zabbixTriggers::call(_served, object, "nodata", patience) + "=1",
                     .recovery = "",
                     .priority = "HIGH"},
                    "");
            }
        });
    }

    /// The scalar that stands for all values of the device; null if it has none.
    [[nodiscard]] const ServedObject *sentinel() const
    {
        const auto scalars = itemsOf({});
        return scalars.empty() ? nullptr : scalars.front();
    }

    void writeTrigger(const std::string &identity, const ZabbixTrigger &trigger,
                      const std::string &description)
    {
        entry([&] {
            writeUuid("trigger", identity);
            field("expression", trigger.expression);
            if (trigger.isEvent) {
                field("recovery_mode", "NONE");
                field("type", "MULTIPLE");
                field("manual_close", "YES");
            } else if (!trigger.recovery.empty()) {
                field("recovery_mode", "RECOVERY_EXPRESSION");
                field("recovery_expression", trigger.recovery);
            }
            field("name", trigger.name);
            if (!trigger.eventName.empty()) {
                field("event_name", trigger.eventName);
            }
            field("opdata", "{ITEM.LASTVALUE1}");
            field("priority", trigger.priority);
            writeDescription(description);
        });
    }

    // The rest

    void writeMacros()
    {
        list("macros", [this] {
            entry([this] {
                field("macro", patience);
                field("value", "5m");
            });
        });
    }

    void writeValueMaps()
    {
        const auto isLabelled = [](const ServedObject *each) { return each->isLabelledNumber(); };
        if (std::none_of(_items.begin(), _items.end(), isLabelled)) {
            return;
        }
        list("valuemaps", [this, isLabelled] {
            for (const ServedObject *object : _items) {
                if (isLabelled(object)) {
                    entry([this, object] { writeValueMap(*object); });
                }
            }
        });
    }

    void writeValueMap(const ServedObject &object)
    {
        writeUuid("labels", object.notes.name);
        field("name", object.notes.name);
        list("mappings", [this, &object] {
            for (const auto &[number, label] : object.notes.labels) {
                entry([this, value = number, &text = label] {
                    field("value", std::to_string(value));
                    field("newvalue", text);
                });
            }
        });
    }

    // YAML

    void writeUuid(const char *kind, const std::string &name)
    {
        field("uuid", zabbixUuid::of(_served.module.name, kind, name));
    }

    void field(const char *key, const std::string &value)
    {
        _out << YAML::Key << key << YAML::Value << YAML::DoubleQuoted << value;
    }

    template <typename WriteContent>
    void map(const char *key, WriteContent writeContent)
    {
        _out << YAML::Key << key << YAML::Value;
        entry(writeContent);
    }

    template <typename WriteContent>
    void entry(WriteContent writeContent)
    {
        _out << YAML::BeginMap;
        writeContent();
        _out << YAML::EndMap;
    }

    template <typename WriteEntries>
    void list(const char *key, WriteEntries writeEntries)
    {
        _out << YAML::Key << key << YAML::Value << YAML::BeginSeq;
        writeEntries();
        _out << YAML::EndSeq;
    }

    const ServedMapping &_served;
    zabbixWriter::Options _options;
    std::string _name;
    std::vector<const ServedObject *> _items;
    std::vector<const ServedAlarm *> _alarms;
    YAML::Emitter _out;
};
} // namespace

std::string zabbixWriter::write(const ServedMapping &served, const Options &options)
{
    return Writer(served, options).write();
}
