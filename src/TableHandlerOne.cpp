#include "TableHandlerOne.h"

#include "TableHandlerDefinition.h"

const char *const TableHandlerOne::registrationName = "TableHandlerOne";
const char *const TableHandlerOne::sourcePath = "../src/TableHandlerOne.cpp";

template class TableHandler<TableHandlerOne>;
