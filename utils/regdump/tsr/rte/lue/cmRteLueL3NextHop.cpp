// Next hops and multicast user identifiers.

#include "base/cmLu.h"
#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"

namespace {

constexpr uint32_t kNxtHopCnt = 0x28000;

/// Parameters and results of the exact match, refilled before every search.
CmExmTbl exmTbl;

/// The next-hop record, unpacked. Its fields stand where the chip's host numbers them, whatever the memory keeps.
struct NxtHopRcd {
    uint32_t mpid_lgid_egid_mgid;
    uint32_t l2_prio;
    uint32_t mctid_trill_da;
    uint32_t trill_mc;
    uint32_t trill_cmd;
    uint32_t is_mgid;
    uint32_t vsan_tagged;
    uint32_t fcoe_prio_pth;
    uint32_t sa_idx;
    uint32_t eivid;
    uint32_t da_idx;
    uint32_t mcast_typ;
};

NxtHopRcd unpackNxtHop(uint32_t a, uint32_t b, uint32_t c) {
    return {
        .mpid_lgid_egid_mgid = bits(a, 31, 15),
        .l2_prio = bits(a, 14, 12),
        .mctid_trill_da = bits(b, 31, 16),
        .trill_mc = bit(b, 15),
        .trill_cmd = bits(b, 14, 13),
        .is_mgid = bit(b, 12),
        .vsan_tagged = bit(b, 11),
        .fcoe_prio_pth = bit(b, 10),
        .sa_idx = bits(b, 9, 0),
        .eivid = bits(c, 31, 19),
        .da_idx = bits(c, 18, 2),
        .mcast_typ = bits(c, 1, 0),
    };
}

/// Takes group and multicast flag from a word of the path tables.
void takePathWord(CmRteStat *statPtr, uint32_t word) {
    statPtr->l3NxtHopMpidLgidEgidMgid = bits(word, 16, 0);
    statPtr->l3PselIsMgid = bit(word, 17);
}

/// A multicast group found on the way has no multicast type of its own.
void clearMcastTyp(CmRteStat *statPtr) {
    if (statPtr->l3PselIsMgid)
        statPtr->l3PselMcastTyp = MCAST_UCAST_FLOOD;
}

void storeNxtHop(CmRteStat *statPtr, const NxtHopRcd &rcd) {
    statPtr->l3NxtHopTrillCmd = rcd.trill_cmd;
    statPtr->l3NxtHopTrillMc = rcd.trill_mc;
    statPtr->l3PselMcastTyp = rcd.mcast_typ;
    statPtr->l3PselIsMgid = rcd.is_mgid;
    statPtr->l3NxtHopL2DaIdx = rcd.da_idx;
    statPtr->l3NxtHopFcoeL2Prio = rcd.l2_prio;
    statPtr->l3NxtHopFcoeL2PrioPth = rcd.fcoe_prio_pth;
    statPtr->l3NxtHopFcoeL2SaIdx = rcd.sa_idx;
    statPtr->l3NxtHopFcoeVsanTagged = rcd.vsan_tagged;
    statPtr->l3NxtHopMpidLgidEgidMgid = rcd.mpid_lgid_egid_mgid;
    statPtr->l3EividDa = rcd.eivid;

    switch (rcd.trill_cmd) {
    case TRILL_CMD_NONE:
        statPtr->l3NxtHopTrillVld = 0;
        statPtr->l3NxtHopTrillDa = rcd.mctid_trill_da;
        break;
    case TRILL_CMD_MCTID:
        statPtr->l3NxtHopTrillVld = 1;
        statPtr->l3NxtHopMctNpath = bits(rcd.mctid_trill_da, 15, 13);
        statPtr->l3NxtHopMctId = bits(rcd.mctid_trill_da, 12, 0);
        statPtr->l3NxtHopIsMctid = 1;
        break;
    case TRILL_CMD_DEST:
        statPtr->l3NxtHopTrillVld = 1;
        statPtr->l3NxtHopTrillDa = rcd.mctid_trill_da;
        break;
    case TRILL_CMD_OVERRIDE:
        statPtr->l3NxtHopTrillVld = 1;
        statPtr->l3NxtHopTrillDa = rcd.mctid_trill_da;
        statPtr->l3NxtHopTrillEgidOvrd = 1;
        break;
    }
}

/// Follows the record through the tables of the layer-2 path: tree, TRILL destination, multipath group, LAG.
void resolvePath(CmRteStat *statPtr, const NxtHopRcd &rcd) {
    const CmRteHsiMem *mem = statPtr->memPtr;
    if (statPtr->l3NxtHopIsMctid) {
        if (rcd.is_mgid) {
            statPtr->l3NxtHopTrillDa = rcd.mctid_trill_da;
        } else {
            const uint32_t mp = MctMpid(statPtr->l3NxtHopMctId, statPtr->l3NxtHopMctNpath, statPtr);
            const uint32_t word = memWord(mem->RTE_L2_PSEL_MCTID_SRAM, mp);
            statPtr->l3NxtHopTrillDa = word;
            statPtr->l3PselMctIdStsEn = 1;
            statPtr->l3PselMctIdSts = mp;
            CM_TRACE(1, "[L3NextHopLu] MctMpid RTE_L2_PSEL_MCTID_SRAM[%x]=0x%x, trill_da=%x, result:\n", mp, word,
                     statPtr->l3NxtHopTrillDa);
        }
    }
    if (!rcd.is_mgid && statPtr->l3NxtHopTrillVld && !statPtr->l3NxtHopTrillEgidOvrd) {
        const uint32_t word = memWord(mem->RTE_L2_TRILL_DEST_SRAM, statPtr->l3NxtHopTrillDa);
        takePathWord(statPtr, word);
        clearMcastTyp(statPtr);
        CM_TRACE(1, "[L3NextHopLu] trillDestLu RTE_L2_TRILL_DEST_SRAM[%x]=0x%x, result:\n", statPtr->l3NxtHopTrillDa,
                 word);
    }
    if (!statPtr->l3PselIsMgid && isMpid(statPtr->l3NxtHopMpidLgidEgidMgid)) {
        const uint32_t mp = L2PselMpid(statPtr->l3NxtHopMpidLgidEgidMgid, statPtr);
        const uint32_t word = memWord(mem->RTE_L2_PSEL_MPID_SRAM, mp);
        takePathWord(statPtr, word);
        clearMcastTyp(statPtr);
        statPtr->l3PselMpIdStsEn = 1;
        statPtr->l3PselMpIdSts = mp;
        CM_TRACE(1, "[L3NextHopLu] L2PselMpid RTE_L2_PSEL_MPID_SRAM[%x]=0x%x, result:\n", mp, word);
    }
    if (!statPtr->l3PselIsMgid && isLgid(statPtr->l3NxtHopMpidLgidEgidMgid)) {
        const uint32_t lagId = bits(statPtr->l3NxtHopMpidLgidEgidMgid, 9, 0);
        const uint32_t lg = L2PselLgid(statPtr->l3NxtHopMpidLgidEgidMgid, statPtr);
        const uint32_t word = memWord(mem->RTE_L2_PSEL_LGID_SRAM, lg);
        takePathWord(statPtr, word); // the type stays here, as on the chip
        statPtr->l3PselLgIdStsEn = 1;
        statPtr->l3PselLgIdSts = lg;
        CM_TRACE(1, "[L3NextHopLu] lagId=0x%x RTE_L2_PSEL_LGID_SRAM[%x]=0x%x, result:\n", lagId, lg, word);
    }
}

/// Prints the DA's next hop as it ended up, field by field.
void traceNxtHop(const CmRteStat *statPtr) {
    CM_TRACE(2, "L3 DA next hop final result:\n");
    if (statPtr->dbgLvl <= 2)
        return;
    Prt("l3NxtHopMpidLgidEgidMgid", statPtr->l3NxtHopMpidLgidEgidMgid);
    Prt("l3NxtHopTrillVld", statPtr->l3NxtHopTrillVld);
    Prt("l3NxtHopTrillDa", statPtr->l3NxtHopTrillDa);
    Prt("l3NxtHopMctId", statPtr->l3NxtHopMctId);
    Prt("l3NxtHopIsMctid", statPtr->l3NxtHopIsMctid);
    Prt("l3NxtHopTrillCmd", statPtr->l3NxtHopTrillCmd);
    Prt("l3NxtHopTrillMc", statPtr->l3NxtHopTrillMc);
    Prt("l3NxtHopTrillEgidOvrd", statPtr->l3NxtHopTrillEgidOvrd);
    Prt("l3NxtHopMctNpath", statPtr->l3NxtHopMctNpath);
    Prt("l3NxtHopL2DaIdx", statPtr->l3NxtHopL2DaIdx);
    Prt("l3NxtHopFcoeL2Prio", statPtr->l3NxtHopFcoeL2Prio);
    Prt("l3NxtHopFcoeL2PrioPth", statPtr->l3NxtHopFcoeL2PrioPth);
    Prt("l3NxtHopFcoeL2SaIdx", statPtr->l3NxtHopFcoeL2SaIdx);
    Prt("l3NxtHopFcoeVsanTagged", statPtr->l3NxtHopFcoeVsanTagged);
    Prt("l3EividDa", statPtr->l3EividDa);
    Prt("l3NxtHopMpOffset", statPtr->l3NxtHopMpOffset);
    Prt("l3psel_mpid_sts_en", statPtr->l3psel_mpid_sts_en);
    Prt("l3PselIsMgid", statPtr->l3PselIsMgid);
    Prt("l3PselMcastTyp", statPtr->l3PselMcastTyp);
    Prt("l3PselMctIdStsEn", statPtr->l3PselMctIdStsEn);
    Prt("l3PselMctIdSts", statPtr->l3PselMctIdSts);
    Prt("l3PselMpIdStsEn", statPtr->l3PselMpIdStsEn);
    Prt("l3PselMpIdSts", statPtr->l3PselMpIdSts);
    Prt("l3PselLgIdStsEn", statPtr->l3PselLgIdStsEn);
    Prt("l3PselLgIdSts", statPtr->l3PselLgIdSts);
}

/// Captures one address of the lookup in its history.
void captureIdx(const CmRteStat *statPtr, uint32_t key, uint32_t hi, uint32_t lo, unsigned width, uint32_t *his) {
    CmRteHisU32(hisCtl(statPtr), key, hi, lo, (1u << width) - 1, width, his);
}

/// Look the multicast group of the frame up in its VLAN; each returns the index of the result word.
uint32_t searchMcuidIpv4(CmRteStat *statPtr) {
    CmRteHsiComReg *comReg = statPtr->comRegPtr;
    const CmRteHsiMem *mem = statPtr->memPtr;
    exmTbl = {};
    exmTbl.hshKeySiz = 45;
    exmTbl.u64HshKey = uint64_t{statPtr->iivid} << 32 | (statPtr->l3IpDa0 & 0xffffffffu);
    exmTbl.u64HshSwap = comReg->rte_l3_ipv4_mcuid_exm_swp_ctl;
    exmTbl.hshIdxSram = mem->RTE_L3_IPV4_MCUID_IDX_SRAM;
    exmTbl.hshBktTotal = 16;
    exmTbl.hshBktSiz = 1024;
    exmTbl.hshBktSram = mem->RTE_L3_IPV4_MCUID_BKT_EDRAM;
    exmTbl.tcamSiz = 1024;
    exmTbl.tcam = mem->RTE_L3_IPV4_MCUID_OVERFLOW_TCAM;
    exmTbl.rsltUnkIdx = comReg->l3_ipv4_mcuid_exm_miss_idx;
    exmTbl.alwHshHitTcamRng = comReg->rte_l3_ipv4_mcuid_exm_alw_hsh_hit_tcam_rng;
    CmExmLu(&exmTbl);

    const uint32_t idx = exmTbl.hshHit || exmTbl.tcamHit ? exmTbl.rsltIdx : exmTbl.rsltUnkIdx;
    CmRteHisU64NoRng(hisCtl(statPtr), exmTbl.u64HshKey, 48, &comReg->rte_his_l3_ipv4_mcuid_tcam_key[0][0]);
    captureIdx(statPtr, exmTbl.hshVal, comReg->rte_lue_ipv4_mcuid_idx_addr_hi, comReg->rte_lue_ipv4_mcuid_idx_addr_lo,
               14, &comReg->rte_his_l3_ipv4_mcuid_idx[0]);
    captureIdx(statPtr, exmTbl.hshIdx, comReg->rte_lue_ipv4_mcuid_bkt_addr_hi, comReg->rte_lue_ipv4_mcuid_bkt_addr_lo,
               10, &comReg->rte_his_l3_ipv4_mcuid_bkt[0]);
    captureIdx(statPtr, idx, comReg->rte_lue_ipv4_mcuid_rslt_addr_hi, comReg->rte_lue_ipv4_mcuid_rslt_addr_lo, 14,
               &comReg->rte_his_l3_ipv4_mcuid_rslt[0]);
    return idx;
}

uint32_t searchMcuidIpv6(CmRteStat *statPtr) {
    CmRteHsiComReg *comReg = statPtr->comRegPtr;
    const CmRteHsiMem *mem = statPtr->memPtr;
    exmTbl = {};
    exmTbl.hshKeySiz = 141;
    exmTbl.u64HshKey = 0;
    exmTbl.u64HshKey1 = statPtr->iivid;
    exmTbl.u64HshKey2 = statPtr->l3IpDa0;
    exmTbl.u64HshKey3 = statPtr->l3IpDa1;
    exmTbl.u64HshSwap = comReg->rte_l3_ipv6_mcuid_exm_swp_ctl_w0;
    exmTbl.u64HshSwap1 =
        uint64_t{comReg->rte_l3_ipv6_mcuid_exm_swp_ctl_w1} << 32 | comReg->rte_l3_ipv6_mcuid_exm_swp_ctl_w2;
    exmTbl.hshIdxSram = mem->RTE_L3_IPV6_MCUID_IDX_SRAM;
    exmTbl.hshBktTotal = 4;
    exmTbl.hshBktSiz = 1024;
    exmTbl.hshBktSram = mem->RTE_L3_IPV6_MCUID_BKT_EDRAM;
    exmTbl.tcamSiz = 256;
    exmTbl.tcam = mem->RTE_L3_IPV6_MCUID_OVERFLOW_TCAM;
    exmTbl.rsltUnkIdx = comReg->l3_ipv6_mcuid_exm_miss_idx;
    exmTbl.alwHshHitTcamRng = comReg->rte_l3_ipv6_mcuid_exm_alw_hsh_hit_tcam_rng;
    CmExmLu(&exmTbl);

    const uint32_t idx = exmTbl.hshHit || exmTbl.tcamHit ? exmTbl.rsltIdx : exmTbl.rsltUnkIdx;
    CmRteHisU160NoRng(hisCtl(statPtr), exmTbl.u64HshKey1 << 32, exmTbl.u64HshKey2, exmTbl.u64HshKey3, 144,
                      &comReg->rte_his_l3_ipv6_mcuid_tcam_key[0][0]);
    captureIdx(statPtr, exmTbl.hshVal, comReg->rte_lue_ipv6_mcuid_idx_addr_hi, comReg->rte_lue_ipv6_mcuid_idx_addr_lo,
               12, &comReg->rte_his_l3_ipv6_mcuid_idx[0]);
    captureIdx(statPtr, exmTbl.hshIdx, comReg->rte_lue_ipv6_mcuid_bkt_addr_hi, comReg->rte_lue_ipv6_mcuid_bkt_addr_lo,
               10, &comReg->rte_his_l3_ipv6_mcuid_bkt[0]);
    captureIdx(statPtr, idx, comReg->rte_lue_ipv6_mcuid_rslt_addr_hi, comReg->rte_lue_ipv6_mcuid_rslt_addr_lo, 12,
               &comReg->rte_his_l3_ipv6_mcuid_rslt[0]);
    return idx;
}

} // namespace

void L3NextHopLu(CmRteStat *statPtr, uint32_t isDa) {
    const CmRteHsiMem *mem = statPtr->memPtr;
    uint32_t idx = isDa ? statPtr->l3PselNextHopRsltIdx : statPtr->l3FwdSaNextHopRsltIdx;

    // One byte an index, the first index in the top byte of its word.
    const uint32_t mpWord = memWord(mem->RTE_L3_MP_INFO_EDRAM, idx >> 2);
    const uint32_t mpInfo = mpWord >> 8 * (3 - idx % 4) & 0xff;
    CM_TRACE(1, "[L3NextHopLu] RTE_L3_MP_INFO_EDRAM[%x]=%x\n", idx, mpInfo);

    const uint32_t npath = bits(mpInfo, 7, 3);
    const uint32_t hashNum = bits(mpInfo, 2, 0);
    const uint32_t offset = npath ? bits(statPtr->hshVal[hashNum], 11, 0) % (npath + 1) : 0;
    idx += offset;
    CM_TRACE(1, "[L3NextHopLu] Npath = %x, Hash = %x\n", npath, hashNum);

    if (isDa) {
        statPtr->l3psel_mpid_sts_en = 1;
        statPtr->l3NxtHopMpOffset = offset;
    }
    if (idx >= kNxtHopCnt) {
        CM_TRACE(1, "Error: next hop result index 0x%x out of range 0x%x\n", idx, kNxtHopCnt);
        idx %= kNxtHopCnt;
    }

    const uint32_t *entry = &mem->RTE_L3_NXT_HOP_RSLT_EDRAM[idx * 4];
    CM_TRACE(1, "[L3NextHopLu] RTE_L3_NXT_HOP_RSLT_EDRAM[%x]=0x%08x_%08x_%08x\n", idx, entry[1], entry[2], entry[3]);
    NxtHopRcd rcd = unpackNxtHop(entry[1], entry[2], entry[3]);

    if (isDa && !statPtr->l3RteRqd && statPtr->l2TrillFound) {
        rcd.mctid_trill_da = statPtr->l2PselTrillDaPreMP;
        rcd.trill_mc = statPtr->l2PselTrillMcPreMP & 1;
        CM_TRACE(1, "Trill packet found and not routing, force trill_da/mc from packet\n");
    }
    if (!isDa) {
        statPtr->l3EividSa = rcd.eivid;
        return;
    }
    storeNxtHop(statPtr, rcd);
    resolvePath(statPtr, rcd);
    traceNxtHop(statPtr);
}

void L3McuidLu(CmRteStat *statPtr) {
    if (!isIp(statPtr))
        return;
    CM_TRACE(1, "START L3_MCUID PROCESSING \n");
    if (isIpv4(statPtr))
        statPtr->l3PselMcuid = memWord(statPtr->memPtr->RTE_L3_IPV4_MCUID_RSLT_SRAM, searchMcuidIpv4(statPtr));
    else
        statPtr->l3PselMcuid = memWord(statPtr->memPtr->RTE_L3_IPV6_MCUID_RSLT_SRAM, searchMcuidIpv6(statPtr));
}
