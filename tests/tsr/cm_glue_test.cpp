// The shim's two forms, the command line's frame, and the crossings between the side bands.

#include "chip_image.h"
#include "cm_glue.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

// ---- frame_raw
// -------------------------------------------------------------------------------------------------------

struct Raw {
    std::vector<uint8_t> frame;
    std::array<uint8_t, 24> shim{};
    uint32_t len = 999;
};

Raw readFrame(const std::string &text, int has_shim) {
    Raw raw;
    raw.frame.assign(text.size() + 8, 0xee);
    frame_raw(raw.frame.data(), has_shim, static_cast<int>(text.size()), text.data(), static_cast<int>(text.size()),
              &raw.len, raw.shim.data(), 24);
    return raw;
}

TEST(FrameRaw, SkipsOtherCharactersAndTakesALoneDigitAsTheHighOne) {
    const Raw raw = readFrame("0011:22 3", 0);
    EXPECT_EQ(raw.len, 4u);
    EXPECT_EQ(std::vector<uint8_t>(raw.frame.begin(), raw.frame.begin() + 4),
              (std::vector<uint8_t>{0x00, 0x11, 0x22, 0x30}));
}

TEST(FrameRaw, SkipsCharactersBetweenTheDigitsOfAByte) {
    const Raw raw = readFrame("a-Bg C\xff"
                              "d",
                              0);
    EXPECT_EQ(raw.len, 2u);
    EXPECT_EQ(raw.frame[0], 0xab);
    EXPECT_EQ(raw.frame[1], 0xcd);
}

TEST(FrameRaw, KnowsTheEndsOfTheDigitRanges) {
    const Raw raw = readFrame("09afAF/:`g@G", 0);
    EXPECT_EQ(raw.len, 3u);
    EXPECT_EQ(raw.frame[0], 0x09);
    EXPECT_EQ(raw.frame[1], 0xaf);
    EXPECT_EQ(raw.frame[2], 0xaf);
}

TEST(FrameRaw, ReadsALoneDigit) {
    const Raw raw = readFrame("a", 0);
    EXPECT_EQ(raw.len, 1u);
    EXPECT_EQ(raw.frame[0], 0xa0);
}

TEST(FrameRaw, ClearsTheBufferAndNothingBehindIt) {
    const Raw raw = readFrame("ff    ", 0);
    EXPECT_EQ(raw.len, 1u);
    for (size_t i = 1; i < 6; i++)
        EXPECT_EQ(raw.frame[i], 0) << i;
    EXPECT_EQ(raw.frame[6], 0xee);
}

TEST(FrameRaw, ReportsNothingForNoText) {
    EXPECT_EQ(readFrame("", 0).len, 0u);
    EXPECT_EQ(readFrame("", 1).len, 0u);
    EXPECT_EQ(readFrame(" xyz", 0).len, 0u);
    Raw raw;
    raw.frame.assign(4, 0xee);
    frame_raw(raw.frame.data(), 0, 4, "1234", -1, &raw.len, raw.shim.data(), 24);
    EXPECT_EQ(raw.len, 0u);
    EXPECT_EQ(raw.frame[0], 0);
}

TEST(FrameRaw, IgnoresTheCharacterBehindTheLastOne) {
    Raw raw;
    raw.frame.assign(4, 0xee);
    frame_raw(raw.frame.data(), 0, 3, "123456", 3, &raw.len, raw.shim.data(), 24);
    EXPECT_EQ(raw.len, 2u);
    EXPECT_EQ(raw.frame[0], 0x12);
    EXPECT_EQ(raw.frame[1], 0x30);
}

TEST(FrameRaw, FillsTheShimFirst) {
    const Raw raw = readFrame(std::string(46, '1') + "23" + "4567", 1);
    EXPECT_EQ(raw.len, 2u);
    EXPECT_EQ(raw.shim[0], 0x11);
    EXPECT_EQ(raw.shim[23], 0x23);
    EXPECT_EQ(raw.frame[0], 0x45);
    EXPECT_EQ(raw.frame[1], 0x67);
}

TEST(FrameRaw, ReportsTheBytesOfAShimThatIsNotFull) {
    const Raw raw = readFrame("0102030405", 1);
    EXPECT_EQ(raw.len, 5u);
    EXPECT_EQ(raw.shim[4], 5);
    EXPECT_EQ(raw.shim[5], 0);
    EXPECT_EQ(raw.frame[0], 0);
    EXPECT_EQ(readFrame(std::string(46, '1'), 1).len, 23u);
    EXPECT_EQ(readFrame(std::string(45, '1'), 1).len, 23u); // the 23rd byte is a lone digit
}

TEST(FrameRaw, ReportsNothingRightBehindTheShim) {
    EXPECT_EQ(readFrame(std::string(48, '1'), 1).len, 0u);
    const Raw lone = readFrame(std::string(47, '1'), 1);
    EXPECT_EQ(lone.len, 0u);
    EXPECT_EQ(lone.shim[23], 0x10);
}

// ---- the two forms of the shim
// ---------------------------------------------------------------------------------------

struct ShimField {
    const char *name;
    uint32_t shim_t::*field;
    unsigned word, hi, lo;
};

const ShimField kShimFields[] = {
    {"ing_ivid_12_9", &shim_t::ing_ivid_12_9, 0, 31, 28},
    {"pim_decap", &shim_t::pim_decap, 0, 27, 27},
    {"latency_chk", &shim_t::latency_chk, 0, 26, 26},
    {"dont_touch", &shim_t::dont_touch, 0, 25, 25},
    {"rx_snap", &shim_t::rx_snap, 0, 24, 24},
    {"lossless_to", &shim_t::lossless_to, 0, 23, 23},
    {"routed", &shim_t::routed, 0, 22, 20},
    {"fab_to", &shim_t::fab_to, 0, 19, 19},
    {"byp_eacl", &shim_t::byp_eacl, 0, 18, 18},
    {"shim_len", &shim_t::shim_len, 0, 17, 16},
    {"cp_cpu", &shim_t::cp_cpu, 0, 15, 15},
    {"w0_14_0", &shim_t::w0_14_0, 0, 14, 0},
    {"w1_31_30", &shim_t::w1_31_30, 1, 31, 30},
    {"w1_29", &shim_t::w1_29, 1, 29, 29},
    {"w1_28", &shim_t::w1_28, 1, 28, 28},
    {"rcv_cn_tagged", &shim_t::rcv_cn_tagged, 1, 27, 27},
    {"egid", &shim_t::egid, 1, 26, 16},
    {"w1_15_14", &shim_t::w1_15_14, 1, 15, 14},
    {"ing_chip", &shim_t::ing_chip, 1, 13, 8},
    {"tag_cksum", &shim_t::tag_cksum, 1, 7, 4},
    {"version", &shim_t::version, 1, 3, 0},
    {"is_mgid", &shim_t::is_mgid, 2, 31, 31},
    {"rcv_s_tagged", &shim_t::rcv_s_tagged, 2, 30, 30},
    {"trill_mc", &shim_t::trill_mc, 2, 29, 29},
    {"mct_srbridge_vld", &shim_t::mct_srbridge_vld, 2, 28, 28},
    {"ing_port", &shim_t::ing_port, 2, 27, 22},
    {"q_pri", &shim_t::q_pri, 2, 21, 19},
    {"drop_prcd", &shim_t::drop_prcd, 2, 18, 17},
    {"w2_16_0", &shim_t::w2_16_0, 2, 16, 0},
    {"ing_ivid_8_0", &shim_t::ing_ivid_8_0, 3, 31, 23},
    {"dscp", &shim_t::dscp, 3, 22, 17},
    {"egr_vlan_pri", &shim_t::egr_vlan_pri, 3, 16, 14},
    {"egr_cfi", &shim_t::egr_cfi, 3, 13, 13},
    {"egr_ivid", &shim_t::egr_ivid, 3, 12, 0},
    {"trill_da", &shim_t::trill_da, 4, 31, 16},
    {"trill_term", &shim_t::trill_term, 4, 15, 15},
    {"ipv4_dont_frag", &shim_t::ipv4_dont_frag, 4, 14, 14},
    {"w4_13_0", &shim_t::w4_13_0, 4, 13, 0},
    {"rcv_trill_option", &shim_t::rcv_trill_option, 5, 31, 31},
    {"rcv_trill", &shim_t::rcv_trill, 5, 30, 30},
    {"rcv_outer_tagged", &shim_t::rcv_outer_tagged, 5, 29, 29},
    {"rcv_inner_tagged", &shim_t::rcv_inner_tagged, 5, 28, 28},
    {"vpn_id", &shim_t::vpn_id, 5, 27, 8},
    {"w5_7_0", &shim_t::w5_7_0, 5, 7, 0},
};

TEST(Shim, EveryFieldHasItsPlaceOnTheWire) {
    for (const ShimField &f : kShimFields) {
        const uint32_t ones = 0xffffffffu >> (31 - (f.hi - f.lo));
        shim_t shim{};
        shim.*f.field = ones;
        uint32_t wire[6];
        shim_fmt(&shim, wire);
        for (unsigned word = 0; word < 6; word++)
            EXPECT_EQ(wire[word], word == f.word ? ones << f.lo : 0) << f.name;

        shim_t back{};
        shim_str_2_struct(wire, &back);
        EXPECT_EQ(back.*f.field, std::string(f.name) == "shim_len" ? 2u : ones) << f.name;
        for (const ShimField &other : kShimFields) {
            if (other.field != f.field) {
                EXPECT_EQ(back.*other.field, 0u) << f.name << " in " << other.name;
            }
        }
    }
}

TEST(Shim, CutsFieldsToTheirWidthOnTheWire) {
    shim_t shim{};
    shim.routed = 0xffffffff;
    shim.egid = 0xffffffff;
    uint32_t wire[6];
    shim_fmt(&shim, wire);
    EXPECT_EQ(wire[0], 0x00700000u);
    EXPECT_EQ(wire[1], 0x07ff0000u);
}

TEST(Shim, LosesTheLowBitOfTheLengthWhenRead) {
    const uint32_t expected[4] = {0, 0, 2, 2};
    for (uint32_t len = 0; len < 4; len++) {
        const uint32_t wire[6] = {len << 16};
        shim_t shim{};
        shim_str_2_struct(wire, &shim);
        EXPECT_EQ(shim.shim_len, expected[len]);
    }
}

TEST(ShimChksum, AddsTheDigitsButItsOwn) {
    const uint32_t counted[2] = {0x12345678, 0x10000001}; // 36 + 2
    EXPECT_EQ(shim_chksum(counted), 6);
    const uint32_t own[2] = {0x12345678, 0x100000f1};
    EXPECT_EQ(shim_chksum(own), 6);
    const uint32_t all[2] = {0xffffffff, 0xffffffff}; // 15 * 15 = 225
    EXPECT_EQ(shim_chksum(all), 1);
    const uint32_t others[6] = {0, 0, 0xf, 0xf, 0xf, 0xf};
    EXPECT_EQ(shim_chksum(others), 0);
}

uint32_t shimCrc(shim_t shim) {
    EXPECT_EQ(recalcShimCrc(&shim), 0);
    return shim.w5_7_0;
}

TEST(ShimCrc, ShiftsTheWordsByBits) {
    shim_t shim{};
    EXPECT_EQ(shimCrc(shim), 0u);
    shim.w0_14_0 = 8; // 1, 2, 4, 8
    EXPECT_EQ(shimCrc(shim), 0x0fu);
    shim.w0_14_0 = 0x200; // 0x40, 0x80, and twice nothing
    EXPECT_EQ(shimCrc(shim), 0xc0u);
}

TEST(ShimCrc, KeepsTheLowHalfOfByteSevenOnly) {
    shim_t shim{};
    shim.tag_cksum = 0xf;
    shim.version = 0xf; // 0x1f, 0x3f, 0x7f, 0x0f
    EXPECT_EQ(shimCrc(shim), 0x50u);
}

TEST(ShimCrc, LeavesTheLastByteOut) {
    shim_t shim{};
    shim.w5_7_0 = 8; // 1, 2, 4, and not 8
    EXPECT_EQ(shimCrc(shim), 7u);
}

TEST(ShimCrc, IsNotComputedForAShimWithALength) {
    for (uint32_t len = 1; len < 4; len++) {
        shim_t shim{};
        shim.shim_len = len;
        shim.w5_7_0 = 0xa5;
        EXPECT_EQ(shimCrc(shim), 0xa5u);
    }
}

// ---- RTE to IQS
// ------------------------------------------------------------------------------------------------------

iqs_side_band_t iqsSide(const shim_t &shim, const bp_shim_t &bp) {
    iqs_side_band_t side;
    std::memset(&side, 0xff, sizeof side);
    rte_2_iqs_side(&shim, &bp, &side);
    return side;
}

TEST(Rte2Iqs, PutsEveryFieldOfAnOrdinaryFrameAtItsPlace) {
    struct Row {
        uint32_t bp_shim_t::*field;
        uint32_t value, word0, word1;
    };
    const Row rows[] = {
        {&bp_shim_t::l2_egr_da_vid_idx, 0x1ffff, 0x0001ffff, 0},
        {&bp_shim_t::fcoe_sa_idx, 0xff, 0, 0x3fc00000},
        {&bp_shim_t::rcv_pri, 7, 0, 0x00070000},
        {&bp_shim_t::r_span_q, 7, 0, 0x0000e000},
        {&bp_shim_t::r_span, 1, 0, 0x00001000},
        {&bp_shim_t::i_span_q, 7, 0, 0x00000e00},
        {&bp_shim_t::i_span, 1, 0, 0x00000100},
        {&bp_shim_t::sflw, 1, 0, 0x00000080},
        {&bp_shim_t::acl_log, 1, 0, 0x00000040},
        {&bp_shim_t::trap_queue, 0xf, 0, 0x0000003c},
        {&bp_shim_t::rslt_typ, 3, 0, 0x00000003},
        {&bp_shim_t::trap_rsn, 0x3f, 0, 0},
    };
    for (const Row &row : rows) {
        bp_shim_t bp{};
        bp.*row.field = row.value;
        const iqs_side_band_t side = iqsSide({}, bp);
        EXPECT_EQ(side.frm_data[0], row.word0);
        EXPECT_EQ(side.frm_data[1], row.word1);
    }
    shim_t shim{};
    shim.lossless_to = 1;
    EXPECT_EQ(iqsSide(shim, {}).frm_data[0], 0x02000000u);
    shim.lossless_to = 0;
    shim.ing_port = 0x3f;
    EXPECT_EQ(iqsSide(shim, {}).frm_data[0], 0x01f80000u);
}

TEST(Rte2Iqs, TellsWhatTheSideBandHoldsAndClearsTheRest) {
    const iqs_side_band_t side = iqsSide({}, {});
    EXPECT_EQ(side.tsq_iqs_vld, 1u);
    EXPECT_EQ(side.tsq_iqs_drop, 0u);
    EXPECT_EQ(side.tsq_iqs_elb, 0u);
    EXPECT_EQ(side.iqs_txf_port, 0u);
    EXPECT_EQ(side.iqs_hmc_hdr.span, 0u);
    EXPECT_EQ(side.iqs_hmc_hdr.trill_dbr_en, 0u);
}

TEST(Rte2Iqs, TakesAnElbFrameFromTheSequenceNumber) {
    bp_shim_t bp{};
    std::memset(&bp, 0xff, sizeof bp);
    shim_t shim{};
    shim.w0_14_0 = 1u << 13; // bit 15 of the sequence number
    EXPECT_EQ(iqsSide(shim, bp).tsq_iqs_elb, 1u);
    EXPECT_EQ(iqsSide(shim, bp).frm_data[0], 0u);
    EXPECT_EQ(iqsSide(shim, bp).frm_data[1], 0u);

    struct Row {
        unsigned seqBit;
        uint32_t word1;
    };
    const Row rows[] = {{16, 0},    {14, 0x1000}, {13, 0},   {12, 0},   {11, 0},   {10, 0x800}, {9, 0x400},
                        {8, 0x200}, {7, 0x100},   {6, 0x80}, {5, 0x40}, {4, 0x20}, {3, 0x10},   {2, 0}};
    for (const Row &row : rows) {
        shim.w0_14_0 = 1u << 13 | 1u << (row.seqBit - 2);
        EXPECT_EQ(iqsSide(shim, bp).frm_data[1], row.word1) << row.seqBit;
    }
    shim.w0_14_0 = 1u << 13;
    shim.w1_31_30 = 3; // bits 1 and 0
    EXPECT_EQ(iqsSide(shim, bp).frm_data[1], 0u);
}

// ---- shim to EQS
// -----------------------------------------------------------------------------------------------------

class Shim2Eqs : public testing::Test {
protected:
    Shim2Eqs() {
        chip.set(DMP(esm_cam_egid_tablebp), 0, 0x7fe);
        for (uint32_t i = 0; i < 32; i++)
            chip.set(DMP(esm_cam_egid_table), i, 0x100 + i);
    }
    eqs_side_band_t cross(uint32_t egid) {
        shim_t shim{};
        shim.egid = egid;
        eqs_side_band_t side{};
        side.hsq_eqs_qid_q = side.hsq_eqs_phyp_pkt_q = side.rte_eqs_trill_en_q = 77;
        shim_2_eqs_side(&shim, chip.get(), &side);
        EXPECT_EQ(side.hsq_eqs_phyp_pkt_q, 0u);
        return side;
    }
    ChipImage chip;
};

TEST_F(Shim2Eqs, EveryEntryHasItsQueue) {
    for (uint32_t i = 0; i < 32; i++) {
        EXPECT_EQ(cross(0x100 + i).hsq_eqs_qid_q, 8 * i);
        EXPECT_EQ(cross(0x100 + i).rte_eqs_trill_en_q, 0u);
    }
}

TEST_F(Shim2Eqs, NoEntryGivesQueue305) {
    EXPECT_EQ(cross(0x0ff).hsq_eqs_qid_q, 305u);
    EXPECT_EQ(cross(0x120).hsq_eqs_qid_q, 305u);
    EXPECT_EQ(cross(0x120).rte_eqs_trill_en_q, 0u);
}

TEST_F(Shim2Eqs, TheTableBpEntryComesFirst) {
    chip.set(DMP(esm_cam_egid_table), 2, 0x7fe);
    chip.setPort(2, PORT(rte_prc_l2_trill_ctl), 0xffffffff);
    EXPECT_EQ(cross(0x7fe).hsq_eqs_qid_q, 36u);
    EXPECT_EQ(cross(0x7fe).rte_eqs_trill_en_q, 0u);
}

TEST_F(Shim2Eqs, TheFirstOfEqualEntriesWins) {
    chip.set(DMP(esm_cam_egid_table), 3, 0x200).set(DMP(esm_cam_egid_table), 7, 0x200);
    EXPECT_EQ(cross(0x200).hsq_eqs_qid_q, 24u);
}

TEST_F(Shim2Eqs, ComparesTheWholeWord) {
    chip.set(DMP(esm_cam_egid_table), 3, 0x10200);
    EXPECT_EQ(cross(0x200).hsq_eqs_qid_q, 305u);
}

TEST_F(Shim2Eqs, TakesTheTrillEnableInItsPlaceForFrontPorts) {
    for (uint32_t port = 0; port < 12; port++) {
        chip.setPort(port, PORT(rte_prc_l2_trill_ctl), 0xffffffff);
        EXPECT_EQ(cross(0x100 + port).rte_eqs_trill_en_q, 0x80000u);
        chip.setPort(port, PORT(rte_prc_l2_trill_ctl), 0xfff7ffff);
        EXPECT_EQ(cross(0x100 + port).rte_eqs_trill_en_q, 0u);
    }
    chip.setPort(12, PORT(rte_prc_l2_trill_ctl), 0xffffffff); // behind the ports in the image
    EXPECT_EQ(cross(0x10c).rte_eqs_trill_en_q, 0u);
}

// ---- EQS and register file to EMC
// ------------------------------------------------------------------------------------

TEST(Eqs2Emc, CopiesTheFields) {
    eqs_side_band_t eqs{};
    eqs.rte_eqs_trill_en_q = 1;
    eqs.elp = 2;
    eqs.num_frags = 3;
    eqs.pim_cnt = 4;
    eqs.mac_da = 5;
    eqs.mac_da1 = 6;
    eqs.dbr_id = 7;
    eqs.ipv4_da = 8;
    eqs.ipv4_sa = 9;
    eqs.m_bit = 10;
    eqs.b_bit = 11;
    eqs.flow_id = 12;
    for (uint32_t i = 0; i < 4; i++) {
        eqs.ipv6_sa[i] = 20 + i;
        eqs.ipv6_da[i] = 30 + i;
    }
    eqs.trill_da = 13;
    eqs.trill_sa = 14;
    eqs.final_eivid = 15;
    eqs.wired_eivid = 16;
    eqs.final_vpnid = 17;
    eqs.eqs_seq = 18;
    eqs.mtu = 19;
    eqs.transparent_vlan = 40;
    eqs.drop = 41;
    emc_side_band_t emc{};
    emc.eqs_nfrag = 99;
    emc.egr_routed = 98;
    const shim_t shim{};
    eqs_2_emc_side(&shim, &eqs, &emc);
    EXPECT_EQ(emc.rte_trill_en_q, 1u);
    EXPECT_EQ(emc.eqs_elp, 2u);
    EXPECT_EQ(emc.pim_encap, 3u); // the number of fragments
    EXPECT_EQ(emc.eqs_nfrag, 99u);
    EXPECT_EQ(emc.egr_routed, 98u);
    EXPECT_EQ(emc.pim_cnt, 4u);
    EXPECT_EQ(emc.eqs_mac_da, 5u);
    EXPECT_EQ(emc.eqs_mac_da1, 6u);
    EXPECT_EQ(emc.dbr_id, 7u);
    EXPECT_EQ(emc.ipv4_da, 8u);
    EXPECT_EQ(emc.ipv4_sa, 9u);
    EXPECT_EQ(emc.m_bit, 10u);
    EXPECT_EQ(emc.b_bit, 11u);
    EXPECT_EQ(emc.flow_id, 12u);
    for (uint32_t i = 0; i < 4; i++) {
        EXPECT_EQ(emc.ipv6_sa[i], 20 + i);
        EXPECT_EQ(emc.ipv6_da[i], 30 + i);
    }
    EXPECT_EQ(emc.eqs_trill_da, 13u);
    EXPECT_EQ(emc.eqs_trill_sa, 14u);
    EXPECT_EQ(emc.final_eivid, 15u);
    EXPECT_EQ(emc.wired_eivid, 16u);
    EXPECT_EQ(emc.eqs_ext_vid, 16u);
    EXPECT_EQ(emc.final_vpnid, 17u);
    EXPECT_EQ(emc.eqs_seq, 18u);
    EXPECT_EQ(emc.eqs_seq_val, 1u);
    EXPECT_EQ(emc.mtu, 19u);
    EXPECT_EQ(emc.transparent_vlan, 40u);
    EXPECT_EQ(emc.eqs_drop, 41u);
}

TEST(Eqs2Emc, SequenceNumberZeroIsNotValid) {
    const eqs_side_band_t eqs{};
    emc_side_band_t emc{};
    emc.eqs_seq_val = 1;
    const shim_t shim{};
    eqs_2_emc_side(&shim, &eqs, &emc);
    EXPECT_EQ(emc.eqs_seq_val, 0u);
}

TEST(Eqs2Emc, TheFamilyOfAPimEncapsulationIsThatOfTheFrame) {
    for (uint32_t encap = 0; encap < 2; encap++) {
        for (uint32_t routed = 0; routed < 8; routed++) {
            eqs_side_band_t eqs{};
            eqs.pim_encap = encap;
            shim_t shim{};
            shim.routed = routed;
            emc_side_band_t emc{};
            eqs_2_emc_side(&shim, &eqs, &emc);
            EXPECT_EQ(emc.ipv4_encap, encap == 1 && routed == 0 ? 1u : 0u);
            EXPECT_EQ(emc.ipv6_encap, encap == 1 && routed == 1 ? 1u : 0u);
        }
    }
}

TEST(Rte2Emc, ReadsThePortsRegistersAndTheSharedOnes) {
    ChipImage chip;
    chip.setPort(5, PORT(rte_prc_trill_exp_out_sa), 0x11111111).setPort(5, PORT(rte_prc_trill_exp_out_sa) + 4, 0x1212);
    chip.setPort(5, PORT(rte_prc_trill_exp_out_da), 0x21212121).setPort(5, PORT(rte_prc_trill_exp_out_da) + 4, 0x2222);
    chip.setPort(5, PORT(rte_prc_vlan_etyp), 0x88a88100);
    chip.set(DMP(rte_l2_trill_cfg_0), 0, 0x22f3abcd);
    chip.set(DMP(rte_l2_trill_cfg_1), 0, 0x31313131);
    chip.set(DMP(rte_l2_trill_cfg_2), 0, 0x32323232);
    shim_t shim{};
    shim.rcv_inner_tagged = 1;
    emc_side_band_t emc{};
    emc.eqs_elp = 5;
    rte_2_emc_side(&shim, chip.get(), &emc);
    EXPECT_EQ(emc.trill_out_sa, 0x11111111u);
    EXPECT_EQ(emc.trill_out_sa1, 0x1212u);
    EXPECT_EQ(emc.trill_out_da, 0x21212121u);
    EXPECT_EQ(emc.trill_out_da1, 0x2222u);
    EXPECT_EQ(emc.trill_all_rb_da, 0x32323232u);
    EXPECT_EQ(emc.trill_all_rb_da1, 0x31313131u);
    EXPECT_EQ(emc.trill_etype, 0x22f3u);
    EXPECT_EQ(emc.rte_trill_sa, 0xabcdu);
    EXPECT_EQ(emc.rte_cfg_stag_et, 0xffff88a8u); // sign-extended
    EXPECT_EQ(emc.rte_cfg_ctag_et, 0x8100u);
    EXPECT_EQ(emc.c_tagged, 1u);
    EXPECT_EQ(emc.s_tagged, 0u);

    shim.rcv_inner_tagged = 0;
    shim.rcv_s_tagged = 1;
    chip.set(DMP(rte_l2_trill_cfg_0), 0, 0x92f3abcd);
    rte_2_emc_side(&shim, chip.get(), &emc);
    EXPECT_EQ(emc.c_tagged, 0u);
    EXPECT_EQ(emc.s_tagged, 1u);
    EXPECT_EQ(emc.trill_etype, 0xffff92f3u);
}

TEST(Rte2Emc, ReadsOnBehindThePortsAndNothingBehindTheImage) {
    ChipImage chip;
    chip.setPort(31, PORT(rte_prc_vlan_etyp), 0x12345678);
    emc_side_band_t emc{};
    const shim_t shim{};
    emc.eqs_elp = 31;
    rte_2_emc_side(&shim, chip.get(), &emc);
    EXPECT_EQ(emc.rte_cfg_stag_et, 0x1234u);
    EXPECT_EQ(emc.rte_cfg_ctag_et, 0x5678u);
    emc.eqs_elp = 0xffffffff;
    rte_2_emc_side(&shim, chip.get(), &emc);
    EXPECT_EQ(emc.rte_cfg_ctag_et, 0u);
    EXPECT_EQ(emc.trill_out_sa, 0u);
}

TEST(DmpWord, ReadsUpToTheEndOfTheImage) {
    ChipImage chip;
    const size_t last = sizeof(tsr_dmp_t) / 4 - 1;
    chip.set(0, last, 0xdeadbeef);
    EXPECT_EQ(dmpWord(chip.get(), 0, last), 0xdeadbeefu);
    EXPECT_EQ(dmpWord(chip.get(), sizeof(tsr_dmp_t) - 4, 0), 0xdeadbeefu);
    EXPECT_EQ(dmpWord(chip.get(), 0, last + 1), 0u);
    EXPECT_EQ(dmpWord(chip.get(), sizeof(tsr_dmp_t) - 4, 1), 0u);
    EXPECT_EQ(dmpWord(chip.get(), sizeof(tsr_dmp_t), 0), 0u);
    EXPECT_EQ(dmpWord(chip.get(), 4, ~0ull), 0u);
}

} // namespace
