#pragma once

#include "TableHandler.h"

/// Serves the second table of the mapping.
class TableHandlerTwo : public TableHandler<TableHandlerTwo>
{
public:
    using TableHandler::TableHandler;

    static const char *const registrationName;
    static const char *const sourcePath;
};

extern template class TableHandler<TableHandlerTwo>;
