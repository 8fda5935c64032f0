#pragma once
// TCAM images for the tests: X half, then Y half of each entry, most significant word first.

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

/// Takes every entry of `words` words (X and Y) out of an image: X=Y=1 in the lowest bit of the last word.
inline void tcamOff(std::span<uint32_t> tcam, size_t words) {
    for (size_t entry = 0; entry + words <= tcam.size(); entry += words)
        tcam[entry + words / 2 - 1] = tcam[entry + words - 1] = 1;
}

/// Makes entry `idx` match exactly the key `keyWords`.
inline void tcamExact(std::span<uint32_t> tcam, size_t idx, const std::vector<uint32_t> &keyWords) {
    const size_t half = keyWords.size();
    for (size_t i = 0; i < half; i++) {
        tcam[idx * 2 * half + i] = keyWords[i];
        tcam[idx * 2 * half + half + i] = ~keyWords[i];
    }
}

/// Makes entry `idx` of `words` words match every key.
inline void tcamAny(std::span<uint32_t> tcam, size_t idx, size_t words) {
    for (size_t i = 0; i < words; i++)
        tcam[idx * words + i] = 0;
}
