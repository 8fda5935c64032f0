#pragma once
// The result stage (ROC): drop reasons and what other stages call of it.

#include "base/cmRte.h"

/// Drop reasons; the texts stand in rte_rsn_str at the same index. Some texts say that their number must not occur,
/// and the chip uses two of those all the same.
enum RTE_DRP_RSN : uint32_t {
    DRP_LU = 0,
    DRP_NOT_EN = 1,
    DRP_PAUSE = 2,
    DRP_L2_ALL_RB_DA = 3,
    DRP_L2_SA = 4,
    DRP_L2_TYP = 5,
    DRP_TRILL_MAC_CTL_DA = 6,
    DRP_TRILL_MAC_EXP = 7,
    DRP_TRILL_HDR = 8,
    DRP_TRILL_TTL = 9,
    DRP_TRILL_LOOP = 10,
    DRP_SRC = 11,
    DRP_EOF = 12,
    DRP_IP_HDR = 13,
    DRP_IP_TTL = 14,
    DRP_IP_DA_MCAST = 15,
    DRP_IP_SA_MCAST = 16,
    DRP_IP_PIM_HDR = 17,
    DRP_IPV4_CKSUM = 18,
    DRP_IPV4_IHL_GT5 = 19,
    DRP_IP_RTE_EN = 20,
    DRP_FCOE_HDR = 22,
    DRP_FCOE_TTL = 23,
    DRP_FCOE_RTE_EN = 24,
    DRP_TAIL = 25,
    DRP_LOCAL_MAC = 26,
    DRP_RED_TAIL = 27,
    DRP_TRILL_RPF = 28,
    DRP_BP_TAIL = 29,
    DRP_PERR = 30,
    DRP_IPV6_MLEN = 31,
    DRP_FWN_EN_ERR = 32,
    DRP_POL = 33,
    DRP_IP_RPF = 34,
};

inline constexpr uint32_t kRteRsnCnt = 35;

/// The text of each drop reason.
extern const char *const rte_rsn_str[kRteRsnCnt];

/// Runs the layer-2 filters of the result, then those of layer 3.
void LuRocPselFlt(CmRteStat *statPtr);
void LuL3PselFlt(CmRteStat *statPtr);

/// Chooses the frame's policer: `finalPolId` and `finalPolEn`.
void policerParams(CmRteStat *statPtr, CmRteRslt *rsltPtr);
/// Polices the frame by the model's fixed rule: drop precedence, code point and priority before the policer go in, the
/// final ones stand in the record.
void PolicerRun(CmRteStat *statPtr, CmRteRslt *rsltPtr, uint32_t dp, uint32_t dscp, uint32_t iwqos);

/// Tail drop by the ingress queues, and by the back-plane queues for a trapped copy.
void TailDrop(CmRteStat *statPtr, CmRteRslt *rsltPtr);
void BpTailDrop(CmRteStat *statPtr, CmRteRslt *rsltPtr);

/// Count the frame by its drop reason, and by its layer-3 multipath group.
void IncrDrpSts(CmRteStat *statPtr);
void IncrL3MpSts(CmRteStat *statPtr);

/// The final rule for special egids, on the composed result.
void checkFinalEgid(CmRteStat *statPtr, CmRteRslt *rsltPtr);
/// The TRILL hop count rule on the composed result.
void L2TrillTtlFlt(CmRteStat *statPtr, CmRteRslt *rsltPtr);

/// Frames until the next sFlow sample, about `tcnt`, and the next state of the pseudo-random sequence.
uint32_t CmGetSflwCntInit(uint32_t tcnt, uint32_t lfsr);
uint32_t CmRteLfsr(uint32_t v);

/// Prints one named value of a result block.
void Prt(const char *name, uint32_t value);
