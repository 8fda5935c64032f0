#include "base/cmUtl.h"

#include <cstring>
#include <gtest/gtest.h>
#include <vector>

namespace {

const uint8_t kBytes[] = {0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xde, 0xf0};
const uint8_t kCheck[] = {'1', '2', '3', '4', '5', '6', '7', '8', '9'}; // CRC-32 0xcbf43926

TEST(CmUtlBits, CutFields) {
    EXPECT_EQ(bits(0x12345678, 31, 0), 0x12345678u);
    EXPECT_EQ(bits(0x12345678, 15, 8), 0x56u);
    EXPECT_EQ(bits(0x80000000, 31, 31), 1u);
    EXPECT_EQ(bit(0x4, 2), 1u);
    EXPECT_EQ(bit(0x4, 3), 0u);
    EXPECT_EQ(bit(0xffffffff, 32), 0u);
    EXPECT_EQ(bits64(0x123456789abcdef0, 63, 60), 0x1u);
    EXPECT_EQ(bits64(0x123456789abcdef0, 39, 20), 0x789abu);
    EXPECT_EQ(bits64(0x123456789abcdef0, 63, 0), 0x123456789abcdef0u);
    EXPECT_EQ(setBits(0xffffffff, 15, 8, 0x12), 0xffff12ffu);
    EXPECT_EQ(setBits(0, 3, 0, 0x1f), 0xfu);
}

TEST(CmGet, FirstByteIsMostSignificant) {
    uint32_t dword = 0;
    const uint32_t dwords[] = {0x12, 0x1234, 0x123456, 0x12345678};
    for (uint32_t n = 1; n <= 4; n++) {
        CmGetDword(n, kBytes, &dword);
        EXPECT_EQ(dword, dwords[n - 1]);
    }
    uint64_t qword = 0;
    CmGetQword(6, kBytes, &qword);
    EXPECT_EQ(qword, 0x123456789abcu);
    CmGetQword(8, kBytes, &qword);
    EXPECT_EQ(qword, 0x123456789abcdef0u);
}

TEST(CmGet, NothingReadsAsZero) {
    uint32_t dword = 5;
    CmGetDword(0, kBytes, &dword);
    EXPECT_EQ(dword, 0u);
    uint64_t qword = 5;
    CmGetQword(0, kBytes, &qword);
    EXPECT_EQ(qword, 0u);
}

using Bytes = std::vector<uint8_t>;

TEST(CmSet, LowBytesMostSignificantFirst) {
    Bytes buf(4, 0xee);
    CmSetDword(0x12345678, 2, buf.data());
    EXPECT_EQ(buf, (Bytes{0x56, 0x78, 0xee, 0xee}));
    CmSetDword(0x12345678, 4, buf.data());
    EXPECT_EQ(buf, (Bytes{0x12, 0x34, 0x56, 0x78}));
    buf.assign(9, 0xee);
    CmSetQword(0x123456789abcdef0, 8, buf.data());
    EXPECT_EQ(buf, (Bytes{0x12, 0x34, 0x56, 0x78, 0x9a, 0xbc, 0xde, 0xf0, 0xee}));
    buf.assign(16, 0xee);
    CmSetDqword(0x0102030405060708, 0x1112131415161718, 16, buf.data());
    EXPECT_EQ(buf, (Bytes{1, 2, 3, 4, 5, 6, 7, 8, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18}));
    buf.assign(12, 0xee);
    CmSetDqword(0x0102030405060708, 0x1112131415161718, 10, buf.data());
    EXPECT_EQ(buf, (Bytes{7, 8, 0x11, 0x12, 0x13, 0x14, 0x15, 0x16, 0x17, 0x18, 0xee, 0xee}));
    buf.assign(4, 0xee);
    CmSetDqword(0x0102030405060708, 0x1112131415161718, 3, buf.data());
    EXPECT_EQ(buf, (Bytes{0x16, 0x17, 0x18, 0xee}));
}

TEST(CmSet, OtherLengthsWriteNothing) {
    const Bytes untouched(20, 0xee);
    Bytes buf = untouched;
    CmSetDword(~0u, 0, buf.data());
    CmSetDword(~0u, 5, buf.data());
    CmSetQword(~0ull, 0, buf.data());
    CmSetQword(~0ull, 9, buf.data());
    CmSetDqword(~0ull, ~0ull, 0, buf.data());
    CmSetDqword(~0ull, ~0ull, 17, buf.data());
    EXPECT_EQ(buf, untouched);
}

TEST(CmSwp, ExchangesTheBitsOfChosenPairs) {
    uint32_t out = 0;
    CmSwpU32(4, 0x6, 0x1, &out);
    EXPECT_EQ(out, 0x5u);
    CmSwpU32(4, 0x6, 0x2, &out);
    EXPECT_EQ(out, 0xau);
    CmSwpU32(4, 0xc, 0x3, &out); // 00 and 11 stay
    EXPECT_EQ(out, 0xcu);
    CmSwpU32(32, 0x55555555, 0xffff, &out);
    EXPECT_EQ(out, 0xaaaaaaaau);
}

TEST(CmSwp, BitsAboveTheLastPairAreZero) {
    uint32_t out = 0;
    CmSwpU32(5, 0xffffffff, 0, &out); // an odd size takes the whole last pair
    EXPECT_EQ(out, 0x3fu);
    uint64_t wide = 0;
    CmSwpU64(40, ~0ull, 0, &wide);
    EXPECT_EQ(wide, 0xffffffffffu);
}

TEST(CmSwp, WideKeyUsesThirtyTwoControlBits) {
    uint64_t out = 0;
    CmSwpU64(64, 0x5555555555555555, 0xffffffff, &out);
    EXPECT_EQ(out, 0xaaaaaaaaaaaaaaaau);
    CmSwpU64(64, 0x4000000000000001, 0x80000000, &out);
    EXPECT_EQ(out, 0x8000000000000001u);
}

TEST(ReverseKey, MiddleWordOfAnOddCountStays) {
    uint32_t odd[] = {1, 2, 3};
    reverseKey(odd, 3);
    EXPECT_EQ(std::vector<uint32_t>(odd, odd + 3), (std::vector<uint32_t>{3, 2, 1}));
    uint32_t even[] = {1, 2, 3, 4};
    reverseKey(even, 4);
    EXPECT_EQ(std::vector<uint32_t>(even, even + 4), (std::vector<uint32_t>{4, 3, 2, 1}));
}

TEST(CalcEnetCrc, StandsInWireOrder) {
    uint8_t crc[4];
    CalcEnetCrc(sizeof kCheck, kCheck, crc);
    const uint8_t wire[] = {0x26, 0x39, 0xf4, 0xcb};
    EXPECT_EQ(std::memcmp(crc, wire, 4), 0);
}

TEST(CalcEnetCrc, EmptyInputGivesAllOnes) {
    uint8_t crc[4] = {};
    CalcEnetCrc(0, kCheck, crc);
    for (uint8_t byte : crc)
        EXPECT_EQ(byte, 0xff);
}

TEST(CalcEnetCrc, ShortInputHasAShortStartValue) {
    // One byte 0xff starts from 0xff: the table's entry 0, which is 0, over 0; the complement is all ones.
    const uint8_t ones[] = {0xff, 0xff, 0xff, 0xff};
    uint8_t crc[4] = {};
    for (int len = 1; len <= 3; len++) {
        CalcEnetCrc(len, ones, crc);
        for (uint8_t byte : crc)
            EXPECT_EQ(byte, 0xff) << len;
    }
    CalcEnetCrc(4, ones, crc);
    for (uint8_t byte : crc)
        EXPECT_EQ(byte, 0xff);
    // One byte 0 takes the table's entry 0xff, 0x2d02ef8d.
    const uint8_t zero = 0;
    CalcEnetCrc(1, &zero, crc);
    const uint8_t expected[] = {0x72, 0x10, 0xfd, 0xd2};
    EXPECT_EQ(std::memcmp(crc, expected, 4), 0);
}

TEST(CmEnetCrcCalc, IsTheOtherCopyWithItsBytesReversed) {
    CmEnetCrcInit();
    EXPECT_EQ(CmEnetCrcCalc(sizeof kCheck, kCheck), 0x2639f4cbu);
    for (uint32_t len = 0; len <= sizeof kBytes; len++) {
        uint8_t crc[4];
        CalcEnetCrc(static_cast<int>(len), kBytes, crc);
        uint32_t value = 0;
        CmGetDword(4, crc, &value);
        EXPECT_EQ(CmEnetCrcCalc(len, kBytes), value) << len;
    }
}

TEST(CalcEnetCrc8, IsTheXorOfAllBytes) {
    uint8_t crc = 0;
    const uint8_t two[] = {0x12, 0x34};
    CalcEnetCrc8(2, two, &crc);
    EXPECT_EQ(crc, 0x26);
    CalcEnetCrc8(0, two, &crc);
    EXPECT_EQ(crc, 0);
}

TEST(RecalcEnetCrc, WritesTheLastFourBytes) {
    uint8_t frame[sizeof kCheck + 4] = {};
    std::memcpy(frame, kCheck, sizeof kCheck);
    EXPECT_EQ(recalcEnetCrc(frame, sizeof frame), 0);
    const uint8_t wire[] = {0x26, 0x39, 0xf4, 0xcb};
    EXPECT_EQ(std::memcmp(frame, kCheck, sizeof kCheck), 0);
    EXPECT_EQ(std::memcmp(frame + sizeof kCheck, wire, 4), 0);
}

} // namespace
