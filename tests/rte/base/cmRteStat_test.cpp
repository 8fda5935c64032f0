// Frames by chance on chips by chance: after each, every field of the frame's record is within the width that its list
// names, and no field holds anything that the list says nobody writes.

#include "random_chip.h"
#include "tsr_cmodel_util.h"
#include "tsr_reg.h"
#include "whole_chip.h"

#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace {

struct StatFld {
    const char *name;
    unsigned bits;
    unsigned typeBits;
    const char *stage;
    const char *meaning;
    uint64_t seen = 0; // all the bits that were ever set

    bool allows(uint64_t value) const { return bits >= 64 || value >> bits == 0; }
};

/// The fields of the list that are numbers, in its order.
std::vector<StatFld> statFlds() {
    return {
#define STAT(type, name, bits, stage, meaning) {#name, bits, sizeof(type) * 8, #stage, meaning},
#define STAT_ARR(type, name, elements, bits, stage, meaning) {#name, bits, sizeof(type) * 8, #stage, meaning},
#include "base/cmRteStat.def"
    };
}

/// Ors the values of the record's fields into what was seen of each.
void look(const CmRteStat &stat, std::vector<StatFld> &flds) {
    auto fld = flds.begin();
#define STAT(type, name, bits, stage, meaning) (fld++)->seen |= stat.name;
#define STAT_ARR(type, name, elements, bits, stage, meaning)                                                           \
    for (type value : stat.name)                                                                                       \
        fld->seen |= value;                                                                                            \
    ++fld;
#include "base/cmRteStat.def"
}

TEST(StatList, EachFieldSaysWhatItIs) {
    const std::set<std::string> stages = {"DRIVER", "PRC", "LUE", "ROC", "NONE"};
    size_t cnt = 0;
#define STAT_REC(type, name, stage, meaning)                                                                           \
    cnt++;                                                                                                             \
    EXPECT_TRUE(stages.count(#stage)) << #name;                                                                        \
    EXPECT_GT(std::strlen(meaning), 2u) << #name;
#include "base/cmRteStat.def"
    for (const StatFld &fld : statFlds()) {
        cnt++;
        EXPECT_TRUE(stages.count(fld.stage)) << fld.name;
        EXPECT_LE(fld.bits, fld.typeBits) << fld.name;
        EXPECT_EQ(std::string(fld.stage) == "NONE" && fld.bits != 0, false) << fld.name;
        EXPECT_GT(std::strlen(fld.meaning), 2u) << fld.name;
    }
    EXPECT_EQ(cnt, 604u);
}

TEST(StatWidths, HoldForAnyFrameOnAnyChip) {
    std::vector<StatFld> flds = statFlds();
    size_t frames = 0;
    for (uint64_t seed = 50; seed < 60; seed++) {
        DumpBuilder dump;
        randomChip(dump, seed);
        FrameMaker maker(seed);
        rte_memory_init(dump.image());
        for (int i = 0; i < 1500; i++) {
            shim_t shim{};
            const Verdict verdict = runIngress(maker.frame(), maker.below(TSR_PORTS), 0, dump.image(), &shim);
            frames += verdict != Verdict::ended;
            look(*CmRteGetStat(), flds);
            for (const StatFld &fld : flds)
                ASSERT_TRUE(fld.allows(fld.seen))
                    << fld.name << " holds bits of 0x" << std::hex << fld.seen << ", seed " << std::dec << seed;
        }
        rte_memory_free();
    }
    EXPECT_GT(frames, 10000u);
}

} // namespace
