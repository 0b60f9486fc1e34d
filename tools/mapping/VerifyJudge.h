#pragma once

#include "CheckedMapping.h"
#include "DeviceReader.h"
#include "DeviceReadings.h"
#include "Findings.h"
#include "VerifyReport.h"

#include <string>
#include <vector>

/// An object of the mapping, or one of the two that the agent reads at startup.
struct VerifiedObject {
    std::uint16_t objId = 0;
    /// The id that requests it.
    std::uint16_t linkId = 0;
    /// Null for the objects of the start.
    const SnmpObjInfo *info = nullptr;
    const ObjectNotes *notes = nullptr;
    FindingPlace place{};
    /// As in findings; the object id if it has no name.
    std::string name;
    bool isWritable = false;
    /// 0 for scalars.
    unsigned row = 0;
};

/// Judges what a device has answered by what a mapping says of it. Asks nobody.
class VerifyJudge
{
public:
    /// The mapping must outlive the judge. `rows` as in ServedOptions. `hasBase`: the base was
    /// stated, by the source or by the user.
    VerifyJudge(const CheckedMapping &mapping, unsigned rows, bool hasBase);

    /// What to ask for.
    [[nodiscard]] DeviceQuestions questions() const;
    /// Findings without places in the source.
    [[nodiscard]] Findings judge(const DeviceReadings &readings) const;
    [[nodiscard]] VerifySummary summary(const DeviceReadings &readings) const;

private:
    const CheckedMapping &_mapping;
    unsigned _rows;
    bool _hasBase;
    std::vector<VerifiedObject> _objects;
};
