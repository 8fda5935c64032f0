#include "entry_layout.h"

#include "tsr_reg_dump.h"

#include <map>
#include <set>
#include <string_view>

namespace {

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

const TblDesc &findEntry(const std::string &type) {
    for (const TblDesc &desc : tblDescs()) {
        if (desc.type != nullptr && desc.type == type)
            return desc;
    }
    ADD_FAILURE() << "no entry " << type;
    return tblDescs()[0];
}

void checkEntryLayouts(const std::vector<EntryKind> &kinds, const std::vector<EntryBits> &places) {
    std::map<std::string, Positions> positions;
    for (const EntryBits &place : places)
        positions[place.type].add({place.field, place.at, place.word, place.hi, place.lo});
    for (const EntryKind &kind : kinds) {
        EXPECT_EQ(findEntry(kind.type).keyWords(), kind.keyWords) << kind.type;
        kind.expect(kind.type, positions[kind.type]);
        positions.erase(kind.type);
    }
    for (const auto &[type, list] : positions)
        ADD_FAILURE() << type << " has places, but is not among the kinds";
}

void checkEntryRows(const std::vector<EntryKind> &kinds) {
    for (const EntryKind &kind : kinds)
        checkRow(findEntry(kind.type), kind.row, kind.mem, kind.words);
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
