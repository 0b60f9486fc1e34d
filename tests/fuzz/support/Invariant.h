#pragma once

/// Ends the process, with the text on standard error, when something that must hold does not. The
/// fuzzer then keeps the input that did it.
void mustHold(bool holds, const char *what);
