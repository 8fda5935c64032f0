#include "base/cmLu.h"

#include "base/cmUtl.h"
#include "tcam_image.h"

#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <utility>
#include <vector>

namespace {

/// An image of `entries` entries of `words` words that match nothing.
std::vector<uint32_t> deadTcam(uint32_t entries, uint32_t words) {
    std::vector<uint32_t> tcam(entries * words, 0);
    tcamOff(tcam, words);
    return tcam;
}

} // namespace

/// An exact-match table with buckets of 4 in 8 buckets, a 32-bit hash-to-bucket memory, two overflow entries that are
/// taken out, and 64-bit results that hold their own index.
class CmExm : public testing::Test {
protected:
    explicit CmExm(uint32_t words = 2)
        : bkt(32 * words, 0xffffffff), idx(32, 0), tcam(deadTcam(2, 2 * words)), rslt(64, 0) {
        CmEnetCrcInit();
        for (uint32_t i = 0; i < 32; i++) {
            rslt[2 * i] = 0x100 + i;
            rslt[2 * i + 1] = i;
        }
        tbl.hshKeySiz = words == 1 ? 32 : 64 * words / 2;
        tbl.hshIdxSram = idx;
        tbl.hshBktTotal = 4;
        tbl.hshBktSiz = 8;
        tbl.hshBktSram = bkt;
        tbl.tcamSiz = 2;
        tbl.tcam = tcam;
        tbl.rsltUnkIdx = 9;
        tbl.rsltSram = rslt;
        tbl.rsltHasQw = 1;
        tbl.hshVal = tbl.hshIdx = tbl.hshHit = tbl.tcamHit = tbl.rsltIdx = 77;
        tbl.u32Rslt = 77;
    }

    void setBkt(uint32_t entry, const std::vector<uint32_t> &keyWords) {
        std::copy(keyWords.begin(), keyWords.end(), bkt.begin() + static_cast<long>(entry * keyWords.size()));
    }
    void setBucketNumber(uint32_t number) { std::fill(idx.begin(), idx.end(), number); }

    std::vector<uint32_t> bkt, idx, tcam, rslt;
    CmExmTbl tbl;
};

static uint32_t crcOf(const std::vector<uint8_t> &bytes) {
    return CmEnetCrcCalc(static_cast<uint32_t>(bytes.size()), bytes.data());
}

TEST_F(CmExm, HashIsAsWideAsAllBucketEntriesTogether) {
    tbl.u64HshKey = 0x0102030405060708;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({1, 2, 3, 4, 5, 6, 7, 8}) & 0x1f);
    tbl.hshBktTotal = 1;
    tbl.hshBktSiz = 15; // highest set bit is bit 3
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({1, 2, 3, 4, 5, 6, 7, 8}) & 0x7);
    tbl.hshBktSiz = 1;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, 0u);
    tbl.hshBktTotal = tbl.hshBktSiz = 0;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, 0u);
    tbl.hshBktTotal = 0x10000;
    tbl.hshBktSiz = 0x10000;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST_F(CmExm, IndexEntryIsTheWholeWordAtTheHash) {
    tbl.u64HshKey = 0x1122334455667788;
    CmExmLu(&tbl);
    ASSERT_LT(tbl.hshVal, 32u);
    idx[tbl.hshVal] = 0x00010005;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshIdx, 0x00010005u);
    EXPECT_EQ(tbl.hshHit, 0u) << "no such bucket";
    EXPECT_EQ(tbl.rsltIdx, 9u);
    EXPECT_EQ(tbl.u64Rslt, 0x10900000009u);
    EXPECT_EQ(tbl.u32Rslt, 0u);
}

TEST_F(CmExm, FirstEqualEntryOfTheBucketHits) {
    tbl.u64HshKey = 0x1122334455667788;
    setBucketNumber(3);
    setBkt(4 * 3 + 1, {0x11223344, 0x55667788});
    setBkt(4 * 3 + 2, {0x11223344, 0x55667788});
    setBkt(4 * 2, {0x11223344, 0x55667788}); // in the neighbour bucket
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 1u);
    EXPECT_EQ(tbl.tcamHit, 0u);
    EXPECT_EQ(tbl.rsltIdx, 13u);
    EXPECT_EQ(tbl.u64Rslt, 0x10d0000000du);
    setBucketNumber(4);
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 0u);
}

TEST_F(CmExm, ResultOf32Bits) {
    tbl.rsltHasQw = 0;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.u32Rslt, 4u); // word 9: the low word of 64-bit result 4
    EXPECT_EQ(tbl.u64Rslt, 0u);
    tbl.rsltSram = {};
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.u32Rslt, 0u);
}

TEST_F(CmExm, BucketHitInTheTcamsResultsCountsOnlyWhenAllowed) {
    tbl.u64HshKey = 0x1122334455667788;
    setBucketNumber(7);
    setBkt(30, {0x11223344, 0x55667788}); // total - tcamSiz
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 0u);
    EXPECT_EQ(tbl.rsltIdx, 9u);
    tbl.alwHshHitTcamRng = 1;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 30u);

    tbl.alwHshHitTcamRng = 0;
    setBkt(29, {0x11223344, 0x55667788}); // the last index that belongs to the buckets alone
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 29u);
}

TEST_F(CmExm, EntryInTheTcamsResultsStopsTheWalkOfItsBucket) {
    tbl.u64HshKey = 5;
    tbl.tcamSiz = 3;
    setBucketNumber(7);
    setBkt(29, {0, 5});
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 0u);
}

TEST_F(CmExm, OverflowTcamResultsAreTheLast) {
    tbl.u64HshKey = 0x1122334455667788;
    tcamExact(tcam, 1, {0x11223344, 0x55667788});
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 0u);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 31u);
    tcamExact(tcam, 0, {0x11223344, 0x55667788});
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.rsltIdx, 30u);
    EXPECT_EQ(tbl.u64Rslt, 0x11e0000001eu);
}

TEST_F(CmExm, BucketWinsOverTheTcamAndBothFlagsStand) {
    tbl.u64HshKey = 0x1122334455667788;
    setBucketNumber(1);
    setBkt(4, {0x11223344, 0x55667788});
    tcamExact(tcam, 0, {0x11223344, 0x55667788});
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 1u);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 4u);
}

TEST_F(CmExm, BucketAndTcamComparePlainKeysNotSwappedOnes) {
    tbl.u64HshKey = 0x1;
    tbl.u64HshSwap = 0x1;
    setBucketNumber(2);
    setBkt(8, {0, 2});
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({0, 0, 0, 0, 0, 0, 0, 2}) & 0x1f);
    EXPECT_EQ(tbl.hshHit, 0u);
    setBkt(9, {0, 1});
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.rsltIdx, 9u);
    EXPECT_EQ(tbl.hshHit, 1u);
}

/// Wide enough a hash that equal values mean equal bytes.
static CmExmTbl wideHash(uint32_t keySiz) {
    CmEnetCrcInit();
    CmExmTbl tbl;
    tbl.hshKeySiz = keySiz;
    tbl.hshBktTotal = 1u << 16;
    tbl.hshBktSiz = 1u << 16;
    return tbl;
}

TEST(CmExmLu, HashesShortKeysInTheirBytes) {
    CmExmTbl tbl = wideHash(24);
    tbl.u32HshKey = 0x00123456;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({0x12, 0x34, 0x56}));
    tbl.u32HshSwap = 0x801; // pairs 0 and 11: bits 0, 1 and 22, 23
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({0x12, 0x34, 0x55}));
    tbl.u32HshKey = 0x00523456;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({0x92, 0x34, 0x55}));
}

TEST(CmExmLu, HashesKeysOfUpTo16Bytes) {
    CmExmTbl tbl = wideHash(78);
    tbl.u64HshKey = 0x1234;
    tbl.u64HshKey1 = 0x0000000000000001;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({0x12, 0x34, 0, 0, 0, 0, 0, 0, 0, 1}));
    tbl.u64HshSwap = 0x0000000280000001; // high word: pair 1 of the top part; low word: pairs 0 and 31 of the rest
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({0x12, 0x38, 0, 0, 0, 0, 0, 0, 0, 2}));
    tbl.u64HshKey1 = 0x4000000000000001;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({0x12, 0x38, 0x80, 0, 0, 0, 0, 0, 0, 2}));
    // The swap keeps no bit above the key.
    tbl.u64HshKey = 0xff34;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({0x3f, 0x38, 0x80, 0, 0, 0, 0, 0, 0, 2}));
}

TEST(CmExmLu, HashesKeysOfUpTo32Bytes) {
    CmExmTbl tbl = wideHash(136);
    tbl.u64HshKey = 0xdead; // no bit of the key is here
    tbl.u64HshKey1 = 0x01;
    tbl.u64HshKey2 = 0x0202030405060708;
    tbl.u64HshKey3 = 0x090a0b0c0d0e0f10;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({1, 2, 2, 3, 4, 5, 6, 7, 8, 9, 0xa, 0xb, 0xc, 0xd, 0xe, 0xf, 0x10}));
    tbl.u64HshSwap = 0x00000000'00000001;  // low word: second segment
    tbl.u64HshSwap1 = 0x10000000'00000001; // high word: third segment, low word: last
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({2, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0xa, 0xb, 0xc, 0xd, 0xe, 0xf, 0x10}));
    tbl.u64HshKey3 = 0x090a0b0c0d0e0f11;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf({2, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0xa, 0xb, 0xc, 0xd, 0xe, 0xf, 0x12}));

    CmExmTbl top = wideHash(200);
    top.u64HshKey = 0xab;
    top.u64HshSwap = 0x1'00000000; // high word: first segment
    top.u64HshKey3 = 1;
    CmExmLu(&top);
    std::vector<uint8_t> bytes(25, 0);
    bytes[0] = 0xab;
    bytes[24] = 1;
    EXPECT_EQ(top.hshVal, crcOf(bytes)); // pair 0 of 0xab is 3, which swaps to itself
    top.u64HshKey = 0xa9;
    bytes[0] = 0xaa;
    CmExmLu(&top);
    EXPECT_EQ(top.hshVal, crcOf(bytes));
}

TEST(CmExmLu, HashesKeysOfUpTo64BytesAsOneBigNumber) {
    CmExmTbl tbl = wideHash(512);
    std::vector<uint8_t> bytes;
    for (uint32_t i = 0; i < 64; i++)
        bytes.push_back(static_cast<uint8_t>(i + 1));
    uint64_t *const segLst[] = {&tbl.u64HshKey,  &tbl.u64HshKey1, &tbl.u64HshKey2, &tbl.u64HshKey3,
                                &tbl.u64HshKey4, &tbl.u64HshKey5, &tbl.u64HshKey6, &tbl.u64HshKey7};
    for (uint32_t i = 0; i < 64; i++)
        *segLst[i / 8] = *segLst[i / 8] << 8 | bytes[i];
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf(bytes));
    for (const uint32_t keyBytes : {33u, 41u, 48u, 49u, 56u, 57u}) {
        tbl.hshKeySiz = 8 * keyBytes;
        CmExmLu(&tbl);
        EXPECT_EQ(tbl.hshVal, crcOf({bytes.end() - keyBytes, bytes.end()})) << keyBytes;
    }
    tbl.hshKeySiz = 512;
    tbl.u64HshSwap3 = 0x1; // the last segment's pair 0
    bytes[63] = 0x40;      // 64 has 0 there and stays
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf(bytes));
    tbl.u64HshSwap3 = 0x00000002'00000000; // the seventh segment's pair 1: bits 3 and 2 of byte 56, 0x38
    bytes[55] = 0x34;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, crcOf(bytes));
}

TEST(CmExmLu, ComparesAllWidthClasses) {
    CmEnetCrcInit();
    struct {
        uint32_t keySiz;
        uint32_t words;
    } const rows[] = {{32, 1}, {33, 2}, {64, 2}, {65, 4}, {128, 4}, {129, 8}, {256, 8}, {257, 16}, {512, 16}};
    for (const auto &row : rows) {
        CmExmTbl tbl;
        tbl.hshKeySiz = row.keySiz;
        tbl.hshBktTotal = 2;
        tbl.hshBktSiz = 2;
        tbl.tcamSiz = 1;
        tbl.rsltUnkIdx = 8;
        tbl.u32HshKey = 0x1000;
        tbl.u64HshKey = 0x100000001001;
        tbl.u64HshKey1 = 0x100200001003;
        tbl.u64HshKey2 = 0x100400001005;
        tbl.u64HshKey3 = 0x100600001007;
        tbl.u64HshKey4 = 0x100800001009;
        tbl.u64HshKey5 = 0x100a0000100b;
        tbl.u64HshKey6 = 0x100c0000100d;
        tbl.u64HshKey7 = 0x100e0000100f;
        std::vector<uint32_t> keyWords;
        for (uint32_t i = 0; i < row.words; i++)
            keyWords.push_back(0x1000 + i);
        std::vector<uint32_t> bkt(4 * row.words, 0), tcam = deadTcam(1, 2 * row.words);
        const uint32_t idx[] = {0, 0, 0, 0};
        std::copy(keyWords.begin(), keyWords.end(), bkt.begin() + row.words);
        tbl.hshIdxSram = idx;
        tbl.hshBktSram = bkt;
        tbl.tcam = tcam;
        CmExmLu(&tbl);
        EXPECT_EQ(tbl.hshHit, 1u) << row.keySiz;
        EXPECT_EQ(tbl.rsltIdx, 1u) << row.keySiz;
        bkt[2 * row.words - 1] ^= 1;
        CmExmLu(&tbl);
        EXPECT_EQ(tbl.hshHit, 0u) << row.keySiz;
        tcamExact(tcam, 0, keyWords);
        CmExmLu(&tbl);
        EXPECT_EQ(tbl.tcamHit, 1u) << row.keySiz;
        EXPECT_EQ(tbl.rsltIdx, 3u) << row.keySiz;
        tcam[row.words - 1] ^= 0x80; // X=Y=1
        CmExmLu(&tbl);
        EXPECT_EQ(tbl.tcamHit, 0u) << row.keySiz;
        EXPECT_EQ(tbl.rsltIdx, 8u) << row.keySiz;
    }
}

TEST(CmExmLu, HashBeyondTheIndexMemoryReadsBucket0) {
    CmExmTbl tbl = wideHash(32);
    const uint32_t bkt[] = {0xfeed};
    tbl.u32HshKey = 0xfeed;
    tbl.hshBktSram = bkt;
    tbl.alwHshHitTcamRng = 1;
    CmExmLu(&tbl);
    EXPECT_EQ(tbl.hshIdx, 0u);
    EXPECT_EQ(tbl.hshHit, 1u);
}

TEST(CmExmLuDeathTest, KeyAbove512BitsAborts) {
    CmExmTbl tbl = wideHash(513);
    EXPECT_EXIT(CmExmLu(&tbl), testing::KilledBySignal(SIGABRT), "513 bits");
}

/// The layer-2 geometry on memories of the chip's size.
class CmL2Exm : public testing::Test {
protected:
    CmL2Exm() : idx(262144, 0), bkt(393216 * 4, 0), tcam(deadTcam(1024, 8)), rslt(393216 * 2, 0) {
        CmEnetCrcInit();
        tbl.hshKeySiz = 78;
        tbl.hshIdxSram = idx;
        tbl.hshBktTotal = 32;
        tbl.hshBktSiz = 0x3000;
        tbl.hshBktSram = bkt;
        tbl.tcamSiz = 1024;
        tbl.tcam = tcam;
        tbl.rsltSram = rslt;
        tbl.rsltHasQw = 1;
        tbl.rsltUnkIdx = 4;
        rslt[2 * 4 + 1] = 0x44;
    }

    /// Sets the key 0x1 followed by 16 hexadecimal digits of `low`, and returns its CRC.
    uint32_t setKey(uint64_t low) {
        tbl.u64HshKey = 1;
        tbl.u64HshKey1 = low;
        std::vector<uint8_t> bytes = {0, 1};
        for (uint32_t i = 0; i < 8; i++)
            bytes.push_back(static_cast<uint8_t>(low >> (56 - 8 * i)));
        return crcOf(bytes);
    }
    void setBkt(uint32_t entry, uint64_t low) {
        bkt[4 * entry + 1] = 1;
        bkt[4 * entry + 2] = static_cast<uint32_t>(low >> 32);
        bkt[4 * entry + 3] = static_cast<uint32_t>(low);
    }

    std::vector<uint32_t> idx, bkt, tcam, rslt;
    CmExmTbl tbl;
};

TEST_F(CmL2Exm, EvenHashTakesTheHighHalfOfTheIndexWordOddTheLow) {
    uint32_t seen = 0;
    for (uint64_t low = 1; seen != 3 && low < 100; low++) {
        const uint32_t crc = setKey(low);
        idx[(crc & 0x7ffff) >> 1] = 0xffff8123; // high half: all ones, low half: 0x0123 under bits that do not count
        CmL2ExmLu(&tbl);
        EXPECT_EQ(tbl.hshVal, crc & 0x7ffff);
        EXPECT_EQ(tbl.hshIdx, crc & 1 ? 0x0123u : 0x3fffu);
        idx[(crc & 0x7ffff) >> 1] = 0;
        seen |= 1u << (crc & 1);
    }
    EXPECT_EQ(seen, 3u);
}

TEST_F(CmL2Exm, BucketEntryGivesTheResultAtBucketAndPosition) {
    const uint32_t crc = setKey(0x123456789a);
    idx[(crc & 0x7ffff) >> 1] = 0x02000200;
    setBkt(0x200 * 32 + 31, 0x123456789a);
    rslt[2 * (0x200 * 32 + 31)] = 0xa;
    rslt[2 * (0x200 * 32 + 31) + 1] = 0xb;
    CmL2ExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 0x401fu);
    EXPECT_EQ(tbl.u64Rslt, 0xa0000000bu);
}

TEST_F(CmL2Exm, PositionHasFiveBitsWhateverTheBucketSize) {
    const uint32_t crc = setKey(7);
    idx[(crc & 0x7ffff) >> 1] = 0x00030003;
    tbl.hshBktTotal = 4;
    setBkt(3 * 4 + 2, 7);
    CmL2ExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 3u * 32 + 2);
}

TEST_F(CmL2Exm, BucketBeyondTheLastMatchesNothing) {
    const uint32_t crc = setKey(0);
    for (const auto &[bucket, hit] : {std::pair{0x2fffu, 1u}, std::pair{0x3000u, 0u}, std::pair{0x3fffu, 0u}}) {
        idx[(crc & 0x7ffff) >> 1] = bucket << 16 | bucket;
        bkt[4 * (0x2fff * 32) + 1] = 1;
        tbl.alwHshHitTcamRng = 1;
        CmL2ExmLu(&tbl);
        EXPECT_EQ(tbl.hshHit, hit) << bucket;
        EXPECT_EQ(tbl.rsltIdx, hit ? 0x2fffu * 32 : 4u);
    }
}

TEST_F(CmL2Exm, LastBucketsBelongToTheTcam) {
    const uint32_t crc = setKey(9);
    idx[(crc & 0x7ffff) >> 1] = 0x2fe02fe0; // bucket 12256 begins at 392192 = 393216 - 1024
    setBkt(392192, 9);
    CmL2ExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 0u);
    EXPECT_EQ(tbl.rsltIdx, 4u);
    EXPECT_EQ(tbl.u64Rslt, 0x44u);
    tbl.alwHshHitTcamRng = 1;
    CmL2ExmLu(&tbl);
    EXPECT_EQ(tbl.hshHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 392192u);
}

TEST_F(CmL2Exm, OverflowTcamResultsAreTheTop1024) {
    setKey(0x55);
    tcamExact(tcam, 1023, {0, 1, 0, 0x55});
    CmL2ExmLu(&tbl);
    EXPECT_EQ(tbl.tcamHit, 1u);
    EXPECT_EQ(tbl.rsltIdx, 393215u);
    tcamExact(tcam, 0, {0, 1, 0, 0x55});
    CmL2ExmLu(&tbl);
    EXPECT_EQ(tbl.rsltIdx, 392192u);
}

TEST_F(CmL2Exm, KeyAbove128BitsLeavesAllResults0) {
    tbl.hshKeySiz = 129;
    tbl.hshVal = tbl.hshIdx = tbl.hshHit = tbl.tcamHit = tbl.rsltIdx = tbl.u32Rslt = 7;
    tbl.u64Rslt = 7;
    CmL2ExmLu(&tbl);
    EXPECT_EQ(tbl.hshVal, 0u);
    EXPECT_EQ(tbl.hshIdx, 0u);
    EXPECT_EQ(tbl.hshHit, 0u);
    EXPECT_EQ(tbl.tcamHit, 0u);
    EXPECT_EQ(tbl.rsltIdx, 0u);
    EXPECT_EQ(tbl.u32Rslt, 0u);
    EXPECT_EQ(tbl.u64Rslt, 0u);
    tbl.hshKeySiz = 128;
    setKey(1);
    CmL2ExmLu(&tbl);
    EXPECT_EQ(tbl.rsltIdx, 4u);
}
