#include "cm_rte_wrapper.h"

#include "base/cmRte.h"
#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"

#include <cstdio>

/// The wire shim from the result record, each field cut to its width on the wire.
static void fillShim(const CmRteRslt &rslt, shim_t *shim) {
    const TSR_SHIM0_RSLT_T &s0 = rslt.shim0Rslt;
    shim->ing_ivid_12_9 = s0.ing_vid_12_to_9;
    shim->pim_decap = s0.pim_decap;
    shim->latency_chk = s0.latency_check;
    shim->dont_touch = s0.dont_touch;
    shim->rx_snap = s0.rcv_snap_llc;
    shim->lossless_to = s0.lossless_timeout;
    shim->routed = s0.routed;
    shim->fab_to = s0.timed_out;
    shim->byp_eacl = s0.bypass_eacl;
    shim->shim_len = s0.shim_length;
    shim->cp_cpu = s0.copy_to_cpu;
    shim->w0_14_0 = s0.fseq_num_14_to_0;
    const TSR_SHIM1_RSLT_T &s1 = rslt.shim1Rslt;
    shim->w1_31_30 = s1.fseq_num_16_to_15;
    shim->w1_29 = s1.flow_copy;
    shim->w1_28 = s1.mirror_copy;
    shim->rcv_cn_tagged = s1.rcv_cn_tagged;
    shim->egid = s1.egid;
    shim->w1_15_14 = s1.ecn_o_mcast_type;
    shim->ing_chip = s1.ing_zirkid;
    shim->tag_cksum = s1.tag_checksum;
    shim->version = s1.version;
    const TSR_SHIM2_RSLT_T &s2 = rslt.shim2Rslt;
    shim->is_mgid = s2.is_mgid;
    shim->rcv_s_tagged = s2.rcv_s_tagged;
    shim->trill_mc = s2.trill_mc;
    shim->mct_srbridge_vld = s2.mct_sbridge_vld;
    shim->ing_port = s2.ing_port;
    shim->q_pri = s2.q_priority;
    shim->drop_prcd = s2.drop_prcd;
    shim->w2_16_0 = s2.mgid_o_copy_id_o_qcn_control;
    const TSR_SHIM3_RSLT_T &s3 = rslt.shim3Rslt;
    shim->ing_ivid_8_0 = s3.ing_vid_8_to_0;
    shim->dscp = s3.dscp;
    shim->egr_vlan_pri = s3.egr_iwqos;
    shim->egr_cfi = s3.egr_cfi;
    shim->egr_ivid = s3.egr_internal_vid;
    const TSR_SHIM4_RSLT_T &s4 = rslt.shim4Rslt;
    shim->trill_da = s4.trill_dbridge_id;
    shim->trill_term = s4.trill_termination;
    shim->ipv4_dont_frag = s4.ipv4_df;
    shim->w4_13_0 = s4.ip_length;
    const TSR_SHIM5_RSLT_T &s5 = rslt.shim5Rslt;
    shim->rcv_trill_option = s5.rcv_trill_option;
    shim->rcv_trill = s5.rcv_trill;
    shim->rcv_outer_tagged = s5.rcv_outer_tagged;
    shim->rcv_inner_tagged = s5.rcv_inner_tagged;
    shim->vpn_id = s5.vpn_id;
    shim->w5_7_0 = s5.shim_crc_o_time_stamp;

#define SHIM(word, hi, lo, name) shim->name = bits(shim->name, (hi) - (lo), 0);
#include "tsr_shim.def"
#undef SHIM
}

static void fillBpShim(const CmRteRslt &rslt, bp_shim_t *bp_shim) {
    const TSR_HSI_SHIM0_RSLT_T &h0 = rslt.hsiShim0Rslt;
    bp_shim->rslt_typ = bits(h0.rslt_typ, 1, 0);
    bp_shim->l2_egr_da_vid_idx = bits(h0.l2_egr_da_vid_idx, 16, 0);
    bp_shim->trap_queue = bits(h0.trap_que, 3, 0);
    bp_shim->trap_rsn = bits(h0.trap_rsn, 5, 0);
    const TSR_HSI_SHIM1_RSLT_T &h1 = rslt.hsiShim1Rslt;
    bp_shim->fcoe_sa_idx = bits(h1.fcoe_sa_idx, 7, 0);
    bp_shim->acl_log = bits(h1.acl_log, 0, 0);
    bp_shim->rcv_pri = bits(h1.rcv_prio, 2, 0);
    bp_shim->sflw = bits(h1.sflw, 0, 0);
    bp_shim->i_span = bits(h1.i_span, 0, 0);
    bp_shim->i_span_q = bits(h1.i_span_que, 2, 0);
    bp_shim->r_span = bits(h1.r_span, 0, 0);
    bp_shim->r_span_q = bits(h1.r_span_que, 2, 0);
}

int rte_ingress_proc(uint8_t *frm, uint32_t pkt_len, uint32_t port, shim_t *shim, bp_shim_t *bp_shim, const tsr_dmp_t *,
                     int verbose) {
    CmRteRslt rslt{};
    CmRteMacInf macInf{};
    macInf.seqNumVld = 0;
    macInf.seqNum = 1;
    macInf.isPauseFrm = 0;
    macInf.isCrcBadFrm = 0;
    CmRteProc(port, rte_mem, &macInf, pkt_len, frm, &rslt, verbose);
    if (rslt.dropRsnRslt != kNoRsn) {
        std::printf("Pkt dropped by RTE, reason code: %d\n", static_cast<int>(rslt.dropRsnRslt));
        std::printf("\t%s\n", rslt.dropRsnRslt < kRteRsnCnt ? rte_rsn_str[rslt.dropRsnRslt] : "(no text)");
        return 1;
    }
    fillShim(rslt, shim);
    fillBpShim(rslt, bp_shim);
    return 0;
}
