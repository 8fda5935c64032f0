// The egress queue stage.

#include "chip_image.h"
#include "eqs.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kPort = 3;
constexpr uint32_t kVlan = 0x10; // its entry is word 8 of the port
constexpr uint32_t kIp = 16;     // where the stage takes the IP header from

class Eqs : public testing::Test {
protected:
    Eqs() : frm(64) {
        eqs_init();
        side.hsq_eqs_qid_q = 8 * kPort;
        shim.routed = 4;
        shim.egr_ivid = kVlan;
        shim.ing_ivid_8_0 = kVlan;
        shim.ing_port = 20;
        setMtu(0, kVlan, 1500);
        setMtu(1, kVlan, 1500);
    }

    void setMtu(uint32_t cls, uint32_t vid, uint32_t mtu) { chip.set(DMP(eqs_mrt_mem), cls * 8192 + vid, mtu); }
    void setEvt(uint32_t idx, uint32_t word, uint32_t elp = kPort) {
        chip.set(DMP(eqs_evt_mem), elp * 4096 + idx, word);
    }
    int run(int vb = 0) {
        return eqs_egress_proc(frm.data(), static_cast<uint32_t>(frm.size()), &shim, &side, chip.get(), vb);
    }
    std::string say(int vb = 1) {
        testing::internal::CaptureStdout();
        rslt = run(vb);
        std::fflush(stdout);
        return testing::internal::GetCapturedStdout();
    }
    void expectDrop(const std::string &lines) {
        side.drop = 0;
        EXPECT_EQ(say(), lines);
        EXPECT_EQ(rslt, 1);
        EXPECT_EQ(side.drop, 1u);
        side.drop = 0;
        EXPECT_EQ(say(0), "");
        EXPECT_EQ(rslt, 1);
        EXPECT_EQ(side.drop, 1u);
        side.drop = 0;
    }
    void expectPass(const std::string &lines = "") {
        side.drop = 0;
        EXPECT_EQ(say(), lines);
        EXPECT_EQ(rslt, 0);
        EXPECT_EQ(side.drop, 0u);
    }
    /// A copy of an IP multicast frame to group `w2`.
    void multicastCopy(uint32_t w2) {
        shim.is_mgid = 1;
        shim.w1_15_14 = 3;
        shim.w2_16_0 = w2;
    }

    ChipImage chip;
    std::vector<uint8_t> frm;
    shim_t shim{};
    eqs_side_band_t side{};
    int rslt = -1;
};

const std::string kSuppressed = "Frame dropped due to L2/3 LAG suppression check fail\n";
const std::string kVlanDrop = "Frame dropped due to VLAN filtering\n";
const std::string kMtuDrop = "Frame dropped due to MTU violation\n";
const std::string kVpnDrop = "Frame dropped due to VPN ID filtering \n";
const std::string kImpossible = " this is not supposed to happen\n";

// ---- logical port
// ----------------------------------------------------------------------------------------------------

TEST_F(Eqs, TheQueueGivesTheLogicalPort) {
    for (uint32_t q : {0u, 7u, 24u, 31u, 248u, 255u, 312u}) {
        side.hsq_eqs_qid_q = q;
        shim.egr_ivid = 0x20; // no flags and no MTU, whatever the port
        frm.clear();
        expectPass();
        EXPECT_EQ(side.elp, q >> 3);
    }
}

TEST_F(Eqs, QueueGroupEightIsMapped) {
    chip.set(DMP(eqs_phy2log_map), 0, 0x04030201).set(DMP(eqs_phy2log_map), 1, 0xe8e7e6e5);
    chip.set(DMP(eqs_phy2log_map), 2, 0x0c0b0a09).set(DMP(eqs_phy2log_map), 3, 0x100f0e0d); // the word behind the map
    frm.clear();
    const uint32_t expected[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    for (uint32_t i = 0; i < 16; i++) {
        side.hsq_eqs_qid_q = 256 + 8 * (i / 4) + i % 4;
        run();
        EXPECT_EQ(side.elp, expected[i]) << i;
        side.hsq_eqs_qid_q |= 4; // bit 2 plays no part
        run();
        EXPECT_EQ(side.elp, expected[i]) << i;
    }
}

TEST_F(Eqs, QueueGroups36And37GoToTheCpu) {
    for (uint32_t q : {288u, 295u, 296u, 303u}) {
        side.hsq_eqs_qid_q = q;
        EXPECT_EQ(say(), "Frame goes to CPU \n");
        EXPECT_EQ(rslt, 1);
        EXPECT_EQ(side.drop, 0u);
        EXPECT_EQ(side.elp, q >> 3);
        EXPECT_EQ(say(0), "");
        EXPECT_EQ(rslt, 1);
    }
}

TEST_F(Eqs, QueueGroup38IsTheTimeoutQueueOrTheDiscardQueue) {
    for (uint32_t q : {304u, 306u, 310u}) {
        side.hsq_eqs_qid_q = q;
        expectDrop("Frame goes to CPU timeout lossless queue \n");
        EXPECT_EQ(side.elp, 38u);
    }
    for (uint32_t q : {305u, 311u}) {
        side.hsq_eqs_qid_q = q;
        expectDrop("Frame came in discarded queue, discarded\n");
        EXPECT_EQ(side.elp, 0xffffffffu);
    }
}

// ---- source suppression
// ----------------------------------------------------------------------------------------------

TEST_F(Eqs, AFrameDoesNotGoBackToItsPort) {
    shim.ing_port = kPort;
    expectDrop(kSuppressed);
    shim.ing_chip = 1;
    expectPass();
    chip.set(DMP(eqs_zirk_id), 0, 1);
    expectDrop(kSuppressed);
}

TEST_F(Eqs, AFrameDoesNotGoBackToItsLag) {
    shim.ing_chip = 2;
    shim.ing_port = 5; // word 2 * 64 + 5 = 133
    chip.set(DMP(eqs_ingr_lag_tbl), 133, 0x155u << 15 | 0x7f);
    chip.set(DMP(eqs_egr_lgid), kPort, 0x400 | 0x155);
    expectDrop(kSuppressed);
    chip.set(DMP(eqs_egr_lgid), kPort, 0x155); // no LAG
    expectPass();
    chip.set(DMP(eqs_egr_lgid), kPort, 0x400 | 0x154);
    expectPass();
    EXPECT_EQ(side.trill_sa, 0x807fu); // the LAG's low bit lies within the nickname
}

TEST_F(Eqs, ALagOfTenBitsIsCompared) {
    chip.set(DMP(eqs_ingr_lag_tbl), 20, 0xfe007fffu); // LAG 0
    chip.set(DMP(eqs_egr_lgid), kPort, 0xfffffc00u);  // LAG 0, valid
    expectDrop(kSuppressed);
}

TEST_F(Eqs, SuppressionCanBeSwitchedOffForThePort) {
    shim.ing_port = kPort;
    chip.set(DMP(eqs_spr_chk_ctrl), 0, ~(1u << kPort));
    expectDrop(kSuppressed);
    chip.set(DMP(eqs_spr_chk_ctrl), 0, 1u << kPort);
    expectPass();
}

TEST_F(Eqs, TheHairpinFlagAllowsTheWayBackButNotOnATrillPort) {
    shim.ing_port = kPort;
    setEvt(kVlan >> 1, 1u << 4);
    expectPass();
    setEvt(kVlan >> 1, 1u << 0); // the flag of the odd VLAN
    expectDrop(kSuppressed);
    shim.egr_ivid = kVlan | 1;
    setMtu(0, kVlan | 1, 1500);
    expectPass();
    setEvt(kVlan >> 1, 1u << 4);
    expectDrop(kSuppressed);
    setEvt(kVlan >> 1, 1u << 0);
    side.rte_eqs_trill_en_q = 1u << kPort;
    expectDrop(kSuppressed);
}

TEST_F(Eqs, DontTouchIsNotSuppressed) {
    shim.ing_port = kPort;
    shim.dont_touch = 1;
    expectPass();
}

TEST_F(Eqs, RoutedFramesAreNotSuppressed) {
    shim.ing_port = kPort;
    for (uint32_t routed = 0; routed < 8; routed++) {
        shim.routed = routed;
        if (routed < 4)
            expectPass();
        else
            expectDrop(kSuppressed);
    }
}

TEST_F(Eqs, AMulticastFrameIsRoutedByItsType) {
    shim.ing_port = kPort;
    shim.is_mgid = 1;
    shim.w2_16_0 = 0x1c000; // bits 16 to 14 are 7
    for (uint32_t routed : {0u, 1u}) {
        shim.routed = routed;
        shim.w1_15_14 = 0;
        expectPass();
        shim.w1_15_14 = 1;
        expectPass(kImpossible + kImpossible);
        shim.w1_15_14 = 2;
        expectPass(kImpossible + kImpossible);
        shim.w1_15_14 = 3;
        expectDrop(kSuppressed);
    }
    for (uint32_t type = 0; type < 4; type++) {
        shim.w1_15_14 = type;
        shim.routed = 2;
        expectPass();
        shim.routed = 4;
        expectDrop(kSuppressed);
    }
}

TEST_F(Eqs, AnImpossibleShimSaysNothingInAQuietRun) {
    shim.is_mgid = 1;
    shim.w1_15_14 = 1;
    shim.routed = 0;
    EXPECT_EQ(say(0), "");
    EXPECT_EQ(rslt, 0);
}

TEST_F(Eqs, ADecapsulatedFrameIsNotSuppressed) {
    shim.ing_port = kPort;
    shim.pim_decap = 1;
    expectPass(kImpossible + kImpossible);
}

TEST_F(Eqs, ACopyInAnotherVlanIsRoutedOnlyBehindTheQueue) {
    shim.ing_port = kPort;
    shim.routed = 1;
    multicastCopy(0x1c000);
    shim.ing_ivid_8_0 = 0x11;
    EXPECT_EQ(l2_3_source_supp(&shim, &side, 1, kPort, chip.get()), 1);
    EXPECT_EQ(l2_3_source_supp(&shim, &side, 0, kPort, chip.get()), 0);
    shim.ing_ivid_8_0 = kVlan;
    EXPECT_EQ(l2_3_source_supp(&shim, &side, 0, kPort, chip.get()), 1);
    shim.ing_ivid_12_9 = 1; // the ingress VLAN's upper bits count
    EXPECT_EQ(l2_3_source_supp(&shim, &side, 0, kPort, chip.get()), 0);
}

TEST_F(Eqs, AMulticastCopyIsHeldBackOnlyBehindTheQueue) {
    shim.ing_port = kPort;
    multicastCopy(0x18000); // bits 16 to 14 are 6
    EXPECT_EQ(l2_3_source_supp(&shim, &side, 1, kPort, chip.get()), 0);
    EXPECT_EQ(l2_3_source_supp(&shim, &side, 0, kPort, chip.get()), 1);
    expectDrop(kSuppressed);
    // The MTU check lies between the two passes.
    setMtu(0, kVlan, 63);
    expectDrop(kMtuDrop);
    shim.w2_16_0 = 0x1c000;
    EXPECT_EQ(l2_3_source_supp(&shim, &side, 1, kPort, chip.get()), 1);
}

TEST_F(Eqs, ASwitchedCopyInAnotherVlanIsDropped) {
    multicastCopy(0x1c000);
    shim.ing_ivid_8_0 = 0x11;
    shim.dont_touch = 1; // no help here
    for (uint32_t routed : {4u, 7u}) {
        shim.routed = routed;
        expectDrop(kSuppressed);
    }
    shim.routed = 3;
    expectPass();
    shim.routed = 4;
    shim.w1_15_14 = 2;
    expectPass();
    shim.w1_15_14 = 3;
    shim.is_mgid = 0;
    expectPass();
    shim.is_mgid = 1;
    shim.ing_ivid_8_0 = kVlan;
    expectPass();
}

TEST_F(Eqs, SuppressionWithDontTouchStillDropsACopyInAnotherVlan) {
    multicastCopy(0x1c000);
    shim.ing_port = kPort;
    shim.ing_ivid_8_0 = 0x11;
    shim.dont_touch = 1;
    expectDrop(kSuppressed);
}

// ---- VLAN filter
// -----------------------------------------------------------------------------------------------------

TEST_F(Eqs, AVlanThatThePortDropsIsFiltered) {
    setEvt(8, 1u << 12);
    expectDrop(" elp is 3, evt_idx is 8, evt mem: 00001000\n" + kVlanDrop);
    setEvt(8, ~(1u << 12) & ~0x3ffu);
    expectPass();
    shim.egr_ivid = 0x11;
    setMtu(0, 0x11, 1500);
    expectDrop(" elp is 3, evt_idx is 8, evt mem: ffffec00\n" + kVlanDrop);
    setEvt(8, 1u << 12);
    expectPass();
    setEvt(8, 1u << 28);
    expectDrop(" elp is 3, evt_idx is 8, evt mem: 10000000\n" + kVlanDrop);
    setEvt(8, ~(1u << 28) & ~0x3ffu);
    expectPass();
}

TEST_F(Eqs, TheVlanFilterPassesDontTouchAndTrillPorts) {
    setEvt(8, 1u << 12);
    const std::string line = " elp is 3, evt_idx is 8, evt mem: 00001000\n";
    shim.dont_touch = 1;
    expectPass(line + line);
    shim.dont_touch = 0;
    side.rte_eqs_trill_en_q = 1u << kPort;
    expectPass(line + line);
    side.rte_eqs_trill_en_q = ~(1u << kPort);
    expectDrop(line + kVlanDrop);
}

TEST_F(Eqs, TheVlanFilterTakesAMulticastCopyBehindTheQueue) {
    setEvt(8, 1u << 12);
    const std::string line = " elp is 3, evt_idx is 8, evt mem: 00001000\n";
    multicastCopy(0x18000);
    expectDrop(line + line + kVlanDrop);
    multicastCopy(0x1c000);
    expectDrop(line + kVlanDrop);
    multicastCopy(0x18000);
    shim.w1_15_14 = 2;
    expectDrop(line + kVlanDrop);
    multicastCopy(0x18000);
    shim.is_mgid = 0;
    expectDrop(line + kVlanDrop);
}

// ---- VPN and VLAN of the frame
// ---------------------------------------------------------------------------------------

TEST_F(Eqs, TheVlanGivesTheVpnAndItsTransparency) {
    shim.routed = 2;
    chip.set(DMP(eqs_vpt_mem), kVlan, 0xfff52345);
    chip.set(DMP(eqs_tcm_mem), 0, 0xffffffff);
    expectPass();
    EXPECT_EQ(side.transparent_vlan, 0u);
    EXPECT_EQ(side.final_vpnid, 0x52345u);
    chip.set(DMP(eqs_vpt_mem), kVlan, 0x000d2345);
    expectPass();
    EXPECT_EQ(side.transparent_vlan, 1u);
    EXPECT_EQ(side.final_vpnid, 0xd2345u);
    shim.vpn_id = 0x54321;
    shim.routed = 3;
    expectPass();
    EXPECT_EQ(side.final_vpnid, 0xd2345u);
    shim.routed = 4;
    expectPass();
    EXPECT_EQ(side.final_vpnid, 0x54321u);
    EXPECT_EQ(side.transparent_vlan, 1u);
}

TEST_F(Eqs, TheVpnIsTranslatedAtThePort) {
    shim.vpn_id = 0x12345;
    chip.set(DMP(eqs_tcm_mem), 2 * 100, (kPort + 1) << 19 | 0x12345); // another port, entry 100
    chip.set(DMP(eqs_tcm_mem), 2 * 101 + 1, kPort << 19 | 0x12345);   // second words do not count
    expectPass();
    EXPECT_EQ(side.final_vpnid, 0x12345u);

    // The port's low bit is bit 19 of the VPN: port 3 is found by VPNs with that bit alone.
    shim.vpn_id = 0x92345;
    chip.set(DMP(eqs_tcm_mem), 2 * 4095, 0xff000000 | kPort << 19 | 0x12345);
    chip.set(DMP(eqs_trt_mem), 4095, 0xfff00000 | 0x77777);
    expectPass();
    EXPECT_EQ(side.final_vpnid, 0x77777u);
    // The first of equal entries decides; its result is not valid.
    chip.set(DMP(eqs_tcm_mem), 2 * 7, kPort << 19 | 0x12345);
    chip.set(DMP(eqs_trt_mem), 7, 0x00077777);
    expectPass();
    EXPECT_EQ(side.final_vpnid, 0u);
}

TEST_F(Eqs, TheFinalVlanOfACopyComesFromTheMulticastTables) {
    chip.set(DMP(eqs_pit_mem), 0x123, 0xffffe456); // 13 bits: 0x0456
    shim.w2_16_0 = 0x1d123;
    expectPass();
    EXPECT_EQ(side.final_eivid, kVlan);
    shim.is_mgid = 1;
    shim.w1_15_14 = 2;
    expectPass();
    EXPECT_EQ(side.final_eivid, kVlan);
    shim.w1_15_14 = 3;
    expectPass();
    EXPECT_EQ(side.final_eivid, 0x1123u); // low 13 bits of the group
    shim.w2_16_0 = 0x1b123;
    expectPass();
    EXPECT_EQ(side.final_eivid, 0x0456u);
    shim.w2_16_0 = 0x00123;
    expectPass();
    EXPECT_EQ(side.final_eivid, 0x0456u);
}

TEST_F(Eqs, TheExternalVlanStandsInTheEntryOfTheFinalVlan) {
    setEvt(8, 0xa3c00000 | 0x00000ba8); // bits 30 to 15: 0x4780; bits 15 to 0: 0x0ba8
    expectPass();
    EXPECT_EQ(side.wired_eivid, 0x0ba8u);
    shim.egr_ivid = 0x11;
    setMtu(0, 0x11, 1500);
    setEvt(8, 0xa3c08c00);
    expectPass();
    EXPECT_EQ(side.wired_eivid, 0x4781u);
}

// ---- MTU
// -------------------------------------------------------------------------------------------------------------

TEST_F(Eqs, AFrameAboveTheMtuIsDropped) {
    setMtu(0, kVlan, 64);
    expectPass();
    setMtu(0, kVlan, 63);
    expectDrop(kMtuDrop);
    setMtu(0, kVlan, 0xffffc000 | 63); // 14 bits
    expectDrop(kMtuDrop);
    setMtu(0, kVlan, 0x2000);
    expectPass();
}

TEST_F(Eqs, RoutedIpv6HasAnMtuOfItsOwn) {
    setMtu(0, kVlan, 63);
    setMtu(1, kVlan, 64);
    for (uint32_t routed = 2; routed < 8; routed++) {
        shim.routed = routed;
        expectDrop(kMtuDrop);
    }
    shim.routed = 1;
    expectPass();
    setMtu(1, kVlan, 63);
    expectDrop(kMtuDrop);
}

TEST_F(Eqs, RoutedIpv4IsHeldToTheMtuOnlyWhenItMayNotBeFragmented) {
    setMtu(0, kVlan, 63);
    shim.routed = 0;
    expectPass();
    frm[kIp + 6] = 0xbf; // all flags but DF
    frm[kIp + 7] = 0xff;
    expectPass();
    frm[kIp + 6] = 0x40;
    expectDrop(kMtuDrop);
    frm.resize(64);
    setMtu(0, kVlan, 64);
    expectPass();
}

TEST_F(Eqs, BytesBehindAShortFrameAreZero) {
    setMtu(0, kVlan, 10);
    shim.routed = 0;
    frm.assign(64, 0xff);
    const auto proc = [&](uint32_t len) { return eqs_egress_proc(frm.data(), len, &shim, &side, chip.get(), 0); };
    EXPECT_EQ(proc(kIp + 6), 0); // the DF bit lies behind the end
    EXPECT_EQ(proc(kIp + 7), 1);
}

// ---- VPN filter
// ------------------------------------------------------------------------------------------------------

TEST_F(Eqs, TheVpnFilterTestsTheFlagOfTheFramesTag) {
    const uint32_t inner[2] = {1u << 3, 1u << 9}, stag[2] = {1u << 5, 1u << 1};
    for (uint32_t odd = 0; odd < 2; odd++) {
        shim.egr_ivid = kVlan | odd;
        setMtu(0, kVlan | odd, 1500);
        shim.rcv_inner_tagged = shim.rcv_s_tagged = 0;
        setEvt(8, 0x22a); // all four flags
        expectPass();
        shim.rcv_inner_tagged = 1;
        setEvt(8, inner[odd]);
        expectDrop(kVpnDrop);
        setEvt(8, 0x22a & ~inner[odd]);
        expectPass();
        shim.rcv_s_tagged = 1; // the inner tag decides
        expectPass();
        shim.rcv_inner_tagged = 0;
        setEvt(8, stag[odd]);
        expectDrop(kVpnDrop);
        setEvt(8, 0x22a & ~stag[odd]);
        expectPass();
    }
}

TEST_F(Eqs, TheVpnFilterPassesDontTouch) {
    shim.rcv_inner_tagged = 1;
    setEvt(8, 1u << 3);
    expectDrop(kVpnDrop);
    shim.dont_touch = 1;
    expectPass();
}

TEST_F(Eqs, ATrillPortFiltersMulticastByTheVpnsBit) {
    const uint32_t vpnBit[8] = {0x20, 0x10, 8, 4, 2, 1, 0x200, 0x100};
    side.rte_eqs_trill_en_q = 1u << kPort;
    shim.rcv_inner_tagged = 1;
    for (uint32_t vpn = 0; vpn < 8; vpn++) {
        shim.vpn_id = 0xf8000 | 0x123 << 3 | vpn; // word 0x123, twelve bits
        setEvt(0x123, vpnBit[vpn]);
        shim.trill_mc = 1;
        expectDrop(kVpnDrop);
        shim.trill_mc = 0;
        expectPass();
        shim.trill_mc = 1;
        setEvt(0x123, ~vpnBit[vpn]);
        expectPass();
    }
}

// ---- fragments and sequence numbers
// ----------------------------------------------------------------------------------

class EqsFragments : public Eqs {
protected:
    EqsFragments() {
        shim.routed = 0;
        frm.assign(1000, 0);
        setIp(5, 1000);
    }
    void setIp(uint8_t ihl, uint32_t tlen) {
        frm[kIp] = static_cast<uint8_t>(0x40 | ihl);
        frm[kIp + 2] = static_cast<uint8_t>(tlen >> 8);
        frm[kIp + 3] = static_cast<uint8_t>(tlen);
    }
    uint32_t fragments(uint32_t mtu) {
        setMtu(0, kVlan, mtu);
        side.num_frags = 77;
        EXPECT_EQ(run(), 0);
        EXPECT_EQ(side.mtu, mtu & 0x3fff);
        return side.num_frags;
    }
};

TEST_F(EqsFragments, AreCountedRoundedUp) {
    EXPECT_EQ(fragments(420), 3u); // 980 bytes in pieces of 400
    EXPECT_EQ(fragments(427), 3u); // 407, cut to 400
    setIp(5, 820);
    EXPECT_EQ(fragments(420), 2u); // 800 bytes
    setIp(5, 821);
    EXPECT_EQ(fragments(420), 3u);
    setIp(15, 1000);
    EXPECT_EQ(fragments(420), 3u); // 940 in pieces of 360
}

TEST_F(EqsFragments, AFrameWithinTheMtuIsOne) {
    EXPECT_EQ(fragments(1000), 1u);
    EXPECT_EQ(fragments(0xffffc000 | 1000), 1u);
    EXPECT_EQ(fragments(999), 2u); // 980 bytes in pieces of 976
}

TEST_F(EqsFragments, APimEncapsulationTakesRoom) {
    multicastCopy(0x0005);
    shim.ing_ivid_8_0 = 0x11;      // the final VLAN is 0
    EXPECT_EQ(fragments(420), 4u); // 1092 bytes in pieces of 288
    EXPECT_EQ(side.pim_encap, 1u);
}

TEST_F(EqsFragments, APieceOfNothingGivesNone) {
    EXPECT_EQ(fragments(20), 0u);
    EXPECT_EQ(fragments(27), 0u);
    EXPECT_EQ(fragments(28), 123u); // 980 bytes in pieces of 8
}

TEST_F(EqsFragments, AnMtuBelowTheHeaderWrapsAround) {
    EXPECT_EQ(fragments(10), 1u);
    setIp(5, 20);
    EXPECT_EQ(fragments(10), 0u); // no payload
}

TEST_F(EqsFragments, TakeSequenceNumbersOfTheirPort) {
    EXPECT_EQ(fragments(420), 3u);
    EXPECT_EQ(side.eqs_seq, 0u);
    fragments(420);
    EXPECT_EQ(side.eqs_seq, 3u);
    setMtu(0, kVlan, 1000);
    run();
    EXPECT_EQ(side.eqs_seq, 6u);
    run();
    EXPECT_EQ(side.eqs_seq, 7u);
    side.hsq_eqs_qid_q = 8 * 4;
    run();
    EXPECT_EQ(side.eqs_seq, 0u);
    eqs_init();
    side.hsq_eqs_qid_q = 8 * kPort;
    run();
    EXPECT_EQ(side.eqs_seq, 0u);
}

TEST_F(EqsFragments, APhysicalPortPacketTakesNoSequenceNumber) {
    fragments(420);
    side.hsq_eqs_phyp_pkt_q = 1;
    side.eqs_seq = 55;
    fragments(420);
    EXPECT_EQ(side.eqs_seq, 55u);
    side.hsq_eqs_phyp_pkt_q = 0;
    fragments(420);
    EXPECT_EQ(side.eqs_seq, 3u);
}

TEST_F(EqsFragments, AreLeftAloneForOtherFrames) {
    for (uint32_t routed = 1; routed < 8; routed++) {
        shim.routed = routed;
        side.num_frags = 77;
        side.mtu = 66;
        EXPECT_EQ(run(), 0);
        EXPECT_EQ(side.num_frags, 77u);
        EXPECT_EQ(side.mtu, 66u);
    }
}

// ---- PIM
// -------------------------------------------------------------------------------------------------------------

TEST_F(Eqs, PimEncapsulationIsForRoutedCopiesInAnotherVlan) {
    const auto required = [&] {
        side.pim_encap = 55;
        const int answer = pim_encap_required(&shim, &side, chip.get());
        EXPECT_EQ(side.pim_encap, static_cast<uint32_t>(answer));
        return answer;
    };
    side.final_eivid = 0x20;
    multicastCopy(4095);
    for (uint32_t routed = 0; routed < 8; routed++) {
        shim.routed = routed;
        EXPECT_EQ(required(), routed < 2);
    }
    shim.routed = 1;
    shim.w2_16_0 = 4096;
    EXPECT_EQ(required(), 0);
    shim.w2_16_0 = 0;
    for (uint32_t type = 0; type < 4; type++) {
        shim.w1_15_14 = type;
        EXPECT_EQ(required(), type == 3);
    }
    shim.is_mgid = 0;
    EXPECT_EQ(required(), 0);
    shim.is_mgid = 1;
    side.final_eivid = kVlan; // the ingress VLAN
    EXPECT_EQ(required(), 0);
    shim.ing_ivid_12_9 = 0xf;
    EXPECT_EQ(required(), 1);
    side.final_eivid = 0x1e00 | kVlan;
    EXPECT_EQ(required(), 0);
}

TEST_F(EqsFragments, CountInThePimCounterOfTheCopysVlan) {
    multicastCopy(0x0005);
    chip.set(DMP(eqs_pit_mem), 5, 0x0123);
    chip.set(DMP(eqs_fit_mem), 0x123, 0x1234fffe);
    EXPECT_EQ(fragments(420), 4u);
    EXPECT_EQ(side.pim_cnt, 0xfffeu);
    EXPECT_EQ(chip.get(DMP(eqs_fit_mem), 0x123), 0x0002u);
    shim.ing_ivid_8_0 = 0x123; // the same VLAN: no encapsulation
    side.pim_cnt = 55;
    fragments(420);
    EXPECT_EQ(side.pim_cnt, 55u);
    EXPECT_EQ(chip.get(DMP(eqs_fit_mem), 0x123), 0x0002u);
}

TEST_F(EqsFragments, TheCounterOfAHighVlanLiesBehindTheMemory) {
    multicastCopy(0x0005);
    chip.set(DMP(eqs_pit_mem), 5, 0xffffffff);
    chip.set(DMP(eqs_fit_mem), 0x1fff, 41);
    EXPECT_EQ(fragments(1000), 1u);
    EXPECT_EQ(side.pim_cnt, 41u);
    EXPECT_EQ(chip.get(DMP(eqs_fit_mem), 0x1fff), 42u);
}

TEST_F(Eqs, TunnelParametersOfARoutedIpv4Frame) {
    shim.routed = 0;
    shim.w2_16_0 = 0x17123; // entry 0x123
    const size_t at = 0x123 * 8;
    const uint32_t words[6] = {0x11223344, 0xd55d6677, 0x0a000001, 0x0a000002, 0xfffffffe, 0x12345678};
    for (size_t i = 0; i < 6; i++)
        chip.set(DMP(eqs_pet_mem), at + i, words[i]);
    expectPass();
    EXPECT_EQ(side.mac_da, 0x11223344u);
    EXPECT_EQ(side.mac_da1, 0x6677u);
    EXPECT_EQ(side.dbr_id, 0xaabau); // bits 30 to 15
    EXPECT_EQ(side.ipv4_da, 0x0a000001u);
    EXPECT_EQ(side.ipv4_sa, 0x0a000002u);
    EXPECT_EQ(side.m_bit, 1u);
    EXPECT_EQ(side.b_bit, 0u);
    EXPECT_EQ(side.trill_da, 0x12345678u);
    EXPECT_EQ(side.flow_id, 0u);
    chip.set(DMP(eqs_pet_mem), at + 4, 1);
    expectPass();
    EXPECT_EQ(side.m_bit, 0u);
    EXPECT_EQ(side.b_bit, 1u);
}

TEST_F(Eqs, TunnelParametersOfARoutedIpv6Frame) {
    shim.routed = 1;
    shim.w2_16_0 = 0xfff; // the last entry; the next one is read behind the memory
    const size_t at = 0xfff * 8;
    const uint32_t words[13] = {0x11223344, 0xd55d6677, 0x4ff98765, 31, 32, 33, 34, 0, 41, 42, 43, 44, 0xd55d8000};
    for (size_t i = 0; i < 13; i++)
        chip.set(DMP(eqs_pet_mem), at + i, words[i]);
    side.ipv6_da[2] = 99;
    expectPass();
    EXPECT_EQ(side.mac_da, 0x11223344u);
    EXPECT_EQ(side.mac_da1, 0x6677u);
    EXPECT_EQ(side.dbr_id, 0xaabau);
    EXPECT_EQ(side.flow_id, 0x98765u);
    EXPECT_EQ(side.m_bit, 1u);
    EXPECT_EQ(side.b_bit, 0u);
    for (uint32_t i = 0; i < 4; i++)
        EXPECT_EQ(side.ipv6_sa[i], 41 + i); // the destination lands in the source
    EXPECT_EQ(side.ipv6_da[2], 99u);
    EXPECT_EQ(side.trill_da, 0xaabbu);
    EXPECT_EQ(side.ipv4_da, 0u);
    chip.set(DMP(eqs_pet_mem), at + 2, 0x80000000);
    expectPass();
    EXPECT_EQ(side.m_bit, 0u);
    EXPECT_EQ(side.b_bit, 1u);
}

TEST_F(Eqs, OtherFramesHaveNoTunnelParameters) {
    for (uint32_t i = 0; i < 16; i++)
        chip.set(DMP(eqs_pet_mem), i, 0xffffffff);
    for (uint32_t routed = 2; routed < 8; routed++) {
        shim.routed = routed;
        expectPass();
        EXPECT_EQ(side.mac_da | side.mac_da1 | side.dbr_id | side.m_bit | side.b_bit | side.trill_da, 0u);
    }
}

TEST_F(Eqs, TheIpHeaderIsTakenFromAFixedPlace) {
    EXPECT_EQ(find_ip_hdr_in_frm(frm.data()), frm.data() + 16);
}

TEST_F(Eqs, RemembersWhetherItSpeaks) {
    run(1);
    EXPECT_TRUE(eqs_verbose());
    run(0);
    EXPECT_FALSE(eqs_verbose());
}

} // namespace
