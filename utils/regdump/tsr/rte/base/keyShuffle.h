#pragma once
// Key reshuffling: the hardware scatters the fields of a search key across the cells of its TCAM. A key's scatter is
// one constant table of moves, checked at compile time. It follows from the places of the fields in the plain key,
// which a list says, and in the cells, which the TCAM's table says.

#include "base/cmOut.h"
#include "base/cmUtl.h"
#include "tbl/tsr_tbl.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

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

/// The move of one piece that the cells have of a field, whose lowest bit stands at bit `lo` of `word` in the plain
/// key.
constexpr KeyMove keyMove(const TblPiece &piece, unsigned word, unsigned lo) {
    const unsigned first = lo + piece.at;
    return {static_cast<uint8_t>(word - first / 32), static_cast<uint8_t>(first % 32 + piece.width - 1),
            static_cast<uint8_t>(first % 32), piece.word, piece.lo};
}

/// Sets the plain place of a field, bits `hi` to `lo` of `word`: bits from 32 on stand in the words before.
template <class Value>
constexpr void putPlain(uint32_t *words, unsigned word, unsigned hi, unsigned lo, const Value &value) {
    for (unsigned first = lo, last = 0; first <= hi; first = last + 1) {
        last = std::min(hi, first | 31);
        uint32_t &part = words[word - first / 32];
        part = setBits(part, last % 32, first % 32, tblTake(value, first - lo, last - first + 1));
    }
}

// A list of plain keys has KEY(type, record of the TCAM's row, words, fields), and FLD(name, word, hi, lo) for a field
// as putPlain places it, CARRY(word, hi, lo) for bits that keep their place without a name. These make of it the number
// of moves, the moves, and the bits of the plain key that move.
#define KEY_MOVE_CNT(Type, Row, words, ...)                                                                            \
    constexpr size_t moveCnt(const Type *) {                                                                           \
        using Cells = Row;                                                                                             \
        size_t count = 0;                                                                                              \
        __VA_ARGS__                                                                                                    \
        return count;                                                                                                  \
    }
#define FLD_MOVE_CNT(name, plainWord, hi, lo) count += tblPlace<&Cells::name>.size();
#define CARRY_MOVE_CNT(plainWord, hi, lo) count++;

#define KEY_MOVES(Type, Row, words, ...)                                                                               \
    constexpr auto movesOf(const Type *) {                                                                             \
        using Cells = Row;                                                                                             \
        std::array<KeyMove, moveCnt(static_cast<const Type *>(nullptr))> moves{};                                      \
        size_t count = 0;                                                                                              \
        __VA_ARGS__                                                                                                    \
        return moves;                                                                                                  \
    }
#define FLD_MOVES(name, plainWord, hi, lo)                                                                             \
    for (const TblPiece &piece : tblPlace<&Cells::name>)                                                               \
        moves[count++] = keyMove(piece, plainWord, lo);
#define CARRY_MOVES(plainWord, hi, lo) moves[count++] = {plainWord, hi, lo, plainWord, lo};

#define KEY_BITS(Type, Row, words, ...)                                                                                \
    constexpr auto plainBits(const Type *) {                                                                           \
        constexpr TblWide ones{0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff};                                        \
        std::array<uint32_t, words> plain{};                                                                           \
        __VA_ARGS__                                                                                                    \
        return plain;                                                                                                  \
    }
#define FLD_BITS(name, plainWord, hi, lo) putPlain(plain.data(), plainWord, hi, lo, ones);
#define CARRY_BITS(plainWord, hi, lo) putPlain(plain.data(), plainWord, hi, lo, ones);

/// The moves of a plain key, once its list is expanded so.
template <class Plain> constexpr auto kKeyMoves = movesOf(static_cast<const Plain *>(nullptr));

/// Proves a key of the list: its words, and that every bit of a field moves once, to a place of its own.
#define KEY_PROOF(Type, Row, words, ...)                                                                               \
    static_assert(sizeof(Type) == (words) * sizeof(uint32_t));                                                         \
    static_assert(movesEachBitOnce<words, Row::kWords>(kKeyMoves<Type>, plainBits(static_cast<const Type *>(nullptr))));

/// The plain key of a row's fields.
#define KEY_PLAIN(Type, Row, words, ...)                                                                               \
    Type plainKey(const Row &fields) {                                                                                 \
        Type key{};                                                                                                    \
        __VA_ARGS__                                                                                                    \
        return key;                                                                                                    \
    }
#define FLD_PLAIN(name, plainWord, hi, lo) putPlain(key.word, plainWord, hi, lo, fields.name);

/// Prints a key as "ReshuffleKey [name] dir0x..._...".
template <size_t N> void printKey(const char *name, const char *dir, const uint32_t (&word)[N]) {
    cmPrintf("ReshuffleKey [%s] %s0x%08x", name, dir, word[0]);
    for (size_t i = 1; i < N; i++)
        cmPrintf("_%08x", word[i]);
    cmPrintf("\n");
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
