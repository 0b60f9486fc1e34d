#pragma once

#include <array>
#include <string_view>

/// The kinds of device values in sources and object files, in the order of `ValueKind`.
inline constexpr std::array<std::string_view, 4> valueKindNames{"unsigned", "signed", "string",
                                                                "other"};
