#pragma once

struct World;

/// The agent's system calls, redirected by the linker (--wrap) and answered by a world.
namespace systemCalls
{
void leadTo(World &world);
} // namespace systemCalls
