#pragma once
// Words of the dump image on their way into the model.

#include <bit>
#include <cstdint>

/// A word of the image, which is big-endian, in host order.
constexpr uint32_t hostWord(uint32_t beWord) {
    if constexpr (std::endian::native == std::endian::big)
        return beWord;
    return (beWord & 0xff) << 24 | (beWord & 0xff00) << 8 | (beWord >> 8 & 0xff00) | beWord >> 24;
}
