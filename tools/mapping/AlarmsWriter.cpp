#include "AlarmsWriter.h"

#include "AlarmComparisons.h"
#include "AlarmNotifications.h"
#include "TextForms.h"

#include <algorithm>
#include <sstream>

namespace
{
/// Of an event or a monitor. The master agent cuts longer names.
constexpr std::size_t longestName = 29;
/// Of the queries, and of their view.
constexpr const char *user = "tarnoAlarms";

/// Begins with what makes it unique: "3.raise.6.portDown" is the monitor of row 6.
std::string nameOf(const ServedAlarm &alarm, const std::string &part)
{
    return (std::to_string(alarm.notes.number) + '.' + part + '.' + alarm.notes.name)
        .substr(0, longestName);
}

const ServedInstance *instanceOf(const ServedObject &object, std::uint8_t row)
{
    const auto found = std::find_if(object.instances.begin(), object.instances.end(),
                                    [row](const ServedInstance &each) { return each.row == row; });
    return found == object.instances.end() ? nullptr : &*found;
}

class Writer
{
public:
    explicit Writer(const ServedMapping &served) : _served(served) {}

    AlarmConfiguration write()
    {
        _out << "# Alarms of " << _served.module.name << " for snmpd; generated from a mapping.\n"
             << "# Where notifications go is up to you: add lines such as trap2sink or trapsess.\n";
        writeUser();
        for (const ServedAlarm &alarm : _served.alarms) {
            if (alarmNotifications::isSent(_served, alarm)) {
                writeAlarm(alarm);
            } else if (servedAlarms::isWatched(alarm)) {
                leaveOut(alarm);
            }
        }
        return {.text = _out.str(), .remarks = std::move(_remarks)};
    }

private:
    void writeUser()
    {
        _out << "\n# The user of the queries. It has no keys, so nobody can log in with its name.\n"
             << "rouser " << user << " auth -V " << user << "\nview " << user << " included "
             << oidText(_served.base) << '\n';
    }

    void leaveOut(const ServedAlarm &alarm)
    {
        const bool isCompared = alarmNotifications::isPublished(_served, alarm) &&
                                servedAlarms::isWatchedByMaster(_served, alarm);
        const std::string remark = alarm.notes.name + ": not watched: " +
                                   (isCompared ? "no integer meets its condition"
                                               : "the master agent compares integers only");
        _out << "\n# " << remark << '\n';
        _remarks.push_back(remark);
    }

    void writeAlarm(const ServedAlarm &alarm)
    {
        const AlarmComparisons comparisons = comparisonsOf(_served, alarm);
        _out << "\n# " << alarm.notes.name << ", " << alarm.notes.severity;
        if (!alarm.notes.text.empty()) {
            _out << ": " << textForms::oneLine(alarm.notes.text);
        }
        _out << '\n';
        writeMonitors(alarm, "raise", alarmNotifications::raise(_served, alarm), comparisons.raise);
        if (!comparisons.clear.empty()) {
            writeMonitors(alarm, "clear", alarmNotifications::clear(_served, alarm),
                          comparisons.clear);
        }
    }

    void writeMonitors(const ServedAlarm &alarm, const std::string &kind,
                       const AlarmNotification &notification,
                       const std::vector<AlarmComparison> &comparisons)
    {
        const std::string event = nameOf(alarm, kind);
        _out << "notificationEvent " << event << ' ' << oidText(notification.oid) << '\n';
        for (const ServedInstance &instance : servedAlarms::objectOf(_served, alarm).instances) {
            const std::string row = instance.row == 0 ? "" : '.' + std::to_string(instance.row);
            for (std::size_t index = 0; index < comparisons.size(); ++index) {
                std::string part = kind + row;
                if (comparisons.size() > 1) {
                    part.append(".").append(std::to_string(index + 1));
                }
                _out << "monitor -u " << user << " -r " << alarm.notes.every << " -I"
                     << payloadOf(alarm, instance.row) << " -e " << event << ' '
                     << nameOf(alarm, part) << ' ' << expressionOf(instance, comparisons[index])
                     << '\n';
            }
        }
    }

    /// What is sent along for a row.
    [[nodiscard]] std::string payloadOf(const ServedAlarm &alarm, std::uint8_t row) const
    {
        std::string options;
        for (const ServedObject *object : alarmNotifications::objects(_served, alarm)) {
            const ServedInstance *const instance = instanceOf(*object, object->table ? row : 0);
            if (instance != nullptr) {
                options += " -o " + oidText(instance->oid);
            }
        }
        return options;
    }

    static std::string expressionOf(const ServedInstance &instance,
                                    const AlarmComparison &comparison)
    {
        const std::string sign(comparison.sign);
        const std::string oid = oidText(instance.oid);
        return comparison.value ? oid + ' ' + sign + ' ' + std::to_string(*comparison.value)
                                : sign + ' ' + oid;
    }

    const ServedMapping &_served;
    std::ostringstream _out;
    std::vector<std::string> _remarks;
};
} // namespace

AlarmConfiguration alarmsWriter::write(const ServedMapping &served)
{
    return Writer(served).write();
}
