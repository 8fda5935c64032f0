// Layer-3 path selection: order, ACL result, pass-through, RPF, merge, ICMP and counters. What it calls in other
// sources is replaced here by functions that record the call and hand back what the test prepared.

#include "cmRteLue.h"
#include "cmRteLueL3.h"
#include "cmTae.h"
#include "model_fixture.h"

#include <array>

namespace {

constexpr uint32_t kPassThru = 0x3fff1;
constexpr uint32_t kDrop = 0x3fff2;
constexpr uint32_t kAclDrop = 0x3fff3;

/// What the stage called and what it is to get back.
struct Callees {
    std::vector<std::string> calls;
    tL3AclInterface intf{};
    std::array<uint32_t, 16> fixedKey{};
    std::array<uint32_t, 9> exmKey{};
    std::array<std::array<uint32_t, 8>, 4> flexKeys{};
    L3PselRslt aclRslt{};
    uint32_t trapRsn = 0;
    uint32_t overTurn = 0;
    std::function<void(CmRteStat *)> ctrl;
    std::function<void(CmRteStat *)> da;
};
Callees callees;

} // namespace

void L3CugidLu(CmRteStat *statPtr) {
    callees.calls.emplace_back("L3CugidLu");
    statPtr->l3PselCugid = 0x123;
}

void L3McuidLu(CmRteStat *statPtr) {
    callees.calls.emplace_back("L3McuidLu");
    statPtr->l3PselMcuid = 0x456;
}

void buildL3AclTcamKey(CmRteStat *, uint32_t *key) {
    callees.calls.emplace_back("buildL3AclTcamKey");
    for (uint32_t i = 0; i < 16; i++)
        key[i] = 0x1000 + i;
}

void buildL3PSelExmKey(CmRteStat *, uint32_t *key) {
    callees.calls.emplace_back("buildL3PSelExmKey");
    for (uint32_t i = 0; i < 9; i++)
        key[i] = 0x2000 + i;
}

void buildL3AclTcamFlexKey(CmRteStat *, uint32_t *key, uint32_t profile) {
    callees.calls.push_back("buildL3AclTcamFlexKey " + std::to_string(profile));
    for (uint32_t i = 0; i < 8; i++)
        key[i] = 0x3000 + 0x100 * profile + i;
}

int32_t CmTaeLkup::lookupL3Acl(tL3AclInterface &intf, L3PselRslt *out) {
    callees.calls.emplace_back("lookupL3Acl");
    callees.intf = intf;
    std::copy_n(intf.tcamFixedKey, 16, callees.fixedKey.begin());
    std::copy_n(intf.exmKey, 9, callees.exmKey.begin());
    for (uint32_t i = 0; i < 4; i++)
        std::copy_n(intf.tcamFlexKey[i], 8, callees.flexKeys[i].begin());
    *out = callees.aclRslt;
    intf.trap_rsn = callees.trapRsn & 0x3f;
    intf.ipMcastDropOverTurn = callees.overTurn & 1;
    return 0;
}

void L3CtrlCls(CmRteStat *statPtr) {
    callees.calls.emplace_back("L3CtrlCls");
    if (callees.ctrl)
        callees.ctrl(statPtr);
}

void L3NextHopLu(CmRteStat *statPtr, uint32_t isDa) {
    callees.calls.push_back("L3NextHopLu " + std::to_string(isDa));
    if (isDa && callees.da)
        callees.da(statPtr);
}

namespace {

class LueL3Psel : public ModelTest {
protected:
    LueL3Psel() : tae(std::make_unique<CmTaeLkup>(0, nullptr, nullptr, nullptr)) { ready(4); }

    /// A fresh frame of IP version `ver` (0: none) at port 2.
    void ready(uint32_t ver) {
        callees = {};
        resetStat(2);
        stat.taePtr = tae.get();
        stat.frmIdx = 9;
        stat.l3IpVer = ver;
        com.rte_l3_passthru = kPassThru;
        com.rte_l3_drop = kDrop;
        com.rte_l3_acl_drop = kAclDrop;
        verbose(true);
    }
    void readyFcoe() {
        ready(0);
        stat.l2FcoeFound = 1;
    }

    std::string run() {
        return printed([&] { L3Psel(&stat); });
    }
    bool called(const std::string &name) const {
        return std::count(callees.calls.begin(), callees.calls.end(), name) != 0;
    }
    std::string line(const std::string &text) const { return "CM port=2, frameIdx=9>> " + text + "\n"; }
    /// Whether the line is printed, once.
    bool prints(const std::string &out, const std::string &text) const {
        const size_t at = out.find(line(text));
        return at != std::string::npos && out.find(line(text), at + 1) == std::string::npos;
    }

    std::unique_ptr<CmTaeLkup> tae;
    const std::string start = line("START L3_PSEL PROCESSING ");
    const std::string idleSkip =
        line("Skip [L3NextHopLu], l3Rqd=0 aclDrop=0 drop=0 rteEnErr=0 trap=0 l3_ctl_trap=0 noFwd=0");
    const std::string wipe = "wipe out trap from LPM due to L3 ACL or passthrouogh";
};

} // namespace

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

TEST_F(LueL3Psel, FirstBankOfLayer3WithTheIndexPartCounts) {
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
        // Banks before it have the part but belong to layer 2, those behind it match too.
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

    // Another part, or no bank of layer 3, counts nothing.
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
    run();
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * idx], 0u);
    EXPECT_EQ(mem.RTE_ACL_STS_FCNT_SRAM[2 * idx + 1], 0u);
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
                regElem(&com, &CmRteHsiComReg::rte_sflow_rate_0, i) = row.rate == 0 ? 1 : 0;
            (profile == 0   ? com.rte_sflow_rate_0
             : profile == 7 ? com.rte_sflow_rate_7
                            : com.rte_sflow_rate_15) = row.rate;
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
