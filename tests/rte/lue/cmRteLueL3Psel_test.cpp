// Layer-3 path selection: frames that pass by, order of the lookups, ACL result, pass-through and next hop.

#include "l3_psel_fixture.h"

// Frames that pass by.

TEST_F(LueL3Psel, FrameWithoutLayer3OnlyTakesLengthAndEcn) {
    for (uint32_t ver : {0u, 5u, 7u}) {
        ready(ver);
        stat.l3IpTlen = 0x1234;
        stat.l3IpEcn = 3;
        stat.l3IpTrapVld = 1;
        EXPECT_EQ(run(), start);
        EXPECT_EQ(stat.l3PselIpTlen, 0x1234u);
        EXPECT_EQ(stat.l3PselEgrIpEcn, 3u);
        EXPECT_EQ(stat.l3PselDropTrapSkip, 0u);
        EXPECT_TRUE(callees.calls.empty());
    }
}

TEST_F(LueL3Psel, EarlierTrapOrDropOfTheParserEndsTheStage) {
    struct {
        uint32_t trapVld, dropRsn, typ;
    } const rows[] = {{1, 0, 1}, {0, 5, 0}, {1, 5, 1}};
    for (const auto &row : rows) {
        ready(6);
        stat.l3IpTlen = 100;
        stat.l3IpTrapVld = row.trapVld;
        stat.l3IpDropRsn = row.dropRsn;
        stat.l3IpTrapQue = 7;
        stat.l3IpTrapRsn = 21;
        stat.l3PrcDropRsn = 1; // asked for only afterwards
        stat.l3PselRsltTyp = 3;
        stat.l3PselL2EgrPrio = stat.l3PselQmgPrio = stat.l3PselIsMgid = stat.l3PselMcastTyp = 1;
        stat.l2FcoeLuVsanTagged = 1;
        EXPECT_EQ(run(),
                  start +
                      line("Skip [L3Psel] due to IP trap (rsn=21) or drop (rsn=" + std::to_string(row.dropRsn) + ")."));
        EXPECT_EQ(stat.l3PselRsltTyp, row.typ);
        EXPECT_EQ(stat.l3PselL2EgrPrio, 0u);
        EXPECT_EQ(stat.l3PselIpTlen, 0u);
        EXPECT_EQ(stat.l3PselQmgPrio, 0u);
        EXPECT_EQ(stat.l3PselIsMgid, 0u);
        EXPECT_EQ(stat.l3PselMcastTyp, 0u);
        EXPECT_EQ(stat.l3PselTrapQue, 7u);
        EXPECT_EQ(stat.l3PselTrapRsn, 21u);
        EXPECT_EQ(stat.l3PselDropRsn, row.dropRsn);
        EXPECT_EQ(stat.l3PselDropTrapSkip, 1u);
        EXPECT_EQ(stat.l2FcoeLuVsanTagged, 1u);
        EXPECT_TRUE(callees.calls.empty());
    }
}

TEST_F(LueL3Psel, ProtocolOffAtThePortEndsTheStage) {
    readyFcoe();
    stat.l3IpTlen = 100;
    stat.l3PrcDropRsn = 1;
    stat.l3PrcTrapQue = 6;
    stat.l3PrcTrapRsn = 33;
    stat.l3PselRsltTyp = 3;
    stat.l3PselL2EgrPrio = stat.l3PselQmgPrio = stat.l3PselIsMgid = stat.l3PselMcastTyp = 1;
    stat.l2FcoeLuVsanTagged = stat.l2FcoeClsVfid = 1;
    EXPECT_EQ(run(), start + line("Skip [L3Psel] due to PRC not_enable drop."));
    EXPECT_EQ(stat.l3PselRsltTyp, 0u);
    EXPECT_EQ(stat.l3PselL2EgrPrio, 0u);
    EXPECT_EQ(stat.l3PselIpTlen, 0u);
    EXPECT_EQ(stat.l3PselQmgPrio, 0u);
    EXPECT_EQ(stat.l3PselIsMgid, 0u);
    EXPECT_EQ(stat.l3PselMcastTyp, 0u);
    EXPECT_EQ(stat.l3PselTrapQue, 6u);
    EXPECT_EQ(stat.l3PselTrapRsn, 33u);
    EXPECT_EQ(stat.l3PselDropRsn, 1u);
    EXPECT_EQ(stat.l2FcoeLuVsanTagged, 0u);
    EXPECT_EQ(stat.l2FcoeClsVfid, 0u);
    EXPECT_EQ(stat.l3PselDropTrapSkip, 1u);
    EXPECT_TRUE(callees.calls.empty());
}

TEST_F(LueL3Psel, OtherParserDropsDoNotEndTheStage) {
    for (uint32_t rsn : {0u, 2u}) {
        ready(4);
        stat.l3PrcDropRsn = rsn;
        EXPECT_EQ(run(), start + idleSkip);
        EXPECT_EQ(stat.l3PselDropTrapSkip, 0u);
        EXPECT_TRUE(called("lookupL3Acl"));
    }
}

// Order and request.

TEST_F(LueL3Psel, LookupsRunInOneOrder) {
    stat.rocL3Rqd = 1;
    EXPECT_EQ(run(), start);
    EXPECT_EQ(callees.calls,
              (std::vector<std::string>{"L3CugidLu", "L3McuidLu", "buildL3AclTcamKey", "buildL3PSelExmKey",
                                        "buildL3AclTcamFlexKey 0", "buildL3AclTcamFlexKey 1", "buildL3AclTcamFlexKey 2",
                                        "buildL3AclTcamFlexKey 3", "lookupL3Acl", "L3CtrlCls", "L3NextHopLu 0",
                                        "L3NextHopLu 1"}));
}

TEST_F(LueL3Psel, AclRequestCarriesKeysAndFrame) {
    run();
    for (uint32_t i = 0; i < 16; i++)
        EXPECT_EQ(callees.fixedKey[i], 0x1000 + i);
    for (uint32_t i = 0; i < 9; i++)
        EXPECT_EQ(callees.exmKey[i], 0x2000 + i);
    for (uint32_t profile = 0; profile < 4; profile++)
        for (uint32_t i = 0; i < 8; i++)
            EXPECT_EQ(callees.flexKeys[profile][i], 0x3000 + 0x100 * profile + i);
    EXPECT_EQ(callees.intf.isDaLkup, 1u);
    EXPECT_EQ(callees.intf.portNum, 2u);
    EXPECT_EQ(callees.intf.frameIdx, 9u);
    EXPECT_EQ(callees.intf.acl_drop_ptr, kAclDrop);
    EXPECT_EQ(callees.intf.drop_ptr, kDrop);
    EXPECT_EQ(callees.intf.l3Cugid, 0x123u);
    EXPECT_EQ(callees.intf.l3Mcuid, 0x456u);
}

TEST_F(LueL3Psel, AclRequestNamesTheProtocol) {
    run();
    EXPECT_EQ(callees.intf.isIpv4 << 2 | callees.intf.isIpv6 << 1 | callees.intf.isFcoe, 4u);
    ready(6);
    run();
    EXPECT_EQ(callees.intf.isIpv4 << 2 | callees.intf.isIpv6 << 1 | callees.intf.isFcoe, 2u);
    readyFcoe();
    run();
    EXPECT_EQ(callees.intf.isIpv4 << 2 | callees.intf.isIpv6 << 1 | callees.intf.isFcoe, 1u);
}

TEST_F(LueL3Psel, RoutedMulticastIsSpecialToTheAclUnlessTurnedOff) {
    for (uint32_t mcast : {0u, 1u}) {
        for (uint32_t dis : {0u, 1u}) {
            ready(4);
            stat.l3IpDaIsMcast = mcast;
            com.l3_mcast_racl_ck_dis = dis;
            run();
            EXPECT_EQ(callees.intf.ipMcastSpcl, mcast && !dis ? 1u : 0u);
        }
    }
}

// The ACL result.

TEST_F(LueL3Psel, EachFieldOfTheAclResultHasItsOwnPlace) {
    struct Row {
        void (*set)(L3PselRslt &);
        uint32_t CmRteStat::*field;
        uint32_t value;
    };
    const Row rows[] = {
        {[](L3PselRslt &r) { r.prio_pth = 1; }, &CmRteStat::l3PselRsltPthPrio, 1},
        {[](L3PselRslt &r) { r.l3_dscp_override = 1; }, &CmRteStat::l3PselDscpL3Ovrd, 1},
        {[](L3PselRslt &r) { r.bypass_eacl = 1; }, &CmRteStat::l3PselBypassEacl, 1},
        {[](L3PselRslt &r) { r.l3_acl_log_override = 1; }, &CmRteStat::l3PselAclLogL3Ovrd, 1},
        {[](L3PselRslt &r) { r.l3_pol_override = 1; }, &CmRteStat::l3PselPolL3Ovrd, 1},
        {[](L3PselRslt &r) { r.sflow_profile = 0xd; }, &CmRteStat::l3PselSflowProfile, 0xd},
        {[](L3PselRslt &r) { r.sts_sflow_en = 1; }, &CmRteStat::l3PselStsSflowEn, 1},
        {[](L3PselRslt &r) { r.sts_sflow_idx = 0x7ffe; }, &CmRteStat::l3PselStsSflowIdx, 0x7ffe},
        {[](L3PselRslt &r) { r.pol_en = 1; }, &CmRteStat::l3PselPolEn, 1},
        {[](L3PselRslt &r) { r.pol_id = 0x3ffe; }, &CmRteStat::l3PselPolId, 0x3ffe},
        {[](L3PselRslt &r) { r.trap_que = 0xe; }, &CmRteStat::l3AclTrapQue, 0xe},
        {[](L3PselRslt &r) { r.acl_log = 1; }, &CmRteStat::l3PselAclLog, 1},
        {[](L3PselRslt &r) { r.l3_fwd_override = 1; }, &CmRteStat::l3PselGidL3Ovrd, 1},
        {[](L3PselRslt &r) { r.l3_prio_override = 1; }, &CmRteStat::l3PselPrioL3Ovrd, 1},
        {[](L3PselRslt &r) { r.l3_span_override = 1; }, &CmRteStat::l3PselSpanL3Ovrd, 1},
        {[](L3PselRslt &r) { r.nxt_hop_rslt_idx = 0x2aaaa; }, &CmRteStat::l3PselNextHopRsltIdx, 0x2aaaa},
        {[](L3PselRslt &r) { r.sflow_en = 1; }, &CmRteStat::l3PselSflowEn, 1},
        {[](L3PselRslt &r) { r.qmg_prio = 6; }, &CmRteStat::l3PselQmgPrio, 6},
        {[](L3PselRslt &r) { r.l2_egr_prio = 5; }, &CmRteStat::l3PselL2EgrPrio, 5},
    };
    for (const Row &row : rows) {
        // A prio_pth of 1 has the priorities taken from the map, which is zero here.
        ready(4);
        row.set(callees.aclRslt);
        for (const Row &other : rows)
            stat.*other.field = 1; // earlier values do not survive
        run();
        for (const Row &other : rows)
            EXPECT_EQ(stat.*other.field, other.field == row.field ? row.value : 0u)
                << &row - rows << " " << &other - rows;
    }
}

TEST_F(LueL3Psel, AnswersOfTheEngineAreRecorded) {
    callees.trapRsn = 45;
    callees.overTurn = 1;
    run();
    EXPECT_EQ(stat.l3AclTrapRsn, 45u);
    EXPECT_EQ(stat.l3IpMcastDropOvrd, 1u);
    ready(4);
    stat.l3IpMcastDropOvrd = 1;
    run();
    EXPECT_EQ(stat.l3IpMcastDropOvrd, 0u);
}

TEST_F(LueL3Psel, DscpAndDropPrecedenceComeTogether) {
    callees.aclRslt.dscp_en = 1;
    callees.aclRslt.dscp = 0x2a;
    callees.aclRslt.drop_prcd = 2;
    stat.igPriMapDrpPrcd = 1;
    run();
    EXPECT_EQ(stat.l3PselDscpEn, 1u);
    EXPECT_EQ(stat.l3PselDscp, 0x2au);
    EXPECT_EQ(stat.l3PselDropPrcd, 2u);

    ready(4);
    callees.aclRslt.dscp = 0x2a;
    callees.aclRslt.drop_prcd = 2;
    stat.igPriMapDrpPrcd = 1;
    stat.l3PselDscpEn = 3;
    stat.l3PselDscp = 0x11;
    run();
    EXPECT_EQ(stat.l3PselDscpEn, 3u);
    EXPECT_EQ(stat.l3PselDscp, 0x11u);
    EXPECT_EQ(stat.l3PselDropPrcd, 1u);
}

TEST_F(LueL3Psel, SpanIsTakenOnlyWithItsEnable) {
    callees.aclRslt.span_en = 1;
    callees.aclRslt.span_id = 5;
    run();
    EXPECT_EQ(stat.l3PselSpanEn, 1u);
    EXPECT_EQ(stat.l3PselSpanId, 5u);

    ready(4);
    callees.aclRslt.span_id = 5;
    stat.l3PselSpanEn = 1;
    stat.l3PselSpanId = 2;
    run();
    EXPECT_EQ(stat.l3PselSpanEn, 1u);
    EXPECT_EQ(stat.l3PselSpanId, 2u);
}

TEST_F(LueL3Psel, AclTrapIsTakenForRoutedFramesOrByOverride) {
    struct {
        uint32_t trapEn, ovrd, rteRqd, taken, recorded;
    } const rows[] = {
        {1, 0, 0, 0, 0}, {1, 1, 0, 1, 1}, {1, 0, 1, 1, 0}, {1, 1, 1, 1, 1}, {0, 1, 1, 0, 0}, {0, 0, 1, 0, 0},
    };
    for (const auto &row : rows) {
        ready(4);
        stat.l3RteRqd = row.rteRqd;
        callees.aclRslt.trap_en = row.trapEn & 1;
        callees.aclRslt.l3_trap_en_override = row.ovrd & 1;
        callees.aclRslt.trap_que = 9;
        callees.trapRsn = 40;
        run();
        EXPECT_EQ(stat.l3PselTrapEn, row.taken);
        EXPECT_EQ(stat.l3PselTrapQue, row.taken ? 9u : 0u);
        EXPECT_EQ(stat.l3PselTrapRsn, row.taken ? 40u : 0u);
        EXPECT_EQ(stat.l3PselTrapL3Ovrd, row.taken ? row.ovrd : 0u);
        EXPECT_EQ(stat.l3AclTrapEn, row.recorded);
        EXPECT_EQ(stat.l3AclTrapQue, 9u);
        EXPECT_EQ(stat.l3AclTrapRsn, 40u);
    }
}

TEST_F(LueL3Psel, MulticastThatPassesAclAndPrefixSearchIsNotTrappedByTheAcl) {
    struct {
        uint32_t mcast, aclIdx, lpmIdx, ovrd, taken;
    } const rows[] = {
        {1, kPassThru, kPassThru, 0, 0}, {0, kPassThru, kPassThru, 0, 1}, {1, 0x10, kPassThru, 0, 1},
        {1, kPassThru, 0x10, 0, 1},      {1, kPassThru, kPassThru, 1, 1},
    };
    for (const auto &row : rows) {
        ready(4);
        stat.l3RteRqd = 1;
        stat.l3IpDaIsMcast = row.mcast;
        stat.l3FwdNextHopRsltIdx = row.lpmIdx;
        callees.aclRslt.trap_en = 1;
        callees.aclRslt.l3_trap_en_override = row.ovrd & 1;
        callees.aclRslt.nxt_hop_rslt_idx = row.aclIdx & 0x3ffff;
        run();
        EXPECT_EQ(stat.l3PselTrapEn, row.taken) << row.mcast << std::hex << row.aclIdx << row.lpmIdx;
    }
}

TEST_F(LueL3Psel, DropIndicesOfTheAclCountForRoutedOrOverridingResults) {
    struct {
        uint32_t rteRqd, appl, ovrd, counts;
    } const rows[] = {{1, 0, 0, 1}, {0, 1, 1, 1}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}};
    for (const auto &row : rows) {
        for (uint32_t idx : {kAclDrop, kDrop, 0x10u}) {
            ready(4);
            stat.l3RteRqd = row.rteRqd;
            stat.l3AclAppl = row.appl;
            callees.aclRslt.l3_fwd_override = row.ovrd & 1;
            callees.aclRslt.nxt_hop_rslt_idx = idx & 0x3ffff;
            const std::string out = run();
            const bool aclDrop = row.counts && idx == kAclDrop;
            const bool drop = row.counts && idx == kDrop;
            EXPECT_EQ(stat.l3PselAclDrop, aclDrop ? 1u : 0u);
            EXPECT_EQ(stat.l3PselDropEn, drop ? 1u : 0u);
            EXPECT_EQ(prints(out, "L3 ACL drop, next_hop_idx=3fff3"), aclDrop);
            EXPECT_EQ(prints(out, "L3 drop, acl_next_hop_idx==rte_l3_drop (3fff2)"), drop);
        }
    }
}

TEST_F(LueL3Psel, OneIndexMayBeBothDrops) {
    com.rte_l3_drop = com.rte_l3_acl_drop = 0x77;
    stat.l3RteRqd = 1;
    callees.aclRslt.nxt_hop_rslt_idx = 0x77;
    EXPECT_EQ(run(), start + line("L3 ACL drop, next_hop_idx=77") +
                         line("L3 drop, acl_next_hop_idx==rte_l3_drop (77)") +
                         line("Skip [L3NextHopLu], l3Rqd=0 aclDrop=1 drop=1 rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=0") +
                         line("L3 IP RPF check, ck_mode=0 ck_err=0"));
    EXPECT_EQ(stat.l3PselAclDrop, 1u);
    EXPECT_EQ(stat.l3PselDropEn, 1u);
}

// Pass-through.

TEST_F(LueL3Psel, ControlTrapOrDropStopsThePassThrough) {
    struct {
        uint32_t trap, drop;
    } const rows[] = {{1, 0}, {0, 1}, {1, 1}};
    for (const auto &row : rows) {
        ready(4);
        stat.l3RteRqd = 1;
        callees.aclRslt.nxt_hop_rslt_idx = kPassThru;
        stat.l3FwdNextHopRsltIdx = 0x10;
        // Only the control classification, which runs first, says so.
        callees.ctrl = [&](CmRteStat *s) {
            s->l3CtrlTrap = row.trap;
            s->l3CtrlDrop = row.drop;
        };
        EXPECT_TRUE(prints(run(), "No LPM passthrough in case of L3 control trap (" + std::to_string(row.trap) +
                                      ") or drop (" + std::to_string(row.drop) + ")"));
        EXPECT_EQ(stat.l3PselNextHopRsltIdx, kPassThru);
        EXPECT_EQ(stat.l3PselAclEgidPth, 0u);
    }
}

TEST_F(LueL3Psel, OtherIndicesArePassedOver) {
    stat.l3RteRqd = 1;
    stat.l3FwdNextHopRsltIdx = 0x10;
    callees.aclRslt.nxt_hop_rslt_idx = 0x20;
    EXPECT_EQ(run(), start + idleSkip + line("L3 IP RPF check, ck_mode=0 ck_err=0"));
    EXPECT_EQ(stat.l3PselNextHopRsltIdx, 0x20u);
    EXPECT_EQ(stat.l3PselAclEgidPth, 0u);
}

TEST_F(LueL3Psel, UnroutedFramePassesOnlyByAnOverridingAcl) {
    struct {
        uint32_t appl, ovrd;
    } const rows[] = {{1, 1}, {1, 0}, {0, 1}, {0, 0}};
    for (const auto &row : rows) {
        ready(4);
        stat.l3AclAppl = row.appl;
        callees.aclRslt.l3_fwd_override = row.ovrd & 1;
        callees.aclRslt.nxt_hop_rslt_idx = kPassThru;
        stat.l3FwdNextHopRsltIdx = 0x10;
        const bool passes = row.appl && row.ovrd;
        EXPECT_EQ(prints(run(), "L3 ACL Gid passthrough detected, next_hop_idx=3fff1"), passes);
        EXPECT_EQ(stat.l3PselAclEgidPth, passes ? 1u : 0u);
        EXPECT_EQ(stat.l3PselNextHopRsltIdx, kPassThru);
    }
}

TEST_F(LueL3Psel, RoutedFrameTakesTheIndexOfThePrefixSearch) {
    struct {
        uint32_t ver, mcast, lpmIdx;
        const char *hex;
        uint32_t aclDrop, drop, pth;
        const char *text;
    } const rows[] = {
        {4, 0, 0x1abcd, "1abcd", 0, 0, 0, ""},
        {4, 0, kAclDrop, "3fff3", 1, 0, 0, ""},
        {4, 0, kDrop, "3fff2", 0, 1, 0, "L3 drop, lpm_next_hop_idx==rte_l3_drop (3fff2)"},
        {4, 0, kPassThru, "3fff1", 0, 1, 0, "L3 Gid passthrough not allowd for IP ucast, drop"},
        {6, 0, kPassThru, "3fff1", 0, 1, 0, "L3 Gid passthrough not allowd for IP ucast, drop"},
        {4, 1, kPassThru, "3fff1", 0, 0, 1, "L3 Gid passthrough, allow IP mcast to fall back to L2"},
        {6, 1, kPassThru, "3fff1", 0, 0, 1, "L3 Gid passthrough, allow IP mcast to fall back to L2"},
        {0, 0, kPassThru, "3fff1", 0, 0, 0, ""},
    };
    for (const auto &row : rows) {
        ready(row.ver);
        stat.l2FcoeFound = row.ver == 0;
        stat.l3RteRqd = 1;
        stat.l3IpDaIsMcast = row.mcast;
        stat.l2PselL3IpDaIsMcast = 1; // no RPF
        callees.aclRslt.nxt_hop_rslt_idx = kPassThru;
        stat.l3FwdNextHopRsltIdx = row.lpmIdx;
        std::string expected =
            start + line(std::string("L3 Gid passthrough, next_hop_idx 3fff1 changed to ") + row.hex + " from L3 LPM");
        if (*row.text)
            expected += line(row.text);
        expected += line("Skip [L3NextHopLu], l3Rqd=0 aclDrop=" + std::to_string(row.aclDrop) +
                         " drop=" + std::to_string(row.drop) + " rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=0");
        if (row.pth)
            expected += line(wipe);
        EXPECT_EQ(run(), expected);
        EXPECT_EQ(stat.l3PselNextHopRsltIdx, row.lpmIdx);
        EXPECT_EQ(stat.l3PselAclEgidPth, 1u);
        EXPECT_EQ(stat.l3PselAclDrop, row.aclDrop);
        EXPECT_EQ(stat.l3PselDropEn, row.drop);
        EXPECT_EQ(stat.l3PselEgidPth, row.pth);
    }
}

TEST_F(LueL3Psel, AclDropGoesBeforeDropForThePrefixSearchsIndex) {
    com.rte_l3_drop = com.rte_l3_acl_drop = 0x77;
    stat.l3RteRqd = 1;
    callees.aclRslt.nxt_hop_rslt_idx = kPassThru;
    stat.l3FwdNextHopRsltIdx = 0x77;
    run();
    EXPECT_EQ(stat.l3PselAclDrop, 1u);
    EXPECT_EQ(stat.l3PselDropEn, 0u);
}

// The DA's next hop.

TEST_F(LueL3Psel, EachReasonKeepsTheNextHopOfTheDaAway) {
    struct {
        const char *name;
        void (*set)(CmRteStat *);
        bool looked;
        const char *text;
    } const rows[] = {
        {"asked for", [](CmRteStat *) {}, true, ""},
        {"not asked for", [](CmRteStat *s) { s->rocL3Rqd = 0; }, false,
         "l3Rqd=0 aclDrop=0 drop=0 rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=0"},
        {"layer 2", [](CmRteStat *s) { s->l3PselEgidPth = 1; }, false,
         "l3Rqd=1 aclDrop=0 drop=0 rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=0"},
        {"ACL drop", [](CmRteStat *s) { s->l3PselAclDrop = 1; }, false,
         "l3Rqd=1 aclDrop=1 drop=0 rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=0"},
        {"no forward", [](CmRteStat *s) { s->l3PselNoFwd = 1; }, false,
         "l3Rqd=1 aclDrop=0 drop=0 rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=1"},
        {"drop", [](CmRteStat *s) { s->l3PselDropEn = 1; }, false,
         "l3Rqd=1 aclDrop=0 drop=1 rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=0"},
        {"route enable", [](CmRteStat *s) { s->l3PselRteEnErr = 1; }, false,
         "l3Rqd=1 aclDrop=0 drop=0 rteEnErr=1 trap=0 l3_ctl_trap=0 noFwd=0"},
        {"route enable with ACL", [](CmRteStat *s) { s->l3PselRteEnErr = s->l3AclAppl = 1; }, true, ""},
        {"trap", [](CmRteStat *s) { s->l3PselTrapEn = 1; }, true, ""},
        {"control trap alone", [](CmRteStat *s) { s->l3CtrlTrap = 1; }, true, ""},
        {"control trap", [](CmRteStat *s) { s->l3PselTrapEn = s->l3CtrlTrap = 1; }, false,
         "l3Rqd=1 aclDrop=0 drop=0 rteEnErr=0 trap=1 l3_ctl_trap=1 noFwd=0"},
    };
    for (const auto &row : rows) {
        ready(4);
        stat.rocL3Rqd = 1;
        callees.ctrl = row.set;
        const std::string out = run();
        EXPECT_TRUE(called("L3NextHopLu 0")) << row.name;
        EXPECT_EQ(called("L3NextHopLu 1"), row.looked) << row.name;
        EXPECT_EQ(out.find("Skip [L3NextHopLu]") == std::string::npos, row.looked) << row.name;
        if (!row.looked) {
            EXPECT_TRUE(prints(out, std::string("Skip [L3NextHopLu], ") + row.text)) << row.name << out;
        }
    }
}

// Levels.

TEST_F(LueL3Psel, QuietRunPrintsNothing) {
    for (uint32_t level : {0u, 1u}) {
        ready(4);
        stat.dbgLvl = level;
        stat.l3RteRqd = stat.l3AclAppl = 1;
        callees.aclRslt.nxt_hop_rslt_idx = kPassThru;
        stat.l3FwdNextHopRsltIdx = kDrop;
        EXPECT_EQ(run(), "");
        EXPECT_EQ(stat.l3PselDropEn, 1u);
    }
}
