#pragma once

/// A function that this program defines in place of one in a shared library. The loader gives the
/// library the program's function, unless the library was linked to keep its own (-Bsymbolic,
/// -Bsymbolic-functions) or is linked into the program. Reads what the loader has bound; changes
/// nothing, allocates nothing.
class Interposition
{
public:
    Interposition(const char *name, const void *ours) noexcept;

    /// The library's own function; null where no shared library has one.
    [[nodiscard]] void *original() const { return _pOriginal; }

    /// Whether the library hands on the program's function where it hands one on as a callback.
    [[nodiscard]] bool isInEffect() const;

private:
    const void *_pOurs;
    void *_pOriginal;
};
