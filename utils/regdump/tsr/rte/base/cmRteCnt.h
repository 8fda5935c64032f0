#pragma once
// The chip's frame and byte counters.

#include <cstdint>

/// The widths of the counters: frames are counted in 40 bits, bytes in 48.
inline constexpr uint64_t kFrmCntMsk = 0xff'ffffffff;
inline constexpr uint64_t kByteCntMsk = 0xffff'ffffffff;

/// Adds `incr` to the 64-bit counter with its high word at `dwPtr[0]`, and ANDs each word with its half of `msk`.
void IncrSts(uint32_t *dwPtr, uint64_t msk, uint32_t incr);
