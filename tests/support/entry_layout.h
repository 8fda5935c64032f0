#pragma once
// Entry layouts against positions written down a second time: records, their unpack and pack, and the descriptors must
// take every field from its place, and put it there. Positions are texts (Positions), or lists of kinds of entries with
// the places of their fields (KIND, BITS).

#include "tbl/tsr_tbl.h"
#include "tbl/tsr_tbl_desc.h"

#include "random_words.h"

#include <algorithm>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <vector>

inline TblWide wideOf(uint64_t value) {
    return {0, 0, static_cast<uint32_t>(value >> 32), static_cast<uint32_t>(value)};
}
inline TblWide wideOf(const TblWide &value) {
    return value;
}
inline void setWide(uint32_t &to, const TblWide &from) {
    to = from[3];
}
inline void setWide(uint64_t &to, const TblWide &from) {
    to = uint64_t{from[2]} << 32 | from[3];
}
inline void setWide(TblWide &to, const TblWide &from) {
    to = from;
}

/// Bits of a value of up to 128 bits, counted from its lowest.
inline uint32_t bitOf(const TblWide &value, unsigned n) {
    return value[3 - n / 32] >> n % 32 & 1;
}
inline void setBitOf(TblWide &value, unsigned n, uint32_t to) {
    value[3 - n / 32] = (value[3 - n / 32] & ~(1u << n % 32)) | to << n % 32;
}

using Fields = std::map<std::string, TblWide>;

/// One piece of a field: its bits from `fieldLo` up stand in `word` at bits `hi` to `lo`.
struct Pos {
    std::string field;
    unsigned fieldLo;
    unsigned word, hi, lo;
};

/// The places of an entry's fields.
class Positions {
public:
    /// Lines "word: field hi:lo, field hi, field hi:lo, ..."; a piece of a field is "field[hi:lo]" or "field[n]", an
    /// element of an array "field(n)".
    static Positions byWord(const std::string &text) {
        Positions list;
        std::istringstream lines(text);
        std::string line;
        while (std::getline(lines, line)) {
            const size_t colon = line.find(':');
            const auto word = static_cast<unsigned>(std::stoul(line));
            std::istringstream items(line.substr(colon + 1));
            std::string item;
            while (std::getline(items, item, ',')) {
                std::string name, place;
                std::istringstream(item) >> name >> place;
                list.add(name, word, place);
            }
        }
        return list;
    }

    /// Lines "field width low", `low` counted from the lowest bit of an entry of `words` words.
    static Positions byLowBit(unsigned words, const std::string &text) {
        Positions list;
        std::istringstream rows(text);
        std::string field;
        for (unsigned width, low; rows >> field >> width >> low;) {
            for (unsigned n = 0; n < width; n++) {
                const unsigned bitNum = low + n;
                list.rows_.push_back({field, n, words - 1 - bitNum / 32, bitNum % 32, bitNum % 32});
            }
        }
        return list;
    }

    void add(const Pos &pos) { rows_.push_back(pos); }

    /// Adds another reading of bits.
    Positions &alt(const std::string &text) {
        const Positions more = byWord(text);
        for (const Pos &pos : more.rows_)
            alts_.push_back(pos);
        return *this;
    }

    Fields decode(const uint32_t *words) const {
        Fields fields;
        for (const auto *list : {&rows_, &alts_}) {
            for (const Pos &pos : *list)
                for (unsigned n = pos.lo; n <= pos.hi; n++)
                    setBitOf(fields[pos.field], pos.fieldLo + n - pos.lo, words[pos.word] >> n & 1);
        }
        return fields;
    }

    /// The bits of each word that a field has.
    std::vector<uint32_t> covered(uint32_t words) const {
        std::vector<uint32_t> bits(words);
        for (const auto *list : {&rows_, &alts_}) {
            for (const Pos &pos : *list)
                for (unsigned n = pos.lo; n <= pos.hi; n++)
                    bits[pos.word] |= 1u << n;
        }
        return bits;
    }

    unsigned widthOf(const std::string &field) const {
        unsigned width = 0;
        for (const auto *list : {&rows_, &alts_})
            for (const Pos &pos : *list)
                if (pos.field == field)
                    width = std::max(width, pos.fieldLo + pos.hi - pos.lo + 1);
        return width;
    }

private:
    void add(std::string name, unsigned word, const std::string &place) {
        unsigned fieldLo = 0;
        if (const size_t piece = name.find('['); piece != std::string::npos) {
            fieldLo = lowOf(name.substr(piece + 1, name.size() - piece - 2));
            name.erase(piece);
        }
        rows_.push_back({name, fieldLo, word, static_cast<unsigned>(std::stoul(place)), lowOf(place)});
    }
    /// The low bit of "hi:lo" or "n".
    static unsigned lowOf(const std::string &range) {
        const size_t colon = range.find(':');
        return static_cast<unsigned>(std::stoul(colon == std::string::npos ? range : range.substr(colon + 1)));
    }

    std::vector<Pos> rows_;
    std::vector<Pos> alts_;
};

// visitAll calls `fn(name, member)` for each field of a record, other readings too, an element of an array as
// "name(n)".
#define TBL_VISIT_ALL(Type, ...)                                                                                       \
    template <class Entry, class Fn> void visitAll(Entry &entry, const Type *, Fn fn) {                                \
        __VA_ARGS__                                                                                                    \
    }
#define ENTRY(Type, form, row, mem, words, use, text, ...) TBL_VISIT_ALL(Type, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) TBL_VISIT_ALL(Type, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) TBL_VISIT_ALL(Type, __VA_ARGS__)
#define FLD(name, word, hi, lo, kind, text) fn(std::string(#name), entry.name);
#define FLDP(name, width, kind, text, ...) fn(std::string(#name), entry.name);
#define FLDA(name, count, word, hi, lo, step, kind, text)                                                              \
    for (size_t i = 0; i < entry.name.size(); i++)                                                                     \
        fn(#name "(" + std::to_string(i) + ")", entry.name[i]);
#define ALT(name, word, hi, lo, kind, text) fn(std::string(#name), entry.name);
#define ALTP(name, width, kind, text, ...) fn(std::string(#name), entry.name);
#include "tbl/tsr_tbl.def"
#undef TBL_VISIT_ALL

template <class Type> Fields fieldsOf(const Type &entry) {
    Fields fields;
    visitAll(entry, &entry, [&](const std::string &name, const auto &value) {
        EXPECT_TRUE(fields.emplace(name, wideOf(value)).second) << name;
    });
    return fields;
}

/// The record with the fields that `fields` has; the others are 0.
template <class Type> Type recordOf(const Fields &fields) {
    Type entry{};
    visitAll(entry, &entry, [&](const std::string &name, auto &value) {
        const auto field = fields.find(name);
        if (field != fields.end())
            setWide(value, field->second);
    });
    return entry;
}

/// The descriptor of a type; fails the test and returns another one when there is none.
const TblDesc &findEntry(const std::string &type);

/// The name of an element of a field as the positions have it.
inline std::string elemName(const TblField &field, unsigned idx) {
    return field.isArr ? std::string(field.name) + "(" + std::to_string(idx) + ")" : field.name;
}

inline Fields decodeByDesc(const TblDesc &desc, const uint32_t *words) {
    Fields fields;
    for (const TblField &field : desc.field) {
        for (unsigned idx = 0; idx < field.count; idx++) {
            TblWide value{};
            for (size_t i = 0; i < field.numPieces; i++) {
                const TblPiece piece = field.at(i, idx);
                for (unsigned n = 0; n < piece.width; n++)
                    setBitOf(value, piece.at + n, words[piece.word] >> (piece.lo + n) & 1);
            }
            fields[elemName(field, idx)] = value;
        }
    }
    return fields;
}

/// Holds a record and its descriptor against their positions, on random words.
template <class Type> void expectLayout(const char *name, const Positions &positions) {
    SCOPED_TRACE(name);
    const TblDesc &desc = findEntry(name);
    ASSERT_EQ(desc.keyWords(), Type::kWords);
    RandomWords rnd(Type::kWords);
    const std::vector<uint32_t> covered = positions.covered(Type::kWords);
    for (int round = 0; round < 100; round++) {
        uint32_t words[Type::kWords], old[Type::kWords], packed[Type::kWords];
        std::generate_n(words, Type::kWords, std::ref(rnd));
        std::generate_n(old, Type::kWords, std::ref(rnd));
        const Fields want = positions.decode(words);
        const Type entry = entryAt<Type>(words);
        ASSERT_EQ(fieldsOf(entry), want);
        ASSERT_EQ(decodeByDesc(desc, words), want);
        std::copy_n(old, Type::kWords, packed);
        pack(entry, packed);
        for (uint32_t w = 0; w < Type::kWords; w++)
            ASSERT_EQ(packed[w], (words[w] & covered[w]) | (old[w] & ~covered[w])) << "word " << w;
    }
    for (const TblField &field : desc.field) {
        EXPECT_STRNE(field.text, "") << field.name;
        for (unsigned idx = 0; idx < field.count; idx++)
            EXPECT_EQ(field.width, positions.widthOf(elemName(field, idx))) << elemName(field, idx);
    }
}

/// A ternary row that asks for `fields` alone, each bit of them: first half for a bit 1, second half for 0.
template <class Type> std::vector<uint32_t> rowAsking(const Fields &fields) {
    Fields ones;
    for (const auto &[name, value] : fields)
        ones[name] = {~0u, ~0u, ~0u, ~0u};
    uint32_t value[Type::kWords] = {};
    uint32_t mask[Type::kWords] = {};
    pack(recordOf<Type>(fields), value);
    pack(recordOf<Type>(ones), mask);
    std::vector<uint32_t> row(2 * Type::kWords);
    for (uint32_t w = 0; w < Type::kWords; w++) {
        row[w] = value[w];
        row[Type::kWords + w] = mask[w] & ~value[w];
    }
    return row;
}

/// A kind of entry: its row of the dump, the memory of the model ("" when the load leaves the row out), the words of a
/// whole entry, and of the part that the fields describe.
struct EntryKind {
    const char *type;
    const char *row;
    const char *mem;
    uint32_t words;
    uint32_t keyWords;
    void (*expect)(const char *type, const Positions &positions); ///< expectLayout of the type
};

/// Bits of a field, from its bit `at` upwards: they stand in bits `hi` to `lo` of `word`. An element of an array has
/// the name "field(n)".
struct EntryBits {
    const char *type;
    std::string field;
    unsigned at;
    unsigned word, hi, lo;
};

/// A plain entry, and one of a ternary memory, whose key is half of it.
#define KIND(Type, row, mem, words) KIND_OF(Type, row, mem, words, words)
#define TCAM_KIND(Type, row, mem, words) KIND_OF(Type, row, mem, words, (words) / 2)
#define KIND_OF(Type, row, mem, words, keyWords)                                                                       \
    EntryKind {                                                                                                        \
#Type, row, mem, words, keyWords, &expectLayout < Type>                                                        \
    }

/// A whole field; a piece of one, from the field's bit `at` upwards; an element of an array.
#define BITS(Type, field, word, hi, lo) PIECE(Type, field, 0, word, hi, lo)
#define PIECE(Type, field, at, word, hi, lo)                                                                           \
    EntryBits {                                                                                                        \
#Type, #field, at, word, hi, lo                                                                                \
    }
#define ELEM(Type, field, elem, word, hi, lo)                                                                          \
    EntryBits {                                                                                                        \
#Type, #field "(" + std::to_string(elem) + ")", 0, word, hi, lo                                                \
    }

/// Holds unpack, pack and the descriptors of every kind in `kinds` against `places` on random words.
void checkEntryLayouts(const std::vector<EntryKind> &kinds, const std::vector<EntryBits> &places);

/// Holds each kind's row against the dump's map, and its memory against the chip's addresses.
void checkEntryRows(const std::vector<EntryKind> &kinds);

/// Holds that `row` is listed without a layout, with memory `mem` ("" for none) and `words` words an entry.
void checkOpaqueRow(const std::string &row, const std::string &mem, uint32_t words);

/// The lists of entries, one a subject.
enum class TblList { L3, CNT, EGR };

/// The types of `list` that `kinds` does not have, or has too much, as a text; empty when both have the same.
std::string typesThatDiffer(TblList list, const std::vector<EntryKind> &kinds);
