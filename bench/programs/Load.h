#pragma once

#include "Manager.h"
#include "benchObjects.h"

#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// When a run of a load ends: whichever comes first.
struct Limit {
    std::uint64_t requests = std::numeric_limits<std::uint64_t>::max();
    std::chrono::duration<double> time = std::chrono::duration<double>::max();
};

/// The result of a run of a load.
struct LoadResult {
    std::uint64_t requests = 0;
    /// The varbinds in answers without an error status, right or wrong.
    std::uint64_t varbinds = 0;
    double seconds = 0;
    /// Varbinds with a wrong name, type or value, or missing.
    std::uint64_t wrong = 0;
    /// Requests without an answer, or with an error status.
    std::uint64_t failed = 0;
    /// The first wrong varbind or failure: what was expected, and what came.
    std::string first;
};

/// One kind of request, repeated on one object after the other. Every answer is known in advance
/// and checked.
class Load
{
public:
    enum class Kind { get, walk, set };

    /// The load with this name (get1, get20, getCell, walkScalars, walkTable, setScalar, setCell)
    /// on so many scalars and mapped columns; nullopt for any other name.
    static std::optional<Load> named(std::string_view name, unsigned scalars, unsigned columns);

    /// A run begins with the first object, a walk at the root of the subtree. A finished walk
    /// starts again; the answer that leaves the subtree shows that it is finished.
    LoadResult run(Manager &manager, const Limit &limit) const;

    [[nodiscard]] bool writes() const { return _kind == Kind::set; }

private:
    Load(Kind kind, std::vector<benchObject> objects, std::size_t perRequest,
         std::size_t rootLength = 0);

    [[nodiscard]] Manager::Pdu request(std::uint64_t number) const;
    void check(const netsnmp_pdu *answer, std::uint64_t number, LoadResult &result) const;
    void checkVarbind(const netsnmp_variable_list *varbind, std::uint64_t position,
                      LoadResult &result) const;
    [[nodiscard]] bool isRight(const netsnmp_variable_list &varbind,
                               const benchObject *object) const;
    /// The object at a position of the sequence; null after the end of a walk.
    [[nodiscard]] const benchObject *objectAt(std::uint64_t position) const;
    [[nodiscard]] bool isBelowRoot(const netsnmp_variable_list &varbind) const;

    Kind _kind;
    std::vector<benchObject> _objects;
    std::size_t _perRequest;
    std::size_t _rootLength;
};
