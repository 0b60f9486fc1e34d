#pragma once

/// Aborts the process, with the text on standard error, if an invariant is violated. The fuzzer
/// then saves the input that caused it.
void mustHold(bool holds, const char *what);
