#pragma once

/// A function that this program defines in place of one in a shared library. The loader binds the
/// library to the program's function, unless the library was linked to use its own (-Bsymbolic,
/// -Bsymbolic-functions) or is linked into the program. Only inspects what the loader has bound:
/// changes nothing, allocates nothing.
class Interposition
{
public:
    Interposition(const char *name, const void *ours) noexcept;

    /// The library's own function; null if no shared library has one.
    [[nodiscard]] void *original() const { return _pOriginal; }

    /// Whether the library passes the program's function where it registers a callback.
    [[nodiscard]] bool isInEffect() const;

private:
    const void *_pOurs;
    void *_pOriginal;
};
