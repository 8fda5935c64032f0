#include "entry_layout.h"

#include "tsr_reg_dump.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <string_view>

namespace {

constexpr int kRounds = 64;
constexpr uint32_t kMaxWords = 32;

struct Words {
    uint32_t w[kMaxWords];
};

Words randomWords(std::mt19937 &random) {
    Words words;
    for (uint32_t &word : words.w)
        word = static_cast<uint32_t>(random());
    return words;
}

using FieldElem = std::pair<std::string, unsigned>;

void addBit(TblWide &value, unsigned at) {
    value[3 - at / 32] |= 1u << at % 32;
}

/// The value that `place` adds to its field.
void gather(TblWide &value, const EntryBits &place, const uint32_t *words) {
    for (unsigned bit = place.lo; bit <= place.hi; bit++) {
        if (words[place.word] >> bit & 1)
            addBit(value, place.at + bit - place.lo);
    }
}

/// A field's element as its descriptor places it.
TblWide byDescriptor(const TblField &field, unsigned elem, const uint32_t *words) {
    TblWide value{};
    for (size_t i = 0; i < field.numPieces; i++) {
        const TblPiece piece = field.at(i, elem);
        for (unsigned bit = 0; bit < piece.width; bit++) {
            if (words[piece.word] >> (piece.lo + bit) & 1)
                addBit(value, piece.at + bit);
        }
    }
    return value;
}

/// The fields of the descriptor and of the places are the same, with the same widths and numbers of elements.
void checkFields(const TblDesc &desc, const std::vector<EntryBits> &places) {
    std::map<std::string, std::map<unsigned, unsigned>> widths;
    for (const EntryBits &place : places)
        widths[place.field][place.elem] += place.hi - place.lo + 1;
    for (const TblField &field : desc.field) {
        const auto expected = widths.find(field.name);
        if (expected == widths.end()) {
            ADD_FAILURE() << desc.type << "." << field.name << " has no expected place";
            continue;
        }
        EXPECT_EQ(field.count, expected->second.size()) << desc.type << "." << field.name;
        for (const auto &[elem, width] : expected->second)
            EXPECT_EQ(field.width, width) << desc.type << "." << field.name << "[" << elem << "]";
        EXPECT_STRNE(field.text, "") << desc.type << "." << field.name;
        widths.erase(expected);
    }
    for (const auto &[name, elems] : widths)
        ADD_FAILURE() << desc.type << " has no field " << name;
}

void checkRound(const EntryKind &kind, const TblDesc &desc, const std::vector<EntryBits> &places, const Words &from,
                const Words &to) {
    std::map<FieldElem, TblWide> expected;
    std::map<FieldElem, const EntryBits *> first;
    Words packed = to;
    for (const EntryBits &place : places) {
        const FieldElem key{place.field, place.elem};
        gather(expected[key], place, from.w);
        first.emplace(key, &place);
        const uint32_t mask = static_cast<uint32_t>((uint64_t{2} << place.hi) - (uint64_t{1} << place.lo));
        packed.w[place.word] = (packed.w[place.word] & ~mask) | (from.w[place.word] & mask);
    }
    for (const auto &[key, value] : expected) {
        EXPECT_EQ(first[key]->read(from.w, key.second), value)
            << kind.type << "." << key.first << "[" << key.second << "]";
        for (const TblField &field : desc.field) {
            if (field.name == key.first) {
                EXPECT_EQ(byDescriptor(field, key.second, from.w), value) << kind.type << "." << key.first;
            }
        }
    }
    Words out = to;
    kind.repack(from.w, out.w);
    for (uint32_t word = 0; word < kMaxWords; word++)
        EXPECT_EQ(out.w[word], packed.w[word]) << kind.type << " word " << word;
}

struct Range {
    uint32_t first, last;
};

const std::map<std::string_view, Range> &memRanges() {
    static const std::map<std::string_view, Range> ranges = {
#define MEM(first, last, name, ...) {#name, {first, last}},
#include "base/cmRteHsiMem.def"
    };
    return ranges;
}

/// The row `name` of the table `mapp` or of one below it, or null.
const regdump_map_t *findRow(const regdump_map_t *mapp, std::string_view name) {
    for (; mapp->name != nullptr; ++mapp) {
        if (mapp->name == name)
            return mapp;
        if (mapp->child == nullptr)
            continue;
        if (const regdump_map_t *row = findRow(mapp->child, name))
            return row;
    }
    return nullptr;
}

#define ENTRY(Type, ...) #Type,
#define TCAM(Type, ...) #Type,
#define DMP(Type, ...) #Type,
#define OPAQUE(...)
std::set<std::string> listedTypes(TblList list) {
    switch (list) {
    case TblList::L3:
        return {
#include "tbl/tsr_tbl_l3.def"
        };
    case TblList::CNT:
        return {
#include "tbl/tsr_tbl_cnt.def"
        };
    case TblList::EGR:
        return {
#include "tbl/tsr_tbl_egr.def"
        };
    }
    return {};
}
#undef ENTRY
#undef TCAM
#undef DMP
#undef OPAQUE

/// A descriptor's row and memory are the expected ones, and those of the dump's map and of the chip's addresses.
void checkRow(const TblDesc &desc, const std::string &row, const std::string &mem, uint32_t words) {
    EXPECT_EQ(desc.row, row);
    EXPECT_EQ(std::string(desc.mem == nullptr ? "" : desc.mem), mem) << row;
    EXPECT_EQ(desc.words, words) << row;
    EXPECT_STRNE(desc.text, "") << row;
    const regdump_map_t *mapp = findRow(tsr_dmp_map, row);
    if (mapp == nullptr) {
        ADD_FAILURE() << "no row " << row;
        return;
    }
    EXPECT_EQ(regdump_mapp_get_size(mapp) % (4 * words), 0u) << row;
    if (mem.empty()) {
        EXPECT_TRUE(desc.loadMsk.empty()) << row;
        return;
    }
    const auto range = memRanges().find(mem);
    if (range == memRanges().end()) {
        ADD_FAILURE() << "no memory " << mem;
        return;
    }
    EXPECT_EQ(range->second.first, mapp->asic_offset) << row;
    EXPECT_EQ(range->second.last - range->second.first + 1, regdump_mapp_get_size(mapp)) << row;
    EXPECT_EQ(desc.loadMsk.size(), words) << row;
}

} // namespace

const TblDesc *findEntry(const std::string &type) {
    for (const TblDesc &desc : tblDescs()) {
        if (desc.type != nullptr && desc.type == type)
            return &desc;
    }
    ADD_FAILURE() << "no entry " << type;
    return nullptr;
}

void checkEntryLayouts(const std::vector<EntryKind> &kinds, const std::vector<EntryBits> &places) {
    std::mt19937 random(20);
    std::set<std::string> known;
    for (const EntryKind &kind : kinds) {
        known.insert(kind.type);
        const TblDesc *desc = findEntry(kind.type);
        if (desc == nullptr)
            continue;
        std::vector<EntryBits> own;
        std::copy_if(places.begin(), places.end(), std::back_inserter(own),
                     [&](const EntryBits &place) { return std::string_view(place.type) == kind.type; });
        EXPECT_EQ(desc->keyWords(), kind.keyWords) << kind.type;
        checkFields(*desc, own);
        for (int round = 0; round < kRounds && !testing::Test::HasFailure(); round++)
            checkRound(kind, *desc, own, randomWords(random), randomWords(random));
    }
    for (const EntryBits &place : places)
        EXPECT_TRUE(known.contains(place.type)) << place.type;
}

void checkEntryRows(const std::vector<EntryKind> &kinds) {
    for (const EntryKind &kind : kinds) {
        if (const TblDesc *desc = findEntry(kind.type))
            checkRow(*desc, kind.row, kind.mem, kind.words);
    }
}

void checkOpaqueRow(const std::string &row, const std::string &mem, uint32_t words) {
    for (const TblDesc &desc : tblDescs()) {
        if (desc.row != row)
            continue;
        EXPECT_EQ(desc.type, nullptr) << row;
        EXPECT_TRUE(desc.field.empty()) << row;
        checkRow(desc, row, mem, words);
        return;
    }
    ADD_FAILURE() << row << " is not listed";
}

std::string typesThatDiffer(TblList list, const std::vector<EntryKind> &kinds) {
    std::set<std::string> rest = listedTypes(list);
    std::string differ;
    for (const EntryKind &kind : kinds) {
        if (rest.erase(kind.type) == 0)
            differ += std::string(" +") + kind.type;
    }
    for (const std::string &type : rest)
        differ += " -" + type;
    return differ;
}
