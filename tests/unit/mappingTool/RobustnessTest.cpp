#include "Checker.h"
#include "DatabaseBuilder.h"
#include "DatabaseFile.h"
#include "InputError.h"
#include "Listing.h"
#include "MappingDatabase.h"
#include "MibWriter.h"
#include "PrometheusRules.h"
#include "PrometheusWriter.h"
#include "SourceReader.h"
#include "SourceWriter.h"
#include "TelegrafWriter.h"
#include "ZabbixWriter.h"

#include <array>
#include <numeric>
#include <random>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

namespace
{
/// Damages bytes, reproducibly for a seed.
class Damage
{
public:
    explicit Damage(std::uint32_t seed) : _random(seed) {}

    std::string of(std::string bytes)
    {
        for (std::size_t left = 1 + below(8); left > 0; --left) {
            const std::size_t at = below(bytes.size());
            switch (below(5)) {
            case 0:
                bytes[at] = static_cast<char>(_random());
                break;
            case 1:
                bytes.erase(at, 1 + below(16));
                break;
            case 2:
                bytes.insert(at, bytes.substr(below(bytes.size()), below(40)));
                break;
            case 3:
                bytes.insert(at, 1 + below(3), "{}[]:&*!\"'\n\t-#%0x"[below(18)]);
                break;
            default:
                bytes.resize(below(10) == 0 ? at : bytes.size());
                break;
            }
            if (bytes.empty()) {
                return bytes;
            }
        }
        return bytes;
    }

    /// Length and positions stay the same, as on failing storage.
    std::string inPlace(std::string bytes)
    {
        for (std::size_t left = 1 + below(30); left > 0; --left) {
            bytes[below(bytes.size())] = static_cast<char>(_random());
        }
        return bytes;
    }

    std::size_t below(std::size_t limit) { return _random() % limit; }

private:
    std::mt19937 _random;
};

/// Does everything that the tool does with a database, ignoring the results.
bool isTaken(const std::string &path)
{
    try {
        const MappingDatabase database(path);
        (void)findingsReport::json(check(database, ""));
        (void)findingsReport::text(check(database, ""), true);
        const ServedMapping served = servedBy(database, {});
        (void)listing::json(served);
        (void)listing::table(served, true);
        (void)listing::csv(served);
        (void)mibWriter::write(served);
        (void)prometheusWriter::write(served, "0.25");
        (void)prometheusRules::write(served, {.release = "0.25"});
        (void)telegrafWriter::write(served);
        (void)zabbixWriter::write(served, {});
        (void)sourceReader::parse(sourceWriter::write(database.source()), "imported");
        return true;
    } catch (const InputError &error) {
        // Only the errors of an imported source may have a line each.
        const std::string reason = error.what();
        EXPECT_TRUE(reason.find('\n') == std::string::npos || reason.starts_with("imported:"))
            << reason;
        return false;
    }
}

/// Whether a source is accepted; every line of a rejection must have the file's name.
bool isSourceTaken(const std::string &source)
{
    try {
        (void)databaseBuilder::build(sourceReader::parse(source, "damaged"));
        return true;
    } catch (const InputError &error) {
        std::istringstream reasons(error.what());
        for (std::string reason; std::getline(reasons, reason);) {
            EXPECT_TRUE(reason.starts_with("damaged:")) << reason;
        }
        return false;
    }
}

/// Seeds from 0 on; with --gtest_shuffle and --gtest_repeat, other ones in every repetition.
std::vector<std::uint32_t> seeds(std::uint32_t count)
{
    const auto round = static_cast<std::uint32_t>(testing::UnitTest::GetInstance()->random_seed());
    std::vector<std::uint32_t> all(count);
    std::iota(all.begin(), all.end(), round * count);
    return all;
}

std::string everySource()
{
    return contentOf(goldenPath("everything.yaml"));
}

/// A database with everything that the tool stores.
std::string describedDatabase()
{
    return databaseBuilder::build(sourceReader::parse(everySource(), "everything.yaml"));
}

std::string hexOf(const std::string &bytes)
{
    constexpr const char *digits = "0123456789ABCDEF";
    std::string hex;
    for (const char each : bytes) {
        hex += digits[static_cast<unsigned char>(each) >> 4];
        hex += digits[static_cast<unsigned char>(each) & 0xF];
    }
    return hex;
}
} // namespace

TEST(Robustness, DamagedSourcesAreReadOrRefusedWithAPlace)
{
    const std::string source = everySource();
    std::size_t taken = 0;
    constexpr std::size_t rounds = 5000;
    for (const std::uint32_t seed : seeds(rounds)) {
        taken += static_cast<std::size_t>(isSourceTaken(Damage(seed).of(source)));
    }
    EXPECT_GT(taken, 0U);
    EXPECT_LT(taken, rounds);
}

TEST(Robustness, FindingsOfDamagedSourcesHaveAPlace)
{
    const std::string source = contentOf(goldenPath("everything.yaml"));
    std::size_t found = 0;
    constexpr std::size_t rounds = 200;
    for (std::uint32_t seed = 0; seed < rounds; ++seed) {
        const std::string damaged = Damage(seed).of(source);
        if (!isSourceTaken(damaged)) {
            continue;
        }
        const auto written = sourceReader::parseWritten(damaged, "damaged");
        const MappingDatabase database(written.mapping, "damaged");
        const Findings findings = check(database, written.places, ".1.3");
        for (const Finding &finding : findings.all()) {
            EXPECT_TRUE(finding.mark.isSomewhere()) << damaged;
            ++found;
        }
    }
    EXPECT_GT(found, 0U);
}

TEST(Robustness, DeepAndSelfContainedSourcesAreRefused)
{
    for (const std::string &source :
         {std::string(100000, '['), std::string(100000, '{'), std::string("scalars: &a [*a]"),
          std::string("&a {module: *a}"), std::string(50000, '-')}) {
        EXPECT_FALSE(isSourceTaken(source));
    }
}

TEST(Robustness, DamagedDatabasesAreReadOrRefused)
{
    const DatabaseFile file(soundDatabase());
    const std::array databases{file.bytes(), describedDatabase()};
    const TestDirectory directory;
    const std::string path = directory.file("damaged.db");
    std::size_t taken = 0;
    constexpr std::size_t rounds = 400;
    for (const std::uint32_t seed : seeds(rounds)) {
        Damage damage(seed);
        const std::string &sound = databases[damage.below(databases.size())];
        writeContent(path, damage.below(2) == 0 ? damage.of(sound) : damage.inPlace(sound));
        taken += static_cast<std::size_t>(isTaken(path));
    }
    EXPECT_GT(taken, 0U);
    EXPECT_LT(taken, rounds);
}

TEST(Robustness, DamagedCellsAreReadOrRefused)
{
    const DatabaseFile file;
    const std::string sound = describedDatabase();
    constexpr std::array columns{
        "objId", "attr1",  "asnType",    "access",      "valueType",   "flag",        "text",
        "name",  "labels", "deviceKind", "deviceWidth", "deviceValue", "deviceMotion"};
    constexpr std::array contents{"0123.5", "unsigned", "0=up 1=down", "walk 1 -20 60", "C0 00 02"};
    std::size_t taken = 0;
    for (const std::uint32_t seed : seeds(150)) {
        Damage damage(seed);
        std::string statement = "UPDATE ";
        statement += damage.below(2) == 0 ? "SNMP_GENERAL_OBJ_TABLE" : "SNMP_TABLE_OBJ_TABLE";
        statement += " SET ";
        statement += columns[damage.below(columns.size())];
        statement += " = CAST(X'" + hexOf(damage.of(contents[damage.below(contents.size())])) +
                     "' AS TEXT) WHERE rowid = ";
        statement += std::to_string(1 + damage.below(5));
        file.replaceBytes(sound);
        file.run(statement);
        taken += static_cast<std::size_t>(isTaken(file.path()));
    }
    EXPECT_GT(taken, 0U);
}
