#include <array>

// The two functions of the agent library that the guard redefines, and their addresses passed on as
// callbacks, as the library does.

extern "C" {
int handle_agentx_packet(int /*operation*/, void * /*session*/, int /*requestId*/, void * /*pdu*/,
                         void * /*magic*/)
{
    return 0;
}

int handle_subagent_set_response(int /*operation*/, void * /*session*/, int /*requestId*/,
                                 void * /*pdu*/, void * /*magic*/)
{
    return 0;
}

void *boundAgentCallback(unsigned number)
{
    const std::array<void *, 2> callbacks{reinterpret_cast<void *>(&handle_agentx_packet),
                                          reinterpret_cast<void *>(&handle_subagent_set_response)};
    return callbacks.at(number);
}
}
