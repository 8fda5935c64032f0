// Where the fields of the layer-3 ACL keys come to stand in the TCAM cells: every bit of every key, walked alone.

#include "tae/cmTaeL3Key.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <span>
#include <string>

namespace {

/// A field of a key: its word and its highest and lowest bit there.
struct FieldPlace {
    const char *name;
    uint32_t word, hi, lo;
};

// "Key" is the plain form, "Cells" the form in the TCAM. A cell's name ends in the bits it holds when the field is cut.
constexpr FieldPlace kIpv4Cells[] = {
    {"l3_ip_tos", 0, 31, 26},
    {"l4_src_port_rng_idx", 0, 25, 21},
    {"l4_src_port_rng_hit", 0, 20, 20},
    {"frag_flags", 0, 19, 17},
    {"frag_offset", 0, 16, 4},
    {"first_fragment", 0, 3, 3},
    {"is_fragment", 0, 2, 2},
    {"l3_mcast_reg_encap", 0, 1, 1},
    {"trill_mcast_tree_id", 0, 0, 0},
    {"reserved1", 1, 31, 31},
    {"l3_ipv4_sa_31_1", 1, 30, 0},
    {"tcp_psh", 2, 31, 31},
    {"l3_ipv4_da_31_1", 2, 30, 0},
    {"vrf_id_11", 3, 31, 31},
    {"l3_acl_lgc_port", 3, 30, 26},
    {"l4_dst_port_0", 3, 25, 25},
    {"iivid_cugid_mcuid", 3, 24, 12},
    {"policy_id", 3, 11, 0},
    {"ipv4_tlen", 4, 31, 16},
    {"iwprio", 4, 15, 13},
    {"tcp_ack", 4, 12, 12},
    {"tcp_urg", 4, 11, 11},
    {"vrf_id_10_0", 4, 10, 0},
    {"vpn_id_19_1", 5, 31, 13},
    {"mda_id_6_1", 5, 12, 7},
    {"my_rp_idx", 5, 6, 0},
    {"tcp_rst", 6, 31, 31},
    {"l4_dst_port_15_1", 6, 30, 16},
    {"ip_protocol", 6, 15, 8},
    {"ipv4_ttl", 6, 7, 0},
    {"vpn_id_0", 7, 31, 31},
    {"l3_ipv4_da_0", 7, 30, 30},
    {"l3_ipv4_sa_0", 7, 29, 29},
    {"mda_id_0", 7, 28, 28},
    {"my_ip_addr", 7, 27, 27},
    {"l3_sa_gid", 7, 26, 26},
    {"l3_da_gid", 7, 25, 25},
    {"l4_src_port_o_icmpv4_type", 7, 24, 9},
    {"l4_dst_port_rng_idx", 7, 8, 4},
    {"l4_dst_port_rng_hit", 7, 3, 3},
    {"ihl_gt5", 7, 2, 2},
    {"tcp_fin", 7, 1, 1},
    {"tcp_syn", 7, 0, 0},
};
constexpr FieldPlace kIpv4Key[] = {
    {"l3_ip_tos", 0, 31, 26},
    {"l3_mcast_reg_encap", 0, 25, 25},
    {"my_rp_idx", 0, 24, 18},
    {"trill_mcast_tree_id", 0, 17, 17},
    {"my_ip_addr", 0, 16, 16},
    {"l3_sa_gid", 0, 15, 15},
    {"l3_da_gid", 0, 14, 14},
    {"reserved", 0, 13, 13},
    {"iivid_cugid_mcuid", 0, 12, 0},
    {"tcp_fin", 1, 31, 31},
    {"tcp_syn", 1, 30, 30},
    {"tcp_rst", 1, 29, 29},
    {"tcp_ack", 1, 28, 28},
    {"tcp_urg", 1, 27, 27},
    {"tcp_psh", 1, 26, 26},
    {"frag_flags", 1, 25, 23},
    {"frag_offset", 1, 22, 10},
    {"first_fragment", 1, 9, 9},
    {"is_fragment", 1, 8, 8},
    {"iwprio", 1, 7, 5},
    {"l3_acl_lgc_port", 1, 4, 0},
    {"policy_id", 2, 31, 20},
    {"vrf_id", 2, 19, 8},
    {"mda_id", 2, 7, 1},
    {"ihl_gt5", 2, 0, 0},
    {"l3_ipv4_sa", 3, 31, 0},
    {"l3_ipv4_da", 4, 31, 0},
    {"ip_protocol", 5, 31, 24},
    {"ipv4_ttl", 5, 23, 16},
    {"ipv4_tlen", 5, 15, 0},
    {"l4_dst_port_rng_idx", 6, 31, 27},
    {"l4_dst_port_rng_hit", 6, 26, 26},
    {"l4_src_port_rng_idx", 6, 25, 21},
    {"l4_src_port_rng_hit", 6, 20, 20},
    {"vpn_id", 6, 19, 0},
    {"l4_dst_port", 7, 31, 16},
    {"l4_src_port_o_icmpv4_type", 7, 15, 0},
};
constexpr FieldPlace kIpv6Cells[] = {
    {"l4_src_port_rng_idx", 0, 31, 27},
    {"l4_src_port_rng_hit", 0, 26, 26},
    {"reserved0", 0, 25, 0},
    {"l3_ipv6_sa_0", 1, 31, 0},
    {"l3_ipv6_sa_1", 2, 31, 0},
    {"iivid_cugid_mcuid_7_6", 3, 31, 30},
    {"policy_id", 3, 29, 18},
    {"iivid_cugid_mcuid_12_8", 3, 17, 13},
    {"reserved3", 3, 12, 0},
    {"my_rp_idx", 4, 31, 27},
    {"reserved4", 4, 26, 9},
    {"trill_mcast_tree_id", 4, 8, 8},
    {"l3_mcast_reg_encap", 4, 7, 7},
    {"mda_id", 4, 6, 0},
    {"l3_ipv6_sa_2", 5, 31, 0},
    {"l3_ipv6_sa_3", 6, 31, 0},
    {"iivid_cugid_mcuid_5_4", 7, 31, 30},
    {"iwprio", 7, 29, 27},
    {"l3_sa_gid", 7, 26, 26},
    {"vrf_id", 7, 25, 14},
    {"tcp_fin", 7, 13, 13},
    {"tcp_syn", 7, 12, 12},
    {"tcp_rst", 7, 11, 11},
    {"tcp_ack", 7, 10, 10},
    {"tcp_urg", 7, 9, 9},
    {"tcp_psh", 7, 8, 8},
    {"first_fragment", 7, 7, 7},
    {"is_fragment", 7, 6, 6},
    {"l3_ip_tos", 7, 5, 0},
    {"l3_ipv6_da_0", 8, 31, 0},
    {"l3_ipv6_da_1", 9, 31, 0},
    {"frag_offset_12_8", 10, 31, 27},
    {"ip_protocol", 10, 26, 19},
    {"ip_tlen", 10, 18, 3},
    {"reserved10", 10, 2, 0},
    {"iivid_cugid_mcuid_3_2", 11, 31, 30},
    {"l3_acl_lgc_port", 11, 29, 25},
    {"l4_src_port_o_icmpv6_type", 11, 24, 9},
    {"frag_flag", 11, 8, 8},
    {"frag_offset_7_0", 11, 7, 0},
    {"l3_ipv6_da_2", 12, 31, 0},
    {"l3_ipv6_da_3", 13, 31, 0},
    {"vpn_id", 14, 31, 12},
    {"l3_da_gid", 14, 11, 11},
    {"reserved14", 14, 10, 8},
    {"ipv6_ttl", 14, 7, 0},
    {"iivid_cugid_mcuid_1_0", 15, 31, 30},
    {"my_ip_addr", 15, 29, 29},
    {"l4_dst_port", 15, 28, 13},
    {"reserved15_0", 15, 12, 8},
    {"l4_dst_port_rng_idx", 15, 7, 3},
    {"l4_dst_port_rng_hit", 15, 2, 2},
    {"reserved15_1", 15, 1, 0},
};
constexpr FieldPlace kIpv6Key[] = {
    {"reserved0", 0, 31, 13},
    {"iivid_cugid_mcuid", 0, 12, 0},
    {"reserved1", 1, 31, 0},
    {"l3_ip_tos", 2, 31, 26},
    {"l3_mcast_reg_encap", 2, 25, 25},
    {"my_rp_idx", 2, 24, 20},
    {"trill_mcast_tree_id", 2, 19, 19},
    {"l3_sa_gid", 2, 18, 18},
    {"l3_da_gid", 2, 17, 17},
    {"reserved2", 2, 16, 0},
    {"tcp_fin", 3, 31, 31},
    {"tcp_syn", 3, 30, 30},
    {"tcp_rst", 3, 29, 29},
    {"tcp_ack", 3, 28, 28},
    {"tcp_urg", 3, 27, 27},
    {"tcp_psh", 3, 26, 26},
    {"frag_flag", 3, 25, 25},
    {"frag_offset", 3, 24, 12},
    {"first_fragment", 3, 11, 11},
    {"is_fragment", 3, 10, 10},
    {"iwprio", 3, 9, 7},
    {"reserved3", 3, 6, 5},
    {"l3_acl_lgc_port", 3, 4, 0},
    {"policy_id", 4, 31, 20},
    {"vrf_id", 4, 19, 8},
    {"mda_id", 4, 7, 1},
    {"my_ip_addr", 4, 0, 0},
    {"l3_ipv6_sa_0", 5, 31, 0},
    {"l3_ipv6_sa_1", 6, 31, 0},
    {"l3_ipv6_sa_2", 7, 31, 0},
    {"l3_ipv6_sa_3", 8, 31, 0},
    {"l3_ipv6_da_0", 9, 31, 0},
    {"l3_ipv6_da_1", 10, 31, 0},
    {"l3_ipv6_da_2", 11, 31, 0},
    {"l3_ipv6_da_3", 12, 31, 0},
    {"ip_protocol", 13, 31, 24},
    {"ipv6_ttl", 13, 23, 16},
    {"ip_tlen", 13, 15, 0},
    {"l4_dst_port_rng_idx", 14, 31, 27},
    {"l4_dst_port_rng_hit", 14, 26, 26},
    {"l4_src_port_rng_idx", 14, 25, 21},
    {"l4_src_port_rng_hit", 14, 20, 20},
    {"vpn_id", 14, 19, 0},
    {"l4_dst_port", 15, 31, 16},
    {"l4_src_port_o_icmpv6_type", 15, 15, 0},
};
constexpr FieldPlace kFcoeCells[] = {
    {"fc_f_ctl_bits", 0, 31, 30},
    {"fcoe_ve_routed", 0, 29, 29},
    {"fcoe_vf_routed", 0, 28, 28},
    {"reserved0", 0, 27, 0},
    {"fc_payload_0", 1, 31, 24},
    {"fc_payload_35", 1, 23, 16},
    {"fc_payload_36", 1, 15, 8},
    {"fc_payload_41", 1, 7, 0},
    {"vpn_id", 2, 31, 12},
    {"reserved2", 2, 11, 11},
    {"fcoe_vfid_11_1", 2, 10, 0},
    {"l3_acl_lgc_port_4", 3, 31, 31},
    {"fc_sid_gid", 3, 30, 27},
    {"l2_rcv_prio", 3, 26, 24},
    {"mda_id", 3, 23, 17},
    {"vfid_typ", 3, 16, 16},
    {"fcoe_ver", 3, 15, 12},
    {"policy_id", 3, 11, 0},
    {"fc_oxid", 4, 31, 16},
    {"fc_cs_ctl", 4, 15, 8},
    {"reserved4", 4, 7, 3},
    {"l3_acl_lgc_port_3_1", 4, 2, 0},
    {"fc_sid", 5, 31, 8},
    {"fc_r_ctl", 5, 7, 0},
    {"fc_did", 6, 31, 8},
    {"reserved6", 6, 7, 0},
    {"fc_did_gid", 7, 31, 28},
    {"fcoe_vfid_0", 7, 27, 27},
    {"l3_acl_lgc_port_0", 7, 26, 26},
    {"iivid", 7, 25, 13},
    {"reserved7", 7, 12, 8},
    {"fc_sof", 7, 7, 0},
};
constexpr FieldPlace kFcoeKey[] = {
    {"reserved0", 0, 31, 0},       {"fc_f_ctl_bits", 1, 31, 30}, {"fcoe_ve_routed", 1, 29, 29},
    {"fcoe_vf_routed", 1, 28, 28}, {"iivid", 1, 27, 15},         {"reserved1", 1, 14, 0},
    {"fc_payload_0", 2, 31, 24},   {"fc_payload_35", 2, 23, 16}, {"fc_payload_36", 2, 15, 8},
    {"fc_payload_41", 2, 7, 0},    {"fcoe_vfid", 3, 31, 20},     {"fcoe_ver", 3, 19, 16},
    {"fc_r_ctl", 3, 15, 8},        {"fc_cs_ctl", 3, 7, 0},       {"policy_id", 4, 31, 20},
    {"vpn_id", 4, 19, 0},          {"fc_sid", 5, 31, 8},         {"mda_id", 5, 7, 1},
    {"vfid_typ", 5, 0, 0},         {"fc_did", 6, 31, 8},         {"l2_rcv_prio", 6, 7, 5},
    {"l3_acl_lgc_port", 6, 4, 0},  {"fc_sof", 7, 31, 24},        {"fc_did_gid", 7, 23, 20},
    {"fc_sid_gid", 7, 19, 16},     {"fc_oxid", 7, 15, 0},
};

const FieldPlace *fieldNamed(std::span<const FieldPlace> key, const std::string &name) {
    const auto row = std::find_if(key.begin(), key.end(), [&](const FieldPlace &f) { return name == f.name; });
    return row == key.end() ? nullptr : &*row;
}

/// The field of the plain key that a cell holds, and the bits of it: "vrf_id_10_0" are bits 10:0 of "vrf_id".
const FieldPlace *pieceOf(std::span<const FieldPlace> key, const std::string &cell, uint32_t &hi, uint32_t &lo) {
    if (const FieldPlace *whole = fieldNamed(key, cell)) {
        hi = whole->hi - whole->lo;
        lo = 0;
        return whole;
    }
    const size_t lastBar = cell.rfind('_');
    if (const FieldPlace *one = fieldNamed(key, cell.substr(0, lastBar))) {
        hi = lo = static_cast<uint32_t>(std::atoi(cell.c_str() + lastBar + 1));
        return one;
    }
    const size_t bar = cell.rfind('_', lastBar - 1);
    hi = static_cast<uint32_t>(std::atoi(cell.c_str() + bar + 1));
    lo = static_cast<uint32_t>(std::atoi(cell.c_str() + lastBar + 1));
    return fieldNamed(key, cell.substr(0, bar));
}

bool isReserved(const FieldPlace &field) {
    return std::string(field.name).starts_with("reserved");
}

/// Walks each bit of the plain key: it must come out alone at its cell's place, or not at all if it is reserved. The
/// output starts full of ones, so a place that is not cleared shows.
template <class In, class Out> void walkEachBit(std::span<const FieldPlace> key, std::span<const FieldPlace> cells) {
    constexpr uint32_t words = sizeof(In) / 4;
    static_assert(sizeof(In) == sizeof(Out));
    uint32_t walked = 0;
    for (const FieldPlace &field : key) {
        for (uint32_t b = 0; b <= field.hi - field.lo; b++) {
            uint32_t expected[words] = {};
            for (const FieldPlace &cell : cells) {
                if (isReserved(cell) || isReserved(field))
                    continue;
                uint32_t hi = 0;
                uint32_t lo = 0;
                const FieldPlace *src = pieceOf(key, cell.name, hi, lo);
                ASSERT_NE(src, nullptr) << cell.name;
                ASSERT_EQ(hi - lo, cell.hi - cell.lo) << cell.name;
                if (src == &field && b >= lo && b <= hi)
                    expected[cell.word] |= 1u << (cell.lo + b - lo);
            }
            In in = {};
            in.word[field.word] = 1u << (field.lo + b);
            Out out;
            std::fill_n(out.word, words, 0xffffffffu);
            ReshuffleKey(&in, &out, 0);
            uint32_t ones = 0;
            for (uint32_t w = 0; w < words; w++) {
                EXPECT_EQ(out.word[w], expected[w]) << field.name << " bit " << b << " word " << w;
                ones += expected[w] != 0;
            }
            EXPECT_EQ(ones, isReserved(field) ? 0u : 1u) << field.name << " bit " << b;
            walked++;
        }
    }
    EXPECT_EQ(walked, 32 * words);
}

std::string printed(const auto &fn) {
    testing::internal::CaptureStdout();
    fn();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

} // namespace

TEST(TaeL3Key, EachBitOfTheIpv4KeyGoesToItsCell) {
    walkEachBit<L3PselIpv4TcamInKey, L3PselIpv4TcamInKeyR>(kIpv4Key, kIpv4Cells);
}

TEST(TaeL3Key, EachBitOfTheIpv6KeyGoesToItsCell) {
    walkEachBit<L3PselIpv6TcamInKey, L3PselIpv6TcamInKeyR>(kIpv6Key, kIpv6Cells);
}

TEST(TaeL3Key, EachBitOfTheFcoeKeyGoesToItsCell) {
    walkEachBit<L3PselFcoeTcamInKey, L3PselFcoeTcamInKeyR>(kFcoeKey, kFcoeCells);
}

TEST(TaeL3Key, FullKeysLeaveTheReservedCellsClear) {
    L3PselIpv4TcamInKey in4;
    std::fill_n(in4.word, 8, 0xffffffffu);
    L3PselIpv4TcamInKeyR out4;
    ReshuffleKey(&in4, &out4, 0);
    const uint32_t full4[8] = {0xffffffff, 0x7fffffff, 0xffffffff, 0xffffffff,
                               0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff};
    EXPECT_TRUE(std::equal(full4, full4 + 8, out4.word));

    L3PselIpv6TcamInKey in6;
    std::fill_n(in6.word, 16, 0xffffffffu);
    L3PselIpv6TcamInKeyR out6;
    ReshuffleKey(&in6, &out6, 0);
    const uint32_t full6[16] = {0xfc000000, 0xffffffff, 0xffffffff, 0xffffe000, 0xf80001ff, 0xffffffff,
                                0xffffffff, 0xffffffff, 0xffffffff, 0xffffffff, 0xfffffff8, 0xffffffff,
                                0xffffffff, 0xffffffff, 0xfffff8ff, 0xffffe0fc};
    for (int w = 0; w < 16; w++)
        EXPECT_EQ(out6.word[w], full6[w]) << w;

    L3PselFcoeTcamInKey inF;
    std::fill_n(inF.word, 8, 0xffffffffu);
    L3PselFcoeTcamInKeyR outF;
    ReshuffleKey(&inF, &outF, 0);
    const uint32_t fullF[8] = {0xf0000000, 0xffffffff, 0xfffff7ff, 0xffffffff,
                               0xffffff07, 0xffffffff, 0xffffff00, 0xffffe0ff};
    for (int w = 0; w < 8; w++)
        EXPECT_EQ(outF.word[w], fullF[w]) << w;
}

TEST(TaeL3Key, NothingIsPrintedWithoutTheDebugArgument) {
    const L3PselIpv4TcamInKey in = {};
    L3PselIpv4TcamInKeyR out;
    EXPECT_EQ(printed([&] { ReshuffleKey(&in, &out, 0); }), "");
}

TEST(TaeL3Key, DebugPrintsInputAndOutput) {
    L3PselIpv4TcamInKey in4 = {};
    in4.word[0] = 1; // lowest bit of iivid_cugid_mcuid
    L3PselIpv4TcamInKeyR out4;
    EXPECT_EQ(printed([&] { ReshuffleKey(&in4, &out4, 1); }),
              "ReshuffleKey [L3PselIpv4TcamInKey] input= "
              "0x00000001_00000000_00000000_00000000_00000000_00000000_00000000_00000000\n"
              "ReshuffleKey [L3PselIpv4TcamInKey] output="
              "0x00000000_00000000_00000000_00001000_00000000_00000000_00000000_00000000\n");

    L3PselIpv6TcamInKey in6 = {};
    in6.word[15] = 0x12340000; // l4_dst_port
    L3PselIpv6TcamInKeyR out6;
    EXPECT_EQ(printed([&] { ReshuffleKey(&in6, &out6, 1); }),
              "ReshuffleKey [L3PselIpv6TcamInKey] input= "
              "0x00000000_00000000_00000000_00000000_00000000_00000000_00000000_00000000"
              "_00000000_00000000_00000000_00000000_00000000_00000000_00000000_12340000\n"
              "ReshuffleKey [L3PselIpv6TcamInKey] output="
              "0x00000000_00000000_00000000_00000000_00000000_00000000_00000000_00000000"
              "_00000000_00000000_00000000_00000000_00000000_00000000_00000000_02468000\n");

    L3PselFcoeTcamInKey inF = {};
    inF.word[7] = 0xabcd; // fc_oxid
    L3PselFcoeTcamInKeyR outF;
    EXPECT_EQ(printed([&] { ReshuffleKey(&inF, &outF, 1); }),
              "ReshuffleKey [L3PselFcoeTcamInKey] input= "
              "0x00000000_00000000_00000000_00000000_00000000_00000000_00000000_0000abcd\n"
              "ReshuffleKey [L3PselFcoeTcamInKey] output="
              "0x00000000_00000000_00000000_00000000_abcd0000_00000000_00000000_00000000\n");
}
