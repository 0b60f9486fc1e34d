#include "Findings.h"

#include <array>

namespace
{
constexpr Severity note = Severity::note;
constexpr Severity warning = Severity::warning;
constexpr Severity error = Severity::error;

constexpr std::string_view notServed =
    "A get fails, and a walk ends or skips the object; a set fails.";
constexpr std::string_view oneAnswer =
    "Answer each request once, in the order of the requests, under the id of the request.";
constexpr std::string_view fixEither = "Correct the source, or the device application.";
constexpr std::string_view wholeFrame =
    "Send 6 header bytes and the value, with 3 + the size of the value as the length byte.";

constexpr std::array rules{
    // The link
    CheckRule{"TV101", error, "there is no device application",
              "The agent waits at startup, without limit.",
              "Start the device application first; it creates the queues."},
    CheckRule{"TV102", error, "the device answers no request",
              "The agent waits at startup, without limit.",
              "Check that the device application runs and takes requests off its queue."},
    CheckRule{"TV103", error, "not every object was read",
              "Nothing is known about the other objects.",
              "Make the device application faster, or raise --limit."},
    CheckRule{"TV104", error, "the queues were removed",
              "The requests in the queue are lost, and those reads fail.",
              "Keep the queues while the device application runs, and over its restarts."},
    CheckRule{"TV105", error, "the device stopped answering",
              "The agent waits 3 s once and then 40 ms for each object, and serves none.",
              "Check that the device application still runs."},

    // Answers
    CheckRule{"TV201", error, "an object is not answered",
              "A get takes 3 s and fails, and the next reads wait 40 ms only.",
              "Answer every read, even of an object that is not there."},
    CheckRule{"TV202", error, "the device refuses an object", notServed,
              "Correct the object id in the source, or add the object to the device."},
    CheckRule{"TV203", error, "an answer carries another id",
              "After a disturbance the value of another object may be served.", oneAnswer},
    CheckRule{"TV204", error, "the length byte does not fit the value",
              "The agent takes a part of the value, or refuses the answer.", wholeFrame},
    CheckRule{"TV205", error, "an answer has no complete header", notServed, wholeFrame},
    CheckRule{"TV206", warning, "bytes follow the value", "The agent ignores them.", wholeFrame},
    CheckRule{"TV207", error, "an answer is longer than 1024 bytes",
              "It stays in the queue, and from then on every get and set fails.",
              "Send shorter answers."},
    CheckRule{"TV208", error, "a request is answered more than once",
              "The second answer may be taken for that of the next request.", oneAnswer},
    CheckRule{"TV209", warning, "an answer takes longer than 40 ms",
              "While the device counts as silent, the agent waits 40 ms: such reads fail then.",
              "Answer from memory, and fetch slow values beforehand."},
    CheckRule{"TV210", warning, "an answer takes longer than 1 s",
              "The master repeats the request meanwhile, and the device gets it again.",
              "Answer from memory, and fetch slow values beforehand."},
    CheckRule{"TV211", error, "an answer takes longer than 3 s",
              "The agent gives up: the get fails, and so may the next ones.",
              "Answer from memory, and fetch slow values beforehand."},
    CheckRule{"TV212", error, "an answer is no frame of the link", notServed, wholeFrame},
    CheckRule{"TV213", error, "answers come out of order",
              "After a disturbance the value of another object may be served.", oneAnswer},
    CheckRule{"TV214", error, "requests in a row are not all answered",
              "Under load, gets fail after 3 s.", oneAnswer},
    CheckRule{"TV215", warning, "an alarm is polled more often than the device can answer",
              "The polls of the master agent take more than a quarter of the time: managers wait, "
              "and polls are late.",
              "Poll it less often, or answer faster."},

    // How the device stores an object
    CheckRule{"TV301", error, "the kind is not that in the source",
              "The agent serves another number or text than the source promises.", fixEither},
    CheckRule{"TV302", warning, "the width is not that in the source",
              "Ranges and sizes in the MIB are wrong, and sets of larger values are cut off.",
              fixEither},
    CheckRule{"TV303", error, "the kind and width do not suit the type and conversion",
              "The agent serves a wrong value, or a set arrives wrong.",
              "Change the type or conversion in the mapping, or the object in the device."},
    CheckRule{"TV305", error, "the device refuses writes of a writable object", "Every set fails.",
              "Make the object read-only in the source, or writable in the device."},
    CheckRule{"TV306", note, "the device allows writes of a read-only object",
              "Managers cannot set it.", "Give it read-write access if they should."},

    // Values
    CheckRule{"TV311", warning, "a text is not UTF-8",
              "Managers show it in hexadecimal or with wrong characters.", "Send UTF-8."},
    CheckRule{"TV312", warning, "a text is longer than 64 bytes",
              "A manager sees the first 64 bytes.", "Shorten the text."},
    CheckRule{"TV313", warning, "bytes follow the end of a text",
              "A manager sees the text up to its first zero byte.",
              "Fill the rest of the text with zeros."},
    CheckRule{"TV321", warning, "a value is outside the range in the source",
              "Managers that rely on the MIB reject it.", fixEither},
    CheckRule{"TV322", warning, "a value has no label in the source",
              "Managers show the bare number, and monitoring has no word for it.",
              "Add the label to the source."},
    CheckRule{"TV323", warning, "an unsigned number is served as a negative one",
              "INTEGER ends at 2147483647: a manager sees the number less 4294967296.",
              "Keep the number below 2147483648 in the device."},

    // The start
    CheckRule{"TV401", error, "the base is not an OID",
              "The agent registers its objects somewhere else, or not at all.",
              "Answer reads of 0x80BA with dotted numbers after a leading period."},
    CheckRule{"TV402", error, "the base is not that of the source",
              "Every object has another OID than in the MIB.", fixEither},
    CheckRule{"TV403", error, "the number of rows is invalid", "The agent serves no tables.",
              "Answer reads of 0x0A41 with one byte: 0 for 4 rows, 1 for 8."},
    CheckRule{"TV404", error, "the number of rows is not that of the source",
              "Rows are missing, or walks fail at rows that the mapping does not have.", fixEither},

    // What an agent serves
    CheckRule{
        "TV501", error, "the agent's host does not answer", "Managers get no answers.",
        "Look whether the master agent runs and the address is right. A master does not answer a "
        "community that it does not know, or a wrong privacy passphrase."},
    CheckRule{"TV502", error, "the manager is refused", "This manager gets no values.",
              "Compare user, level, protocols and passphrases with the master's createUser, "
              "rouser and rwuser."},
    CheckRule{"TV503", error, "nothing of the mapping is served", "Managers see no object.",
              "Look whether the agent runs and finds its mapping, whether the device reports this "
              "base OID, and whether the manager's view includes it."},
    CheckRule{"TV504", error, "the number of rows is not that of the mapping",
              "Rows are missing, or have no cells.",
              "State the rows of the device with --rows, or configure the device."},
    CheckRule{"TV505", error, "a table is not served", "Managers see nothing of it.",
              "Start the agent again with this mapping."},
    CheckRule{"TV506", error, "the agent does not have an object", "Managers do not see it.",
              "Start the agent again with this mapping."},
    CheckRule{"TV507", error, "an object has no value", "A get fails, and a walk skips it.",
              "Look whether the device has the object: \"tarnoMapping verify\" on the device."},
    CheckRule{"TV508", error, "a read ends with an error",
              "The master waits 6 s for the agent; then it drops all its objects for a while.",
              "Look whether the device application answers: \"tarnoMapping verify\" on the "
              "device."},
    CheckRule{"TV509", error, "a walk skips an object", "Managers that walk do not see it.",
              "Look whether the device answers every time, and whether another agent on the "
              "master serves a part of the base."},
    CheckRule{"TV510", error, "a walk goes back", "Managers end the walk there.",
              "Correct what \"tarnoMapping check\" finds in the mapping."},
    CheckRule{"TV511", warning, "an object is served that is not in the mapping",
              "The MIB does not have it either.", "Start the agent again with this mapping."},
    CheckRule{"TV512", error, "the type is not that of the mapping",
              "Managers that rely on the MIB misread it.",
              "Start the agent again with this mapping."},
    CheckRule{"TV513", warning, "a served number is outside the range in the source",
              "Managers that rely on the MIB reject it.", fixEither},
    CheckRule{"TV514", warning, "a served number has no label in the source",
              "Managers show the bare number, and monitoring has no word for it.",
              "Add the label to the source."},
    CheckRule{"TV515", error, "a served text is not what the conversion makes",
              "Managers and monitoring systems cannot read it.",
              "Start the agent again with this mapping."},
    CheckRule{"TV521", error, "the manager may not set objects",
              "Its sets fail, and nothing is known about the access of the objects.",
              "Use a manager that may write: rwcommunity or rwuser of the master."},
    CheckRule{"TV522", error, "a writable object cannot be set", "Every set fails.",
              "Start the agent again with this mapping, or look whether the device allows writes."},
    CheckRule{"TV523", error, "a read-only object can be set", "Managers can change it.",
              "Start the agent again with this mapping."},
    CheckRule{"TV524", error, "a set value reads back differently",
              "A manager reads something else than it has set.",
              "Look at the device's object: \"tarnoMapping verify --write\" on the device."},

    // Writes
    CheckRule{"TV601", error, "a write is not answered",
              "A set takes 3 s, and the next reads wait 40 ms only.", oneAnswer},
    CheckRule{"TV602", error, "the device refuses to write back its own value",
              "The set succeeds for the manager, but the value stays the old one.",
              "Accept what the object has, in the width of the read."},
    CheckRule{"TV603", error, "a value reads back differently",
              "A manager reads something else than it has set.",
              "Store what is written, and answer with it."},
    CheckRule{"TV604", warning, "the answer to a write has a wrong form",
              "The agent does not look at it, but a later version may.",
              "Answer with the command 11, the length byte and the id of the request."},
    CheckRule{"TV605", error, "the answer to a write is longer than its request",
              "It stays in the queue, and the next get fails.",
              "Answer with the command 11, the length byte and the id of the request."},

    // Requests that the agent does not send with this mapping
    CheckRule{"TV701", warning, "a read of an unknown id is not answered",
              "With a mapping for another version of the device, gets take 3 s and fail.",
              "Answer reads of unknown objects too, for instance with 13 as the first byte."},
    CheckRule{"TV702", warning, "a write of a read-only object is not answered",
              "Other programs on the link wait for the answer.",
              "Refuse the write with an answer."},
    CheckRule{"TV703", warning, "a write of a read-only object is accepted",
              "The device says that it does not allow writes, so the agent sends none.",
              "Refuse the write, or mark the object as writable."},
};
} // namespace

std::span<const CheckRule> verifyRules()
{
    return rules;
}
