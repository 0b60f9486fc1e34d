#include "Findings.h"

#include <array>

namespace
{
constexpr Severity note = Severity::note;
constexpr Severity warning = Severity::warning;
constexpr Severity error = Severity::error;

constexpr std::string_view readAsZero = "The agent reads it as 0.";
constexpr std::string_view servesNoScalars =
    "The agent prints a message at startup and serves no scalars.";
constexpr std::string_view servesNoTables =
    "The agent prints a message at startup and serves no tables.";
constexpr std::string_view allColumns = "Define all thirteen columns, in order.";
constexpr std::string_view onlyDigits = "Write only digits of the column's base.";
constexpr std::string_view usualAccess = "Use 1 for read-only and 3 for read-write.";
constexpr std::string_view neverServed =
    "It is registered but never served: a get returns noSuchObject, and a walk of everything that "
    "the master has fails with \"OID not increasing\".";
constexpr std::string_view smallerArcs = "Use numbers up to 2147483647.";
constexpr std::string_view correctTypes =
    "Use INTEGER (2) or OCTET STRING (4): other types are not served correctly.";

constexpr std::array rules{
    // The tables of the database
    CheckRule{"TM101", error, "the scalar table is missing", servesNoScalars,
              "Create the table SNMP_GENERAL_OBJ_TABLE, even if it stays empty."},
    CheckRule{"TM102", error, "the cell table is missing", servesNoTables,
              "Create the table SNMP_TABLE_OBJ_TABLE, even if it stays empty."},
    CheckRule{"TM103", error, "the scalar table has too few columns", servesNoScalars, allColumns},
    CheckRule{"TM104", error, "the cell table has too few columns", servesNoTables, allColumns},
    CheckRule{"TM105", warning, "the mapping is empty", "The agent serves nothing.",
              "Add scalars or tables."},
    CheckRule{"TM106", warning, "the file is in write-ahead mode",
              "On a read-only file system, or without write access to the directory, the agent "
              "cannot read it: it prints a message and serves nothing.",
              "Run \"PRAGMA journal_mode = DELETE\" on it before it goes to the device."},
    CheckRule{"TM107", warning, "a hexadecimal column has a numeric type",
              "SQLite stores 02E1 as the number 20, and the agent reads 0x0020.",
              "Declare the column as TEXT, and write its values again."},
    CheckRule{"TM108", error, "the columns are shifted",
              "The agent takes columns by position: it reads every number from the wrong column.",
              "Define exactly the thirteen columns, in order."},
    CheckRule{"TM109", error, "the base in the file is not an OID",
              "The agent asks the device, but tarnoMapping and tarnoDeviceSim refuse the file.",
              "Write dotted numbers with a leading period, each below 4294967296."},
    CheckRule{"TM110", warning, "the base is not below iso",
              "\"tarnoMapping mib\" refuses the file.",
              "Use a base that begins with .1 and has two numbers or more."},

    // Single cells of the database
    CheckRule{"TM201", error, "a number is NULL", readAsZero, "Write a number, such as 0."},
    CheckRule{"TM202", error, "not a number", readAsZero, onlyDigits},
    CheckRule{"TM203", error, "trailing characters after a number",
              "The agent reads the leading digits and ignores the rest.", onlyDigits},
    CheckRule{"TM204", error, "a number does not fit in its field",
              "The agent limits it to 4294967295 and truncates it to the field's width.",
              "Write a number that fits."},
    CheckRule{"TM205", error, "a number is negative",
              "The agent reads it as a large number and truncates it to the field's width.",
              "Write 0 or a positive number."},
    CheckRule{"TM206", error, "the type of a scalar is written in decimal",
              "The agent reads the column as hexadecimal and gets another type.",
              "Write the type of a scalar in hexadecimal."},
    CheckRule{"TM207", error, "the type of a cell is written in hexadecimal",
              "The agent reads the column as decimal and gets another type.",
              "Write the type of a cell in decimal."},
    CheckRule{"TM208", warning, "a text is longer than 64 bytes",
              "A manager sees its first 64 bytes.", "Shorten the text."},
    CheckRule{"TM209", note, "a stored text is NULL",
              "The record gets the text of the nearest earlier row that has one.",
              "Write a text, even an empty one."},
    CheckRule{"TM210", warning, "a text is not UTF-8",
              "Tools cannot display it, and it cannot be imported.", "Write UTF-8."},
    CheckRule{"TM211", warning, "a description is not UTF-8",
              "The agent does not read it, but it cannot be published or imported as it is.",
              "Write UTF-8."},

    // Duplicates
    CheckRule{"TM301", error, "two scalars have the same object id",
              "The earlier row wins; the agent drops this one, and its OID is not served.",
              "Keep one scalar per object."},
    CheckRule{"TM302", error, "two scalars have the same OID",
              "The scalar with the lower object id is served. The library refuses the other one "
              "and all scalars with even higher object ids.",
              "Give each scalar its own OID."},
    CheckRule{"TM303", error, "a cell is defined twice",
              "The earlier row wins; the agent drops this one.",
              "Keep one row per table node, row and column."},
    CheckRule{"TM304", warning, "several cells have the same object id",
              "All of them show the same object, converted like the first one.",
              "Give each cell its own object, or the same conversion."},
    CheckRule{"TM305", warning, "a scalar and a cell have the same object id",
              "The cell is converted like the scalar, whatever its own row says.",
              "Give the cell its own object, or the conversion of the scalar."},
    CheckRule{"TM306", warning, "several object ids refer to one device object",
              "The link requests the same object for each of them.", "Keep one id of the group."},
    CheckRule{"TM307", warning, "an object that the agent itself needs is writable",
              "The agent reads it at startup: after a set and a restart, all objects have other "
              "OIDs, the tables have other rows, or nothing is served.",
              "Make it read-only."},
    CheckRule{"TM308", warning, "an object id belongs to a group that shares one device object",
              "The agent asks the device for 0x083A instead of 0x0910 to 0x0913, and for 0x083B "
              "instead of 0x0914 to 0x0917.",
              "Write the id that the agent asks for."},

    // Types
    CheckRule{"TM401", error, "the type cannot be encoded",
              "A request for it is answered with genErr, and the master may end the session: all "
              "objects are unavailable until the agent has reconnected.",
              correctTypes},
    CheckRule{"TM402", error, "text bytes are served as a number",
              "A manager sees whatever number the bytes make, or 0.", correctTypes},
    CheckRule{"TM403", error, "text bytes are served as an address",
              "Unless the text is four bytes long, the answer is malformed: managers drop it and "
              "time out.",
              "Use OCTET STRING (4) with an IPv4 conversion."},
    CheckRule{"TM404", error, "text bytes are served as an object identifier",
              "A manager sees 0.0, or genErr if the text has eight bytes or more.", correctTypes},
    CheckRule{"TM405", error, "the type means that there is no value",
              "A get returns noSuchInstance or noSuchObject, and a walk may end there or skip the "
              "rest of the table.",
              correctTypes},
    CheckRule{"TM406", warning, "text bytes are served as Opaque",
              "A manager sees opaque bytes, which few can display.", correctTypes},
    CheckRule{"TM407", error, "the type does not fit in 8 bits",
              "Its low 8 bits are sent, with the bytes of a text as the value.", correctTypes},

    // Conversions
    CheckRule{"TM501", error, "the conversion produces text but the type is INTEGER",
              "A manager sees the first four bytes of the text as a number.",
              "Make the type OCTET STRING (4)."},
    CheckRule{"TM502", error, "the conversion produces a number but the type is not INTEGER",
              "A manager sees the bytes of the number as characters, up to the first zero.",
              "Make the type INTEGER (2)."},
    CheckRule{"TM503", warning, "a scale is combined with a conversion that ignores it",
              "The scale has no effect.", "Remove the scale, or use the decimal conversion."},
    CheckRule{"TM504", warning, "a read-only number has a scale",
              "The scale applies to sets only: a manager sees the number as the device has it.",
              "Use the decimal conversion and OCTET STRING, or remove the scale."},
    CheckRule{"TM505", warning, "a decimal text has more than two places",
              "A manager sees two decimal places, whatever the scale.",
              "Use a scale of at most 2."},
    CheckRule{"TM506", error, "a writable object has a one-way conversion",
              "A set writes the characters of the text to the device unconverted.",
              "Make it read-only, or use a conversion that works both ways."},
    CheckRule{
        "TM507", warning, "the kind of conversion is unknown",
        "The value is passed through unchanged in both directions.",
        "Use kind 0, which does the same, except in a writable cell that is a signed number."},
    CheckRule{"TM508", note, "a number is scaled in sets only",
              "For each decimal place, a manager reads back ten times what it set.",
              "Tell your users, or use the decimal conversion and OCTET STRING."},
    CheckRule{"TM509", error, "IPv4 text is served as IpAddress",
              "The text is not four bytes long: the answer is malformed, so managers drop it and "
              "time out.",
              "Make the type OCTET STRING (4)."},
    CheckRule{"TM510", error, "a writable text has a scale",
              "The first four characters of the new value are taken as a number and multiplied.",
              "Remove the scale, or use the decimal conversion."},

    // Access
    CheckRule{"TM601", warning, "the access code of a scalar is unusual",
              "Bit 1 makes the scalar writable; in a cell, the same code would not.", usualAccess},
    CheckRule{"TM602", warning, "the access code of a cell is unusual",
              "Only 3 is read-write: the cell is read-only, although bit 1 would make a scalar "
              "writable.",
              usualAccess},
    CheckRule{"TM603", warning, "the access code is unknown", "The object is read-only.",
              usualAccess},

    // Places of tables and scalars
    CheckRule{"TM701", error, "a table node has no leading period",
              "Its first number is appended to the last number of the base: the table is outside "
              "the base.",
              "Start the node with a period."},
    CheckRule{"TM702", error, "a table node is not dotted numbers",
              "The agent reads the digits that each part begins with, or 0: the table is served "
              "elsewhere.",
              "Write numbers, each after a period."},
    CheckRule{"TM703", error, "a cell has no table node", "The agent skips the row.",
              "Write the node of the table."},
    CheckRule{"TM704", error, "a table node is empty",
              "The cells are served right below the base, and a scalar 1.COLUMN.ROW takes the "
              "place of a cell.",
              "Give the table its own node."},
    CheckRule{"TM705", error, "a table node begins with another node followed by 01",
              "The agent takes the columns of the longer node for columns of the shorter one and "
              "looks for cells that do not exist.",
              "Choose a node that does not begin like that."},
    CheckRule{"TM706", error, "two tables overlap",
              "The agent or the master refuses one, or parts of one hide the other.",
              "Give each table its own node."},
    CheckRule{"TM707", error, "a scalar and a table overlap",
              "A get of a cell below the scalar's OID returns noSuchInstance, and a walk may leave "
              "such cells out.",
              "Keep scalars and tables apart."},
    CheckRule{"TM708", error, "more than two tables", "The agent serves only the first two.",
              "Keep two tables."},
    CheckRule{"TM709", error, "the OID of a table is too long",
              "The agent prints a message and does not register the table.", "Use a shorter node."},
    CheckRule{"TM710", error, "a number in a table node does not fit in 32 bits",
              "The agent reads it as 4294967295: the table is registered elsewhere and never "
              "served.",
              "Use smaller numbers."},
    CheckRule{"TM711", note, "a scalar has a fourth number", "The agent does not use it.",
              "Write 0, unless other programs need it."},
    CheckRule{"TM712", note, "more than 255 scalars",
              "Some share a magic number, and the agent tells them apart by their OIDs: they are "
              "served, but slightly slower.",
              "None needed."},
    CheckRule{"TM713", error, "a number in the OID of a scalar is above 2147483647", neverServed,
              smallerArcs},
    CheckRule{"TM714", error, "a number in a table node is above 2147483647", neverServed,
              smallerArcs},
    CheckRule{"TM715", error, "a number in the base is above 2147483647",
              "The agent registers everything, but nothing is served.", smallerArcs},

    // Columns and rows
    CheckRule{"TM801", error, "a cell in column 0", "The cell is never served.",
              "Number the columns from 2."},
    CheckRule{"TM802", error, "a cell in column 1",
              "Column 1 is the row number, which the agent answers by itself: the cell is never "
              "served, and the table seems to have one more column than it has.",
              "Number the columns from 2."},
    CheckRule{"TM803", error, "the columns are not numbered from 2 without gaps",
              "The agent counts the columns of row 1: columns above that count cannot be reached, "
              "and a walk ends at the gap.",
              "Number the columns 2, 3, 4 and so on."},
    CheckRule{"TM804", error, "a column has missing rows",
              "A walk of the table ends at the first missing cell: the rest of that column and all "
              "later columns are skipped.",
              "Write a cell for every row and column."},
    CheckRule{"TM805", warning, "a cell beyond row 8",
              "No device has that many rows: the cell is never served.", "Remove the cell."},
    CheckRule{"TM806", warning, "a cell in row 0",
              "Rows are numbered from 1: the cell is never served.", "Number the rows from 1."},
    CheckRule{"TM807", error, "a row number above 255",
              "The agent keeps its low 8 bits: the cell belongs to another row.",
              "Number the rows 1 to 8."},
    CheckRule{"TM808", warning, "the cells of a column differ",
              "A manager sees another type, access or conversion from row to row.",
              "Make them the same."},
    CheckRule{"TM809", note, "the cells of a table have several table kinds",
              "The first row decides.", "Make them the same."},
    CheckRule{"TM810", note, "a table has cells for four rows",
              "On a device with eight rows, a walk of the table ends at the fifth row of its first "
              "column.",
              "Write eight rows, unless the device has four."},
    CheckRule{"TM811", error, "a column has no cell in row 1",
              "The agent takes the columns from row 1: it serves one column fewer than there are.",
              "Write the cell of row 1."},
    CheckRule{"TM812", error, "one table has four rows, the other one has eight",
              "A device has one number of rows for both: with four, rows 5 to 8 are not served; "
              "with eight, a walk of the short table ends at the fifth row of its first column.",
              "Give both tables the rows of the device."},

    // How the device stores an object
    CheckRule{"TM901", error, "a writable cell is a signed number",
              "A manager that sets a negative number gets no error, but the device gets 0.",
              "Make the column read-only, or the object a scalar."},
    CheckRule{"TM902", error, "a writable scaled scalar is a signed number",
              "A manager that sets a negative number gets no error, but the device gets -1.",
              "Use the conversion raw."},
    CheckRule{"TM903", warning, "a writable decimal text is a signed number",
              "A manager can read a negative number, but a set of one fails.",
              "Make it read-only, or let the device store numbers from 0 on."},
    CheckRule{
        "TM904", note, "an INTEGER is an unsigned number of four bytes",
        "A manager sees numbers above 2147483647 as negative ones.",
        "None needed if the device keeps smaller numbers; otherwise use the decimal conversion "
        "and OCTET STRING."},
    CheckRule{"TM905", error, "an INTEGER is a text",
              "A manager sees its first characters as one number, and a set writes the bytes "
              "of a number into the text.",
              "Make the type OCTET STRING (4)."},
    CheckRule{"TM906", error, "an unconverted OCTET STRING is a number",
              "A manager sees the bytes of the number as characters, up to the first zero, and a "
              "set of 12 writes 12849, the codes of both digits.",
              "Make the type INTEGER (2), or use the decimal conversion."},
    CheckRule{"TM907", error, "a decimal text is converted from a text",
              "The first four characters of the device's text are taken as one number.",
              "Use the conversion raw."},
    CheckRule{"TM908", warning, "an OCTET STRING is a block of bytes",
              "A manager sees the bytes up to the first zero.",
              "Use an IPv4 conversion, or let the device store a text."},
    CheckRule{"TM909", error, "a block is not 1, 2 or 4 bytes wide",
              "The agent rejects the device's answer. A scalar reads as empty or 0, a cell shows "
              "the value of the cell that was read before it, and sets fail.",
              "Let the device store a text, or a block of four bytes."},
    CheckRule{"TM910", error, "an IPv4 address is not four bytes wide",
              "The missing bytes read as 0.", "Let the device store four bytes."},
    CheckRule{"TM911", error, "an IPv4 address is stored as a text",
              "A manager sees the codes of the first four characters: 10.0.0.1 reads as "
              "49.48.46.48.",
              "Use the conversion raw."},
    CheckRule{"TM912", warning, "the conversion uint16 is used for a signed number",
              "A manager sees -1 as 65535.", "Use the conversion raw."},
    CheckRule{"TM913", note, "a decimal text does not read back as it was set",
              "The agent computes in single precision and truncates: the stored number may be one "
              "too small.",
              "Tell your users, or let them set one more digit, such as 54.301."},
    CheckRule{"TM914", error, "a value does not fit in the device's object",
              "tarnoDeviceSim refuses the mapping.", "Write a value of this kind and width."},
    CheckRule{"TM915", warning, "a motion leaves the range of the device's object",
              "The simulated number wraps around.", "Use smaller numbers, or a wider object."},
    CheckRule{"TM916", error, "the motion is unknown, or the object is not a number",
              "tarnoDeviceSim refuses the mapping.",
              "Use counter, ramp, sine, walk, clock or replay with their numbers and times."},
    CheckRule{
        "TM917", error, "a number is not 1, 2 or 4 bytes wide",
        "A get returns noSuchInstance, a walk skips the rest of the table, and tarnoDeviceSim "
        "refuses the mapping. A set of a scalar fails; one of a cell succeeds without any "
        "effect.",
        "State the width of the device's object: 1, 2 or 4."},
    CheckRule{"TM918", warning, "a label is for a number that the device's object cannot hold",
              "No manager ever sees the label.", "Remove the label, or correct kind and width."},
    CheckRule{"TM919", warning, "a writable uint16 is four bytes wide",
              "A manager can set numbers above 65535, but reads back their low 16 bits.",
              "Make it read-only, or use the conversion raw."},

    // What is published
    CheckRule{"TM921", warning, "a name is one that the MIB uses itself",
              "It is published with a number at its end.", "Choose another name."},
    CheckRule{"TM922", warning, "an OID ends in 0",
              "The agent serves it, but SMIv2 forbids it: a tool that loads the MIB complains.",
              "Number scalars and tables from 1."},
    CheckRule{"TM923", warning, "the date of the last change is not a date",
              "The MIB has the date 2000-01-01.", "Write the day as YYYY-MM-DD."},
    CheckRule{"TM924", warning, "two objects have the same name",
              "The second one is published under a name with a number at its end.",
              "Give each object its own name."},
    CheckRule{"TM925", warning, "a name is one that a MIB cannot have",
              "It is published under another name.",
              "Use a lower-case letter and then letters and digits, at most 64; in the name of a "
              "module, capitals, digits and hyphens."},

    // Alarms
    CheckRule{
        "TM951", warning, "the name of an alarm is longer than 30 characters",
        "SMIv2 recommends at most 32 for the name of a notification: tools complain or cut it.",
        "Choose a shorter name."},
    CheckRule{"TM952", error, "an alarm watches an object that the mapping does not have",
              "The alarm is left out of everything that is published.",
              "Write the name of a scalar or column that is served."},
    CheckRule{"TM953", error, "the condition does not suit the object",
              "The object is a text, which is neither above nor below anything: the alarm is left "
              "out of everything that is published.",
              "Use the condition changed, or watch a number."},
    CheckRule{"TM954", error, "an alarm waits for a value that the object cannot have",
              "It is never raised, never cleared, or left out of what is published.",
              "Write a value within the range or the labels of the object."},
    CheckRule{"TM955", error, "the limit that clears an alarm is on the wrong side",
              "The master agent sends no clearing of an alarm that was raised between the two "
              "limits: what clears it was true all the time.",
              "Clear an alarm above a limit at this limit or below it, and the other way round."},
    CheckRule{"TM956", error, "an alarm sends an object that it cannot have",
              "Notifications do not have it.",
              "Write the names of scalars, or of columns of the table that the alarm watches."},
    CheckRule{"TM957", warning, "an alarm is polled too often",
              "If the device takes 40 ms for each answer, its polls take more than a quarter of "
              "the time: managers wait, and polls are late.",
              "Poll it less often."},
    CheckRule{"TM958", warning, "the alarms are polled too often",
              "If the device takes 40 ms for each answer, all polls together take more than a "
              "quarter of the time: managers wait, and polls are late.",
              "Poll them less often, or watch fewer columns."},
    CheckRule{
        "TM959", note, "the master agent cannot watch the object",
        "It compares integers only, so it sends no notifications. Prometheus and Zabbix watch "
        "the object.",
        "None needed if they do; otherwise watch an integer."},
    CheckRule{"TM960", note, "the labels of an alarm are neither the lowest nor the highest",
              "A change from one of its labels to another sends the notification again.",
              "None needed: a notification reports a state. To get it once, give the labels "
              "the lowest or the highest numbers."},
    CheckRule{"TM961", error, "an object uses the number of the notifications",
              "The notifications of the alarms are at 0 below the base: the MIB would define the "
              "number twice.",
              "Number scalars and tables from 1."},

    // The source
    CheckRule{"TM991", warning, "an accepted finding does not occur",
              "The acceptance would hide such a finding if it occurred later.",
              "Remove it from the source."},
};
} // namespace

std::span<const CheckRule> checkRules()
{
    return rules;
}
