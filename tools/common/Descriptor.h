#pragma once

#include <unistd.h>

/// Owns a file descriptor and closes it.
class Descriptor
{
public:
    explicit Descriptor(int descriptor) noexcept : _descriptor(descriptor) {}

    ~Descriptor()
    {
        if (_descriptor >= 0) {
            close(_descriptor);
        }
    }

    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    [[nodiscard]] int get() const noexcept { return _descriptor; }

private:
    int _descriptor;
};
