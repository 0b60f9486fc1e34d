#include "Findings.h"

#include <array>

namespace
{
constexpr Severity note = Severity::note;
constexpr Severity warning = Severity::warning;
constexpr Severity error = Severity::error;

constexpr std::string_view readAsZero = "The agent reads it as 0.";
constexpr std::string_view servesNoScalars =
    "The agent prints a line at its start and serves no scalars.";
constexpr std::string_view servesNoTables =
    "The agent prints a line at its start and serves no tables.";
constexpr std::string_view soundTypes =
    "Use INTEGER (2) or OCTET STRING (4): nothing else is served soundly.";
constexpr std::string_view walkEnds =
    "A walk of the table ends at the first cell that is missing: the rest of that column and all "
    "later columns are skipped.";

constexpr std::array rules{
    // The tables of the database
    CheckRule{"TM101", error, "the table of the scalars is missing", servesNoScalars,
              "Make the table SNMP_GENERAL_OBJ_TABLE, even if it stays empty."},
    CheckRule{"TM102", error, "the table of the cells is missing", servesNoTables,
              "Make the table SNMP_TABLE_OBJ_TABLE, even if it stays empty."},
    CheckRule{"TM103", error, "the table of the scalars has too few columns", servesNoScalars,
              "Give it the thirteen columns, in their order."},
    CheckRule{"TM104", error, "the table of the cells has too few columns", servesNoTables,
              "Give it the thirteen columns, in their order."},
    CheckRule{"TM105", warning, "the mapping is empty", "The agent serves nothing at all.",
              "Add scalars or tables."},

    // Single cells of the database
    CheckRule{"TM201", error, "a number is NULL", readAsZero, "Write a number, 0 if need be."},
    CheckRule{"TM202", error, "a number is none", readAsZero,
              "Write digits of the column's base and nothing else."},
    CheckRule{"TM203", error, "something stands behind a number",
              "The agent reads the digits in front and drops the rest.",
              "Write digits of the column's base and nothing else."},
    CheckRule{"TM204", error, "a number is wider than its field",
              "The agent reads at most 4294967295 and cuts that to the field's width.",
              "Write a number that fits."},
    CheckRule{"TM205", error, "a number is negative",
              "The agent takes it for a large number and cuts that to the field's width.",
              "Write a number from 0 on."},
    CheckRule{"TM206", error, "the type of a scalar is written in decimal",
              "The agent reads the column in hexadecimal and finds another type.",
              "Write the type of a scalar in hexadecimal."},
    CheckRule{"TM207", error, "the type of a cell is written in hexadecimal",
              "The agent reads the column in decimal and finds another type.",
              "Write the type of a cell in decimal."},
    CheckRule{"TM208", warning, "a text is longer than 64 bytes",
              "No value of a device holds that much.", "Shorten the text."},
    CheckRule{"TM209", note, "a carried text is NULL",
              "The record carries the text of the nearest earlier row that has one.",
              "Write a text, empty if need be."},
    CheckRule{"TM210", warning, "a text is not UTF-8",
              "Tools cannot show it, and it cannot be imported.", "Write UTF-8."},

    // What may stand only once
    CheckRule{"TM301", error, "an object id has a second scalar",
              "The earlier row wins; the agent drops this one and its OID is not served.",
              "Give the object one scalar."},
    CheckRule{"TM302", error, "an OID has a second scalar",
              "The scalar of the lower object id is served. The library refuses the other one and "
              "all scalars "
              "of higher object ids behind it.",
              "Give every scalar numbers of its own."},
    CheckRule{"TM303", error, "a cell stands twice",
              "The earlier row wins; the agent drops this one.",
              "Keep one row for each table node, row and column."},
    CheckRule{"TM304", warning, "an object id stands in several cells",
              "All of them show the same object, and all are converted as the first one is.",
              "Give every cell an object of its own, or make sure that their conversions agree."},
    CheckRule{"TM305", warning, "an object id is both a scalar and a cell",
              "The cell is converted as the scalar is, whatever its own row says.",
              "Give the cell an object of its own, or make sure that their conversions agree."},
    CheckRule{"TM306", warning, "object ids share one device object",
              "The link asks for the same object for each of them.", "Keep one id of the group."},
    CheckRule{"TM307", warning, "an object that the agent itself needs can be set",
              "The agent reads it at its start: a set changes what it serves from then on.",
              "Make it read-only."},

    // Types
    CheckRule{"TM401", error, "the type cannot be encoded",
              "A request for it is answered with genErr, and the master may end the session: all "
              "objects are gone until the agent has connected again.",
              soundTypes},
    CheckRule{"TM402", error, "a number type is served with the bytes of a text",
              "A manager sees a number that the bytes of the text happen to make, or 0.",
              soundTypes},
    CheckRule{"TM403", error, "an address type is served with the bytes of a text",
              "A text that is not four bytes long is a malformed answer: managers drop it and see "
              "a time-out.",
              "Use OCTET STRING (4) with an IPv4 conversion."},
    CheckRule{"TM404", error, "an object identifier is served with the bytes of a text",
              "A manager sees 0.0, or genErr for a text of eight bytes and more.", soundTypes},
    CheckRule{"TM405", error, "the type says that there is no value",
              "A manager is told that the object does not exist.", soundTypes},
    CheckRule{"TM406", warning, "an opaque type is served with the bytes of a text",
              "A manager sees opaque bytes, which few can show.", soundTypes},
    CheckRule{"TM407", error, "the type is wider than a type",
              "Its low 8 bits are answered, with the bytes of a text as value.", soundTypes},

    // Conversions
    CheckRule{"TM501", error, "a conversion makes a text and the type is INTEGER",
              "A manager sees the number that the first four bytes of the text make.",
              "Make the type OCTET STRING (4)."},
    CheckRule{"TM502", error, "a conversion makes a number and the type is a text",
              "A manager sees the bytes of the number as characters, up to the first zero.",
              "Make the type INTEGER (2)."},
    CheckRule{"TM503", warning, "a scale stands with a conversion that ignores it",
              "The scale has no effect.", "Take the scale away, or use the decimal conversion."},
    CheckRule{"TM504", warning, "a scale of a read-only number",
              "It would count in a set only: a manager sees the number as the device has it.",
              "Use the decimal conversion and OCTET STRING, or take the scale away."},
    CheckRule{"TM505", warning, "a decimal text has more than two places",
              "A manager sees two places behind the period, whatever the scale.",
              "Use a scale of at most 2."},
    CheckRule{"TM506", error, "an object can be set but its conversion has no way back",
              "The characters of the text that is set go to the device as they are.",
              "Make it read-only, or use a conversion that works both ways."},
    CheckRule{"TM507", warning, "the kind of conversion is unknown",
              "The value passes as it is, both ways.", "Use kind 0, which says so."},
    CheckRule{"TM508", note, "a number is scaled in sets only",
              "What is read back is ten times what was set for each decimal place.",
              "Tell those who set it, or use the decimal conversion and OCTET STRING."},
    CheckRule{"TM509", error, "an IPv4 text is served as IpAddress",
              "The text is not four bytes long: the answer is malformed, managers drop it and see "
              "a time-out.",
              "Make the type OCTET STRING (4)."},
    CheckRule{"TM510", error, "a scale stands with a text that can be set",
              "The first four characters of what is set are taken for a number and multiplied.",
              "Take the scale away, or use the decimal conversion."},

    // Access
    CheckRule{"TM601", warning, "the access code of a scalar is unusual",
              "Bit 1 makes it writable, which the same code in a cell would not.",
              "Use 1 for read-only and 3 for read-write."},
    CheckRule{"TM602", warning, "the access code of a cell is unusual",
              "Only 3 is read-write: the cell is read-only, although bit 1 would make a scalar "
              "writable.",
              "Use 1 for read-only and 3 for read-write."},
    CheckRule{"TM603", warning, "the access code is none", "The object is read-only.",
              "Use 1 for read-only and 3 for read-write."},

    // Where tables and scalars stand
    CheckRule{"TM701", error, "a table node has no leading period",
              "Its first number joins the last number of the base: the table stands outside of "
              "the base.",
              "Put a period in front."},
    CheckRule{"TM702", error, "a table node is not dotted numbers",
              "What is no number counts as 0: the table stands elsewhere.",
              "Write numbers with a period in front of each."},
    CheckRule{"TM703", error, "a cell has no table node", "The agent skips the row.",
              "Write the node of the table."},
    CheckRule{"TM704", error, "a table node is empty",
              "The table takes the place of the base itself and hides scalars.",
              "Give the table a node of its own."},
    CheckRule{"TM705", error, "a table node begins with another and 01",
              "The agent takes the columns of the longer node for columns of the shorter one: it "
              "asks for cells that are not there.",
              "Choose a node that does not begin like that."},
    CheckRule{"TM706", error, "two tables stand in one another",
              "The agent or the master refuses one, or parts of one hide the other.",
              "Give every table a node of its own."},
    CheckRule{
        "TM707", error, "a scalar stands in a table, or a table in a scalar",
        "Parts of the table show in walks but not in gets, or not at all, or the table is refused.",
        "Keep scalars and tables apart."},
    CheckRule{"TM708", error, "a third table", "The agent serves the first two tables only.",
              "Keep two tables."},
    CheckRule{"TM709", error, "the OID of a table is too long",
              "The agent prints a line and does not register the table.", "Use a shorter node."},
    CheckRule{"TM710", error, "a number of a table node is wider than 32 bits",
              "The agent reads it as 4294967295: the table stands elsewhere.",
              "Use smaller numbers."},
    CheckRule{"TM711", note, "a scalar has a fourth number", "The agent does not use it.",
              "Write 0, unless others need it."},
    CheckRule{"TM712", note, "more than 255 scalars",
              "Some share the number by which the agent finds them and are told apart by their "
              "OIDs: they are served, a little slower.",
              "None needed."},

    // Columns and rows
    CheckRule{"TM801", error, "a cell in column 0", "It is never served.",
              "Number the columns from 2."},
    CheckRule{"TM802", error, "a cell in column 1",
              "Column 1 is the row number, which the agent answers by itself: the cell is never "
              "served, and the table seems to have a column more than it has.",
              "Number the columns from 2."},
    CheckRule{"TM803", error, "the columns do not follow one another from 2",
              "The agent counts the columns of row 1: columns beyond that count are out of reach, "
              "and a walk ends at the gap.",
              "Number the columns 2, 3, 4 and so on."},
    CheckRule{"TM804", error, "rows of a column are missing", walkEnds,
              "Write a cell for every row and column."},
    CheckRule{"TM805", warning, "a cell beyond row 8",
              "No device has that many rows: it is never served.", "Take it away."},
    CheckRule{"TM806", warning, "a cell in row 0", "Rows count from 1: it is never served.",
              "Number the rows from 1."},
    CheckRule{"TM807", error, "a row number over 255",
              "The agent keeps its low 8 bits: the cell belongs to another row.",
              "Number the rows 1 to 8."},
    CheckRule{"TM808", warning, "the cells of a column differ",
              "A manager sees another type, access or conversion from row to row.",
              "Make them the same."},
    CheckRule{"TM809", note, "the cells of a table have several table kinds",
              "The first row decides.", "Make them the same."},
    CheckRule{"TM810", note, "a table has cells for four rows",
              "On a device with eight rows a walk of it ends at the fifth row of its first column.",
              "Write eight rows, unless the device has four."},
    CheckRule{"TM811", error, "a column is missing in row 1",
              "The agent takes the columns from row 1: it serves one column less than there are.",
              "Write the cell of row 1."},
};
} // namespace

std::span<const CheckRule> checkRules()
{
    return rules;
}
