#pragma once

#include <string>
#include <string_view>

/// The pieces one behind the other.
template <typename... Piece> std::string regencText(const Piece &...pieces) {
    std::string text;
    (text.append(std::string_view(pieces)), ...);
    return text;
}
