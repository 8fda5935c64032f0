#include "lue/cmRteLue.h"

#include "base/cmLu.h"
#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"

namespace {

constexpr uint32_t kMacTblCnt = 64;    // sub-tables of the MAC TCAM
constexpr uint32_t kMacEntryCnt = 32;  // entries in one of them
constexpr uint32_t kMacEntryWords = 8; // words of an entry, X and Y

/// What the 64 sub-tables of the MAC TCAM found.
struct MacHits {
    uint32_t hit[kMacTblCnt];
    uint32_t entry[kMacTblCnt];

    uint32_t clsIdx(uint32_t tbl) const { return tbl << 5 | entry[tbl]; }
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
ClsIdx firstCloud(const CmTcamTbl &tcamTbl, const uint32_t (&mask)[4], uint32_t unkIdx) {
    for (uint32_t i = 0; i < tcamTbl.hitCount; i++) {
        const uint32_t entry = tcamTbl.hitList[i];
        if (bit(mask[3 - (entry >> 12)], entry >> 7 & 31))
            return {1, entry};
    }
    return {0, unkIdx};
}

} // namespace

void MacCls(CmRteStat *statPtr) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiPortReg *portRegPtr = statPtr->portRegPtr;
    CmRteHsiMem *memPtr = statPtr->memPtr;
    const CmRteHisCtl ctl = hisCtl(statPtr);

    static CmTcamTbl tcamTbl;
    tcamTbl = CmTcamTbl();
    tcamTbl.keySiz = 101;
    tcamTbl.u64Key = static_cast<uint64_t>(statPtr->ingPhyPort & 0x1f) << 32;
    tcamTbl.u64Key1 = bits64(statPtr->l2MacClsSa, 47, 0);
    if (portRegPtr->rte_prc_mac_cls_profile) {
        tcamTbl.u64Key1 |= static_cast<uint64_t>(statPtr->l2Etyp & 0xffff) << 48;
    } else {
        tcamTbl.u64Key |= bits64(statPtr->l2MacClsDa, 47, 16);
        tcamTbl.u64Key1 |= bits64(statPtr->l2MacClsDa, 15, 0) << 48;
    }
    CM_TRACE(1, "[TCAM][L2Mac] Search with Key: 0x%llx %llx\n", static_cast<unsigned long long>(tcamTbl.u64Key),
             static_cast<unsigned long long>(tcamTbl.u64Key1));

    tcamTbl.tcamSiz = kMacEntryCnt;
    MacHits hits;
    for (uint32_t tbl = 0; tbl < kMacTblCnt; tbl++) {
        constexpr uint32_t tblWords = kMacEntryCnt * kMacEntryWords;
        tcamTbl.tcam = CmLuMem(memPtr->RTE_L2_MAC_TCAM).subspan(tbl * tblWords, tblWords);
        CmTcamLu(&tcamTbl);
        hits.hit[tbl] = tcamTbl.tcamHit;
        hits.entry[tbl] = tcamTbl.rsltIdx;
    }
    if (!prcVerdict(statPtr))
        CmRteHisU128NoRng(ctl, tcamTbl.u64Key, tcamTbl.u64Key1, 112, &comRegPtr->rte_his_l2_mac_tcam_key[0][0]);

    ClsIdx vid = {0, 0};
    if (statPtr->l2TrillFound) {
        CM_TRACE(1, "[TCAM][L2Mac-vid] MAC VID classification bypassed for the trill port\n");
    } else if (portRegPtr->rte_prc_l2_mac_vid_en) {
        vid = firstMac(hits, comRegPtr->rte_l2_mac_vid_en_0, comRegPtr->rte_l2_mac_vid_en_1, [&](uint32_t clsIdx) {
            CM_TRACE(1, "[TCAM][L2Mac] L2 Mac Vid Tcam hit when not enabled. HitIdx: 0x%x\n", clsIdx);
        });
        if (vid.hit) {
            statPtr->macVidHit = 1;
            statPtr->macVid = memWord(memPtr->RTE_L2_MAC_VID_SRAM, vid.idx);
            CM_TRACE(1, "[TCAM][L2Mac-vid][Hit] HitIdx: 0x%x\n", vid.idx);
        }
    }
    // On a TRILL port the history sees the hit also where the classification is bypassed.
    uint32_t vidHisKey = statPtr->macVidHit << 11 | vid.idx;
    if (statPtr->isTrillPort) {
        ClsIdx vidHis = {0, 0};
        if (portRegPtr->rte_prc_l2_mac_vid_en)
            vidHis = firstMac(hits, comRegPtr->rte_l2_mac_vid_en_0, comRegPtr->rte_l2_mac_vid_en_1, [](uint32_t) {});
        vidHisKey = vidHis.hit << 11 | vidHis.idx;
    }
    CmRteHisU32(ctl, vidHisKey, comRegPtr->rte_lue_l2_mac_vid_addr_hi, comRegPtr->rte_lue_l2_mac_vid_addr_lo, 0x7ff, 16,
                &comRegPtr->rte_his_l2_mac_vid[0]);

    ClsIdx prio = {0, 0};
    if (portRegPtr->rte_prc_l2_mac_prio_en) {
        prio = firstMac(hits, comRegPtr->rte_l2_mac_prio_en_0, comRegPtr->rte_l2_mac_prio_en_1, [&](uint32_t clsIdx) {
            CM_TRACE(1, "[TCAM][L2Mac] L2 Mac Priority TCam hit when not enabled. HitIdx: 0x%x\n", clsIdx);
        });
        if (prio.hit) {
            // The chip hands its enable on as the hit flag.
            statPtr->macPrioHit = portRegPtr->rte_prc_l2_mac_prio_en;
            const uint32_t prioByte =
                memWord(memPtr->RTE_L2_MAC_PRIO_RA, prio.idx >> 2) >> 8 * (3 - (prio.idx & 3)) & 0xff;
            statPtr->macPrio = bits(prioByte, 2, 0);
            statPtr->macDp = bits(prioByte, 4, 3);
            CM_TRACE(1, "[TCAM][L2Mac-prio][Hit] HitIdx: 0x%x\n", prio.idx);
        }
    }
    CmRteHisU32(ctl, statPtr->macPrioHit << 11 | prio.idx, comRegPtr->rte_lue_l2_mac_prio_addr_hi,
                comRegPtr->rte_lue_l2_mac_prio_addr_lo, 0x7ff, 16, &comRegPtr->rte_his_l2_mac_prio[0]);

    if (portRegPtr->rte_prc_l2_sts_mac_en && !prcVerdict(statPtr)) {
        const ClsIdx sts =
            firstMac(hits, comRegPtr->rte_l2_mac_sts_en_0, comRegPtr->rte_l2_mac_sts_en_1, [&](uint32_t clsIdx) {
                CM_TRACE(1, "[TCAM][L2Mac]L2 Mac Sts Tcam Hit when not enabled. HitIdx: 0x%x\n", clsIdx);
            });
        if (sts.hit) {
            uint32_t *frmCnt = &memPtr->RTE_L2_MAC_STS_FCNT_SRAM[2 * sts.idx];
            uint32_t *byteCnt = &memPtr->RTE_L2_MAC_STS_BCNT_SRAM[2 * sts.idx];
            IncrSts(frmCnt, kFrmCntMsk, 1);
            IncrSts(byteCnt, kByteCntMsk, statPtr->frmLen);
            statPtr->mac_sts_hit = 1;
            CM_TRACE(1, "[TCAM][L2Mac-stats][Hit] HitIdx: 0x%x, NewFCnt: 0x%x, NewBCnt: 0x%x\n", sts.idx, frmCnt[1],
                     byteCnt[1]);
        }
    }

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
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    CmRteHsiMem *memPtr = statPtr->memPtr;
    const CmRteHisCtl ctl = hisCtl(statPtr);

    uint32_t iscvid = 0;
    if (statPtr->l2QinqEn)
        iscvid = (statPtr->stagNz ? statPtr->xsvid : statPtr->portRegPtr->rte_prc_def_inner_vlan_id) & 0x1fff;

    static CmTcamTbl tcamTbl;
    tcamTbl = CmTcamTbl();
    tcamTbl.keySiz = 82;
    if (statPtr->isTrillPort && !statPtr->l2QinqEn) {
        tcamTbl.u64Key = 1u << 17;
        tcamTbl.u64Key1 =
            static_cast<uint64_t>(statPtr->l2TrillMc & 1) << 52 | static_cast<uint64_t>(statPtr->l2TrillEgr & 1) << 51 |
            static_cast<uint64_t>(statPtr->isTrillPort & 1) << 50 |
            static_cast<uint64_t>(statPtr->l2TrillFound & 1) << 49 | static_cast<uint64_t>(statPtr->ctagNz & 1) << 48 |
            static_cast<uint64_t>(statPtr->l2TrillRcvVpnId & 0xfffff) << 24 | (statPtr->icvid & 0x1fff) << 5 |
            (statPtr->ingPhyPort & 0x1f);
    } else {
        tcamTbl.u64Key = (statPtr->ctagNz & 1) << 16 | bits64(statPtr->l2Sa, 47, 32);
        tcamTbl.u64Key1 = bits64(statPtr->l2Sa, 31, 0) << 32 | iscvid << 19 | (statPtr->icvid & 0x1fff) << 6 |
                          (statPtr->l2QinqEn & 1) << 5 | (statPtr->ingPhyPort & 0x1f);
    }
    const auto key = static_cast<unsigned long long>(tcamTbl.u64Key);
    const auto key1 = static_cast<unsigned long long>(tcamTbl.u64Key1);
    if (statPtr->isTrillPort && !statPtr->l2QinqEn)
        CM_TRACE(1, "[Cloud] Search with TRILL & non-QinQ Key: 0x%llx %16.16llx\n", key, key1);
    else if (statPtr->isTrillPort)
        CM_TRACE(1, "[Cloud] Search with TRILL & QinQ Key: 0x%llx %16.16llx\n", key, key1);
    else if (statPtr->l2QinqEn)
        CM_TRACE(1, "[Cloud] Search with non-TRILL & QinQ Key: 0x%llx %16.16llx\n", key, key1);
    else
        CM_TRACE(1, "[Cloud] Search with non-TRILL & non-QinQ Key: 0x%llx %16.16llx\n", key, key1);

    tcamTbl.tcamSiz = 16384;
    tcamTbl.tcam = memPtr->RTE_CLOUD_TCAM;
    CmTcamLu(&tcamTbl);
    if (!prcVerdict(statPtr))
        CmRteHisU96NoRng(ctl, tcamTbl.u64Key, tcamTbl.u64Key1, 88, &comRegPtr->rte_his_csc_tcam_key[0][0]);

    const uint32_t vpnMask[4] = {comRegPtr->csc_vpn_mask_0, comRegPtr->csc_vpn_mask_1, comRegPtr->csc_vpn_mask_2,
                                 comRegPtr->csc_vpn_mask_3};
    const ClsIdx vpn = firstCloud(tcamTbl, vpnMask, comRegPtr->csc_unk_vpn_rslt_addr);
    if (vpn.hit)
        CM_TRACE(1, "[TCAM][VPN][Hit] VPN HitIdx: 0x%x\n", vpn.idx);
    const uint64_t vpnRslt = static_cast<uint64_t>(memWord(memPtr->RTE_CLOUD_RSLT_VPN_SRAM, 2 * vpn.idx)) << 32 |
                             memWord(memPtr->RTE_CLOUD_RSLT_VPN_SRAM, 2 * vpn.idx + 1);
    CM_TRACE(1, "[TCAM][VPN] VPN Idx=0x%x, result=0x%llx\n", vpn.idx, static_cast<unsigned long long>(vpnRslt));
    CmRteHisU32(ctl, vpn.hit << 14 | vpn.idx, comRegPtr->rte_lue_csc_vpn_addr_hi, comRegPtr->rte_lue_csc_vpn_addr_lo,
                0x3fff, 16, &comRegPtr->rte_his_csc_vpn_rslt[0]);

    const uint32_t rsltIivid = static_cast<uint32_t>(bits64(vpnRslt, 32, 20));
    if (statPtr->l2QinqEn && rsltIivid == comRegPtr->res_s_passthru_ivid) {
        statPtr->iivid = iscvid;
        CM_TRACE(1, "VID passthrough on S-PORT, pass_thru_ivid = 0x%x\n", comRegPtr->res_s_passthru_ivid);
    } else if (rsltIivid == comRegPtr->res_passthru_ivid) {
        statPtr->iivid = statPtr->icvid;
        CM_TRACE(1, "VID passthrough, pass_thru_ivid = 0x%x\n", comRegPtr->res_passthru_ivid);
    } else {
        statPtr->iivid = rsltIivid;
        CM_TRACE(1, "IIVID from VPN CLS lookup =  0x%x\n", statPtr->iivid);
    }

    const uint32_t passthruVpn = comRegPtr->rte_res_passthru_vpn_id;
    if (statPtr->dbgLvl > 0) {
        uint32_t passthruCnt = 0;
        for (const uint32_t row : memPtr->RTE_IIVID_VPNID_SRAM)
            passthruCnt += (row & 0xfffff) == passthruVpn;
        CM_TRACE_RAW(0, "CM TMP>> IIVID_VPNID passthru count = %u\n", passthruCnt);
    }

    // The VLAN's own row wins over the cloud result, and that over what came with the frame.
    const uint32_t ividVpn = memWord(memPtr->RTE_IIVID_VPNID_SRAM, statPtr->iivid) & 0xfffff;
    const uint32_t cloudVpn = static_cast<uint32_t>(bits64(vpnRslt, 19, 0));
    if (ividVpn != passthruVpn) {
        statPtr->vpn_id = ividVpn;
        CM_TRACE(1, "VPN from IVID_VPNID\n");
    } else if (cloudVpn != passthruVpn) {
        statPtr->vpn_id = cloudVpn;
        CM_TRACE(1, "VPN from CLOUD_RSLT (IVID_VPNID passthru=%x)\n", passthruVpn);
    } else {
        statPtr->vpn_id = statPtr->l2QinqEn ? (statPtr->l2TrillRcvVpnId & 0xfe000) | iscvid : statPtr->l2TrillRcvVpnId;
        CM_TRACE(1, "VPN from ingress/default (CLOUD and IVID_VPNID passthru)\n");
    }
    CM_TRACE(1, "[RSLT][Cloud] IIVID: 0x%x, VPN ID: 0x%x\n", statPtr->iivid, statPtr->vpn_id);
    if (!prcVerdict(statPtr))
        CmRteHisU32(ctl, statPtr->iivid, comRegPtr->rte_lue_csc_iivid_vpn_id_addr_hi,
                    comRegPtr->rte_lue_csc_iivid_vpn_id_addr_lo, 0x1fff, 16, &comRegPtr->rte_his_csc_iivid_vpn_id[0]);

    statPtr->cldTransp = 0;

    const uint32_t policyMask[4] = {comRegPtr->csc_policy_mask[0], comRegPtr->csc_policy_mask[1],
                                    comRegPtr->csc_policy_mask[2], comRegPtr->csc_policy_mask[3]};
    const ClsIdx policy = firstCloud(tcamTbl, policyMask, comRegPtr->csc_unk_policy_rslt_addr);
    if (policy.hit)
        CM_TRACE(1, "[TCAM][Cloud][Hit] Policy HitIdx: 0x%x\n", policy.idx);
    statPtr->policyId = memWord(memPtr->RTE_CLOUD_RSLT_POLICY_SRAM, policy.idx) & 0xfff;
    CM_TRACE(1, "[RSLT][Cloud] Policy ID: 0x%x\n", statPtr->policyId);
    CmRteHisU32(ctl, policy.hit << 14 | policy.idx, comRegPtr->rte_lue_csc_policy_addr_hi,
                comRegPtr->rte_lue_csc_policy_addr_lo, 0x3fff, 16, &comRegPtr->rte_his_csc_policy_rslt[0]);

    statPtr->vlanMtu = memWord(memPtr->RTE_L2_VLAN_MTU_SRAM, statPtr->iivid);
    CmRteHisU32(ctl, statPtr->iivid, comRegPtr->rte_lue_l2_mtu_addr_hi, comRegPtr->rte_lue_l2_mtu_addr_lo, 0x3fff, 16,
                &comRegPtr->rte_his_l2_vid_mtu[0]);
}
