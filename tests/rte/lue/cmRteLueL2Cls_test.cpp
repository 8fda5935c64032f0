#include "lue/cmRteLue.h"

#include "model_fixture.h"
#include "tcam_image.h"

namespace {

constexpr uint32_t kPort = 3;

class LueL2Cls : public ModelTest {
protected:
    LueL2Cls() {
        resetStat(kPort);
        com.rte_his_en = 0xffffffff;
        stat.frmIdx = 1;
        verbose(true);
        tcamOff(mem.RTE_L2_MAC_TCAM, 8);
        tcamOff(mem.RTE_CLOUD_TCAM, 8);
        com.rte_lue_l2_mac_vid_addr_hi = com.rte_lue_l2_mac_prio_addr_hi = 0x7ff;
        com.rte_lue_csc_vpn_addr_hi = com.rte_lue_csc_policy_addr_hi = com.rte_lue_l2_mtu_addr_hi = 0x3fff;
        com.rte_lue_csc_iivid_vpn_id_addr_hi = 0x1fff;
    }

    std::string mac() {
        return printed([&] { MacCls(&stat); });
    }
    std::string vid() {
        return printed([&] { L2VidCls(&stat); });
    }
    std::string cloud() {
        return printed([&] { CloudCls(&stat); });
    }
    /// Lets entry `entry` of MAC sub-table `tbl` hit every frame.
    void macAny(uint32_t tbl, uint32_t entry) { tcamAny(mem.RTE_L2_MAC_TCAM, tbl * 32 + entry, 8); }
    void cloudAny(uint32_t entry) { tcamAny(mem.RTE_CLOUD_TCAM, entry, 8); }
    void setVpnRslt(uint32_t row, uint32_t iivid, uint32_t vpn) {
        const uint64_t word = static_cast<uint64_t>(iivid) << 20 | vpn;
        mem.RTE_CLOUD_RSLT_VPN_SRAM[2 * row] = static_cast<uint32_t>(word >> 32);
        mem.RTE_CLOUD_RSLT_VPN_SRAM[2 * row + 1] = static_cast<uint32_t>(word);
    }

    static bool has(const std::string &text, const std::string &part) { return text.find(part) != std::string::npos; }

    CmRteHsiPortReg &portReg = rte->portRegLst[kPort];
    const std::string prefix = "CM port=3, frameIdx=1>> ";
};

using LueMacCls = LueL2Cls;
using LueL2VidCls = LueL2Cls;
using LueCloudCls = LueL2Cls;

} // namespace

TEST_F(LueMacCls, KeyHasPortAndBothAddresses) {
    stat.l2MacClsDa = 0x112233445566;
    stat.l2MacClsSa = 0xaabbccddeeff;
    tcamExact(mem.RTE_L2_MAC_TCAM, 63 * 32 + 31, {kPort, 0x11223344, 0x5566aabb, 0xccddeeff});
    portReg.rte_prc_l2_mac_vid_en = 1;
    com.rte_l2_mac_vid_en_0 = 0x80000000;
    mem.RTE_L2_MAC_VID_SRAM[2047] = 0x1abc;
    EXPECT_EQ(mac(), prefix + "[TCAM][L2Mac] Search with Key: 0x311223344 5566aabbccddeeff\n" + prefix +
                         "[TCAM][L2Mac-vid][Hit] HitIdx: 0x7ff\n" + prefix +
                         "[RSLT][L2Mac] MacVid: 0x1abc, MacPrio: 0x0, MacDp: 0x0\n");
    EXPECT_EQ(stat.macVidHit, 1u);
    EXPECT_EQ(stat.macVid, 0x1abcu);
    EXPECT_EQ(com.rte_his_l2_mac_tcam_key[3][0], 0x10000u | kPort);
    EXPECT_EQ(com.rte_his_l2_mac_tcam_key[3][1], 0x11223344u);
    EXPECT_EQ(com.rte_his_l2_mac_tcam_key[3][2], 0x5566aabbu);
    EXPECT_EQ(com.rte_his_l2_mac_tcam_key[3][3], 0xccddeeffu);
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10000u | 1 << 11 | 0x7ff);
}

TEST_F(LueMacCls, OtherProfileHasTheEtherTypeInPlaceOfTheDestination) {
    portReg.rte_prc_mac_cls_profile = 1;
    stat.l2MacClsDa = 0x112233445566;
    stat.l2MacClsSa = 0xaabbccddeeff;
    stat.l2Etyp = 0x8906;
    EXPECT_EQ(mac(), prefix + "[TCAM][L2Mac] Search with Key: 0x300000000 8906aabbccddeeff\n" + prefix +
                         "[RSLT][L2Mac] MacVid: 0x0, MacPrio: 0x0, MacDp: 0x0\n");
}

TEST_F(LueMacCls, CondemnedFrameLeavesNoKeyAndNoCount) {
    macAny(0, 0);
    portReg.rte_prc_l2_sts_mac_en = 1;
    com.rte_l2_mac_sts_en_1 = 1;
    for (uint32_t *flag : {&stat.l2PrcTrap, &stat.l2PrcDrop}) {
        *flag = 1;
        mac();
        *flag = 0;
        EXPECT_EQ(com.rte_his_l2_mac_tcam_key[3][0], 0u);
        EXPECT_EQ(mem.RTE_L2_MAC_STS_FCNT_SRAM[1], 0u);
        EXPECT_EQ(stat.mac_sts_hit, 0u);
    }
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10000u) << "the index histories capture it";
    EXPECT_EQ(com.rte_his_l2_mac_prio[3], 0x10000u);
    mac();
    EXPECT_EQ(com.rte_his_l2_mac_tcam_key[3][0], 0x10000u | kPort);
    EXPECT_EQ(mem.RTE_L2_MAC_STS_FCNT_SRAM[1], 1u);
}

TEST_F(LueMacCls, LowestEnabledSubTableWinsOverALowerEntry) {
    macAny(5, 9);
    macAny(5, 12);
    macAny(31, 0);
    macAny(32, 1);
    portReg.rte_prc_l2_mac_vid_en = 1;
    com.rte_l2_mac_vid_en_1 = 1u << 31;
    com.rte_l2_mac_vid_en_0 = 1;
    for (uint32_t i = 0; i < 2048; i++)
        mem.RTE_L2_MAC_VID_SRAM[i] = i;
    std::string text = mac();
    EXPECT_TRUE(has(text, prefix + "[TCAM][L2Mac] L2 Mac Vid Tcam hit when not enabled. HitIdx: 0xa9\n" + prefix +
                              "[TCAM][L2Mac-vid][Hit] HitIdx: 0x3e0\n" + prefix + "[RSLT]"));
    EXPECT_EQ(stat.macVid, 31u << 5);
    com.rte_l2_mac_vid_en_1 |= 1u << 5;
    text = mac();
    EXPECT_FALSE(has(text, "not enabled"));
    EXPECT_EQ(stat.macVid, 5u << 5 | 9);
    com.rte_l2_mac_vid_en_1 = 0;
    mac();
    EXPECT_EQ(stat.macVid, 32u << 5 | 1);
}

TEST_F(LueMacCls, HitInASubTableWithoutEnablesLeavesOnlyTraces) {
    macAny(7, 3);
    portReg.rte_prc_l2_mac_vid_en = portReg.rte_prc_l2_mac_prio_en = portReg.rte_prc_l2_sts_mac_en = 1;
    EXPECT_EQ(mac(), prefix + "[TCAM][L2Mac] Search with Key: 0x300000000 0\n" + prefix +
                         "[TCAM][L2Mac] L2 Mac Vid Tcam hit when not enabled. HitIdx: 0xe3\n" + prefix +
                         "[TCAM][L2Mac] L2 Mac Priority TCam hit when not enabled. HitIdx: 0xe3\n" + prefix +
                         "[TCAM][L2Mac]L2 Mac Sts Tcam Hit when not enabled. HitIdx: 0xe3\n" + prefix +
                         "[RSLT][L2Mac] MacVid: 0x0, MacPrio: 0x0, MacDp: 0x0\n");
    EXPECT_EQ(stat.macVidHit, 0u);
    EXPECT_EQ(stat.macPrioHit, 0u);
    EXPECT_EQ(stat.mac_sts_hit, 0u);
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10000u);
}

TEST_F(LueMacCls, PortThatDoesNotAskGetsNothing) {
    macAny(0, 0);
    com.rte_l2_mac_vid_en_1 = com.rte_l2_mac_prio_en_1 = com.rte_l2_mac_sts_en_1 = 1;
    mem.RTE_L2_MAC_VID_SRAM[0] = 5;
    mem.RTE_L2_MAC_PRIO_RA[0] = 0x1f000000;
    EXPECT_EQ(mac(), prefix + "[TCAM][L2Mac] Search with Key: 0x300000000 0\n" + prefix +
                         "[RSLT][L2Mac] MacVid: 0x0, MacPrio: 0x0, MacDp: 0x0\n");
    EXPECT_EQ(stat.macVidHit, 0u);
    EXPECT_EQ(stat.macPrioHit, 0u);
    EXPECT_EQ(stat.mac_sts_hit, 0u);
}

TEST_F(LueMacCls, TrillFrameGetsNoVidButTheHistoryOfATrillPortSeesIt) {
    macAny(2, 1);
    com.rte_l2_mac_vid_en_1 = 1u << 2;
    mem.RTE_L2_MAC_VID_SRAM[0x41] = 5;
    stat.l2TrillFound = 1;
    const std::string bypass = prefix + "[TCAM][L2Mac-vid] MAC VID classification bypassed for the trill port\n";
    EXPECT_TRUE(has(mac(), bypass)) << "also with the enable off";
    portReg.rte_prc_l2_mac_vid_en = 1;
    EXPECT_TRUE(has(mac(), bypass));
    EXPECT_EQ(stat.macVidHit, 0u);
    EXPECT_EQ(stat.macVid, 0u);
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10000u);
    stat.isTrillPort = 1;
    EXPECT_FALSE(has(mac(), "[TCAM][L2Mac-vid][Hit]"));
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10841u);
    EXPECT_EQ(stat.macVidHit, 0u);
    com.rte_l2_mac_vid_en_1 = 0;
    EXPECT_FALSE(has(mac(), "not enabled")) << "the second walk is silent";
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10000u);
    // The second walk asks for the port's enable as the first one does.
    com.rte_l2_mac_vid_en_1 = 1u << 2;
    mac();
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10841u);
    portReg.rte_prc_l2_mac_vid_en = 0;
    mac();
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10000u);
}

TEST_F(LueMacCls, TrillPortsHistoryIsThatOfThePlainFrameToo) {
    macAny(2, 1);
    com.rte_l2_mac_vid_en_1 = 1u << 2;
    portReg.rte_prc_l2_mac_vid_en = 1;
    stat.isTrillPort = 1;
    EXPECT_TRUE(has(mac(), prefix + "[TCAM][L2Mac-vid][Hit] HitIdx: 0x41\n"));
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10841u);
}

TEST_F(LueMacCls, PriorityComesFromTheIndexsByte) {
    portReg.rte_prc_l2_mac_prio_en = 1;
    com.rte_l2_mac_prio_en_1 = 1;
    mem.RTE_L2_MAC_PRIO_RA[1] = 0x1d0a1300; // entries 4 to 7: 3/5, 1/2, 2/3, 0/0
    const uint32_t prioLst[] = {5, 2, 3, 0}, dpLst[] = {3, 1, 2, 0};
    for (uint32_t i = 0; i < 4; i++) {
        tcamOff(mem.RTE_L2_MAC_TCAM, 8);
        macAny(0, 4 + i);
        EXPECT_TRUE(has(mac(), prefix + "[TCAM][L2Mac-prio][Hit] HitIdx: 0x" + std::to_string(4 + i) + "\n"));
        EXPECT_EQ(stat.macPrioHit, 1u);
        EXPECT_EQ(stat.macPrio, prioLst[i]);
        EXPECT_EQ(stat.macDp, dpLst[i]);
        EXPECT_EQ(com.rte_his_l2_mac_prio[3], 0x10000u | 1 << 11 | (4 + i));
    }
}

TEST_F(LueMacCls, PriorityHitIsTheRegistersValue) {
    macAny(40, 0);
    com.rte_l2_mac_prio_en_0 = 1u << 8;
    portReg.rte_prc_l2_mac_prio_en = 6;
    mac();
    EXPECT_EQ(stat.macPrioHit, 6u);
    EXPECT_EQ(com.rte_his_l2_mac_prio[3], 0x10000u | 6 << 11 | 40 << 5);
}

TEST_F(LueMacCls, HistoriesHaveTheHitFlagsOfTheFrame) {
    stat.macVidHit = stat.macPrioHit = 1;
    mac();
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10800u);
    EXPECT_EQ(com.rte_his_l2_mac_prio[3], 0x10800u);
}

TEST_F(LueMacCls, UpperBitsOfThePriorityByteDoNotCount) {
    macAny(0, 0);
    portReg.rte_prc_l2_mac_prio_en = 1;
    com.rte_l2_mac_prio_en_1 = 1;
    mem.RTE_L2_MAC_PRIO_RA[0] = 0xee000000;
    mac();
    EXPECT_EQ(stat.macPrio, 6u);
    EXPECT_EQ(stat.macDp, 1u);
}

TEST_F(LueMacCls, StatisticsCountFrameAndBytes) {
    macAny(33, 2);
    portReg.rte_prc_l2_sts_mac_en = 1;
    com.rte_l2_mac_sts_en_0 = 2;
    const uint32_t idx = 33 << 5 | 2;
    mem.RTE_L2_MAC_STS_FCNT_SRAM[2 * idx] = 0xff;
    mem.RTE_L2_MAC_STS_FCNT_SRAM[2 * idx + 1] = 0xffffffff;
    mem.RTE_L2_MAC_STS_BCNT_SRAM[2 * idx] = 0xffff;
    mem.RTE_L2_MAC_STS_BCNT_SRAM[2 * idx + 1] = 0xffffffff;
    stat.frmLen = 0x41;
    EXPECT_TRUE(has(mac(), prefix + "[TCAM][L2Mac-stats][Hit] HitIdx: 0x422, NewFCnt: 0x0, NewBCnt: 0x40\n"));
    EXPECT_EQ(stat.mac_sts_hit, 1u);
    EXPECT_EQ(mem.RTE_L2_MAC_STS_FCNT_SRAM[2 * idx], 0u);
    EXPECT_EQ(mem.RTE_L2_MAC_STS_FCNT_SRAM[2 * idx + 1], 0u);
    EXPECT_EQ(mem.RTE_L2_MAC_STS_BCNT_SRAM[2 * idx], 0u);
    EXPECT_EQ(mem.RTE_L2_MAC_STS_BCNT_SRAM[2 * idx + 1], 0x40u);
    EXPECT_TRUE(has(mac(), "NewFCnt: 0x1, NewBCnt: 0x81\n"));
    EXPECT_EQ(mem.RTE_L2_MAC_STS_BCNT_SRAM[2 * idx], 0u);
    mem.RTE_L2_MAC_STS_FCNT_SRAM[2 * idx] = mem.RTE_L2_MAC_STS_BCNT_SRAM[2 * idx] = 0xfffffffe;
    mac();
    EXPECT_EQ(mem.RTE_L2_MAC_STS_FCNT_SRAM[2 * idx], 0xfeu) << "40 bits";
    EXPECT_EQ(mem.RTE_L2_MAC_STS_BCNT_SRAM[2 * idx], 0xfffeu) << "48 bits";
}

TEST_F(LueMacCls, TheThreeUsesWalkOnTheirOwn) {
    macAny(1, 0);
    macAny(2, 0);
    macAny(3, 0);
    portReg.rte_prc_l2_mac_vid_en = portReg.rte_prc_l2_mac_prio_en = portReg.rte_prc_l2_sts_mac_en = 1;
    com.rte_l2_mac_vid_en_1 = 1u << 3;
    com.rte_l2_mac_prio_en_1 = 1u << 1;
    com.rte_l2_mac_sts_en_1 = 1u << 2;
    mem.RTE_L2_MAC_VID_SRAM[96] = 7;
    mem.RTE_L2_MAC_PRIO_RA[8] = 0x04000000;
    mac();
    EXPECT_EQ(stat.macVid, 7u);
    EXPECT_EQ(stat.macPrio, 4u);
    EXPECT_EQ(mem.RTE_L2_MAC_STS_FCNT_SRAM[2 * 64 + 1], 1u);
}

TEST_F(LueMacCls, IndexHistoriesHaveRanges) {
    macAny(0, 5);
    portReg.rte_prc_l2_mac_vid_en = portReg.rte_prc_l2_mac_prio_en = 1;
    com.rte_l2_mac_vid_en_1 = com.rte_l2_mac_prio_en_1 = 1;
    com.rte_lue_l2_mac_vid_addr_lo = com.rte_lue_l2_mac_prio_addr_lo = 6;
    mac();
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0u);
    EXPECT_EQ(com.rte_his_l2_mac_prio[3], 0u);
    com.rte_lue_l2_mac_vid_addr_lo = com.rte_lue_l2_mac_prio_addr_lo = 5;
    com.rte_lue_l2_mac_vid_addr_hi = com.rte_lue_l2_mac_prio_addr_hi = 5;
    mac();
    EXPECT_EQ(com.rte_his_l2_mac_vid[3], 0x10805u);
    EXPECT_EQ(com.rte_his_l2_mac_prio[3], 0x10805u);
}

TEST_F(LueL2VidCls, ControlOverrideWinsOverATag) {
    stat.l2CtlVlanOverride = 1;
    stat.ctagNz = 1;
    stat.xcvid = 5;
    com.rte_l2_ctl_vid = 0x123;
    EXPECT_EQ(vid(), prefix + "Vid Classification -- l2CtlVlanOverride 123\n");
    EXPECT_EQ(stat.icvid, 0x123u);
}

TEST_F(LueL2VidCls, TagWinsOverClassification) {
    stat.ctagNz = 1;
    stat.xcvid = 0x111;
    stat.ctag = 0x222;
    portReg.rte_prc_l2_mac_vid_en = 1;
    stat.macVidHit = 1;
    stat.macVid = 0x333;
    for (const uint32_t qinq : {0u, 1u})
        for (const uint32_t trill : {0u, 1u}) {
            stat.l2QinqEn = qinq;
            stat.l2TrillFound = trill;
            const bool translated = !qinq && !trill;
            EXPECT_EQ(vid(), prefix + "Vid Classification -- Packet translated tag xvid = " +
                                 (translated ? "111 \n" : "222 \n"));
            EXPECT_EQ(stat.icvid, translated ? 0x111u : 0x222u);
        }
}

TEST_F(LueL2VidCls, ClassificationServesPlainFramesOnly) {
    portReg.rte_prc_l2_mac_vid_en = 1;
    portReg.rte_prc_def_cvlan_id = 0xc;
    portReg.rte_prc_def_inner_vlan_id = 0x1d;
    stat.macVidHit = 1;
    stat.macVid = 0x333;
    EXPECT_EQ(vid(), prefix + "Vid Classification -- MAC based Vid 333\n");
    EXPECT_EQ(stat.icvid, 0x333u);
    stat.l2QinqEn = 1;
    EXPECT_EQ(vid(), prefix + "Vid Classification 2-- Port default Vlan c\n");
    EXPECT_EQ(stat.icvid, 0xcu);
    stat.l2TrillFound = 1;
    EXPECT_EQ(vid(), prefix + "Vid Classification 4-- Port default Vlan 0xc -- 0xc\n");
    EXPECT_EQ(stat.icvid, 0xcu);
    stat.l2QinqEn = 0;
    EXPECT_EQ(vid(), prefix + "Vid Classification 3-- Port default Vlan 1d\n");
    EXPECT_EQ(stat.icvid, 0x1du);
    stat.l2TrillFound = 0;
    stat.macVidHit = 0;
    EXPECT_EQ(vid(), prefix + "Vid Classification 1-- Port default Vlan 1d\n");
    EXPECT_EQ(stat.icvid, 0x1du);
}

TEST_F(LueL2VidCls, PortDecidesBetweenTypeAndMac) {
    // Every combination of usable classifications; 0 is the port's default.
    portReg.rte_prc_def_inner_vlan_id = 1;
    struct {
        uint32_t typEn, typHit, typVid, macEn, macHit, macVid, typFirst, macFirst;
    } const rows[] = {
        {1, 1, 2, 1, 1, 3, 2, 3}, // both
        {1, 1, 0, 1, 1, 3, 3, 3}, // a VID of 0 is none
        {1, 1, 2, 1, 1, 0, 2, 2}, {1, 1, 0, 1, 1, 0, 1, 1}, {1, 0, 2, 1, 1, 3, 3, 3}, {0, 1, 2, 1, 1, 3, 3, 3},
        {1, 1, 2, 1, 0, 3, 2, 2}, {1, 1, 2, 0, 1, 3, 2, 2}, {0, 1, 2, 0, 1, 3, 1, 1}, {1, 0, 2, 1, 0, 3, 1, 1},
    };
    const char *const name[] = {"", " 1-- Port default Vlan 1\n", " -- type based Vid 2\n", " -- MAC based Vid 3\n"};
    for (const auto &row : rows) {
        portReg.rte_prc_l2_typ_vid_en = row.typEn;
        stat.typVidHit = row.typHit;
        stat.typVid = row.typVid;
        portReg.rte_prc_l2_mac_vid_en = row.macEn;
        stat.macVidHit = row.macHit;
        stat.macVid = row.macVid;
        for (const uint32_t macPrio : {0u, 1u}) {
            portReg.rte_prc_l2_typ_mac_prio = macPrio;
            const uint32_t expected = macPrio ? row.macFirst : row.typFirst;
            EXPECT_EQ(vid(), prefix + "Vid Classification" + name[expected]);
            EXPECT_EQ(stat.icvid, expected);
        }
    }
}

TEST_F(LueCloudCls, AddressKey) {
    stat.ctagNz = 1;
    stat.l2Sa = 0xaabbccddeeff;
    stat.icvid = 0x3fff; // 13 bits go into the key
    tcamExact(mem.RTE_CLOUD_TCAM, 16383, {0, 0x1aabb, 0xccddeeff, 0x1fff << 6 | kPort});
    com.csc_vpn_mask_0 = 0x80000000;
    setVpnRslt(16383, 0x1234, 0xabcde);
    com.res_passthru_ivid = com.res_s_passthru_ivid = 1;
    com.rte_res_passthru_vpn_id = 0x77777;
    mem.RTE_IIVID_VPNID_SRAM[0x1234] = 0x55555;
    mem.RTE_IIVID_VPNID_SRAM[0] = mem.RTE_IIVID_VPNID_SRAM[8191] = 0x77777;
    mem.RTE_L2_VLAN_MTU_SRAM[0x1234] = 1500;
    mem.RTE_CLOUD_RSLT_POLICY_SRAM[9] = 0xfabc;
    com.csc_unk_policy_rslt_addr = 9;
    stat.cldTransp = 1;
    EXPECT_EQ(cloud(), prefix + "[Cloud] Search with non-TRILL & non-QinQ Key: 0x1aabb ccddeeff0007ffc3\n" + prefix +
                           "[TCAM][VPN][Hit] VPN HitIdx: 0x3fff\n" + prefix +
                           "[TCAM][VPN] VPN Idx=0x3fff, result=0x1234abcde\n" + prefix +
                           "IIVID from VPN CLS lookup =  0x1234\n" + "CM TMP>> IIVID_VPNID passthru count = 2\n" +
                           prefix + "VPN from IVID_VPNID\n" + prefix +
                           "[RSLT][Cloud] IIVID: 0x1234, VPN ID: 0x55555\n" + prefix +
                           "[RSLT][Cloud] Policy ID: 0xabc\n");
    EXPECT_EQ(stat.iivid, 0x1234u);
    EXPECT_EQ(stat.vpn_id, 0x55555u);
    EXPECT_EQ(stat.policyId, 0xabcu);
    EXPECT_EQ(stat.vlanMtu, 1500u);
    EXPECT_EQ(stat.cldTransp, 0u);
    EXPECT_EQ(com.rte_his_csc_tcam_key[3][0], 1u << 24 | 0x1aabb);
    EXPECT_EQ(com.rte_his_csc_tcam_key[3][1], 0xccddeeffu);
    EXPECT_EQ(com.rte_his_csc_tcam_key[3][2], 0x0007ffc3u);
    EXPECT_EQ(com.rte_his_csc_vpn_rslt[3], 0x10000u | 1 << 14 | 0x3fff);
    EXPECT_EQ(com.rte_his_csc_policy_rslt[3], 0x10009u);
    EXPECT_EQ(com.rte_his_csc_iivid_vpn_id[3], 0x11234u);
    EXPECT_EQ(com.rte_his_l2_vid_mtu[3], 0x11234u);
}

TEST_F(LueCloudCls, QinqKeyHasTheServiceVid) {
    stat.l2QinqEn = 1;
    stat.xsvid = 0x3001; // 13 bits
    stat.icvid = 2;
    portReg.rte_prc_def_inner_vlan_id = 0x1003;
    const std::string head = prefix + "[Cloud] Search with non-TRILL & QinQ Key: 0x0 ";
    EXPECT_TRUE(has(cloud(), head + "00000000801800a3\n")); // 0x1003 << 19, 2 << 6, 1 << 5, 3
    stat.stagNz = 1;
    EXPECT_TRUE(has(cloud(), head + "00000000800800a3\n")); // 0x1001 << 19
    stat.isTrillPort = 1;
    EXPECT_TRUE(has(cloud(), prefix + "[Cloud] Search with TRILL & QinQ Key: 0x0 00000000800800a3\n"));
    stat.isTrillPort = 0;
    stat.l2QinqEn = 0;
    EXPECT_TRUE(has(cloud(), prefix + "[Cloud] Search with non-TRILL & non-QinQ Key: 0x0 0000000000000083\n"));
}

TEST_F(LueCloudCls, TrillKey) {
    stat.isTrillPort = 1;
    stat.l2Sa = 0xffffffffffff; // not in this key
    const std::string head = prefix + "[Cloud] Search with TRILL & non-QinQ Key: 0x20000 ";
    EXPECT_TRUE(has(cloud(), head + "0004000000000003\n"));
    stat.l2TrillMc = 1;
    EXPECT_TRUE(has(cloud(), head + "0014000000000003\n"));
    stat.l2TrillEgr = 1;
    EXPECT_TRUE(has(cloud(), head + "001c000000000003\n"));
    stat.l2TrillFound = 1;
    EXPECT_TRUE(has(cloud(), head + "001e000000000003\n"));
    stat.ctagNz = 1;
    EXPECT_TRUE(has(cloud(), head + "001f000000000003\n"));
    stat.l2TrillRcvVpnId = 0xfabcde; // 20 bits
    EXPECT_TRUE(has(cloud(), head + "001f0abcde000003\n"));
    stat.icvid = 0x3fff;
    EXPECT_TRUE(has(cloud(), head + "001f0abcde03ffe3\n"));
}

TEST_F(LueCloudCls, MissReadsTheDefaultRows) {
    com.csc_unk_vpn_rslt_addr = 5;
    com.csc_unk_policy_rslt_addr = 6;
    com.csc_vpn_mask_3 = com.csc_policy_mask[3] = 0xffffffff;
    com.res_passthru_ivid = com.res_s_passthru_ivid = 1;
    setVpnRslt(5, 0x100, 0x22222);
    mem.RTE_CLOUD_RSLT_POLICY_SRAM[6] = 0x33;
    const std::string text = cloud();
    EXPECT_FALSE(has(text, "[Hit]"));
    EXPECT_TRUE(has(text, "[TCAM][VPN] VPN Idx=0x5, result=0x10022222\n"));
    EXPECT_EQ(stat.iivid, 0x100u);
    EXPECT_EQ(stat.vpn_id, 0x22222u);
    EXPECT_EQ(stat.policyId, 0x33u);
    EXPECT_EQ(com.rte_his_csc_vpn_rslt[3], 0x10005u);
    EXPECT_EQ(com.rte_his_csc_policy_rslt[3], 0x10006u);
}

TEST_F(LueCloudCls, HitInABlockWithoutAMaskBitActsAsNone) {
    cloudAny(0x1080); // block 33: bit 1 of register 2
    com.csc_unk_vpn_rslt_addr = com.csc_unk_policy_rslt_addr = 5;
    com.csc_vpn_mask_2 = com.csc_policy_mask[2] = ~2u;
    com.csc_vpn_mask_0 = com.csc_vpn_mask_1 = com.csc_vpn_mask_3 = 0xffffffff;
    EXPECT_TRUE(has(cloud(), "VPN Idx=0x5,"));
    com.csc_vpn_mask_2 = 2;
    com.csc_vpn_mask_0 = com.csc_vpn_mask_1 = com.csc_vpn_mask_3 = 0;
    EXPECT_TRUE(has(cloud(), "VPN Idx=0x1080,"));
}

TEST_F(LueCloudCls, VpnAndPolicyTakeDifferentEntriesOfOneSearch) {
    cloudAny(0);
    cloudAny(0x7f);
    cloudAny(0x80);
    cloudAny(0x2000); // register 1
    com.csc_vpn_mask_3 = 2;
    com.csc_policy_mask[1] = 1;
    setVpnRslt(0x80, 0x55, 0);
    mem.RTE_CLOUD_RSLT_POLICY_SRAM[0x2000] = 0x66;
    com.res_passthru_ivid = 1;
    const std::string text = cloud();
    EXPECT_TRUE(has(text, prefix + "[TCAM][VPN][Hit] VPN HitIdx: 0x80\n"));
    EXPECT_TRUE(
        has(text, prefix + "[TCAM][Cloud][Hit] Policy HitIdx: 0x2000\n" + prefix + "[RSLT][Cloud] Policy ID: 0x66\n"));
    EXPECT_EQ(stat.iivid, 0x55u);
    EXPECT_EQ(stat.policyId, 0x66u);
    EXPECT_EQ(com.rte_his_csc_policy_rslt[3], 0x10000u | 1 << 14 | 0x2000);
}

TEST_F(LueCloudCls, EachMaskRegisterHasItsQuarterOfTheEntries) {
    uint32_t *const vpnMask[] = {&com.csc_vpn_mask_3, &com.csc_vpn_mask_2, &com.csc_vpn_mask_1, &com.csc_vpn_mask_0};
    uint32_t *const policyMask[] = {&com.csc_policy_mask[3], &com.csc_policy_mask[2], &com.csc_policy_mask[1],
                                    &com.csc_policy_mask[0]};
    for (uint32_t quarter = 0; quarter < 4; quarter++)
        cloudAny(quarter * 4096 + 6 * 128 + 1);
    for (uint32_t quarter = 0; quarter < 4; quarter++) {
        *vpnMask[quarter] = 1u << 6;
        *policyMask[3 - quarter] = 1u << 6;
        cloud();
        const uint32_t policyIdx = (3 - quarter) * 4096 + 6 * 128 + 1;
        EXPECT_EQ(com.rte_his_csc_vpn_rslt[3], 0x10000u | 1 << 14 | (quarter * 4096 + 6 * 128 + 1));
        EXPECT_EQ(com.rte_his_csc_policy_rslt[3], 0x10000u | 1 << 14 | policyIdx);
        *vpnMask[quarter] = *policyMask[3 - quarter] = 0;
    }
}

TEST_F(LueCloudCls, IndexHistoriesHaveRanges) {
    struct {
        uint32_t *lo, *hi, *his, key, masked;
    } const rows[] = {
        {&com.rte_lue_csc_vpn_addr_lo, &com.rte_lue_csc_vpn_addr_hi, &com.rte_his_csc_vpn_rslt[3], 0x6005, 0x2005},
        {&com.rte_lue_csc_policy_addr_lo, &com.rte_lue_csc_policy_addr_hi, &com.rte_his_csc_policy_rslt[3], 0x6005,
         0x2005},
        {&com.rte_lue_csc_iivid_vpn_id_addr_lo, &com.rte_lue_csc_iivid_vpn_id_addr_hi, &com.rte_his_csc_iivid_vpn_id[3],
         0x2123, 0x0123}, // 13 bits count
        {&com.rte_lue_l2_mtu_addr_lo, &com.rte_lue_l2_mtu_addr_hi, &com.rte_his_l2_vid_mtu[3], 0x2123, 0x2123},
    };
    cloudAny(0x2005); // block 64: bit 0 of register 1
    com.csc_vpn_mask_1 = com.csc_policy_mask[1] = 1;
    setVpnRslt(0x2005, 0xbbb, 0);
    com.res_passthru_ivid = 0xbbb;
    stat.icvid = 0x2123; // passes through with more than 13 bits
    for (const auto &row : rows) {
        struct {
            uint32_t lo, hi;
            bool captured;
        } const ranges[] = {
            {row.masked, row.masked, true}, {row.masked + 1, 0x3fff, false}, {0, row.masked - 1, false}};
        for (const auto &range : ranges) {
            *row.lo = range.lo;
            *row.hi = range.hi;
            *row.his = 0;
            cloud();
            EXPECT_EQ(*row.his, range.captured ? 0x10000 | row.key : 0) << &row - rows << " " << range.lo;
        }
    }
}

TEST_F(LueCloudCls, HitsBehindThe1024thAreNotSeen) {
    for (uint32_t i = 0; i < 1024; i++)
        cloudAny(i);
    cloudAny(4096);
    com.csc_vpn_mask_2 = 1;
    com.csc_unk_vpn_rslt_addr = 5;
    EXPECT_TRUE(has(cloud(), "VPN Idx=0x5,"));
    mem.RTE_CLOUD_TCAM[3] = mem.RTE_CLOUD_TCAM[7] = 1;
    EXPECT_TRUE(has(cloud(), "VPN Idx=0x1000,"));
}

TEST_F(LueCloudCls, VidPassthrough) {
    stat.icvid = 0x111;
    stat.xsvid = 0x222;
    stat.stagNz = 1;
    com.res_s_passthru_ivid = 0xaaa;
    com.res_passthru_ivid = 0xbbb;
    const std::string service = prefix + "VID passthrough on S-PORT, pass_thru_ivid = 0xaaa\n";
    const std::string customer = prefix + "VID passthrough, pass_thru_ivid = 0xbbb\n";

    setVpnRslt(0, 0xaaa, 0);
    EXPECT_TRUE(has(cloud(), prefix + "IIVID from VPN CLS lookup =  0xaaa\n"));
    EXPECT_EQ(stat.iivid, 0xaaau) << "a plain IIVID without QinQ";
    stat.l2QinqEn = 1;
    EXPECT_TRUE(has(cloud(), service));
    EXPECT_EQ(stat.iivid, 0x222u);

    setVpnRslt(0, 0xbbb, 0);
    for (const uint32_t qinq : {0u, 1u}) {
        stat.l2QinqEn = qinq;
        EXPECT_TRUE(has(cloud(), customer));
        EXPECT_EQ(stat.iivid, 0x111u);
    }

    com.res_s_passthru_ivid = 0xbbb;
    EXPECT_TRUE(has(cloud(), "S-PORT, pass_thru_ivid = 0xbbb\n")) << "asked first";
    stat.l2QinqEn = 0;
    EXPECT_TRUE(has(cloud(), customer));
}

TEST_F(LueCloudCls, VlansVpnBeatsTheCloudsAndThatTheFrames) {
    com.rte_res_passthru_vpn_id = 0xffff0;
    com.res_passthru_ivid = com.res_s_passthru_ivid = 0x1000;
    stat.l2TrillRcvVpnId = 0xfffff;
    stat.stagNz = 1;
    stat.xsvid = 0x123;
    setVpnRslt(0, 7, 0x11111);
    mem.RTE_IIVID_VPNID_SRAM[7] = 0xfff22222; // 20 bits
    EXPECT_TRUE(has(cloud(), prefix + "VPN from IVID_VPNID\n"));
    EXPECT_EQ(stat.vpn_id, 0x22222u);
    mem.RTE_IIVID_VPNID_SRAM[7] = 0xffff0;
    EXPECT_TRUE(has(cloud(), prefix + "VPN from CLOUD_RSLT (IVID_VPNID passthru=ffff0)\n"));
    EXPECT_EQ(stat.vpn_id, 0x11111u);
    setVpnRslt(0, 7, 0xffff0);
    EXPECT_TRUE(has(cloud(), prefix + "VPN from ingress/default (CLOUD and IVID_VPNID passthru)\n"));
    EXPECT_EQ(stat.vpn_id, 0xfffffu);
    stat.l2QinqEn = 1;
    cloud();
    EXPECT_EQ(stat.vpn_id, 0xfe123u);
    stat.l2TrillRcvVpnId = 0x1aabcde; // bits 19:13 count
    cloud();
    EXPECT_EQ(stat.vpn_id, 0xaa123u);
}

TEST_F(LueCloudCls, CondemnedFrameLeavesNoKeyAndNoIividInTheHistories) {
    for (uint32_t *flag : {&stat.l2PrcTrap, &stat.l2PrcDrop}) {
        *flag = 1;
        cloud();
        *flag = 0;
        EXPECT_EQ(com.rte_his_csc_tcam_key[3][0], 0u);
        EXPECT_EQ(com.rte_his_csc_iivid_vpn_id[3], 0u);
        EXPECT_EQ(com.rte_his_csc_vpn_rslt[3], 0x10000u);
        EXPECT_EQ(com.rte_his_csc_policy_rslt[3], 0x10000u);
        EXPECT_EQ(com.rte_his_l2_vid_mtu[3], 0x10000u);
    }
}

TEST_F(LueCloudCls, VidBeyondTheTablesReads0) {
    stat.icvid = 0x2000; // passes through with more than 13 bits
    mem.RTE_IIVID_VPNID_SRAM[0] = 5;
    mem.RTE_L2_VLAN_MTU_SRAM[0] = 6;
    com.rte_res_passthru_vpn_id = 1;
    cloud();
    EXPECT_EQ(stat.iivid, 0x2000u);
    EXPECT_EQ(stat.vpn_id, 0u);
    EXPECT_EQ(stat.vlanMtu, 0u);
}

TEST_F(LueCloudCls, PassthruRowsAreCountedFromTraceLevel1) {
    stat.dbgLvl = 1;
    mem.RTE_IIVID_VPNID_SRAM[4] = 0x100001; // only the low 20 bits count
    com.rte_res_passthru_vpn_id = 1;
    EXPECT_EQ(cloud(), "CM TMP>> IIVID_VPNID passthru count = 1\n");
    stat.dbgLvl = 0;
    EXPECT_EQ(cloud() + mac() + vid(), "");
}
