#include "lue/cmRteLue.h"

#include "base/cmLu.h"
#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"

#include <algorithm>

namespace {

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
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    CmRteHsiMem *memPtr = statPtr->memPtr;

    uint32_t vid = defInnerVid(statPtr);
    if (statPtr->l2QinqEn) {
        if (statPtr->stagNz)
            vid = statPtr->xsvid;
    } else if (statPtr->ctagNz) {
        vid = statPtr->l2TrillFound ? statPtr->ctag : statPtr->xcvid;
    }

    static CmTcamTbl tcamTbl;
    tcamTbl = CmTcamTbl();
    tcamTbl.keySiz = 62;
    tcamTbl.u64Key = static_cast<uint64_t>(statPtr->l2TrillFound & 1) << 61 |
                     static_cast<uint64_t>(vid & 0x1fff) << 48 | bits64(statPtr->l2MacClsDa, 47, 0);
    tcamTbl.tcamSiz = 1024;
    tcamTbl.tcam = memPtr->RTE_L2_CONTROL_TCAM;
    CmTcamLu(&tcamTbl);
    CM_TRACE(1, "[TCAM][L2Ctrl] Search with Key: 0x%llx , Expected hit=0x%x , Expected RsltIdx=0x%x \n",
             static_cast<unsigned long long>(tcamTbl.u64Key), tcamTbl.tcamHit, tcamTbl.rsltIdx);

    if (!prcVerdict(statPtr))
        CmRteHisU64NoRng(hisCtl(statPtr), tcamTbl.u64Key, 62, &statPtr->comRegPtr->rte_his_l2_ctl_tcam_key[0][0]);

    if (tcamTbl.tcamHit) {
        const uint32_t skipIvf = memWord(memPtr->RTE_L2_CONTROL_RSLT_SRAM, 2 * tcamTbl.rsltIdx);
        const uint32_t vlanOverride = memWord(memPtr->RTE_L2_CONTROL_RSLT_SRAM, 2 * tcamTbl.rsltIdx + 1);
        // The parser may have set them before; they are never taken back here.
        if (bit(vlanOverride, statPtr->ingPhyPort))
            statPtr->l2CtlVlanOverride = 1;
        if (bit(skipIvf, statPtr->ingPhyPort))
            statPtr->l2CtlSkipIvf = 1;
    }

    if (!prcVerdict(statPtr))
        CmRteHisU32(hisCtl(statPtr), tcamTbl.tcamHit << 10 | tcamTbl.rsltIdx, comRegPtr->rte_lue_l2_ctl_rslt_addr_hi,
                    comRegPtr->rte_lue_l2_ctl_rslt_addr_lo, 0x3ff, 16, &statPtr->comRegPtr->rte_his_l2_ctl_rslt[0]);
}

namespace {

/// Index of a type lookup: the default row, or the first hit that the classification owns.
struct TypIdx {
    uint32_t hit;
    uint32_t idx;
};

/// Walks the hits of the type TCAM up to the first one in a block of 32 entries whose bit stands in `ownMsk`.
/// `onUnowned` is called for each hit passed over.
template <class OnUnowned>
TypIdx firstOwnedTyp(const CmTcamTbl &tcamTbl, uint32_t ownMsk, uint32_t unkIdx, OnUnowned onUnowned) {
    for (uint32_t i = 0; i < tcamTbl.hitCount; i++) {
        const uint32_t entry = tcamTbl.hitList[i];
        if (bit(ownMsk, entry >> 5))
            return {1, entry};
        onUnowned(entry);
    }
    return {0, unkIdx};
}

/// The word that the type histories keep: hit flag, port and index.
uint32_t typHisKey(const CmRteStat *statPtr, const TypIdx &found) {
    return found.hit << 15 | statPtr->ingPhyPort << 10 | found.idx;
}

} // namespace

void TypLu(CmRteStat *statPtr) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    CmRteHsiMem *memPtr = statPtr->memPtr;
    const CmRteHisCtl ctl = hisCtl(statPtr);

    static CmTcamTbl tcamTbl;
    tcamTbl = CmTcamTbl();
    tcamTbl.keySiz = 64;
    tcamTbl.u64Key = static_cast<uint64_t>(statPtr->portRegPtr->rte_prc_class_lgc_port & 0x1f) << 59 |
                     static_cast<uint64_t>(statPtr->typL3Frag & 1) << 58 |
                     static_cast<uint64_t>(statPtr->typL2TrillFound & 1) << 57 |
                     static_cast<uint64_t>(statPtr->typL2LlcDet & 1) << 56 |
                     static_cast<uint64_t>(statPtr->typL3Ulp & 0xff) << 48 |
                     static_cast<uint64_t>(statPtr->typL2Etyp & 0xffff) << 32 | (statPtr->typL4Src & 0xffff) << 16 |
                     (statPtr->typL4Dst & 0xffff);
    tcamTbl.tcamSiz = 1024;
    tcamTbl.tcam = memPtr->RTE_TYP_TCAM;
    CmTcamLu(&tcamTbl);
    CmRteHisU96NoRng(ctl, 0, tcamTbl.u64Key, 64, &comRegPtr->rte_his_typ_tcam_key[0][0]);

    // The default index names a row, as a hit does.
    const TypIdx app =
        firstOwnedTyp(tcamTbl, comRegPtr->rte_app_typ_en, comRegPtr->rte_app_typ_unk, [&](uint32_t entry) {
            CM_TRACE(1, "[TCAM][Type] App Type Tcam Hit when not enabled. HitIdx: 0x%x\n", entry);
        });
    if (app.hit)
        CM_TRACE(1, "[TCAM][Type][Hit] App Type HitIdx: 0x%x\n", app.idx);
    statPtr->typ = memWord(memPtr->RTE_APP_TYP_RA, app.idx >> 2) >> 8 * (3 - (app.idx & 3)) & 0xff;
    CmRteHisU32(ctl, typHisKey(statPtr, app), comRegPtr->rte_lue_l2_typ_app_addr_hi,
                comRegPtr->rte_lue_l2_typ_app_addr_lo, 0x7fff, 16, &comRegPtr->rte_his_app_typ[0]);

    statPtr->typVidHit = 0;
    if (statPtr->l2TrillFound) {
        CM_TRACE(1, "[TCAM][Type] Type VID cls bypassed on a Trill or S port\n");
    } else {
        const TypIdx vid = firstOwnedTyp(tcamTbl, comRegPtr->rte_typ_vid_en, 0, [&](uint32_t entry) {
            CM_TRACE(1, "[TCAM][Type] Type VID Tcam Hit when not enabled. HitIdx: 0x%x\n", entry);
        });
        if (vid.hit) {
            CM_TRACE(1, "[TCAM][Type][Hit] Type VID HitIdx: 0x%x\n", vid.idx);
            const uint32_t row = (vid.idx & 0x3ff) | (statPtr->ingPhyPort & 31) << 10;
            const uint32_t pair = memWord(memPtr->RTE_TYP_VID_EDRAM, row >> 1);
            statPtr->typVid = (vid.idx & 1 ? pair : pair >> 16) & 0x1fff;
            statPtr->typVidHit = 1;
        }
    }
    // The history sees the VID hit also where the classification is bypassed.
    const TypIdx vidHis = firstOwnedTyp(tcamTbl, comRegPtr->rte_typ_vid_en, 0, [](uint32_t) {});
    if (vidHis.hit)
        CmRteHisU32(ctl, typHisKey(statPtr, vidHis), comRegPtr->rte_lue_l2_typ_vid_addr_hi,
                    comRegPtr->rte_lue_l2_typ_vid_addr_lo, 0x7fff, 16, &comRegPtr->rte_his_typ[0]);

    const TypIdx mtu =
        firstOwnedTyp(tcamTbl, comRegPtr->rte_typ_mtu_en, comRegPtr->rte_typ_mtu_unk, [&](uint32_t entry) {
            CM_TRACE(1, "[TCAM][Type] Type MTU Tcam hit when not enabled. HitIdx: 0x%x\n", entry);
        });
    if (mtu.hit)
        CM_TRACE(1, "[TCAM][Type][Hit] Type MTU HitIdx: 0x%x\n", mtu.idx);
    statPtr->typMtu = memWord(memPtr->RTE_TYP_MTU_SRAM, mtu.idx);
    CmRteHisU32(ctl, typHisKey(statPtr, mtu), comRegPtr->rte_lue_l2_typ_mtu_addr_hi,
                comRegPtr->rte_lue_l2_typ_mtu_addr_lo, 0x7fff, 16, &comRegPtr->rte_his_typ_mtu[0]);

    const TypIdx attrb =
        firstOwnedTyp(tcamTbl, comRegPtr->rte_typ_attrb_en, comRegPtr->rte_typ_attrb_unk, [&](uint32_t entry) {
            CM_TRACE(1, "[TCAM][Type] Type Attribute Tcam hit when not enabled. HitIdx: 0x%x\n", entry);
        });
    if (attrb.hit)
        CM_TRACE(1, "[TCAM][Type][Hit] Type Attribute HitIdx: 0x%x\n", attrb.idx);
    const uint32_t attribW = memWord(memPtr->RTE_TYP_ATTRIBUTE_RA, attrb.idx >> 4);
    const uint32_t pair = attribW >> (30 - 2 * (attrb.idx & 15));
    statPtr->typAttrPolEn = bit(pair, 0);
    statPtr->typAttrLocMacDrp = bit(pair, 1);
    CmRteHisU32(ctl, typHisKey(statPtr, attrb), comRegPtr->rte_lue_l2_typ_attrb_addr_hi,
                comRegPtr->rte_lue_l2_typ_attrb_addr_lo, 0x7fff, 16, &comRegPtr->rte_his_typ_attrb[0]);

    CM_TRACE(1,
             "[RSLT][Type] Type: %x, TypeVID: %x, TypeMtu: 0x%x, TypeAttr.pol_en: %u, TypAttr.local_mac_drop: %u "
             "(attribW: 0x%x) , ATTR TypIDX=0x%x , ATTR typ unk=0x0%x\n",
             statPtr->typ, statPtr->typVid, statPtr->typMtu, statPtr->typAttrPolEn, statPtr->typAttrLocMacDrp, attribW,
             attrb.idx, comRegPtr->rte_typ_attrb_unk);
}

void L2MtuCls(CmRteStat *statPtr) {
    statPtr->l2Mtu = std::min(statPtr->typMtu, statPtr->vlanMtu);
}

void RteEnCk(CmRteStat *statPtr) {
    const uint32_t addr = statPtr->iivid >> 5 | (statPtr->l2PselL3IpDaIsMcast ? 0x100 : 0);
    uint32_t data = 0;
    if (statPtr->l3IpVer == 4)
        data = memWord(statPtr->memPtr->RTE_L2_PSEL_IPV4_RTE_EN_SRAM, addr);
    else if (statPtr->l3IpVer == 6)
        data = memWord(statPtr->memPtr->RTE_L2_PSEL_IPV6_RTE_EN_SRAM, addr);
    statPtr->l2PselRteEn = bit(data, statPtr->iivid & 31);
    CM_TRACE(1, "[RTE EN SRAM], IIVID=%x, IpDaIsMcast=%x, Addr=%x, RTE EN SRAM Data=%x, RteEn=%x\n", statPtr->iivid,
             statPtr->l2PselL3IpDaIsMcast, addr, data, statPtr->l2PselRteEn);
}
