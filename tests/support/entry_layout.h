#pragma once
// Entry layouts against an independent decoder: a test says in plain numbers where each field of an entry stands, and
// the records, their unpack and pack, and the descriptors are held against that.

#include "tbl/tsr_tbl.h"
#include "tbl/tsr_tbl_desc.h"

#include <cstdint>
#include <string>
#include <vector>

/// A kind of entry: its row of the dump, the memory of the model ("" when the load leaves the row out), the words of a
/// whole entry, and of the part that the fields describe.
struct EntryKind {
    const char *type;
    const char *row;
    const char *mem;
    uint32_t words;
    uint32_t keyWords;
    void (*repack)(const uint32_t *from, uint32_t *to); ///< unpacks `from` and packs the record into `to`
};

/// Bits of a field, from its bit `at` upwards, of its element `elem`: they stand in bits `hi` to `lo` of `word`.
struct EntryBits {
    const char *type;
    const char *field;
    unsigned elem;
    unsigned at;
    unsigned word, hi, lo;
    TblWide (*read)(const uint32_t *words, unsigned elem); ///< the unpacked field
};

constexpr TblWide asWide(uint32_t value) {
    return {0, 0, 0, value};
}
constexpr TblWide asWide(uint64_t value) {
    return {0, 0, static_cast<uint32_t>(value >> 32), static_cast<uint32_t>(value)};
}
constexpr TblWide asWide(const TblWide &value) {
    return value;
}

/// A plain entry, and one of a ternary memory, whose key is half of it.
#define KIND(Type, row, mem, words) KIND_OF(Type, row, mem, words, words)
#define TCAM_KIND(Type, row, mem, words) KIND_OF(Type, row, mem, words, (words) / 2)
#define KIND_OF(Type, row, mem, words, keyWords)                                                                       \
    entryKind(#Type, row, mem, words, keyWords,                                                                        \
              [](const uint32_t *from, uint32_t *to) { pack(entryAt<Type>(from), to); })
constexpr EntryKind entryKind(const char *type, const char *row, const char *mem, uint32_t words, uint32_t keyWords,
                              void (*repack)(const uint32_t *, uint32_t *)) {
    return {type, row, mem, words, keyWords, repack};
}

/// A whole field; a piece of one, from the field's bit `at` upwards; an element of an array.
#define BITS(Type, field, word, hi, lo) PIECE(Type, field, 0, word, hi, lo)
#define PIECE(Type, field, at, word, hi, lo)                                                                           \
    entryBits(#Type, #field, 0, at, word, hi, lo,                                                                      \
              [](const uint32_t *words, unsigned) { return asWide(entryAt<Type>(words).field); })
#define ELEM(Type, field, elem, word, hi, lo)                                                                          \
    entryBits(#Type, #field, elem, 0, word, hi, lo,                                                                    \
              [](const uint32_t *words, unsigned idx) { return asWide(entryAt<Type>(words).field[idx]); })
constexpr EntryBits entryBits(const char *type, const char *field, unsigned elem, unsigned at, unsigned word,
                              unsigned hi, unsigned lo, TblWide (*read)(const uint32_t *, unsigned)) {
    return {type, field, elem, at, word, hi, lo, read};
}

/// Holds unpack, pack and the descriptors of every kind in `kinds` against `places` on random words.
void checkEntryLayouts(const std::vector<EntryKind> &kinds, const std::vector<EntryBits> &places);

/// Holds each kind's row against the dump's map, and its memory against the chip's addresses.
void checkEntryRows(const std::vector<EntryKind> &kinds);

/// Holds that `row` is listed without a layout, with memory `mem` ("" for none) and `words` words an entry.
void checkOpaqueRow(const std::string &row, const std::string &mem, uint32_t words);

/// The descriptor of a type; fails the test and returns null when there is none.
const TblDesc *findEntry(const std::string &type);

/// The lists of entries, one a subject.
enum class TblList { L3, CNT, EGR };

/// The types of `list` that `kinds` does not have, or has too much, as a text; empty when both have the same.
std::string typesThatDiffer(TblList list, const std::vector<EntryKind> &kinds);
