#include "TableHandlerTwo.h"

#include "TableHandlerDefinition.h"

const char *const TableHandlerTwo::registrationName = "TableHandlerTwo";
const char *const TableHandlerTwo::sourcePath = "../src/TableHandlerTwo.cpp";

template class TableHandler<TableHandlerTwo>;
