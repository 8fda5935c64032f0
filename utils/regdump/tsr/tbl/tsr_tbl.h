#pragma once
// Entries of the chip's memories and tables as records: the layouts stand in tsr_tbl.def, and here become one record an
// entry, with its fields by name, and the functions that take an entry apart and put it together.

#include "tbl/tsr_tbl_observe.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

/// One piece of a field: `width` bits from bit `lo` of word `word` upwards, which are the field's bits from `at`
/// upwards.
struct TblPiece {
    uint8_t word;
    uint8_t lo;
    uint8_t width;
    uint8_t at;
};

/// The piece that holds a field's bits `hi` to `lo` in `word`, from bit `top` downwards.
constexpr TblPiece tblPiece(unsigned hi, unsigned lo, unsigned word, unsigned top) {
    return {static_cast<uint8_t>(word), static_cast<uint8_t>(top - (hi - lo)), static_cast<uint8_t>(hi - lo + 1),
            static_cast<uint8_t>(lo)};
}

/// A value of up to 128 bits as four words, most significant first.
using TblWide = std::array<uint32_t, 4>;

/// The type of a field of `Width` bits in a record.
template <unsigned Width>
using TblValue = std::conditional_t<Width <= 32, uint32_t, std::conditional_t<Width <= 64, uint64_t, TblWide>>;

/// The bits of a piece, right-aligned.
constexpr uint32_t tblPieceBits(const uint32_t *words, const TblPiece &piece) {
    return words[piece.word] >> piece.lo & (0xffffffffu >> (32 - piece.width));
}

/// Adds `bits`, `width` of them, to `value` from its bit `at` upwards.
constexpr void tblAdd(uint32_t &value, uint32_t bits, unsigned at) {
    value |= bits << at;
}
constexpr void tblAdd(uint64_t &value, uint32_t bits, unsigned at) {
    value |= uint64_t{bits} << at;
}
constexpr void tblAdd(TblWide &value, uint32_t bits, unsigned at) {
    const uint64_t placed = uint64_t{bits} << at % 32;
    value[3 - at / 32] |= static_cast<uint32_t>(placed);
    if (placed >> 32 != 0)
        value[2 - at / 32] |= static_cast<uint32_t>(placed >> 32);
}

/// `width` (1 to 32) bits of `value` from its bit `at` upwards.
constexpr uint32_t tblTake(uint64_t value, unsigned at, unsigned width) {
    return static_cast<uint32_t>(value >> at) & (0xffffffffu >> (32 - width));
}
constexpr uint32_t tblTake(const TblWide &value, unsigned at, unsigned width) {
    uint64_t pair = value[3 - at / 32];
    if (at / 32 < 3)
        pair |= uint64_t{value[2 - at / 32]} << 32;
    return tblTake(pair, at % 32, width);
}

/// Puts a field together from its pieces.
template <class Value, size_t N>
constexpr Value tblGather(const uint32_t *words, const std::array<TblPiece, N> &pieces) {
    Value value{};
    for (const TblPiece &piece : pieces)
        tblAdd(value, tblPieceBits(words, piece), piece.at);
    return value;
}

/// Puts a field's bits at their places; the other bits of the words stay.
template <class Value, size_t N>
constexpr void tblScatter(uint32_t *words, const std::array<TblPiece, N> &pieces, const Value &value) {
    for (const TblPiece &piece : pieces) {
        const uint32_t mask = 0xffffffffu >> (32 - piece.width) << piece.lo;
        words[piece.word] = (words[piece.word] & ~mask) | (tblTake(value, piece.at, piece.width) << piece.lo & mask);
    }
}

/// The piece of element `idx` of a field whose element 0 stands at bits `hi` to `lo` of `word`, each further one `step`
/// bits lower.
constexpr TblPiece tblElem(unsigned word, unsigned hi, unsigned lo, int step, unsigned idx) {
    // Bits counted from the top of word 0 on, as the elements run.
    const int top = static_cast<int>(word) * 32 + (31 - static_cast<int>(hi)) + step * static_cast<int>(idx);
    return tblPiece(hi - lo, 0, static_cast<unsigned>(top) / 32, 31 - static_cast<unsigned>(top) % 32);
}

// The records. A record's fields have the names of the list; kWords is the number of words of an entry (of a key, in a
// ternary memory), unpack takes an entry apart and pack puts its fields into the words, whose other bits stay.
#define TBL_RECORD(Type, words, ...)                                                                                   \
    struct Type {                                                                                                      \
        static constexpr uint32_t kWords = words;                                                                      \
        __VA_ARGS__                                                                                                    \
    };
#define ENTRY(Type, form, row, mem, words, use, text, ...) TBL_RECORD(Type, words, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) TBL_RECORD(Type, (words) / 2, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) TBL_RECORD(Type, words, __VA_ARGS__)
#define FLD(name, word, hi, lo, kind, text) uint32_t name;
#define FLDP(name, width, kind, text, ...) TblValue<width> name;
#define FLDA(name, count, word, hi, lo, step, kind, text) std::array<uint32_t, count> name;
#define ALT(name, word, hi, lo, kind, text) uint32_t name;
#define ALTP(name, width, kind, text, ...) TblValue<width> name;
#include "tbl/tsr_tbl.def"
#undef TBL_RECORD

#define TBL_UNPACK(Type, ...)                                                                                          \
    /** The fields of the entry at `words`. */                                                                         \
    constexpr Type unpack(const uint32_t *words, const Type *) {                                                       \
        Type entry{};                                                                                                  \
        __VA_ARGS__                                                                                                    \
        return entry;                                                                                                  \
    }
#define ENTRY(Type, form, row, mem, words, use, text, ...) TBL_UNPACK(Type, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) TBL_UNPACK(Type, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) TBL_UNPACK(Type, __VA_ARGS__)
#define PC(hi, lo, word, top) tblPiece(hi, lo, word, top),
#define FLD(name, word, hi, lo, kind, text) entry.name = tblPieceBits(words, tblPiece((hi) - (lo), 0, word, hi));
#define FLDP(name, width, kind, text, ...)                                                                             \
    entry.name = tblGather<TblValue<width>>(words, std::to_array<TblPiece>({__VA_ARGS__}));
#define FLDA(name, count, word, hi, lo, step, kind, text)                                                              \
    for (unsigned i = 0; i < (count); i++)                                                                             \
        entry.name[i] = tblPieceBits(words, tblElem(word, hi, lo, step, i));
#define ALT(name, word, hi, lo, kind, text) FLD(name, word, hi, lo, kind, text)
#define ALTP(name, width, kind, text, ...) FLDP(name, width, kind, text, __VA_ARGS__)
#include "tbl/tsr_tbl.def"
#undef TBL_UNPACK

// A bit that several fields share takes its value from the one that is no other reading: the other readings go first.
#define TBL_PACK_ALT(Type, ...)                                                                                        \
    constexpr void packAlt([[maybe_unused]] const Type &entry, [[maybe_unused]] uint32_t *words) {                     \
        __VA_ARGS__                                                                                                    \
    }
#define ENTRY(Type, form, row, mem, words, use, text, ...) TBL_PACK_ALT(Type, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) TBL_PACK_ALT(Type, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) TBL_PACK_ALT(Type, __VA_ARGS__)
#define PC(hi, lo, word, top) tblPiece(hi, lo, word, top),
#define ALT(name, word, hi, lo, kind, text)                                                                            \
    tblScatter(words, std::array{tblPiece((hi) - (lo), 0, word, hi)}, uint64_t{entry.name});
#define ALTP(name, width, kind, text, ...) tblScatter(words, std::to_array<TblPiece>({__VA_ARGS__}), entry.name);
#include "tbl/tsr_tbl.def"
#undef TBL_PACK_ALT

#define TBL_PACK(Type, ...)                                                                                            \
    /** Puts the fields of `entry` into `words`; bits without a field stay. */                                         \
    constexpr void pack(const Type &entry, uint32_t *words) {                                                          \
        packAlt(entry, words);                                                                                         \
        __VA_ARGS__                                                                                                    \
    }
#define ENTRY(Type, form, row, mem, words, use, text, ...) TBL_PACK(Type, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) TBL_PACK(Type, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) TBL_PACK(Type, __VA_ARGS__)
#define PC(hi, lo, word, top) tblPiece(hi, lo, word, top),
#define FLD(name, word, hi, lo, kind, text)                                                                            \
    tblScatter(words, std::array{tblPiece((hi) - (lo), 0, word, hi)}, uint64_t{entry.name});
#define FLDP(name, width, kind, text, ...) tblScatter(words, std::to_array<TblPiece>({__VA_ARGS__}), entry.name);
#define FLDA(name, count, word, hi, lo, step, kind, text)                                                              \
    for (unsigned i = 0; i < (count); i++)                                                                             \
        tblScatter(words, std::array{tblElem(word, hi, lo, step, i)}, uint64_t{entry.name[i]});
#include "tbl/tsr_tbl.def"
#undef TBL_PACK

/// The fields of the entry at `words`, `Entry::kWords` of them.
template <class Entry> constexpr Entry entryAt(const uint32_t *words) {
    return unpack(words, static_cast<const Entry *>(nullptr));
}

/// Tells of `cnt` words of a memory that are read.
constexpr void tblObserve(const uint32_t *words, uint32_t cnt) {
    if (!std::is_constant_evaluated() && tblObserver)
        tblObserver->read(words, cnt);
}

/// The fields of entry `idx` of a memory; an entry that does not lie within the memory reads 0.
template <class Entry, size_t N> constexpr Entry entry(const uint32_t (&mem)[N], uint64_t idx) {
    if (idx >= N / Entry::kWords)
        return Entry{};
    tblObserve(mem + idx * Entry::kWords, Entry::kWords);
    return entryAt<Entry>(mem + idx * Entry::kWords);
}

// One field without the rest of its entry. A field is named by its member of the record: field<&TypMtu::mtu>(...).

/// The elements of an array field, as FLDA places them.
struct TblElems {
    unsigned count;
    unsigned word;
    unsigned hi;
    unsigned lo;
    int step;

    constexpr TblPiece piece(unsigned idx) const { return tblElem(word, hi, lo, step, idx); }
};

/// Stands for the field `Member` of a record where its place is asked for.
template <auto Member> struct TblMember {};

/// Where the fields of a record stand: at(TblMember<&Record::field>) is a piece, an array of pieces or TblElems.
template <class Record> struct TblPlaces;

#define TBL_PLACES(Type, ...)                                                                                          \
    template <> struct TblPlaces<Type> {                                                                               \
        using Record = Type;                                                                                           \
        __VA_ARGS__                                                                                                    \
    };
#define ENTRY(Type, form, row, mem, words, use, text, ...) TBL_PLACES(Type, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) TBL_PLACES(Type, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) TBL_PLACES(Type, __VA_ARGS__)
#define PC(hi, lo, word, top) tblPiece(hi, lo, word, top),
#define FLD(name, word, hi, lo, kind, text)                                                                            \
    static constexpr auto at(TblMember<&Record::name>) {                                                               \
        return std::array{tblPiece((hi) - (lo), 0, word, hi)};                                                         \
    }
#define FLDP(name, width, kind, text, ...)                                                                             \
    static constexpr auto at(TblMember<&Record::name>) {                                                               \
        return std::to_array<TblPiece>({__VA_ARGS__});                                                                 \
    }
#define FLDA(name, count, word, hi, lo, step, kind, text)                                                              \
    static constexpr auto at(TblMember<&Record::name>) {                                                               \
        return TblElems{count, word, hi, lo, step};                                                                    \
    }
#define ALT(name, word, hi, lo, kind, text) FLD(name, word, hi, lo, kind, text)
#define ALTP(name, width, kind, text, ...) FLDP(name, width, kind, text, __VA_ARGS__)
#include "tbl/tsr_tbl.def"
#undef TBL_PLACES

/// The record and the type of a field.
template <class Member> struct TblMemberOf;
template <class RecordType, class ValueType> struct TblMemberOf<ValueType RecordType::*> {
    using Record = RecordType;
    using Value = ValueType;
};
template <auto Member> using TblRecordOf = typename TblMemberOf<decltype(Member)>::Record;

/// The place of a field in an entry's words.
template <auto Member> inline constexpr auto tblPlace = TblPlaces<TblRecordOf<Member>>::at(TblMember<Member>{});

/// The field `Member` of the entry at `words`.
template <auto Member> constexpr auto fieldAt(const uint32_t *words) {
    return tblGather<typename TblMemberOf<decltype(Member)>::Value>(words, tblPlace<Member>);
}

/// The field `Member` of entry `idx` of a memory; 0 when the entry does not lie within the memory.
template <auto Member, size_t N> constexpr auto field(const uint32_t (&mem)[N], uint64_t idx) {
    constexpr uint32_t words = TblRecordOf<Member>::kWords;
    if (idx >= N / words)
        return typename TblMemberOf<decltype(Member)>::Value{};
    tblObserve(mem + idx * words, words);
    return fieldAt<Member>(mem + idx * words);
}

/// The entry that holds element `idx` of the array field `Member`, counted as elem() does.
template <auto Member> constexpr uint32_t elemEntry(uint32_t idx) {
    return idx / tblPlace<Member>.count;
}

/// Element `idx` of the array field `Member`, counted through all entries of a memory: the second entry begins with
/// element `count`. 0 beyond the memory.
template <auto Member, size_t N> constexpr uint32_t elem(const uint32_t (&mem)[N], uint64_t idx) {
    constexpr uint32_t words = TblRecordOf<Member>::kWords;
    constexpr TblElems elems = tblPlace<Member>;
    if (idx / elems.count >= N / words)
        return 0;
    tblObserve(mem + idx / elems.count * words, words);
    return tblPieceBits(mem + idx / elems.count * words, elems.piece(static_cast<unsigned>(idx % elems.count)));
}

/// Sets that element; nothing beyond the memory.
template <auto Member, size_t N> constexpr void setElem(uint32_t (&mem)[N], uint64_t idx, uint32_t value) {
    constexpr uint32_t words = TblRecordOf<Member>::kWords;
    constexpr TblElems elems = tblPlace<Member>;
    if (idx / elems.count >= N / words)
        return;
    tblScatter(mem + idx / elems.count * words, std::array{elems.piece(static_cast<unsigned>(idx % elems.count))},
               uint64_t{value});
}
