// The result stage: resolves the layer-2 and the layer-3 result into one verdict and composes the frame's result.

#include "roc/cmRteRoc.h"

#include "base/cmOut.h"
#include "base/cmRteCnt.h"
#include "base/cmRteFrm.h"
#include "base/cmRteState.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "cmAssert.h"
#include "lue/cmRteLueLrn.h"
#include "tbl/tsr_tbl.h"

namespace {

constexpr uint32_t kLfsrSeed = 512;
constexpr uint32_t kClassTrapQue = 14;
constexpr uint32_t kMaxIpLength = 16383;

/// Which side decides, group by group: 1 for layer 3.
struct WinFlags {
    uint32_t l3SpanWin;
    uint32_t l3PrioWin;
    uint32_t l3PolWin;
    uint32_t l3GidWin;
    uint32_t l3TrapEnWin;
    uint32_t l3DscpWin;
    uint32_t l3AclLogWin;
    uint32_t l3BypassEaclWin;
    uint32_t l3AclSflowWin;
};

/// Adds one to a 40-bit counter that two registers hold.
void countInRegs(uint32_t &upper, uint32_t &lower) {
    uint32_t words[2] = {upper, lower};
    IncrSts(words, kFrmCntMsk, 1);
    upper = words[0];
    lower = words[1];
}

void ingressSpan(CmRteStat *statPtr) {
    if (statPtr->l2PselRsltTyp == RSLT_DROP && statPtr->l2PselDropRsn == DRP_PAUSE) {
        statPtr->ispan = 0;
        statPtr->ispan_que = 0;
        return;
    }
    statPtr->ispan = statPtr->portRegPtr->rte_prc_i_span_en;
    statPtr->ispan_que = statPtr->portRegPtr->i_span_id;
}

/// Samples every so many frames of the port.
void portSflow(CmRteStat *statPtr) {
    CmRteHsiPortReg *portReg = statPtr->portRegPtr;
    const uint32_t tcnt = portReg->rte_prc_port_sflw_tcnt;
    if (tcnt == 0)
        return;
    int32_t &state = cmState().sflow_lfsr[statPtr->ingPhyPort];
    uint32_t lfsr = static_cast<uint32_t>(state);
    uint32_t &cnt = portReg->rte_prc_port_sflw_cnt;
    CM_TRACE(2, "PORT_SFLOW:BEFORE: tcnt=0x%x cnt=0x%x lfsr=0x%x\n", tcnt, cnt, lfsr);
    if (statPtr->frmIdx == 0) {
        cnt = CmGetSflwCntInit(tcnt, lfsr);
        state = kLfsrSeed;
        lfsr = kLfsrSeed;
    }
    if (cnt == 1) {
        statPtr->sflw = 1;
        cnt = CmGetSflwCntInit(tcnt, lfsr);
        state = static_cast<int32_t>(portReg->rte_prc_port_sflw_lfsr_dis == 1 ? kLfsrSeed : CmRteLfsr(lfsr));
    } else {
        cnt--;
    }
    CM_TRACE(2, "PORT_SFLOW:AFTER: tcnt=0x%x cnt=0x%x lfsr=0x%x\n", tcnt, cnt, lfsr);
}

WinFlags resolveWins(CmRteStat *statPtr) {
    WinFlags win{};
    if (statPtr->l3RteRqd) {
        win = {1, 1, 1, !statPtr->l3PselEgidPth, 1, 1, 1, 1, 1};
    } else if (statPtr->l3AclEn) {
        const bool err = statPtr->l3ErrWin;
        win.l3SpanWin = err || statPtr->l3PselSpanL3Ovrd;
        win.l3PrioWin = err || (statPtr->l3PselPrioL3Ovrd && !statPtr->l3PselRsltPthPrio);
        win.l3PolWin = err || statPtr->l3PselPolL3Ovrd;
        win.l3GidWin = err || (statPtr->l3PselGidL3Ovrd && !statPtr->l3PselAclEgidPth);
        win.l3TrapEnWin = err || statPtr->l3PselTrapL3Ovrd;
        win.l3DscpWin = err || statPtr->l3PselDscpL3Ovrd;
        win.l3AclLogWin = err || statPtr->l3PselAclLogL3Ovrd;
        win.l3BypassEaclWin = err || !statPtr->l3PrcErrDetected;
        win.l3AclSflowWin = err || !statPtr->l3PrcErrDetected;
    }
    statPtr->l3SpanWin = win.l3SpanWin;
    statPtr->l3PrioWin = win.l3PrioWin;
    statPtr->l3GidWin = win.l3GidWin;
    statPtr->l3PolWin = win.l3PolWin;
    statPtr->l3DscpWin = win.l3DscpWin;
    return win;
}

void traceWins(const CmRteStat *statPtr, const WinFlags &win) {
    CM_TRACE(1, "L2/L3 result resolution:\n");
    if (statPtr->dbgLvl <= 1)
        return;
    Prt("l3SpanWin", win.l3SpanWin);
    Prt("l3PrioWin", win.l3PrioWin);
    Prt("l3PolWin", win.l3PolWin);
    Prt("l3GidWin", win.l3GidWin);
    Prt("l3TrapEnWin", win.l3TrapEnWin);
    Prt("l3DscpWin", win.l3DscpWin);
    Prt("l3AclLogWin", win.l3AclLogWin);
    Prt("l3BypassEaclWin", win.l3BypassEaclWin);
    Prt("l3AclSflowWin", win.l3AclSflowWin);
}

/// A frame routed as multicast falls back to layer 2.
void fallBackToSwitched(CmRteStat *statPtr, uint32_t &routed) {
    if (routed == ROUTED_IPV4)
        routed = SWITCHED_IPV4;
    else if (routed == ROUTED_IPV6)
        routed = SWITCHED_IPV6;
    statPtr->l3EividDa = statPtr->iivid;
    statPtr->l3NxtHopL2DaIdx = 0;
    statPtr->l3NxtHopFcoeL2SaIdx = 0;
}

void composeRouted(CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    uint32_t &routed = rsltPtr->shim0Rslt.routed;
    const uint32_t trapRsn = statPtr->l3PrcTrapRsn;
    const uint32_t dropRsn = statPtr->l3PrcDropRsn;
    if (statPtr->l3RteRqd) {
        if (isIpv4(statPtr)) {
            routed = ROUTED_IPV4;
        } else if (isIpv6(statPtr)) {
            routed = ROUTED_IPV6;
        } else if (statPtr->l2PselFcoeVfRouted) {
            routed = ROUTED_FCOE_VF;
        } else if (statPtr->l2PselFcoeVeRouted) {
            routed = ROUTED_FCOE_VE;
        } else {
            cmPrintf("FATAL ERROR: L3RteRqd=1 but packet does not fall into any of IPv4, IPv6, FCoE VF, or FCoE VE "
                     "routed categories.");
            CM_ASSERT(false);
        }
    } else if (prcVerdict(statPtr) || trapRsn == TRP_IP_HDR_VIO || trapRsn == TRP_FCOE_HDR_VIO || dropRsn == DRP_EOF ||
               dropRsn == DRP_IP_HDR) {
        routed = SWITCHED_OTHER;
        CM_TRACE(1, "[ROC] Switched packet downgraded to \"other\" route type,");
    } else if (isIpv4(statPtr)) {
        routed = SWITCHED_IPV4;
    } else if (isIpv6(statPtr)) {
        routed = SWITCHED_IPV6;
    } else {
        routed = statPtr->l2FcoeFound ? SWITCHED_FCOE : SWITCHED_OTHER;
    }

    if (statPtr->l3IpDaIsMcast && statPtr->l3IpMcastDropOvrd)
        fallBackToSwitched(statPtr, routed);
    if (statPtr->l3McastRteRqd && !(statPtr->l3PselIsMgid && statPtr->l3PselMcastTyp == MCAST_L3)) {
        fallBackToSwitched(statPtr, routed);
        CM_TRACE(1,
                 "[ROC] IP MCast routed but l3_mgid not set. Routed type changed from routed to switched. "
                 "l3RteRqd=%x, l3McastRteRqd=%x\n",
                 statPtr->l3RteRqd, statPtr->l3McastRteRqd);
    }
}

/// Verdict, trap queue and reason of the side that decides, joined by the other side's trap.
void composeVerdict(CmRteStat *statPtr, CmRteRslt *rsltPtr, const WinFlags &win) {
    TSR_HSI_SHIM0_RSLT_T &hsi = rsltPtr->hsiShim0Rslt;
    if (win.l3GidWin) {
        hsi.rslt_typ = statPtr->l3PselRsltTyp;
        hsi.trap_que = statPtr->l3PselTrapQue;
        hsi.trap_rsn = statPtr->l3PselTrapRsn;
        if (!win.l3TrapEnWin && isTrap(statPtr->l2PselRsltTyp) && hsi.rslt_typ == RSLT_FWD) {
            hsi.rslt_typ = RSLT_FWD_A_TRAP;
            hsi.trap_que = statPtr->l2PselTrapQue;
            hsi.trap_rsn = statPtr->l2PselTrapRsn;
            CM_TRACE(1, "[ROC] l3TrapEnWin=0 l3GidWin=1 is picking trap from L2, trap_rsn=%d\n",
                     static_cast<int>(hsi.trap_rsn));
        }
        return;
    }
    hsi.rslt_typ = statPtr->l2PselRsltTyp;
    hsi.trap_que = statPtr->l2PselTrapQue;
    hsi.trap_rsn = statPtr->l2PselTrapRsn;
    const bool ctrlTrap = statPtr->l3CtrlTrap || statPtr->l3CtrlTrapFwd;
    if (win.l3TrapEnWin && hsi.rslt_typ == RSLT_FWD && ((statPtr->l3CtrlFwd && statPtr->l3AclTrapEn) || ctrlTrap)) {
        hsi.rslt_typ = RSLT_FWD_A_TRAP;
        hsi.trap_que = ctrlTrap ? statPtr->l3PselTrapQue : statPtr->l3AclTrapQue;
        hsi.trap_rsn = ctrlTrap ? statPtr->l3PselTrapRsn : statPtr->l3AclTrapRsn;
        CM_TRACE(1, "[ROC] l3TrapEnWin=1 l3GidWin=0 is picking trap from L3, trap_rsn=%d\n",
                 static_cast<int>(hsi.trap_rsn));
    }
}

/// ICMP, ACL drop and RPF change the verdict; the first that applies wins.
void overrideVerdict(CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    TSR_HSI_SHIM0_RSLT_T &hsi = rsltPtr->hsiShim0Rslt;
    const uint32_t egid = rsltPtr->shim1Rslt.egid;
    const bool isMgid = rsltPtr->shim2Rslt.is_mgid;

    if (!isFwd(hsi.rslt_typ)) {
        if (statPtr->l3IcmpUnreach) {
            hsi.rslt_typ = RSLT_TRAP;
            hsi.trap_rsn = TRP_ICMP_UNREACH;
            hsi.trap_que = comReg->rte_l3_ip_icmp_unrech_trap_que;
            statPtr->l3PselDropRsn = kNoRsn;
        }
    } else if (!isMgid && egid == gidOfEgid(comReg->rte_acl_drop_egid)) {
        hsi.rslt_typ = RSLT_DROP;
        statPtr->dropRsn = kNoRsn;
    } else if (statPtr->l3IpRpfErr) {
        if (statPtr->portRegPtr->rte_prc_trap_l3_rpf_err) {
            hsi.rslt_typ = RSLT_TRAP;
            hsi.trap_rsn = TRP_IP_RPF;
            hsi.trap_que = comReg->rte_l3_ip_rpf_err_trap_que;
        } else {
            hsi.rslt_typ = RSLT_DROP;
            statPtr->l3PselDropRsn = DRP_IP_RPF;
        }
        if (statPtr->l2PselSaLrnEn)
            statPtr->l2PselSaLrnEn = statPtr->portRegPtr->rte_prc_l3_rpf_err_lrn_en;
    } else if (statPtr->l3IcmpRedirect) {
        hsi.rslt_typ = RSLT_FWD_A_TRAP;
        hsi.trap_rsn = TRP_ICMP_REDIRECT;
        hsi.trap_que = comReg->rte_l3_ip_icmp_redirect_trap_que;
        statPtr->l3PselDropRsn = kNoRsn;
        if (!isMgid && !isPlainEgid(egid)) {
            hsi.rslt_typ = RSLT_TRAP;
            CM_TRACE(1, "[ROC] special egid check. rslt_typ made TRAP egid=0x%x\n", egid);
        }
    }
}

/// The egid side band: ECN of a unicast frame, kind of a multicast one.
uint32_t ecnOrMcastTyp(const CmRteStat *statPtr, const CmRteRslt *rsltPtr) {
    if (!rsltPtr->shim2Rslt.is_mgid) {
        if (rsltPtr->shim0Rslt.routed == SWITCHED_OTHER)
            return 0;
        return statPtr->l3GidWin ? statPtr->l3PselEgrIpEcn : statPtr->l2PselEgrIpEcn;
    }
    if (statPtr->l3GidWin)
        return statPtr->l3PselMcastTyp;
    const uint64_t da = statPtr->l2TrillFound ? statPtr->l2TrillInnerDa : statPtr->l2OuterDa;
    if (da == 0xffffffffffffull)
        return MCAST_BCAST;
    if (!statPtr->l2PselUcastFlooded)
        return MCAST_L2;
    return da >> 40 & 1 ? MCAST_L2 : MCAST_UCAST_FLOOD;
}

/// Multicast group, or the ingress group id that the egress side filters by.
uint32_t mgidOrCopyId(const CmRteStat *statPtr, const CmRteRslt *rsltPtr) {
    if (rsltPtr->shim2Rslt.is_mgid)
        return statPtr->l3GidWin ? statPtr->l3PselEgidMgid : statPtr->l2PselEgidMgid;
    if (statPtr->l2RcvQcn || !isFwd(rsltPtr->hsiShim0Rslt.rslt_typ))
        return 0;
    if (statPtr->l2TrillFound && (statPtr->l2TrillMc || !isFwd(statPtr->l2ExmSaRsltTyp)))
        return 0;
    return 1u << 16 | statPtr->portRegPtr->rte_prc_igid;
}

uint32_t ipLength(const CmRteStat *statPtr, uint32_t routed) {
    const uint32_t tlen = statPtr->l3IpTlen;
    switch (routed) {
    case ROUTED_IPV4:
    case SWITCHED_IPV4:
        return bits(tlen, 15, 14) ? kMaxIpLength : tlen;
    case ROUTED_IPV6:
    case SWITCHED_IPV6:
        return bits(tlen, 15, 14) && bits(tlen - 40, 15, 14) ? kMaxIpLength : tlen & 0x3fff;
    case ROUTED_FCOE_VF:
    case ROUTED_FCOE_VE:
    case SWITCHED_FCOE: {
        const uint32_t vsanOut = statPtr->l3RteRqd ? statPtr->l3NxtHopFcoeVsanTagged : statPtr->l2FcoeFcVfidVld;
        return (statPtr->l2FcoeFcVfidVld & 1) << 13 | (vsanOut & 1) << 12 | bits(statPtr->l2FcoeClsVfid, 11, 0);
    }
    default:
        return 0;
    }
}

void composeAclLog(CmRteStat *statPtr, CmRteRslt *rsltPtr, const WinFlags &win) {
    uint32_t &acl_log = rsltPtr->hsiShim1Rslt.acl_log;
    const uint32_t rslt_typ = rsltPtr->hsiShim0Rslt.rslt_typ;
    acl_log = win.l3AclLogWin ? statPtr->l3PselAclLog : statPtr->l2PselAclLog;
    if (acl_log && !isFwd(rslt_typ)) {
        acl_log = 0;
        CM_TRACE(1, "[ROC] turning off acl_log since result is not forward %d\n", static_cast<int>(rslt_typ));
    }
    if (acl_log && statPtr->extCfgPtr->mspanFul) {
        acl_log = 0;
        countInRegs(statPtr->portRegPtr->rte_prc_acl_log_drp_cnt_0, statPtr->portRegPtr->rte_prc_acl_log_drp_cnt_1);
        CM_TRACE(1, "[ROC] mspanFul=1 ==> acl_log set to 0\n");
    }
}

/// Clears the hit flag `idx` of the ACL's sFlow memory on a hit and sets it when asked to, so that set beats clear.
void aclSflowFlag(CmRteHsiMem *mem, uint32_t idx, uint32_t hit, uint32_t set) {
    if (hit || set)
        setFlagIn<&SflowSts::flag>(mem->RTE_ACL_STS_SFLOW_RA, idx, set != 0);
}

void composeSflow(CmRteStat *statPtr, CmRteRslt *rsltPtr, const WinFlags &win) {
    if (statPtr->sflw == 0)
        statPtr->sflw = win.l3AclSflowWin ? statPtr->l3AclSflwHit : statPtr->l2AclSflwHit;
    aclSflowFlag(statPtr->memPtr, statPtr->l3PselStsSflowHitIdx, statPtr->l3AclSflwHit, statPtr->l3PselSflowFlagSet);
    aclSflowFlag(statPtr->memPtr, statPtr->l2PselStsSflowHitIdx, statPtr->l2AclSflwHit, statPtr->l2PselSflowFlagSet);

    rsltPtr->hsiShim1Rslt.rcv_prio = rsltPtr->shim2Rslt.q_priority;
    if (isFwd(rsltPtr->hsiShim0Rslt.rslt_typ)) {
        rsltPtr->hsiShim1Rslt.sflw = statPtr->sflw;
    } else {
        rsltPtr->hsiShim1Rslt.sflw = 0;
        CM_TRACE(1, "Sflow killed due to non forwarding result\n");
    }
}

/// Whether span queue `que` is full.
bool spanQueFull(const CmRteStat *statPtr, uint32_t que) {
    return bit(statPtr->extCfgPtr->spanFul, que % 64);
}

void countSpanLoss(CmRteStat *statPtr, uint32_t que) {
    countIn<&DrpSpanqFrmCnt::frm_cnt>(statPtr->memPtr->RTE_DRP_SPAN_STS_FCNT_RA,
                                      uint64_t{statPtr->ingPhyPort} * 8 + que, 1);
}

void composeSpan(CmRteStat *statPtr, CmRteRslt *rsltPtr, const WinFlags &win) {
    TSR_HSI_SHIM1_RSLT_T &hsi = rsltPtr->hsiShim1Rslt;
    hsi.i_span = statPtr->ispan;
    hsi.i_span_que = statPtr->ispan_que;
    hsi.r_span = win.l3SpanWin ? statPtr->l3PselSpanEn : statPtr->l2PselSpan;
    hsi.r_span_que = win.l3SpanWin ? statPtr->l3PselSpanId : statPtr->l2PselSpanId;

    bool iSpanCounted = false;
    if (hsi.i_span && spanQueFull(statPtr, hsi.i_span_que)) {
        hsi.i_span = 0;
        countSpanLoss(statPtr, hsi.i_span_que);
        iSpanCounted = true;
    }
    // Two copies to one queue are never made.
    if (hsi.i_span && hsi.i_span_que == hsi.r_span_que)
        hsi.r_span = 0;
    if (hsi.r_span && spanQueFull(statPtr, hsi.r_span_que)) {
        hsi.r_span = 0;
        if (!iSpanCounted || hsi.i_span_que != hsi.r_span_que)
            countSpanLoss(statPtr, hsi.r_span_que);
    }
}

void pathStatistics(CmRteStat *statPtr) {
    if (statPtr->l3GidWin) {
        if (statPtr->l3PselMctIdStsEn)
            MctMpSts(statPtr->l3PselMctIdSts, statPtr);
        if (statPtr->l3PselMpIdStsEn)
            L2MpidSts(statPtr->l3PselMpIdSts, statPtr);
        if (statPtr->l3PselLgIdStsEn)
            LagSts(statPtr->l3PselLgIdSts, statPtr);
        return;
    }
    if (statPtr->l2PselMctIdStsEn)
        MctMpSts(statPtr->l2PselMctIdSts, statPtr);
    if (statPtr->l2PselMpIdStsEn)
        L2MpidSts(statPtr->l2PselMpIdSts, statPtr);
    if (statPtr->l2PselLgIdStsEn)
        LagSts(statPtr->l2PselLgIdSts, statPtr);
}

void traceResult(const CmRteStat *statPtr, const CmRteRslt *rsltPtr) {
    CM_TRACE(1, "ROC final results:\n");
    if (statPtr->dbgLvl <= 1)
        return;
#define FLD(name) Prt(#name, word.name);
#define RSLT_WORD(type, member, title, ...)                                                                            \
    {                                                                                                                  \
        const type &word = rsltPtr->member;                                                                            \
        CM_TRACE_RAW(1, "==================== " title " ====================\n");                                      \
        __VA_ARGS__                                                                                                    \
        CM_TRACE_RAW(1, "\n");                                                                                         \
    }
#include "base/cmRteRslt.def"
}

/// What goes into the policer: drop precedence, code point and priority of the sides that decide.
struct PrePol {
    uint32_t dp;
    uint32_t dscp;
    uint32_t iwqos;
};

PrePol beforePolicer(const CmRteStat *statPtr, const WinFlags &win) {
    PrePol prePol;
    prePol.dp = win.l3DscpWin ? statPtr->l3PselDropPrcd : statPtr->l2PselDropPrcd;
    prePol.dscp = statPtr->IpDscpForPsel;
    if (!win.l3DscpWin && statPtr->l2PselDscpEn)
        prePol.dscp = statPtr->l2PselDscp;
    else if (win.l3DscpWin && statPtr->l3PselDscpEn)
        prePol.dscp = statPtr->l3PselDscp;
    prePol.iwqos = win.l3PrioWin ? statPtr->l3PselL2EgrPrio : statPtr->l2PselIngPrio;
    return prePol;
}

void clearUnforwardedFc(CmRteStat *statPtr) {
    if (isFwd(statPtr->l3PselRsltTyp))
        return;
    statPtr->l3PselEgrLclFc = 0;
    statPtr->l3PselEgrFnlFc = 0;
    statPtr->l3PselEgrMhop = 0;
}

/// What the frame is and the group that it goes to.
void composeKindAndGroup(CmRteStat *statPtr, CmRteRslt *rsltPtr, const WinFlags &win) {
    TSR_SHIM0_RSLT_T &shim0 = rsltPtr->shim0Rslt;
    shim0.ing_vid_12_to_9 = bits(statPtr->iivid, 12, 9);
    shim0.pim_decap = win.l3GidWin && !statPtr->l3AclAppl ? statPtr->l3IpMcastRegEncap : 0;
    shim0.rcv_snap_llc = statPtr->l2SnapEnc;
    shim0.lossless_timeout = statPtr->l2FcoeFcClassF || statPtr->l2FcoeFcClass2;
    composeRouted(statPtr, rsltPtr);

    shim0.fseq_num_14_to_0 = statPtr->l2Mtu;
    shim0.bypass_eacl = win.l3BypassEaclWin ? statPtr->l3PselBypassEacl : statPtr->l2PselBypassEacl;
    TSR_SHIM1_RSLT_T &shim1 = rsltPtr->shim1Rslt;
    shim1.egid = win.l3GidWin ? statPtr->l3PselEgidMgid : statPtr->l2PselEgidMgid;
    rsltPtr->shim2Rslt.is_mgid = win.l3GidWin ? statPtr->l3PselIsMgid : statPtr->l2PselIsL2Mgid;
    shim1.tag_checksum = statPtr->isCnTagged && !statPtr->l2OuterDaIsCtl;
    shim1.version = statPtr->comRegPtr->rte_shim_ver;
}

/// The last rules on the verdict, and what the frame teaches. A frame that the parser has condemned teaches nothing.
void checkAndLearn(CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    const bool l2PrcOk = !prcVerdict(statPtr);
    if (l2PrcOk) {
        const uint32_t egid = rsltPtr->shim1Rslt.egid;
        const uint32_t isMgid = rsltPtr->shim2Rslt.is_mgid;
        if (isMgid || isPlainEgid(egid))
            TrillTtlAndLrnEnCheck(statPtr, rsltPtr->hsiShim0Rslt.rslt_typ, egid, isMgid);
        L2TrillTtlFlt(statPtr, rsltPtr);
    }
    checkFinalEgid(statPtr, rsltPtr);
    if (l2PrcOk) {
        L2Lrn(statPtr);
        L2DaLrn(statPtr);
    }
}

/// Port, priority and drop precedence for the queues, and what the queues say to it.
void composeQueueing(CmRteStat *statPtr, CmRteRslt *rsltPtr, const WinFlags &win) {
    TSR_HSI_SHIM0_RSLT_T &hsi = rsltPtr->hsiShim0Rslt;
    TSR_SHIM2_RSLT_T &shim2 = rsltPtr->shim2Rslt;
    rsltPtr->shim1Rslt.egid = bits(rsltPtr->shim1Rslt.egid, 10, 0);
    shim2.rcv_s_tagged = statPtr->isSTagged;
    if (isTrap(hsi.rslt_typ) && (statPtr->l2FcoeFcClassF || statPtr->l2FcoeFcClass2))
        hsi.trap_que = kClassTrapQue;
    shim2.ing_port = statPtr->ingLgcPort;
    shim2.q_priority = statPtr->polQPrioEn ? statPtr->polQPrio
                       : win.l3PrioWin     ? statPtr->l3PselQmgPrio
                                           : statPtr->l2PselQmgPrio;
    if (statPtr->l2PrcDrop)
        shim2.q_priority = 0;
    shim2.drop_prcd = statPtr->finalDrpPrcd;
    shim2.mct_sbridge_vld = statPtr->l2PselMctSrbVld;
    TailDrop(statPtr, rsltPtr);

    rsltPtr->shim1Rslt.ecn_o_mcast_type = ecnOrMcastTyp(statPtr, rsltPtr);
    shim2.mgid_o_copy_id_o_qcn_control = mgidOrCopyId(statPtr, rsltPtr);
}

/// What the egress side rewrites the frame by.
void composeEgress(const CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    TSR_SHIM2_RSLT_T &shim2 = rsltPtr->shim2Rslt;
    TSR_SHIM3_RSLT_T &shim3 = rsltPtr->shim3Rslt;
    TSR_SHIM4_RSLT_T &shim4 = rsltPtr->shim4Rslt;
    shim3.ing_vid_8_to_0 = statPtr->iivid & 0x1ff;
    shim3.dscp = statPtr->finalDscp;
    shim3.egr_iwqos = prcVerdict(statPtr) ? 0 : statPtr->finalIwqos;
    shim3.egr_cfi = statPtr->l3RteRqd ? 0 : statPtr->ctagCfi;
    shim4.trill_termination = statPtr->l2TrillEgr;
    if (statPtr->l3GidWin) {
        shim3.egr_internal_vid = statPtr->l3AclAppl ? statPtr->iivid : statPtr->l3EividDa;
        shim4.trill_dbridge_id = statPtr->l3NxtHopTrillDa;
        shim4.ipv4_df = statPtr->l3Ipv4DntFrg;
        shim2.trill_mc = statPtr->l3NxtHopTrillMc;
    } else {
        shim3.egr_internal_vid = statPtr->iivid;
        shim4.trill_dbridge_id = statPtr->l2PselTrillDa;
        shim4.ipv4_df = 0;
        shim2.trill_mc = statPtr->l2PselTrillMc;
    }
    shim4.ip_length = ipLength(statPtr, rsltPtr->shim0Rslt.routed);

    TSR_SHIM5_RSLT_T &shim5 = rsltPtr->shim5Rslt;
    shim5.rcv_trill_option = statPtr->l2TrillRcvCustIdValid;
    shim5.rcv_trill = statPtr->l2TrillFound;
    shim5.rcv_outer_tagged = statPtr->isTrillPort ? statPtr->l2OuterVlanTagged : 0;
    shim5.rcv_inner_tagged = statPtr->isCTagged;
    shim5.vpn_id = statPtr->vpn_id;

    if (statPtr->l3GidWin && !statPtr->l3AclAppl) {
        rsltPtr->hsiShim0Rslt.l2_egr_da_vid_idx = statPtr->l3NxtHopL2DaIdx;
        rsltPtr->hsiShim1Rslt.fcoe_sa_idx = statPtr->l3NxtHopFcoeL2SaIdx;
    }
}

/// A full queue of the samples and the log takes no sample.
void dropSampleWhenFull(const CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    if ((rsltPtr->hsiShim1Rslt.sflw & statPtr->extCfgPtr->sflwAclFul) == 0)
        return;
    rsltPtr->hsiShim1Rslt.sflw = 0;
    countInRegs(statPtr->portRegPtr->rte_prc_sflw_drp_cnt_0, statPtr->portRegPtr->rte_prc_sflw_drp_cnt_1);
}

/// Composes the frame's result from what the lookups found.
void LuRoc(CmRteStat *statPtr) {
    CmRteRslt *rsltPtr = statPtr->rsltPtr;
    LuRocPselFlt(statPtr);
    const WinFlags win = resolveWins(statPtr);
    const PrePol prePol = beforePolicer(statPtr, win);
    traceWins(statPtr, win);
    clearUnforwardedFc(statPtr);

    composeKindAndGroup(statPtr, rsltPtr, win);
    composeVerdict(statPtr, rsltPtr, win);
    PolicerRun(statPtr, rsltPtr, prePol.dp, prePol.dscp, prePol.iwqos);
    overrideVerdict(statPtr, rsltPtr);
    checkAndLearn(statPtr, rsltPtr);
    composeQueueing(statPtr, rsltPtr, win);
    composeEgress(statPtr, rsltPtr);
    composeAclLog(statPtr, rsltPtr, win);
    composeSflow(statPtr, rsltPtr, win);
    composeSpan(statPtr, rsltPtr, win);
    dropSampleWhenFull(statPtr, rsltPtr);
    if (rsltPtr->hsiShim0Rslt.rslt_typ == RSLT_DROP)
        statPtr->dropRsn = win.l3GidWin ? statPtr->l3PselDropRsn : statPtr->l2PselDropRsn;
    pathStatistics(statPtr);
    traceResult(statPtr, rsltPtr);
}

} // namespace

void L2TrillTtlFlt(CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    TSR_HSI_SHIM0_RSLT_T &hsi = rsltPtr->hsiShim0Rslt;
    if (prcVerdict(statPtr) || !isFwd(hsi.rslt_typ) || !statPtr->l2PselTrillTtlErr)
        return;
    if (statPtr->l2PselTrapTrillTtlErr) {
        statPtr->l2PselIsL2Mgid = 0;
        statPtr->l2PselRsltTyp = RSLT_TRAP;
        hsi.rslt_typ = RSLT_TRAP;
        hsi.trap_rsn = TRP_TRILL_TTL;
        hsi.trap_que = statPtr->comRegPtr->rte_l2_trill_ttl_trap_que;
    } else if (statPtr->l2PselDropTrillTtlErr) {
        statPtr->l2PselRsltTyp = RSLT_DROP;
        statPtr->l2PselTrapQue = 0;
        statPtr->l2PselTrapRsn = kNoRsn;
        statPtr->l2PselIsL2Mgid = 0;
        statPtr->l2PselDropRsn = DRP_TRILL_TTL;
        statPtr->l3PselDropRsn = DRP_TRILL_TTL;
        hsi.rslt_typ = RSLT_DROP;
        hsi.trap_rsn = DRP_TRILL_TTL; // the chip writes the drop reason here
        hsi.trap_que = 0;
    }
}

void checkFinalEgid(CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    uint32_t &rslt_typ = rsltPtr->hsiShim0Rslt.rslt_typ;
    const uint32_t egid = rsltPtr->shim1Rslt.egid;
    const uint32_t low = egidOf(egid);
    uint32_t lrnClass = 0;

    auto setRslt = [&](uint32_t value) {
        rslt_typ = value;
        statPtr->l2PselRsltTyp = value;
    };
    auto dropWithoutReason = [&] {
        setRslt(RSLT_DROP);
        statPtr->dropRsn = kNoRsn;
        statPtr->l2PselDropRsn = kNoRsn;
        lrnClass = 3;
    };

    if (rsltPtr->shim2Rslt.is_mgid) {
        // A group has no special egid.
    } else if (isEgidForm(egid) && low == comReg->rte_acl_drop_egid) {
        dropWithoutReason();
        CM_TRACE(1, "final egid (0x%x) is acl_drop_egid. DROP\n", egid);
    } else if (isEgidFormAtEnd(egid) && low == comReg->rte_trap_egid) {
        if (rslt_typ == RSLT_FWD_A_TRAP) {
            setRslt(RSLT_TRAP);
            lrnClass = 1;
            CM_TRACE(1, "final egid (0x%x) is trap_egid. FWD_A_TRAP --> TRAP\n", egid);
        } else if (rslt_typ == RSLT_FWD) {
            setRslt(RSLT_DROP);
            lrnClass = 1;
            CM_TRACE(1, "final egid (0x%x) is trap_egid. FWD-->DROP\n", egid);
        }
    } else if (isEgidFormAtEnd(egid) && (low == comReg->rte_pth_egid || low == comReg->rte_drop_egid)) {
        if (rslt_typ == RSLT_FWD_A_TRAP) {
            setRslt(RSLT_TRAP);
            lrnClass = 2;
            CM_TRACE(1, "final egid (0x%x) is either pass_egid or drop_egid. FWD_TRAP --> TRAP\n", egid);
        } else if (rslt_typ == RSLT_FWD) {
            dropWithoutReason();
            CM_TRACE(1, "final egid (0x%x) is either pass_egid or drop_egid. DROP\n", egid);
        }
    } else if (!isPlainEgid(egid)) {
        if (rslt_typ == RSLT_FWD_A_TRAP) {
            setRslt(RSLT_TRAP);
            lrnClass = 2;
            CM_TRACE(1, "final egid (0x%x) has bits [16:14]!=0. FWD_A_TRAP --> TRAP\n", egid);
        } else if (rslt_typ == RSLT_FWD) {
            dropWithoutReason();
            CM_TRACE(1, "final egid (0x%x) has bits [16:14]!=0. DROP\n", egid);
        }
    }

    // The classes use the other side's enables on purpose: 1 holds a forward turned drop, 2 a trap.
    if (!statPtr->l2PselSaLrnEn || lrnClass == 0)
        return;
    statPtr->l2PselSaLrnEn = lrnClass == 1 ? comReg->rte_l2_sa_lrn_trapped_en : comReg->rte_l2_sa_lrn_dropped_en;
    statPtr->l2PselDaLrnEn = lrnClass == 1 ? comReg->rte_l2_da_lrn_trapped_en : comReg->rte_l2_da_lrn_dropped_en;
    CM_TRACE(1, "[ROC] final Egid check results in %s. l2PselSaLrnEn set to %u\n", lrnClass == 1 ? "TRAP" : "DROP",
             statPtr->l2PselSaLrnEn);
}

void CmRteRoc(CmRteStat *statPtr) {
    CmRteRslt *rsltPtr = statPtr->rsltPtr;
    ingressSpan(statPtr);
    portSflow(statPtr);
    *rsltPtr = {};

    LuRoc(statPtr);
    IncrDrpSts(statPtr);
    IncrL3MpSts(statPtr);

    rsltPtr->dropRsnRslt = statPtr->dropRsn;
    rsltPtr->macStsRslt = statPtr->mac_sts_hit;
    rsltPtr->l2PselAclStsRslt = statPtr->l2psel_acl_sts_hit;
    rsltPtr->l2PselMctidStsRslt = statPtr->l2psel_mctid_sts_hit;
    rsltPtr->l2PselMpidStsRslt = statPtr->l2psel_mpid_sts_hit;
    rsltPtr->l2PselLgidStsRslt = statPtr->l2psel_lgid_sts_hit;
    rsltPtr->l3PselAclStsRslt = statPtr->l3psel_acl_sts_hit;
    rsltPtr->l3PselMpidStsRslt = statPtr->l3psel_mpid_sts_hit;
    rsltPtr->saLrnRslt = statPtr->l2LrnRqd;

    // A dropped or trapped frame carries its own limit in place of the MTU.
    if (!isFwd(rsltPtr->hsiShim0Rslt.rslt_typ))
        rsltPtr->shim0Rslt.fseq_num_14_to_0 = statPtr->comRegPtr->rte_trap_drop_mru;
#define RSLT_WORD(type, member, title, ...) statPtr->member = rsltPtr->member;
#include "base/cmRteRslt.def"
}
