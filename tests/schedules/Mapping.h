#pragma once

class SnmpDataBase;

/// The mapping of the objects that managers see, each without a conversion. Loaded once.
SnmpDataBase &mapping();
