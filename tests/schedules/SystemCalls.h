#pragma once

struct World;

/// The agent's system calls, as a world answers them: the linker leads them there (--wrap).
namespace systemCalls
{
void leadTo(World &world);
} // namespace systemCalls
