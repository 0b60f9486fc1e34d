#include "PrometheusWriter.h"

#include "ObjectTypes.h"
#include "PublishedConversions.h"

#include <span>

#include <yaml-cpp/yaml.h>

namespace
{
/// Rows per answer of a walk, and scalars per request. With a silent device every scalar costs
/// 40 ms; the master repeats a request that takes the agent a second, and finally drops the agent.
constexpr int repetitions = 16;

/// The exporter writes OIDs without a leading period.
std::string bare(const Oid &oid)
{
    return oidText(oid).substr(1);
}

std::string metricType(const ServedObject &object)
{
    if (!object.notes.labels.empty() && object.info.asnType == objectType::integer) {
        return "EnumAsInfo";
    }
    return objectType::of(object.info.asnType).metricType;
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
        writeRequestSettings();
        _out << YAML::EndMap << YAML::EndMap;
        return std::string("# Prometheus SNMP exporter 0.21; generated from a mapping.\n") +
               _out.c_str() + '\n';
    }

private:
    /// Tables are walked; scalars are read with get.
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

    /// The timeout is longer than the master's for the agent: an earlier retry would only double
    /// the load on a struggling device.
    void writeRequestSettings()
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
        const auto extracts = publishedConversion::of(object.info).extracts;
        if (object.info.asnType == objectType::octetString && !extracts.empty()) {
            writeExtracts(extracts);
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

    void writeExtracts(std::span<const publishedConversion::Extract> extracts)
    {
        _out << YAML::Key << "regex_extracts" << YAML::Value << YAML::BeginMap;
        for (const publishedConversion::Extract &extract : extracts) {
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
