// The layouts of the ACL engine: against their positions written down a second time, and by rows and results that are
// packed from fields, loaded through the host interface and met by the keys of the stages.

#include "hsi/cmRteHsi.h"
#include "lue/cmRteLueL3.h"
#include "tae/cmTae.h"
#include "tae/cmTaeL3Key.h"

#include "entry_layout.h"

#include <memory>

namespace {

// ---- The positions, a second time ----------------------------------------------------------------------------------

Positions l2Ip() {
    return Positions::byLowBit(8, "l2_sa 48 208 l2_da 48 160 l3_configured 1 159 is_priority_tagged 1 158 "
                                  "ipv4_frag 1 157 is_cn_tagged 1 156 tcp_psh 1 155 vpn_id 20 135 is_stagged 1 134 "
                                  "is_tagged 1 133 iwpri 3 130 ethertype 16 114 l2_policy_id_11_1 11 100 "
                                  "l3_rte_en 1 99 trill_mc 1 98 trill_vld 1 97 trill_encap 1 96 has_non_snap_llc 1 95 "
                                  "l2_unknown_da 1 94 l2_unknown_sa 1 93 tcp_urg_o_fip_f 1 92 tcp_ack_o_fip_a 1 91 "
                                  "tcp_rst_o_fip_s 1 90 tcp_syn_o_fip_sp 1 89 tcp_fin_o_fip_fp 1 88 ip_protocol 8 80 "
                                  "l4_src_port 16 64 l4_dst_port_o_fip_proto_codet 16 48 trill_drbridge 16 32 "
                                  "l2_mda_id 7 25 l2_ip_tos 6 19 l2_iivid 13 6 l2_acl_lgc_port 5 1 l2_policy_id_0 1 0")
        .alt("4: l2_policy_id[11:1] 14:4\n7: l2_policy_id[0] 0");
}

Positions l2Fcoe() {
    return Positions::byLowBit(8, "l2_sa 48 208 l2_da 48 160 fcoe_ve_routed 1 159 fcoe_vf_routed 1 158 "
                                  "l2_mda_id_6_1 6 152 fc_r_ctl 8 144 l2_policy_id 12 132 vpn_id 20 112 fc_oxid 16 96 "
                                  "fc_did 24 72 fc_type 8 64 fc_sid 24 40 fc_payload_0 8 32 fc_vfid 12 20 "
                                  "fpma_chk_ok 1 19 l2_iivid 13 6 l2_mda_id_0 1 5 l2_acl_lgc_port 5 0")
        .alt("3: l2_mda_id[6:1] 29:24\n7: l2_mda_id[0] 5");
}

Positions l2Rslt() {
    return Positions::byLowBit(4, "sflow_profile 4 100 mct_srbridge_vld 1 99 trill_cmd 2 97 dscp_en 1 96 dscp 6 90 "
                                  "drop_prcd 2 88 pol_en 1 87 pol_id 14 73 acl_log 1 72 trap_en 1 71 trap_que 4 67 "
                                  "sflow_en 1 66 trill_mc 1 65 fwd_en 1 64 sts_sflow_en 1 63 sts_sflow_idx 15 48 "
                                  "mctid_trill_da 16 32 span_en 1 31 span_id 3 28 prio_en 1 27 qmg_prio 3 24 "
                                  "prio_pth 1 23 ign_fcoe 1 22 bypass_eacl 1 21 is_mgid 1 20 lgid_egid_mgid 17 3 "
                                  "l2_ing_prio 3 0");
}

Positions l3Ipv4() {
    return Positions::byWord("0: l3_ip_tos 31:26, l4_src_port_rng_idx 25:21, l4_src_port_rng_hit 20, frag_flags 19:17, "
                             "frag_offset 16:4, first_fragment 3, is_fragment 2, l3_mcast_reg_encap 1, "
                             "trill_mcast_tree_id 0\n"
                             "1: l3_ipv4_sa[31:1] 30:0\n"
                             "2: tcp_psh 31, l3_ipv4_da[31:1] 30:0\n"
                             "3: vrf_id[11] 31, l3_acl_lgc_port 30:26, l4_dst_port[0] 25, iivid_cugid_mcuid 24:12, "
                             "policy_id 11:0\n"
                             "4: ipv4_tlen 31:16, iwprio 15:13, tcp_ack 12, tcp_urg 11, vrf_id[10:0] 10:0\n"
                             "5: vpn_id[19:1] 31:13, mda_id[6:1] 12:7, my_rp_idx 6:0\n"
                             "6: tcp_rst 31, l4_dst_port[15:1] 30:16, ip_protocol 15:8, ipv4_ttl 7:0\n"
                             "7: vpn_id[0] 31, l3_ipv4_da[0] 30, l3_ipv4_sa[0] 29, mda_id[0] 28, my_ip_addr 27, "
                             "l3_sa_gid 26, l3_da_gid 25, l4_src_port_o_icmpv4_type 24:9, l4_dst_port_rng_idx 8:4, "
                             "l4_dst_port_rng_hit 3, ihl_gt5 2, tcp_fin 1, tcp_syn 0")
        .alt("3: cugid_mcuid 19:7");
}

Positions l3Ipv6() {
    return Positions::byWord("0: l4_src_port_rng_idx 31:27, l4_src_port_rng_hit 26\n"
                             "1: l3_ipv6_sa_0 31:0\n"
                             "2: l3_ipv6_sa_1 31:0\n"
                             "3: iivid_cugid_mcuid[7:6] 31:30, policy_id 29:18, iivid_cugid_mcuid[12:8] 17:13\n"
                             "4: my_rp_idx 31:27, trill_mcast_tree_id 8, l3_mcast_reg_encap 7, mda_id 6:0\n"
                             "5: l3_ipv6_sa_2 31:0\n"
                             "6: l3_ipv6_sa_3 31:0\n"
                             "7: iivid_cugid_mcuid[5:4] 31:30, iwprio 29:27, l3_sa_gid 26, vrf_id 25:14, tcp_fin 13, "
                             "tcp_syn 12, tcp_rst 11, tcp_ack 10, tcp_urg 9, tcp_psh 8, first_fragment 7, "
                             "is_fragment 6, l3_ip_tos 5:0\n"
                             "8: l3_ipv6_da_0 31:0\n"
                             "9: l3_ipv6_da_1 31:0\n"
                             "10: frag_offset[12:8] 31:27, ip_protocol 26:19, ip_tlen 18:3\n"
                             "11: iivid_cugid_mcuid[3:2] 31:30, l3_acl_lgc_port 29:25, l4_src_port_o_icmpv6_type 24:9, "
                             "frag_flag 8, frag_offset[7:0] 7:0\n"
                             "12: l3_ipv6_da_2 31:0\n"
                             "13: l3_ipv6_da_3 31:0\n"
                             "14: vpn_id 31:12, l3_da_gid 11, ipv6_ttl 7:0\n"
                             "15: iivid_cugid_mcuid[1:0] 31:30, my_ip_addr 29, l4_dst_port 28:13, "
                             "l4_dst_port_rng_idx 7:3, l4_dst_port_rng_hit 2")
        .alt("1: l3_ipv6_sa[127:96] 31:0\n2: l3_ipv6_sa[95:64] 31:0\n5: l3_ipv6_sa[63:32] 31:0\n"
             "6: l3_ipv6_sa[31:0] 31:0\n8: l3_ipv6_da[127:96] 31:0\n9: l3_ipv6_da[95:64] 31:0\n"
             "12: l3_ipv6_da[63:32] 31:0\n13: l3_ipv6_da[31:0] 31:0\n"
             // Even bank, words 3 and 7; odd bank, its words 3 and 7.
             "3: cugid_mcuid[7:6] 1:0, cugid_mcuid[12:8] 18:14\n7: cugid_mcuid[5:4] 1:0\n"
             "11: cugid_mcuid[3:2] 1:0\n15: cugid_mcuid[1:0] 1:0");
}

Positions l3Fcoe() {
    return Positions::byWord("0: fc_f_ctl_bits 31:30, fcoe_ve_routed 29, fcoe_vf_routed 28\n"
                             "1: fc_payload_0 31:24, fc_payload_35 23:16, fc_payload_36 15:8, fc_payload_41 7:0\n"
                             "2: vpn_id 31:12, fcoe_vfid[11:1] 10:0\n"
                             "3: l3_acl_lgc_port[4] 31, fc_sid_gid 30:27, l2_rcv_prio 26:24, mda_id 23:17, "
                             "vfid_typ 16, fcoe_ver 15:12, policy_id 11:0\n"
                             "4: fc_oxid 31:16, fc_cs_ctl 15:8, l3_acl_lgc_port[3:1] 2:0\n"
                             "5: fc_sid 31:8, fc_r_ctl 7:0\n"
                             "6: fc_did 31:8\n"
                             "7: fc_did_gid 31:28, fcoe_vfid[0] 27, l3_acl_lgc_port[0] 26, iivid 25:13, fc_sof 7:0");
}

const char kFlexWords[] = "1: flex_key(0) 31:0\n2: flex_key(1) 31:0\n3: flex_key(2) 31:0\n"
                          "4: flex_key(3) 31:0\n5: flex_key(4) 31:0\n6: flex_key(5) 31:0\n";

Positions ipFlex() {
    return Positions::byWord(
               "0: policy_id[11:1] 31:21, l3_acl_lgc_port[4:2] 20:18, vrf_id 17:6, ihl_gt5 5, is_fragment 4, "
               "l3_mcast_reg_encap 3, is_ipv6 2, trill_mcast_tree_id 1, trill_mc 0\n" +
               std::string(kFlexWords) +
               "7: my_ip_addr 31, mda_id[0] 30, policy_id[0] 29, typ[0] 28, l3_acl_lgc_port[1:0] 27:26, iivid 25:13, "
               "mda_id[6:1] 12:7, typ[7:1] 6:0")
        .alt("7: cugid_mcuid 18:6");
}

Positions fcoeFlex() {
    return Positions::byWord("0: mda_id[6:1] 31:26, policy_id[11:1] 22:12, fpma_chk_ok 11, fcoe_vfid[11:1] 10:0\n" +
                             std::string(kFlexWords) +
                             "7: policy_id[0] 31, mda_id[0] 30, fcoe_vfid[0] 29, l3_acl_lgc_port[1:0] 28:27, "
                             "iivid 26:14, l3_acl_lgc_port[4:2] 13:11, fcoe_vf_routed 10, trill_encap 9, "
                             "fcoe_ve_routed 8, fc_sid_gid 7:4, fc_did_gid 3:0");
}

Positions l3Rslt() {
    return Positions::byWord("1: prio_pth 31, qmg_prio 30:28, trap_que 27:24, drop_prcd 23:22, dscp 21:16, dscp_en 15, "
                             "l3_dscp_override 14, bypass_eacl 13, l3_acl_log_override 12, l3_pol_override 11, "
                             "l3_trap_en_override 10, sflow_profile 9:6\n"
                             "2: sts_sflow_idx 31:17, pol_en 16, pol_id 15:2, fwd_en 1, sts_sflow_en 0\n"
                             "3: trap_en 31, prio_en 30, span_id 29:27, span_en 26, acl_log 25, l3_fwd_override 24, "
                             "l3_prio_override 23, l3_span_override 22, nxt_hop_rslt_idx 21:4, sflow_en 3, "
                             "l2_egr_prio 2:0");
}

Positions ipv4Exm() {
    return Positions::byWord("1: iivid_cugid_mcuid 21:9, trill_mcast_tree_id 8, my_rp_idx 7:1, l3_mcast_reg_encap 0\n"
                             "2: l3_ipv4_da 31:0\n3: l3_ipv4_sa 31:0");
}

Positions ipv6Exm() {
    return Positions::byWord("7: iivid_cugid_mcuid 19:7, trill_mcast_tree_id 6, my_rp_idx 5:1, l3_mcast_reg_encap 0\n"
                             "8: l3_ipv6_da[127:96] 31:0\n9: l3_ipv6_da[95:64] 31:0\n10: l3_ipv6_da[63:32] 31:0\n"
                             "11: l3_ipv6_da[31:0] 31:0\n12: l3_ipv6_sa[127:96] 31:0\n13: l3_ipv6_sa[95:64] 31:0\n"
                             "14: l3_ipv6_sa[63:32] 31:0\n15: l3_ipv6_sa[31:0] 31:0");
}

// The keys of layer 3 as the stages build them, before they are scattered over the cells.

Positions plainIpv4() {
    return Positions::byWord("0: l3_ip_tos 31:26, l3_mcast_reg_encap 25, my_rp_idx 24:18, trill_mcast_tree_id 17, "
                             "my_ip_addr 16, l3_sa_gid 15, l3_da_gid 14, iivid_cugid_mcuid 12:0\n"
                             "1: tcp_fin 31, tcp_syn 30, tcp_rst 29, tcp_ack 28, tcp_urg 27, tcp_psh 26, "
                             "frag_flags 25:23, frag_offset 22:10, first_fragment 9, is_fragment 8, iwprio 7:5, "
                             "l3_acl_lgc_port 4:0\n"
                             "2: policy_id 31:20, vrf_id 19:8, mda_id 7:1, ihl_gt5 0\n"
                             "3: l3_ipv4_sa 31:0\n4: l3_ipv4_da 31:0\n"
                             "5: ip_protocol 31:24, ipv4_ttl 23:16, ipv4_tlen 15:0\n"
                             "6: l4_dst_port_rng_idx 31:27, l4_dst_port_rng_hit 26, l4_src_port_rng_idx 25:21, "
                             "l4_src_port_rng_hit 20, vpn_id 19:0\n"
                             "7: l4_dst_port 31:16, l4_src_port_o_icmpv4_type 15:0");
}

Positions plainIpv6() {
    return Positions::byWord("0: iivid_cugid_mcuid 12:0\n"
                             "2: l3_ip_tos 31:26, l3_mcast_reg_encap 25, my_rp_idx 24:20, trill_mcast_tree_id 19, "
                             "l3_sa_gid 18, l3_da_gid 17\n"
                             "3: tcp_fin 31, tcp_syn 30, tcp_rst 29, tcp_ack 28, tcp_urg 27, tcp_psh 26, frag_flag 25, "
                             "frag_offset 24:12, first_fragment 11, is_fragment 10, iwprio 9:7, l3_acl_lgc_port 4:0\n"
                             "4: policy_id 31:20, vrf_id 19:8, mda_id 7:1, my_ip_addr 0\n"
                             "5: l3_ipv6_sa_0 31:0\n6: l3_ipv6_sa_1 31:0\n7: l3_ipv6_sa_2 31:0\n8: l3_ipv6_sa_3 31:0\n"
                             "9: l3_ipv6_da_0 31:0\n10: l3_ipv6_da_1 31:0\n11: l3_ipv6_da_2 31:0\n"
                             "12: l3_ipv6_da_3 31:0\n"
                             "13: ip_protocol 31:24, ipv6_ttl 23:16, ip_tlen 15:0\n"
                             "14: l4_dst_port_rng_idx 31:27, l4_dst_port_rng_hit 26, l4_src_port_rng_idx 25:21, "
                             "l4_src_port_rng_hit 20, vpn_id 19:0\n"
                             "15: l4_dst_port 31:16, l4_src_port_o_icmpv6_type 15:0");
}

Positions plainFcoe() {
    return Positions::byWord("1: fc_f_ctl_bits 31:30, fcoe_ve_routed 29, fcoe_vf_routed 28, iivid 27:15\n"
                             "2: fc_payload_0 31:24, fc_payload_35 23:16, fc_payload_36 15:8, fc_payload_41 7:0\n"
                             "3: fcoe_vfid 31:20, fcoe_ver 19:16, fc_r_ctl 15:8, fc_cs_ctl 7:0\n"
                             "4: policy_id 31:20, vpn_id 19:0\n"
                             "5: fc_sid 31:8, mda_id 7:1, vfid_typ 0\n"
                             "6: fc_did 31:8, l2_rcv_prio 7:5, l3_acl_lgc_port 4:0\n"
                             "7: fc_sof 31:24, fc_did_gid 23:20, fc_sid_gid 19:16, fc_oxid 15:0");
}

// ---- The engine behind the host interface --------------------------------------------------------------------------

constexpr uint32_t kTcamBase = 0x4400000;
constexpr uint32_t kRsltBase = 0x4800000;

/// The number of entry 0 of a bank among all entries.
constexpr uint32_t firstEntry(uint32_t bank) {
    return bank < 12 ? 4096 * bank : 4096 * 12 + 512 * (bank - 12);
}
constexpr uint32_t lastIdx(uint32_t bank) {
    return bank < 12 ? 4095 : 511;
}

class TblAcl : public testing::Test {
protected:
    TblAcl() : rte(std::make_unique<CmRte>()) {
        CmRteInit(rte.get());
        intf.tcamFixedKey = fixedKey;
        intf.tcamFlexKey = flexKeys;
        intf.exmKey = exmKey;
        intf.acl_drop_ptr = 0xffffffff; // no result names these
        intf.drop_ptr = 0xffffffff;
        l2.aclL2Srch = 1;
        l2.isFcoe = 1;
        l2.dropEgid = l2.aclDropEgid = l2.trapEgid = 0xffffffff;
    }
    ~TblAcl() override {
        delete rte->tfePtr;
        for (const auto &[name, reg] : tae().RegCollection) {
            delete reg->pMemRegDef;
            delete reg;
        }
        for (const auto &[name, ram] : tae().RamCollection) {
            delete ram->pMemRegDef;
            delete ram;
        }
        for (const auto &[name, tcam] : tae().TcamCollection)
            delete tcam;
        delete rte->taePtr;
    }

    CmTaeLkup &tae() { return *rte->taePtr; }

    template <class Words> void write(uint32_t addr, const Words &words) {
        for (const uint32_t word : words) {
            ASSERT_EQ(CmRteHsiWr(rte.get(), addr, word), 1) << std::hex << addr;
            addr += 4;
        }
    }

    /// Makes `bank` the only one that is on, of one type.
    void only(uint32_t bank, uint32_t type) {
        const bool joined = type == ACLT_L3_IPV6;
        tae().BLK_REG_SET("TAE_BANK_EN_REG", joined ? 3u << (bank & ~1u) : 1u << bank, false, true);
        tae().BLK_REG_SET("TAE_BANK_PRTCL_SEL_0_REG", joined ? 1u << bank / 2 : 0, false, true);
        if (!joined)
            tae().BLK_REG_SET(("TAE_BANK_PRTCL_SEL_" + std::to_string(4 - bank / 8) + "_REG").c_str(),
                              type << 4 * (bank % 8), false, true);
    }

    void loadRow(uint32_t bank, uint32_t idx, const std::vector<uint32_t> &row) {
        write(kTcamBase + 64 * firstEntry(bank) + static_cast<uint32_t>(4 * row.size()) * idx, row);
    }
    template <class Rslt> void loadRslt(uint32_t bank, uint32_t idx, const Rslt &rslt) {
        uint32_t words[4] = {};
        pack(rslt, words);
        write(kRsltBase + 16 * (firstEntry(bank) + idx), words);
    }

    /// Each field alone: a row of its value is met by `hits`, a row with one bit turned is not.
    template <class Row, class Hits>
    void expectEachFieldMeets(uint32_t bank, const Fields &key, const Positions &positions, Hits hits) {
        for (const auto &[name, value] : key) {
            loadRow(bank, lastIdx(bank), rowAsking<Row>({{name, value}}));
            EXPECT_TRUE(hits()) << name;
            for (unsigned n = 0; n < positions.widthOf(name); n++) {
                TblWide other = value;
                setBitOf(other, n, 1 - bitOf(value, n));
                loadRow(bank, lastIdx(bank), rowAsking<Row>({{name, other}}));
                EXPECT_FALSE(hits()) << name << " bit " << n;
            }
        }
        loadRow(bank, lastIdx(bank), rowAsking<Row>(key));
        EXPECT_TRUE(hits()) << "all fields";
    }

    bool l3Hits() {
        L3PselRslt rslt;
        tae().lookupL3Acl(intf, &rslt);
        return rslt.pol_en;
    }

    /// Random words, of which `isIpv4` and so on say what they are a key of.
    template <class Key> Key rndKey() {
        Key key;
        for (uint32_t &word : key.word)
            word = rnd();
        return key;
    }

    /// A bank of layer 3 whose last row alone counts for the policer.
    void l3Bank(uint32_t bank, uint32_t type) {
        only(bank, type);
        TaeL3Rslt rslt{};
        rslt.pol_en = 1;
        loadRslt(bank & ~(type == ACLT_L3_IPV6 ? 1u : 0u), lastIdx(bank), rslt);
    }

    template <class Plain, class Cells, class Row>
    void expectKeyMeetsRows(uint32_t bank, uint32_t type, const Positions &plain, const Positions &row) {
        l3Bank(bank, type);
        for (int round = 0; round < 3; round++) {
            const Plain key = rndKey<Plain>();
            Cells cells;
            ReshuffleKey(&key, &cells, 0);
            std::copy(std::begin(cells.word), std::end(cells.word), fixedKey);
            expectEachFieldMeets<Row>(bank, plain.decode(key.word), row, [this] { return l3Hits(); });
        }
    }

    std::unique_ptr<CmRte> rte;
    RandomWords rnd{12};
    tL2AclInterface l2 = {};
    tL3AclInterface intf = {};
    uint32_t fixedKey[16] = {};
    uint32_t flexKey[8] = {};
    uint32_t *flexKeys[4] = {flexKey, flexKey, flexKey, flexKey};
    uint32_t exmKey[9] = {};
};

} // namespace

// ---- The lists against the positions -------------------------------------------------------------------------------

TEST(TblAclLayout, FieldsStandAtTheirPlaces) {
    expectLayout<TaeL2Ip>("TaeL2Ip", l2Ip());
    expectLayout<TaeL2Fcoe>("TaeL2Fcoe", l2Fcoe());
    expectLayout<TaeL2Rslt>("TaeL2Rslt", l2Rslt());
    expectLayout<TaeL3Ipv4>("TaeL3Ipv4", l3Ipv4());
    expectLayout<TaeL3Ipv6>("TaeL3Ipv6", l3Ipv6());
    expectLayout<TaeL3Fcoe>("TaeL3Fcoe", l3Fcoe());
    expectLayout<TaeL3IpFlex0>("TaeL3IpFlex0", ipFlex());
    expectLayout<TaeL3FcoeFlex0>("TaeL3FcoeFlex0", fcoeFlex());
    expectLayout<TaeL3Rslt>("TaeL3Rslt", l3Rslt());
    expectLayout<TaeIpv4ExmRslt>("TaeIpv4ExmRslt", l3Rslt());
    expectLayout<TaeIpv6ExmRslt>("TaeIpv6ExmRslt", l3Rslt());
    expectLayout<TaeIpv4ExmTcam>("TaeIpv4ExmTcam", ipv4Exm());
    expectLayout<TaeIpv4ExmBkt>("TaeIpv4ExmBkt", ipv4Exm());
    expectLayout<TaeIpv4ExmIdx>("TaeIpv4ExmIdx", Positions::byWord("0: bkt_idx 11:0"));
    expectLayout<TaeIpv6ExmTcam>("TaeIpv6ExmTcam", ipv6Exm());
    expectLayout<TaeIpv6ExmBkt>("TaeIpv6ExmBkt", ipv6Exm());
    expectLayout<TaeIpv6ExmIdx>("TaeIpv6ExmIdx", Positions::byWord("0: bkt_idx 9:0"));
}

TEST(TblAclLayout, RowsMemoriesAndFormsAreThoseOfTheEngine) {
    const struct {
        const char *type, *row, *mem;
        uint32_t words;
        bool isTcam;
        uint32_t banks; // 0: always
    } rows[] = {
        {"TaeL2Ip", "tae_tcam", "TAE_TCAM", 16, true, 1u << ACLT_L2_IP},
        {"TaeL2Fcoe", "tae_tcam", "TAE_TCAM", 16, true, 1u << ACLT_L2_FCOE},
        {"TaeL3Ipv4", "tae_tcam", "TAE_TCAM", 16, true, 1u << ACLT_L3_IPV4},
        {"TaeL3Fcoe", "tae_tcam", "TAE_TCAM", 16, true, 1u << ACLT_L3_FCOE},
        {"TaeL3IpFlex0", "tae_tcam", "TAE_TCAM", 16, true, 1u << ACLT_L3_IP_FLEX0},
        {"TaeL3FcoeFlex0", "tae_tcam", "TAE_TCAM", 16, true, 1u << ACLT_L3_FCOE_FLEX0},
        {"TaeL3Ipv6", "tae_tcam", "TAE_TCAM", 32, true, 1u << ACLT_L3_IPV6},
        {"TaeL2Rslt", "tae_rslt", "TAE_RSLT_MEM", 4, false, 0x3f},
        {"TaeL3Rslt", "tae_rslt", "TAE_RSLT_MEM", 4, false, 0x1ffff & ~0x3fu},
        {"TaeIpv4ExmTcam", "tae_l3_ipv4_mc_ovflow_tcam", "TAE_IPV4_EXM_TCAM", 8, true, 0},
        {"TaeIpv4ExmBkt", "tae_l3_ipv4_mc_bkt", "TAE_IPV4_EXM_BKT", 4, false, 0},
        {"TaeIpv4ExmIdx", "tae_l3_ipv4_mc_idx", "TAE_IPV4_EXM_IDX", 1, false, 0},
        {"TaeIpv4ExmRslt", "tae_l3_ipv4_mc_rslt", "TAE_IPV4_EXM_RSLT", 4, false, 0},
        {"TaeIpv6ExmTcam", "tae_l3_ipv6_mc_ovflow_tcam", "TAE_IPV6_EXM_TCAM", 32, true, 0},
        {"TaeIpv6ExmBkt", "tae_l3_ipv6_mc_bkt", "TAE_IPV6_EXM_BKT", 16, false, 0},
        {"TaeIpv6ExmIdx", "tae_l3_ipv6_mc_idx", "TAE_IPV6_EXM_IDX", 1, false, 0},
        {"TaeIpv6ExmRslt", "tae_l3_ipv6_mc_rslt", "TAE_IPV6_EXM_RSLT", 4, false, 0},
    };
    for (const auto &row : rows) {
        const TblDesc &desc = findEntry(row.type);
        EXPECT_STREQ(desc.row, row.row) << row.type;
        EXPECT_STREQ(desc.mem, row.mem) << row.type;
        EXPECT_EQ(desc.words, row.words) << row.type;
        EXPECT_EQ(desc.isTcam, row.isTcam) << row.type;
        EXPECT_EQ(desc.form.kind, row.banks ? TblForm::TAE_BANK : TblForm::ALWAYS) << row.type;
        if (row.banks) {
            EXPECT_EQ(desc.form.value, row.banks) << row.type;
        }
    }
    EXPECT_EQ(findEntry("TaeL2Rslt").kept(0), 0xffu);
    EXPECT_EQ(findEntry("TaeIpv4ExmBkt").kept(1), 0x3fffffu);
    EXPECT_EQ(findEntry("TaeIpv6ExmTcam").kept(16 + 7), 0xfffffu);
}

// ---- By doing ------------------------------------------------------------------------------------------------------

TEST_F(TblAcl, Layer2KeysMeetTheRowsOfTheirFields) {
    const struct {
        uint32_t type;
        const RegMemDefinition &def;
        uint32_t *key;
    } rows[] = {{ACLT_L2_IP, CmTaeLkup::l2AclTcamFieldDef(), l2.l2AclKey},
                {ACLT_L2_FCOE, CmTaeLkup::l2FcoeAclTcamFieldDef(), l2.l2FcoeAclKey}};
    for (const uint32_t bank : {3u, 17u}) {
        for (const auto &row : rows) {
            only(bank, row.type);
            M_T line(row.def.numFields());
            Fields fields;
            for (const auto &[name, field] : row.def.fieldDefinitions) {
                const uint64_t value = (uint64_t{rnd()} << 32 | rnd()) & ((uint64_t{1} << field.bitWidth) - 1);
                row.def.setField2(name, line, {static_cast<uint32_t>(value), value});
                fields[name] = wideOf(value);
            }
            row.def.packBinaryKey(line, row.key);
            const auto hits = [this] {
                TaeL2Rslt rslt;
                uint32_t trapRsn = 0;
                return tae().lookupL2Acl(l2, rslt, trapRsn);
            };
            if (row.type == ACLT_L2_IP)
                expectEachFieldMeets<TaeL2Ip>(bank, fields, l2Ip(), hits);
            else
                expectEachFieldMeets<TaeL2Fcoe>(bank, fields, l2Fcoe(), hits);
        }
    }
}

TEST_F(TblAcl, Ipv4KeysMeetTheRowsOfTheirFields) {
    intf.isIpv4 = 1;
    for (const uint32_t bank : {11u, 12u})
        expectKeyMeetsRows<L3PselIpv4TcamInKey, L3PselIpv4TcamInKeyR, TaeL3Ipv4>(bank, ACLT_L3_IPV4, plainIpv4(),
                                                                                 l3Ipv4());
}

TEST_F(TblAcl, FcoeKeysMeetTheRowsOfTheirFields) {
    intf.isFcoe = 1;
    for (const uint32_t bank : {0u, 29u})
        expectKeyMeetsRows<L3PselFcoeTcamInKey, L3PselFcoeTcamInKeyR, TaeL3Fcoe>(bank, ACLT_L3_FCOE, plainFcoe(),
                                                                                 l3Fcoe());
}

TEST_F(TblAcl, Ipv6KeysMeetTheRowsOfTheirFields) {
    intf.isIpv6 = 1;
    for (const uint32_t bank : {2u, 28u})
        expectKeyMeetsRows<L3PselIpv6TcamInKey, L3PselIpv6TcamInKeyR, TaeL3Ipv6>(bank, ACLT_L3_IPV6, plainIpv6(),
                                                                                 l3Ipv6());
}

TEST_F(TblAcl, FlexKeysMeetTheRowsOfTheirFields) {
    std::generate(std::begin(flexKey), std::end(flexKey), std::ref(rnd));
    intf.isIpv4 = 1;
    l3Bank(5, ACLT_L3_IP_FLEX0);
    Fields fields = ipFlex().decode(flexKey);
    fields.erase("cugid_mcuid");
    expectEachFieldMeets<TaeL3IpFlex0>(5, fields, ipFlex(), [this] { return l3Hits(); });
    intf.isIpv4 = 0;
    intf.isFcoe = 1;
    l3Bank(13, ACLT_L3_FCOE_FLEX0);
    expectEachFieldMeets<TaeL3FcoeFlex0>(13, fcoeFlex().decode(flexKey), fcoeFlex(), [this] { return l3Hits(); });
}

// The field `cugid_mcuid` of a row stands where the chip writes the user id, in each kind of key.
TEST_F(TblAcl, UserIdsStandWhereTheEngineWritesThem) {
    tae().BLK_REG_SET("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", 0x55555555, false, true); // the customer group
    const struct {
        uint32_t bank, type;
        Positions positions;
        uint32_t words;
    } rows[] = {{4, ACLT_L3_IPV4, l3Ipv4(), 8}, {5, ACLT_L3_IP_FLEX0, ipFlex(), 8}, {6, ACLT_L3_IPV6, l3Ipv6(), 16}};
    for (const auto &row : rows) {
        for (int round = 0; round < 20; round++) {
            const uint32_t id = rnd() & 0x1fff;
            uint32_t key[16];
            std::generate(std::begin(key), std::end(key), std::ref(rnd));
            for (uint32_t w = 0; w < row.words; w += 8)
                EXPECT_EQ(tae().replaceIivid(key + w, id, ~id, static_cast<int>(row.bank + w / 8),
                                             static_cast<enumBankType>(row.type), 1, row.type != ACLT_L3_IPV6,
                                             row.type == ACLT_L3_IPV6),
                          1u);
            EXPECT_EQ(row.positions.decode(key).at("cugid_mcuid"), wideOf(id)) << row.type;
        }
    }
}

TEST_F(TblAcl, ResultsReadTheFieldsThatWereLoaded) {
    for (const uint32_t bank : {0u, 11u, 12u, 29u}) {
        uint32_t words[4];
        std::generate(std::begin(words), std::end(words), std::ref(rnd));
        const Fields l2Fields = l2Rslt().decode(words);
        loadRslt(bank, 7, recordOf<TaeL2Rslt>(l2Fields));
        M_T line;
        ASSERT_EQ(tae().readAclResultBank(7, bank, line), 0);
        for (const auto &[name, value] : l2Fields)
            EXPECT_EQ(CmTaeLkup::l2AclRsltFieldDef().getField(name.c_str(), line), value[3]) << name;
        TaeL2Rslt rslt;
        ASSERT_EQ(tae().readAclResultBank(7, bank, rslt), 0);
        EXPECT_EQ(fieldsOf(rslt), l2Fields);

        const Fields l3Fields = l3Rslt().decode(words);
        loadRslt(bank, 8, recordOf<TaeL3Rslt>(l3Fields));
        L3PselRslt l3;
        tae().readL3AclResultBank(intf, 8, bank, &l3);
        EXPECT_EQ(fieldsOf(l3), l3Fields);
    }
}

TEST_F(TblAcl, ExactMatchKeysMeetTheRowsOfTheirFields) {
    tae().BLK_REG_SET("TAE_L3_SRCH_EXM_CFG_REG", 1u << 19 | 1u << 9, false, true);
    const auto value = [](const Fields &fields, const char *name) { return fields.at(name)[3]; };
    for (const bool isIpv4 : {true, false}) {
        const Positions positions = isIpv4 ? ipv4Exm() : ipv6Exm();
        const uint32_t lo = isIpv4 ? 9 : 7;
        const uint32_t addr = isIpv4 ? 0x4900000 + 32 * 100 : 0x4a80000 + 128 * 100;
        // The overflow's results are the last of the memory.
        const uint32_t rsltAddr = isIpv4 ? 0x4a00000 + 16 * (32768 - 256 + 100) : 0x4b80000 + 16 * (8192 - 128 + 100);
        uint32_t words[16];
        std::generate(std::begin(words), std::end(words), std::ref(rnd));
        const Fields key = positions.decode(words);
        exmKey[0] = value(key, "iivid_cugid_mcuid") << lo | value(key, "trill_mcast_tree_id") << (lo - 1) |
                    value(key, "my_rp_idx") << 1 | value(key, "l3_mcast_reg_encap");
        if (isIpv4) {
            exmKey[1] = value(key, "l3_ipv4_da");
            exmKey[2] = value(key, "l3_ipv4_sa");
        } else {
            std::copy_n(key.at("l3_ipv6_da").begin(), 4, exmKey + 1);
            std::copy_n(key.at("l3_ipv6_sa").begin(), 4, exmKey + 5);
        }
        const Fields rslt = l3Rslt().decode(words);
        uint32_t rsltWords[4] = {};
        pack(recordOf<TaeIpv4ExmRslt>(rslt), rsltWords);
        write(rsltAddr, rsltWords);
        const auto hits = [&](L3PselRslt *out) {
            return isIpv4 ? tae().doIpv4ExmLu(exmKey, out) : tae().doIpv6ExmLu(exmKey, out);
        };
        const auto load = [&](const Fields &fields) {
            write(addr, isIpv4 ? rowAsking<TaeIpv4ExmTcam>(fields) : rowAsking<TaeIpv6ExmTcam>(fields));
        };
        for (const auto &[name, asked] : key) {
            L3PselRslt out{};
            load({{name, asked}});
            EXPECT_EQ(hits(&out), 1u) << name;
            // The load drops the upper bits of word 1.
            Fields kept = rslt;
            kept["prio_pth"] = kept["qmg_prio"] = wideOf(0);
            kept["trap_que"] = wideOf(rslt.at("trap_que")[3] & 3);
            EXPECT_EQ(fieldsOf(out), kept);
            for (unsigned n = 0; n < positions.widthOf(name); n++) {
                TblWide other = asked;
                setBitOf(other, n, 1 - bitOf(asked, n));
                load({{name, other}});
                EXPECT_EQ(hits(&out), 0u) << name << " bit " << n;
            }
        }
        load({{"my_rp_idx", wideOf(~uint64_t{value(key, "my_rp_idx")})}}); // no row is left

        // In a bucket.
        const uint32_t bucket = 321;
        uint32_t bktWords[16] = {};
        if (isIpv4)
            pack(recordOf<TaeIpv4ExmBkt>(key), bktWords);
        else
            pack(recordOf<TaeIpv6ExmBkt>(key), bktWords);
        const uint32_t entryWords = isIpv4 ? 4 : 16;
        const uint32_t bktAddr = (isIpv4 ? 0x4980000 : 0x4b00000) + 4 * entryWords * (8 * bucket + 5);
        write(bktAddr, std::vector<uint32_t>(bktWords, bktWords + entryWords));
        for (uint32_t idx = 0; idx < (isIpv4 ? 32768u : 8192u); idx++) {
            uint32_t word[1] = {};
            if (isIpv4)
                pack(TaeIpv4ExmIdx{.bkt_idx = bucket}, word);
            else
                pack(TaeIpv6ExmIdx{.bkt_idx = bucket}, word);
            write((isIpv4 ? 0x4920000 : 0x4a88000) + 4 * idx, word);
        }
        L3PselRslt out{};
        EXPECT_EQ(hits(&out), 1u);
        exmKey[2] ^= 1;
        EXPECT_EQ(hits(&out), 0u);
    }
}
