#include "lue/cmRteLue.h"

#include "model_fixture.h"
#include "tcam_image.h"

#include <algorithm>

namespace {

/// The stages behind the classifications, replaced by stand-ins: each writes its name down, and then does what a test
/// hangs into it.
std::vector<std::string> called;
std::function<void(CmRteStat *)> atL2Exm, atFcoeCls, atL2Psel, atL3Ip;

} // namespace

void L2Exm(CmRteStat *statPtr) {
    called.push_back("L2Exm");
    if (atL2Exm)
        atL2Exm(statPtr);
}
void FcoeCls(CmRteStat *statPtr) {
    called.push_back("FcoeCls");
    if (atFcoeCls)
        atFcoeCls(statPtr);
}
void FcoeLu(CmRteStat *) {
    called.push_back("FcoeLu");
}
void L2Psel(CmRteStat *statPtr) {
    called.push_back("L2Psel");
    if (atL2Psel)
        atL2Psel(statPtr);
}
void l2MultipathProcess(CmRteStat *, uint32_t isDaLu) {
    called.push_back("l2MultipathProcess " + std::to_string(isDaLu));
}
void L3Ipv4(CmRteStat *statPtr) {
    called.push_back("L3Ipv4");
    if (atL3Ip)
        atL3Ip(statPtr);
}
void L3Ipv6(CmRteStat *statPtr) {
    called.push_back("L3Ipv6");
    if (atL3Ip)
        atL3Ip(statPtr);
}
void L3FeatureCtrl(CmRteStat *) {
    called.push_back("L3FeatureCtrl");
}
void L3PreRoc(CmRteStat *) {
    called.push_back("L3PreRoc");
}
void L3Flt(CmRteStat *) {
    called.push_back("L3Flt");
}
void L3Psel(CmRteStat *) {
    called.push_back("L3Psel");
}

namespace {

using Calls = std::vector<std::string>;

constexpr uint32_t kPort = 3;

class Lue : public ModelTest {
protected:
    Lue() {
        called.clear();
        atL2Exm = atFcoeCls = atL2Psel = atL3Ip = nullptr;
        resetStat(kPort);
        com.rte_his_en = 0xffffffff;
        stat.frmIdx = 1;
        verbose(true);
        tcamOff(mem.RTE_L2_CONTROL_TCAM, 4);
        tcamOff(mem.RTE_TYP_TCAM, 4);
        tcamOff(mem.RTE_L2_MAC_TCAM, 8);
        tcamOff(mem.RTE_CLOUD_TCAM, 8);
        tcamOff(mem.RTE_TRILL_MRB_TCAM, 2);
        com.res_passthru_ivid = com.res_s_passthru_ivid = 0x1fff;
        com.rte_lue_l2_ctl_rslt_addr_hi = 0x3ff;
        com.rte_lue_l2_typ_app_addr_hi = com.rte_lue_l2_typ_vid_addr_hi = 0x7fff;
        com.rte_lue_l2_typ_mtu_addr_hi = com.rte_lue_l2_typ_attrb_addr_hi = 0x7fff;
        mem.RTE_CLOUD_RSLT_VPN_SRAM[1] = 0x07700000; // every frame is in VLAN 0x77
    }

    std::string run() {
        return printed([&] { CmRteLue(&stat); });
    }
    std::string ctl() {
        return printed([&] { L2CtrlCls(&stat); });
    }
    std::string typLu() {
        return printed([&] { TypLu(&stat); });
    }
    void typAny(uint32_t entry) { tcamAny(mem.RTE_TYP_TCAM, entry, 4); }
    /// Every frame's type asks for the local-MAC check.
    void askLocalMac() { mem.RTE_TYP_ATTRIBUTE_RA[0] = 0x80000000; }

    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }
    static bool hasCall(const std::string &name) {
        return std::find(called.begin(), called.end(), name) != called.end();
    }

    CmRteHsiPortReg &portReg = rte->portRegLst[kPort];
    const std::string prefix = "CM port=3, frameIdx=1>> ";
};

using LueDriver = Lue;
using LueCtrlCls = Lue;
using LueTyp = Lue;
using LueRteEn = Lue;

} // namespace

TEST_F(LueDriver, FrameWithAShimOrAPhysicalQueueIsBypassed) {
    stat.l2PselFcoeVfRouted = stat.l2PselFcoeVeRouted = 1;
    stat.shimRsltVld = 1;
    const CmRteHsiComReg before = com;
    const CmRteStat statBefore = stat;
    EXPECT_EQ(run(), "CM port=3, frameIdx=1, ShimRsltVld=1, phyqRsltVld=0, RTE LUE bypassed.\n");
    EXPECT_EQ(called, Calls{});
    EXPECT_EQ(std::memcmp(&before, &com, sizeof com), 0) << "no history";
    CmRteStat after = stat;
    EXPECT_EQ(after.l2PselFcoeVfRouted, 0u);
    EXPECT_EQ(after.l2PselFcoeVeRouted, 0u);
    after.l2PselFcoeVfRouted = after.l2PselFcoeVeRouted = 1;
    EXPECT_EQ(std::memcmp(&statBefore, &after, sizeof after), 0) << "no other field";

    stat.shimRsltVld = 0;
    stat.phyqRsltVld = 1;
    EXPECT_EQ(run(), "CM port=3, frameIdx=1, ShimRsltVld=0, phyqRsltVld=1, RTE LUE bypassed.\n");
    EXPECT_EQ(called, Calls{});
}

TEST_F(LueDriver, OrderOfThePlainFrame) {
    atL2Psel = [](CmRteStat *statPtr) { statPtr->l2PselRsltTyp = RSLT_FWD; };
    const std::string text = run();
    EXPECT_EQ(called,
              (Calls{"L2Exm", "L2Psel", "l2MultipathProcess 1", "L3FeatureCtrl", "L3PreRoc", "L3Flt", "L3Psel"}));
    size_t at = 0;
    for (const char *part :
         {"[TCAM][L2Ctrl]", "[RSLT][Type]", "[RSLT][L2Mac]", "Vid Classification", "[RSLT][Cloud]"}) {
        at = text.find(part, at);
        ASSERT_NE(at, std::string::npos) << part;
    }
    EXPECT_EQ(text.substr(text.rfind(prefix)), prefix + "cloud cls done. iivid = 77\n");
}

TEST_F(LueDriver, PathsAreChosenOnlyForAForwardedFrame) {
    for (const uint32_t rsltTyp : {0u, 1u, 2u, 3u}) {
        called.clear();
        atL2Psel = [=](CmRteStat *statPtr) { statPtr->l2PselRsltTyp = rsltTyp; };
        run();
        EXPECT_EQ(hasCall("l2MultipathProcess 1"), rsltTyp >= 2) << rsltTyp;
    }
}

TEST_F(LueDriver, FcoeFrameIsLookedUpBehindTheExactMatch) {
    stat.l2FcoeFound = 1;
    run();
    EXPECT_EQ(called, (Calls{"L2Exm", "FcoeCls", "FcoeLu", "L2Psel", "L3FeatureCtrl", "L3PreRoc", "L3Flt", "L3Psel"}));
}

TEST_F(LueDriver, MulticastForPathSelectionLeavesOutRegisterPackets) {
    for (const uint32_t mcast : {0u, 1u})
        for (const uint32_t regEncap : {0u, 1u}) {
            stat.l3IpDaIsMcast = mcast;
            stat.l3IpMcastRegEncap = regEncap;
            run();
            EXPECT_EQ(stat.l2PselL3IpDaIsMcast, mcast && !regEncap);
        }
}

TEST_F(LueDriver, TrillFrameChecksItsPathOrItsBridge) {
    const std::string rpf = "Trill MC RPF", myRb = "[TRILL_MY_RB_LU]";
    for (const uint32_t found : {0u, 1u})
        for (const uint32_t mc : {0u, 1u})
            for (const uint32_t verdict : {0u, 1u, 2u}) {
                stat.l2TrillFound = found;
                stat.l2TrillMc = mc;
                stat.l2PrcTrap = verdict == 1;
                stat.l2PrcDrop = verdict == 2;
                const std::string text = run();
                EXPECT_EQ(has(text, rpf), found && mc && !verdict);
                EXPECT_EQ(has(text, myRb), found && !mc && !verdict);
            }
}

TEST_F(LueDriver, ParsersDropClassifiesAndLeaves) {
    stat.l2PrcDrop = 1;
    stat.l2PrcDropRsn = 12;
    stat.l2PrcTrapQue = 4;
    stat.l2PrcTrapRsn = 5;
    stat.l2PselQmgPrio = 7;
    portReg.rte_prc_def_inner_vlan_id = 0x1abc;
    portReg.rte_prc_def_inner_vlan_prio = 6;
    const std::string text = run();
    EXPECT_EQ(text.substr(0, text.find('\n') + 1), prefix + "PRC DROP=1, PRC TRAP=0\n");
    EXPECT_TRUE(has(text, "cloud cls done. iivid = 77\n" + prefix + "RTE LUE exiting due to L2 PRC DROP rsn=12\n"));
    EXPECT_EQ(called, Calls{});
    EXPECT_EQ(stat.iivid, 0xabcu);
    EXPECT_EQ(stat.l2PselIngPrio, 6u);
    EXPECT_EQ(stat.l2PselQmgPrio, 0u);
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_DROP);
    EXPECT_EQ(stat.l2PselDropRsn, 12u);
    EXPECT_EQ(stat.l2PselTrapQue, 4u);
    EXPECT_EQ(stat.l2PselTrapRsn, 5u);
}

TEST_F(LueDriver, ParsersTrapWinsOverItsDrop) {
    stat.l2PrcDrop = 1;
    stat.l2PrcDropRsn = 12;
    stat.l2PrcTrap = 1;
    stat.l2PrcTrapQue = 4;
    stat.l2PrcTrapRsn = 5;
    stat.isCTagged = 1;
    stat.xcvid = 0x3456;
    stat.ctagPrio = 3;
    const std::string text = run();
    EXPECT_TRUE(has(text, prefix + "PRC DROP=1, PRC TRAP=1\n"));
    EXPECT_TRUE(has(text, prefix + "RTE LUE exiting due to L2 PRC TRAP rsn=5\n"));
    EXPECT_EQ(stat.iivid, 0x456u);
    EXPECT_EQ(stat.l2PselIngPrio, 3u);
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_TRAP);
    EXPECT_EQ(stat.l2PselDropRsn, 0u);
    EXPECT_EQ(stat.l2PselTrapQue, 4u);
    EXPECT_EQ(stat.l2PselTrapRsn, 5u);
    EXPECT_EQ(called, Calls{});
}

TEST_F(LueDriver, LocalSourceIsDroppedAndStillPassesLayer3) {
    askLocalMac();
    stat.l2Sa = 0x020000000001;
    portReg.rte_prc_def_inner_vlan_prio = 5;
    const std::string text = run();
    EXPECT_TRUE(
        has(text, prefix + "[Type] MacSa is Local and typAttrib local_mac_drop=1 ==> packet marked for DROP\n"));
    EXPECT_FALSE(has(text, "exiting"));
    EXPECT_EQ(stat.l2PrcDrop, 1u);
    EXPECT_EQ(stat.l2PrcDropRsn, 26u);
    EXPECT_EQ(stat.l2PrcTrap, 0u);
    EXPECT_EQ(stat.iivid, 0x77u) << "as classified";
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_DROP);
    EXPECT_EQ(stat.l2PselDropRsn, 26u);
    EXPECT_EQ(stat.l2PselIngPrio, 5u);
    EXPECT_EQ(called, (Calls{"L2Exm", "L3FeatureCtrl", "L3PreRoc", "L3Flt", "L3Psel"}));
}

TEST_F(LueDriver, LocalSourceIsTrapped) {
    askLocalMac();
    stat.l2Sa = 0x020000000001;
    stat.l2PrcTrapRsn = 9;
    stat.isCTagged = 1;
    stat.ctagPrio = 2;
    stat.l2PselQmgPrio = 4;
    portReg.rte_prc_l2_trap_local_mac_err = 1;
    com.rte_l2_hdr_vio_trap_que = 11;
    EXPECT_TRUE(
        has(run(), prefix + "[Type] MacSa is Local and typAttrib local_mac_drop=1 ==> packet marked for TRAP\n"));
    EXPECT_EQ(stat.l2PrcTrap, 1u);
    EXPECT_EQ(stat.l2PrcDrop, 0u);
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_TRAP);
    EXPECT_EQ(stat.l2PselTrapQue, 11u);
    EXPECT_EQ(stat.l2PselTrapRsn, 0u);
    EXPECT_EQ(stat.l2PselIngPrio, 2u);
    EXPECT_EQ(stat.l2PselQmgPrio, 0u);
    EXPECT_FALSE(hasCall("L2Psel"));
}

TEST_F(LueDriver, LocalSourcePassesWhenItsTypeDoesNotAskOrTheBitIsClear) {
    stat.l2Sa = 0x020000000001;
    EXPECT_FALSE(has(run(), "MacSa is Local"));
    askLocalMac();
    stat.l2Sa = 0xfdffffffffff;
    EXPECT_FALSE(has(run(), "MacSa is Local"));
    EXPECT_EQ(stat.l2PrcDrop, 0u);
    EXPECT_TRUE(hasCall("L2Psel"));
}

TEST_F(LueDriver, ReversePathErrorIsTrappedOrDropped) {
    com.rte_l2_trill_rpf_trap_que = 13;
    stat.l2TrillMcRpfDrop = 1;
    EXPECT_TRUE(has(run(), prefix + "PRC Trill RPF drop_bit=0 & l2_trill_trap_rpf_err=0. DROP\n"));
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_DROP);
    EXPECT_EQ(stat.l2PselDropRsn, 28u);

    stat.l2PrcDrop = 0;
    portReg.rte_prc_l2_trill_trap_rpf_err = 1;
    EXPECT_TRUE(has(run(), prefix + "PRC Trill RPF drop_bit=0 & l2_trill_trap_rpf_err=1. TRAP\n"));
    EXPECT_EQ(stat.l2PrcDrop, 0u);
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_TRAP);
    EXPECT_EQ(stat.l2PselTrapQue, 13u);
    EXPECT_EQ(stat.l2PselTrapRsn, 25u);
}

TEST_F(LueDriver, ChassisSourceIsTrappedOrDropped) {
    com.rte_l2_hdr_vio_trap_que = 14;
    atL2Exm = [](CmRteStat *statPtr) { statPtr->l2ExmSaChassisErr = 1; };
    EXPECT_TRUE(has(run(), prefix + "SA is chassis address. DROP\n"));
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_DROP);
    EXPECT_EQ(stat.l2PselDropRsn, 4u);

    stat.l2PrcDrop = 0;
    com.rte_l2_trap_chs_sa_err = 1;
    stat.l2PrcTrapRsn = 9;
    EXPECT_TRUE(has(run(), prefix + "L2 SA is chassis address. TRAP\n"));
    EXPECT_EQ(stat.l2PrcDrop, 0u);
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_TRAP);
    EXPECT_EQ(stat.l2PselTrapQue, 14u);
    EXPECT_EQ(stat.l2PselTrapRsn, 0u);
}

TEST_F(LueDriver, LaterTrapJoinsAnEarlierDropAndWins) {
    askLocalMac();
    stat.l2Sa = 0x020000000001;
    stat.l2TrillMcRpfDrop = 1;
    portReg.rte_prc_l2_trill_trap_rpf_err = 1;
    std::string text = run();
    EXPECT_TRUE(has(text, "marked for DROP\n"));
    EXPECT_TRUE(has(text, "l2_trill_trap_rpf_err=1. TRAP\n"));
    EXPECT_EQ(stat.l2PrcDrop, 1u);
    EXPECT_EQ(stat.l2PrcTrap, 1u);
    EXPECT_EQ(stat.l2PrcDropRsn, 26u);
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_TRAP);
    EXPECT_EQ(stat.l2PselTrapRsn, 25u);
    EXPECT_EQ(stat.l2PselDropRsn, 0u);

    stat.l2PrcDrop = stat.l2PrcTrap = 0;
    stat.l2TrillMcRpfDrop = 0;
    stat.l2ExmSaChassisErr = 1;
    com.rte_l2_trap_chs_sa_err = 1;
    EXPECT_TRUE(has(run(), "L2 SA is chassis address. TRAP\n"));
    EXPECT_EQ(stat.l2PrcDrop, 1u);
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_TRAP);
}

TEST_F(LueDriver, LaterCheckAddsNothingToATrapAndNoDropToADrop) {
    askLocalMac();
    stat.l2Sa = 0x020000000001;
    stat.l2TrillMcRpfDrop = stat.l2ExmSaChassisErr = 1;
    std::string text = run(); // nothing traps: the first drop stands
    EXPECT_FALSE(has(text, "Trill RPF"));
    EXPECT_FALSE(has(text, "chassis"));
    EXPECT_EQ(stat.l2PrcDropRsn, 26u);

    stat.l2PrcDrop = 0;
    portReg.rte_prc_l2_trap_local_mac_err = portReg.rte_prc_l2_trill_trap_rpf_err = 1;
    com.rte_l2_trap_chs_sa_err = 1;
    text = run(); // the first trap stands
    EXPECT_FALSE(has(text, "Trill RPF"));
    EXPECT_FALSE(has(text, "chassis"));
    EXPECT_EQ(stat.l2PrcTrapRsn, 0u);
    EXPECT_EQ(stat.l2PrcDrop, 0u);
}

TEST_F(LueDriver, VerdictOfTheLookupsSkipsTheThreeChecks) {
    askLocalMac();
    stat.l2Sa = 0x020000000001;
    stat.l2TrillMcRpfDrop = stat.l2ExmSaChassisErr = 1;
    portReg.rte_prc_l2_trill_trap_rpf_err = 1;
    stat.l2FcoeFound = 1;
    atL2Exm = [](CmRteStat *statPtr) {
        statPtr->l2PrcDrop = 1;
        statPtr->l2PrcDropRsn = 3;
    };
    EXPECT_FALSE(has(run(), "Trill RPF"));
    EXPECT_EQ(stat.l2PselDropRsn, 3u);
    EXPECT_EQ(stat.l2PrcTrap, 0u);
    EXPECT_TRUE(hasCall("FcoeLu"));

    stat.l2PrcDrop = 0;
    atL2Exm = nullptr;
    atFcoeCls = [](CmRteStat *statPtr) {
        statPtr->l2PrcTrap = 1;
        statPtr->l2PrcTrapRsn = 8;
    };
    EXPECT_FALSE(has(run(), "MacSa is Local"));
    EXPECT_EQ(stat.l2PselRsltTyp, RSLT_TRAP);
    EXPECT_EQ(stat.l2PselTrapRsn, 8u);
    EXPECT_FALSE(hasCall("L2Psel"));
}

TEST_F(LueDriver, Layer3LookupFollowsTheIpVersion) {
    for (const uint32_t ver : {0u, 4u, 5u, 6u}) {
        called.clear();
        stat.l3IpVer = ver;
        run();
        EXPECT_EQ(hasCall("L3Ipv4"), ver == 4) << ver;
        EXPECT_EQ(hasCall("L3Ipv6"), ver == 6) << ver;
    }
    stat.l3IpVer = 4;
    called.clear();
    run();
    EXPECT_EQ(called, (Calls{"L2Exm", "L2Psel", "L3Ipv4", "L3FeatureCtrl", "L3PreRoc", "L3Flt", "L3Psel"}));
}

TEST_F(LueDriver, RegisterPacketIsTrappedUnlessTheLookupClearsIt) {
    com.rte_l3_ip_rp_pim_encap_trap_que = 9;
    stat.l3IpMcastRegEncap = 1;
    EXPECT_FALSE(has(run(), "TRP_RP_PIM_ENCAP")) << "neither IPv4 nor IPv6";
    EXPECT_EQ(stat.l3IpTrapEn, 0u);
    for (const uint32_t ver : {4u, 6u}) {
        stat.l3IpVer = ver;
        stat.l3IpTrapEn = stat.l3IpTrapRsn = stat.l3IpTrapQue = 0;
        EXPECT_TRUE(has(run(), prefix + "TRP_RP_PIM_ENCAP. TRAP\n"));
        EXPECT_EQ(stat.l3IpTrapEn, 1u);
        EXPECT_EQ(stat.l3IpTrapRsn, 18u);
        EXPECT_EQ(stat.l3IpTrapQue, 9u);
    }
    stat.l3IpTrapEn = 0;
    atL3Ip = [](CmRteStat *statPtr) { statPtr->l3IpMcastRegEncap = 0; };
    EXPECT_FALSE(has(run(), "TRP_RP_PIM_ENCAP"));
    EXPECT_EQ(stat.l3IpTrapEn, 0u);
}

TEST_F(LueDriver, ParsersLayer3VerdictReplacesTheLookup) {
    stat.l3IpVer = 4;
    stat.l3IpMcastRegEncap = 1;
    stat.l3PrcDropRsn = 13;
    stat.l3PrcTrapQue = 2;
    std::string text = run();
    EXPECT_FALSE(hasCall("L3Ipv4"));
    EXPECT_FALSE(has(text, "TRP_RP_PIM_ENCAP"));
    EXPECT_EQ(stat.l3IpTrapVld, 0u);
    EXPECT_EQ(stat.l3IpDropRsn, 13u);
    EXPECT_EQ(stat.l3IpTrapQue, 2u);
    EXPECT_EQ(stat.l3IpTrapEn, 0u);

    stat.l3PrcDropRsn = 0;
    stat.l3PrcTrapRsn = 17;
    run();
    EXPECT_FALSE(hasCall("L3Ipv4"));
    EXPECT_EQ(stat.l3IpTrapVld, 1u);
    EXPECT_EQ(stat.l3IpTrapRsn, 17u);
    EXPECT_EQ(stat.l3IpDropRsn, 0u);
    EXPECT_TRUE(hasCall("L3Psel"));
}

TEST_F(LueDriver, MtuIsTheSmallerOfTypeAndVlan) {
    for (const auto &[typ, vlan, mtu] : {std::tuple{9u, 5u, 5u}, {5u, 9u, 5u}, {0u, 9u, 0u}, {7u, 7u, 7u}}) {
        mem.RTE_TYP_MTU_SRAM[0] = typ;
        mem.RTE_L2_VLAN_MTU_SRAM[0x77] = vlan;
        run();
        EXPECT_EQ(stat.l2Mtu, mtu);
    }
}

TEST_F(LueCtrlCls, VidOfTheKeyByFrameKind) {
    stat.xsvid = 0x3011; // 13 bits
    stat.xcvid = 0x0022;
    stat.ctag = 0x0033;
    portReg.rte_prc_def_inner_vlan_id = 0x1044;
    for (const uint32_t trill : {0u, 1u})
        for (const uint32_t qinq : {0u, 1u})
            for (const uint32_t stag : {0u, 1u})
                for (const uint32_t ctag : {0u, 1u}) {
                    stat.l2TrillFound = trill;
                    stat.l2QinqEn = qinq;
                    stat.stagNz = stag;
                    stat.ctagNz = ctag;
                    const uint64_t vid = qinq ? (stag ? 0x1011 : 0x1044) : !ctag ? 0x1044 : trill ? 0x33 : 0x22;
                    ctl();
                    const uint64_t key = static_cast<uint64_t>(com.rte_his_l2_ctl_tcam_key[3][0]) << 32 |
                                         com.rte_his_l2_ctl_tcam_key[3][1];
                    EXPECT_EQ(key, 1ull << 62 | static_cast<uint64_t>(trill) << 61 | vid << 48)
                        << trill << qinq << stag << ctag;
                }
}

TEST_F(LueCtrlCls, HitSetsWhatThePortsBitsSay) {
    stat.l2MacClsDa = 0x0180c2000003;
    portReg.rte_prc_def_inner_vlan_id = 5;
    tcamExact(mem.RTE_L2_CONTROL_TCAM, 1023, {0x00050180, 0xc2000003});
    for (const uint32_t skip : {0u, 1u})
        for (const uint32_t ovrd : {0u, 1u}) {
            mem.RTE_L2_CONTROL_RSLT_SRAM[2 * 1023] = skip ? 1u << kPort : ~(1u << kPort);
            mem.RTE_L2_CONTROL_RSLT_SRAM[2 * 1023 + 1] = ovrd ? 1u << kPort : ~(1u << kPort);
            stat.l2CtlSkipIvf = stat.l2CtlVlanOverride = 0;
            EXPECT_EQ(ctl(), prefix + "[TCAM][L2Ctrl] Search with Key: 0x50180c2000003 , Expected hit=0x1 , Expected "
                                      "RsltIdx=0x3ff \n");
            EXPECT_EQ(stat.l2CtlSkipIvf, skip);
            EXPECT_EQ(stat.l2CtlVlanOverride, ovrd);
        }
    EXPECT_EQ(com.rte_his_l2_ctl_rslt[3], 0x10000u | 1 << 10 | 0x3ff);
    mem.RTE_L2_CONTROL_RSLT_SRAM[2 * 1023] = mem.RTE_L2_CONTROL_RSLT_SRAM[2 * 1023 + 1] = 0;
    ctl();
    EXPECT_EQ(stat.l2CtlSkipIvf, 1u) << "never taken back";
    EXPECT_EQ(stat.l2CtlVlanOverride, 1u);
}

TEST_F(LueCtrlCls, MissReadsNoResult) {
    mem.RTE_L2_CONTROL_RSLT_SRAM[0] = mem.RTE_L2_CONTROL_RSLT_SRAM[1] = 0xffffffff;
    EXPECT_EQ(ctl(), prefix + "[TCAM][L2Ctrl] Search with Key: 0x0 , Expected hit=0x0 , Expected RsltIdx=0x0 \n");
    EXPECT_EQ(stat.l2CtlSkipIvf, 0u);
    EXPECT_EQ(stat.l2CtlVlanOverride, 0u);
    EXPECT_EQ(com.rte_his_l2_ctl_rslt[3], 0x10000u);
}

TEST_F(LueCtrlCls, CondemnedFrameIsNotCaptured) {
    for (uint32_t *flag : {&stat.l2PrcTrap, &stat.l2PrcDrop}) {
        *flag = 1;
        ctl();
        *flag = 0;
        EXPECT_EQ(com.rte_his_l2_ctl_tcam_key[3][0], 0u);
        EXPECT_EQ(com.rte_his_l2_ctl_rslt[3], 0u);
    }
}

TEST_F(LueCtrlCls, IndexHistoryHasARange) {
    tcamAny(mem.RTE_L2_CONTROL_TCAM, 0x105, 4);
    struct {
        uint32_t lo, hi;
        bool captured;
    } const rows[] = {{0x105, 0x105, true}, {0x106, 0x3ff, false}, {0, 0x104, false}};
    for (const auto &row : rows) {
        com.rte_lue_l2_ctl_rslt_addr_lo = row.lo;
        com.rte_lue_l2_ctl_rslt_addr_hi = row.hi;
        com.rte_his_l2_ctl_rslt[3] = 0;
        ctl();
        EXPECT_EQ(com.rte_his_l2_ctl_rslt[3], row.captured ? 0x10505u : 0u) << row.lo;
    }
}

TEST_F(LueTyp, KeyHasAllFields) {
    portReg.rte_prc_class_lgc_port = 0x15;
    stat.typL3Frag = 1;
    stat.typL2LlcDet = 1;
    stat.typL3Ulp = 0x11;
    stat.typL2Etyp = 0x0800;
    stat.typL4Src = 0x1234;
    stat.typL4Dst = 0x5678;
    typLu();
    EXPECT_EQ(com.rte_his_typ_tcam_key[3][0], 1u);
    EXPECT_EQ(com.rte_his_typ_tcam_key[3][1], 0x15u << 27 | 5u << 24 | 0x110800);
    EXPECT_EQ(com.rte_his_typ_tcam_key[3][2], 0x12345678u);
    stat.typL3Frag = stat.typL2LlcDet = 0;
    stat.typL2TrillFound = 1;
    tcamExact(mem.RTE_TYP_TCAM, 7, {0x15u << 27 | 2u << 24 | 0x110800, 0x12345678});
    com.rte_app_typ_en = 1;
    EXPECT_TRUE(has(typLu(), prefix + "[TCAM][Type][Hit] App Type HitIdx: 0x7\n"));
}

TEST_F(LueTyp, DefaultsReadTheirTables) {
    com.rte_app_typ_unk = 6;
    com.rte_typ_mtu_unk = 9;
    com.rte_typ_attrb_unk = 0x3e1; // word 62, pair 1
    mem.RTE_APP_TYP_RA[1] = 0x11223344;
    mem.RTE_TYP_MTU_SRAM[9] = 0x2345;
    mem.RTE_TYP_ATTRIBUTE_RA[62] = 0x1fffffff & ~0x0fffffffu;
    stat.typVid = 0x123;
    stat.typVidHit = 1;
    EXPECT_EQ(typLu(), prefix + "[RSLT][Type] Type: 33, TypeVID: 123, TypeMtu: 0x2345, TypeAttr.pol_en: 1, "
                                "TypAttr.local_mac_drop: 0 (attribW: 0x10000000) , ATTR TypIDX=0x3e1 , ATTR typ "
                                "unk=0x03e1\n");
    EXPECT_EQ(stat.typ, 0x33u);
    EXPECT_EQ(stat.typVidHit, 0u);
    EXPECT_EQ(stat.typVid, 0x123u);
    EXPECT_EQ(stat.typMtu, 0x2345u);
    EXPECT_EQ(stat.typAttrPolEn, 1u);
    EXPECT_EQ(stat.typAttrLocMacDrp, 0u);
    EXPECT_EQ(com.rte_his_app_typ[3], 0x10000u | kPort << 10 | 6);
    EXPECT_EQ(com.rte_his_typ_mtu[3], 0x10000u | kPort << 10 | 9);
    EXPECT_EQ(com.rte_his_typ_attrb[3], 0x10000u | kPort << 10 | 0x3e1);
    EXPECT_EQ(com.rte_his_typ[3], 0u) << "captured on a hit only";
}

TEST_F(LueTyp, ByteOfTheApplicationTypeAndPairOfTheAttribute) {
    mem.RTE_APP_TYP_RA[0] = 0xa1b2c3d4;
    const uint32_t typLst[] = {0xa1, 0xb2, 0xc3, 0xd4};
    mem.RTE_TYP_ATTRIBUTE_RA[0] = 0x1b000002; // pairs 0, 1, 2, 3 hold 0 to 3; pair 15 holds 2
    for (uint32_t i = 0; i < 4; i++) {
        com.rte_app_typ_unk = com.rte_typ_attrb_unk = i;
        typLu();
        EXPECT_EQ(stat.typ, typLst[i]);
        EXPECT_EQ(stat.typAttrPolEn, i & 1);
        EXPECT_EQ(stat.typAttrLocMacDrp, i >> 1);
    }
    com.rte_typ_attrb_unk = 15;
    typLu();
    EXPECT_EQ(stat.typAttrPolEn, 0u);
    EXPECT_EQ(stat.typAttrLocMacDrp, 1u);
}

TEST_F(LueTyp, HitsInDifferentBlocksServeDifferentClassifications) {
    typAny(0x21);  // block 1
    typAny(0x45);  // block 2
    typAny(0x46);  // block 2
    typAny(0x3ff); // block 31
    com.rte_app_typ_en = 1u << 31;
    com.rte_typ_vid_en = 1u << 1;
    com.rte_typ_mtu_en = 1u << 2;
    com.rte_typ_attrb_en = 1u << 31;
    mem.RTE_APP_TYP_RA[255] = 0x99;
    mem.RTE_TYP_VID_EDRAM[(kPort << 10 | 0x21) >> 1] = 0x0aaafbbb;
    mem.RTE_TYP_MTU_SRAM[0x45] = 0x55;
    mem.RTE_TYP_ATTRIBUTE_RA[63] = 3;
    const std::string app = prefix + "[TCAM][Type] App Type Tcam Hit when not enabled. HitIdx: 0x";
    const std::string attrb = prefix + "[TCAM][Type] Type Attribute Tcam hit when not enabled. HitIdx: 0x";
    EXPECT_EQ(typLu(), app + "21\n" + app + "45\n" + app + "46\n" + prefix +
                           "[TCAM][Type][Hit] App Type HitIdx: 0x3ff\n" + prefix +
                           "[TCAM][Type][Hit] Type VID HitIdx: 0x21\n" + prefix +
                           "[TCAM][Type] Type MTU Tcam hit when not enabled. HitIdx: 0x21\n" + prefix +
                           "[TCAM][Type][Hit] Type MTU HitIdx: 0x45\n" + attrb + "21\n" + attrb + "45\n" + attrb +
                           "46\n" + prefix + "[TCAM][Type][Hit] Type Attribute HitIdx: 0x3ff\n" + prefix +
                           "[RSLT][Type] Type: 99, TypeVID: 1bbb, TypeMtu: 0x55, TypeAttr.pol_en: 1, "
                           "TypAttr.local_mac_drop: 1 (attribW: 0x3) , ATTR TypIDX=0x3ff , ATTR typ unk=0x00\n");
    EXPECT_EQ(stat.typVidHit, 1u);
    EXPECT_EQ(com.rte_his_app_typ[3], 0x10000u | 1 << 15 | kPort << 10 | 0x3ff);
    EXPECT_EQ(com.rte_his_typ[3], 0x10000u | 1 << 15 | kPort << 10 | 0x21);
    EXPECT_EQ(com.rte_his_typ_mtu[3], 0x10000u | 1 << 15 | kPort << 10 | 0x45);
    EXPECT_EQ(com.rte_his_typ_attrb[3], 0x10000u | 1 << 15 | kPort << 10 | 0x3ff);
}

TEST_F(LueTyp, EvenEntryHasTheHighHalfOfTheVidWord) {
    typAny(0x20);
    com.rte_typ_vid_en = 1u << 1;
    mem.RTE_TYP_VID_EDRAM[(kPort << 10 | 0x20) >> 1] = 0xfaaa0bbb;
    typLu();
    EXPECT_EQ(stat.typVid, 0x1aaau);
    EXPECT_EQ(stat.typVidHit, 1u);
}

TEST_F(LueTyp, HitThatNoClassificationOwnsChangesNothing) {
    typAny(0x21);
    com.rte_app_typ_en = com.rte_typ_vid_en = com.rte_typ_mtu_en = com.rte_typ_attrb_en = ~2u;
    com.rte_app_typ_unk = com.rte_typ_mtu_unk = com.rte_typ_attrb_unk = 4;
    mem.RTE_APP_TYP_RA[1] = 0x12000000;
    mem.RTE_TYP_MTU_SRAM[4] = 5;
    EXPECT_EQ(typLu(), prefix + "[TCAM][Type] App Type Tcam Hit when not enabled. HitIdx: 0x21\n" + prefix +
                           "[TCAM][Type] Type VID Tcam Hit when not enabled. HitIdx: 0x21\n" + prefix +
                           "[TCAM][Type] Type MTU Tcam hit when not enabled. HitIdx: 0x21\n" + prefix +
                           "[TCAM][Type] Type Attribute Tcam hit when not enabled. HitIdx: 0x21\n" + prefix +
                           "[RSLT][Type] Type: 12, TypeVID: 0, TypeMtu: 0x5, TypeAttr.pol_en: 0, "
                           "TypAttr.local_mac_drop: 0 (attribW: 0x0) , ATTR TypIDX=0x4 , ATTR typ unk=0x04\n");
    EXPECT_EQ(stat.typVidHit, 0u);
    EXPECT_EQ(com.rte_his_typ[3], 0u);
}

TEST_F(LueTyp, TrillFrameGetsNoVidButItsHitIsCaptured) {
    typAny(0x1f);
    typAny(0x20);
    com.rte_typ_vid_en = 1u << 1;
    mem.RTE_TYP_VID_EDRAM[(kPort << 10 | 0x20) >> 1] = 0x0aaa0bbb;
    stat.l2TrillFound = 1;
    stat.typVidHit = 1;
    const std::string text = typLu();
    EXPECT_TRUE(has(text, prefix + "[TCAM][Type] Type VID cls bypassed on a Trill or S port\n"));
    EXPECT_FALSE(has(text, "Type VID HitIdx"));
    EXPECT_FALSE(has(text, "Type VID Tcam Hit when not enabled")) << "the second walk is silent";
    EXPECT_EQ(stat.typVidHit, 0u);
    EXPECT_EQ(stat.typVid, 0u);
    EXPECT_EQ(com.rte_his_typ[3], 0x10000u | 1 << 15 | kPort << 10 | 0x20);
}

TEST_F(LueTyp, IndexHistoriesHaveRanges) {
    typAny(0);
    com.rte_app_typ_en = com.rte_typ_vid_en = com.rte_typ_mtu_en = com.rte_typ_attrb_en = 1;
    const uint32_t key = kPort << 10; // the range looks at port and index
    uint32_t *const loLst[] = {&com.rte_lue_l2_typ_app_addr_lo, &com.rte_lue_l2_typ_vid_addr_lo,
                               &com.rte_lue_l2_typ_mtu_addr_lo, &com.rte_lue_l2_typ_attrb_addr_lo};
    uint32_t *const hisLst[] = {&com.rte_his_app_typ[3], &com.rte_his_typ[3], &com.rte_his_typ_mtu[3],
                                &com.rte_his_typ_attrb[3]};
    for (uint32_t *lo : loLst)
        *lo = key + 1;
    typLu();
    for (uint32_t *his : hisLst)
        EXPECT_EQ(*his, 0u);
    for (uint32_t *lo : loLst)
        *lo = key;
    typLu();
    for (uint32_t *his : hisLst)
        EXPECT_EQ(*his, 0x18000u | key);
    uint32_t *const hiLst[] = {&com.rte_lue_l2_typ_app_addr_hi, &com.rte_lue_l2_typ_vid_addr_hi,
                               &com.rte_lue_l2_typ_mtu_addr_hi, &com.rte_lue_l2_typ_attrb_addr_hi};
    for (uint32_t i = 0; i < 4; i++) {
        *hisLst[i] = 0;
        *hiLst[i] = key - 1;
        *loLst[i] = 0;
    }
    typLu();
    for (uint32_t *his : hisLst)
        EXPECT_EQ(*his, 0u);
}

TEST_F(LueRteEn, BitOfVlanAndCastByIpVersion) {
    stat.iivid = 0x1fe5;
    mem.RTE_L2_PSEL_IPV4_RTE_EN_SRAM[0xff] = 0x20;
    mem.RTE_L2_PSEL_IPV6_RTE_EN_SRAM[0x1ff] = 0x7fffff20;
    const auto check = [&](uint32_t ver, uint32_t mcast) {
        stat.l3IpVer = ver;
        stat.l2PselL3IpDaIsMcast = mcast;
        stat.l2PselRteEn = 7;
        return printed([&] { RteEnCk(&stat); });
    };
    const std::string head = prefix + "[RTE EN SRAM], IIVID=1fe5, IpDaIsMcast=";
    EXPECT_EQ(check(4, 0), head + "0, Addr=ff, RTE EN SRAM Data=20, RteEn=1\n");
    EXPECT_EQ(stat.l2PselRteEn, 1u);
    EXPECT_EQ(check(4, 1), head + "1, Addr=1ff, RTE EN SRAM Data=0, RteEn=0\n");
    EXPECT_EQ(stat.l2PselRteEn, 0u);
    EXPECT_EQ(check(6, 0), head + "0, Addr=ff, RTE EN SRAM Data=0, RteEn=0\n");
    EXPECT_EQ(check(6, 1), head + "1, Addr=1ff, RTE EN SRAM Data=7fffff20, RteEn=1\n");
    EXPECT_EQ(stat.l2PselRteEn, 1u);
    EXPECT_EQ(check(0, 0), head + "0, Addr=ff, RTE EN SRAM Data=0, RteEn=0\n");
    EXPECT_EQ(stat.l2PselRteEn, 0u);
    stat.iivid = 0xffffffff; // far beyond the memory
    check(4, 0);
    EXPECT_EQ(stat.l2PselRteEn, 0u);
}

TEST_F(LueDriver, QuietFramePrintsNothing) {
    verbose(false);
    stat.l2TrillFound = 1;
    EXPECT_EQ(run() + printed([&] { RteEnCk(&stat); }), "");
    stat.l2PrcDrop = 1;
    EXPECT_EQ(run(), "");
    stat.shimRsltVld = 1;
    EXPECT_EQ(run(), "");
}
