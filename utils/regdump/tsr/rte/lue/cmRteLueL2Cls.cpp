#include "lue/cmRteLue.h"

#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmRteLkup.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "tbl/tsr_tbl.h"

namespace {

using MacLkup = CmTcamLkup<&CmRteHsiMem::RTE_L2_MAC_TCAM, L2MacKey>;
using CloudLkup = CmTcamLkup<&CmRteHsiMem::RTE_CLOUD_TCAM, CloudKey, CloudTrillKey>;

constexpr uint32_t kMacTblCnt = 64; // sub-tables of the MAC TCAM
constexpr uint32_t kMacTblEntries = MacLkup::kEntries / kMacTblCnt;
constexpr uint32_t kCloudBlkEntries = 128; // entries of the cloud TCAM with one mask bit

/// What the 64 sub-tables of the MAC TCAM found.
struct MacHits {
    uint32_t hit[kMacTblCnt];
    uint32_t entry[kMacTblCnt];

    uint32_t clsIdx(uint32_t tbl) const { return tbl * kMacTblEntries + entry[tbl]; }
};

struct ClsIdx {
    uint32_t hit;
    uint32_t idx; // table index, the default one without a hit
};

/// The first sub-table that hit and is enabled: `en1` has the bits of sub-tables 0 to 31, `en0` of 32 to 63.
/// `onDisabled` is called with the class index of each hit passed over.
template <class OnDisabled> ClsIdx firstMac(const MacHits &hits, uint32_t en0, uint32_t en1, OnDisabled onDisabled) {
    for (uint32_t tbl = 0; tbl < kMacTblCnt; tbl++) {
        if (!hits.hit[tbl])
            continue;
        if (tbl < 32 ? bit(en1, tbl) : bit(en0, tbl - 32))
            return {1, hits.clsIdx(tbl)};
        onDisabled(hits.clsIdx(tbl));
    }
    return {0, 0};
}

/// The first hit of the cloud TCAM whose block of 128 entries is set in the four mask registers, the last of which has
/// the first 32 blocks; else `unkIdx`.
ClsIdx firstCloud(const CloudLkup &lkup, const uint32_t (&mask)[4], uint32_t unkIdx) {
    for (const uint32_t row : lkup.hits()) {
        const uint32_t blk = row / kCloudBlkEntries;
        if (bit(mask[3 - blk / 32], blk % 32))
            return {1, row};
    }
    return {0, unkIdx};
}

L2MacKey macKey(const CmRteStat *statPtr) {
    const bool byEtyp = statPtr->portRegPtr->rte_prc_mac_cls_profile != 0;
    return {.phy_port = statPtr->ingPhyPort,
            .da = byEtyp ? statPtr->l2Etyp & 0xffff : statPtr->l2MacClsDa,
            .l2_etyp = 0, // stands in the low bits of the address
            .sa = statPtr->l2MacClsSa};
}

/// Searches each sub-table for itself with the key of `lkup`.
void searchMacTbls(const CmRteStat *statPtr, MacLkup &lkup, MacHits &hits) {
    for (uint32_t tbl = 0; tbl < kMacTblCnt; tbl++) {
        lkup.searchIn(statPtr->memPtr, tbl * kMacTblEntries, kMacTblEntries);
        hits.hit[tbl] = lkup.hit();
        hits.entry[tbl] = lkup.idx();
    }
}

MacHits searchMac(const CmRteStat *statPtr) {
    MacLkup lkup;
    lkup.setKey(macKey(statPtr));
    CM_TRACE(1, "[TCAM][L2Mac] Search with Key: 0x%llx %llx\n", lkup.key().qword(0), lkup.key().qword(1));

    MacHits hits{};
    lkup.searchIn(statPtr->memPtr, 0, MacLkup::kEntries);
    for (const uint32_t row : lkup.hits()) {
        const uint32_t tbl = row / kMacTblEntries;
        if (!hits.hit[tbl])
            hits.entry[tbl] = row % kMacTblEntries;
        hits.hit[tbl] = 1;
    }
    if (lkup.hits().size() == kHitListSiz)
        searchMacTbls(statPtr, lkup, hits); // there may be more hits than one search lists
    if (!prcVerdict(statPtr))
        lkup.captureKey(statPtr, his::l2_mac_tcam_key);
    return hits;
}

void clsMacVid(CmRteStat *statPtr, const MacHits &hits) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;

    ClsIdx vid = {0, 0};
    if (statPtr->l2TrillFound) {
        CM_TRACE(1, "[TCAM][L2Mac-vid] MAC VID classification bypassed for the trill port\n");
    } else if (portRegPtr->rte_prc_l2_mac_vid_en) {
        vid = firstMac(hits, comRegPtr->rte_l2_mac_vid_en_0, comRegPtr->rte_l2_mac_vid_en_1, [&](uint32_t clsIdx) {
            CM_TRACE(1, "[TCAM][L2Mac] L2 Mac Vid Tcam hit when not enabled. HitIdx: 0x%x\n", clsIdx);
        });
        if (vid.hit) {
            statPtr->macVidHit = 1;
            statPtr->macVid = field<&L2MacVid::vid>(statPtr->memPtr->RTE_L2_MAC_VID_SRAM, vid.idx);
            CM_TRACE(1, "[TCAM][L2Mac-vid][Hit] HitIdx: 0x%x\n", vid.idx);
        }
    }
    // On a TRILL port the history sees the hit also where the classification is bypassed.
    ClsIdx vidHis = {statPtr->macVidHit, vid.idx};
    if (statPtr->isTrillPort) {
        vidHis = {0, 0};
        if (portRegPtr->rte_prc_l2_mac_vid_en)
            vidHis = firstMac(hits, comRegPtr->rte_l2_mac_vid_en_0, comRegPtr->rte_l2_mac_vid_en_1, [](uint32_t) {});
    }
    capture(statPtr, his::l2_mac_vid, vidHis.idx, vidHis.hit);
}

void clsMacPrio(CmRteStat *statPtr, const MacHits &hits) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    const CmRteHsiMem *memPtr = statPtr->memPtr;

    ClsIdx prio = {0, 0};
    if (portRegPtr->rte_prc_l2_mac_prio_en) {
        prio = firstMac(hits, comRegPtr->rte_l2_mac_prio_en_0, comRegPtr->rte_l2_mac_prio_en_1, [&](uint32_t clsIdx) {
            CM_TRACE(1, "[TCAM][L2Mac] L2 Mac Priority TCam hit when not enabled. HitIdx: 0x%x\n", clsIdx);
        });
        if (prio.hit) {
            // The chip hands its enable on as the hit flag.
            statPtr->macPrioHit = portRegPtr->rte_prc_l2_mac_prio_en;
            statPtr->macPrio = elem<&L2MacPrio::prio>(memPtr->RTE_L2_MAC_PRIO_RA, prio.idx);
            statPtr->macDp = elem<&L2MacPrio::dp>(memPtr->RTE_L2_MAC_PRIO_RA, prio.idx);
            CM_TRACE(1, "[TCAM][L2Mac-prio][Hit] HitIdx: 0x%x\n", prio.idx);
        }
    }
    capture(statPtr, his::l2_mac_prio, prio.idx, statPtr->macPrioHit);
}

void countMac(CmRteStat *statPtr, const MacHits &hits) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    CmRteHsiMem *memPtr = statPtr->memPtr;
    if (!statPtr->portRegPtr->rte_prc_l2_sts_mac_en || prcVerdict(statPtr))
        return;
    const ClsIdx sts =
        firstMac(hits, comRegPtr->rte_l2_mac_sts_en_0, comRegPtr->rte_l2_mac_sts_en_1, [&](uint32_t clsIdx) {
            CM_TRACE(1, "[TCAM][L2Mac]L2 Mac Sts Tcam Hit when not enabled. HitIdx: 0x%x\n", clsIdx);
        });
    if (!sts.hit)
        return;
    uint32_t *frmCnt = &memPtr->RTE_L2_MAC_STS_FCNT_SRAM[L2MacFrmCnt::kWords * sts.idx];
    uint32_t *byteCnt = &memPtr->RTE_L2_MAC_STS_BCNT_SRAM[L2MacByteCnt::kWords * sts.idx];
    cmNote(frmCnt, L2MacFrmCnt::kWords);
    cmNote(byteCnt, L2MacByteCnt::kWords);
    IncrSts(frmCnt, kFrmCntMsk, 1);
    IncrSts(byteCnt, kByteCntMsk, statPtr->frmLen);
    statPtr->mac_sts_hit = 1;
    CM_TRACE(1, "[TCAM][L2Mac-stats][Hit] HitIdx: 0x%x, NewFCnt: 0x%x, NewBCnt: 0x%x\n", sts.idx, frmCnt[1],
             byteCnt[1]);
}

/// Searches the cloud TCAM; `iscvid` is the internal service VLAN, which the key without TRILL has.
void searchCloud(const CmRteStat *statPtr, uint32_t iscvid, CloudLkup &lkup) {
    if (statPtr->isTrillPort && !statPtr->l2QinqEn)
        lkup.setKey(CloudTrillKey{.trill_form = 1,
                                  .trill_mc = statPtr->l2TrillMc,
                                  .trill_egr = statPtr->l2TrillEgr,
                                  .trill_port = statPtr->isTrillPort,
                                  .trill_found = statPtr->l2TrillFound,
                                  .ctag_nz = statPtr->ctagNz,
                                  .vpn_id = statPtr->l2TrillRcvVpnId,
                                  .icvid = statPtr->icvid,
                                  .phy_port = statPtr->ingPhyPort});
    else
        lkup.setKey(CloudKey{.trill_form = 0,
                             .ctag_nz = statPtr->ctagNz,
                             .sa = statPtr->l2Sa,
                             .iscvid = iscvid,
                             .icvid = statPtr->icvid,
                             .qinq_en = statPtr->l2QinqEn,
                             .phy_port = statPtr->ingPhyPort});
    CM_TRACE(1, "[Cloud] Search with %s & %s Key: 0x%llx %16.16llx\n", statPtr->isTrillPort ? "TRILL" : "non-TRILL",
             statPtr->l2QinqEn ? "QinQ" : "non-QinQ", lkup.key().qword(0), lkup.key().qword(1));

    lkup.searchIn(statPtr->memPtr, 0, CloudLkup::kEntries);
    if (!prcVerdict(statPtr))
        lkup.captureKey(statPtr, his::csc_tcam_key);
}

/// The cloud's word on VLAN and virtual network.
CloudVpn clsCloudVpn(const CmRteStat *statPtr, const CloudLkup &lkup) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t mask[4] = {comRegPtr->csc_vpn_mask_0, comRegPtr->csc_vpn_mask_1, comRegPtr->csc_vpn_mask_2,
                              comRegPtr->csc_vpn_mask_3};
    const ClsIdx vpn = firstCloud(lkup, mask, comRegPtr->csc_unk_vpn_rslt_addr);
    if (vpn.hit)
        CM_TRACE(1, "[TCAM][VPN][Hit] VPN HitIdx: 0x%x\n", vpn.idx);
    CM_TRACE(1, "[TCAM][VPN] VPN Idx=0x%x, result=0x%llx\n", vpn.idx,
             memQword(memPtr->RTE_CLOUD_RSLT_VPN_SRAM, vpn.idx));
    capture(statPtr, his::csc_vpn_rslt, vpn.idx, vpn.hit);
    return entry<CloudVpn>(memPtr->RTE_CLOUD_RSLT_VPN_SRAM, vpn.idx);
}

void pickIivid(CmRteStat *statPtr, const CloudVpn &rslt, uint32_t iscvid) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (statPtr->l2QinqEn && rslt.iivid == comRegPtr->res_s_passthru_ivid) {
        statPtr->iivid = iscvid;
        CM_TRACE(1, "VID passthrough on S-PORT, pass_thru_ivid = 0x%x\n", comRegPtr->res_s_passthru_ivid);
    } else if (rslt.iivid == comRegPtr->res_passthru_ivid) {
        statPtr->iivid = statPtr->icvid;
        CM_TRACE(1, "VID passthrough, pass_thru_ivid = 0x%x\n", comRegPtr->res_passthru_ivid);
    } else {
        statPtr->iivid = rslt.iivid;
        CM_TRACE(1, "IIVID from VPN CLS lookup =  0x%x\n", statPtr->iivid);
    }
}

/// The VLAN's own row wins over the cloud result, and that over what came with the frame.
void pickVpn(CmRteStat *statPtr, const CloudVpn &rslt, uint32_t iscvid) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t passthruVpn = statPtr->comRegPtr->rte_res_passthru_vpn_id;
    if (statPtr->dbgLvl > 0) {
        uint32_t passthruCnt = 0;
        for (const uint32_t &row : memPtr->RTE_IIVID_VPNID_SRAM)
            passthruCnt += fieldAt<&IividVpn::vpn_id>(&row) == passthruVpn;
        CM_TRACE_RAW(0, "CM TMP>> IIVID_VPNID passthru count = %u\n", passthruCnt);
    }

    const uint32_t ividVpn = field<&IividVpn::vpn_id>(memPtr->RTE_IIVID_VPNID_SRAM, statPtr->iivid);
    if (ividVpn != passthruVpn) {
        statPtr->vpn_id = ividVpn;
        CM_TRACE(1, "VPN from IVID_VPNID\n");
    } else if (rslt.vpn_id != passthruVpn) {
        statPtr->vpn_id = rslt.vpn_id;
        CM_TRACE(1, "VPN from CLOUD_RSLT (IVID_VPNID passthru=%x)\n", passthruVpn);
    } else {
        statPtr->vpn_id = statPtr->l2QinqEn ? (statPtr->l2TrillRcvVpnId & 0xfe000) | iscvid : statPtr->l2TrillRcvVpnId;
        CM_TRACE(1, "VPN from ingress/default (CLOUD and IVID_VPNID passthru)\n");
    }
    CM_TRACE(1, "[RSLT][Cloud] IIVID: 0x%x, VPN ID: 0x%x\n", statPtr->iivid, statPtr->vpn_id);
    if (!prcVerdict(statPtr))
        capture(statPtr, his::csc_iivid_vpn_id, statPtr->iivid);
}

void clsPolicy(CmRteStat *statPtr, const CloudLkup &lkup) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const ClsIdx policy = firstCloud(lkup, comRegPtr->csc_policy_mask, comRegPtr->csc_unk_policy_rslt_addr);
    if (policy.hit)
        CM_TRACE(1, "[TCAM][Cloud][Hit] Policy HitIdx: 0x%x\n", policy.idx);
    statPtr->policyId = field<&CloudPolicy::policy_id>(statPtr->memPtr->RTE_CLOUD_RSLT_POLICY_SRAM, policy.idx);
    CM_TRACE(1, "[RSLT][Cloud] Policy ID: 0x%x\n", statPtr->policyId);
    capture(statPtr, his::csc_policy_rslt, policy.idx, policy.hit);
}

} // namespace

void MacCls(CmRteStat *statPtr) {
    const MacHits hits = searchMac(statPtr);
    clsMacVid(statPtr, hits);
    clsMacPrio(statPtr, hits);
    countMac(statPtr, hits);
    CM_TRACE(1, "[RSLT][L2Mac] MacVid: 0x%x, MacPrio: 0x%x, MacDp: 0x%x\n", statPtr->macVid, statPtr->macPrio,
             statPtr->macDp);
}

void L2VidCls(CmRteStat *statPtr) {
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;

    // A classified VID of 0 counts as none, and the other classification serves.
    const bool typVld = portRegPtr->rte_prc_l2_typ_vid_en && statPtr->typVidHit && statPtr->typVid != 0;
    const bool macVld = portRegPtr->rte_prc_l2_mac_vid_en && statPtr->macVidHit && statPtr->macVid != 0;
    const bool clsVld = typVld || macVld;
    const bool clsIsMac = portRegPtr->rte_prc_l2_typ_mac_prio ? macVld : !typVld;
    const uint32_t clsVid = clsIsMac ? statPtr->macVid : statPtr->typVid;

    if (statPtr->l2CtlVlanOverride) {
        statPtr->icvid = statPtr->comRegPtr->rte_l2_ctl_vid;
        CM_TRACE(1, "Vid Classification -- l2CtlVlanOverride %x\n", statPtr->icvid);
        return;
    }
    if (statPtr->ctagNz) {
        statPtr->icvid = !statPtr->l2QinqEn && !statPtr->l2TrillFound ? statPtr->xcvid : statPtr->ctag;
        CM_TRACE(1, "Vid Classification -- Packet translated tag xvid = %x \n", statPtr->icvid);
        return;
    }
    if (clsVld && !statPtr->l2QinqEn && !statPtr->l2TrillFound) {
        statPtr->icvid = clsVid;
        CM_TRACE(1, "Vid Classification -- %s based Vid %x\n", clsIsMac ? "MAC" : "type", statPtr->icvid);
        return;
    }
    statPtr->icvid = statPtr->l2QinqEn ? portRegPtr->rte_prc_def_cvlan_id : portRegPtr->rte_prc_def_inner_vlan_id;
    if (!statPtr->l2TrillFound && !statPtr->l2QinqEn)
        CM_TRACE(1, "Vid Classification 1-- Port default Vlan %x\n", statPtr->icvid);
    else if (!statPtr->l2TrillFound)
        CM_TRACE(1, "Vid Classification 2-- Port default Vlan %x\n", statPtr->icvid);
    else if (!statPtr->l2QinqEn)
        CM_TRACE(1, "Vid Classification 3-- Port default Vlan %x\n", statPtr->icvid);
    else
        CM_TRACE(1, "Vid Classification 4-- Port default Vlan 0x%x -- 0x%x\n", statPtr->icvid,
                 portRegPtr->rte_prc_def_cvlan_id);
}

void CloudCls(CmRteStat *statPtr) {
    uint32_t iscvid = 0;
    if (statPtr->l2QinqEn)
        iscvid = (statPtr->stagNz ? statPtr->xsvid : statPtr->portRegPtr->rte_prc_def_inner_vlan_id) & 0x1fff;

    CloudLkup lkup;
    searchCloud(statPtr, iscvid, lkup);
    const CloudVpn rslt = clsCloudVpn(statPtr, lkup);
    pickIivid(statPtr, rslt, iscvid);
    pickVpn(statPtr, rslt, iscvid);
    statPtr->cldTransp = 0;
    clsPolicy(statPtr, lkup);

    statPtr->vlanMtu = field<&VlanMtu::mtu>(statPtr->memPtr->RTE_L2_VLAN_MTU_SRAM, statPtr->iivid);
    capture(statPtr, his::l2_vid_mtu, statPtr->iivid);
}
