#pragma once

/// Makes SQLite fast under the sanitizers: single-threaded, without preallocated memory. Paths may
/// be URIs. Call before any other use of SQLite.
void configureSqlite();
