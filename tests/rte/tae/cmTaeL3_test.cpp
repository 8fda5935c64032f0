// The layer-3 search of the ACL engine: the result word, bank types and keys, IPv6 pairs, the user id in the key.

#include "tae_l3_fixture.h"

#include <csignal>

using TaeL3DeathTest = TaeL3;

// The result word.

/// Fills one field of the result word with ones and expects them at the field's bits alone.
#define EXPECT_PLACE(field)                                                                                            \
    do {                                                                                                               \
        L3PselRslt r = {};                                                                                             \
        r.field = 0xffffffff;                                                                                          \
        EXPECT_EQ(packed(r), wordsOf({{#field, 0xffffffff}})) << #field;                                               \
    } while (0)

TEST_F(TaeL3, ResultFieldsStandAtTheirBits) {
    EXPECT_PLACE(prio_pth);
    EXPECT_PLACE(qmg_prio);
    EXPECT_PLACE(trap_que);
    EXPECT_PLACE(drop_prcd);
    EXPECT_PLACE(dscp);
    EXPECT_PLACE(dscp_en);
    EXPECT_PLACE(l3_dscp_override);
    EXPECT_PLACE(bypass_eacl);
    EXPECT_PLACE(l3_acl_log_override);
    EXPECT_PLACE(l3_pol_override);
    EXPECT_PLACE(l3_trap_en_override);
    EXPECT_PLACE(sflow_profile);
    EXPECT_PLACE(sts_sflow_idx);
    EXPECT_PLACE(pol_en);
    EXPECT_PLACE(pol_id);
    EXPECT_PLACE(fwd_en);
    EXPECT_PLACE(sts_sflow_en);
    EXPECT_PLACE(trap_en);
    EXPECT_PLACE(prio_en);
    EXPECT_PLACE(span_id);
    EXPECT_PLACE(span_en);
    EXPECT_PLACE(acl_log);
    EXPECT_PLACE(l3_fwd_override);
    EXPECT_PLACE(l3_prio_override);
    EXPECT_PLACE(l3_span_override);
    EXPECT_PLACE(nxt_hop_rslt_idx);
    EXPECT_PLACE(sflow_en);
    EXPECT_PLACE(l2_egr_prio);
}

TEST_F(TaeL3, BankResultIsReversedIntoTheFourWords) {
    const uint32_t lowestFirst[4] = {0x44444444, 0x33333333, 0x22222222, 0x000000a5};
    for (const uint32_t bank : {0u, 11u, 12u, 29u}) {
        const uint32_t idx = bank < 12 ? 4095 : 511;
        tae.getAclRsltBlockPointer(static_cast<int>(bank))->writeRaw(idx, lowestFirst);
        L3PselRslt out;
        std::memset(&out, 0xff, sizeof out);
        tae.readL3AclResultBank(intf, static_cast<int>(idx), bank, &out);
        // Word 0 has no field, nor have the six lowest bits of word 1.
        EXPECT_EQ(packed(out), (Words{0, 0x22222200, 0x33333333, 0x44444444})) << bank;
    }
}

TEST_F(TaeL3, ResultOfAnUnknownBankIsZeroAfterAMessage) {
    L3PselRslt out;
    std::memset(&out, 0xff, sizeof out);
    EXPECT_EQ(withoutPlace(printed([&] { tae.readL3AclResultBank(intf, 0, 30, &out); })),
              "[ERROR] CM TAE error>> pointer to result memory TAE_RSLT_MEM_30 not found!!!\n");
    EXPECT_EQ(packed(out), Words{});
}

// Bank types and keys.

TEST_F(TaeL3, SearchTakesThePort) {
    lookup();
    EXPECT_EQ(tae.igPort, 3u);
}

TEST_F(TaeL3, EachTypeIsSearchedForItsFramesWithItsKey) {
    // Frames for which a type is searched: bit 1 IPv4, bit 2 IPv6, bit 3 FCoE.
    const struct {
        uint32_t type;
        uint32_t frames;
        const uint32_t *key;
    } rows[] = {
        {ACLT_L2_IP, 0, fixedKey},
        {ACLT_L2_FCOE, 0, fixedKey},
        {ACLT_L2_FLEX0, 0, flexKey[0]},
        {ACLT_L2_FLEX1, 0, flexKey[1]},
        {ACLT_L2_FLEX2, 0, flexKey[2]},
        {ACLT_L2_FLEX3, 0, flexKey[3]},
        {ACLT_L3_IPV4, 1 << kIpv4Sel, fixedKey},
        {ACLT_L3_FCOE, 1 << kFcoeSel, fixedKey},
        {ACLT_L3_IP_FLEX0, 1 << kIpv4Sel | 1 << kIpv6Sel, flexKey[0]},
        {ACLT_L3_IP_FLEX1, 0, flexKey[1]},
        {ACLT_L3_IP_FLEX2, 0, flexKey[2]},
        {ACLT_L3_IP_FLEX3, 0, flexKey[3]},
        {ACLT_L3_FCOE_FLEX0, 1 << kFcoeSel, flexKey[0]},
        {ACLT_L3_FCOE_FLEX1, 0, flexKey[1]},
        {ACLT_L3_FCOE_FLEX2, 0, flexKey[2]},
        {ACLT_L3_FCOE_FLEX3, 0, flexKey[3]},
    };
    for (const uint32_t bank : {1u, 14u}) {
        for (const auto &row : rows) {
            enable(bank, row.type, 4);
            tcamEntry(bank, 9, row.key);
            result(bank, 9, {{"fwd_en", 1}, {"nxt_hop_rslt_idx", 0x1234}});
            for (const uint32_t sel : {kIpv4Sel, kIpv6Sel, kFcoeSel}) {
                frameIs(sel);
                printed([&] { lookup(); }); // the types without a search report
                EXPECT_EQ(got("fwd_en"), row.frames >> sel & 1) << "type " << row.type << " frame " << sel;
            }
        }
        setReg("TAE_BANK_EN_REG", 0);
    }
}

TEST_F(TaeL3, BankThatIsOffIsNotSearched) {
    hitBank(2, {{"fwd_en", 1}});
    lookup();
    EXPECT_EQ(got("fwd_en"), 1u);
    setReg("TAE_BANK_EN_REG", ~(1u << 2) & 0x3fffffff);
    lookup();
    EXPECT_EQ(got("fwd_en"), 0u);
}

TEST_F(TaeL3, SecondBlockOfABankCounts) {
    enable(3, ACLT_L3_IPV4, 0);
    tcamEntry(3, 4095, fixedKey);
    result(3, 4095, {{"dscp_en", 1}, {"dscp", 0x2a}});
    expectRslt({{"dscp_en", 1}, {"dscp", 0x2a}});
}

TEST_F(TaeL3, LowestEntryAndLowestBankOfAGroupWin) {
    for (const uint32_t bank : {4u, 7u}) {
        enable(bank, ACLT_L3_IPV4, 6);
        tcamEntry(bank, 9, fixedKey);
        tcamEntry(bank, 8, fixedKey);
        result(bank, 8, {{"pol_en", bank == 7}, {"span_en", 1}, {"span_id", bank}});
        result(bank, 9, {{"span_en", 1}});
    }
    expectRslt({{"span_en", 1}, {"span_id", 4}});
}

TEST_F(TaeL3, LayerTwoBanksStaySilentAndTheOthersSaySkipped) {
    enable(0, ACLT_L2_IP, 0);
    enable(1, ACLT_L2_FCOE, 0);
    enable(2, ACLT_L2_FLEX0, 0);
    enable(3, ACLT_L3_FCOE, 0);
    enable(12, ACLT_L3_FCOE_FLEX0, 0);
    enable(14, ACLT_L3_IPV6, 0);
    EXPECT_EQ(trace(), skippedLine(" 3", 7, "ipv4=1 ipv6=0 fcoe=0") + skippedLine("12", 12, "ipv4=1 ipv6=0 fcoe=0") +
                           skippedLine("14", 16, "ipv4=1 ipv6=0 fcoe=0") + kNoIpv4Exm);
    frameIs(kFcoeSel);
    setReg("TAE_BANK_EN_REG", 0);
    enable(4, ACLT_L3_IPV4, 0);
    enable(5, ACLT_L3_IP_FLEX0, 0);
    EXPECT_EQ(trace(), skippedLine(" 4", 6, "ipv4=0 ipv6=0 fcoe=1") + skippedLine(" 5", 8, "ipv4=0 ipv6=0 fcoe=1"));
}

TEST_F(TaeL3, RemovedFlexProfilesReportAlsoInAQuietRun) {
    const std::pair<uint32_t, int> rows[] = {
        {ACLT_L2_FLEX1, 1},      {ACLT_L2_FLEX2, 2},      {ACLT_L2_FLEX3, 3},
        {ACLT_L3_IP_FLEX1, 1},   {ACLT_L3_IP_FLEX2, 2},   {ACLT_L3_IP_FLEX3, 3},
        {ACLT_L3_FCOE_FLEX1, 1}, {ACLT_L3_FCOE_FLEX2, 2}, {ACLT_L3_FCOE_FLEX3, 3},
    };
    for (const auto &[type, profile] : rows) {
        enable(17, type, 0);
        const std::string error = "[ERROR] TAE bank 17 is selecting flex key profile " + std::to_string(profile) +
                                  " that has been removed from RTL\n\n";
        tae.dbgLvl = 0;
        EXPECT_EQ(withoutPlace(printed([&] { lookup(); })), error) << type;
        EXPECT_EQ(trace(), error + skippedLine("17", static_cast<int>(type), "ipv4=1 ipv6=0 fcoe=0") + kNoIpv4Exm);
    }
}

TEST_F(TaeL3, TraceNeedsALevelAboveOne) {
    enable(3, ACLT_L3_FCOE, 0);
    tae.dbgLvl = 1;
    EXPECT_EQ(printed([&] { lookup(); }), "");
    tae.dbgLvl = 2;
    EXPECT_NE(printed([&] { lookup(); }), "");
}

TEST_F(TaeL3DeathTest, GroupAbove29Aborts) {
    enable(3, ACLT_L3_IPV4, 29);
    lookup();
    configure(3, ACLT_L3_IPV4, 30);
    EXPECT_EXIT(lookup(), testing::KilledBySignal(SIGABRT), "lookupL3Acl.*Assertion `logicalGrpId < 30' failed");
    configure(3, ACLT_L2_IP, 31); // also of a bank that would not be searched
    EXPECT_EXIT(lookup(), testing::KilledBySignal(SIGABRT), "logicalGrpId < 30");
    setReg("TAE_BANK_EN_REG", 0); // a bank that is off may name any
    lookup();
}

TEST_F(TaeL3DeathTest, GroupAbove29OfAnEvenBankThatIsOffAborts) {
    enable(5, ACLT_L3_IPV6, 3);
    configure(4, ACLT_L3_IPV6, 31);
    EXPECT_EXIT(lookup(), testing::KilledBySignal(SIGABRT), "logicalGrpId < 30");
}

TEST_F(TaeL3DeathTest, GroupAbove29OfAnOddIpv6BankDoesNotCount) {
    frameIs(kIpv6Sel);
    enable(4, ACLT_L3_IPV6, 3);
    enable(5, ACLT_L3_IPV6, 31);
    tcamEntry(4, 1, fixedKey);
    tcamEntry(5, 1, fixedKey + 8);
    result(4, 1, {{"span_en", 1}, {"span_id", 5}});
    expectRslt({{"span_en", 1}, {"span_id", 5}});
    setReg("TAE_BANK_PRTCL_SEL_0_REG", 0); // it counts again for a bank of another type
    configure(5, ACLT_L3_IP_FLEX0, 31);
    EXPECT_EXIT(lookup(), testing::KilledBySignal(SIGABRT), "logicalGrpId < 30");
}

// IPv6 pairs.

TEST_F(TaeL3, Ipv6HitsWhereBothBanksOfAPairHitTheSameIndex) {
    frameIs(kIpv6Sel);
    for (const uint32_t even : {0u, 10u, 12u, 28u}) {
        enable(even, ACLT_L3_IPV6, 2);
        enable(even + 1, ACLT_L3_IPV6, 9); // its own group does not count
        tcamEntry(even, 7, fixedKey);
        result(even, 7, {{"dscp_en", 1}, {"dscp", 7}});
        result(even + 1, 7, {{"dscp_en", 1}, {"dscp", 0x3f}});
        lookup();
        EXPECT_EQ(got("dscp_en"), 0u) << "the master alone";
        tcamEntry(even + 1, 8, fixedKey + 8);
        lookup();
        EXPECT_EQ(got("dscp_en"), 0u) << "another index";
        tcamEntry(even + 1, 7, fixedKey + 8);
        expectRslt({{"dscp_en", 1}, {"dscp", 7}});
        setReg("TAE_BANK_EN_REG", 0);
    }
}

TEST_F(TaeL3, Ipv6FirstCommonIndexWins) {
    frameIs(kIpv6Sel);
    enable(0, ACLT_L3_IPV6, 0);
    enable(1, ACLT_L3_IPV6, 0);
    for (const uint32_t idx : {2u, 5u, 6u, 3000u})
        tcamEntry(0, idx, fixedKey);
    for (const uint32_t idx : {1u, 3u, 6u, 3000u, 4000u})
        tcamEntry(1, idx, fixedKey + 8);
    result(0, 6, {{"span_en", 1}, {"span_id", 6}});
    expectRslt({{"span_en", 1}, {"span_id", 6}});
    EXPECT_EQ(trace(), "CM port=3, frameIdx=7>> [lookupL3Acl] ipv6 master bank 0 hits at index 0x2 logicalGrpId=0\n" +
                           std::string(kNoIpv6Exm));
}

TEST_F(TaeL3, Ipv6OddBankNeedsTheMasterJustBelow) {
    frameIs(kIpv6Sel);
    for (const uint32_t bank : {0u, 3u})
        enable(bank, ACLT_L3_IPV6, 0);
    configure(2, ACLT_L3_IPV6, 0);
    tcamEntry(0, 4, fixedKey);
    tcamEntry(2, 4, fixedKey);
    tcamEntry(3, 4, fixedKey + 8);
    result(0, 4, {{"dscp_en", 1}});
    result(2, 4, {{"dscp_en", 1}});
    lookup();
    EXPECT_EQ(got("dscp_en"), 0u);
    setBitsOf("TAE_BANK_EN_REG", 2, 1, 1);
    lookup();
    EXPECT_EQ(got("dscp_en"), 1u);
}

TEST_F(TaeL3, Ipv6HalvesAreNotExchanged) {
    frameIs(kIpv6Sel);
    enable(0, ACLT_L3_IPV6, 0);
    enable(1, ACLT_L3_IPV6, 0);
    tcamEntry(0, 4, fixedKey + 8);
    tcamEntry(1, 4, fixedKey);
    result(0, 4, {{"dscp_en", 1}});
    lookup();
    EXPECT_EQ(got("dscp_en"), 0u);
}

TEST_F(TaeL3, Ipv6PairYieldsToAWinnerOfItsGroup) {
    frameIs(kIpv6Sel);
    enable(0, ACLT_L3_IP_FLEX0, 5);
    tcamEntry(0, 1, flexKey[0]);
    result(0, 1, {{"span_en", 1}, {"span_id", 1}});
    enable(2, ACLT_L3_IPV6, 5);
    enable(3, ACLT_L3_IPV6, 6);
    tcamEntry(2, 1, fixedKey);
    tcamEntry(3, 1, fixedKey + 8);
    result(2, 1, {{"span_en", 1}, {"span_id", 2}, {"pol_en", 1}});
    expectRslt({{"span_en", 1}, {"span_id", 1}});
    EXPECT_EQ(trace(), kNoIpv6Exm); // and names no master
}

// The user id in the key.

TEST_F(TaeL3, UserIdSelectOfEachTcamBank) {
    for (uint32_t bank = 0; bank < 30; bank++) {
        const std::string reg = bank < 16 ? "TAE_L3_SRCH_CID_MCUID_SEL_0_REG" : "TAE_L3_SRCH_CID_MCUID_SEL_1_REG";
        setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 0);
        setReg("TAE_L3_SRCH_CID_MCUID_SEL_1_REG", 0);
        const auto word3 = [&](int isIpv6, uint32_t &ret) {
            uint32_t key[8] = {};
            ret = tae.replaceIivid(key, 0x111, 0x222, static_cast<int>(bank), ACLT_L3_IPV4, 1, !isIpv6, isIpv6);
            return key[3];
        };
        uint32_t ret = 9;
        EXPECT_EQ(word3(0, ret), 0u);
        EXPECT_EQ(ret, 0u);
        setReg(reg, 1u << 2 * (bank % 16));
        EXPECT_EQ(word3(0, ret), 0x111u << 7) << bank;
        EXPECT_EQ(ret, 1u);
        setReg(reg, 2u << 2 * (bank % 16));
        EXPECT_EQ(word3(0, ret), 0x222u << 7) << bank;
        EXPECT_EQ(ret, 1u);
        // An IPv6 search looks at the even bank's select.
        EXPECT_EQ(word3(1, ret), bank % 2 ? 0u : 0x222u << 7) << bank;
        EXPECT_EQ(ret, bank % 2 ? 0u : 1u);
    }
}

TEST_F(TaeL3, UserIdGoesToTheChipsPlaces) {
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 0x55555555);
    const auto replaced = [&](uint32_t id, uint32_t old, int bank, enumBankType type) {
        std::array<uint32_t, 8> key;
        key.fill(old);
        EXPECT_EQ(tae.replaceIivid(key.data(), id, 0, bank, type, 1, type != ACLT_L3_IPV6, type == ACLT_L3_IPV6), 1u);
        return key;
    };
    for (const uint32_t old : {0u, 0xffffffffu}) {
        for (uint32_t b = 0; b <= 13; b++) {
            // Bit 13 and above of the id are cut.
            const uint32_t id = b == 13 ? 0xffffe000 : 1u << b;
            const uint32_t id13 = id & 0x1fff;
            std::array<uint32_t, 8> expected;
            expected.fill(old);
            expected[3] = (old & ~(0x1fffu << 7)) | id13 << 7;
            EXPECT_EQ(replaced(id, old, 4, ACLT_L3_IPV4), expected);
            expected.fill(old);
            expected[7] = (old & ~(0x1fffu << 6)) | id13 << 6;
            for (const enumBankType type : {ACLT_L3_IP_FLEX0, ACLT_L3_IP_FLEX1, ACLT_L3_IP_FLEX2, ACLT_L3_IP_FLEX3})
                EXPECT_EQ(replaced(id, old, 4, type), expected);
            expected.fill(old);
            expected[3] = (old & ~3u) | (id13 >> 2 & 3);
            expected[7] = (old & ~3u) | (id13 & 3);
            EXPECT_EQ(replaced(id, old, 5, ACLT_L3_IPV6), expected);
            expected.fill(old);
            expected[3] = (old & ~(3u | 0x1fu << 14)) | (id13 >> 6 & 3) | (id13 >> 8) << 14;
            expected[7] = (old & ~3u) | (id13 >> 4 & 3);
            EXPECT_EQ(replaced(id, old, 4, ACLT_L3_IPV6), expected);
        }
    }
}

TEST_F(TaeL3, UserIdOfTheExactMatch) {
    uint32_t key[9];
    const auto replaced = [&](uint32_t old, int isIpv4, int isIpv6) {
        std::fill_n(key, 9, old);
        return tae.replaceIivid(key, 0x1fff, 0x1001, 0, ACLT_L2_IP, 0, isIpv4, isIpv6);
    };
    exmCfg(1u << 10); // IPv4 takes the customer
    EXPECT_EQ(replaced(0, 1, 0), 1u);
    EXPECT_EQ(key[0], 0x1fffu << 9);
    EXPECT_EQ(key[1], 0u);
    EXPECT_EQ(replaced(0, 0, 1), 0u);
    EXPECT_EQ(key[0], 0u);
    exmCfg(2u); // IPv6 takes the multicast user
    EXPECT_EQ(replaced(0xffffffff, 0, 1), 1u);
    EXPECT_EQ(key[0], 0xfff8007fu | 0x1001u << 7);
    EXPECT_EQ(replaced(0xffffffff, 1, 0), 0u);
    exmCfg(2u << 10);
    EXPECT_EQ(replaced(0xffffffff, 1, 0), 1u);
    EXPECT_EQ(key[0], 0xffc001ffu | 0x1001u << 9);
    exmCfg(1u);
    EXPECT_EQ(replaced(0, 0, 1), 1u);
    EXPECT_EQ(key[0], 0x1fffu << 7);
}

TEST_F(TaeL3, BadUserIdSelectReportsAndWritesNothing) {
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_1_REG", 3u << 2);
    uint32_t key[9] = {};
    uint32_t ret = 9;
    EXPECT_EQ(withoutPlace(printed([&] { ret = tae.replaceIivid(key, 1, 2, 17, ACLT_L3_IPV4, 1, 1, 0); })),
              "[ERROR] Bad TAE_L3_SRCH_CID_MCUID_SEL register for bank 17, value=3\n\n");
    EXPECT_EQ(ret, 0u);
    EXPECT_EQ(key[3], 0u);
    exmCfg(3);
    EXPECT_EQ(withoutPlace(printed([&] { ret = tae.replaceIivid(key, 1, 2, 0, ACLT_L2_IP, 0, 0, 1); })),
              "[ERROR] Bad TAE_L3_SRCH_CID_MCUID_SEL register for bank 0, value=3\n\n");
    EXPECT_EQ(ret, 0u);
    EXPECT_EQ(key[0], 0u);
}

TEST_F(TaeL3, UserIdNeverGoesIntoAnFcoeKey) {
    for (const uint32_t sel : {1u, 2u, 3u}) {
        setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", sel << 8);
        for (const enumBankType type :
             {ACLT_L3_FCOE, ACLT_L3_FCOE_FLEX0, ACLT_L3_FCOE_FLEX1, ACLT_L3_FCOE_FLEX2, ACLT_L3_FCOE_FLEX3}) {
            uint32_t key[8] = {};
            tae.dbgLvl = 3;
            EXPECT_EQ(printed([&] { EXPECT_EQ(tae.replaceIivid(key, 0xff, 0xff, 4, type, 1, 0, 0), 0u); }), "");
            EXPECT_EQ(std::count(key, key + 8, 0u), 8);
            tae.dbgLvl = 4;
            EXPECT_NE(printed([&] { tae.replaceIivid(key, 0xff, 0xff, 4, type, 1, 0, 0); }), "");
        }
    }
    // A search of such a bank goes with the key as it came.
    frameIs(kFcoeSel);
    tae.dbgLvl = 0;
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 2u << 8);
    intf.l3Mcuid = 0x1fff;
    enable(4, ACLT_L3_FCOE, 0);
    tcamEntry(4, 0, fixedKey);
    result(4, 0, {{"dscp_en", 1}});
    lookup();
    EXPECT_EQ(got("dscp_en"), 1u);
}

TEST_F(TaeL3, UserIdSelectOfALayerTwoBankIsAnError) {
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 1u << 8);
    for (uint32_t type = ACLT_L2_IP; type <= ACLT_L2_FLEX3; type++) {
        uint32_t key[8] = {};
        const std::string text = printed(
            [&] { EXPECT_EQ(tae.replaceIivid(key, 0xff, 0, 4, static_cast<enumBankType>(type), 1, 1, 0), 0u); });
        EXPECT_EQ(text.rfind("[ERROR", 0), 0u) << type;
        EXPECT_EQ(std::count(key, key + 8, 0u), 8);
    }
}

TEST_F(TaeL3, SearchUsesTheReplacedKeyAndKeepsTheCallersKey) {
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 1u << 4 | 2u << 6);
    intf.l3Cugid = 0x123;
    intf.l3Mcuid = 0x456;
    enable(2, ACLT_L3_IPV4, 0);
    enable(3, ACLT_L3_IP_FLEX0, 1);
    uint32_t key[8];
    std::copy_n(fixedKey, 8, key);
    key[3] = setBits(key[3], 19, 7, 0x123);
    tcamEntry(2, 0, key);
    std::copy_n(flexKey[0], 8, key);
    key[7] = setBits(key[7], 18, 6, 0x456);
    tcamEntry(3, 0, key);
    result(2, 0, {{"dscp_en", 1}});
    result(3, 0, {{"pol_en", 1}});
    expectRslt({{"dscp_en", 1}, {"pol_en", 1}});
    EXPECT_EQ(fixedKey[3], 0xa1000003u);
    EXPECT_EQ(flexKey[0][7], 0xb2000007u);
}

TEST_F(TaeL3, Ipv6PairTakesBothHalvesOfTheUserId) {
    frameIs(kIpv6Sel);
    setReg("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 1u << 4 | 2u << 6); // bank 3 goes by bank 2
    intf.l3Cugid = 0x15a6;                                        // 10101 10 10 01 10
    intf.l3Mcuid = 0;
    enable(2, ACLT_L3_IPV6, 0);
    enable(3, ACLT_L3_IPV6, 0);
    uint32_t key[16];
    std::copy_n(fixedKey, 16, key);
    key[3] = setBits(setBits(key[3], 1, 0, 2), 18, 14, 0x15);
    key[7] = setBits(key[7], 1, 0, 2);
    key[11] = setBits(key[11], 1, 0, 1);
    key[15] = setBits(key[15], 1, 0, 2);
    tcamEntry(2, 0, key);
    tcamEntry(3, 0, key + 8);
    result(2, 0, {{"dscp_en", 1}});
    expectRslt({{"dscp_en", 1}});
}
