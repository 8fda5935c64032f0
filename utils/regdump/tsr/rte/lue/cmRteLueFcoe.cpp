#include "lue/cmRteLue.h"

#include "base/cmRteFrm.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLueL3.h"
#include "tbl/tsr_tbl.h"

namespace {

/// Upper 16 bits of the address of a domain controller; the low byte is its domain.
constexpr uint32_t kDomainCtlr = 0xfffc;

/// The address by which a Fibre Channel id is searched: a domain controller is found under its domain.
uint32_t fcidLu(uint32_t fcid) {
    if (bits(fcid, 23, 8) == kDomainCtlr)
        return bits(fcid, 7, 0) << 16 | kDomainCtlr;
    return fcid;
}

/// Searches one Fibre Channel id in the frame's virtual fabric.
TFE_LUE_RSLT srchFcid(const CmRteStat *statPtr, uint32_t fcid, uint32_t isDa) {
    const auto key = plainKey(
        TfeFcoe{.vfid = statPtr->l2FcoeClsVfid, .vfid_typ = statPtr->l2FcoeClsVfidTyp, .fcid_lu = fcidLu(fcid)});
    L3FwdFcoeInKeyR keyR;
    CmTfeLue::ReshuffleKey(&key, &keyR, 0);
    TFE_LUE_INPUT input = lpmInput(statPtr, keyR.word, isDa);
    input.fcoe_srch = 1;
    TFE_LUE_RSLT rslt{};
    statPtr->tfePtr->lookupL3Lpm(&input, &rslt);
    return rslt;
}

} // namespace

void FcoeCls(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const CmRteHsiMem *memPtr = statPtr->memPtr;

    if (!statPtr->l2ExmDaIsMgidOrig && CmRteCkRteRqdEgid(statPtr, statPtr->l2ExmDaEgidOrig)) {
        if (bit(statPtr->l2ExmDaEgidOrig, kRteRqdFcoeVfBit))
            statPtr->l2FcoeVfRouted = 1;
        else if (bit(statPtr->l2ExmDaEgidOrig, kRteRqdFcoeVeBit))
            statPtr->l2FcoeVeRouted = 1;
    }

    if (statPtr->l2FcoeFcVfidVld) {
        statPtr->l2FcoeClsVfid = statPtr->l2FcoeFcVfid;
        statPtr->l2FcoeClsVfidTyp = 0;
    } else if (statPtr->iivid != portRegPtr->rte_prc_l2_fcoe_def_vid) {
        const auto fabric = entry<FcoeVfid>(memPtr->RTE_FCOE_VFID_SRAM, statPtr->iivid);
        statPtr->l2FcoeClsVfid = fabric.vfid;
        statPtr->l2FcoeClsVfidTyp = fabric.vfid_typ;
    } else {
        statPtr->l2FcoeClsVfid = portRegPtr->rte_prc_l2_fcoe_def_vfid;
        statPtr->l2FcoeClsVfidTyp = portRegPtr->rte_prc_l2_fcoe_def_vfid_typ;
    }

    statPtr->l2FcoeClsRteEn = elem<&FcoeIvidFlt::rte_en>(memPtr->RTE_FCOE_VID_FLT_RA, statPtr->iivid) &
                              elem<&FcoeVfidFlt::rte_en>(memPtr->RTE_FCOE_VFID_FLT_RA, statPtr->l2FcoeClsVfid);

    CM_TRACE(2, "L3 FCoE Cls:\n");
    CM_TRACE_RAW(2, "    vid        = %x\n", statPtr->iivid);
    CM_TRACE_RAW(2, "    vfid       = %x\n", statPtr->l2FcoeClsVfid);
    CM_TRACE_RAW(2, "    vfid_typ   = %x\n", statPtr->l2FcoeClsVfidTyp);
    CM_TRACE_RAW(2, "    vf_routed  = %x\n", statPtr->l2FcoeVfRouted);
    CM_TRACE_RAW(2, "    ve_routed  = %x\n", statPtr->l2FcoeVeRouted);
    CM_TRACE_RAW(2, "    rte_en     = %x\n", statPtr->l2FcoeClsRteEn);
}

void FcoeLu(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;

    if (!statPtr->portRegPtr->rte_prc_fcoe_en) {
        if (prcL3NoRsn(statPtr))
            statPtr->l3PrcDropRsn = DRP_NOT_EN;
        CM_TRACE(1, "FCoE PRC not enabled, L3 DROP\n");
        return;
    }

    L3VrfLu(statPtr);

    const TFE_LUE_RSLT da = srchFcid(statPtr, statPtr->l2FcoeFcDid, 1);
    statPtr->l2FcoeLuDidHit = da.hit;
    if (da.hit) {
        statPtr->l2FcoeTrapQue = comRegPtr->rte_fcoe_hit_trap_que;
        statPtr->l2FcoeTrapRsn = TRP_L3_HIT;
    } else {
        statPtr->l2FcoeTrapQue = comRegPtr->rte_fcoe_miss_trap_que;
        statPtr->l2FcoeTrapRsn = TRP_L3_MISS;
    }
    // A miss reads the default word as a hit reads its own.
    const auto daRslt = entryAt<TfeFcoeRslt>(&da.rslt);
    statPtr->l2FcoeLuTrapEn = daRslt.trap_en;
    statPtr->l3FwdFcoeApplZng = daRslt.appl_zng;
    statPtr->l2FcoeLuDaGrpId = daRslt.l3_grp_id;
    statPtr->l3FwdNextHopRsltIdx = daRslt.nxt_hop_rslt_idx;
    CM_TRACE(2, "L3 LPM DA result:\n");

    const TFE_LUE_RSLT sa = srchFcid(statPtr, statPtr->l2FcoeFcSid, 0);
    const auto saRslt = entryAt<TfeFcoeRslt>(&sa.rslt);
    statPtr->l2FcoeLuSaGrpId = saRslt.l3_grp_id;
    statPtr->l2FcoeLuSidHit = sa.hit;
    statPtr->l3FwdSaNextHopRsltIdx = saRslt.nxt_hop_rslt_idx;
    CM_TRACE(2, "L3 LPM SA result:\n");
}
