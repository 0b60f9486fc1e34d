#include "Load.h"

#include <algorithm>
#include <type_traits>
#include <utility>

namespace
{
static_assert(std::is_same_v<oid, unsigned long>);

using Objects = std::vector<benchObject>;

Objects scalarsOf(unsigned count)
{
    Objects objects;
    for (unsigned index = 0; index < count; ++index) {
        objects.push_back(benchScalar(index));
    }
    return objects;
}

Objects cellsOf(unsigned firstColumn, unsigned lastColumn)
{
    Objects objects;
    for (unsigned column = firstColumn; column <= lastColumn; ++column) {
        for (unsigned row = 1; row <= benchRows; ++row) {
            objects.push_back(benchCell(column, row));
        }
    }
    return objects;
}

std::string nameText(const oid *name, std::size_t length)
{
    std::string text;
    std::for_each(name, name + length, [&](oid arc) { text += '.' + std::to_string(arc); });
    return text;
}

std::string textOf(const netsnmp_variable_list &varbind)
{
    return nameText(varbind.name, varbind.name_length) + " type " + std::to_string(varbind.type) +
           (varbind.type == ASN_INTEGER ? " value " + std::to_string(*varbind.val.integer) : "");
}

std::string textOf(const benchObject &object)
{
    return nameText(object.name, object.nameLength) + " value " + std::to_string(object.value);
}

bool hasName(const netsnmp_variable_list &varbind, const benchObject &object)
{
    return std::equal(varbind.name, varbind.name + varbind.name_length, object.name,
                      object.name + object.nameLength);
}

std::string reasonOf(const netsnmp_pdu *answer)
{
    return answer == nullptr ? "no answer"
                             : "error status " + std::to_string(answer->errstat) + " at varbind " +
                                   std::to_string(answer->errindex);
}
} // namespace

std::optional<Load> Load::named(std::string_view name, unsigned scalars, unsigned columns)
{
    constexpr std::size_t manyVarbinds = 20;
    const unsigned lastColumn = benchRowColumn + columns;
    if (name == "get1") {
        return Load(Kind::get, scalarsOf(scalars), 1);
    }
    if (name == "get20") {
        return Load(Kind::get, scalarsOf(scalars), manyVarbinds);
    }
    if (name == "getCell") {
        return Load(Kind::get, cellsOf(benchFirstColumn, lastColumn), 1);
    }
    if (name == "walkScalars") {
        return Load(Kind::walk, scalarsOf(scalars), 1, benchScalarRootLength);
    }
    if (name == "walkTable") {
        return Load(Kind::walk, cellsOf(benchRowColumn, lastColumn), 1, benchTableRootLength);
    }
    if (name == "setScalar") {
        return Load(Kind::set, scalarsOf(scalars), 1);
    }
    if (name == "setCell") {
        return Load(Kind::set, cellsOf(benchFirstColumn, lastColumn), 1);
    }
    return std::nullopt;
}

Load::Load(Kind kind, std::vector<benchObject> objects, std::size_t perRequest,
           std::size_t rootLength)
    : _kind(kind), _objects(std::move(objects)), _perRequest(perRequest), _rootLength(rootLength)
{
}

LoadResult Load::run(Manager &manager, const Limit &limit) const
{
    LoadResult result;
    const auto start = std::chrono::steady_clock::now();
    std::chrono::duration<double> passed{};
    while (result.requests < limit.requests && passed < limit.time) {
        const Manager::Pdu answer = manager.ask(request(result.requests));
        check(answer.get(), result.requests, result);
        ++result.requests;
        passed = std::chrono::steady_clock::now() - start;
    }
    result.seconds = passed.count();
    return result;
}

Manager::Pdu Load::request(std::uint64_t number) const
{
    if (_kind == Kind::walk) {
        Manager::Pdu pdu(snmp_pdu_create(SNMP_MSG_GETNEXT));
        const auto position = static_cast<std::size_t>(number % (_objects.size() + 1));
        const benchObject &asked = _objects[position == 0 ? 0 : position - 1];
        snmp_add_null_var(pdu.get(), asked.name, position == 0 ? _rootLength : asked.nameLength);
        return pdu;
    }
    Manager::Pdu pdu(snmp_pdu_create(_kind == Kind::get ? SNMP_MSG_GET : SNMP_MSG_SET));
    for (std::size_t k = 0; k < _perRequest; ++k) {
        const benchObject &asked = *objectAt(number * _perRequest + k);
        if (_kind == Kind::get) {
            snmp_add_null_var(pdu.get(), asked.name, asked.nameLength);
        } else {
            snmp_pdu_add_variable(pdu.get(), asked.name, asked.nameLength, ASN_INTEGER,
                                  &asked.value, sizeof asked.value);
        }
    }
    return pdu;
}

const benchObject *Load::objectAt(std::uint64_t position) const
{
    if (_kind != Kind::walk) {
        return &_objects[static_cast<std::size_t>(position % _objects.size())];
    }
    const auto step = static_cast<std::size_t>(position % (_objects.size() + 1));
    return step < _objects.size() ? &_objects[step] : nullptr;
}

void Load::check(const netsnmp_pdu *answer, std::uint64_t number, LoadResult &result) const
{
    if (answer == nullptr || answer->errstat != SNMP_ERR_NOERROR) {
        ++result.failed;
        if (result.first.empty()) {
            result.first = "request " + std::to_string(number) + ": " + reasonOf(answer);
        }
        return;
    }
    const netsnmp_variable_list *varbind = answer->variables;
    for (std::size_t k = 0; k < _perRequest; ++k) {
        checkVarbind(varbind, number * _perRequest + k, result);
        varbind = varbind == nullptr ? nullptr : varbind->next_variable;
    }
}

void Load::checkVarbind(const netsnmp_variable_list *varbind, std::uint64_t position,
                        LoadResult &result) const
{
    const benchObject *const object = objectAt(position);
    result.varbinds += varbind == nullptr ? 0 : 1;
    if (varbind != nullptr && isRight(*varbind, object)) {
        return;
    }
    ++result.wrong;
    if (result.first.empty()) {
        result.first = "expected " + (object == nullptr ? "the end of the walk" : textOf(*object)) +
                       ", got " + (varbind == nullptr ? "nothing" : textOf(*varbind));
    }
}

bool Load::isRight(const netsnmp_variable_list &varbind, const benchObject *object) const
{
    if (object == nullptr) {
        return varbind.type == SNMP_ENDOFMIBVIEW || !isBelowRoot(varbind);
    }
    return varbind.type == ASN_INTEGER && hasName(varbind, *object) &&
           *varbind.val.integer == object->value;
}

bool Load::isBelowRoot(const netsnmp_variable_list &varbind) const
{
    const oid *const root = _objects.front().name;
    return varbind.name_length >= _rootLength && std::equal(root, root + _rootLength, varbind.name);
}
