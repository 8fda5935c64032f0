// The layer-3 ACL keys from their lists: the plain places stand in cmTaeL3Key.def, the cells' in the TCAM's table.

#include "tae/cmTaeL3Key.h"

#include "base/keyShuffle.h"

namespace {

// How many moves the fields of a key make: one a piece that the cells have of it.
#define KEY(Type, Row, words, ...)                                                                                     \
    constexpr size_t moveCnt(const Type *) {                                                                           \
        using Cells = Row;                                                                                             \
        size_t count = 0;                                                                                              \
        __VA_ARGS__                                                                                                    \
        return count;                                                                                                  \
    }
#define FLD(name, word, hi, lo) count += tblPlace<&Cells::name>.size();
#include "tae/cmTaeL3Key.def"

/// The move of one piece of a field whose plain place is from bit `lo` of `word` upwards.
constexpr KeyMove moveOf(const TblPiece &piece, unsigned word, unsigned lo) {
    return {static_cast<uint8_t>(word), static_cast<uint8_t>(lo + piece.at + piece.width - 1),
            static_cast<uint8_t>(lo + piece.at), piece.word, piece.lo};
}

#define KEY(Type, Row, words, ...)                                                                                     \
    constexpr auto movesOf(const Type *) {                                                                             \
        using Cells = Row;                                                                                             \
        std::array<KeyMove, moveCnt(static_cast<const Type *>(nullptr))> moves{};                                      \
        size_t count = 0;                                                                                              \
        __VA_ARGS__                                                                                                    \
        return moves;                                                                                                  \
    }
#define FLD(name, word, hi, lo)                                                                                        \
    for (const TblPiece &piece : tblPlace<&Cells::name>)                                                               \
        moves[count++] = moveOf(piece, word, lo);
#include "tae/cmTaeL3Key.def"

// The bits of a plain key that a field has.
#define KEY(Type, Row, words, ...)                                                                                     \
    constexpr std::array<uint32_t, words> plainBits(const Type *) {                                                    \
        std::array<uint32_t, words> bits{};                                                                            \
        __VA_ARGS__                                                                                                    \
        return bits;                                                                                                   \
    }
#define FLD(name, word, hi, lo) bits[word] = setBits(bits[word], hi, lo, 0xffffffff);
#include "tae/cmTaeL3Key.def"

template <class Plain> constexpr auto kMoves = movesOf(static_cast<const Plain *>(nullptr));

#define KEY(Type, Row, words, ...)                                                                                     \
    static_assert(sizeof(Type) == (words) * sizeof(uint32_t) && Row::kWords == (words));                               \
    static_assert(movesEachBitOnce<words, words>(kMoves<Type>, plainBits(static_cast<const Type *>(nullptr))));
#include "tae/cmTaeL3Key.def"

} // namespace

#define KEY(Type, Row, words, ...)                                                                                     \
    Type plainKey(const Row &fields) {                                                                                 \
        Type key{};                                                                                                    \
        __VA_ARGS__                                                                                                    \
        return key;                                                                                                    \
    }                                                                                                                  \
    void ReshuffleKey(const Type *in, Type##R *out, int dbg) {                                                         \
        reshuffle(kMoves<Type>, #Type, in->word, out->word, dbg);                                                      \
    }
#define FLD(name, plainWord, hi, lo) key.word[plainWord] = setBits(key.word[plainWord], hi, lo, fields.name);
#include "tae/cmTaeL3Key.def"
