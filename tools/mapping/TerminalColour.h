#pragma once

/// Whether output to this descriptor is in colour: on a terminal, unless the user forbids it in the
/// way that https://no-color.org describes.
[[nodiscard]] bool isInColour(int descriptor);
