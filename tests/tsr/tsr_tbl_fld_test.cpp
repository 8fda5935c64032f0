// Single fields of entries, for every field of every list: the same as in the whole record, and nothing beyond the
// memory.

#include "tbl/tsr_tbl.h"

#include <gtest/gtest.h>
#include <iterator>
#include <random>

namespace {

/// A memory of two entries of `Record` by chance.
template <class Record> struct Mem {
    uint32_t data[2 * Record::kWords];
    std::mt19937 rng{Record::kWords};

    Mem() {
        for (uint32_t &word : data)
            word = static_cast<uint32_t>(rng());
    }
};

// Record is the type that the enclosing expansion names.
#define FIELDS(Type, ...)                                                                                              \
    void check##Type() {                                                                                               \
        using Record = Type;                                                                                           \
        Mem<Record> mem;                                                                                               \
        for (uint32_t idx = 0; idx < 3; idx++) {                                                                       \
            const Record whole = entry<Record>(mem.data, idx);                                                         \
            __VA_ARGS__                                                                                                \
        }                                                                                                              \
    }
#define ENTRY(Type, form, row, mem, words, use, text, ...) FIELDS(Type, __VA_ARGS__)
#define TCAM(Type, form, row, mem, words, use, text, ...) FIELDS(Type, __VA_ARGS__)
#define DMP(Type, form, row, words, use, text, ...) FIELDS(Type, __VA_ARGS__)
#define FLD(name, word, hi, lo, kind, text) EXPECT_EQ(field<&Record::name>(mem.data, idx), whole.name) << #name;
#define FLDP(name, width, kind, text, ...) FLD(name, 0, 0, 0, kind, text)
#define FLDA(name, count, word, hi, lo, step, kind, text)                                                              \
    for (uint32_t i = 0; i < (count); i++)                                                                             \
        EXPECT_EQ(elem<&Record::name>(mem.data, idx * (count) + i), whole.name[i]) << #name << i;
#define ALT(name, word, hi, lo, kind, text) FLD(name, word, hi, lo, kind, text)
#define ALTP(name, width, kind, text, ...) FLD(name, 0, 0, 0, kind, text)
#include "tbl/tsr_tbl.def"
#undef FIELDS

} // namespace

TEST(TsrTblFld, EachFieldAloneIsThatOfTheWholeEntry) {
#define ENTRY(Type, ...) check##Type();
#define TCAM(Type, ...) check##Type();
#define DMP(Type, ...) check##Type();
#include "tbl/tsr_tbl.def"
}

TEST(TsrTblFld, PiecesAreJoined) {
    const uint32_t mem[] = {0x00000abc, 0xd0000000};
    EXPECT_EQ(field<&L2ExmRslt::trill_da>(mem, 0), 0xabcdu);
    EXPECT_EQ(field<&L2ExmRslt::trill_da>(mem, 1), 0u);
}

TEST(TsrTblFld, ElementsRunThroughTheEntries) {
    const uint32_t mem[] = {0x80000000, 0x20000000, 0};
    // VLAN 0 learns destinations, VLAN 8 forwards tagged frames.
    EXPECT_EQ(elem<&L2StpEn::da_lrn_en>(mem, 0), 1u);
    EXPECT_EQ(elem<&L2StpEn::da_lrn_en>(mem, 8), 0u);
    EXPECT_EQ(elem<&L2StpEn::fwd_en_tag>(mem, 0), 0u);
    EXPECT_EQ(elem<&L2StpEn::fwd_en_tag>(mem, 8), 1u);
    EXPECT_EQ(elem<&L2StpEn::fwd_en_tag>(mem, 24), 0u);
    EXPECT_EQ(elem<&L2StpEn::fwd_en_tag>(mem, ~0ull), 0u);
}

TEST(TsrTblFld, SettingAnElementLeavesTheOthers) {
    uint32_t mem[] = {0xffffffff, 0xffffffff, 0xffffffff};
    setElem<&L2StpEn::sa_lrn_en>(mem, 9, 0);
    EXPECT_EQ(mem[0], 0xffffffffu);
    EXPECT_EQ(mem[1], 0xfbffffffu);
    EXPECT_EQ(mem[2], 0xffffffffu);
    setElem<&L2StpEn::sa_lrn_en>(mem, 9, 3); // cut to its width
    EXPECT_EQ(mem[1], 0xffffffffu);

    uint32_t act[] = {0, 0, 0};
    setElem<&L2DaAct::act>(act, 33, 1);
    setElem<&L2DaAct::act>(act, 96, 1); // beyond the memory
    EXPECT_EQ(act[0], 0u);
    EXPECT_EQ(act[1], 2u);
    EXPECT_EQ(act[2], 0u);
}
