// Policers, tail drop and counters of the result stage.

#include "base/cmRteCnt.h"
#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "roc/cmRteRoc.h"
#include "tbl/tsr_tbl.h"

#include <algorithm>

namespace {

/// Clears the layer-3 result, whose drop or trap another verdict has overtaken.
void clearL3Result(CmRteStat *statPtr) {
    statPtr->l3PselL2EgrPrio = 0;
    statPtr->l3PselQmgPrio = 0;
    statPtr->l3NxtHopTrillDa = 0;
    statPtr->l3NxtHopTrillMc = 0;
    statPtr->l3PselEgidMgid = 0;
    statPtr->l3NxtHopFcoeL2Prio = 0;
    statPtr->l3PselIpTlen = 0;
    statPtr->l3NxtHopL2DaIdx = 0;
    statPtr->l3PselEgrIpEcn = 0;
    statPtr->l3PselAclLog = 0;
    statPtr->l3PselSpanEn = 0;
    statPtr->l3PselFcEgrVc = 0;
}

/// Whether the frame's VLAN has its frames of the ingress port policed.
bool polByVlan(const CmRteStat *statPtr) {
    constexpr uint64_t kPorts = tblPlace<&VlanPol::pol_en>.count;
    return elem<&VlanPol::pol_en>(statPtr->memPtr->RTE_VLAN_POL_SRAM, statPtr->iivid * kPorts + statPtr->ingPhyPort);
}

} // namespace

void LuL3PselFlt(CmRteStat *statPtr) {
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    const uint32_t dropRsn = statPtr->l3PselDropRsn;
    const uint32_t trapRsn = statPtr->l3PselTrapRsn;
    const uint32_t dropPrcErr =
        statPtr->l3PselRsltTyp == RSLT_DROP && !isOneOf(dropRsn, {DRP_LU, DRP_POL, DRP_IP_RPF}) && dropRsn < kDrpRsnCnt;
    const uint32_t trapPrcErr =
        statPtr->l3PselRsltTyp == RSLT_TRAP &&
        !isOneOf(trapRsn, {TRP_IP_RPF, TRP_IPV6_HBH, TRP_L3_HIT, TRP_L3_MISS, TRP_RP_PIM_ENCAP, TRP_ICMP_REDIRECT,
                           TRP_ICMP_UNREACH, TRP_IPV4_RTR_ALERT, TRP_L3_CTRL}) &&
        trapRsn < kTrpRsnCnt;
    CM_TRACE(1, "l3_psel filtering: dropPrcErr=%x trapPrcErr=%x trapRsn=%x dropRsn=%x\n", dropPrcErr, trapPrcErr,
             trapRsn, dropRsn);

    if (statPtr->l3PselDropTrapSkip) {
        clearL3Result(statPtr);
        return;
    }
    if (dropPrcErr || trapPrcErr)
        return;

    if (statPtr->l3PselTrapRteEnErr && !statPtr->l3AclAppl) {
        statPtr->l3PselIsMgid = 0;
        statPtr->l3PselMcastTyp = MCAST_UCAST_FLOOD;
        statPtr->l3PselRsltTyp = RSLT_TRAP;
        statPtr->l3PselTrapQue =
            statPtr->l2FcoeFound ? comReg->rte_fcoe_rte_en_trap_que : comReg->rte_l3_ip_rte_en_trap_que;
        statPtr->l3PselTrapRsn = TRP_L3_RTE_EN;
        statPtr->l3PselDropRsn = kNoRsn;
    } else if (statPtr->l3PselRteEnErr && !statPtr->l3AclAppl) {
        statPtr->l3PselIsMgid = 0;
        statPtr->l3PselMcastTyp = MCAST_UCAST_FLOOD;
        statPtr->l3PselRsltTyp = RSLT_DROP;
        statPtr->l3PselTrapQue = 0;
        statPtr->l3PselTrapRsn = kNoRsn;
        statPtr->l3PselDropRsn = statPtr->l2FcoeFound ? DRP_FCOE_RTE_EN : DRP_IP_RTE_EN;
    } else if (isFwd(statPtr->l3PselRsltTyp) && statPtr->l3PselRedDrop) {
        if (statPtr->l3PselRsltTyp == RSLT_FWD) {
            statPtr->l3PselRsltTyp = RSLT_DROP;
            statPtr->l3PselIsMgid = 0;
            statPtr->l3PselMcastTyp = MCAST_UCAST_FLOOD;
            statPtr->l3PselTrapQue = 0;
            statPtr->l3PselTrapRsn = kNoRsn;
            statPtr->l3PselDropRsn = DRP_RED_TAIL;
        } else {
            statPtr->l3PselRsltTyp = RSLT_TRAP;
        }
    }
}

void LuRocPselFlt(CmRteStat *statPtr) {
    bool l2PselRsltClr = false;
    if (prcVerdict(statPtr)) {
        l2PselRsltClr = true;
    } else if (statPtr->l2PselRedDrop || statPtr->l2PselLagDrop || statPtr->l2PselSrcDrop) {
        l2PselRsltClr = true;
        statPtr->l2PselIsL2Mgid = 0;
        // A trunk drop carries the reason of the TRILL hop count: the chip's own.
        statPtr->l2PselDropRsn = statPtr->l2PselSrcDrop   ? DRP_SRC
                                 : statPtr->l2PselRedDrop ? DRP_RED_TAIL
                                                          : DRP_TRILL_TTL;
    }

    if (statPtr->macPrioHit)
        statPtr->l2PselQmgPrio = statPtr->macPrio;

    if (l2PselRsltClr) {
        CM_TRACE(1, "LuRocPselFlt: l2PselRsltClr=1.\n");
        statPtr->l2PselQmgPrio = 0;
        statPtr->l2PselEgrIpEcn = 0;
        statPtr->l2PselTrillDa = 0;
        statPtr->l2PselTrillMc = 0;
        statPtr->l2PselEgidMgid = 0;
        statPtr->l2PselAclLog = 0;
        statPtr->l2PselSpan = 0;
    }

    if (!isFwd(statPtr->l2PselRsltTyp))
        statPtr->l2PselEgrPort = 31;

    LuL3PselFlt(statPtr);
}

void policerParams(CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    const CmRteHsiPortReg *portReg = statPtr->portRegPtr;
    uint32_t polId;
    uint32_t polEn;

    if (statPtr->l3PolWin && statPtr->l3PselPolEn) {
        polId = statPtr->l3PselPolId;
        polEn = 1;
        CM_TRACE(1, "[POL] pol_id from L3Psel: %u\n", polId);
    } else if (!statPtr->l3PolWin && statPtr->l2PselPolEn) {
        polId = statPtr->l2PselPolId;
        polEn = 1;
        CM_TRACE(1, "[POL] pol_id from L2Psel: %u\n", polId);
    } else if (polByVlan(statPtr)) {
        polId = field<&VlanPol::pol_id>(statPtr->memPtr->RTE_VLAN_POL_SRAM, statPtr->iivid);
        polEn = statPtr->typAttrPolEn;
        CM_TRACE(1, "[POL] pol_id from VID table: %u\n", polId);
    } else {
        polId = portReg->rte_prc_port_pol_id;
        polEn = statPtr->typAttrPolEn && portReg->rte_prc_port_pol_en;
        CM_TRACE(1, "[POL] pol_id from port default: %u\n", polId);
    }

    statPtr->finalPolEn = polEn && statPtr->comRegPtr->l2_pol_en && isFwd(rsltPtr->hsiShim0Rslt.rslt_typ);
    statPtr->finalPolId = field<&PolRemap::finalPolId>(statPtr->memPtr->RTE_POL_REMAP_TBL_SRAM, polId);
    CM_TRACE(1, "[POL] remapped PolicerId=%u, ploicerEn=%u\n", statPtr->finalPolId, statPtr->finalPolEn);
}

void PolicerRun(CmRteStat *statPtr, CmRteRslt *rsltPtr, uint32_t dp, uint32_t dscp, uint32_t iwqos) {
    policerParams(statPtr, rsltPtr);
    if (!statPtr->finalPolEn) {
        statPtr->finalDrpPrcd = dp;
        statPtr->polQPrio = 0;
        statPtr->polQPrioEn = 0;
        statPtr->finalDscp = dscp;
        statPtr->finalIwqos = iwqos;
        return;
    }
    // The model does not meter: a fixed rule on the policer's number keeps a run repeatable.
    const uint32_t id = bits(statPtr->finalPolId, 11, 0);
    statPtr->finalDrpPrcd = (dp + id + 13) % 3;
    statPtr->polQPrio = (id + 17) & 7;
    statPtr->polQPrioEn = (id + 11) & 1;
    statPtr->finalDscp = (dscp + id + 37) & 63;
    statPtr->finalIwqos = (iwqos + id + 11) & 7;
}

void BpTailDrop(CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    uint32_t &rslt_typ = rsltPtr->hsiShim0Rslt.rslt_typ;
    if (!isTrap(rslt_typ))
        return;
    const CmRteExtCfg *extCfg = statPtr->extCfgPtr;
    const uint32_t trap_que = rsltPtr->hsiShim0Rslt.trap_que;
    const uint32_t que = bits(trap_que, 3, 1);
    const uint32_t pfcEn = statPtr->portRegPtr->rte_prc_que_pri_pfc_en;
    if (!bit(extCfg->bpDropLst[statPtr->ingPhyPort], que))
        return;

    if (statPtr->l2FcoeFcClassF || statPtr->l2FcoeFcClass2) {
        CM_TRACE(1, "Fcoe Class F =%d Class 2=%d, BP Tail drop is requested by ICB but ignored.\n",
                 static_cast<int>(statPtr->l2FcoeFcClassF), static_cast<int>(statPtr->l2FcoeFcClass2));
        return;
    }
    if (bit(extCfg->bpLossless, que) && bit(pfcEn, rsltPtr->shim2Rslt.q_priority)) {
        CM_TRACE(1,
                 "Lossless que on a PFC enabled (que_pri_pfc_en = 0x%x) port: BP Tail drop is requested by ICB but "
                 "ignored.\n",
                 pfcEn);
        return;
    }
    if (rslt_typ == RSLT_FWD_A_TRAP) {
        rslt_typ = RSLT_FWD;
        statPtr->l2PselRsltTyp = RSLT_FWD;
        CM_TRACE(1,
                 "BP Tail drop (que_pri_pfc_en = 0x%x). packet downgraded from TRAP_A_FWD to FWD (BP copy dropped)\n",
                 pfcEn);
    } else {
        statPtr->l2PselTailDrop = 2;
        statPtr->l2PselDropRsn = DRP_BP_TAIL;
        CM_TRACE(1, "BP Tail drop (que_pri_pfc_en = 0x%x). DROP\n", pfcEn);
    }
    countIn<&DrpBpqFrmCnt::frm_cnt>(statPtr->memPtr->RTE_DRP_BPQ_STS_FCNT_SRAM, statPtr->ingPhyPort * 16 + trap_que, 1);
}

void TailDrop(CmRteStat *statPtr, CmRteRslt *rsltPtr) {
    const CmRteExtCfg *extCfg = statPtr->extCfgPtr;
    uint32_t &rslt_typ = rsltPtr->hsiShim0Rslt.rslt_typ;
    const uint32_t drop_prcd = rsltPtr->shim2Rslt.drop_prcd;
    const uint32_t q_priority = rsltPtr->shim2Rslt.q_priority;
    const uint32_t port = statPtr->ingPhyPort;
    bool downgraded = false;

    if (isFwd(rslt_typ)) {
        uint32_t dropVector = extCfg->tailDropLst[port];
        if (drop_prcd >= 1)
            dropVector |= extCfg->yelDropLst[port];
        if (drop_prcd > 1)
            dropVector |= extCfg->redDropLst[port];
        CM_TRACE(1, "Checking tail drop. color=%u, q_prio=%u, icb_drop_vector = 0x%x\n", drop_prcd, q_priority,
                 dropVector);
        if (bit(dropVector, q_priority)) {
            if (rslt_typ == RSLT_FWD_A_TRAP) {
                rslt_typ = RSLT_TRAP;
                statPtr->l2PselRsltTyp = RSLT_TRAP;
                statPtr->l3PselRsltTyp = RSLT_TRAP;
                rsltPtr->shim2Rslt.is_mgid = 0;
                statPtr->l2PselIsL2Mgid = 0;
                downgraded = true;
                CM_TRACE(1, "Tail drop. packet downgraded from TRAP_A_FWD to TRAP\n");
            } else {
                statPtr->l2PselTailDrop = 1;
                statPtr->l2PselDropRsn = DRP_TAIL;
                CM_TRACE(1, "Tail drop. DROP\n");
            }
        }
    }

    if (!statPtr->l2PselTailDrop)
        BpTailDrop(statPtr, rsltPtr);

    if (statPtr->l2PselTailDrop) {
        rslt_typ = RSLT_DROP;
        statPtr->l2PselRsltTyp = RSLT_DROP;
        statPtr->l3PselRsltTyp = RSLT_DROP;
        rsltPtr->hsiShim0Rslt.trap_que = 0;
        rsltPtr->hsiShim0Rslt.trap_rsn = kNoRsn;
        rsltPtr->shim2Rslt.is_mgid = 0;
        statPtr->l2PselTrapQue = 0;
        statPtr->l2PselTrapRsn = kNoRsn;
        statPtr->l2PselIsL2Mgid = 0;
        const uint32_t dropRsn = statPtr->l2PselTailDrop == 2 && !downgraded ? DRP_BP_TAIL : DRP_TAIL;
        statPtr->l3PselDropRsn = dropRsn;
        statPtr->l2PselDropRsn = dropRsn;
        rsltPtr->hsiShim1Rslt.acl_log = 0;
        statPtr->l2PselAclLog = 0;
        rsltPtr->hsiShim1Rslt.sflw = 0;
        statPtr->sflw = 0;
    }

    if (statPtr->l2PselTailDrop == 1 || (statPtr->l2PselTailDrop == 2 && downgraded)) {
        countIn<&DrpTailFrmCnt::frm_cnt>(statPtr->memPtr->RTE_DRP_TAIL_STS_FCNT_SRAM,
                                         std::min(drop_prcd, 2u) * 256 + port * 8 + q_priority, 1);
        CM_TRACE(1, "Increment tail drop stats. drop_prcd=%u, q_prio=%u\n", drop_prcd, q_priority);
    }
}

void IncrDrpSts(CmRteStat *statPtr) {
    if (statPtr->rsltPtr->hsiShim0Rslt.rslt_typ != RSLT_DROP)
        return;
    auto &sts = statPtr->memPtr->RTE_DRP_RSN_STS_FCNT_SRAM;
    const uint32_t idx = statPtr->ingPhyPort * 64 + (statPtr->dropRsn & 63);
    countIn<&DrpRsnFrmCnt::frm_cnt>(sts, idx, 1);
    const uint64_t cnt = field<&DrpRsnFrmCnt::frm_cnt>(sts, idx);
    CM_TRACE(1, "(ROC IncrDropSts) DROP: reason=%02x DRP_RSN_STS[%x]=0x%x_%x\n", statPtr->dropRsn, idx,
             static_cast<uint32_t>(cnt >> 32), static_cast<uint32_t>(cnt));
}

void IncrL3MpSts(CmRteStat *statPtr) {
    if (!statPtr->l3psel_mpid_sts_en || !statPtr->l3GidWin)
        return;
    uint32_t i = 0;
    while (i < 8 && statPtr->comRegPtr->rte_l3_psel_sts_mpid[i] != statPtr->l3PselNextHopRsltIdx)
        i++;
    if (i == 8)
        return;
    CmRteHsiMem *mem = statPtr->memPtr;
    const uint32_t idx = i << 5 | statPtr->l3NxtHopMpOffset;
    countIn<&L3MpidFrmCnt::frm_cnt>(mem->RTE_L3_PSEL_STS_MPID_FCNT_RA, idx, 1);
    countIn<&L3MpidByteCnt::byte_cnt>(mem->RTE_L3_PSEL_STS_MPID_BCNT_RA, idx, statPtr->frmLen);
    statPtr->l3psel_mpid_sts_hit = 1;
}

uint32_t CmGetSflwCntInit(uint32_t tcnt, uint32_t lfsr) {
    const uint32_t low = lfsr & 0x1ff;
    if (low >= tcnt)
        return tcnt;
    return bit(lfsr, 10) ? tcnt - low : tcnt + low;
}

uint32_t CmRteLfsr(uint32_t v) {
    return v & 1 ? v >> 1 ^ 0x360 : v >> 1;
}
