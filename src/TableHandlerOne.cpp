#include "TableHandlerOne.h"

const char *const TableHandlerOne::registrationName = "TableHandlerOne";
const char *const TableHandlerOne::sourcePath = "../src/TableHandlerOne.cpp";
