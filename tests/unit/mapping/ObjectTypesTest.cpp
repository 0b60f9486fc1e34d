#include "ObjectTypes.h"

#include <set>
#include <string>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <gtest/gtest.h>

namespace
{
using objectType::Service;

TEST(ObjectTypesTest, CodesAreTheTagsOfTheAgentLibrary)
{
    EXPECT_EQ(objectType::integer, ASN_INTEGER);
    EXPECT_EQ(objectType::octetString, ASN_OCTET_STR);
    EXPECT_EQ(objectType::ipAddress, ASN_IPADDRESS);
    EXPECT_STREQ(objectType::of(ASN_COUNTER).snmpName, "Counter32");
    EXPECT_STREQ(objectType::of(ASN_GAUGE).snmpName, "Gauge32");
    EXPECT_STREQ(objectType::of(ASN_TIMETICKS).snmpName, "TimeTicks");
    EXPECT_STREQ(objectType::of(ASN_OPAQUE).snmpName, "Opaque");
    EXPECT_STREQ(objectType::of(ASN_COUNTER64).snmpName, "Counter64");
}

TEST(ObjectTypesTest, OnlyIntegersAndOctetStringsAreServedSoundly)
{
    std::set<std::uint16_t> sound;
    for (const objectType::ObjectType &type : objectType::all()) {
        if (type.service == Service::sound) {
            sound.insert(type.code);
        }
    }
    EXPECT_EQ(sound, (std::set<std::uint16_t>{objectType::integer, objectType::octetString}));
}

TEST(ObjectTypesTest, NumbersWithoutANameInMappingsAreNumbersAllTheSame)
{
    for (const unsigned tag : {ASN_UINTEGER, ASN_OPAQUE_FLOAT, ASN_OPAQUE_DOUBLE}) {
        EXPECT_EQ(objectType::of(static_cast<std::uint16_t>(tag)).service, Service::number) << tag;
    }
}

TEST(ObjectTypesTest, ExceptionsOfAResponseGiveAManagerNothing)
{
    for (const unsigned tag : {SNMP_NOSUCHOBJECT, SNMP_NOSUCHINSTANCE, SNMP_ENDOFMIBVIEW}) {
        EXPECT_EQ(objectType::of(static_cast<std::uint16_t>(tag)).service, Service::nothing) << tag;
    }
}

TEST(ObjectTypesTest, ATypeThatNobodyKnowsHasNoName)
{
    const objectType::ObjectType &type = objectType::of(0x1234);
    EXPECT_EQ(type.word, nullptr);
    EXPECT_EQ(type.snmpName, nullptr);
    EXPECT_EQ(type.service, Service::unknown);
}

TEST(ObjectTypesTest, NoCodeAndNoWordStandsTwice)
{
    std::set<std::uint16_t> codes;
    std::set<std::string> words;
    for (const objectType::ObjectType &type : objectType::all()) {
        EXPECT_TRUE(codes.insert(type.code).second) << type.code;
        EXPECT_TRUE(type.word == nullptr || words.insert(type.word).second) << type.word;
    }
}
} // namespace
