// The egress MAC stage.

#include "chip_image.h"
#include "cm_glue.h"
#include "emc.h"
#include "eqs.h"
#include "frame_builder.h"
#include "random_words.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kPort = 6; // the second port group
constexpr uint64_t kDa = 0x020000000001, kSa = 0x020000000002;
using Bytes = std::vector<uint8_t>;

class Emc : public testing::Test {
protected:
    Emc() {
        shim.routed = 6; // nothing but the layer-2 header is looked at
        side.eqs_elp = kPort;
        side.rte_cfg_stag_et = 0xffff88a8;
        side.rte_cfg_ctag_et = 0x8100;
        quiet();
    }
    /// The stage speaks when the queue stage was told to.
    void setVerbose(int vb) {
        shim_t cpuShim{};
        eqs_side_band_t cpu{};
        cpu.hsq_eqs_qid_q = 8 * 36;
        testing::internal::CaptureStdout();
        eqs_egress_proc(nullptr, 0, &cpuShim, &cpu, chip.get(), vb);
        std::fflush(stdout);
        testing::internal::GetCapturedStdout();
    }
    void quiet() { setVerbose(0); }

    void port(size_t field, uint32_t value) { chip.setPort(kPort, field, value); }
    void quad(size_t field, uint32_t value) { chip.setQuad(kPort >> 2, field, value); }

    std::vector<Bytes> runAll(const Bytes &frm) {
        uint8_t **out = nullptr;
        uint32_t *len = nullptr;
        testing::internal::CaptureStdout();
        rslt = emc_egress_proc(frm.data(), static_cast<uint32_t>(frm.size()), &shim, &side, &out, &len, chip.get());
        std::fflush(stdout);
        said = testing::internal::GetCapturedStdout();
        std::vector<Bytes> frames;
        if (rslt != 0) {
            EXPECT_EQ(out, nullptr);
            return frames;
        }
        const uint32_t cnt = shim.dont_touch || side.eqs_nfrag < 2 ? 1 : side.eqs_nfrag;
        for (uint32_t i = 0; i < cnt; i++)
            frames.emplace_back(out[i], out[i] + len[i]);
        emc_free_frames(out, len, cnt);
        return frames;
    }
    Bytes run(const Bytes &frm) {
        const std::vector<Bytes> frames = runAll(frm);
        EXPECT_EQ(frames.size(), 1u);
        return frames.empty() ? Bytes() : frames[0];
    }
    Bytes run(const Frame &frm) { return run(frm.bytes); }

    static Frame head() { return Frame().mac(kDa, kSa); }
    /// An untagged frame whose payload is 01 02 03 ...
    static Frame payload(Frame frame, uint32_t cnt = 40) {
        for (uint32_t i = 1; i <= cnt; i++)
            frame.num(i, 1);
        return frame;
    }
    static Frame plain() { return payload(head().etyp(0x9000)); }

    ChipImage chip;
    shim_t shim{};
    emc_side_band_t side{};
    int rslt = -1;
    std::string said;
};

// ---- drops, and frames that leave as they came
// -----------------------------------------------------------------------

TEST_F(Emc, DropsWhatAnEarlierStageDropped) {
    side.eqs_drop = 1;
    EXPECT_TRUE(runAll(plain().bytes).empty());
    EXPECT_EQ(rslt, 1);
    EXPECT_EQ(said, "");
    setVerbose(1);
    EXPECT_TRUE(runAll(plain().bytes).empty());
    EXPECT_EQ(said, "Frame dropped by EMC\n");
    side.eqs_drop = 0;
    side.eacl_drop = 1;
    EXPECT_TRUE(runAll(plain().bytes).empty());
    EXPECT_EQ(said, "Frame dropped by EMC\n");
    side.eacl_drop = 0;
    EXPECT_EQ(run(plain()), plain().bytes);
    EXPECT_EQ(rslt, 0);
    EXPECT_EQ(said, "");
}

TEST_F(Emc, DontTouchLeavesAsOneCopy) {
    shim.dont_touch = 1;
    shim.rcv_trill = shim.pim_decap = shim.rcv_cn_tagged = 1;
    shim.routed = 0;
    side.s_tagged = 1;
    side.eqs_nfrag = 3;
    EXPECT_EQ(run(plain()), plain().bytes);
    EXPECT_EQ(said, "");
    setVerbose(1);
    EXPECT_EQ(run(plain()), plain().bytes);
    EXPECT_EQ(said, "EMC proc done.\n");
    EXPECT_EQ(run(Bytes()), Bytes());
}

TEST_F(Emc, DontTouchMayHaveASequenceHeader) {
    shim.dont_touch = 1;
    port(PORT(emc_cfg), ~0x400u);
    EXPECT_EQ(run(plain()), plain().bytes);
    port(PORT(emc_cfg), 0x400);
    side.eqs_seq = 5;
    side.eqs_seq_val = 1;
    Bytes expected = Frame().hex("00000160 10000000").bytes; // 5 << 6 | 1 << 5
    const Bytes frame = plain().bytes;
    expected.insert(expected.end(), frame.begin(), frame.end());
    EXPECT_EQ(run(frame), expected);
}

TEST_F(Emc, ASequenceNumberHasTenBits) {
    port(PORT(emc_cfg), 0x400);
    side.eqs_seq = 0xffffffff;
    const Bytes out = run(plain());
    EXPECT_EQ(Bytes(out.begin(), out.begin() + 8), Frame().hex("0000ffc0 10000000").bytes);
    EXPECT_EQ(Bytes(out.begin() + 8, out.end()), plain().bytes);
}

// ---- layer 2
// ---------------------------------------------------------------------------------------------------------

TEST_F(Emc, AnUntaggedFrameLeavesUntagged) {
    EXPECT_EQ(run(plain()), plain().bytes);
}

TEST_F(Emc, ARoutedTrunkPortWritesItsOwnAddress) {
    port(PORT(emc_router_mac_sa_hi_q), 0x0a0b0c0d);
    port(PORT(emc_router_mac_sa_lo_q), 0xffff0e0f);
    side.eqs_mac_da = 0x11223344;
    side.eqs_mac_da1 = 0xffff5566;
    const Bytes copied = head().bytes;
    for (uint32_t routed = 0; routed < 8; routed++) {
        for (uint32_t trunk = 0; trunk < 2; trunk++) {
            for (uint32_t encap = 0; encap < 4; encap++) {
                shim.routed = routed;
                side.egr_routed = trunk;
                side.ipv4_encap = encap & 1;
                side.ipv6_encap = encap >> 1;
                const bool ownSa = trunk && routed < 2;
                const bool tunnel = ownSa && (routed == 0 ? encap & 1 : encap & 2);
                Frame expected;
                expected.num(tunnel ? 0x112233445566 : kDa, 6).num(ownSa ? 0x0a0b0c0d0e0f : kSa, 6);
                const Bytes out = run(plain());
                EXPECT_EQ(Bytes(out.begin(), out.begin() + 12), expected.bytes) << routed << trunk << encap;
            }
        }
    }
}

TEST_F(Emc, WritesAnStagFromTheVpn) {
    side.s_tagged = 1;
    side.final_vpnid = 0xff123;
    shim.egr_vlan_pri = 5;
    EXPECT_EQ(run(plain()), payload(head().tag(0x88a8, 0x123, 5).etyp(0x9000)).bytes);
    port(PORT(emc_egr_pri_dp_remap), 1u << 31);
    EXPECT_EQ(run(plain()), payload(head().tag(0x88a8, 0x123, 0).etyp(0x9000)).bytes);
    port(PORT(emc_egr_pri_dp_remap), ~(1u << 31));
    EXPECT_EQ(run(plain()), payload(head().tag(0x88a8, 0x123, 5).etyp(0x9000)).bytes);
}

TEST_F(Emc, ReplacesAnStagAndKeepsItsPriority) {
    side.s_tagged = 1;
    shim.rcv_s_tagged = 1;
    side.final_vpnid = 0x123;
    shim.egr_vlan_pri = 5;
    const Bytes in = payload(head().tag(0x9100, 0xfff, 6, 1).etyp(0x9000)).bytes;
    EXPECT_EQ(run(in), payload(head().tag(0x88a8, 0x123, 6, 1).etyp(0x9000)).bytes);
    port(PORT(emc_egr_pri_dp_remap), 1u << 31);
    EXPECT_EQ(run(in), payload(head().tag(0x88a8, 0x123, 0, 1).etyp(0x9000)).bytes);
    port(PORT(emc_egr_pri_dp_remap), 1u << 29);
    EXPECT_EQ(run(in), payload(head().tag(0x88a8, 0x123, 6, 0).etyp(0x9000)).bytes);
}

TEST_F(Emc, RemovesAnStagThatIsNotWanted) {
    shim.rcv_s_tagged = 1;
    EXPECT_EQ(run(payload(head().tag(0x9100, 0xfff, 6, 1).etyp(0x9000))), plain().bytes);
}

TEST_F(Emc, ReplacesACtagAndKeepsItsPriority) {
    side.c_tagged = 1;
    shim.rcv_inner_tagged = 1;
    side.eqs_ext_vid = 0xf234;
    shim.egr_vlan_pri = 2;
    shim.egr_cfi = 1;
    const Bytes in = payload(head().tag(0x9200, 0x777, 3, 1).etyp(0x9000)).bytes;
    EXPECT_EQ(run(in), payload(head().tag(0x8100, 0x234, 3, 1).etyp(0x9000)).bytes); // CFI of the shim
    shim.routed = 3;
    const Bytes routed = run(in);
    EXPECT_EQ(Bytes(routed.begin() + 12, routed.begin() + 16), Frame().tag(0x8100, 0x234, 3, 0).bytes);
    shim.routed = 6;
    shim.egr_cfi = 0;
    EXPECT_EQ(run(in), payload(head().tag(0x8100, 0x234, 3, 0).etyp(0x9000)).bytes);
    shim.egr_cfi = 1;
    port(PORT(emc_egr_pri_dp_remap), 1u << 30);
    EXPECT_EQ(run(in), payload(head().tag(0x8100, 0x234, 0, 1).etyp(0x9000)).bytes);
    port(PORT(emc_egr_pri_dp_remap), 1u << 28);
    EXPECT_EQ(run(in), payload(head().tag(0x8100, 0x234, 3, 0).etyp(0x9000)).bytes);
}

TEST_F(Emc, ANewCtagHasNoPriority) {
    side.c_tagged = 1;
    side.eqs_ext_vid = 0x234;
    shim.egr_vlan_pri = 7;
    EXPECT_EQ(run(plain()), payload(head().tag(0x8100, 0x234, 0).etyp(0x9000)).bytes);
}

TEST_F(Emc, RemovesACtagThatIsNotWanted) {
    shim.rcv_inner_tagged = 1;
    EXPECT_EQ(run(payload(head().tag(0x9200, 0x777, 3, 1).etyp(0x9000))), plain().bytes);
}

TEST_F(Emc, ATransparentVlanKeepsTheReceivedVid) {
    side.transparent_vlan = 1;
    side.eqs_ext_vid = 0x234;
    EXPECT_EQ(run(plain()), plain().bytes); // untagged stays untagged
    side.c_tagged = 1;
    EXPECT_EQ(run(plain()), plain().bytes);
    side.c_tagged = 0;
    shim.rcv_inner_tagged = 1;
    const Bytes in = payload(head().tag(0x9200, 0x777, 3, 1).etyp(0x9000)).bytes;
    EXPECT_EQ(run(in), payload(head().tag(0x8100, 0x777, 3, 0).etyp(0x9000)).bytes);
}

TEST_F(Emc, WritesBothTags) {
    side.c_tagged = side.s_tagged = 1;
    shim.rcv_inner_tagged = shim.rcv_s_tagged = 1;
    side.final_vpnid = 0xabc;
    side.eqs_ext_vid = 0x234;
    const Bytes in = payload(head().tag(0x9100, 1, 1, 0).tag(0x9200, 2, 2, 0).etyp(0x9000)).bytes;
    EXPECT_EQ(run(in), payload(head().tag(0x88a8, 0xabc, 1).tag(0x8100, 0x234, 2).etyp(0x9000)).bytes);
}

TEST_F(Emc, RemovesACnTagByPriority) {
    shim.rcv_cn_tagged = 1;
    const Bytes in = payload(head().num(0x22e9abcd, 4).etyp(0x9000)).bytes;
    for (uint32_t prio = 0; prio < 8; prio++) {
        shim.egr_vlan_pri = prio;
        port(PORT(emc_config3_q), 1u << (16 + prio));
        EXPECT_EQ(run(in), plain().bytes);
        port(PORT(emc_config3_q), ~(1u << (16 + prio)));
        EXPECT_EQ(run(in), in);
    }
    shim.rcv_cn_tagged = 0;
    port(PORT(emc_config3_q), 0xffffffff);
    EXPECT_EQ(run(in), in);
}

// ---- TRILL
// -----------------------------------------------------------------------------------------------------------

TEST_F(Emc, RemovesATrillEncapsulation) {
    shim.rcv_trill = 1;
    const Bytes inner = plain().bytes;
    const auto behind = [&](size_t n) {
        Bytes frame = Frame().fill(n, 0xcc).bytes;
        frame.insert(frame.end(), inner.begin(), inner.end());
        return frame;
    };
    EXPECT_EQ(run(behind(20)), inner);
    shim.rcv_outer_tagged = 1;
    EXPECT_EQ(run(behind(24)), inner);
    shim.rcv_trill_option = 1;
    EXPECT_EQ(run(behind(44)), inner);
    shim.rcv_outer_tagged = 0;
    EXPECT_EQ(run(behind(40)), inner);
    shim.rcv_trill = 0;
    shim.rcv_outer_tagged = 1;
    EXPECT_EQ(run(inner), inner); // both flags count behind a TRILL header only
}

class EmcTrill : public Emc {
protected:
    EmcTrill() {
        side.rte_trill_en_q = 1u << kPort;
        side.trill_out_sa = 0xffff0a1a; // what stands beside the 16 bits is no address
        side.trill_out_sa1 = 0x2a3a4a5a;
        side.trill_out_da = 0x0fff0b1b;
        side.trill_out_da1 = 0x2b3b4b5b;
        side.trill_all_rb_da = 0xc2000040;
        side.trill_all_rb_da1 = 0x00030180;
        side.trill_etype = 0x22f3;
        side.eqs_trill_da = 0xe0e1e2e3;
        side.eqs_trill_sa = 0xf0f1f2f3;
        side.rte_trill_sa = 0x1234;
        side.final_vpnid = 0xfff54321;
        side.eqs_ext_vid = 0x234;
        shim.trill_da = 0x5678;
        quad(QUAD(emc_com_reg2), 0x0000004a); // one option word, ten hops
        port(PORT(emc_def_trill_opt_q), 0x2a);
    }
    /// What follows the nicknames: the option words, and the inner frame with its C-tag.
    static Frame rest(Frame frame, uint32_t optLen = 1) {
        frame.num(0, 4).num(0x15000000 | (optLen + 3) << 16, 4).num(0x54321, 4);
        return payload(frame.mac(kDa, kSa).tag(0x8100, 0x234).etyp(0x9000));
    }
    static Frame outer(uint64_t da = 0x0b1b2b3b4b5b) { return Frame().mac(da, 0x0a1a2a3a4a5a); }
};

TEST_F(EmcTrill, EncapsulatesWithoutAnOuterTag) {
    EXPECT_EQ(run(plain()), rest(outer().etyp(0x22f3).num(0x004a, 2).num(0x56781234, 4)).bytes);
}

TEST_F(EmcTrill, OnlyOnAPortWithItsBit) {
    side.rte_trill_en_q = ~(1u << kPort);
    EXPECT_EQ(run(plain()), plain().bytes);
    side.rte_trill_en_q = 0xffffffff;
    side.eqs_elp = 38; // no such bit
    EXPECT_EQ(run(plain()), plain().bytes);
}

TEST_F(EmcTrill, WritesAnOuterTagWithoutPriority) {
    port(PORT(emc_outer_vlan), 1u << 28 | 0x8100 << 12 | 0xabc);
    shim.egr_vlan_pri = 7;
    EXPECT_EQ(run(plain()), rest(outer().tag(0x8100, 0xabc).etyp(0x22f3).num(0x004a, 2).num(0x56781234, 4)).bytes);
    port(PORT(emc_outer_vlan), ~(1u << 28));
    EXPECT_EQ(run(plain()), rest(outer().etyp(0x22f3).num(0x004a, 2).num(0x56781234, 4)).bytes);
}

TEST_F(EmcTrill, AMulticastFrameGoesToAllBridges) {
    shim.trill_mc = 1;
    EXPECT_EQ(run(plain()), rest(outer(0x0180c2000040).etyp(0x22f3).num(0x084a, 2).num(0x56781234, 4)).bytes);
}

TEST_F(EmcTrill, OuterAddressesComeFromTheRegistersOfTheParser) {
    port(PORT(rte_prc_trill_exp_out_da), 0x0abc0011); // a VID stands above the address
    port(PORT(rte_prc_trill_exp_out_da) + 4, 0x22334455);
    port(PORT(rte_prc_trill_exp_out_sa), 0x00006677);
    port(PORT(rte_prc_trill_exp_out_sa) + 4, 0x8899aabb);
    chip.set(DMP(rte_l2_trill_cfg_0), 0, 0x22f31234);
    chip.set(DMP(rte_l2_trill_cfg_1), 0, 0x00030180); // a version stands above the address
    chip.set(DMP(rte_l2_trill_cfg_2), 0, 0xc2000040);
    chip.setPort(kPort, PORT(rte_prc_vlan_etyp), 0x88a88100);
    rte_2_emc_side(&shim, chip.get(), &side);
    Frame ucast = Frame().mac(0x001122334455, 0x66778899aabb);
    EXPECT_EQ(run(plain()), rest(ucast.etyp(0x22f3).num(0x004a, 2).num(0x56781234, 4)).bytes);
    shim.trill_mc = 1;
    Frame mcast = Frame().mac(0x0180c2000040, 0x66778899aabb);
    EXPECT_EQ(run(plain()), rest(mcast.etyp(0x22f3).num(0x084a, 2).num(0x56781234, 4)).bytes);
}

TEST_F(EmcTrill, TakesTheNicknamesOfATunnelOrOfTheSourceBridge) {
    shim.mct_srbridge_vld = 1;
    EXPECT_EQ(run(plain()), rest(outer().etyp(0x22f3).num(0x004a, 2).num(0x5678f2f3, 4)).bytes);
    shim.mct_srbridge_vld = 0;
    for (uint32_t family = 0; family < 2; family++) {
        side.ipv4_encap = family == 0;
        side.ipv6_encap = family == 1;
        const Bytes out = run(plain());
        EXPECT_EQ(Bytes(out.begin() + 16, out.begin() + 20), Frame().num(0xe2e3f2f3, 4).bytes);
    }
}

TEST_F(EmcTrill, KeepsItsHeaderAndOptionFieldsWithinTheirBits) {
    quad(QUAD(emc_com_reg2), 0xffffffff);
    port(PORT(emc_def_trill_opt_q), 0xffffffff);
    const Bytes out = run(plain());
    // Options' length 15 and 63 hops; 63 in the option, and 15 + 3.
    EXPECT_EQ(Bytes(out.begin() + 14, out.begin() + 16), Frame().num(0x03ff, 2).bytes);
    EXPECT_EQ(Bytes(out.begin() + 20, out.begin() + 32), Frame().num(0, 4).num(0x3f120000, 4).num(0x54321, 4).bytes);
}

TEST_F(EmcTrill, ATransitFrameLosesAHop) {
    shim.rcv_trill = 1;
    shim.routed = 4;
    Bytes in = Frame().fill(24, 0xcc).bytes;
    const Bytes inner = plain().bytes;
    in.insert(in.end(), inner.begin(), inner.end());
    const auto hops = [&] { return run(in)[15] & 0x3f; };
    in[15] = 0x40 | 20;
    in[19] = 0xc0 | 30;
    EXPECT_EQ(hops(), 19);
    shim.rcv_outer_tagged = 1;
    EXPECT_EQ(hops(), 29);
    in[19] = 0x40; // six bits
    EXPECT_EQ(hops(), 63);
    in[19] = 1;
    EXPECT_EQ(hops(), 0);
    shim.trill_term = 1;
    EXPECT_EQ(hops(), 10);
    shim.trill_term = 0;
    shim.routed = 3;
    EXPECT_EQ(hops(), 10);
    shim.routed = 6;
    EXPECT_EQ(hops(), 0);
    EXPECT_EQ(run(in), rest(outer().etyp(0x22f3).num(0x0040, 2).num(0x56781234, 4)).bytes);
    shim.rcv_trill = 0;
    EXPECT_EQ(hops(), 10);
}

TEST_F(EmcTrill, ATransparentVlanStaysUntaggedInside) {
    side.transparent_vlan = 1;
    const Bytes out = run(plain());
    EXPECT_EQ(Bytes(out.begin() + 32, out.end()), plain().bytes);
}

TEST_F(EmcTrill, ASequenceHeaderStandsInFront) {
    port(PORT(emc_cfg), 0x400);
    const Bytes out = run(plain());
    EXPECT_EQ(Bytes(out.begin() + 8, out.end()), rest(outer().etyp(0x22f3).num(0x004a, 2).num(0x56781234, 4)).bytes);
}

// ---- IP
// --------------------------------------------------------------------------------------------------------------

/// An IPv4 header of 20 bytes with its checksum left as it is, and 16 bytes of payload.
Frame ipv4(Frame frame, uint32_t tos, uint32_t ttl) {
    frame.num(0x45, 1).num(tos, 1).num(36, 2).hex("1234 4000").num(ttl, 1).hex("11 abcd 0a000001 0a000002");
    return frame.hex("00112233445566778899aabbccddeeff");
}
Frame ipv6(Frame frame, uint32_t tclass, uint32_t hops) {
    frame.num(6u << 28 | tclass << 20 | 0x54321, 4).num(8, 2).num(59, 1).num(hops, 1);
    return frame.hex("20010db8000000000000000000000001 20010db8000000000000000000000002 0011223344556677");
}

TEST_F(Emc, ARoutedIpv4FrameLosesAHopAndIsMarked) {
    port(PORT(emc_egr_dscp_remap), 0xffffffea); // 0x2a: a TOS of 0xa8
    for (uint32_t routed : {0u, 4u}) {
        shim.routed = routed;
        const uint32_t ttl = routed == 0 ? 63 : 64;
        EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0x01, 64)), ipv4(head().etyp(0x0800), 0xa9, ttl).bytes);
        shim.w1_15_14 = 3; // congestion
        EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0x01, 64)), ipv4(head().etyp(0x0800), 0xab, ttl).bytes);
        shim.is_mgid = 1; // the type of a group, no congestion
        EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0x02, 64)), ipv4(head().etyp(0x0800), 0xaa, ttl).bytes);
        shim.is_mgid = 0;
        shim.w1_15_14 = 2;
        EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0xff, 64)), ipv4(head().etyp(0x0800), 0xab, ttl).bytes);
        shim.w1_15_14 = 0;
    }
    shim.routed = 0;
    EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0, 0)), ipv4(head().etyp(0x0800), 0xa8, 255).bytes);
}

TEST_F(Emc, ARoutedIpv6FrameLosesAHopAndIsMarked) {
    port(PORT(emc_egr_dscp_remap), 0xffffffea);
    for (uint32_t routed : {1u, 5u}) {
        shim.routed = routed;
        const uint32_t hops = routed == 1 ? 63 : 64;
        EXPECT_EQ(run(ipv6(head().etyp(0x86dd), 0x01, 64)), ipv6(head().etyp(0x86dd), 0xa9, hops).bytes);
        shim.w1_15_14 = 3;
        EXPECT_EQ(run(ipv6(head().etyp(0x86dd), 0x01, 64)), ipv6(head().etyp(0x86dd), 0xab, hops).bytes);
        shim.is_mgid = 1;
        EXPECT_EQ(run(ipv6(head().etyp(0x86dd), 0xfe, 64)), ipv6(head().etyp(0x86dd), 0xaa, hops).bytes);
        shim.is_mgid = 0;
        shim.w1_15_14 = 0;
    }
    shim.routed = 1;
    EXPECT_EQ(run(ipv6(head().etyp(0x86dd), 0, 0)), ipv6(head().etyp(0x86dd), 0xa8, 255).bytes);
}

TEST_F(Emc, TheAclsCodePointPicksTheMapsEntry) {
    shim.routed = 4;
    side.eacl_dscp = 63;
    port(PORT(emc_egr_dscp_remap) + 4 * 63, 0x15);
    EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0, 64)), ipv4(head().etyp(0x0800), 0x54, 64).bytes);
}

TEST_F(Emc, OtherFramesHaveNoIpHeader) {
    port(PORT(emc_egr_dscp_remap), 0x3f);
    for (uint32_t routed : {6u, 7u}) {
        shim.routed = routed;
        EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0x01, 64)), ipv4(head().etyp(0x0800), 0x01, 64).bytes);
    }
}

// ---- PIM
// -------------------------------------------------------------------------------------------------------------

TEST_F(Emc, RemovesAPimEncapsulation) {
    shim.pim_decap = 1;
    for (uint32_t routed = 0; routed < 8; routed++) {
        shim.routed = routed;
        const size_t skipped = routed == 0 ? 32 : 48;
        const Bytes with = payload(head().etyp(0x9000).fill(skipped, 0xcc), 60).bytes;
        shim.pim_decap = 0;
        const Bytes expected = run(payload(head().etyp(0x9000), 60));
        shim.pim_decap = 1;
        EXPECT_EQ(run(with), expected) << routed;
    }
}

TEST_F(Emc, EncapsulatesIpv4ForPim) {
    shim.routed = 0;
    side.ipv4_encap = 1;
    side.pim_cnt = 0x1abcd;
    side.ipv4_sa = 0x0a0a0a01;
    side.ipv4_da = 0x0a0a0a02;
    side.b_bit = 1;
    port(PORT(emc_egr_dscp_remap), 0x2a);
    quad(QUAD(emc_pim_ipv4_cfg), 0xffff6740); // protocol 103, TTL 64
    quad(QUAD(emc_pim_cfg0), 0x21ff5aff);     // version 2, type 1, reserved 0x5a
    Frame expected = head().etyp(0x0800);
    expected.hex("45 a8 0000 abcd 0000 40 67 0000 0a0a0a01 0a0a0a02 00000000");
    expected.hex("21 5a 0000 80000000");
    EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0, 64)), ipv4(expected, 0xa8, 63).bytes);
    side.b_bit = 0;
    EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0, 64))[14 + 24 + 4], 0);
}

TEST_F(Emc, EncapsulatesIpv6ForPim) {
    shim.routed = 1;
    side.ipv6_encap = 1;
    side.flow_id = 0xfff12345;
    for (uint32_t i = 0; i < 4; i++) {
        side.ipv6_sa[i] = 0x11111111 * (i + 1);
        side.ipv6_da[i] = 0x11111111 * (i + 5);
    }
    port(PORT(emc_egr_dscp_remap), 0x2a);
    quad(QUAD(emc_pim_ipv6_cfg0), 0xffff6740);
    quad(QUAD(emc_pim_cfg0), 0x21ff5aff);
    Frame expected = head().etyp(0x86dd);
    expected.hex("6a812345 0000 67 40 11111111 22222222 33333333 44444444 55555555 66666666 77777777 88888888");
    expected.hex("21 5a 0000 00000000");
    EXPECT_EQ(run(ipv6(head().etyp(0x86dd), 0, 64)), ipv6(expected, 0xa8, 63).bytes);
}

TEST_F(Emc, AnEncapsulationOfTheOtherFamilyHasNoIpHeader) {
    quad(QUAD(emc_pim_cfg0), 0x21005a00);
    shim.routed = 6;
    side.ipv4_encap = 1;
    EXPECT_EQ(run(plain()), payload(head().etyp(0x9000).hex("215a0000 00000000")).bytes);
    shim.routed = 0;
    side.ipv4_encap = 0;
    side.ipv6_encap = 1;
    EXPECT_EQ(run(ipv4(head().etyp(0x0800), 0, 64)), ipv4(head().etyp(0x0800).hex("215a0000 00000000"), 0, 63).bytes);
}

// ---- FCoE
// ------------------------------------------------------------------------------------------------------------

class EmcFcoe : public Emc {
protected:
    EmcFcoe() { quad(QUAD(emc_com_reg0), 0xfffffabf); } // hop count 0xab
    static Frame encap() { return head().etyp(0x8906).hex("000102030405060708090a0b0c2e"); }
    static Frame body(Frame frame) { return frame.hex("22010203 00040506"); }
    const std::string received = "50 7f ffff 10 aabbcc";
};

TEST_F(EmcFcoe, PassesAFrameWithoutVsanHeader) {
    for (uint32_t routed : {2u, 3u}) {
        shim.routed = routed;
        shim.w4_13_0 = 0x0fff;
        EXPECT_EQ(run(body(encap())), body(encap()).bytes);
    }
}

TEST_F(EmcFcoe, TakesAVsanHeaderOut) {
    for (uint32_t routed : {2u, 3u}) {
        shim.routed = routed;
        shim.w4_13_0 = 0x2fff;
        EXPECT_EQ(run(body(encap().hex(received))), body(encap()).bytes);
    }
}

TEST_F(EmcFcoe, PutsANewVsanHeaderIn) {
    for (uint32_t routed : {2u, 3u}) {
        shim.routed = routed;
        shim.w4_13_0 = 0x1923; // VFID 0x923 from bit 1 on: 0x1246
        EXPECT_EQ(run(body(encap())), body(encap().hex("50 40 1246 ab 000000")).bytes);
    }
}

TEST_F(EmcFcoe, RewritesAReceivedVsanHeader) {
    for (uint32_t routed : {2u, 3u}) {
        shim.routed = routed;
        shim.w4_13_0 = 0x3923;
        EXPECT_EQ(run(body(encap().hex(received))), body(encap().hex("50 7f f247 0f aabbcc")).bytes);
    }
}

TEST_F(EmcFcoe, OtherFramesKeepTheirVsanHeader) {
    shim.w4_13_0 = 0x2000;
    for (uint32_t routed : {6u, 7u}) {
        shim.routed = routed;
        EXPECT_EQ(run(body(encap().hex(received))), body(encap().hex(received)).bytes);
    }
}

// ---- short frames
// ----------------------------------------------------------------------------------------------------

TEST_F(Emc, AShortFrameReadsZeroesBehindItsEnd) {
    EXPECT_EQ(run(Bytes()), Frame().fill(14).bytes);
    shim.routed = 4;
    EXPECT_EQ(run(Bytes{1, 2, 3}), Frame().hex("010203").fill(11 + 24).bytes); // the length is what was written
    shim.routed = 0;
    EXPECT_EQ(run(Bytes())[14 + 8], 0xff);
    shim.routed = 5;
    EXPECT_EQ(run(Bytes()).size(), 14u + 40);
    shim.routed = 3;
    shim.w4_13_0 = 0x3000;
    EXPECT_EQ(run(Bytes()).size(), 14u + 14 + 8);
}

TEST_F(Emc, AFrameIsNoLongerThanItsBuffer) {
    // Addresses 12, three tags 12, EtherType 2, tunnel 48, header 40: 114 bytes.
    shim.routed = 1;
    side.ipv6_encap = side.s_tagged = side.c_tagged = 1;
    shim.rcv_cn_tagged = 1;
    EXPECT_EQ(run(Bytes()).size(), 108u);
    EXPECT_EQ(run(Bytes(5)).size(), 113u);
    EXPECT_EQ(run(Bytes(6)).size(), 114u);
}

// ---- fragments
// -------------------------------------------------------------------------------------------------------

class EmcFragments : public Emc {
protected:
    EmcFragments() {
        shim.routed = 0;
        side.eqs_nfrag = 3;
        side.mtu = 100;
    }
    /// A frame of 250 bytes behind its IP header; byte i is i.
    static Bytes packet(const std::string &flags) {
        Frame frame = head().etyp(0x0800).hex("4500010e 1234").hex(flags).hex("40 11 abcd 0a000001 0a000002");
        for (uint32_t i = 0; i < 250; i++)
            frame.num(i, 1);
        return frame.bytes;
    }
    static Bytes fragment(const std::string &flags, uint32_t from, uint32_t cnt) {
        Frame frame = head().etyp(0x0800).hex("4500010e 1234").hex(flags).hex("3f 11 0000 0a000001 0a000002");
        for (uint32_t i = 0; i < cnt; i++)
            frame.num(from + i, 1);
        return frame.bytes;
    }
};

TEST_F(EmcFragments, CutAFrameIntoThree) {
    const std::vector<Bytes> frames = runAll(packet("0000"));
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0], fragment("2000", 0, 100));
    EXPECT_EQ(frames[1], fragment("2000", 100, 100));
    EXPECT_EQ(frames[2], fragment("0000", 200, 50));
}

TEST_F(EmcFragments, TheFlagsAreReplacedAndTheOffsetStays) {
    const std::vector<Bytes> frames = runAll(packet("d234"));
    ASSERT_EQ(frames.size(), 3u);
    EXPECT_EQ(frames[0], fragment("3234", 0, 100));
    EXPECT_EQ(frames[1], fragment("3234", 100, 100));
    EXPECT_EQ(frames[2], fragment("d234", 200, 50));
}

TEST_F(EmcFragments, EachHasItsSequenceHeader) {
    port(PORT(emc_cfg), 0x400);
    side.eqs_seq = 0x3fe;
    side.eqs_seq_val = 1;
    const std::vector<Bytes> frames = runAll(packet("0000"));
    ASSERT_EQ(frames.size(), 3u);
    const std::string headers[3] = {"0000ffa0 10000000", "0000ffe0 10000000", "00000020 10000000"};
    const Bytes behind[3] = {fragment("2000", 0, 100), fragment("2000", 100, 100), fragment("0000", 200, 50)};
    for (size_t i = 0; i < 3; i++) {
        Bytes expected = Frame().hex(headers[i]).bytes;
        expected.insert(expected.end(), behind[i].begin(), behind[i].end());
        EXPECT_EQ(frames[i], expected) << i;
    }
}

TEST_F(EmcFragments, CarryTheTunnelHeader) {
    side.ipv4_encap = 1;
    const std::vector<Bytes> frames = runAll(packet("0000"));
    ASSERT_EQ(frames.size(), 3u);
    // Header: 14, the tunnel's 24 and 8, and 20 of the packet.
    EXPECT_EQ(frames[0].size(), 66u + 100);
    EXPECT_EQ(frames[1].size(), 66u + 100);
    EXPECT_EQ(frames[2].size(), 66u + 50);
    EXPECT_EQ(frames[0][46 + 6], 0x20); // the packet's flags, not the tunnel's
    EXPECT_EQ(frames[0][14 + 6], 0);
    EXPECT_EQ(frames[2][46 + 6], 0);
    EXPECT_EQ(frames[2][66], 200);
}

TEST_F(EmcFragments, TheLastIsNoLongerThanItsBuffer) {
    side.eqs_nfrag = 2;
    side.mtu = 10;
    const std::vector<Bytes> frames = runAll(packet("0000"));
    ASSERT_EQ(frames.size(), 2u);
    EXPECT_EQ(frames[0], fragment("2000", 0, 10));
    EXPECT_EQ(frames[1], fragment("0000", 10, 84)); // 118 bytes
}

TEST_F(EmcFragments, AHeaderIsNoLongerThanTheBuffer) {
    // The outer addresses, tag, TRILL header and options take 36 bytes, addresses, two tags and EtherType 22, the
    // tunnel 32, the IP header 20: 110 together.
    side.mtu = 0;
    side.rte_trill_en_q = 1u << kPort;
    port(PORT(emc_outer_vlan), 1u << 28);
    side.ipv4_encap = side.s_tagged = 1;
    for (const Bytes &frame : runAll(packet("0000")))
        EXPECT_EQ(frame.size(), 108u);
}

TEST_F(EmcFragments, AShortFrameMakesEmptyOnes) {
    const std::vector<Bytes> frames = runAll(Bytes{1, 2, 3});
    ASSERT_EQ(frames.size(), 3u);
    // The header: 14 bytes and an IP header without a length; the 24 bytes copied of it are payload.
    EXPECT_EQ(frames[0].size(), 14u + 24);
    EXPECT_EQ(frames[1].size(), 14u);
    EXPECT_EQ(frames[2].size(), 14u);
}

TEST_F(EmcFragments, OneOrNoneIsAWholeFrame) {
    for (uint32_t cnt : {0u, 1u}) {
        side.eqs_nfrag = cnt;
        EXPECT_EQ(run(packet("0000")).size(), packet("0000").size());
    }
}

// ---- any frame, any shim, any dump
// -----------------------------------------------------------------------------------

/// Takes a frame down the whole egress road; returns the sum of the bytes that leave.
size_t egressRoad(const Bytes &frm, shim_t shim, eqs_side_band_t eqs, emc_side_band_t emc, tsr_dmp_t *image) {
    const auto len = static_cast<uint32_t>(frm.size());
    eqs_egress_proc(frm.data(), len, &shim, &eqs, image, 0);
    eqs_2_emc_side(&shim, &eqs, &emc);
    rte_2_emc_side(&shim, image, &emc);
    uint8_t **out = nullptr;
    uint32_t *outLen = nullptr;
    if (emc_egress_proc(frm.data(), len, &shim, &emc, &out, &outLen, image) != 0)
        return 0;
    const uint32_t cnt = shim.dont_touch || emc.eqs_nfrag < 2 ? 1 : emc.eqs_nfrag;
    size_t sum = 0;
    for (uint32_t i = 0; i < cnt; i++) {
        const uint32_t room = cnt == 1 ? len : emc.mtu;
        EXPECT_LE(outLen[i], room + 108 + 8);
        for (uint32_t n = 0; n < outLen[i]; n++)
            sum += out[i][n];
    }
    emc_free_frames(out, outLen, cnt);
    return sum;
}

TEST(EgressRobustness, AnyFrameStaysWithinItsBuffers) {
    ChipImage chip;
    RandomWords random(5);
    size_t left = 0;
    for (uint64_t seed = 1; seed <= 3; seed++) {
        chip.randomise(seed);
        for (uint32_t vlan = 0; vlan < 8192; vlan++)
            chip.set(DMP(eqs_mrt_mem), vlan, random() % 256);
        for (uint32_t len = 0; len <= 260; len++) {
            // Exactly the frame's bytes, so that a read behind the end shows.
            Bytes frm(len);
            for (uint8_t &byte : frm)
                byte = static_cast<uint8_t>(random());
            frm.shrink_to_fit();
            for (uint32_t routed = 0; routed < 8; routed++) {
                uint32_t wire[6];
                for (uint32_t &word : wire)
                    word = random();
                shim_t shim{};
                shim_str_2_struct(wire, &shim);
                shim.routed = routed;
                shim.dont_touch = random() % 8 == 0;
                if (random() % 2) {
                    shim.is_mgid = 1;
                    shim.w1_15_14 = 3;
                    shim.w2_16_0 &= 0xfff;
                }
                eqs_side_band_t eqs{};
                emc_side_band_t emc{};
                if (random() % 4 == 0) {
                    chip.set(DMP(esm_cam_egid_table), random() % 32, shim.egid);
                    shim_2_eqs_side(&shim, chip.get(), &eqs);
                } else {
                    eqs.hsq_eqs_qid_q = random() % 4 ? random() % 320 : random();
                    eqs.rte_eqs_trill_en_q = random();
                    emc.eqs_nfrag = random() % 5;
                    emc.egr_routed = random() % 2;
                    emc.eacl_dscp = random() % 64;
                }
                left += egressRoad(frm, shim, eqs, emc, chip.get());
            }
        }
    }
    EXPECT_GT(left, 0u);
}

} // namespace
