#pragma once

#include "TableHandler.h"

/// Serves the first table of the mapping.
class TableHandlerOne : public TableHandler<TableHandlerOne>
{
public:
    using TableHandler::TableHandler;

    static const char *const registrationName;
    static const char *const sourcePath;
};

extern template class TableHandler<TableHandlerOne>;
