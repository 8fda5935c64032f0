// Flex keys: what the parsers record, and the bytes that the four profiles pick.

#include "frame_builder.h"
#include "model_fixture.h"
#include "prc/cmRtePrc.h"
#include "reg_name.h"

namespace {

class FlexKey : public ModelTest {
protected:
    /// A frame whose byte at every offset is the offset plus 1, so that no byte below 255 is 0.
    void setCountingFrame(size_t len) {
        std::vector<uint8_t> bytes;
        for (size_t i = 0; i < len; i++)
            bytes.push_back(static_cast<uint8_t>(i + 1));
        setFrame(bytes);
    }
    void setProfile(uint32_t k, uint32_t b, uint32_t hdr, uint32_t off) {
        const std::string kb = std::to_string(k) + "_" + std::to_string(b);
        comFld(com, "rte_flex_key_header_" + kb) = hdr;
        comFld(com, "rte_flex_key_offset_" + kb) = off;
    }
    /// Points every byte of every key at a header that no parser ever records.
    void clearProfiles() {
        for (uint32_t k = 0; k < 4; k++)
            for (uint32_t b = 0; b < 24; b++)
                setProfile(k, b, 31, 0);
    }
    /// Byte `b` of a key, counted as the profiles count.
    static uint32_t byteOf(const uint32_t *key, uint32_t b) { return key[5 - b / 4] >> b % 4 * 8 & 0xff; }
};

struct Kind {
    FLEX_KEY_ENC_T key;
    uint32_t value;
    const char *text;
    uint32_t base; // how far before the recorded place the registers count from
};
const Kind kKinds[] = {
    {FLEX_KEY_OUTER_MAC, 0, "OUTER_MAC", 0},
    {FLEX_KEY_OUTER_VLAN, 1, "OUTER_VLAN", 0},
    {FLEX_KEY_TRILL, 2, "TRILL", 0},
    {FLEX_KEY_INNER_MAC, 3, "INNER_MAC", 0},
    {FLEX_KEY_SVLAN, 4, "SVLAN", 0},
    {FLEX_KEY_CVLAN, 5, "CVLAN", 0},
    {FLEX_KEY_LLC, 6, "LLC", 2},
    {FLEX_KEY_SNAP, 7, "SNAP", 0},
    {FLEX_KEY_CN_TAG, 8, "CN_TAG", 0},
    {FLEX_KEY_FIP, 9, "FIP", 0},
    {FLEX_KEY_FCOE, 10, "FCOE", 0},
    {FLEX_KEY_VSAN, 11, "VSAN", 0},
    {FLEX_KEY_FC, 12, "FC", 0},
    {FLEX_KEY_OUTER_IPV4, 13, "OUTER_IPV4", 0},
    {FLEX_KEY_OUTER_IPV6, 14, "OUTER_IPV6", 0},
    {FLEX_KEY_PIM, 15, "PIM", 2},
    {FLEX_KEY_INNER_IPV4, 16, "INNER_IPV4", 2},
    {FLEX_KEY_INNER_IPV6, 17, "INNER_IPV6", 2},
    {FLEX_KEY_ICMPV4, 18, "ICMPV4", 2},
    {FLEX_KEY_TCP, 19, "TCP", 2},
    {FLEX_KEY_UDP, 20, "UDP", 2},
    {FLEX_KEY_NON_TCP_UDP_AFTER_IP, 21, "NON_TCP_UDP_AFTER_IP", 2},
    {FLEX_KEY_ICMPV6, 22, "ICMPV6", 2},
};

TEST_F(FlexKey, EveryKindHasItsNumberItsNameAndItsPlace) {
    setCountingFrame(64);
    stat.ingPhyPort = 3;
    stat.frmIdx = 7;
    verbose(true);
    for (const Kind &kind : kKinds) {
        EXPECT_EQ(kind.key, kind.value);
        const std::string num = std::to_string(kind.value);
        const uint32_t offset = 20 + kind.value; // holds the byte 21 + value, 0x15 + value
        char val[8];
        std::snprintf(val, sizeof val, "%x", 21 + kind.value);
        EXPECT_EQ(printed([&] { detectFlexKey(&stat, kind.key, offset); }),
                  "CM port=3, frameIdx=7>> Flex key " + std::string(kind.text) + " (" + num +
                      ") detected at offset=" + std::to_string(offset) + " val=0x" + val + "\n");
        EXPECT_EQ(stat.flexKeyDetected[kind.value], 1u);
        EXPECT_EQ(stat.flexKeyOffset[kind.value], offset);
    }
}

TEST_F(FlexKey, SecondDetectionSaysSoAndWins) {
    setCountingFrame(64);
    detectFlexKey(&stat, FLEX_KEY_NON_TCP_UDP_AFTER_IP, 34);
    verbose(true);
    EXPECT_EQ(printed([&] { detectFlexKey(&stat, FLEX_KEY_NON_TCP_UDP_AFTER_IP, 62); }),
              "CM port=0, frameIdx=0>> Flex key NON_TCP_UDP_AFTER_IP (21) was previously detected at offset=34, new "
              "offset=62\n"
              "CM port=0, frameIdx=0>> Flex key NON_TCP_UDP_AFTER_IP (21) detected at offset=62 val=0x3f\n");
    EXPECT_EQ(stat.flexKeyOffset[21], 62u);
    verbose(false);

    clearProfiles();
    for (uint32_t b = 0; b < 24; b++)
        setProfile(0, b, 21, 2);
    extractFlexKey(&stat);
    for (uint32_t b = 0; b < 24; b++)
        EXPECT_EQ(byteOf(stat.flexKey0, b), 63u) << b;
}

TEST_F(FlexKey, DetectionIsTracedAboveLevelOne) {
    setCountingFrame(64);
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { detectFlexKey(&stat, FLEX_KEY_TCP, 34); }), "");
    EXPECT_EQ(printed([&] { detectFlexKey(&stat, FLEX_KEY_TCP, 35); }), "");
    stat.dbgLvl = 2;
    EXPECT_NE(printed([&] { detectFlexKey(&stat, FLEX_KEY_TCP, 34); }), "");
}

TEST_F(FlexKey, DetectionBehindTheFrameReadsZero) {
    setCountingFrame(64);
    verbose(true);
    EXPECT_EQ(printed([&] { detectFlexKey(&stat, FLEX_KEY_ICMPV6, 5000); }),
              "CM port=0, frameIdx=0>> Flex key ICMPV6 (22) detected at offset=5000 val=0x0\n");
}

TEST_F(FlexKey, EveryKindCountsFromItsBase) {
    setCountingFrame(100);
    for (const Kind &kind : kKinds) {
        clearProfiles();
        detectFlexKey(&stat, kind.key, 40);
        setProfile(2, 5, kind.value, 9);
        extractFlexKey(&stat);
        EXPECT_EQ(byteOf(stat.flexKey2, 5), 40 + 9 - kind.base + 1) << kind.text;
    }
}

TEST_F(FlexKey, EveryProfileFillsItsOwnByte) {
    setCountingFrame(120);
    detectFlexKey(&stat, FLEX_KEY_OUTER_MAC, 0);
    for (uint32_t k = 0; k < 4; k++)
        for (uint32_t b = 0; b < 24; b++)
            setProfile(k, b, 0, 24 * k + b);
    extractFlexKey(&stat);
    const uint32_t *const keys[] = {stat.flexKey0, stat.flexKey1, stat.flexKey2, stat.flexKey3};
    for (uint32_t k = 0; k < 4; k++)
        for (uint32_t b = 0; b < 24; b++)
            EXPECT_EQ(byteOf(keys[k], b), 24 * k + b + 1) << k << "_" << b;
}

TEST_F(FlexKey, WordFiveHoldsTheFirstBytesTheLowestOneFirst) {
    setCountingFrame(64);
    detectFlexKey(&stat, FLEX_KEY_OUTER_MAC, 0);
    for (uint32_t b = 0; b < 24; b++)
        setProfile(1, b, 0, b);
    extractFlexKey(&stat);
    const uint32_t expected[6] = {0x18171615, 0x14131211, 0x100f0e0d, 0x0c0b0a09, 0x08070605, 0x04030201};
    for (uint32_t w = 0; w < 6; w++)
        EXPECT_EQ(stat.flexKey1[w], expected[w]) << w;
}

TEST_F(FlexKey, UndetectedHeaderGivesZeroInSilence) {
    setCountingFrame(64);
    stat.flexKey0[5] = 0xffffffff;
    for (uint32_t b = 0; b < 24; b++)
        setProfile(0, b, FLEX_KEY_UDP, 63);
    verbose(true);
    EXPECT_EQ(printed([&] { extractFlexKey(&stat); }), "");
    for (uint32_t w = 0; w < 6; w++)
        EXPECT_EQ(stat.flexKey0[w], 0u);
}

TEST_F(FlexKey, HeaderNumbersWithoutAKindCountAsUndetected) {
    setCountingFrame(64);
    for (uint32_t &detected : stat.flexKeyDetected)
        detected = 1;
    stat.flexKeyDetected[23] = 0;
    verbose(true);
    for (uint32_t hdr = 23; hdr < 32; hdr++) {
        clearProfiles();
        setProfile(3, 0, hdr, 10);
        EXPECT_EQ(printed([&] { extractFlexKey(&stat); }), "") << hdr;
        EXPECT_EQ(stat.flexKey3[5], 0u) << hdr;
    }
}

TEST_F(FlexKey, BytePastTheFrameIsZeroWithAMessage) {
    setCountingFrame(46); // frmLen 50
    frameBuf[50] = 0xaa;
    clearProfiles();
    detectFlexKey(&stat, FLEX_KEY_OUTER_MAC, 0);
    setProfile(0, 0, 0, 45);
    setProfile(0, 1, 0, 49);
    setProfile(0, 2, 0, 50);
    frameBuf[49] = 0x55;
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { extractFlexKey(&stat); }),
              "Flex key 0 offset 50 is either larger than frame length (50) or max length (256).\n");
    EXPECT_EQ(stat.flexKey0[5], 0x0000552eu); // the place of the FCS counts as frame
    stat.dbgLvl = 0;
    EXPECT_EQ(printed([&] { extractFlexKey(&stat); }), "");
    EXPECT_EQ(stat.flexKey0[5], 0x0000552eu);
}

TEST_F(FlexKey, LongFrameEndsAt256Bytes) {
    setCountingFrame(600);
    clearProfiles();
    detectFlexKey(&stat, FLEX_KEY_TCP, 230);
    setProfile(0, 0, FLEX_KEY_TCP, 26); // 254
    setProfile(0, 1, FLEX_KEY_TCP, 27); // 255
    setProfile(0, 2, FLEX_KEY_TCP, 28); // 256
    frameBuf[255] = 0x77;
    frameBuf[256] = 0x88;
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { extractFlexKey(&stat); }),
              "Flex key 19 offset 256 is either larger than frame length (604) or max length (256).\n");
    EXPECT_EQ(stat.flexKey0[5], 0x000077ffu);
}

TEST_F(FlexKey, OffsetBelowTheFrameIsZeroWithAMessage) {
    setCountingFrame(64);
    clearProfiles();
    detectFlexKey(&stat, FLEX_KEY_LLC, 0);
    setProfile(0, 0, FLEX_KEY_LLC, 1);
    setProfile(0, 1, FLEX_KEY_LLC, 2);
    stat.dbgLvl = 1;
    EXPECT_EQ(printed([&] { extractFlexKey(&stat); }),
              "Flex key 6 offset -1 is either larger than frame length (68) or max length (256).\n");
    EXPECT_EQ(stat.flexKey0[5], 0x00000100u);
}

TEST_F(FlexKey, FrameOfAnyLengthIsReadToItsEndOnly) {
    for (uint32_t len = 1; len <= 70; len++) {
        resetStat();
        frameBuf.assign(200, 0xee);
        stat.frm = frameBuf.data();
        setFrameLen(len);
        clearProfiles();
        detectFlexKey(&stat, FLEX_KEY_OUTER_MAC, 0);
        for (uint32_t k = 0; k < 4; k++)
            for (uint32_t b = 0; b < 16; b++)
                setProfile(k, b, 0, 16 * k + b); // six-bit offsets reach 63
        extractFlexKey(&stat);
        const uint32_t *const keys[] = {stat.flexKey0, stat.flexKey1, stat.flexKey2, stat.flexKey3};
        for (uint32_t off = 0; off < 64; off++)
            ASSERT_EQ(byteOf(keys[off / 16], off % 16), off < len ? 0xeeu : 0u) << len << " " << off;
    }
}

} // namespace
