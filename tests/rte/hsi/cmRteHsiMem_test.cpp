#include "hsi/cmRteHsiMem.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include "random_words.h"

namespace {

struct Range {
    uint32_t first;
    uint32_t last;
    const char *name;
    size_t offset; // of the memory in its record, in bytes
    std::vector<uint32_t> masks;
};

#define MEM_RANGE(first, last, name, words, ...) Range{first, last, #name, offsetof(Rec, name), {__VA_ARGS__}},
std::vector<Range> rteRanges() {
    using Rec = CmRteHsiMem;
    return {
#define MEM(first, last, name, words, ...) MEM_RANGE(first, last, name, words, __VA_ARGS__)
#include "base/cmRteHsiMem.def"
    };
}
std::vector<Range> tfeRanges() {
    using Rec = CmTfeHsiMem;
    return {
#define MEM(first, last, name, words, ...) MEM_RANGE(first, last, name, words, __VA_ARGS__)
#include "tfe/cmTfeHsiMem.def"
    };
}
std::vector<Range> taeRanges() {
    using Rec = CmTaeHsiMem;
    return {
#define MEM(first, last, name, words, ...) MEM_RANGE(first, last, name, words, __VA_ARGS__)
#include "tae/cmTaeHsiMem.def"
    };
}

uint32_t be(uint32_t word) {
    return std::endian::native == std::endian::big ? word : __builtin_bswap32(word);
}

/// One family of memories with its access functions.
template <class Rec> struct Family {
    std::vector<Range> ranges;
    int (*wr)(Rec *, uint32_t, uint32_t);
    int (*rd)(const Rec *, uint32_t, uint32_t *);
    uint32_t (*wrRun)(Rec *, uint32_t, const uint32_t *, uint32_t);
    std::unique_ptr<Rec> rec = std::make_unique<Rec>();

    const uint32_t *words(const Range &range) const {
        return reinterpret_cast<const uint32_t *>(reinterpret_cast<const uint8_t *>(rec.get()) + range.offset);
    }
};

Family<CmRteHsiMem> rteFamily() {
    return {rteRanges(), CmRteHsiMemWr, CmRteHsiMemRd, CmRteHsiMemWrRun};
}
Family<CmTfeHsiMem> tfeFamily() {
    return {tfeRanges(), CmTfeHsiMemWr, CmTfeHsiMemRd, CmTfeHsiMemWrRun};
}
Family<CmTaeHsiMem> taeFamily() {
    return {taeRanges(), CmTaeHsiMemWr, CmTaeHsiMemRd, CmTaeHsiMemWrRun};
}

/// Writes the first, a middle and the last entry of each range and checks words and reads against the masks.
template <class Rec> void checkEntries(Family<Rec> family) {
    RandomWords rng(7);
    for (const Range &range : family.ranges) {
        const uint32_t n = static_cast<uint32_t>(range.masks.size());
        const uint32_t entries = (range.last + 1 - range.first) / 4 / n;
        for (uint32_t entry : {0u, entries / 2, entries - 1}) {
            std::vector<uint32_t> data(n);
            for (uint32_t w = 0; w < n; w++) {
                data[w] = static_cast<uint32_t>(rng());
                ASSERT_EQ(family.wr(family.rec.get(), range.first + 4 * (entry * n + w), data[w]), 1) << range.name;
            }
            for (uint32_t w = 0; w < n; w++) {
                EXPECT_EQ(family.words(range)[entry * n + w], data[w] & range.masks[w]) << range.name;
                uint32_t value = 0;
                EXPECT_EQ(family.rd(family.rec.get(), range.first + 4 * (entry * n + w), &value), 1);
                EXPECT_EQ(value, data[w] & range.masks[w]) << range.name;
            }
        }
    }
}

/// Each of these addresses names no memory: nothing changes, and a read clears its word.
template <class Rec> void checkHoles(Family<Rec> family, const std::vector<uint32_t> &holes) {
    const auto before = std::make_unique<Rec>(*family.rec);
    for (uint32_t addr : holes) {
        EXPECT_EQ(family.wr(family.rec.get(), addr, ~0u), 0) << std::hex << addr;
        uint32_t value = 5;
        EXPECT_EQ(family.rd(family.rec.get(), addr, &value), 0) << std::hex << addr;
        EXPECT_EQ(value, 0u);
        const uint32_t word = ~0u;
        EXPECT_EQ(family.wrRun(family.rec.get(), addr, &word, 1), 0u);
    }
    EXPECT_EQ(std::memcmp(family.rec.get(), before.get(), sizeof(Rec)), 0);
}

TEST(HsiMem, EntriesOfEachRteMemory) {
    checkEntries(rteFamily());
}
TEST(HsiMem, EntriesOfEachTfeMemory) {
    checkEntries(tfeFamily());
}
TEST(HsiMem, EntriesOfEachTaeMemory) {
    checkEntries(taeFamily());
}

TEST(HsiMem, AddressesBetweenTheRangesAreUnknown) {
    checkHoles(rteFamily(), {0x27ffffc, 0x3820000, 0x39ffffc, 0x3be8000, 0x3c6c000, 0x3cef000, 0x3cf5800, 0x3d09800,
                             0x3d0c000, 0x3ffffff});
    checkHoles(tfeFamily(), {0x4d60000, 0x4e00000, 0x4f00000, 0x4fffffc, 0x5580000});
    checkHoles(taeFamily(), {0x4902000, 0x491fffc, 0x4940000, 0x4a84000, 0x4a90000, 0x4ba0000});
}

TEST(HsiMem, WriteWrapsTheAddressAndReadDoesNot) {
    auto mem = std::make_unique<CmRteHsiMem>();
    EXPECT_EQ(CmRteHsiMemWr(mem.get(), 0x4000000 + 0x3cf6000, 9), 1);
    EXPECT_EQ(mem->RTE_L2_SA_LIP_SRAM[0], 9u);
    uint32_t value = 5;
    EXPECT_EQ(CmRteHsiMemRd(mem.get(), 0x4000000 + 0x3cf6000, &value), 0);
    EXPECT_EQ(value, 0u);
    auto tfe = std::make_unique<CmTfeHsiMem>();
    EXPECT_EQ(CmTfeHsiMemWr(tfe.get(), 0x8000000 + 0x4c00000, ~0u), 1);
    EXPECT_EQ(tfe->TFE_AMAP[0], 0xffffffu);
}

TEST(HsiMem, MaskedWordKeepsNothing) {
    auto mem = std::make_unique<CmRteHsiMem>();
    for (uint32_t w = 0; w < 4; w++)
        CmRteHsiMemWr(mem.get(), 0x2800000 + 4 * w, ~0u);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[0], 0u);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[1], 0x3fffu);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[2], 0xffffffffu);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[3], 0xffffffffu);
}

TEST(HsiMem, TrillRpfLosesTheBitsBetweenItsHalves) {
    auto mem = std::make_unique<CmRteHsiMem>();
    CmRteHsiMemWr(mem.get(), 0x3300000, 0xffffffff);
    EXPECT_EQ(mem->RTE_TRILL_RPF_EDRAM[0], 0x0fff0fffu);
}

TEST(HsiMem, LastWordOfAnEntryStoresAll) {
    auto mem = std::make_unique<CmRteHsiMem>();
    for (uint32_t w = 0; w < 4; w++)
        CmRteHsiMemWr(mem.get(), 0x2800010 + 4 * w, 0x10 + w);
    for (uint32_t w = 0; w < 3; w++)
        CmRteHsiMemWr(mem.get(), 0x2800010 + 4 * w, 0x20 + w);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[5], 0x11u);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[6], 0x12u);
    uint32_t value = 0;
    CmRteHsiMemRd(mem.get(), 0x2800010, &value);
    CmRteHsiMemRd(mem.get(), 0x2800014, &value);
    EXPECT_EQ(value, 0x11u);
    CmRteHsiMemWr(mem.get(), 0x280001c, 0x23);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[5], 0x21u);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[6], 0x22u);
    EXPECT_EQ(mem->RTE_L2_EXM_BKT_EDRAM[7], 0x23u);
}

TEST(HsiMem, HalfEntryGoesIntoAnotherEntry) {
    auto mem = std::make_unique<CmRteHsiMem>();
    CmRteHsiMemWr(mem.get(), 0x3000000, 0x123);  // first word of entry 0
    CmRteHsiMemWr(mem.get(), 0x300000c, 0x4567); // last word of entry 1
    EXPECT_EQ(mem->RTE_L2_EXM_RSLT_EDRAM[0], 0u);
    EXPECT_EQ(mem->RTE_L2_EXM_RSLT_EDRAM[2], 0x123u);
    EXPECT_EQ(mem->RTE_L2_EXM_RSLT_EDRAM[3], 0x4567u);
}

TEST(HsiMem, LaterWordsReadWhatTheFirstOneLatched) {
    auto mem = std::make_unique<CmRteHsiMem>();
    mem->RTE_L2_EXM_RSLT_EDRAM[0] = 0xff123; // bits beyond the mask, as a stage might leave them
    mem->RTE_L2_EXM_RSLT_EDRAM[1] = 0x11;
    mem->RTE_L2_EXM_RSLT_EDRAM[3] = 0x33;
    uint32_t value = 0;
    CmRteHsiMemRd(mem.get(), 0x3000000, &value);
    EXPECT_EQ(value, 0x123u);
    mem->RTE_L2_EXM_RSLT_EDRAM[1] = 0x22;
    CmRteHsiMemRd(mem.get(), 0x3000004, &value);
    EXPECT_EQ(value, 0x11u);
    CmRteHsiMemRd(mem.get(), 0x300000c, &value);
    EXPECT_EQ(value, 0x11u) << "an entry whose first word was not read";
}

TEST(HsiMem, ReadsAndWritesLatchApart) {
    auto mem = std::make_unique<CmRteHsiMem>();
    mem->RTE_L2_EXM_RSLT_EDRAM[2] = 0x77;
    CmRteHsiMemWr(mem.get(), 0x3000000, 0x123);
    uint32_t value = 0;
    CmRteHsiMemRd(mem.get(), 0x3000008, &value);
    CmRteHsiMemWr(mem.get(), 0x3000004, 0x9);
    EXPECT_EQ(mem->RTE_L2_EXM_RSLT_EDRAM[0], 0x123u);
}

TEST(HsiMem, BlocksLatchApart) {
    auto rte = std::make_unique<CmRteHsiMem>();
    auto tfe = std::make_unique<CmTfeHsiMem>();
    CmTfeHsiMemWr(tfe.get(), 0x5000000, 0x1);
    CmTfeHsiMemWr(tfe.get(), 0x5000004, 0x2);
    CmTfeHsiMemWr(tfe.get(), 0x5000008, 0x3);
    CmRteHsiMemWr(rte.get(), 0x2800000, 0x3fff);
    CmRteHsiMemWr(rte.get(), 0x2800004, 0x3fff);
    CmTfeHsiMemWr(tfe.get(), 0x500000c, 0x4);
    EXPECT_EQ(tfe->TFE_TCAM[0], 1u);
    EXPECT_EQ(tfe->TFE_TCAM[1], 2u);
    EXPECT_EQ(tfe->TFE_TCAM[2], 3u);
    EXPECT_EQ(tfe->TFE_TCAM[3], 4u);
}

TEST(HsiMem, InitClears) {
    auto rte = std::make_unique<CmRteHsiMem>();
    std::memset(rte.get(), 0xff, sizeof *rte);
    CmRteHsiMemInit(rte.get());
    EXPECT_EQ(std::count(&rte->RTE_L2_EXM_BKT_EDRAM[0], &rte->RTE_L2_EXM_BKT_EDRAM[0] + sizeof *rte / 4, 0u), 5011584);
    auto tfe = std::make_unique<CmTfeHsiMem>();
    std::memset(tfe.get(), 0xff, sizeof *tfe);
    CmTfeHsiMemInit(tfe.get());
    EXPECT_EQ(std::count(&tfe->TFE_TCAM[0], &tfe->TFE_TCAM[0] + sizeof *tfe / 4, 0u), 1441792 + 360448);
}

/// The same writes as a run in one record and as single writes in another. A whole entry beforehand gives the hold
/// registers the same contents, and the entry's missing words behind show what they were left with.
template <class Rec>
void checkRun(Family<Rec> &byRun, Family<Rec> &bySingle, const Range &range, uint32_t skip,
              const std::vector<uint32_t> &beWords) {
    const uint32_t n = static_cast<uint32_t>(range.masks.size());
    const uint32_t room = (range.last + 1 - range.first) / 4 - skip;
    const uint32_t cnt = static_cast<uint32_t>(beWords.size());
    const uint32_t taken = std::min(cnt, room);
    const uint32_t addr = range.first + 4 * skip;
    const auto prime = [&](Family<Rec> &family) {
        for (uint32_t w = 0; w < n; w++)
            family.wr(family.rec.get(), range.last + 1 - 4 * (n - w), 0x1000 + w);
    };
    const auto complete = [&](Family<Rec> &family) {
        for (uint32_t i = taken; i < room && (skip + i) % n != 0; i++)
            family.wr(family.rec.get(), addr + 4 * i, i);
        family.wr(family.rec.get(), range.first + 4 * (n - 1), 0x77); // stores what was held last
    };

    prime(byRun);
    EXPECT_EQ(byRun.wrRun(byRun.rec.get(), addr, beWords.data(), cnt), taken) << range.name;
    complete(byRun);

    prime(bySingle);
    for (uint32_t i = 0; i < taken; i++)
        bySingle.wr(bySingle.rec.get(), addr + 4 * i, be(beWords[i]));
    complete(bySingle);

    const uint32_t words = std::min(skip + taken + n, skip + room);
    EXPECT_EQ(std::memcmp(byRun.words(range), bySingle.words(range), 4 * size_t{words}), 0)
        << range.name << " from " << skip << ", " << cnt << " words";
}

template <class Rec> void checkRuns(Family<Rec> byRun, Family<Rec> bySingle) {
    RandomWords rng(3);
    for (const Range &range : byRun.ranges) {
        const uint32_t n = static_cast<uint32_t>(range.masks.size());
        for (uint32_t skip : {0u, 1u, n - 1}) {
            for (uint32_t cnt : {0u, 1u, n - 1, n, n + 1, 3 * n + 1, 64u, 321u}) {
                std::vector<uint32_t> beWords(cnt);
                for (uint32_t &word : beWords)
                    word = static_cast<uint32_t>(rng());
                checkRun(byRun, bySingle, range, skip, beWords);
            }
        }
    }
    EXPECT_EQ(std::memcmp(byRun.rec.get(), bySingle.rec.get(), sizeof(Rec)), 0);
}

TEST(HsiMemRun, LeavesWhatSingleWritesLeave) {
    checkRuns(rteFamily(), rteFamily());
    checkRuns(tfeFamily(), tfeFamily());
    checkRuns(taeFamily(), taeFamily());
}

TEST(HsiMemRun, EndsAtTheEndOfTheRange) {
    auto mem = std::make_unique<CmRteHsiMem>();
    const std::vector<uint32_t> beWords(8, be(0xffffffff));
    EXPECT_EQ(CmRteHsiMemWrRun(mem.get(), 0x3cf6ff8, beWords.data(), 8), 2u);
    EXPECT_EQ(mem->RTE_L2_SA_LIP_SRAM[1023], 0xffffffffu);
    EXPECT_EQ(mem->RTE_L2_SA_LIP_CONS_SRAM[0], 0u);
}

} // namespace
