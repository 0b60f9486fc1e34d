#pragma once

#include "SnmpDataBase.h"

/// Whether two records of the mapping are equal, field by field.
[[nodiscard]] bool isSame(const SnmpObjInfo &one, const SnmpObjInfo &other);
[[nodiscard]] bool isSame(const SnmpObjOid &one, const SnmpObjOid &other);
[[nodiscard]] bool isSame(const SnmpTableOid &one, const SnmpTableOid &other);

/// What must hold for the lookups whatever was loaded: lists are ordered and without duplicates,
/// every scalar and column in a list is found by its name, and the counts match.
void lookupsMustAgree(SnmpDataBase &database);
