// The exact match of the layer-3 ACL, and how its result takes the place of a bank.

#include "tae_l3_fixture.h"

using TaeL3Exm = TaeL3;

// Exact match.

TEST_F(TaeL3Exm, Ipv4ExactMatchInTheOverflowTcam) {
    clearExm();
    exmKey[0] = 0x3abcde;
    for (const uint32_t idx : {0u, 255u}) {
        ipv4ExmEntry(idx, exmKey, {{"nxt_hop_rslt_idx", idx + 1}});
        L3PselRslt out = {};
        exmCfg(kExmCfg4);
        EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 1u);
        EXPECT_EQ(out.nxt_hop_rslt_idx, idx + 1);
        exmKey[2] ^= 1;
        EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
        exmKey[2] ^= 1;
        exmCfg(0);
        EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
        exmCfg(kExmCfg4 | 1u << 18);
        EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
        clearExm();
    }
}

TEST_F(TaeL3Exm, Ipv6ExactMatchInTheOverflowTcam) {
    clearExm();
    exmKey[0] = 0xfabcd;
    for (const uint32_t idx : {0u, 127u}) {
        ipv6ExmEntry(idx, exmKey, {{"nxt_hop_rslt_idx", idx + 1}});
        L3PselRslt out = {};
        exmCfg(kExmCfg6);
        EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 1u);
        EXPECT_EQ(out.nxt_hop_rslt_idx, idx + 1);
        for (uint32_t w = 0; w < 9; w++) {
            exmKey[w] ^= 1;
            EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u) << w;
            exmKey[w] ^= 1;
        }
        exmCfg(0);
        EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u);
        exmCfg(kExmCfg6 | 1u << 8);
        EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u);
        clearExm();
    }
}

TEST_F(TaeL3Exm, MissLeavesTheExactMatchResultAlone) {
    clearExm();
    exmCfg(kExmCfg4 | kExmCfg6);
    L3PselRslt out = {};
    out.nxt_hop_rslt_idx = 0x777;
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u);
    EXPECT_EQ(out.nxt_hop_rslt_idx, 0x777u);
}

// A result's word 0 has no field, nor have the six lowest bits of word 1.
constexpr Words kBucketRslt = {0, 0x05060700, 0x090a0b0c, 0x0d0e0f10};

// Every index word names the same bucket, so the bucket holds the key whatever its hash.
TEST_F(TaeL3Exm, Ipv4ExactMatchInABucket) {
    clearExm();
    exmCfg(kExmCfg4);
    exmKey[0] = 0x2abcde;
    const uint32_t bucket = 4000;
    const uint32_t pos = 7;
    std::fill(std::begin(tae.mem.TAE_IPV4_EXM_IDX), std::end(tae.mem.TAE_IPV4_EXM_IDX), bucket);
    uint32_t *entry = tae.mem.TAE_IPV4_EXM_BKT + 4 * (8 * bucket + pos);
    std::copy_n(exmKey, 3, entry + 1);
    const Words words = {0x01020304, 0x05060708, 0x090a0b0c, 0x0d0e0f10};
    std::copy(words.begin(), words.end(), tae.mem.TAE_IPV4_EXM_RSLT + 4 * (8 * bucket + pos));
    L3PselRslt out = {};
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 1u);
    EXPECT_EQ(packed(out), kBucketRslt);
}

TEST_F(TaeL3Exm, Ipv6ExactMatchInABucket) {
    clearExm();
    exmCfg(kExmCfg6);
    const uint32_t bucket = 1000;
    const uint32_t pos = 3;
    std::fill(std::begin(tae.mem.TAE_IPV6_EXM_IDX), std::end(tae.mem.TAE_IPV6_EXM_IDX), bucket);
    uint32_t *entry = tae.mem.TAE_IPV6_EXM_BKT + 16 * (8 * bucket + pos);
    std::copy_n(exmKey, 9, entry + 7);
    const Words words = {0x01020304, 0x05060708, 0x090a0b0c, 0x0d0e0f10};
    std::copy(words.begin(), words.end(), tae.mem.TAE_IPV6_EXM_RSLT + 4 * (8 * bucket + pos));
    L3PselRslt out = {};
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 1u);
    EXPECT_EQ(packed(out), kBucketRslt);
}

// The results of the last 256 and 128 entries belong to the overflow TCAM.
TEST_F(TaeL3Exm, BucketHitInTheOverflowRangeCountsOnlyWhenAllowed) {
    clearExm();
    std::fill(std::begin(tae.mem.TAE_IPV4_EXM_IDX), std::end(tae.mem.TAE_IPV4_EXM_IDX), 4064u);
    std::copy_n(exmKey, 3, tae.mem.TAE_IPV4_EXM_BKT + 4 * 8 * 4064 + 1);
    std::fill(std::begin(tae.mem.TAE_IPV6_EXM_IDX), std::end(tae.mem.TAE_IPV6_EXM_IDX), 1008u);
    std::copy_n(exmKey, 9, tae.mem.TAE_IPV6_EXM_BKT + 16 * 8 * 1008 + 7);
    L3PselRslt out = {};
    exmCfg(kExmCfg4 | kExmCfg6 | 1u << 7);
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 0u);
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 1u);
    exmCfg(kExmCfg4 | kExmCfg6 | 1u << 17);
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 1u);
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 0u);
    // One bucket lower is below the range.
    exmCfg(kExmCfg4 | kExmCfg6);
    std::fill(std::begin(tae.mem.TAE_IPV4_EXM_IDX), std::end(tae.mem.TAE_IPV4_EXM_IDX), 4063u);
    std::copy_n(exmKey, 3, tae.mem.TAE_IPV4_EXM_BKT + 4 * (8 * 4063 + 7) + 1);
    std::fill(std::begin(tae.mem.TAE_IPV6_EXM_IDX), std::end(tae.mem.TAE_IPV6_EXM_IDX), 1007u);
    std::copy_n(exmKey, 9, tae.mem.TAE_IPV6_EXM_BKT + 16 * (8 * 1007 + 7) + 7);
    EXPECT_EQ(tae.doIpv4ExmLu(exmKey, &out), 1u);
    EXPECT_EQ(tae.doIpv6ExmLu(exmKey, &out), 1u);
}

// A swap exchanges bits 2n and 2n + 1 of a segment, so a key with the one bit 2n under a swap hashes as the key with
// bit 2n + 1 without one. The bucket that each hash finds is told from the result.
TEST_F(TaeL3Exm, SwapRegistersSteerTheSegmentsFromTheTop) {
    clearExm();
    exmCfg(kExmCfg4 | kExmCfg6);
    const auto hash4 = [&](std::array<uint32_t, 3> key) {
        for (uint32_t i = 0; i < std::size(tae.mem.TAE_IPV4_EXM_IDX); i++)
            tae.mem.TAE_IPV4_EXM_IDX[i] = i >> 3 & 0xfff;
        std::fill(std::begin(tae.mem.TAE_IPV4_EXM_BKT), std::end(tae.mem.TAE_IPV4_EXM_BKT), 0u);
        for (uint32_t bucket = 0; bucket < 4064; bucket++) {
            std::copy(key.begin(), key.end(), tae.mem.TAE_IPV4_EXM_BKT + 32 * bucket + 1);
            tae.mem.TAE_IPV4_EXM_RSLT[32 * bucket + 3] = bucket << 4; // nxt_hop_rslt_idx
        }
        L3PselRslt out = {};
        const uint32_t hit = tae.doIpv4ExmLu(key.data(), &out);
        return std::pair(hit, out.nxt_hop_rslt_idx);
    };
    const std::pair<std::array<uint32_t, 3>, std::array<uint32_t, 3>> rows4[] = {
        {{0x10, 0, 0}, {0x20, 0, 0}},
        {{0, 0x10, 0}, {0, 0x20, 0}},
    };
    for (uint32_t reg = 0; reg < 2; reg++) {
        const std::string name = "TAE_IPV4_EXM_KEY_SWAP_CTRL_" + std::to_string(reg) + "_REG";
        const auto plain = hash4(rows4[reg].second);
        EXPECT_NE(hash4(rows4[reg].first), plain);
        setReg(name, reg == 0 ? 1u << 2 : 1u << 18); // bit pair 2 of segment 0; pair 18 is bits 36 and 37
        EXPECT_EQ(hash4(rows4[reg].first), plain);
        setReg(name, 0);
    }

    const auto hash6 = [&](std::array<uint32_t, 9> key) {
        for (uint32_t i = 0; i < std::size(tae.mem.TAE_IPV6_EXM_IDX); i++)
            tae.mem.TAE_IPV6_EXM_IDX[i] = i >> 3 & 0x3ff;
        std::fill(std::begin(tae.mem.TAE_IPV6_EXM_BKT), std::end(tae.mem.TAE_IPV6_EXM_BKT), 0u);
        for (uint32_t bucket = 0; bucket < 1008; bucket++) {
            std::copy(key.begin(), key.end(), tae.mem.TAE_IPV6_EXM_BKT + 128 * bucket + 7);
            tae.mem.TAE_IPV6_EXM_RSLT[32 * bucket + 3] = bucket << 4; // nxt_hop_rslt_idx
        }
        L3PselRslt out = {};
        const uint32_t hit = tae.doIpv6ExmLu(key.data(), &out);
        return std::pair(hit, out.nxt_hop_rslt_idx);
    };
    for (uint32_t reg = 0; reg < 5; reg++) {
        const std::string name = "TAE_IPV6_EXM_KEY_SWAP_CTRL_" + std::to_string(reg) + "_REG";
        std::array<uint32_t, 9> even = {};
        std::array<uint32_t, 9> odd = {};
        even[2 * reg] = 0x10; // the low word of the segment
        odd[2 * reg] = 0x20;
        const auto plain = hash6(odd);
        EXPECT_NE(hash6(even), plain) << reg;
        setReg(name, 1u << 2);
        EXPECT_EQ(hash6(even), plain) << reg;
        setReg(name, 0);
    }
}

TEST_F(TaeL3Exm, ExactMatchTraceIsPrintedInEachCase) {
    clearExm();
    EXPECT_EQ(trace(), kNoIpv4Exm); // off
    exmCfg(kExmCfg4 | 31u << 12);
    EXPECT_EQ(trace(), kNoIpv4Exm); // miss
    ipv4ExmEntry(0, exmKey, {{"trap_que", 5}, {"pol_id", 0x3fff}, {"l2_egr_prio", 6}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [L3Acl] IPv4 EXM result=0x00000000_05000000_0000fffc_00000006\n");
    frameIs(kIpv6Sel);
    EXPECT_EQ(trace(), kNoIpv6Exm);
    exmCfg(kExmCfg6 | 31u << 2);
    ipv6ExmEntry(0, exmKey, {{"prio_pth", 1}, {"trap_en", 1}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [L3Acl] IPv6 EXM result=0x00000000_80000000_00000000_80000000\n");
    frameIs(kFcoeSel);
    EXPECT_EQ(trace(), "");
}

TEST_F(TaeL3Exm, ExactMatchKeyTakesTheUserId) {
    clearExm();
    intf.l3Cugid = 0x1abc;
    exmCfg(kExmCfg4 | 1u << 10);
    uint32_t key[9];
    std::copy_n(exmKey, 9, key);
    key[0] = 0x1abc << 9;
    ipv4ExmEntry(3, key, {{"dscp_en", 1}});
    lookup();
    EXPECT_EQ(got("dscp_en"), 1u);
    EXPECT_EQ(exmKey[0], 0u);
    frameIs(kIpv6Sel);
    exmCfg(kExmCfg6 | 1u);
    key[0] = 0x1abc << 7;
    ipv6ExmEntry(3, key, {{"pol_en", 1}});
    lookup();
    EXPECT_EQ(got("pol_en"), 1u);
    EXPECT_EQ(exmKey[0], 0u);
}

// Selection.

TEST_F(TaeL3Exm, ExactMatchTakesThePlaceOfItsBank) {
    clearExm();
    hitBank(4, {{"span_en", 1}, {"span_id", 4}});
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 7}});
    exmCfg(kExmCfg4 | 4u << 12);
    expectRslt({{"span_en", 1}, {"span_id", 7}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [L3Acl] IPv4 EXM result=0x00000000_00000000_00000000_3c000000\n"
                       "CM port=3, frameIdx=7>> [lookupL3Acl] ipv4 EXM result replaced TCAM bank 4\n");
}

TEST_F(TaeL3Exm, TheTraceShowsTheWholeWordsOfAResult) {
    clearExm();
    exmCfg(kExmCfg4 | 4u << 12);
    ipv4ExmEntry(0, exmKey, {});
    uint32_t *words = tae.mem.TAE_IPV4_EXM_RSLT + 4 * (32768 - 256);
    words[0] = 0x12345678; // no field
    words[1] = 0x0000003f; // nor here
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [L3Acl] IPv4 EXM result=0x12345678_0000003f_00000000_00000000\n"
                       "CM port=3, frameIdx=7>> [lookupL3Acl] ipv4 EXM result replaced TCAM bank 4\n");
    expectRslt({});
}

TEST_F(TaeL3Exm, ExactMatchWorksInABankThatIsOff) {
    clearExm();
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 7}});
    for (const uint32_t bank : {0u, 29u}) {
        exmCfg(kExmCfg4 | bank << 12);
        configure(bank, ACLT_L2_IP, 31);
        expectRslt({{"span_en", 1}, {"span_id", 7}});
    }
    for (const uint32_t bank : {30u, 31u}) {
        exmCfg(kExmCfg4 | bank << 12);
        expectRslt({});
    }
}

TEST_F(TaeL3Exm, ExactMatchLosesToAWinnerOfItsGroupInALowerBank) {
    clearExm();
    enable(4, ACLT_L3_IPV4, 2);
    tcamEntry(4, 0, fixedKey);
    // Of the loser no field at all is seen.
    result(4, 0, {{"span_en", 1}, {"span_id", 4}, {"dscp_en", 1}});
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 7}, {"pol_en", 1}});
    configure(3, ACLT_L3_IPV4, 2);
    exmCfg(kExmCfg4 | 3u << 12);
    expectRslt({{"span_en", 1}, {"span_id", 7}, {"pol_en", 1}});
    configure(5, ACLT_L3_IPV4, 2);
    exmCfg(kExmCfg4 | 5u << 12);
    expectRslt({{"span_en", 1}, {"span_id", 4}, {"dscp_en", 1}});
    // In another group both count.
    configure(5, ACLT_L3_IPV4, 3);
    expectRslt({{"span_en", 1}, {"span_id", 4}, {"dscp_en", 1}, {"pol_en", 1}});
}

TEST_F(TaeL3Exm, Ipv6ExactMatchTakesThePlaceOfItsBank) {
    clearExm();
    frameIs(kIpv6Sel);
    enable(2, ACLT_L3_IPV6, 0);
    enable(3, ACLT_L3_IPV6, 0);
    tcamEntry(2, 1, fixedKey);
    tcamEntry(3, 1, fixedKey + 8);
    result(2, 1, {{"span_en", 1}, {"span_id", 2}});
    ipv6ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 6}});
    exmCfg(kExmCfg6 | 2u << 2 | kExmCfg4 | 2u << 12);
    expectRslt({{"span_en", 1}, {"span_id", 6}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [lookupL3Acl] ipv6 master bank 2 hits at index 0x1 logicalGrpId=0\n"
                       "CM port=3, frameIdx=7>> [L3Acl] IPv6 EXM result=0x00000000_00000000_00000000_34000000\n"
                       "CM port=3, frameIdx=7>> [lookupL3Acl] ipv6 EXM result replaced TCAM bank 2\n");
    tae.dbgLvl = 0;
    exmCfg(kExmCfg6 | 3u << 2); // the pair's winner stands in the even bank
    expectRslt({{"span_en", 1}, {"span_id", 2}});
}

TEST_F(TaeL3Exm, Ipv4ExactMatchComesBeforeIpv6InTheSameBank) {
    clearExm();
    intf.isIpv6 = 1; // both
    ipv4ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 4}});
    ipv6ExmEntry(0, exmKey, {{"span_en", 1}, {"span_id", 6}});
    exmCfg(kExmCfg4 | 9u << 12 | kExmCfg6 | 9u << 2);
    expectRslt({{"span_en", 1}, {"span_id", 4}});
}
