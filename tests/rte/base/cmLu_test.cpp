#include "base/cmLu.h"

#include "tcam_image.h"

#include <gtest/gtest.h>
#include <unistd.h>
#include <vector>

namespace {

/// An image of `entries` entries of `words` words that match nothing.
std::vector<uint32_t> deadTcam(uint32_t entries, uint32_t words) {
    std::vector<uint32_t> tcam(entries * words, 0);
    tcamOff(tcam, words);
    return tcam;
}

std::vector<uint32_t> hits(const CmTcamTbl &tbl) {
    return std::vector<uint32_t>(tbl.hitList, tbl.hitList + tbl.hitCount);
}

using List = std::vector<uint32_t>;

CmTcamTbl tblOf(uint32_t keySiz, uint32_t siz, CmLuMem tcam) {
    CmTcamTbl tbl;
    tbl.keySiz = keySiz;
    tbl.tcamSiz = siz;
    tbl.tcam = tcam;
    tbl.hitCount = 99;
    tbl.tcamHit = 77;
    tbl.rsltIdx = 77;
    tbl.u32Rslt = 77;
    tbl.u64Rslt = 77;
    return tbl;
}

} // namespace

TEST(CmTcamLu, BitPairsAskForOneForZeroForNothingOrNever) {
    struct {
        uint32_t x, y, key, hit;
    } const rows[] = {{1, 0, 1, 1}, {1, 0, 0, 0}, {0, 1, 0, 1}, {0, 1, 1, 0},
                      {0, 0, 0, 1}, {0, 0, 1, 1}, {1, 1, 0, 0}, {1, 1, 1, 0}};
    for (const unsigned pos : {0u, 31u})
        for (const auto &row : rows) {
            const uint32_t tcam[] = {row.x << pos, row.y << pos};
            CmTcamTbl tbl = tblOf(32, 1, tcam);
            tbl.u32Key = row.key << pos;
            CmTcamLu(&tbl);
            EXPECT_EQ(tbl.tcamHit, row.hit) << pos << row.x << row.y << row.key;
        }
}

TEST(CmTcamLu, ClearedTcamHitsInEveryEntry) {
    const std::vector<uint32_t> tcam(3 * 4, 0);
    CmTcamTbl tbl = tblOf(64, 3, tcam);
    tbl.u64Key = 0x123456789abcdef0;
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 0u);
    EXPECT_EQ(hits(tbl), (List{0, 1, 2}));
}

TEST(CmTcamLu, ShortKeyListsItsHitsButTakesTheDefaultIndex) {
    std::vector<uint32_t> tcam = deadTcam(8, 2);
    for (const uint32_t i : {1u, 4u, 7u})
        tcamExact(tcam, i, {0x00abcdef});
    const uint32_t rslt[] = {10, 11, 12, 13, 14, 15, 16, 17};
    CmTcamTbl tbl = tblOf(24, 8, tcam);
    tbl.u32Key = 0xabcdef;
    tbl.rsltUnkIdx = 6;
    tbl.rsltSram = rslt;
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(hits(tbl), (List{1, 4, 7}));
    EXPECT_EQ(tbl.rsltIdx, 6u);
    EXPECT_EQ(tbl.u32Rslt, 16u);
    EXPECT_EQ(tbl.u64Rslt, 0u);
}

TEST(CmTcamLu, LongKeyTakesTheLowestOfThreeHits) {
    std::vector<uint32_t> tcam = deadTcam(8, 4);
    for (const uint32_t i : {2u, 4u, 7u})
        tcamExact(tcam, i, {0x01234567, 0x89abcdef});
    const uint32_t rslt[16] = {0, 0, 0, 0, 0xa, 0xb, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    CmTcamTbl tbl = tblOf(64, 8, tcam);
    tbl.u64Key = 0x0123456789abcdef;
    tbl.rsltUnkIdx = 6;
    tbl.rsltSram = rslt;
    tbl.rsltHasQw = 1;
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(hits(tbl), (List{2, 4, 7}));
    EXPECT_EQ(tbl.rsltIdx, 2u);
    EXPECT_EQ(tbl.u64Rslt, 0xa0000000bu);
    EXPECT_EQ(tbl.u32Rslt, 0u);
}

TEST(CmTcamLu, WidthClassesBeginAboveTheirByteLimits) {
    // 32 bits still compare the short key, 33 the first segment, 65 two segments, 129 nothing.
    std::vector<uint32_t> tcam1 = deadTcam(1, 2), tcam2 = deadTcam(1, 4), tcam4 = deadTcam(1, 8);
    tcamExact(tcam1, 0, {5});
    tcamExact(tcam2, 0, {1, 2});
    tcamExact(tcam4, 0, {1, 2, 3, 4});
    struct {
        uint32_t keySiz;
        const std::vector<uint32_t> &tcam;
        uint32_t hit;
    } const rows[] = {{1, tcam1, 1},  {32, tcam1, 1},  {33, tcam2, 1}, {64, tcam2, 1},
                      {65, tcam4, 1}, {128, tcam4, 1}, {129, tcam4, 0}};
    for (const auto &row : rows) {
        CmTcamTbl tbl = tblOf(row.keySiz, 1, row.tcam);
        tbl.u32Key = 5;
        tbl.u64Key = 0x100000002;
        tbl.u64Key1 = 0x300000004;
        CmTcamLu(&tbl);
        EXPECT_EQ(tbl.tcamHit, row.hit) << row.keySiz;
        EXPECT_EQ(tbl.hitCount, row.hit) << row.keySiz;
    }
}

TEST(CmTcamLu, EveryWordOfAnEntryCounts) {
    for (uint32_t word = 0; word < 4; word++) {
        std::vector<uint32_t> tcam = deadTcam(1, 8);
        tcamExact(tcam, 0, {0xa, 0xb, 0xc, 0xd});
        CmTcamTbl tbl = tblOf(101, 1, tcam);
        tbl.u64Key = 0xa0000000b;
        tbl.u64Key1 = 0xc0000000d;
        CmTcamLu(&tbl);
        EXPECT_EQ(tbl.tcamHit, 1u);
        tcam[word] ^= 0x100; // X=Y=1 in a bit of this word
        CmTcamLu(&tbl);
        EXPECT_EQ(tbl.tcamHit, 0u) << word;
        tcam[4 + word] ^= 0x100; // the bit is now asked for as 1
        CmTcamLu(&tbl);
        EXPECT_EQ(tbl.tcamHit, 0u) << word;
    }
}

TEST(CmTcamLu, KeyAbove128BitsSearchesNothingAndReadsTheDefaultResult) {
    const std::vector<uint32_t> tcam(64, 0);
    const uint32_t rslt[] = {1, 2, 3};
    CmTcamTbl tbl = tblOf(129, 2, tcam);
    tbl.rsltUnkIdx = 2;
    tbl.rsltSram = rslt;
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 0u);
    EXPECT_EQ(tbl.hitCount, 0u);
    EXPECT_EQ(tbl.rsltIdx, 2u);
    EXPECT_EQ(tbl.u32Rslt, 3u);
}

TEST(CmTcamLu, MissReadsTheEntryAtTheDefaultIndexAlsoWhenItIs0) {
    const std::vector<uint32_t> tcam = deadTcam(2, 4);
    const uint32_t rslt[] = {0x11, 0x22, 0x33, 0x44};
    CmTcamTbl tbl = tblOf(64, 2, tcam);
    tbl.rsltSram = rslt;
    tbl.rsltHasQw = 1;
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 0u);
    EXPECT_EQ(tbl.rsltIdx, 0u);
    EXPECT_EQ(tbl.u64Rslt, 0x1100000022u);
}

TEST(CmTcamLu, NoResultMemoryLeavesTheResultsZero) {
    const std::vector<uint32_t> tcam(4, 0);
    CmTcamTbl tbl = tblOf(64, 1, tcam);
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.u32Rslt, 0u);
    EXPECT_EQ(tbl.u64Rslt, 0u);
}

TEST(CmTcamLu, HitsAtTheFirstAndTheLastEntry) {
    std::vector<uint32_t> tcam = deadTcam(1024, 4);
    tcamExact(tcam, 0, {7, 8});
    tcamExact(tcam, 1023, {7, 8});
    CmTcamTbl tbl = tblOf(62, 1024, tcam);
    tbl.u64Key = 0x700000008;
    CmTcamLu(&tbl);
    EXPECT_EQ(hits(tbl), (List{0, 1023}));
    tbl.tcamSiz = 1023;
    CmTcamLu(&tbl);
    EXPECT_EQ(hits(tbl), (List{0}));
}

TEST(CmTcamLu, The1025thHitIsNotListed) {
    std::vector<uint32_t> tcam(1026 * 4, 0);
    CmTcamTbl tbl = tblOf(64, 1026, tcam);
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.hitCount, 1024u);
    EXPECT_EQ(tbl.hitList[1023], 1023u);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 0u);

    // With 1024 hits and an entry between that misses, the 1024th still goes in.
    tcam[0] = tcam[2] = 1;
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.hitCount, 1024u);
    EXPECT_EQ(tbl.hitList[1023], 1024u);
}

TEST(CmTcamLu, BanksThatAreOffAreSkipped) {
    const std::vector<uint32_t> tcam(8 * 4, 0);
    CmTcamTbl tbl = tblOf(64, 8, tcam);
    tbl.tcamBnkSiz = 2;
    tbl.tcamBnkEnMsk = 0b1010;
    CmTcamLu(&tbl);
    EXPECT_EQ(hits(tbl), (List{2, 3, 6, 7}));
    EXPECT_EQ(tbl.rsltIdx, 2u);
}

TEST(CmTcamLu, NoBankOnSearchesNothingAndReadsTheDefaultResult) {
    const std::vector<uint32_t> tcam(8 * 4, 0);
    const uint32_t rslt[] = {1, 2, 3, 4, 5, 6, 7, 8};
    CmTcamTbl tbl = tblOf(64, 8, tcam);
    tbl.tcamBnkSiz = 2;
    tbl.rsltUnkIdx = 5;
    tbl.rsltSram = rslt;
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 0u);
    EXPECT_EQ(tbl.hitCount, 0u);
    EXPECT_EQ(tbl.rsltIdx, 5u);
    EXPECT_EQ(tbl.u32Rslt, 6u);
}

TEST(CmTcamLu, MaskOf0WithoutBanksDoesNotMatter) {
    const std::vector<uint32_t> tcam(4, 0);
    CmTcamTbl tbl = tblOf(64, 1, tcam);
    CmTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
}

TEST(CmTcamLu, LastBankThatIsCutShortIsOn) {
    const std::vector<uint32_t> tcam(5 * 4, 0);
    CmTcamTbl tbl = tblOf(64, 5, tcam);
    tbl.tcamBnkSiz = 2;
    tbl.tcamBnkEnMsk = 0b1;
    CmTcamLu(&tbl);
    EXPECT_EQ(hits(tbl), (List{0, 1, 4}));
    tbl.tcamBnkEnMsk = 0; // takes the short bank out, too
    CmTcamLu(&tbl);
    EXPECT_EQ(hits(tbl), (List{}));
    EXPECT_EQ(tbl.tcamHit, 0u);
}

TEST(CmTcamLu, BanksFrom32UpAreOff) {
    const std::vector<uint32_t> tcam(40 * 4, 0);
    CmTcamTbl tbl = tblOf(64, 40, tcam);
    tbl.tcamBnkSiz = 1;
    tbl.tcamBnkEnMsk = 0x80000000;
    CmTcamLu(&tbl);
    EXPECT_EQ(hits(tbl), (List{31}));
}

TEST(CmTcamLu, EntriesAndResultsBeyondTheirMemoriesDoNotExist) {
    const std::vector<uint32_t> tcam(4 * 4 + 3, 0);
    const uint32_t rslt[] = {1, 2, 3};
    CmTcamTbl tbl = tblOf(64, 1000, tcam);
    tbl.tcamBnkSiz = 3;
    tbl.tcamBnkEnMsk = 0xffffffff;
    tbl.rsltSram = rslt;
    CmTcamLu(&tbl);
    EXPECT_EQ(hits(tbl), (List{0, 1, 2, 3}));

    const std::vector<uint32_t> dead = deadTcam(1, 4);
    CmTcamTbl miss = tblOf(64, 1, dead);
    miss.rsltSram = rslt;
    miss.rsltUnkIdx = 3;
    CmTcamLu(&miss);
    EXPECT_EQ(miss.u32Rslt, 0u);
    miss.rsltHasQw = 1;
    miss.rsltUnkIdx = 1; // the high word is the last one there is
    CmTcamLu(&miss);
    EXPECT_EQ(miss.u64Rslt, 0x300000000u);
    miss.rsltUnkIdx = 0xffffffff;
    CmTcamLu(&miss);
    EXPECT_EQ(miss.u64Rslt, 0u);
}

TEST(CmTcamLu1Hot, StopsAtTheFirstHitForAllWidths) {
    struct {
        uint32_t keySiz;
        uint32_t words;
    } const rows[] = {{1, 1}, {32, 1}, {33, 2}, {64, 2}, {65, 4}, {128, 4}, {129, 8}, {256, 8}, {257, 16}, {512, 16}};
    for (const auto &row : rows) {
        std::vector<uint32_t> keyWords;
        for (uint32_t i = 0; i < row.words; i++)
            keyWords.push_back(0x1000 + i);
        std::vector<uint32_t> tcam = deadTcam(4, 2 * row.words);
        tcamExact(tcam, 1, keyWords);
        tcamExact(tcam, 3, keyWords);
        const uint32_t rslt[] = {20, 21, 22, 23};
        CmTcamTbl tbl = tblOf(row.keySiz, 4, tcam);
        tbl.u32Key = 0x1000;
        tbl.u64Key = 0x100000001001;
        tbl.u64Key1 = 0x100200001003;
        tbl.u64Key2 = 0x100400001005;
        tbl.u64Key3 = 0x100600001007;
        tbl.u64Key4 = 0x100800001009;
        tbl.u64Key5 = 0x100a0000100b;
        tbl.u64Key6 = 0x100c0000100d;
        tbl.u64Key7 = 0x100e0000100f;
        tbl.rsltSram = rslt;
        tbl.rsltUnkIdx = 3;
        tbl.hitList[0] = 55;
        CmTcamLu1Hot(&tbl);
        EXPECT_EQ(tbl.tcamHit, 1u) << row.keySiz;
        EXPECT_EQ(tbl.rsltIdx, 1u) << row.keySiz;
        EXPECT_EQ(tbl.u32Rslt, 21u) << row.keySiz;
        EXPECT_EQ(tbl.hitCount, 99u) << "left alone";
        EXPECT_EQ(tbl.hitList[0], 55u) << "left alone";

        tcam[1 * 2 * row.words + row.words - 1] ^= 0x80; // the last word of X
        CmTcamLu1Hot(&tbl);
        EXPECT_EQ(tbl.rsltIdx, 3u) << row.keySiz;
    }
}

TEST(CmTcamLu1Hot, MissAndBanks) {
    const std::vector<uint32_t> tcam(4 * 2, 0);
    CmTcamTbl tbl = tblOf(32, 4, tcam);
    tbl.rsltUnkIdx = 9;
    tbl.tcamBnkSiz = 1;
    tbl.tcamBnkEnMsk = 0b1100;
    CmTcamLu1Hot(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 2u);
    tbl.tcamBnkEnMsk = 0;
    CmTcamLu1Hot(&tbl);
    EXPECT_EQ(tbl.tcamHit, 0u);
    EXPECT_EQ(tbl.rsltIdx, 9u);
}

TEST(CmTcamLu1Hot, KeyAbove512BitsEndsTheProcessWithStatus0) {
    const auto run = [] {
        // What the search prints goes to standard output; a death test looks at standard error.
        dup2(STDERR_FILENO, STDOUT_FILENO);
        CmTcamTbl tbl = tblOf(513, 0, {});
        CmTcamLu1Hot(&tbl);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "^CmTcamLu1Hot: Key width \\(513\\) > 512 is not yet supported\n$");
}

TEST(CmHalfTcamLu, RowOfTwoShortEntriesIsReadForBothOfThem) {
    // Row 1 (entries 2 and 3): words 4 and 5 are X, 6 and 7 are Y; only words 4 and 6 are ever read.
    std::vector<uint32_t> tcam = {1, 1, 1, 1, 0xcafe, 0, ~0xcafeu, 0};
    CmTcamTbl tbl = tblOf(32, 4, tcam);
    tbl.u32Key = 0xcafe;
    tbl.rsltUnkIdx = 7;
    CmHalfTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 2u);
    EXPECT_EQ(tbl.hitCount, 99u) << "left alone";
    tcam[5] = tcam[7] = 1; // the odd entry's own words do not matter
    tbl.tcamBnkSiz = 1;
    tbl.tcamBnkEnMsk = 0b1000;
    CmHalfTcamLu(&tbl);
    EXPECT_EQ(tbl.rsltIdx, 3u);
    tbl.u32Key = 0xcaff;
    CmHalfTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 0u);
    EXPECT_EQ(tbl.rsltIdx, 7u);
}

TEST(CmHalfTcamLu, RowOfTwoLongEntries) {
    // Row 1: X of entry 2 is the 64-bit word 4, its Y the 64-bit word 6.
    std::vector<uint32_t> tcam(16, 1);
    tcam[8] = 0x11, tcam[9] = 0x22, tcam[12] = ~0x11u, tcam[13] = ~0x22u;
    const uint32_t rslt[] = {1, 2, 3, 4};
    CmTcamTbl tbl = tblOf(33, 4, tcam);
    tbl.u64Key = 0x1100000022;
    tbl.rsltSram = rslt;
    CmHalfTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 2u);
    EXPECT_EQ(tbl.u32Rslt, 3u);
    tcam[13] ^= 2; // X=Y=1
    CmHalfTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 0u);
}

TEST(CmHalfTcamLu, LongerKeysAndEntriesBeyondTheMemoryFindNothing) {
    const std::vector<uint32_t> tcam(8, 0);
    CmTcamTbl tbl = tblOf(65, 2, tcam);
    CmHalfTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 0u);
    tbl.keySiz = 64;
    CmHalfTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
    tbl.tcam = tbl.tcam.first(5);
    CmHalfTcamLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 0u);
}
