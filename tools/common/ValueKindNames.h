#pragma once

#include <array>
#include <string_view>

/// How sources and object files call the kinds of device values, in the order of `ValueKind`.
inline constexpr std::array<std::string_view, 4> valueKindNames{"unsigned", "signed", "string",
                                                                "other"};
