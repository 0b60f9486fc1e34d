#include "HtmlWriter.h"

#include "DatabaseFile.h"
#include "MappingDatabase.h"
#include "Markup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;
using testing::Not;

namespace
{
std::string escaped(std::string_view text)
{
    Markup markup;
    markup.add(text);
    return markup.text();
}

std::string pageOf(const std::string &statements)
{
    const DatabaseFile file(soundDatabase() + statements);
    return htmlWriter::write(servedBy(MappingDatabase(file.path()), {}));
}
} // namespace

TEST(Markup, EscapesTextsAndAttributes)
{
    EXPECT_EQ(escaped("<a href=\"b\">&'"), "&lt;a href=&quot;b&quot;&gt;&amp;&#39;");
    Markup markup;
    markup.add("p", "a < b", {{"title", "\"><script>"}});
    EXPECT_EQ(markup.text(), "<p title=\"&quot;&gt;&lt;script&gt;\">a &lt; b</p>\n");
}

TEST(Markup, ReplacesWhatHtmlDoesNotAllow)
{
    EXPECT_EQ(escaped("a\x01\x7F\r"), "a\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
    EXPECT_EQ(escaped("a\tb\n\xC3\xA9"), "a\tb\n\xC3\xA9");
    EXPECT_EQ(escaped("\xE9<"), "\\xE9&lt;");
}

TEST(HtmlWriter, ShowsAModuleNameFromElsewhereAsText)
{
    const std::string page =
        pageOf("CREATE TABLE TARNO_MAPPING_NOTES (subject TEXT, property TEXT, value TEXT);"
               "INSERT INTO TARNO_MAPPING_NOTES VALUES ('', 'name', '</title><img src=x>');");
    EXPECT_THAT(page, HasSubstr("<h1>&lt;/title&gt;&lt;img src=x&gt;</h1>"));
    EXPECT_THAT(page, Not(HasSubstr("<img")));
}

TEST(HtmlWriter, LeavesOutWhatAMappingDoesNotHave)
{
    const std::string page = pageOf("DELETE FROM SNMP_GENERAL_OBJ_TABLE;");
    EXPECT_THAT(page, Not(HasSubstr("Scalars")));
    EXPECT_THAT(page, Not(HasSubstr("Revisions")));
    EXPECT_THAT(page, Not(HasSubstr("Organization")));
}
