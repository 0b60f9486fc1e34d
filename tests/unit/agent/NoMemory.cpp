#include "agent/NoMemory.h"

#include <cstdlib>
#include <new>

namespace
{
thread_local bool s_exhausted = false;
} // namespace

NoMemory::NoMemory()
{
    s_exhausted = true;
}

NoMemory::~NoMemory()
{
    s_exhausted = false;
}

void *operator new(std::size_t size)
{
    void *const memory = s_exhausted ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void *operator new(std::size_t size, const std::nothrow_t & /*tag*/) noexcept
{
    return s_exhausted ? nullptr : std::malloc(size);
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, const std::nothrow_t & /*tag*/) noexcept
{
    std::free(memory);
}
