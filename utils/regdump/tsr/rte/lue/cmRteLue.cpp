#include "lue/cmRteLue.h"

#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmRteLkup.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "tbl/tsr_tbl.h"

#include <algorithm>

namespace {

using L2CtrlLkup = CmTcamLkup<&CmRteHsiMem::RTE_L2_CONTROL_TCAM, L2CtrlKey>;
using TypLkup = CmTcamLkup<&CmRteHsiMem::RTE_TYP_TCAM, TypKey>;

/// A classification owns the rows of the type TCAM in blocks.
constexpr uint32_t kTypBlkRows = 32;

/// The routing enables of multicast stand behind those of as many VLANs for unicast.
constexpr uint32_t kRteEnVids = 0x2000;

/// Source addresses with this bit are locally administered: bit 1 of the first byte on the wire.
constexpr unsigned kLocalMacBit = 41;

uint32_t defInnerVid(const CmRteStat *statPtr) {
    return statPtr->portRegPtr->rte_prc_def_inner_vlan_id & 0x1fff;
}

/// Makes the verdict of the parser that of path selection; a trap wins over a drop.
void takePrcVerdict(CmRteStat *statPtr) {
    statPtr->l2PselIngPrio = statPtr->isCTagged ? statPtr->ctagPrio : statPtr->portRegPtr->rte_prc_def_inner_vlan_prio;
    statPtr->l2PselQmgPrio = 0;
    if (statPtr->l2PrcTrap) {
        statPtr->l2PselRsltTyp = RSLT_TRAP;
    } else {
        statPtr->l2PselRsltTyp = RSLT_DROP;
        statPtr->l2PselDropRsn = statPtr->l2PrcDropRsn;
    }
    statPtr->l2PselTrapQue = statPtr->l2PrcTrapQue;
    statPtr->l2PselTrapRsn = statPtr->l2PrcTrapRsn;
}

void ckLocalMac(CmRteStat *statPtr) {
    if (!statPtr->typAttrLocMacDrp || !bits64(statPtr->l2Sa, kLocalMacBit, kLocalMacBit))
        return;
    if (statPtr->portRegPtr->rte_prc_l2_trap_local_mac_err) {
        statPtr->l2PrcTrap = 1;
        statPtr->l2PrcTrapRsn = TRP_L2_HDR_VIO;
        statPtr->l2PrcTrapQue = statPtr->comRegPtr->rte_l2_hdr_vio_trap_que;
        CM_TRACE(1, "[Type] MacSa is Local and typAttrib local_mac_drop=1 ==> packet marked for TRAP\n");
    } else {
        statPtr->l2PrcDrop = 1;
        statPtr->l2PrcDropRsn = DRP_LOCAL_MAC;
        CM_TRACE(1, "[Type] MacSa is Local and typAttrib local_mac_drop=1 ==> packet marked for DROP\n");
    }
}

void ckTrillRpf(CmRteStat *statPtr) {
    if (!statPtr->l2TrillMcRpfDrop)
        return;
    // A trap joins an earlier drop; a drop comes only to a frame without a verdict.
    if (statPtr->portRegPtr->rte_prc_l2_trill_trap_rpf_err && !statPtr->l2PrcTrap) {
        statPtr->l2PrcTrap = 1;
        statPtr->l2PrcTrapRsn = TRP_TRILL_RPF;
        statPtr->l2PrcTrapQue = statPtr->comRegPtr->rte_l2_trill_rpf_trap_que;
        CM_TRACE(1, "PRC Trill RPF drop_bit=0 & l2_trill_trap_rpf_err=1. TRAP\n");
    } else if (!prcVerdict(statPtr)) {
        statPtr->l2PrcDrop = 1;
        statPtr->l2PrcDropRsn = DRP_TRILL_RPF;
        CM_TRACE(1, "PRC Trill RPF drop_bit=0 & l2_trill_trap_rpf_err=0. DROP\n");
    }
}

void ckChassisSa(CmRteStat *statPtr) {
    if (!statPtr->l2ExmSaChassisErr)
        return;
    if (statPtr->comRegPtr->rte_l2_trap_chs_sa_err && !statPtr->l2PrcTrap) {
        statPtr->l2PrcTrap = 1;
        statPtr->l2PrcTrapQue = statPtr->comRegPtr->rte_l2_hdr_vio_trap_que;
        statPtr->l2PrcTrapRsn = TRP_L2_HDR_VIO;
        CM_TRACE(1, "L2 SA is chassis address. TRAP\n");
    } else if (!prcVerdict(statPtr)) {
        statPtr->l2PrcDrop = 1;
        statPtr->l2PrcDropRsn = DRP_L2_SA;
        CM_TRACE(1, "SA is chassis address. DROP\n");
    }
}

/// Starts the layer-3 lookups of a frame that the parser found good, or hands over what the parser said of it.
void layer3(CmRteStat *statPtr) {
    if (!prcL3NoRsn(statPtr)) {
        statPtr->l3IpTrapVld = statPtr->l3PrcTrapRsn != kNoRsn;
        statPtr->l3IpTrapQue = statPtr->l3PrcTrapQue;
        statPtr->l3IpTrapRsn = statPtr->l3PrcTrapRsn;
        statPtr->l3IpDropRsn = statPtr->l3PrcDropRsn;
        return;
    }
    if (!isIp(statPtr))
        return;
    if (isIpv4(statPtr))
        L3Ipv4(statPtr);
    else
        L3Ipv6(statPtr);
    if (statPtr->l3IpMcastRegEncap) {
        statPtr->l3IpTrapEn = 1;
        statPtr->l3IpTrapRsn = TRP_RP_PIM_ENCAP;
        statPtr->l3IpTrapQue = statPtr->comRegPtr->rte_l3_ip_rp_pim_encap_trap_que;
        CM_TRACE(1, "TRP_RP_PIM_ENCAP. TRAP\n");
    }
}

} // namespace

void CmRteLue(CmRteStat *statPtr) {
    statPtr->l2PselFcoeVfRouted = 0;
    statPtr->l2PselFcoeVeRouted = 0;

    if (statPtr->shimRsltVld || statPtr->phyqRsltVld) {
        CM_TRACE_RAW(1, "CM port=%u, frameIdx=%u, ShimRsltVld=%d, phyqRsltVld=%d, RTE LUE bypassed.\n",
                     statPtr->ingPhyPort, statPtr->frmIdx, statPtr->shimRsltVld, statPtr->phyqRsltVld);
        return;
    }
    // Classification runs for a condemned frame too: it sets the VID, the priority and the counters.
    if (prcVerdict(statPtr))
        CM_TRACE(1, "PRC DROP=%d, PRC TRAP=%d\n", statPtr->l2PrcDrop, statPtr->l2PrcTrap);

    statPtr->l2PselL3IpDaIsMcast = statPtr->l3IpDaIsMcast && !statPtr->l3IpMcastRegEncap;

    if (statPtr->l2TrillFound && !prcVerdict(statPtr)) {
        if (statPtr->l2TrillMc)
            trillRpf(statPtr);
        else
            TrillMyRbLu(statPtr);
    }

    L2CtrlCls(statPtr);
    TypLu(statPtr);
    MacCls(statPtr);
    L2VidCls(statPtr);
    CloudCls(statPtr);
    CM_TRACE(1, "cloud cls done. iivid = %x\n", statPtr->iivid);
    L2MtuCls(statPtr);

    if (prcVerdict(statPtr)) {
        statPtr->iivid = (statPtr->isCTagged ? statPtr->xcvid : defInnerVid(statPtr)) & 0xfff;
        takePrcVerdict(statPtr);
        CM_TRACE(1, "RTE LUE exiting due to L2 PRC %s rsn=%d\n", statPtr->l2PrcTrap ? "TRAP" : "DROP",
                 statPtr->l2PrcTrap ? statPtr->l2PrcTrapRsn : statPtr->l2PrcDropRsn);
        return;
    }

    L2Exm(statPtr);
    if (statPtr->l2FcoeFound) {
        FcoeCls(statPtr);
        FcoeLu(statPtr);
    }

    if (!prcVerdict(statPtr)) {
        ckLocalMac(statPtr);
        ckTrillRpf(statPtr);
        ckChassisSa(statPtr);
    }

    if (!prcVerdict(statPtr)) {
        L2Psel(statPtr);
        if (statPtr->l2PselRsltTyp != RSLT_DROP && statPtr->l2PselRsltTyp != RSLT_TRAP)
            l2MultipathProcess(statPtr, 1);
    } else {
        // The frame goes on through layer 3, and iivid stays as classified.
        takePrcVerdict(statPtr);
    }

    layer3(statPtr);
    L3FeatureCtrl(statPtr);
    L3PreRoc(statPtr);
    L3Flt(statPtr);
    L3Psel(statPtr);
}

void L2CtrlCls(CmRteStat *statPtr) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;

    uint32_t vid = defInnerVid(statPtr);
    if (statPtr->l2QinqEn) {
        if (statPtr->stagNz)
            vid = statPtr->xsvid;
    } else if (statPtr->ctagNz) {
        vid = statPtr->l2TrillFound ? statPtr->ctag : statPtr->xcvid;
    }

    L2CtrlLkup lkup;
    lkup.search(memPtr, L2CtrlKey{.trill_found = statPtr->l2TrillFound, .vid = vid, .da = statPtr->l2MacClsDa});
    CM_TRACE(1, "[TCAM][L2Ctrl] Search with Key: 0x%llx , Expected hit=0x%x , Expected RsltIdx=0x%x \n",
             lkup.key().qword(0), lkup.hit(), lkup.idx());

    if (!prcVerdict(statPtr))
        lkup.captureKey(statPtr, his::l2_ctl_tcam_key);

    if (lkup.hit()) {
        const L2CtrlRslt rslt = entry<L2CtrlRslt>(memPtr->RTE_L2_CONTROL_RSLT_SRAM, lkup.idx());
        // The parser may have set them before; they are never taken back here.
        if (bit(rslt.vlan_override, statPtr->ingPhyPort))
            statPtr->l2CtlVlanOverride = 1;
        if (bit(rslt.skip_ivf, statPtr->ingPhyPort))
            statPtr->l2CtlSkipIvf = 1;
    }

    if (!prcVerdict(statPtr))
        capture(statPtr, his::l2_ctl_rslt, lkup.idx(), lkup.hit());
}

namespace {

/// Index of a type lookup: the default row, or the first hit that the classification owns.
struct TypIdx {
    uint32_t hit;
    uint32_t idx;
};

/// Walks the hits of the type TCAM up to the first one in a block of rows whose bit stands in `ownMsk`. `onUnowned` is
/// called for each hit passed over.
template <class OnUnowned>
TypIdx firstOwnedTyp(const TypLkup &lkup, uint32_t ownMsk, uint32_t unkIdx, OnUnowned onUnowned) {
    for (const uint32_t row : lkup.hits()) {
        if (bit(ownMsk, row / kTypBlkRows))
            return {1, row};
        onUnowned(row);
    }
    return {0, unkIdx};
}

/// Number of a row among those of all ports.
uint32_t portRow(const CmRteStat *statPtr, uint32_t idx) {
    return statPtr->ingPhyPort * TypLkup::kEntries | idx;
}

void captureTyp(const CmRteStat *statPtr, const CmRteHisAddr &his, const TypIdx &found) {
    capture(statPtr, his, portRow(statPtr, found.idx), found.hit);
}

TypKey typKey(const CmRteStat *statPtr) {
    return {.lgc_port = statPtr->portRegPtr->rte_prc_class_lgc_port,
            .l3_frag = statPtr->typL3Frag,
            .trill_found = statPtr->typL2TrillFound,
            .llc_det = statPtr->typL2LlcDet,
            .l3_ulp = statPtr->typL3Ulp,
            .l2_etyp = statPtr->typL2Etyp,
            .l4_src = statPtr->typL4Src,
            .l4_dst = statPtr->typL4Dst};
}

void clsAppTyp(CmRteStat *statPtr, const TypLkup &lkup) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const TypIdx app = firstOwnedTyp(lkup, comRegPtr->rte_app_typ_en, comRegPtr->rte_app_typ_unk, [&](uint32_t row) {
        CM_TRACE(1, "[TCAM][Type] App Type Tcam Hit when not enabled. HitIdx: 0x%x\n", row);
    });
    if (app.hit)
        CM_TRACE(1, "[TCAM][Type][Hit] App Type HitIdx: 0x%x\n", app.idx);
    // The default index names a row, as a hit does.
    statPtr->typ = elem<&TypApp::app_typ>(statPtr->memPtr->RTE_APP_TYP_RA, app.idx);
    captureTyp(statPtr, his::app_typ, app);
}

void clsTypVid(CmRteStat *statPtr, const TypLkup &lkup) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    statPtr->typVidHit = 0;
    if (statPtr->l2TrillFound) {
        CM_TRACE(1, "[TCAM][Type] Type VID cls bypassed on a Trill or S port\n");
    } else {
        const TypIdx vid = firstOwnedTyp(lkup, comRegPtr->rte_typ_vid_en, 0, [&](uint32_t row) {
            CM_TRACE(1, "[TCAM][Type] Type VID Tcam Hit when not enabled. HitIdx: 0x%x\n", row);
        });
        if (vid.hit) {
            CM_TRACE(1, "[TCAM][Type][Hit] Type VID HitIdx: 0x%x\n", vid.idx);
            statPtr->typVid = elem<&TypVid::vid>(statPtr->memPtr->RTE_TYP_VID_EDRAM, portRow(statPtr, vid.idx));
            statPtr->typVidHit = 1;
        }
    }
    // The history sees the VID hit also where the classification is bypassed.
    const TypIdx vidHis = firstOwnedTyp(lkup, comRegPtr->rte_typ_vid_en, 0, [](uint32_t) {});
    if (vidHis.hit)
        captureTyp(statPtr, his::typ, vidHis);
}

void clsTypMtu(CmRteStat *statPtr, const TypLkup &lkup) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const TypIdx mtu = firstOwnedTyp(lkup, comRegPtr->rte_typ_mtu_en, comRegPtr->rte_typ_mtu_unk, [&](uint32_t row) {
        CM_TRACE(1, "[TCAM][Type] Type MTU Tcam hit when not enabled. HitIdx: 0x%x\n", row);
    });
    if (mtu.hit)
        CM_TRACE(1, "[TCAM][Type][Hit] Type MTU HitIdx: 0x%x\n", mtu.idx);
    statPtr->typMtu = field<&TypMtu::mtu>(statPtr->memPtr->RTE_TYP_MTU_SRAM, mtu.idx);
    captureTyp(statPtr, his::typ_mtu, mtu);
}

/// Returns the row whose attributes the frame takes.
uint32_t clsTypAttr(CmRteStat *statPtr, const TypLkup &lkup) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    const TypIdx attrb =
        firstOwnedTyp(lkup, comRegPtr->rte_typ_attrb_en, comRegPtr->rte_typ_attrb_unk, [&](uint32_t row) {
            CM_TRACE(1, "[TCAM][Type] Type Attribute Tcam hit when not enabled. HitIdx: 0x%x\n", row);
        });
    if (attrb.hit)
        CM_TRACE(1, "[TCAM][Type][Hit] Type Attribute HitIdx: 0x%x\n", attrb.idx);
    statPtr->typAttrPolEn = elem<&TypAttr::pol_en>(memPtr->RTE_TYP_ATTRIBUTE_RA, attrb.idx);
    statPtr->typAttrLocMacDrp = elem<&TypAttr::loc_mac_drp>(memPtr->RTE_TYP_ATTRIBUTE_RA, attrb.idx);
    captureTyp(statPtr, his::typ_attrb, attrb);
    return attrb.idx;
}

} // namespace

void TypLu(CmRteStat *statPtr) {
    TypLkup lkup;
    lkup.search(statPtr->memPtr, typKey(statPtr));
    lkup.captureKey(statPtr, his::typ_tcam_key);

    clsAppTyp(statPtr, lkup);
    clsTypVid(statPtr, lkup);
    clsTypMtu(statPtr, lkup);
    const uint32_t attrbIdx = clsTypAttr(statPtr, lkup);

    CM_TRACE(1,
             "[RSLT][Type] Type: %x, TypeVID: %x, TypeMtu: 0x%x, TypeAttr.pol_en: %u, TypAttr.local_mac_drop: %u "
             "(attribW: 0x%x) , ATTR TypIDX=0x%x , ATTR typ unk=0x0%x\n",
             statPtr->typ, statPtr->typVid, statPtr->typMtu, statPtr->typAttrPolEn, statPtr->typAttrLocMacDrp,
             memWord(statPtr->memPtr->RTE_TYP_ATTRIBUTE_RA, elemEntry<&TypAttr::pol_en>(attrbIdx)), attrbIdx,
             statPtr->comRegPtr->rte_typ_attrb_unk);
}

void L2MtuCls(CmRteStat *statPtr) {
    statPtr->l2Mtu = std::min(statPtr->typMtu, statPtr->vlanMtu);
}

void RteEnCk(CmRteStat *statPtr) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    // Unicast and multicast enables are alike but for where they stand.
    const uint32_t idx = statPtr->iivid | (statPtr->l2PselL3IpDaIsMcast ? kRteEnVids : 0);
    const uint32_t addr = elemEntry<&L2Ipv4UcastEn::rte_en>(idx);
    uint32_t data = 0;
    statPtr->l2PselRteEn = 0;
    if (statPtr->l3IpVer == 4) {
        data = memWord(memPtr->RTE_L2_PSEL_IPV4_RTE_EN_SRAM, addr);
        statPtr->l2PselRteEn = elem<&L2Ipv4UcastEn::rte_en>(memPtr->RTE_L2_PSEL_IPV4_RTE_EN_SRAM, idx);
    } else if (statPtr->l3IpVer == 6) {
        data = memWord(memPtr->RTE_L2_PSEL_IPV6_RTE_EN_SRAM, addr);
        statPtr->l2PselRteEn = elem<&L2Ipv6UcastEn::rte_en>(memPtr->RTE_L2_PSEL_IPV6_RTE_EN_SRAM, idx);
    }
    CM_TRACE(1, "[RTE EN SRAM], IIVID=%x, IpDaIsMcast=%x, Addr=%x, RTE EN SRAM Data=%x, RteEn=%x\n", statPtr->iivid,
             statPtr->l2PselL3IpDaIsMcast, addr, data, statPtr->l2PselRteEn);
}
