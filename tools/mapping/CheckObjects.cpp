#include "CheckedMapping.h"
#include "MappingWords.h"
#include "Numbers.h"
#include "ObjectTypes.h"
#include "PublishedConversions.h"
#include "SnmpObjConvertStrategy.h"

namespace
{
constexpr std::uint16_t widestTag = 0xFF;
/// 1 with so many places does not fit in 32 bits.
constexpr unsigned saturatingPlaces = 10;
constexpr const char *saturated =
    "Every number but 0 becomes 4294967295, or all ones in a narrower object: a manager reads -1, "
    "65535 or 255 back.";

/// The code for a type that is not served correctly, else null.
const char *codeOfType(std::uint16_t asnType)
{
    if (asnType > widestTag) {
        return "TM407";
    }
    switch (objectType::of(asnType).service) {
    case objectType::Service::sound:
        return nullptr;
    case objectType::Service::number:
        return "TM402";
    case objectType::Service::address:
        return "TM403";
    case objectType::Service::identifier:
        return "TM404";
    case objectType::Service::nothing:
        return "TM405";
    case objectType::Service::opaque:
        return "TM406";
    default:
        return "TM401";
    }
}

template <typename Entry>
void checkType(const Entry &entry, Findings &findings)
{
    const char *const code = codeOfType(entry.record.asnType);
    const bool isLookAlike =
        publishedConversion::of(entry.record).lookAlike == entry.record.asnType;
    if (code != nullptr) {
        findings.add(isLookAlike ? "TM509" : code, placeOf(entry, "asnType"),
                     "type " + mappingWords::snmpType(entry.record.asnType));
    }
}

/// An object's conversion and its place.
template <typename Entry>
struct ConvertedObject {
    explicit ConvertedObject(const Entry &entry)
        : found(conversion::find(entry.record.valueType)),
          places(conversion::placesOf(entry.record.valueType)),
          isInteger(entry.record.asnType == objectType::integer),
          place(placeOf(entry, "valueType")),
          what("conversion " + mappingWords::conversion(entry.record.valueType))
    {
    }

    const conversion::Conversion *found;
    unsigned places;
    bool isInteger;
    FindingPlace place;
    std::string what;
};

template <typename Entry>
void checkResult(const ConvertedObject<Entry> &object, Findings &findings)
{
    const conversion::Conversion &found = *object.found;
    if (found.result == conversion::Result::text && object.isInteger) {
        findings.add("TM501", object.place, object.what);
    }
    if (found.result == conversion::Result::number && !object.isInteger) {
        findings.add("TM502", object.place, object.what);
    }
    if (found.shownPlaces != 0 && object.places > found.shownPlaces) {
        findings.add("TM505", object.place, object.what);
    }
}

template <typename Entry>
void checkPlaces(const ConvertedObject<Entry> &object, bool isWritable, Findings &findings)
{
    if (object.places == 0) {
        return;
    }
    const bool isUsed = object.found != nullptr && object.found->usesPlaces();
    if (!isUsed) {
        findings.add("TM503", object.place, object.what);
    } else if (object.found->toDisplay == nullptr && !isWritable) {
        findings.add("TM504", object.place, object.what);
    } else if (object.found->toDisplay == nullptr) {
        findings.add(object.isInteger ? "TM508" : "TM510", object.place, object.what,
                     object.isInteger && object.places >= saturatingPlaces ? saturated
                                                                           : std::string());
    }
}

template <typename Entry>
void checkConversion(const Entry &entry, bool isWritable, Findings &findings)
{
    const ConvertedObject<Entry> object(entry);
    if (object.found == nullptr) {
        findings.add("TM507", object.place, object.what);
    } else {
        checkResult(object, findings);
    }
    checkPlaces(object, isWritable, findings);
    if (isWritable && object.found != nullptr && object.found->isOneWay()) {
        findings.add("TM506", object.place, object.what);
    }
}

template <typename Entry>
void checkAccessOf(const Entry &entry, const char *unusual, Findings &findings)
{
    const std::uint16_t access = entry.record.access;
    const std::string what = "access " + numbers::hexadecimal(access, 1);
    const bool isUsual = access == 1 || access == columnReadWrite;
    if (!isUsual) {
        findings.add((access & scalarWriteBit) != 0 ? unusual : "TM603", placeOf(entry, "access"),
                     what);
    }
}
} // namespace

void checkTypes(const CheckedMapping &mapping, Findings &findings)
{
    for (const ScalarEntry &entry : mapping.source.scalars) {
        checkType(entry, findings);
    }
    for (const CellEntry &entry : mapping.source.cells) {
        checkType(entry, findings);
    }
}

void checkConversions(const CheckedMapping &mapping, Findings &findings)
{
    for (const ScalarEntry &entry : mapping.source.scalars) {
        checkConversion(entry, (entry.record.access & scalarWriteBit) != 0, findings);
    }
    for (const CellEntry &entry : mapping.source.cells) {
        checkConversion(entry, entry.record.access == columnReadWrite, findings);
    }
}

void checkAccess(const CheckedMapping &mapping, Findings &findings)
{
    for (const ScalarEntry &entry : mapping.source.scalars) {
        checkAccessOf(entry, "TM601", findings);
    }
    for (const CellEntry &entry : mapping.source.cells) {
        checkAccessOf(entry, "TM602", findings);
    }
}
