# LEFT_OUT: the lines of left-out that hold for this emulator. They are also in the build directory, for the reader.
include(CheckSourceRuns)

file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/left-out LEFT_OUT REGEX "^[^#]")
check_source_runs(CXX [[
#include <sys/msg.h>
int main()
{
    const int queue = msgget(IPC_PRIVATE, 0600);
    msqid_ds state{};
    const bool isRight = msgctl(queue, IPC_STAT, &state) == 0 && state.msg_qbytes != 0;
    return msgctl(queue, IPC_RMID, nullptr) == 0 && isRight ? 0 : 1;
}
]] TARNO_EMULATED_MSGCTL)
if(TARNO_EMULATED_MSGCTL)
    list(FILTER LEFT_OUT EXCLUDE REGEX "^msgctl ")
endif()
list(JOIN LEFT_OUT "\n" LINES)
file(WRITE ${CMAKE_BINARY_DIR}/left-out "${LINES}\n")
