// Layer-3 path selection: ACL, control classification and next hop in one fixed order, merged into one result.

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"
#include "lue/cmRteLueL3.h"
#include "tae/cmTae.h"
#include "tbl/tsr_tbl.h"

#include <bit>

namespace {

constexpr uint32_t kMaxKeyWords = 16;
constexpr uint32_t kFlexKeys = 4;
constexpr uint32_t kFlexKeyWords = 8;

void clearPselForSkip(CmRteStat *statPtr) {
    statPtr->l3PselL2EgrPrio = 0;
    statPtr->l3PselIpTlen = 0;
    statPtr->l3PselQmgPrio = 0;
    statPtr->l3PselIsMgid = 0;
    statPtr->l3PselMcastTyp = MCAST_UCAST_FLOOD;
}

/// An earlier verdict ends the path selection. Returns whether one did.
bool skipForEarlierVerdict(CmRteStat *statPtr) {
    if (statPtr->l3IpTrapVld || statPtr->l3IpDropRsn != kNoRsn) {
        statPtr->l3PselRsltTyp = statPtr->l3IpTrapVld ? RSLT_TRAP : RSLT_DROP;
        clearPselForSkip(statPtr);
        statPtr->l3PselTrapQue = statPtr->l3IpTrapQue;
        statPtr->l3PselTrapRsn = statPtr->l3IpTrapRsn;
        statPtr->l3PselDropRsn = statPtr->l3IpDropRsn;
        statPtr->l3PselDropTrapSkip = 1;
        CM_TRACE(1, "Skip [L3Psel] due to IP trap (rsn=%d) or drop (rsn=%d).\n", static_cast<int>(statPtr->l3IpTrapRsn),
                 static_cast<int>(statPtr->l3IpDropRsn));
        return true;
    }
    if (statPtr->l3PrcDropRsn == DRP_NOT_EN) {
        statPtr->l3PselRsltTyp = RSLT_DROP;
        clearPselForSkip(statPtr);
        statPtr->l3PselTrapQue = statPtr->l3PrcTrapQue;
        statPtr->l3PselTrapRsn = statPtr->l3PrcTrapRsn;
        statPtr->l3PselDropRsn = statPtr->l3PrcDropRsn;
        statPtr->l2FcoeLuVsanTagged = 0;
        statPtr->l2FcoeClsVfid = 0;
        statPtr->l3PselDropTrapSkip = 1;
        CM_TRACE(1, "Skip [L3Psel] due to PRC not_enable drop.\n");
        return true;
    }
    return false;
}

/// Unpacks the merged ACL result into the record and takes its trap and its drop indices.
void L3AclDaRslt(CmRteStat *statPtr, const L3PselRslt *rsltPtr, uint32_t trapRsn, uint32_t mcastDropOvrd) {
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    statPtr->l3PselRsltPthPrio = rsltPtr->prio_pth;
    if (rsltPtr->dscp_en) {
        statPtr->l3PselDscpEn = 1;
        statPtr->l3PselDscp = rsltPtr->dscp;
        statPtr->l3PselDropPrcd = rsltPtr->drop_prcd;
    } else {
        statPtr->l3PselDropPrcd = statPtr->igPriMapDrpPrcd;
    }
    statPtr->l3PselDscpL3Ovrd = rsltPtr->l3_dscp_override;
    statPtr->l3PselBypassEacl = rsltPtr->bypass_eacl;
    statPtr->l3PselAclLogL3Ovrd = rsltPtr->l3_acl_log_override;
    statPtr->l3PselPolL3Ovrd = rsltPtr->l3_pol_override;
    statPtr->l3PselSflowProfile = rsltPtr->sflow_profile;
    statPtr->l3PselStsSflowEn = rsltPtr->sts_sflow_en;
    statPtr->l3PselStsSflowIdx = rsltPtr->sts_sflow_idx;
    statPtr->l3PselPolEn = rsltPtr->pol_en;
    statPtr->l3PselPolId = rsltPtr->pol_id;
    statPtr->l3AclTrapEn = rsltPtr->trap_en && rsltPtr->l3_trap_en_override;
    statPtr->l3AclTrapRsn = trapRsn;
    statPtr->l3AclTrapQue = rsltPtr->trap_que;
    if (rsltPtr->span_en) {
        statPtr->l3PselSpanEn = 1;
        statPtr->l3PselSpanId = rsltPtr->span_id;
    }
    statPtr->l3PselAclLog = rsltPtr->acl_log;
    statPtr->l3PselGidL3Ovrd = rsltPtr->l3_fwd_override;
    statPtr->l3PselPrioL3Ovrd = rsltPtr->l3_prio_override;
    statPtr->l3PselSpanL3Ovrd = rsltPtr->l3_span_override;
    statPtr->l3PselNextHopRsltIdx = rsltPtr->nxt_hop_rslt_idx;
    statPtr->l3PselSflowEn = rsltPtr->sflow_en;
    statPtr->l3PselQmgPrio = rsltPtr->qmg_prio;
    statPtr->l3PselL2EgrPrio = rsltPtr->l2_egr_prio;
    statPtr->l3IpMcastDropOvrd = mcastDropOvrd;

    if (rsltPtr->trap_en) {
        const bool mcastPth = statPtr->l3RteRqd == 1 && statPtr->l3IpDaIsMcast == 1 &&
                              statPtr->l3PselNextHopRsltIdx == comReg->rte_l3_passthru &&
                              statPtr->l3FwdNextHopRsltIdx == comReg->rte_l3_passthru;
        if (rsltPtr->l3_trap_en_override || (statPtr->l3RteRqd && !mcastPth)) {
            statPtr->l3PselTrapEn = 1;
            statPtr->l3PselTrapQue = rsltPtr->trap_que;
            statPtr->l3PselTrapRsn = trapRsn;
            statPtr->l3PselTrapL3Ovrd = rsltPtr->l3_trap_en_override;
        }
    }

    if (!statPtr->l3RteRqd && !(statPtr->l3AclAppl && rsltPtr->l3_fwd_override))
        return;
    const uint32_t idx = statPtr->l3PselNextHopRsltIdx;
    if (idx == comReg->rte_l3_acl_drop) {
        statPtr->l3PselAclDrop = 1;
        CM_TRACE(1, "L3 ACL drop, next_hop_idx=%x\n", idx);
    }
    if (idx == comReg->rte_l3_drop) {
        statPtr->l3PselDropEn = 1;
        CM_TRACE(1, "L3 drop, acl_next_hop_idx==rte_l3_drop (%x)\n", idx);
    }
}

/// The pass-through index gives way to the longest-prefix result, or to layer 2.
void L3AclPth(CmRteStat *statPtr) {
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    if (statPtr->l3CtrlTrap || statPtr->l3CtrlDrop) {
        CM_TRACE(1, "No LPM passthrough in case of L3 control trap (%d) or drop (%d)\n",
                 static_cast<int>(statPtr->l3CtrlTrap), static_cast<int>(statPtr->l3CtrlDrop));
        return;
    }
    if (statPtr->l3PselNextHopRsltIdx != comReg->rte_l3_passthru)
        return;

    if (!statPtr->l3RteRqd) {
        if (statPtr->l3AclAppl && statPtr->l3PselGidL3Ovrd) {
            statPtr->l3PselAclEgidPth = 1;
            CM_TRACE(1, "L3 ACL Gid passthrough detected, next_hop_idx=%x\n", statPtr->l3PselNextHopRsltIdx);
        }
        return;
    }

    CM_TRACE(1, "L3 Gid passthrough, next_hop_idx %x changed to %x from L3 LPM\n", statPtr->l3PselNextHopRsltIdx,
             statPtr->l3FwdNextHopRsltIdx);
    statPtr->l3PselNextHopRsltIdx = statPtr->l3FwdNextHopRsltIdx;
    statPtr->l3PselAclEgidPth = 1;
    const uint32_t idx = statPtr->l3PselNextHopRsltIdx;
    if (idx == comReg->rte_l3_acl_drop) {
        statPtr->l3PselAclDrop = 1;
    } else if (idx == comReg->rte_l3_drop) {
        statPtr->l3PselDropEn = 1;
        CM_TRACE(1, "L3 drop, lpm_next_hop_idx==rte_l3_drop (%x)\n", idx);
    } else if (idx == comReg->rte_l3_passthru && isIp(statPtr)) {
        if (statPtr->l3IpDaIsMcast) {
            statPtr->l3PselEgidPth = 1;
            CM_TRACE(1, "L3 Gid passthrough, allow IP mcast to fall back to L2\n");
        } else {
            statPtr->l3PselDropEn = 1;
            CM_TRACE(1, "L3 Gid passthrough not allowd for IP ucast, drop\n");
        }
    }
}

/// The DA's next hop, unless an earlier finding makes it moot.
void daNextHop(CmRteStat *statPtr) {
    if (statPtr->rocL3Rqd && !statPtr->l3PselEgidPth && !statPtr->l3PselAclDrop && !statPtr->l3PselNoFwd &&
        !statPtr->l3PselDropEn && (!statPtr->l3PselRteEnErr || statPtr->l3AclAppl) &&
        !(statPtr->l3PselTrapEn == 1 && statPtr->l3CtrlTrap)) {
        L3NextHopLu(statPtr, 1);
        return;
    }
    CM_TRACE(1, "%s, l3Rqd=%d aclDrop=%d drop=%d rteEnErr=%d trap=%d l3_ctl_trap=%d noFwd=%d\n", "Skip [L3NextHopLu]",
             static_cast<int>(statPtr->rocL3Rqd), static_cast<int>(statPtr->l3PselAclDrop),
             static_cast<int>(statPtr->l3PselDropEn), static_cast<int>(statPtr->l3PselRteEnErr),
             static_cast<int>(statPtr->l3PselTrapEn), static_cast<int>(statPtr->l3CtrlTrap),
             static_cast<int>(statPtr->l3PselNoFwd));
}

/// Unicast RPF. No mode finds an error while the ACL's own index stands.
void L3RpfCk(CmRteStat *statPtr) {
    if (!isIp(statPtr) || statPtr->l2PselL3IpDaIsMcast || !statPtr->l3RteRqd)
        return;
    const uint32_t mode = isIpv4(statPtr) ? statPtr->ipv4RpfCkMode : statPtr->ipv6RpfCkMode;
    bool err = false;
    switch (mode) {
    case 1:
        err = !(statPtr->l3FwdSaHit && statPtr->l3EividSa == statPtr->iivid && statPtr->l3FwdIsRpVld);
        break;
    case 2:
        err = !statPtr->l3FwdSaHit;
        break;
    case 3:
        err = !(statPtr->l3FwdSaHit && statPtr->l3FwdIsRpVld);
        break;
    }
    statPtr->l3IpRpfErr = statPtr->l3PselAclEgidPth && err;
    CM_TRACE(2, "L3 IP RPF check, ck_mode=%d ck_err=%d\n", static_cast<int>(mode),
             static_cast<int>(statPtr->l3IpRpfErr));
}

/// A trap: whether there is one, with its queue and its reason.
struct Trap {
    uint32_t en;
    uint32_t que;
    uint32_t rsn;
};

/// The trap of ACL and control classification, or that of the prefix search.
Trap resolveTrap(const CmRteStat *statPtr) {
    const Trap own = {statPtr->l3PselTrapEn, statPtr->l3PselTrapQue, statPtr->l3PselTrapRsn};
    const bool givesWay = own.en == 1 && !statPtr->comRegPtr->l3_acl_trap_overrule_en;
    if (isFcoe(statPtr) && statPtr->l2FcoeLuTrapEn == 1 && (own.en == 0 || givesWay))
        return {1, statPtr->l2FcoeTrapQue, statPtr->l2FcoeTrapRsn};
    if (isIp(statPtr) && statPtr->l3IpTrapEn == 1) {
        const bool isCtrlTrap = own.rsn == TRP_L3_CTRL && (statPtr->l3CtrlTrap || statPtr->l3CtrlTrapFwd);
        if (own.en == 0 || (givesWay && !isCtrlTrap))
            return {1, statPtr->l3IpTrapQue, statPtr->l3IpTrapRsn};
    }
    return own;
}

/// Verdict, group and trap of the path selection.
void mergeVerdict(CmRteStat *statPtr, const Trap &trap) {
    uint32_t egid = statPtr->l3NxtHopMpidLgidEgidMgid;
    uint32_t isMgid = statPtr->l3PselIsMgid;
    uint32_t mcastTyp = statPtr->l3PselMcastTyp;
    uint32_t typ;
    if (statPtr->l3PselAclDrop) {
        typ = RSLT_DROP;
        egid = 0;
        isMgid = 0;
    } else if (statPtr->l3PselDropEn) {
        typ = trap.en ? RSLT_TRAP : RSLT_DROP;
        egid = 0;
        isMgid = 0;
    } else if (!trap.en) {
        typ = RSLT_FWD;
    } else if (statPtr->l3PselNoFwd) {
        typ = RSLT_TRAP;
        isMgid = 0;
    } else {
        typ = RSLT_FWD_A_TRAP;
    }
    if (!isMgid)
        mcastTyp = MCAST_UCAST_FLOOD;

    statPtr->l3PselRsltTyp = typ;
    statPtr->l3PselEgidMgid = egid;
    statPtr->l3PselMcastTyp = mcastTyp;
    statPtr->l3PselIsMgid = isMgid;
    if (trap.en) {
        statPtr->l3PselTrapQue = trap.que;
        statPtr->l3PselTrapRsn = trap.rsn;
    }
}

/// A result that says so takes the priorities that the frame came with.
void passPrio(CmRteStat *statPtr) {
    if (!statPtr->l3PselRsltPthPrio)
        return;
    statPtr->l3PselL2EgrPrio = statPtr->igPriMapIwpri;
    statPtr->l3PselQmgPrio = statPtr->igPriMapQuePri;
    if (statPtr->l2FcoeFound && !statPtr->l3NxtHopFcoeL2PrioPth)
        statPtr->l3PselL2EgrPrio = statPtr->l3NxtHopFcoeL2Prio;
}

void L3PselRsltMerge(CmRteStat *statPtr) {
    if (statPtr->l3AclAppl || (statPtr->l3RteRqd && statPtr->l3PselEgidPth)) {
        statPtr->l2FcoeLuTrapEn = 0;
        statPtr->l3IpTrapEn = 0;
        CM_TRACE(1, "wipe out trap from LPM due to L3 ACL or passthrouogh\n");
    }
    mergeVerdict(statPtr, resolveTrap(statPtr));
    passPrio(statPtr);
}

/// A unicast IP frame that layer 2 hands to routing, on a port that routes.
bool isRoutedUcast(const CmRteStat *statPtr) {
    return isIp(statPtr) && !statPtr->l2PselL3IpDaIsMcast && statPtr->l2PselRteRqd == 1 && !statPtr->l3PselRteEnErr;
}

void IcmpRedirectCk(CmRteStat *statPtr) {
    if (!isRoutedUcast(statPtr) || statPtr->l3PselRsltTyp != RSLT_FWD || statPtr->l3EividDa != statPtr->iivid)
        return;
    if (isIpv4(statPtr) ? statPtr->ipv4IcmpRedirectTrpEn : statPtr->ipv6IcmpRedirectTrpEn) {
        statPtr->l3IcmpRedirect = 1;
        CM_TRACE(1, "[L3NextHopLu] ICMP REDIRECT trap, eivid=%x.\n", statPtr->l3EividDa);
    }
}

void IcmpUnreachCk(CmRteStat *statPtr) {
    if (!isRoutedUcast(statPtr) || statPtr->l3FwdDaHit || !statPtr->l3PselAclEgidPth)
        return;
    if (isIpv4(statPtr) ? statPtr->ipv4IcmpUnreachTrpEn : statPtr->ipv6IcmpUnreachTrpEn) {
        statPtr->l3IcmpUnreach = 1;
        CM_TRACE(1, "[L3NextHopLu] ICMP UNREACH trap.\n");
    }
}

/// Counts the frame for the ACL entry that won, and samples it for sFlow.
void IncL3AclSts(CmRteStat *statPtr) {
    if (!statPtr->l3PselStsSflowEn)
        return;
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    CmRteHsiMem *mem = statPtr->memPtr;
    const AclStsIdx counter(statPtr->l3PselStsSflowIdx);
    const uint32_t bank = aclStsBank(comReg, 1, counter.bankId);
    if (bank == kAclStsBnks)
        return;

    const uint32_t statIdx = counter.in(bank);
    const uint64_t savedCnt = field<&AclFrmCnt::frm_cnt>(mem->RTE_ACL_STS_FCNT_SRAM, statIdx);
    countIn<&AclFrmCnt::frm_cnt>(mem->RTE_ACL_STS_FCNT_SRAM, statIdx, 1);
    countIn<&AclByteCnt::byte_cnt>(mem->RTE_ACL_STS_BCNT_SRAM, statIdx, statPtr->frmLen);

    const uint32_t rate = comReg->rte_sflow_rate[statPtr->l3PselSflowProfile & 15];
    const uint32_t oneHot = std::bit_floor(rate);
    if (elem<&SflowSts::flag>(mem->RTE_ACL_STS_SFLOW_RA, statIdx) && statPtr->l3PselSflowEn)
        statPtr->l3AclSflwHit = 1;
    if (oneHot && (savedCnt & (oneHot - 1)) == oneHot - 1 && statPtr->l3PselSflowEn)
        statPtr->l3PselSflowFlagSet = 1;
    statPtr->l3psel_acl_sts_hit = 1;
    statPtr->l3PselStsSflowHitIdx = statIdx;
}

/// Builds the request, has the ACL engine answer it and takes the answer.
void searchAcl(CmRteStat *statPtr) {
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    uint32_t fixedKey[kMaxKeyWords] = {};
    uint32_t exmKey[kMaxKeyWords] = {};
    uint32_t flexKeys[kFlexKeys][kFlexKeyWords] = {};
    uint32_t *flexKeyLst[kFlexKeys];
    buildL3AclTcamKey(statPtr, fixedKey);
    buildL3PSelExmKey(statPtr, exmKey);
    for (uint32_t i = 0; i < kFlexKeys; i++) {
        buildL3AclTcamFlexKey(statPtr, flexKeys[i], i);
        flexKeyLst[i] = flexKeys[i];
    }

    tL3AclInterface intf{};
    intf.tcamFixedKey = fixedKey;
    intf.tcamFlexKey = flexKeyLst;
    intf.exmKey = exmKey;
    intf.l3Cugid = statPtr->l3PselCugid;
    intf.l3Mcuid = statPtr->l3PselMcuid;
    intf.acl_drop_ptr = comReg->rte_l3_acl_drop;
    intf.drop_ptr = comReg->rte_l3_drop;
    intf.frameIdx = statPtr->frmIdx;
    intf.isDaLkup = 1;
    intf.portNum = statPtr->ingPhyPort & 0x1f;
    intf.isIpv4 = isIpv4(statPtr);
    intf.isIpv6 = isIpv6(statPtr);
    intf.isFcoe = isFcoe(statPtr);
    intf.ipMcastSpcl = statPtr->l3IpDaIsMcast && !comReg->l3_mcast_racl_ck_dis;

    L3PselRslt rslt{};
    statPtr->taePtr->lookupL3Acl(intf, &rslt);
    L3AclDaRslt(statPtr, &rslt, intf.trap_rsn, intf.ipMcastDropOverTurn);
}

} // namespace

void L3IpDaRslt(CmRteStat *statPtr, const TFE_LUE_RSLT *rsltPtr) {
    const auto word = entryAt<TfeIpRslt>(&rsltPtr->rslt);
    statPtr->l3IpTrapEn = word.trap_en;
    statPtr->l3FwdNextHopRsltIdx = word.nxt_hop_rslt_idx;
    statPtr->l3FwdIsMyIpDa = word.my_ip_da;
    statPtr->l3FwdIsDaGrp = word.grp_id;
    statPtr->l3FwdIsDefaultVrf = word.default_vrf;
    statPtr->l3IpTrapRsn = rsltPtr->hit ? TRP_L3_HIT : TRP_L3_MISS;
    statPtr->l3IpTrapQue =
        rsltPtr->hit ? statPtr->comRegPtr->rte_l3_ip_hit_trap_que : statPtr->comRegPtr->rte_l3_ip_miss_trap_que;
}

void L3IpSaRslt(CmRteStat *statPtr, const TFE_LUE_RSLT *rsltPtr) {
    const auto word = entryAt<TfeIpRslt>(&rsltPtr->rslt);
    statPtr->l3FwdIsSaGrp = word.grp_id;
    statPtr->l3FwdSaNextHopRsltIdx = word.nxt_hop_rslt_idx;
    statPtr->l3FwdIsRpVld = word.rp_valid;
    statPtr->l3FwdSaHit = rsltPtr->hit;
}

void L3Psel(CmRteStat *statPtr) {
    statPtr->l3PselIpTlen = statPtr->l3IpTlen;
    statPtr->l3PselEgrIpEcn = statPtr->l3IpEcn;
    CM_TRACE(1, "START L3_PSEL PROCESSING \n");
    if (!isIp(statPtr) && !isFcoe(statPtr))
        return;
    if (skipForEarlierVerdict(statPtr))
        return;

    L3CugidLu(statPtr);
    L3McuidLu(statPtr);
    searchAcl(statPtr);
    L3CtrlCls(statPtr);
    L3AclPth(statPtr);
    L3NextHopLu(statPtr, 0);
    daNextHop(statPtr);
    L3RpfCk(statPtr);
    L3PselRsltMerge(statPtr);
    IcmpRedirectCk(statPtr);
    IcmpUnreachCk(statPtr);
    IncL3AclSts(statPtr);
}
