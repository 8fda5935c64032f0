// Layer-3 path selection: RPF, merge, ICMP, ACL counters, and the result words of the prefix search.

#include "l3_psel_fixture.h"

// RPF.

TEST_F(LueL3Psel, RpfModesAskForWhatTheyAskFor) {
    for (uint32_t ver : {4u, 6u}) {
        for (uint32_t mode = 0; mode < 4; mode++) {
            for (uint32_t n = 0; n < 16; n++) {
                const bool saHit = n & 1, sameVid = n & 2, rpVld = n & 4, pth = n & 8;
                ready(ver);
                (ver == 4 ? stat.ipv4RpfCkMode : stat.ipv6RpfCkMode) = mode;
                (ver == 4 ? stat.ipv6RpfCkMode : stat.ipv4RpfCkMode) = 3 - mode;
                stat.l3RteRqd = 1;
                stat.l3FwdSaHit = saHit;
                stat.l3FwdIsRpVld = rpVld;
                stat.iivid = 0x55;
                stat.l3EividSa = sameVid ? 0x55 : 0x56;
                callees.ctrl = [&](CmRteStat *s) { s->l3PselAclEgidPth = pth; };
                const bool errByMode[4] = {false, !(saHit && sameVid && rpVld), !saHit, !(saHit && rpVld)};
                const bool err = pth && errByMode[mode];
                EXPECT_TRUE(
                    prints(run(), "L3 IP RPF check, ck_mode=" + std::to_string(mode) + " ck_err=" + (err ? "1" : "0")));
                EXPECT_EQ(stat.l3IpRpfErr, err ? 1u : 0u) << mode << " " << n;
            }
        }
    }
}

TEST_F(LueL3Psel, RpfIsForRoutedUnicastIpOnly) {
    for (uint32_t n = 0; n < 8; n++) {
        ready(n & 1 ? 4 : 0);
        stat.l2FcoeFound = !(n & 1);
        stat.l2PselL3IpDaIsMcast = !(n & 2);
        stat.l3RteRqd = n >> 2 & 1;
        stat.ipv4RpfCkMode = stat.ipv6RpfCkMode = 2;
        callees.ctrl = [](CmRteStat *s) { s->l3PselAclEgidPth = 1; };
        EXPECT_EQ(prints(run(), "L3 IP RPF check, ck_mode=2 ck_err=1"), n == 7);
        EXPECT_EQ(stat.l3IpRpfErr, n == 7 ? 1u : 0u);
    }
}

TEST_F(LueL3Psel, RpfLineNeedsLevel3) {
    stat.l3RteRqd = 1;
    stat.dbgLvl = 2;
    EXPECT_EQ(run(), start + idleSkip);
    ready(4);
    stat.l3RteRqd = 1;
    stat.dbgLvl = 3;
    EXPECT_EQ(run(), start + idleSkip + line("L3 IP RPF check, ck_mode=0 ck_err=0"));
}

// The merge.

TEST_F(LueL3Psel, AclOrFallBackWipesTheTrapOfThePrefixSearch) {
    struct {
        uint32_t appl, rteRqd, pth, wiped;
    } const rows[] = {{1, 0, 0, 1}, {0, 1, 1, 1}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}};
    for (const auto &row : rows) {
        for (bool fcoe : {false, true}) {
            fcoe ? readyFcoe() : ready(4);
            stat.l3AclAppl = row.appl;
            stat.l3RteRqd = row.rteRqd;
            stat.l3PselEgidPth = row.pth;
            (fcoe ? stat.l2FcoeLuTrapEn : stat.l3IpTrapEn) = 1;
            EXPECT_EQ(prints(run(), wipe), row.wiped == 1);
            EXPECT_EQ(stat.l3IpTrapEn + stat.l2FcoeLuTrapEn, 1 - row.wiped);
            EXPECT_EQ(stat.l3PselRsltTyp, row.wiped ? 2u : 3u);
        }
    }
}

TEST_F(LueL3Psel, TrapOfThePrefixSearchReplacesTheOneOfTheAclUnlessOverruled) {
    struct {
        uint32_t aclTrap, overrule, lpmWins;
    } const rows[] = {{0, 0, 1}, {0, 1, 1}, {1, 0, 1}, {1, 1, 0}};
    for (const auto &row : rows) {
        for (bool fcoe : {false, true}) {
            fcoe ? readyFcoe() : ready(6);
            com.l3_acl_trap_overrule_en = row.overrule;
            stat.l3PselTrapEn = row.aclTrap;
            stat.l3PselTrapQue = 1;
            stat.l3PselTrapRsn = 41;
            stat.l3IpTrapEn = stat.l2FcoeLuTrapEn = 1;
            stat.l3IpTrapQue = 2;
            stat.l3IpTrapRsn = 13;
            stat.l2FcoeTrapQue = 3;
            stat.l2FcoeTrapRsn = 15;
            run();
            EXPECT_EQ(stat.l3PselTrapQue, row.lpmWins ? fcoe ? 3u : 2u : 1u);
            EXPECT_EQ(stat.l3PselTrapRsn, row.lpmWins ? fcoe ? 15u : 13u : 41u);
            EXPECT_EQ(stat.l3PselRsltTyp, 3u);
        }
    }
}

TEST_F(LueL3Psel, TrapOfTheOtherProtocolCountsNothing) {
    stat.l2FcoeLuTrapEn = 1;
    run();
    EXPECT_EQ(stat.l3PselRsltTyp, 2u);
    readyFcoe();
    stat.l3IpTrapEn = 1;
    run();
    EXPECT_EQ(stat.l3PselRsltTyp, 2u);
}

TEST_F(LueL3Psel, ControlTrapOfReason26IsNotOverruledByThePrefixSearch) {
    struct {
        uint32_t rsn, trap, trapFwd, overrule, lpmWins;
    } const rows[] = {
        {26, 1, 0, 0, 0}, {26, 0, 1, 0, 0}, {26, 0, 0, 0, 1}, {27, 1, 1, 0, 1}, {26, 1, 0, 1, 0}, {26, 0, 0, 1, 0},
    };
    for (const auto &row : rows) {
        ready(4);
        com.l3_acl_trap_overrule_en = row.overrule;
        stat.l3PselTrapEn = 1;
        stat.l3PselTrapQue = 1;
        stat.l3PselTrapRsn = row.rsn;
        stat.l3CtrlTrap = row.trap;
        stat.l3CtrlTrapFwd = row.trapFwd;
        stat.l3IpTrapEn = 1;
        stat.l3IpTrapQue = 2;
        stat.l3IpTrapRsn = 13;
        run();
        EXPECT_EQ(stat.l3PselTrapQue, row.lpmWins ? 2u : 1u);
        EXPECT_EQ(stat.l3PselTrapRsn, row.lpmWins ? 13u : row.rsn);
    }
    // Without a trap of its own the reason left behind counts nothing.
    ready(4);
    stat.l3PselTrapRsn = 26;
    stat.l3CtrlTrap = 1;
    stat.l3IpTrapEn = 1;
    stat.l3IpTrapRsn = 13;
    run();
    EXPECT_EQ(stat.l3PselTrapRsn, 13u);
}

TEST_F(LueL3Psel, ReasonOf26ProtectsOnlyIp) {
    readyFcoe();
    stat.l3PselTrapEn = 1;
    stat.l3PselTrapRsn = 26;
    stat.l3CtrlTrap = 1;
    stat.l2FcoeLuTrapEn = 1;
    stat.l2FcoeTrapRsn = 15;
    run();
    EXPECT_EQ(stat.l3PselTrapRsn, 15u);
}

TEST_F(LueL3Psel, EachVerdictOfTheMerge) {
    struct {
        uint32_t aclDrop, drop, trap, noFwd, isMgid;
        uint32_t typ, egid, mgidOut, mcastTyp;
    } const rows[] = {
        {1, 0, 0, 0, 1, 0, 0, 0, 0},       {1, 1, 1, 1, 1, 0, 0, 0, 0},       {0, 1, 0, 0, 1, 0, 0, 0, 0},
        {0, 1, 1, 0, 1, 1, 0, 0, 0},       {0, 0, 0, 0, 1, 2, 0x1abcd, 1, 2}, {0, 0, 0, 0, 0, 2, 0x1abcd, 0, 0},
        {0, 0, 0, 1, 1, 2, 0x1abcd, 1, 2}, {0, 0, 1, 1, 1, 1, 0x1abcd, 0, 0}, {0, 0, 1, 0, 1, 3, 0x1abcd, 1, 2},
        {0, 0, 1, 0, 0, 3, 0x1abcd, 0, 0},
    };
    for (const auto &row : rows) {
        ready(4);
        stat.l3PselAclDrop = row.aclDrop;
        stat.l3PselDropEn = row.drop;
        stat.l3PselNoFwd = row.noFwd;
        stat.l3PselTrapEn = row.trap;
        stat.l3PselTrapQue = 8;
        stat.l3PselTrapRsn = 44;
        stat.l3NxtHopMpidLgidEgidMgid = 0x1abcd;
        stat.l3PselIsMgid = row.isMgid;
        stat.l3PselMcastTyp = 2;
        run();
        EXPECT_EQ(stat.l3PselRsltTyp, row.typ) << &row - rows;
        EXPECT_EQ(stat.l3PselEgidMgid, row.egid) << &row - rows;
        EXPECT_EQ(stat.l3PselIsMgid, row.mgidOut) << &row - rows;
        EXPECT_EQ(stat.l3PselMcastTyp, row.mcastTyp) << &row - rows;
        EXPECT_EQ(stat.l3PselTrapQue, 8u);
        EXPECT_EQ(stat.l3PselTrapRsn, 44u);
    }
}

TEST_F(LueL3Psel, PrefixSearchsTrapMakesADropATrap) {
    stat.l3PselDropEn = 1;
    stat.l3IpTrapEn = 1;
    stat.l3IpTrapRsn = 14;
    run();
    EXPECT_EQ(stat.l3PselRsltTyp, 1u);
    EXPECT_EQ(stat.l3PselTrapRsn, 14u);
}

TEST_F(LueL3Psel, PassedPriorityComesFromTheMapOrTheFcoeNextHop) {
    struct {
        uint32_t pth, fcoe, fcoePth, l2Prio, quePrio;
    } const rows[] = {{0, 0, 0, 5, 6}, {1, 0, 0, 3, 4}, {1, 1, 0, 7, 4}, {1, 1, 1, 3, 4}, {0, 1, 0, 5, 6}};
    for (const auto &row : rows) {
        row.fcoe ? readyFcoe() : ready(4);
        callees.aclRslt.prio_pth = row.pth & 1;
        callees.aclRslt.l2_egr_prio = 5;
        callees.aclRslt.qmg_prio = 6;
        stat.igPriMapIwpri = 3;
        stat.igPriMapQuePri = 4;
        stat.l3NxtHopFcoeL2Prio = 7;
        stat.l3NxtHopFcoeL2PrioPth = row.fcoePth;
        run();
        EXPECT_EQ(stat.l3PselL2EgrPrio, row.l2Prio);
        EXPECT_EQ(stat.l3PselQmgPrio, row.quePrio);
    }
}

// ICMP.

TEST_F(LueL3Psel, RedirectNeedsEveryCondition) {
    for (uint32_t ver : {4u, 6u}) {
        const auto good = [&] {
            ready(ver);
            stat.rocL3Rqd = 1;
            stat.l2PselRteRqd = 1;
            stat.iivid = 0xabc;
            (ver == 4 ? stat.ipv4IcmpRedirectTrpEn : stat.ipv6IcmpRedirectTrpEn) = 1;
            callees.da = [](CmRteStat *s) { s->l3EividDa = 0xabc; };
        };
        good();
        EXPECT_EQ(run(), start + line("[L3NextHopLu] ICMP REDIRECT trap, eivid=abc."));
        EXPECT_EQ(stat.l3IcmpRedirect, 1u);

        void (*const spoilers[])(CmRteStat *) = {
            [](CmRteStat *s) { s->l2PselL3IpDaIsMcast = 1; },
            [](CmRteStat *s) { s->l2PselRteRqd = 0; },
            [](CmRteStat *s) { s->l3PselRteEnErr = s->l3AclAppl = 1; },
            [](CmRteStat *s) { s->l3PselTrapEn = 1; },
            [](CmRteStat *s) { s->iivid = 0xabd; },
            [](CmRteStat *s) { std::swap(s->ipv4IcmpRedirectTrpEn, s->ipv6IcmpRedirectTrpEn); },
            [](CmRteStat *s) {
                s->l3IpVer = 0;
                s->l2FcoeFound = 1;
            },
        };
        for (const auto spoil : spoilers) {
            good();
            spoil(&stat);
            EXPECT_EQ(run().find("ICMP"), std::string::npos);
            EXPECT_EQ(stat.l3IcmpRedirect, 0u);
        }
    }
}

TEST_F(LueL3Psel, UnreachableNeedsEveryCondition) {
    for (uint32_t ver : {4u, 6u}) {
        const auto good = [&] {
            ready(ver);
            stat.l2PselRteRqd = 1;
            stat.iivid = 1; // no redirect
            stat.l3PselAclEgidPth = 1;
            (ver == 4 ? stat.ipv4IcmpUnreachTrpEn : stat.ipv6IcmpUnreachTrpEn) = 1;
        };
        good();
        EXPECT_EQ(run(), start + idleSkip + line("[L3NextHopLu] ICMP UNREACH trap."));
        EXPECT_EQ(stat.l3IcmpUnreach, 1u);

        // The verdict does not matter here.
        good();
        stat.l3PselDropEn = 1;
        run();
        EXPECT_EQ(stat.l3IcmpUnreach, 1u);

        void (*const spoilers[])(CmRteStat *) = {
            [](CmRteStat *s) { s->l2PselL3IpDaIsMcast = 1; },
            [](CmRteStat *s) { s->l2PselRteRqd = 0; },
            [](CmRteStat *s) { s->l3PselRteEnErr = 1; },
            [](CmRteStat *s) { s->l3FwdDaHit = 1; },
            [](CmRteStat *s) { s->l3PselAclEgidPth = 0; },
            [](CmRteStat *s) { std::swap(s->ipv4IcmpUnreachTrpEn, s->ipv6IcmpUnreachTrpEn); },
            [](CmRteStat *s) {
                s->l3IpVer = 0;
                s->l2FcoeFound = 1;
            },
        };
        for (const auto spoil : spoilers) {
            good();
            spoil(&stat);
            EXPECT_EQ(run().find("ICMP"), std::string::npos);
            EXPECT_EQ(stat.l3IcmpUnreach, 0u);
        }
    }
}

// Counters.

TEST_F(LueL3Psel, FirstBankOfLayer3WithTheIdCounts) {
    struct Bank {
        uint32_t CmRteHsiComReg::*sel;
        uint32_t CmRteHsiComReg::*id;
    };
    const Bank banks[8] = {
        {&CmRteHsiComReg::acl_sts_bank0_sel, &CmRteHsiComReg::acl_sts_bank0_id},
        {&CmRteHsiComReg::acl_sts_bank1_sel, &CmRteHsiComReg::acl_sts_bank1_id},
        {&CmRteHsiComReg::acl_sts_bank2_sel, &CmRteHsiComReg::acl_sts_bank2_id},
        {&CmRteHsiComReg::acl_sts_bank3_sel, &CmRteHsiComReg::acl_sts_bank3_id},
        {&CmRteHsiComReg::acl_sts_bank4_sel, &CmRteHsiComReg::acl_sts_bank4_id},
        {&CmRteHsiComReg::acl_sts_bank5_sel, &CmRteHsiComReg::acl_sts_bank5_id},
        {&CmRteHsiComReg::acl_sts_bank6_sel, &CmRteHsiComReg::acl_sts_bank6_id},
        {&CmRteHsiComReg::acl_sts_bank7_sel, &CmRteHsiComReg::acl_sts_bank7_id},
    };
    for (uint32_t bank = 0; bank < 8; bank++) {
        // Banks before it have the id but belong to layer 2, those behind it match too.
        ready(4);
        for (uint32_t b = 0; b < 8; b++) {
            com.*banks[b].sel = b >= bank;
            com.*banks[b].id = 5;
        }
        callees.aclRslt.sts_sflow_en = 1;
        callees.aclRslt.sts_sflow_idx = 5 << 12 | 0xabc;
        stat.frmLen = 100 + bank;
        EXPECT_EQ(run(), start + idleSkip);
        const uint32_t idx = bank * 4096 + 0xabc;
        EXPECT_EQ(stat.l3PselStsSflowHitIdx, idx);
        EXPECT_EQ(stat.l3psel_acl_sts_hit, 1u);
        EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * idx], 0u);
        EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * idx + 1], 1u);
        EXPECT_EQ(mem.RTE_ACL_STS_BCNT_SRAM[2 * idx + 1], 100 + bank);
    }

    // Another id, or no bank of layer 3, counts nothing.
    ready(4);
    callees.aclRslt.sts_sflow_en = 1;
    callees.aclRslt.sts_sflow_idx = 4 << 12 | 1;
    run();
    EXPECT_EQ(stat.l3psel_acl_sts_hit, 0u);
    for (const Bank &bank : banks) {
        com.*bank.sel = 0;
        com.*bank.id = 4;
    }
    run();
    EXPECT_EQ(stat.l3psel_acl_sts_hit, 0u);
}

TEST_F(LueL3Psel, NothingIsCountedWithoutTheEnable) {
    com.acl_sts_bank0_sel = 1;
    run();
    EXPECT_EQ(stat.l3psel_acl_sts_hit, 0u);
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[1], 0u);
}

TEST_F(LueL3Psel, CountersCarryIntoTheirUpperWordAndWrapThere) {
    com.acl_sts_bank7_sel = 1;
    com.acl_sts_bank7_id = 0;
    com.acl_sts_bank0_id = 1;
    const uint32_t idx = 7 * 4096 + 0xfff; // the last one
    callees.aclRslt.sts_sflow_en = 1;
    callees.aclRslt.sts_sflow_idx = 0xfff;
    stat.frmLen = 64;
    mem.RTE_ACL_STS_FCNT_SRAM[2 * idx] = 254;
    mem.RTE_ACL_STS_FCNT_SRAM[2 * idx + 1] = 0xffffffff;
    mem.RTE_ACL_STS_BCNT_SRAM[2 * idx] = 65535;
    mem.RTE_ACL_STS_BCNT_SRAM[2 * idx + 1] = 0xffffffc1;
    run();
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * idx], 255u);
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * idx + 1], 0u);
    EXPECT_EQ(mem.RTE_ACL_STS_BCNT_SRAM[2 * idx], 0u);
    EXPECT_EQ(mem.RTE_ACL_STS_BCNT_SRAM[2 * idx + 1], 1u);

    mem.RTE_ACL_STS_FCNT_SRAM[2 * idx + 1] = 0xffffffff;
    mem.RTE_ACL_STS_BCNT_SRAM[2 * idx] = 0xfffe;
    mem.RTE_ACL_STS_BCNT_SRAM[2 * idx + 1] = 0xffffffff;
    run();
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * idx], 0u);
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * idx + 1], 0u);
    EXPECT_EQ(mem.RTE_ACL_STS_BCNT_SRAM[2 * idx], 0xffffu);
    EXPECT_EQ(mem.RTE_ACL_STS_BCNT_SRAM[2 * idx + 1], 63u);
}

TEST_F(LueL3Psel, SflowHitReadsTheBitFromTheTop) {
    com.acl_sts_bank0_sel = 1;
    for (uint32_t sflowEn : {0u, 1u}) {
        for (uint32_t idx : {32u, 37u, 63u}) {
            ready(4);
            std::memset(mem.RTE_ACL_STS_SFLOW_RA, 0, sizeof mem.RTE_ACL_STS_SFLOW_RA);
            mem.RTE_ACL_STS_SFLOW_RA[1] = 0x04000000; // index 37
            callees.aclRslt.sts_sflow_en = 1;
            callees.aclRslt.sflow_en = sflowEn & 1;
            callees.aclRslt.sts_sflow_idx = idx & 0x7fff;
            run();
            EXPECT_EQ(stat.l3AclSflwHit, idx == 37 && sflowEn ? 1u : 0u);
        }
    }
}

TEST_F(LueL3Psel, OneFrameInTheTopBitOfTheRateIsSampled) {
    com.acl_sts_bank0_sel = 1;
    struct {
        uint32_t rate, count, sflowEn, sampled;
    } const rows[] = {
        {0, 0, 1, 0},  {1, 0, 1, 1},  {1, 5, 1, 1},   {12, 6, 1, 0},         {12, 7, 1, 1},           {12, 15, 1, 1},
        {12, 8, 1, 0}, {12, 7, 0, 0}, {15, 11, 1, 0}, {1u << 31, ~0u, 1, 1}, {~0u, 0x7ffffffe, 1, 0},
    };
    for (const auto &row : rows) {
        for (uint32_t profile : {0u, 7u, 15u}) {
            ready(4);
            for (uint32_t i = 0; i < 16; i++)
                com.rte_sflow_rate[i] = row.rate == 0 ? 1 : 0;
            (profile == 0   ? com.rte_sflow_rate[0]
             : profile == 7 ? com.rte_sflow_rate[7]
                            : com.rte_sflow_rate[15]) = row.rate;
            mem.RTE_ACL_STS_FCNT_SRAM[1] = row.count;
            callees.aclRslt.sts_sflow_en = 1;
            callees.aclRslt.sflow_en = row.sflowEn & 1;
            callees.aclRslt.sflow_profile = profile & 15;
            run();
            EXPECT_EQ(stat.l3PselSflowFlagSet, row.sampled) << row.rate << " " << row.count << " " << profile;
            EXPECT_EQ(stat.l3AclSflwHit, 0u);
        }
    }
}

// Results of the prefix search.

TEST_F(LueL3Psel, DaWordIsUnpackedOnAHitAndOnAMiss) {
    com.rte_l3_ip_hit_trap_que = 3;
    com.rte_l3_ip_miss_trap_que = 4;
    for (uint32_t hit : {0u, 1u}) {
        for (uint32_t n = 0; n < 32; n++) {
            resetStat();
            const TFE_LUE_RSLT found{1u << n, hit};
            L3IpDaRslt(&stat, &found);
            EXPECT_EQ(stat.l3FwdNextHopRsltIdx, n >= 14 ? 1u << (n - 14) : 0u);
            EXPECT_EQ(stat.l3FwdIsMyIpDa, n == 13 ? 1u : 0u);
            EXPECT_EQ(stat.l3FwdIsDaGrp, n == 11 ? 1u : 0u);
            EXPECT_EQ(stat.l3FwdIsDefaultVrf, n == 10 ? 1u : 0u);
            EXPECT_EQ(stat.l3IpTrapEn, n == 9 ? 1u : 0u);
            EXPECT_EQ(stat.l3IpTrapRsn, hit ? 13u : 14u);
            EXPECT_EQ(stat.l3IpTrapQue, hit ? 3u : 4u);
            EXPECT_EQ(stat.l3FwdIsRpVld, 0u);
            EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, 0u);
        }
    }
}

TEST_F(LueL3Psel, SaWordIsUnpackedOnAHitAndOnAMiss) {
    for (uint32_t hit : {0u, 1u}) {
        for (uint32_t n = 0; n < 32; n++) {
            resetStat();
            const TFE_LUE_RSLT found{1u << n, hit};
            L3IpSaRslt(&stat, &found);
            EXPECT_EQ(stat.l3FwdSaNextHopRsltIdx, n >= 14 ? 1u << (n - 14) : 0u);
            EXPECT_EQ(stat.l3FwdIsRpVld, n == 12 ? 1u : 0u);
            EXPECT_EQ(stat.l3FwdIsSaGrp, n == 11 ? 1u : 0u);
            EXPECT_EQ(stat.l3FwdSaHit, hit);
            EXPECT_EQ(stat.l3IpTrapEn, 0u);
            EXPECT_EQ(stat.l3FwdNextHopRsltIdx, 0u);
        }
    }
}
