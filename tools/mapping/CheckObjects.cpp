#include "CheckedMapping.h"
#include "MappingWords.h"
#include "SnmpObjConvertStrategy.h"

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace
{
constexpr std::uint16_t widestTag = 0xFF;
constexpr unsigned shownPlaces = 2;

/// What a manager gets for a type, or nothing where it is served soundly.
const char *codeOfType(std::uint16_t asnType)
{
    if (asnType > widestTag) {
        return "TM407";
    }
    switch (asnType) {
    case ASN_INTEGER:
    case ASN_OCTET_STR:
        return nullptr;
    case ASN_COUNTER:
    case ASN_GAUGE:
    case ASN_TIMETICKS:
    case ASN_COUNTER64:
    case ASN_UINTEGER:
    case ASN_OPAQUE_FLOAT:
    case ASN_OPAQUE_DOUBLE:
        return "TM402";
    case ASN_IPADDRESS:
        return "TM403";
    case ASN_OBJECT_ID:
        return "TM404";
    case ASN_NULL:
    case SNMP_NOSUCHOBJECT:
    case SNMP_NOSUCHINSTANCE:
    case SNMP_ENDOFMIBVIEW:
        return "TM405";
    case ASN_OPAQUE:
        return "TM406";
    default:
        return "TM401";
    }
}

/// Ways in which a conversion code acts.
struct ConversionTraits {
    std::uint16_t kind;
    unsigned scale;

    explicit ConversionTraits(std::uint16_t valueType)
        : kind(valueType & conversion::kindMask),
          scale(static_cast<unsigned>(valueType) >> conversion::scaleShift)
    {
    }

    [[nodiscard]] bool isIpv4() const
    {
        return kind == conversion::ipv4Text || kind == conversion::ipv4TextAlternative;
    }

    [[nodiscard]] bool isOneWay() const { return isIpv4() || kind == conversion::dateTimeText; }

    [[nodiscard]] bool makesText() const { return isOneWay() || kind == conversion::decimalText; }

    [[nodiscard]] bool usesScale() const
    {
        return kind == conversion::decimalText || kind == conversion::scaledInteger;
    }

    [[nodiscard]] bool isKnown() const
    {
        return makesText() || kind == conversion::scaledInteger || kind == conversion::unsigned16;
    }
};

template <typename Entry>
void checkType(const Entry &entry, Findings &findings)
{
    const char *const code = codeOfType(entry.record.asnType);
    const bool isIpv4Address =
        entry.record.asnType == ASN_IPADDRESS && ConversionTraits(entry.record.valueType).isIpv4();
    if (code != nullptr) {
        findings.add(isIpv4Address ? "TM509" : code, placeOf(entry, "asnType"),
                     "type " + mappingWords::snmpType(entry.record.asnType));
    }
}

template <typename Entry>
void checkConversionType(const Entry &entry, const ConversionTraits &traits, Findings &findings)
{
    const FindingPlace place = placeOf(entry, "valueType");
    const std::string what = "conversion " + mappingWords::conversion(entry.record.valueType);
    const bool isInteger = entry.record.asnType == ASN_INTEGER;
    if (traits.makesText() && isInteger) {
        findings.add("TM501", place, what);
    }
    if (traits.kind == conversion::unsigned16 && !isInteger) {
        findings.add("TM502", place, what);
    }
    if (!traits.isKnown()) {
        findings.add("TM507", place, what);
    }
    if (traits.kind == conversion::decimalText && traits.scale > shownPlaces) {
        findings.add("TM505", place, what);
    }
}

template <typename Entry>
void checkScale(const Entry &entry, const ConversionTraits &traits, bool isWritable,
                Findings &findings)
{
    if (traits.scale == 0) {
        return;
    }
    const FindingPlace place = placeOf(entry, "valueType");
    const std::string what = "conversion " + mappingWords::conversion(entry.record.valueType);
    if (!traits.usesScale()) {
        findings.add("TM503", place, what);
    } else if (traits.kind == conversion::scaledInteger && !isWritable) {
        findings.add("TM504", place, what);
    } else if (traits.kind == conversion::scaledInteger) {
        findings.add(entry.record.asnType == ASN_INTEGER ? "TM508" : "TM510", place, what);
    }
}

template <typename Entry>
void checkConversion(const Entry &entry, bool isWritable, Findings &findings)
{
    const ConversionTraits traits(entry.record.valueType);
    checkConversionType(entry, traits, findings);
    checkScale(entry, traits, isWritable, findings);
    if (isWritable && traits.isOneWay()) {
        findings.add("TM506", placeOf(entry, "valueType"),
                     "conversion " + mappingWords::conversion(entry.record.valueType));
    }
}

template <typename Entry>
void checkAccessOf(const Entry &entry, const char *unusual, Findings &findings)
{
    const std::uint16_t access = entry.record.access;
    const std::string what = "access " + mappingWords::hexadecimal(access, 1);
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
