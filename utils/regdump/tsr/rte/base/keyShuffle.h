#pragma once
// Key reshuffling: the hardware scatters the fields of a search key across the cells of its TCAM. A key's scatter is
// one constant table of moves, checked at compile time.

#include "base/cmUtl.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

/// Moves bits `srcHi` to `srcLo` of source word `srcWord` to destination word `dstWord`, from bit `dstLo` up.
struct KeyMove {
    uint8_t srcWord, srcHi, srcLo;
    uint8_t dstWord, dstLo;
};

/// ORs the moved bits of `src` into `dst`.
template <size_t N> constexpr void shuffleKey(const std::array<KeyMove, N> &moves, const uint32_t *src, uint32_t *dst) {
    for (const KeyMove &m : moves)
        dst[m.dstWord] |= bits(src[m.srcWord], m.srcHi, m.srcLo) << m.dstLo;
}

/// Whether the table moves every bit of `srcMask` exactly once and no other, each to a place of its own.
template <size_t Srcs, size_t Dsts, size_t N>
constexpr bool movesEachBitOnce(const std::array<KeyMove, N> &moves, const std::array<uint32_t, Srcs> &srcMask) {
    std::array<uint32_t, Srcs> taken{};
    std::array<uint32_t, Dsts> filled{};
    for (const KeyMove &m : moves) {
        if (m.srcWord >= Srcs || m.dstWord >= Dsts || m.srcHi < m.srcLo || m.srcHi > 31)
            return false;
        const unsigned width = m.srcHi - m.srcLo + 1u;
        if (m.dstLo + width > 32)
            return false;
        const uint32_t ones = 0xffffffffu >> (32 - width);
        if (taken[m.srcWord] & ones << m.srcLo || filled[m.dstWord] & ones << m.dstLo)
            return false;
        taken[m.srcWord] |= ones << m.srcLo;
        filled[m.dstWord] |= ones << m.dstLo;
    }
    return taken == srcMask;
}

/// Prints a key as "ReshuffleKey [name] dir0x..._...".
template <size_t N> void printKey(const char *name, const char *dir, const uint32_t (&word)[N]) {
    std::printf("ReshuffleKey [%s] %s0x%08x", name, dir, word[0]);
    for (size_t i = 1; i < N; i++)
        std::printf("_%08x", word[i]);
    std::printf("\n");
}

/// Makes `out` the key `in` with its bits at their places and zero elsewhere; `dbg` prints both forms.
template <size_t N, size_t Ins, size_t Outs>
void reshuffle(const std::array<KeyMove, N> &moves, const char *name, const uint32_t (&in)[Ins], uint32_t (&out)[Outs],
               int dbg) {
    if (dbg)
        printKey(name, "input= ", in);
    for (uint32_t &word : out)
        word = 0;
    shuffleKey(moves, in, out);
    if (dbg)
        printKey(name, "output=", out);
}
