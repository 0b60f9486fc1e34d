#pragma once

using Callback = int (*)();

inline constexpr int calledInLibrary = 0;

// Each library passes on one callback, which the test program also defines.
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
