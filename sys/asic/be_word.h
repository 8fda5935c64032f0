#pragma once
// Words of a register dump. They are big-endian in the file and in the image; everything else has them in host order.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// A big-endian word in host order. The way back is the same.
constexpr uint32_t hostWord(uint32_t beWord) {
    if constexpr (std::endian::native == std::endian::big)
        return beWord;
    return (beWord & 0xff) << 24 | (beWord & 0xff00) << 8 | (beWord >> 8 & 0xff00) | beWord >> 24;
}

/// The word at byte `offset` of `image`, in host order. The place need not be aligned.
inline uint32_t imageWord(const void *image, size_t offset) {
    uint32_t beWord;
    std::memcpy(&beWord, static_cast<const uint8_t *>(image) + offset, sizeof beWord);
    return hostWord(beWord);
}

/// Stores `value`, in host order, as the word at byte `offset` of `image`. The place need not be aligned.
inline void setImageWord(void *image, size_t offset, uint32_t value) {
    const uint32_t beWord = hostWord(value);
    std::memcpy(static_cast<uint8_t *>(image) + offset, &beWord, sizeof beWord);
}
