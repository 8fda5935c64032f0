// Where the TCAM cells hold the fields of the layer-3 ACL keys.

#include "tae/cmTaeL3Key.h"

#include "base/keyShuffle.h"

namespace {

constexpr uint32_t kAll = 0xffffffff;

constexpr std::array<KeyMove, 42> kIpv4Moves{{
    {0, 31, 26, 0, 26}, // l3_ip_tos
    {6, 25, 21, 0, 21}, // l4_src_port_rng_idx
    {6, 20, 20, 0, 20}, // l4_src_port_rng_hit
    {1, 25, 23, 0, 17}, // frag_flags
    {1, 22, 10, 0, 4},  // frag_offset
    {1, 9, 9, 0, 3},    // first_fragment
    {1, 8, 8, 0, 2},    // is_fragment
    {0, 25, 25, 0, 1},  // l3_mcast_reg_encap
    {0, 17, 17, 0, 0},  // trill_mcast_tree_id
    {3, 31, 1, 1, 0},   // l3_ipv4_sa_31_1
    {1, 26, 26, 2, 31}, // tcp_psh
    {4, 31, 1, 2, 0},   // l3_ipv4_da_31_1
    {2, 19, 19, 3, 31}, // vrf_id_11
    {1, 4, 0, 3, 26},   // l3_acl_lgc_port
    {7, 16, 16, 3, 25}, // l4_dst_port_0
    {0, 12, 0, 3, 12},  // iivid_cugid_mcuid
    {2, 31, 20, 3, 0},  // policy_id
    {5, 15, 0, 4, 16},  // ipv4_tlen
    {1, 7, 5, 4, 13},   // iwprio
    {1, 28, 28, 4, 12}, // tcp_ack
    {1, 27, 27, 4, 11}, // tcp_urg
    {2, 18, 8, 4, 0},   // vrf_id_10_0
    {6, 19, 1, 5, 13},  // vpn_id_19_1
    {2, 7, 2, 5, 7},    // mda_id_6_1
    {0, 24, 18, 5, 0},  // my_rp_idx
    {1, 29, 29, 6, 31}, // tcp_rst
    {7, 31, 17, 6, 16}, // l4_dst_port_15_1
    {5, 31, 24, 6, 8},  // ip_protocol
    {5, 23, 16, 6, 0},  // ipv4_ttl
    {6, 0, 0, 7, 31},   // vpn_id_0
    {4, 0, 0, 7, 30},   // l3_ipv4_da_0
    {3, 0, 0, 7, 29},   // l3_ipv4_sa_0
    {2, 1, 1, 7, 28},   // mda_id_0
    {0, 16, 16, 7, 27}, // my_ip_addr
    {0, 15, 15, 7, 26}, // l3_sa_gid
    {0, 14, 14, 7, 25}, // l3_da_gid
    {7, 15, 0, 7, 9},   // l4_src_port_o_icmpv4_type
    {6, 31, 27, 7, 4},  // l4_dst_port_rng_idx
    {6, 26, 26, 7, 3},  // l4_dst_port_rng_hit
    {2, 0, 0, 7, 2},    // ihl_gt5
    {1, 31, 31, 7, 1},  // tcp_fin
    {1, 30, 30, 7, 0},  // tcp_syn
}};
static_assert(movesEachBitOnce<8, 8>(kIpv4Moves, {0xffffdfff, kAll, kAll, kAll, kAll, kAll, kAll, kAll}));

constexpr std::array<KeyMove, 41> kIpv6Moves{{
    {14, 25, 21, 0, 27},  // l4_src_port_rng_idx
    {14, 20, 20, 0, 26},  // l4_src_port_rng_hit
    {5, 31, 0, 1, 0},     // l3_ipv6_sa_0
    {6, 31, 0, 2, 0},     // l3_ipv6_sa_1
    {0, 7, 6, 3, 30},     // iivid_cugid_mcuid_7_6
    {4, 31, 20, 3, 18},   // policy_id
    {0, 12, 8, 3, 13},    // iivid_cugid_mcuid_12_8
    {2, 24, 20, 4, 27},   // my_rp_idx
    {2, 19, 19, 4, 8},    // trill_mcast_tree_id
    {2, 25, 25, 4, 7},    // l3_mcast_reg_encap
    {4, 7, 1, 4, 0},      // mda_id
    {7, 31, 0, 5, 0},     // l3_ipv6_sa_2
    {8, 31, 0, 6, 0},     // l3_ipv6_sa_3
    {0, 5, 4, 7, 30},     // iivid_cugid_mcuid_5_4
    {3, 9, 7, 7, 27},     // iwprio
    {2, 18, 18, 7, 26},   // l3_sa_gid
    {4, 19, 8, 7, 14},    // vrf_id
    {3, 31, 26, 7, 8},    // tcp_fin, tcp_syn, tcp_rst, tcp_ack, tcp_urg, tcp_psh
    {3, 11, 11, 7, 7},    // first_fragment
    {3, 10, 10, 7, 6},    // is_fragment
    {2, 31, 26, 7, 0},    // l3_ip_tos
    {9, 31, 0, 8, 0},     // l3_ipv6_da_0
    {10, 31, 0, 9, 0},    // l3_ipv6_da_1
    {3, 24, 20, 10, 27},  // frag_offset_12_8
    {13, 31, 24, 10, 19}, // ip_protocol
    {13, 15, 0, 10, 3},   // ip_tlen
    {0, 3, 2, 11, 30},    // iivid_cugid_mcuid_3_2
    {3, 4, 0, 11, 25},    // l3_acl_lgc_port
    {15, 15, 0, 11, 9},   // l4_src_port_o_icmpv6_type
    {3, 25, 25, 11, 8},   // frag_flag
    {3, 19, 12, 11, 0},   // frag_offset_7_0
    {11, 31, 0, 12, 0},   // l3_ipv6_da_2
    {12, 31, 0, 13, 0},   // l3_ipv6_da_3
    {14, 19, 0, 14, 12},  // vpn_id
    {2, 17, 17, 14, 11},  // l3_da_gid
    {13, 23, 16, 14, 0},  // ipv6_ttl
    {0, 1, 0, 15, 30},    // iivid_cugid_mcuid_1_0
    {4, 0, 0, 15, 29},    // my_ip_addr
    {15, 31, 16, 15, 13}, // l4_dst_port
    {14, 31, 27, 15, 3},  // l4_dst_port_rng_idx
    {14, 26, 26, 15, 2},  // l4_dst_port_rng_hit
}};
static_assert(movesEachBitOnce<16, 16>(kIpv6Moves, {0x00001fff, 0, 0xfffe0000, 0xffffff9f, kAll, kAll, kAll, kAll, kAll,
                                                    kAll, kAll, kAll, kAll, kAll, kAll, kAll}));

constexpr std::array<KeyMove, 24> kFcoeMoves{{
    {1, 31, 30, 0, 30}, // fc_f_ctl_bits
    {1, 29, 29, 0, 29}, // fcoe_ve_routed
    {1, 28, 28, 0, 28}, // fcoe_vf_routed
    {2, 31, 0, 1, 0},   // fc_payload_0, fc_payload_35, fc_payload_36, fc_payload_41
    {4, 19, 0, 2, 12},  // vpn_id
    {3, 31, 21, 2, 0},  // fcoe_vfid_11_1
    {6, 4, 4, 3, 31},   // l3_acl_lgc_port_4
    {7, 19, 16, 3, 27}, // fc_sid_gid
    {6, 7, 5, 3, 24},   // l2_rcv_prio
    {5, 7, 1, 3, 17},   // mda_id
    {5, 0, 0, 3, 16},   // vfid_typ
    {3, 19, 16, 3, 12}, // fcoe_ver
    {4, 31, 20, 3, 0},  // policy_id
    {7, 15, 0, 4, 16},  // fc_oxid
    {3, 7, 0, 4, 8},    // fc_cs_ctl
    {6, 3, 1, 4, 0},    // l3_acl_lgc_port_3_1
    {5, 31, 8, 5, 8},   // fc_sid
    {3, 15, 8, 5, 0},   // fc_r_ctl
    {6, 31, 8, 6, 8},   // fc_did
    {7, 23, 20, 7, 28}, // fc_did_gid
    {3, 20, 20, 7, 27}, // fcoe_vfid_0
    {6, 0, 0, 7, 26},   // l3_acl_lgc_port_0
    {1, 27, 15, 7, 13}, // iivid
    {7, 31, 24, 7, 0},  // fc_sof
}};
static_assert(movesEachBitOnce<8, 8>(kFcoeMoves, {0, 0xffff8000, kAll, kAll, kAll, kAll, kAll, kAll}));

} // namespace

void ReshuffleKey(const L3PselIpv4TcamInKey *in, L3PselIpv4TcamInKeyR *out, int dbg) {
    reshuffle(kIpv4Moves, "L3PselIpv4TcamInKey", in->word, out->word, dbg);
}

void ReshuffleKey(const L3PselIpv6TcamInKey *in, L3PselIpv6TcamInKeyR *out, int dbg) {
    reshuffle(kIpv6Moves, "L3PselIpv6TcamInKey", in->word, out->word, dbg);
}

void ReshuffleKey(const L3PselFcoeTcamInKey *in, L3PselFcoeTcamInKeyR *out, int dbg) {
    reshuffle(kFcoeMoves, "L3PselFcoeTcamInKey", in->word, out->word, dbg);
}
