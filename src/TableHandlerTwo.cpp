#include "TableHandlerTwo.h"

const char *const TableHandlerTwo::registrationName = "TableHandlerTwo";
const char *const TableHandlerTwo::sourcePath = "../src/TableHandlerTwo.cpp";
