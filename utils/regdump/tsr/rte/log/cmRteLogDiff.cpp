// Two results of one frame side by side.

#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "log/cmRteLog.h"

#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

/// The words behind the shim records.
struct ExtraWord {
    const char *name;
    uint32_t CmRteRslt::*word;
};
constexpr ExtraWord kExtraWords[] = {
    {"dropRsnRslt", &CmRteRslt::dropRsnRslt},
    {"macStsRslt", &CmRteRslt::macStsRslt},
    {"l2PselAclStsRslt", &CmRteRslt::l2PselAclStsRslt},
    {"l2PselMctidStsRslt", &CmRteRslt::l2PselMctidStsRslt},
    {"l2PselMpidStsRslt", &CmRteRslt::l2PselMpidStsRslt},
    {"l2PselLgidStsRslt", &CmRteRslt::l2PselLgidStsRslt},
    {"l3PselAclStsRslt", &CmRteRslt::l3PselAclStsRslt},
    {"l3PselMpidStsRslt", &CmRteRslt::l3PselMpidStsRslt},
    {"saLrnRslt", &CmRteRslt::saLrnRslt},
};

bool bothAre(const CmRteRslt &cm, const CmRteRslt &rtl, uint32_t rsltTyp) {
    return cm.hsiShim0Rslt.rslt_typ == rsltTyp && rtl.hsiShim0Rslt.rslt_typ == rsltTyp;
}

/// What a trap that came before classification leaves open.
void takeEarlyTrapFields(CmRteRslt &to, const CmRteRslt &from) {
    to.shim3Rslt.dscp = from.shim3Rslt.dscp;
    to.shim5Rslt.vpn_id = from.shim5Rslt.vpn_id;
    to.shim3Rslt.egr_internal_vid = from.shim3Rslt.egr_internal_vid;
    to.shim3Rslt.ing_vid_8_to_0 = from.shim3Rslt.ing_vid_8_to_0;
    to.shim0Rslt.ing_vid_12_to_9 = from.shim0Rslt.ing_vid_12_to_9;
    to.shim3Rslt.egr_iwqos = from.shim3Rslt.egr_iwqos;
    to.shim3Rslt.egr_cfi = from.shim3Rslt.egr_cfi;
    to.shim2Rslt.drop_prcd = from.shim2Rslt.drop_prcd;
    to.shim4Rslt.trill_termination = from.shim4Rslt.trill_termination;
    to.shim2Rslt.q_priority = from.shim2Rslt.q_priority;
}

/// What a trap leaves open of the way that the frame would have gone.
void takeTrapFields(CmRteRslt &to, const CmRteRslt &from) {
    to.shim3Rslt.egr_internal_vid = from.shim3Rslt.egr_internal_vid;
    to.shim4Rslt.ip_length = from.shim4Rslt.ip_length;
    to.shim2Rslt.trill_mc = from.shim2Rslt.trill_mc;
    to.shim3Rslt.dscp = from.shim3Rslt.dscp;
    to.hsiShim0Rslt.l2_egr_da_vid_idx = from.hsiShim0Rslt.l2_egr_da_vid_idx;
    to.hsiShim1Rslt.fcoe_sa_idx = from.hsiShim1Rslt.fcoe_sa_idx;
    to.shim1Rslt.ecn_o_mcast_type = from.shim1Rslt.ecn_o_mcast_type;
}

/// Replaces a dropped frame's result by the other one, but for what counts in a drop.
void takeDropFields(CmRteRslt &to, const CmRteRslt &from) {
    const CmRteRslt kept = to;
    to = from;
    for (const ExtraWord &extra : kExtraWords)
        to.*extra.word = kept.*extra.word;
    to.shim0Rslt.fseq_num_14_to_0 = kept.shim0Rslt.fseq_num_14_to_0;
    to.hsiShim1Rslt.i_span = kept.hsiShim1Rslt.i_span;
    to.hsiShim1Rslt.i_span_que = kept.hsiShim1Rslt.i_span_que;
    to.hsiShim1Rslt.r_span = kept.hsiShim1Rslt.r_span;
    to.hsiShim1Rslt.r_span_que = kept.hsiShim1Rslt.r_span_que;
    to.shim2Rslt.q_priority = kept.shim2Rslt.q_priority;
    to.shim0Rslt.routed = kept.shim0Rslt.routed;
}

/// A trapped frame goes to the processor, whatever its egress fields say.
void takeTrapEgress(CmRteRslt &to, const CmRteRslt &from) {
    if (to.shim2Rslt.is_mgid != from.shim2Rslt.is_mgid) {
        to.shim1Rslt.ecn_o_mcast_type = from.shim1Rslt.ecn_o_mcast_type;
        to.shim2Rslt.mgid_o_copy_id_o_qcn_control = from.shim2Rslt.mgid_o_copy_id_o_qcn_control;
    }
    to.shim1Rslt.egid = from.shim1Rslt.egid;
    to.shim2Rslt.is_mgid = from.shim2Rslt.is_mgid;
    to.shim4Rslt.ip_length = from.shim4Rslt.ip_length;
    to.shim2Rslt.trill_mc = from.shim2Rslt.trill_mc;
    to.shim3Rslt.egr_internal_vid = from.shim3Rslt.egr_internal_vid;
    to.hsiShim0Rslt.l2_egr_da_vid_idx = from.hsiShim0Rslt.l2_egr_da_vid_idx;
    to.hsiShim1Rslt.fcoe_sa_idx = from.hsiShim1Rslt.fcoe_sa_idx;
}

void prtTitle(const char *title) {
    std::printf("==================== %s ====================\n", title);
}

void prtField(const char *prefix, const char *name, uint32_t cm, uint32_t rtl) {
    std::printf("%s%-30s = 0x%08x / 0x%08x %s\n", prefix, name, cm, rtl, cm != rtl ? "<==" : "");
}

void prtTable(const char *prefix, const CmRteRslt &cm, const CmRteRslt &rtl) {
#define FLD(name) prtField(prefix, #name, cmWord.name, rtlWord.name);
#define RSLT_WORD(type, member, title, ...)                                                                            \
    {                                                                                                                  \
        const type &cmWord = cm.member, &rtlWord = rtl.member;                                                         \
        prtTitle(title);                                                                                               \
        __VA_ARGS__                                                                                                    \
    }
#include "base/cmRteRslt.def"
    prtTitle("Extra");
    for (const ExtraWord &extra : kExtraWords)
        prtField(prefix, extra.name, cm.*extra.word, rtl.*extra.word);
}

} // namespace

void CmRteLogDiffRslt(CmRteRslt *cmRsltPtr, CmRteRslt *rtlRsltPtr) {
    CmRteRslt &cm = *cmRsltPtr;

    CmRteRslt rtlCopy = *rtlRsltPtr;
    if (bothAre(cm, *rtlRsltPtr, RSLT_TRAP) &&
        isOneOf(rtlRsltPtr->hsiShim0Rslt.trap_rsn, {TRP_L2_HDR_VIO, TRP_TRILL_TTL, TRP_TRILL_RPF})) {
        takeEarlyTrapFields(rtlCopy, cm);
        rtlRsltPtr = &rtlCopy;
    }
    CmRteRslt &rtl = *rtlRsltPtr;

    if (bothAre(cm, rtl, RSLT_TRAP) && cm.shim0Rslt.routed == rtl.shim0Rslt.routed &&
        isOneOf(cm.hsiShim0Rslt.trap_rsn, {TRP_IP_HDR_VIO, TRP_IP_TTL, TRP_IP_DA_MCAST, TRP_IP_SA_MCAST, TRP_IP_PIM_HDR,
                                           TRP_IPV4_CKSUM, TRP_IPV4_IHL_GT5, TRP_IPV6_HBH, TRP_FCOE_HDR_VIO,
                                           TRP_FCOE_TTL, TRP_IP_PIM_NULL, TRP_IPV4_RTR_ALERT, TRP_IPV6_MLEN}))
        takeTrapFields(rtl, cm);

    if (cm.hsiShim0Rslt.rslt_typ != RSLT_DROP)
        cm.dropRsnRslt = kNoRsn;
    if (rtl.hsiShim0Rslt.rslt_typ != RSLT_DROP)
        rtl.dropRsnRslt = kNoRsn;

    if (bothAre(cm, rtl, RSLT_DROP))
        takeDropFields(cm, rtl);
    if (bothAre(cm, rtl, RSLT_TRAP))
        takeTrapEgress(cm, rtl);

    if (cm.hsiShim1Rslt.r_span == 0 && rtl.hsiShim1Rslt.r_span == 0)
        cm.hsiShim1Rslt.r_span_que = rtl.hsiShim1Rslt.r_span_que;
    if (cm.hsiShim1Rslt.i_span == 0 && rtl.hsiShim1Rslt.i_span == 0)
        cm.hsiShim1Rslt.i_span_que = rtl.hsiShim1Rslt.i_span_que;

    const bool differs = std::memcmp(&cm, &rtl, sizeof cm) != 0;
    std::printf("Found %s in cmRslt / dutRslt\n", differs ? "mismatch" : "match");
    prtTable(differs ? "ERR_RTE_RSLT: " : "", cm, rtl);
}
