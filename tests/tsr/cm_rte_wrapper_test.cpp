// The model as a stage: what it is called with, what it prints, and the shims made of its result.

#include "cm_rte_wrapper.h"

#include "base/cmRte.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace {

/// What the model was called with, and the result that it gives.
struct Model {
    uint32_t port = 0, frmLen = 0;
    CmRte *chip = nullptr;
    CmRteMacInf macInf{};
    const uint8_t *frm = nullptr;
    int verbose = -1;
    bool resultWasClear = false;
    CmRteRslt rslt{};
} model;

} // namespace

/// The model of these tests: it gives the result that the test asks for.
int CmRteProc(uint32_t port, CmRte *cmRtePtr, CmRteMacInf *macInfPtr, uint32_t frmLen, uint8_t *frm, CmRteRslt *rsltPtr,
              int verbose) {
    model.port = port;
    model.chip = cmRtePtr;
    model.macInf = *macInfPtr;
    model.frmLen = frmLen;
    model.frm = frm;
    model.verbose = verbose;
    const CmRteRslt clear{};
    model.resultWasClear = std::memcmp(rsltPtr, &clear, sizeof clear) == 0;
    *rsltPtr = model.rslt;
    return 1;
}

namespace {

class RteWrapper : public testing::Test {
protected:
    RteWrapper() { model = Model(); }
    int run(int verbose = 0) {
        testing::internal::CaptureStdout();
        const int rslt = rte_ingress_proc(frm, 64, 7, &shim, &bp, nullptr, verbose);
        std::fflush(stdout);
        said = testing::internal::GetCapturedStdout();
        return rslt;
    }
    uint8_t frm[96] = {};
    shim_t shim{};
    bp_shim_t bp{};
    std::string said;
};

TEST_F(RteWrapper, CallsTheModelWithTheFrameAndTheMacsRecord) {
    int place = 0;
    rte_mem = reinterpret_cast<CmRte *>(&place);
    EXPECT_EQ(run(1), 0);
    EXPECT_EQ(model.chip, rte_mem);
    rte_mem = nullptr;
    EXPECT_EQ(model.port, 7u);
    EXPECT_EQ(model.frmLen, 64u);
    EXPECT_EQ(model.frm, frm);
    EXPECT_EQ(model.verbose, 1);
    EXPECT_EQ(model.macInf.seqNumVld, 0u);
    EXPECT_EQ(model.macInf.seqNum, 1u);
    EXPECT_EQ(model.macInf.isPauseFrm, 0u);
    EXPECT_EQ(model.macInf.isCrcBadFrm, 0u);
    EXPECT_TRUE(model.resultWasClear);
    EXPECT_EQ(run(0), 0);
    EXPECT_EQ(model.verbose, 0);
    EXPECT_EQ(said, "");
}

TEST_F(RteWrapper, ADropWithAReasonSaysSoAndLeavesTheShims) {
    std::memset(&model.rslt, 0xff, sizeof model.rslt);
    model.rslt.dropRsnRslt = 12;
    for (int verbose : {0, 1}) {
        EXPECT_EQ(run(verbose), 1);
        EXPECT_EQ(said, "Pkt dropped by RTE, reason code: 12\n\tDRP_EOF: premature EOF during header parsing\n");
    }
    const shim_t clear{};
    const bp_shim_t bpClear{};
    EXPECT_EQ(std::memcmp(&shim, &clear, sizeof clear), 0);
    EXPECT_EQ(std::memcmp(&bp, &bpClear, sizeof bpClear), 0);
}

TEST_F(RteWrapper, TheReasonsHaveTheirTextsUpToTheLast) {
    model.rslt.dropRsnRslt = 1;
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(said, "Pkt dropped by RTE, reason code: 1\n\tDRP_NOT_EN: dropped due to lookup not enabled\n");
    model.rslt.dropRsnRslt = 34;
    EXPECT_EQ(run(), 1);
    EXPECT_EQ(said, "Pkt dropped by RTE, reason code: 34\n"
                    "\tDRP_IP_RPF: IPv4/IPv6 Unicast RPF check fails for IP routed packet\n");
}

TEST_F(RteWrapper, AReasonBehindTheTextsHasNone) {
    for (uint32_t reason : {35u, 1000u}) {
        model.rslt.dropRsnRslt = reason;
        EXPECT_EQ(run(), 1);
        EXPECT_EQ(said, "Pkt dropped by RTE, reason code: " + std::to_string(reason) + "\n\t(no text)\n");
    }
}

/// A field of the result, the field of a shim that takes it, and that field's width.
struct Row {
    const char *name;
    uint32_t &from, &to;
    unsigned width;
};

TEST_F(RteWrapper, EveryFieldGoesToItsShimFieldCutToItsWidth) {
    CmRteRslt &r = model.rslt;
    const Row rows[] = {
        {"ing_ivid_12_9", r.shim0Rslt.ing_vid_12_to_9, shim.ing_ivid_12_9, 4},
        {"pim_decap", r.shim0Rslt.pim_decap, shim.pim_decap, 1},
        {"latency_chk", r.shim0Rslt.latency_check, shim.latency_chk, 1},
        {"dont_touch", r.shim0Rslt.dont_touch, shim.dont_touch, 1},
        {"rx_snap", r.shim0Rslt.rcv_snap_llc, shim.rx_snap, 1},
        {"lossless_to", r.shim0Rslt.lossless_timeout, shim.lossless_to, 1},
        {"routed", r.shim0Rslt.routed, shim.routed, 3},
        {"fab_to", r.shim0Rslt.timed_out, shim.fab_to, 1},
        {"byp_eacl", r.shim0Rslt.bypass_eacl, shim.byp_eacl, 1},
        {"shim_len", r.shim0Rslt.shim_length, shim.shim_len, 2},
        {"cp_cpu", r.shim0Rslt.copy_to_cpu, shim.cp_cpu, 1},
        {"w0_14_0", r.shim0Rslt.fseq_num_14_to_0, shim.w0_14_0, 15},
        {"w1_31_30", r.shim1Rslt.fseq_num_16_to_15, shim.w1_31_30, 2},
        {"w1_29", r.shim1Rslt.flow_copy, shim.w1_29, 1},
        {"w1_28", r.shim1Rslt.mirror_copy, shim.w1_28, 1},
        {"rcv_cn_tagged", r.shim1Rslt.rcv_cn_tagged, shim.rcv_cn_tagged, 1},
        {"egid", r.shim1Rslt.egid, shim.egid, 11},
        {"w1_15_14", r.shim1Rslt.ecn_o_mcast_type, shim.w1_15_14, 2},
        {"ing_chip", r.shim1Rslt.ing_zirkid, shim.ing_chip, 6},
        {"tag_cksum", r.shim1Rslt.tag_checksum, shim.tag_cksum, 4},
        {"version", r.shim1Rslt.version, shim.version, 4},
        {"is_mgid", r.shim2Rslt.is_mgid, shim.is_mgid, 1},
        {"rcv_s_tagged", r.shim2Rslt.rcv_s_tagged, shim.rcv_s_tagged, 1},
        {"trill_mc", r.shim2Rslt.trill_mc, shim.trill_mc, 1},
        {"mct_srbridge_vld", r.shim2Rslt.mct_sbridge_vld, shim.mct_srbridge_vld, 1},
        {"ing_port", r.shim2Rslt.ing_port, shim.ing_port, 6},
        {"q_pri", r.shim2Rslt.q_priority, shim.q_pri, 3},
        {"drop_prcd", r.shim2Rslt.drop_prcd, shim.drop_prcd, 2},
        {"w2_16_0", r.shim2Rslt.mgid_o_copy_id_o_qcn_control, shim.w2_16_0, 17},
        {"ing_ivid_8_0", r.shim3Rslt.ing_vid_8_to_0, shim.ing_ivid_8_0, 9},
        {"dscp", r.shim3Rslt.dscp, shim.dscp, 6},
        {"egr_vlan_pri", r.shim3Rslt.egr_iwqos, shim.egr_vlan_pri, 3},
        {"egr_cfi", r.shim3Rslt.egr_cfi, shim.egr_cfi, 1},
        {"egr_ivid", r.shim3Rslt.egr_internal_vid, shim.egr_ivid, 13},
        {"trill_da", r.shim4Rslt.trill_dbridge_id, shim.trill_da, 16},
        {"trill_term", r.shim4Rslt.trill_termination, shim.trill_term, 1},
        {"ipv4_dont_frag", r.shim4Rslt.ipv4_df, shim.ipv4_dont_frag, 1},
        {"w4_13_0", r.shim4Rslt.ip_length, shim.w4_13_0, 14},
        {"rcv_trill_option", r.shim5Rslt.rcv_trill_option, shim.rcv_trill_option, 1},
        {"rcv_trill", r.shim5Rslt.rcv_trill, shim.rcv_trill, 1},
        {"rcv_outer_tagged", r.shim5Rslt.rcv_outer_tagged, shim.rcv_outer_tagged, 1},
        {"rcv_inner_tagged", r.shim5Rslt.rcv_inner_tagged, shim.rcv_inner_tagged, 1},
        {"vpn_id", r.shim5Rslt.vpn_id, shim.vpn_id, 20},
        {"w5_7_0", r.shim5Rslt.shim_crc_o_time_stamp, shim.w5_7_0, 8},
        {"rslt_typ", r.hsiShim0Rslt.rslt_typ, bp.rslt_typ, 2},
        {"l2_egr_da_vid_idx", r.hsiShim0Rslt.l2_egr_da_vid_idx, bp.l2_egr_da_vid_idx, 17},
        {"trap_queue", r.hsiShim0Rslt.trap_que, bp.trap_queue, 4},
        {"trap_rsn", r.hsiShim0Rslt.trap_rsn, bp.trap_rsn, 6},
        {"fcoe_sa_idx", r.hsiShim1Rslt.fcoe_sa_idx, bp.fcoe_sa_idx, 8},
        {"acl_log", r.hsiShim1Rslt.acl_log, bp.acl_log, 1},
        {"rcv_pri", r.hsiShim1Rslt.rcv_prio, bp.rcv_pri, 3},
        {"sflw", r.hsiShim1Rslt.sflw, bp.sflw, 1},
        {"i_span", r.hsiShim1Rslt.i_span, bp.i_span, 1},
        {"i_span_q", r.hsiShim1Rslt.i_span_que, bp.i_span_q, 3},
        {"r_span", r.hsiShim1Rslt.r_span, bp.r_span, 1},
        {"r_span_q", r.hsiShim1Rslt.r_span_que, bp.r_span_q, 3},
    };
    for (const Row &row : rows) {
        for (const uint32_t value : {0xffffffffu, 0x55555555u, 0xaaaaaaaau}) {
            r = CmRteRslt{};
            row.from = value;
            EXPECT_EQ(run(), 0);
            for (const Row &other : rows)
                EXPECT_EQ(other.to, &other == &row ? value & ((1u << row.width) - 1) : 0) << row.name << other.name;
        }
    }
}

} // namespace
