#include "PrometheusWriter.h"

#include "PrometheusMetrics.h"

#include <yaml-cpp/yaml.h>

namespace
{
using prometheusWriter::hasScale;
using prometheusWriter::releases;

/// Rows per answer of a walk, and scalars per request. With a silent device every scalar costs
/// 40 ms; the master repeats a request that takes the agent a second, and finally drops the agent.
constexpr int repetitions = 16;

/// The exporter writes OIDs without a leading period.
std::string bare(const Oid &oid)
{
    return oidText(oid).substr(1);
}

std::string subIndexOf(const ServedTable &table)
{
    return tableStem(table) + "SubIndex";
}

class Writer
{
public:
    Writer(const ServedMapping &served, const std::string &release)
        : _served(served), _release(release), _hasAuths(release != releases.front()),
          _hasScale(hasScale(release))
    {
    }

    std::string write()
    {
        _out << YAML::BeginMap;
        if (_hasAuths) {
            writeAuths();
            _out << YAML::Key << "modules" << YAML::Value << YAML::BeginMap;
        }
        writeModule();
        if (_hasAuths) {
            _out << YAML::EndMap;
        }
        _out << YAML::EndMap;
        return "# Prometheus SNMP exporter " + _release + "; generated from a mapping.\n" +
               _out.c_str() + '\n';
    }

private:
    /// The exporter takes this name if a request names no other.
    void writeAuths()
    {
        _out << YAML::Key << "auths" << YAML::Value << YAML::BeginMap << YAML::Key << "public_v2"
             << YAML::Value << YAML::BeginMap << YAML::Key << "community" << YAML::Value << "public"
             << YAML::Key << "version" << YAML::Value << 2 << YAML::EndMap << YAML::EndMap;
    }

    void writeModule()
    {
        _out << YAML::Key << metricsName(_served.module) << YAML::Value << YAML::BeginMap;
        writeOids();
        _out << YAML::Key << "metrics" << YAML::Value << YAML::BeginSeq;
        for (const ServedObject &object : _served.objects) {
            writeMetric(object);
        }
        _out << YAML::EndSeq;
        writeRequestSettings();
        _out << YAML::EndMap;
    }

    /// Tables are walked; scalars are read with get.
    void writeOids()
    {
        _out << YAML::Key << "walk" << YAML::Value << YAML::BeginSeq;
        for (const ServedTable &table : _served.tables) {
            _out << bare(table.oid);
        }
        _out << YAML::EndSeq << YAML::Key << "get" << YAML::Value << YAML::BeginSeq;
        for (const ServedObject &object : _served.objects) {
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
        if (!_hasAuths) {
            _out << YAML::Key << "version" << YAML::Value << 2;
        }
        _out << YAML::Key << "max_repetitions" << YAML::Value << repetitions << YAML::Key
             << "retries" << YAML::Value << 1 << YAML::Key << "timeout" << YAML::Value << "10s";
        if (!_hasAuths) {
            _out << YAML::Key << "auth" << YAML::Value << YAML::BeginMap << YAML::Key << "community"
                 << YAML::Value << "public" << YAML::EndMap;
        }
    }

    void writeMetric(const ServedObject &object)
    {
        _out << YAML::BeginMap;
        _out << YAML::Key << "name" << YAML::Value << object.notes.name;
        _out << YAML::Key << "oid" << YAML::Value << bare(object.oid);
        _out << YAML::Key << "type" << YAML::Value << prometheusMetrics::type(object);
        _out << YAML::Key << "help" << YAML::Value << YAML::DoubleQuoted << helpOf(object);
        if (object.table) {
            writeRowLabels(*object.table);
        }
        writeLabels(object);
        if (_hasScale && object.decimalPlaces() != 0) {
            _out << YAML::Key << "scale" << YAML::Value << prometheusMetrics::scale(object);
        }
        const auto extracts = prometheusMetrics::extracts(object);
        if (!extracts.empty()) {
            writeExtracts(extracts);
        }
        _out << YAML::EndMap;
    }

    /// A text is looked up under the whole index. The second number of the index, which is always
    /// 0, is dropped again.
    void writeRowLabels(std::size_t number)
    {
        const ServedTable &table = _served.tables[number];
        const std::vector<const ServedObject *> labels =
            prometheusMetrics::namesOfRows(_served, number);
        _out << YAML::Key << "indexes" << YAML::Value << YAML::BeginSeq;
        writeIndex(prometheusMetrics::rowLabel(table));
        if (!labels.empty()) {
            writeIndex(subIndexOf(table));
        }
        _out << YAML::EndSeq;
        if (labels.empty()) {
            return;
        }
        _out << YAML::Key << "lookups" << YAML::Value << YAML::BeginSeq;
        for (const ServedObject *label : labels) {
            _out << YAML::BeginMap << YAML::Key << "labels" << YAML::Value << YAML::Flow
                 << YAML::BeginSeq << prometheusMetrics::rowLabel(table) << subIndexOf(table)
                 << YAML::EndSeq << YAML::Key << "labelname" << YAML::Value << label->notes.name
                 << YAML::Key << "oid" << YAML::Value << bare(label->oid) << YAML::Key << "type"
                 << YAML::Value << prometheusMetrics::type(*label) << YAML::EndMap;
        }
        _out << YAML::BeginMap << YAML::Key << "labels" << YAML::Value << YAML::Flow
             << YAML::BeginSeq << YAML::EndSeq << YAML::Key << "labelname" << YAML::Value
             << subIndexOf(table) << YAML::EndMap << YAML::EndSeq;
    }

    void writeIndex(const std::string &name)
    {
        _out << YAML::BeginMap << YAML::Key << "labelname" << YAML::Value << name << YAML::Key
             << "type" << YAML::Value << "gauge" << YAML::EndMap;
    }

    [[nodiscard]] std::string helpOf(const ServedObject &object) const
    {
        const std::string &said = object.notes.description;
        const std::string units = prometheusMetrics::units(object, _hasScale);
        return (said.empty() ? object.notes.name : said) +
               (units.empty() ? "" : " (" + units + ')') + " - " + bare(object.oid);
    }

    void writeLabels(const ServedObject &object)
    {
        if (!object.isLabelledNumber()) {
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

    const ServedMapping &_served;
    const std::string &_release;
    bool _hasAuths;
    bool _hasScale;
    YAML::Emitter _out;
};
} // namespace

bool prometheusWriter::hasScale(const std::string &release)
{
    return release == releases.back();
}

std::string prometheusWriter::write(const ServedMapping &served, const std::string &release)
{
    return Writer(served, release).write();
}
