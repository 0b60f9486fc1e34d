#pragma once

using Callback = int (*)();

inline constexpr int calledInLibrary = 0;

// Each library has a callback, which the test program defines as well, and hands one on.
extern "C" {
int plainCallback();
Callback plainHandedOnCallback();
int functionsBoundCallback();
Callback functionsBoundHandedOnCallback();
int allBoundCallback();
Callback allBoundHandedOnCallback();
int linkedInCallback();
Callback linkedInHandedOnCallback();
}
