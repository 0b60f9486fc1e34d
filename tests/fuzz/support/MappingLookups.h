#pragma once

#include "SnmpDataBase.h"

/// Whether two records of the mapping say the same, field by field.
[[nodiscard]] bool isSame(const SnmpObjInfo &one, const SnmpObjInfo &other);
[[nodiscard]] bool isSame(const SnmpObjOid &one, const SnmpObjOid &other);
[[nodiscard]] bool isSame(const SnmpTableOid &one, const SnmpTableOid &other);

/// What must hold of the lookups whatever was loaded: the lists are in order and without
/// duplicates, every scalar and every column listed is found again by its name, and the counts fit.
void lookupsMustAgree(SnmpDataBase &database);
