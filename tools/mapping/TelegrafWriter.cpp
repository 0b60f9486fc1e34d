#include "TelegrafWriter.h"

#include "ObjectTypes.h"
#include "PublishedConversions.h"

#include <sstream>

namespace
{
// Names are letters, digits and underscores, and OIDs are digits and periods: nothing to escape.
void writeSetting(std::ostream &out, const char *key, const std::string &text)
{
    out << key << " = \"" << text << "\"\n";
}

/// How a value becomes a number; empty: as it is.
std::string conversionOf(const ServedObject &object)
{
    const char *const numberForm = publishedConversion::of(object.info).telegrafConversion;
    if (object.info.asnType == objectType::octetString && numberForm != nullptr) {
        return numberForm;
    }
    const unsigned places = object.decimalPlaces();
    return places == 0 ? "" : "float(" + std::to_string(places) + ')';
}

void writeFieldOf(std::ostream &out, const ServedObject &object, const Oid &oid)
{
    writeSetting(out, "name", object.notes.name);
    writeSetting(out, "oid", oidText(oid));
    if (object.isRowNumber() || object.isRowLabel()) {
        out << "is_tag = true\n";
        return;
    }
    const std::string conversion = conversionOf(object);
    if (!conversion.empty()) {
        writeSetting(out, "conversion", conversion);
    }
}

void writeInput(std::ostream &out, const ServedMapping &served)
{
    out << "# Telegraf SNMP input; generated from a mapping.\n"
           "[[inputs.snmp]]\n";
    writeSetting(out, "name", metricsName(served.module));
    out << "agents = [\"udp://127.0.0.1:161\"]\n"
           "version = 2\n";
    writeSetting(out, "community", "public");
    // Longer than the master waits for the agent: an earlier retry would only double the load on a
    // struggling device.
    out << "timeout = \"10s\"\n"
           "retries = 1\n";
    // Columns are walked one at a time. With one more repetition than rows, one request gets the
    // whole column and sees its end.
    out << "max_repetitions = " << served.rows + 1 << '\n';
}

void writeScalars(std::ostream &out, const ServedMapping &served)
{
    for (const ServedObject &object : served.objects) {
        if (!object.table) {
            out << "\n[[inputs.snmp.field]]\n";
            writeFieldOf(out, object, object.instances.front().oid);
        }
    }
}

void writeTables(std::ostream &out, const ServedMapping &served)
{
    for (std::size_t index = 0; index < served.tables.size(); ++index) {
        out << "\n[[inputs.snmp.table]]\n";
        writeSetting(out, "name", served.tables[index].notes.name);
        for (const ServedObject &object : served.objects) {
            if (object.table == index) {
                out << "\n[[inputs.snmp.table.field]]\n";
                writeFieldOf(out, object, object.oid);
            }
        }
    }
}
} // namespace

std::string telegrafWriter::write(const ServedMapping &served)
{
    std::ostringstream out;
    writeInput(out, served);
    writeScalars(out, served);
    writeTables(out, served);
    return out.str();
}
