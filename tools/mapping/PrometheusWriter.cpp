#include "PrometheusWriter.h"

#include "MappingWords.h"
#include "SnmpObjConvertStrategy.h"

#include <array>

#include <yaml-cpp/yaml.h>

namespace
{
constexpr std::uint16_t integerType = 2;
constexpr std::uint16_t textType = 4;
/// Rows in one answer of a walk, and scalars in one request. From a device that is silent every
/// scalar costs 40 ms, and what takes the agent a second is repeated by the master agent until it
/// gives the agent up.
constexpr int repetitions = 16;

/// What a metric takes out of a text: a suffix of its name and where the number stands.
struct Extract {
    const char *suffix;
    const char *regex;
};

constexpr std::array decimalExtracts{Extract{"", "(-?[0-9]+\\.?[0-9]*)"}};
constexpr std::array dateTimeExtracts{
    Extract{"Hour", "([0-9]+):.*"},
    Extract{"Minute", "[0-9]+:([0-9]+):.*"},
    Extract{"Second", "[0-9]+:[0-9]+:([0-9]+) .*"},
    Extract{"Month", ".* ([0-9]+)/.*"},
    Extract{"Day", ".*/([0-9]+)/.*"},
    Extract{"Year", ".*/([0-9]+)"},
};

/// The exporter writes OIDs without a leading period.
std::string bare(const Oid &oid)
{
    return oidText(oid).substr(1);
}

std::string metricType(const ServedObject &object)
{
    if (!object.notes.labels.empty() && object.info.asnType == integerType) {
        return "EnumAsInfo";
    }
    switch (object.info.asnType) {
    case integerType:
        return "gauge";
    case textType:
        return "DisplayString";
    default:
        break;
    }
    const std::string type = mappingWords::snmpType(object.info.asnType);
    if (type == "Counter32" || type == "Counter64") {
        return "counter";
    }
    if (type == "Gauge32" || type == "TimeTicks") {
        return "gauge";
    }
    return type == "IpAddress" ? "InetAddressIPv4" : "OctetString";
}

class Writer
{
public:
    std::string write(const ServedMapping &served)
    {
        _out << YAML::BeginMap << YAML::Key << metricsName(served.module) << YAML::Value
             << YAML::BeginMap;
        writeOids(served);
        _out << YAML::Key << "metrics" << YAML::Value << YAML::BeginSeq;
        for (const ServedObject &object : served.objects) {
            writeMetric(served, object);
        }
        _out << YAML::EndSeq;
        writeManner();
        _out << YAML::EndMap << YAML::EndMap;
        return std::string("# For the Prometheus SNMP exporter 0.21, made from a mapping.\n") +
               _out.c_str() + '\n';
    }

private:
    /// Tables are walked, scalars are asked for one by one.
    void writeOids(const ServedMapping &served)
    {
        _out << YAML::Key << "walk" << YAML::Value << YAML::BeginSeq;
        for (const ServedTable &table : served.tables) {
            _out << bare(table.oid);
        }
        _out << YAML::EndSeq << YAML::Key << "get" << YAML::Value << YAML::BeginSeq;
        for (const ServedObject &object : served.objects) {
            if (!object.table) {
                _out << bare(object.instances.front().oid);
            }
        }
        _out << YAML::EndSeq;
    }

    /// The wait is longer than that of the master agent for the agent: an earlier repetition would
    /// only double the work of a device in trouble.
    void writeManner()
    {
        _out << YAML::Key << "version" << YAML::Value << 2 << YAML::Key << "max_repetitions"
             << YAML::Value << repetitions << YAML::Key << "retries" << YAML::Value << 1
             << YAML::Key << "timeout" << YAML::Value << "10s" << YAML::Key << "auth" << YAML::Value
             << YAML::BeginMap << YAML::Key << "community" << YAML::Value << "public"
             << YAML::EndMap;
    }

    void writeMetric(const ServedMapping &served, const ServedObject &object)
    {
        _out << YAML::BeginMap;
        _out << YAML::Key << "name" << YAML::Value << object.notes.name;
        _out << YAML::Key << "oid" << YAML::Value << bare(object.oid);
        _out << YAML::Key << "type" << YAML::Value << metricType(object);
        _out << YAML::Key << "help" << YAML::Value << YAML::DoubleQuoted << helpOf(object);
        if (object.table) {
            _out << YAML::Key << "indexes" << YAML::Value << YAML::BeginSeq << YAML::BeginMap
                 << YAML::Key << "labelname" << YAML::Value
                 << tableStem(served.tables[*object.table]) + "Row" << YAML::Key << "type"
                 << YAML::Value << "gauge" << YAML::EndMap << YAML::EndSeq;
        }
        writeLabels(object);
        if (object.info.asnType == textType) {
            const unsigned kind = object.info.valueType & conversion::kindMask;
            if (kind == conversion::decimalText) {
                writeExtracts(decimalExtracts);
            } else if (kind == conversion::dateTimeText) {
                writeExtracts(dateTimeExtracts);
            }
        }
        _out << YAML::EndMap;
    }

    static std::string helpOf(const ServedObject &object)
    {
        const std::string &said = object.notes.description;
        std::string help = said.empty() ? object.notes.name : said;
        help += object.notes.units.empty() ? "" : " (" + object.notes.units + ')';
        return help + " - " + bare(object.oid);
    }

    void writeLabels(const ServedObject &object)
    {
        if (metricType(object) != "EnumAsInfo") {
            return;
        }
        _out << YAML::Key << "enum_values" << YAML::Value << YAML::BeginMap;
        for (const auto &[number, label] : object.notes.labels) {
            _out << YAML::Key << number << YAML::Value << label;
        }
        _out << YAML::EndMap;
    }

    template <typename Extracts>
    void writeExtracts(const Extracts &extracts)
    {
        _out << YAML::Key << "regex_extracts" << YAML::Value << YAML::BeginMap;
        for (const Extract &extract : extracts) {
            _out << YAML::Key << YAML::DoubleQuoted << extract.suffix << YAML::Value
                 << YAML::BeginSeq << YAML::BeginMap << YAML::Key << "value" << YAML::Value
                 << YAML::SingleQuoted << "$1" << YAML::Key << "regex" << YAML::Value
                 << YAML::SingleQuoted << extract.regex << YAML::EndMap << YAML::EndSeq;
        }
        _out << YAML::EndMap;
    }

    YAML::Emitter _out;
};
} // namespace

std::string prometheusWriter::write(const ServedMapping &served)
{
    return Writer().write(served);
}
