// Next hops and multicast user identifiers.

#include "base/cmRteFrm.h"
#include "base/cmRteHis.h"
#include "base/cmRteLkup.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"
#include "tbl/tsr_tbl.h"

namespace {

constexpr uint32_t kNxtHopCnt = memWordCnt(&CmRteHsiMem::RTE_L3_NXT_HOP_RSLT_EDRAM) / NxtHop::kWords;

using Ipv4McuidLkup =
    CmExmLkup<Ipv4McuidBkt, 45, &CmRteHsiMem::RTE_L3_IPV4_MCUID_IDX_SRAM, &CmRteHsiMem::RTE_L3_IPV4_MCUID_BKT_EDRAM, 16,
              &CmRteHsiMem::RTE_L3_IPV4_MCUID_OVERFLOW_TCAM, CmExmLu>;
using Ipv6McuidLkup =
    CmExmLkup<Ipv6McuidBkt, 141, &CmRteHsiMem::RTE_L3_IPV6_MCUID_IDX_SRAM, &CmRteHsiMem::RTE_L3_IPV6_MCUID_BKT_EDRAM, 4,
              &CmRteHsiMem::RTE_L3_IPV6_MCUID_OVERFLOW_TCAM, CmExmLu>;

constexpr CmExmHis kIpv4McuidHis = {his::l3_ipv4_mcuid_tcam_key, his::l3_ipv4_mcuid_idx, his::l3_ipv4_mcuid_bkt,
                                    his::l3_ipv4_mcuid_rslt};
constexpr CmExmHis kIpv6McuidHis = {his::l3_ipv6_mcuid_tcam_key, his::l3_ipv6_mcuid_idx, his::l3_ipv6_mcuid_bkt,
                                    his::l3_ipv6_mcuid_rslt};

/// How a next hop spreads over paths: further paths behind it, and the hash value that chooses one.
struct Spread {
    uint32_t npath;
    uint32_t hashNum;
};

Spread readSpread(const CmRteStat *statPtr, uint32_t idx) {
    const auto &mem = statPtr->memPtr->RTE_L3_MP_INFO_EDRAM;
    return {elem<&MpathHash::npath>(mem, idx), elem<&MpathHash::hashNum>(mem, idx)};
}

/// The byte in which the entry keeps the spread, as the trace shows it.
uint32_t spreadByte(const Spread &spread) {
    constexpr TblElems hashNum = tblPlace<&MpathHash::hashNum>;
    return spread.npath << (hashNum.hi - hashNum.lo + 1) | spread.hashNum;
}

/// The next hop with another TRILL destination: what it says of a tree stands in the same bits.
NxtHop withTrillDa(NxtHop hop, uint32_t trillDa, uint32_t trillMc) {
    hop.mctid_trill_da = trillDa;
    hop.trill_mc = trillMc;
    uint32_t words[NxtHop::kWords] = {};
    pack(hop, words);
    return entryAt<NxtHop>(words);
}

/// Takes group and multicast flag from an entry of the path tables.
template <class Path> void takePath(CmRteStat *statPtr, const Path &path) {
    statPtr->l3NxtHopMpidLgidEgidMgid = path.gid;
    statPtr->l3PselIsMgid = path.is_mgid;
}

/// A multicast group found on the way has no multicast type of its own.
void clearMcastTyp(CmRteStat *statPtr) {
    if (statPtr->l3PselIsMgid)
        statPtr->l3PselMcastTyp = MCAST_UCAST_FLOOD;
}

void storeNxtHop(CmRteStat *statPtr, const NxtHop &hop) {
    statPtr->l3NxtHopTrillCmd = hop.trill_cmd;
    statPtr->l3NxtHopTrillMc = hop.trill_mc;
    statPtr->l3PselMcastTyp = hop.mcast_typ;
    statPtr->l3PselIsMgid = hop.is_mgid;
    statPtr->l3NxtHopL2DaIdx = hop.da_idx;
    statPtr->l3NxtHopFcoeL2Prio = hop.l2_prio;
    statPtr->l3NxtHopFcoeL2PrioPth = hop.fcoe_prio_pth;
    statPtr->l3NxtHopFcoeL2SaIdx = hop.sa_idx;
    statPtr->l3NxtHopFcoeVsanTagged = hop.vsan_tagged;
    statPtr->l3NxtHopMpidLgidEgidMgid = hop.mpid_lgid_egid_mgid;
    statPtr->l3EividDa = hop.eivid;

    switch (hop.trill_cmd) {
    case TRILL_CMD_NONE:
        statPtr->l3NxtHopTrillVld = 0;
        statPtr->l3NxtHopTrillDa = hop.mctid_trill_da;
        break;
    case TRILL_CMD_MCTID:
        statPtr->l3NxtHopTrillVld = 1;
        statPtr->l3NxtHopMctNpath = hop.mct_npath;
        statPtr->l3NxtHopMctId = hop.mct_id;
        statPtr->l3NxtHopIsMctid = 1;
        break;
    case TRILL_CMD_DEST:
        statPtr->l3NxtHopTrillVld = 1;
        statPtr->l3NxtHopTrillDa = hop.mctid_trill_da;
        break;
    case TRILL_CMD_OVERRIDE:
        statPtr->l3NxtHopTrillVld = 1;
        statPtr->l3NxtHopTrillDa = hop.mctid_trill_da;
        statPtr->l3NxtHopTrillEgidOvrd = 1;
        break;
    }
}

/// Follows the record through the tables of the layer-2 path: tree, TRILL destination, multipath group, LAG.
void resolvePath(CmRteStat *statPtr, const NxtHop &hop) {
    const CmRteHsiMem *mem = statPtr->memPtr;
    if (statPtr->l3NxtHopIsMctid) {
        if (hop.is_mgid) {
            statPtr->l3NxtHopTrillDa = hop.mctid_trill_da;
        } else {
            const uint32_t mp = MctMpid(statPtr->l3NxtHopMctId, statPtr->l3NxtHopMctNpath, statPtr);
            const uint32_t word = memWord(mem->RTE_L2_PSEL_MCTID_SRAM, mp);
            statPtr->l3NxtHopTrillDa = fieldAt<&MctidPath::trill_da_l3>(&word);
            statPtr->l3PselMctIdStsEn = 1;
            statPtr->l3PselMctIdSts = mp;
            CM_TRACE(1, "[L3NextHopLu] MctMpid RTE_L2_PSEL_MCTID_SRAM[%x]=0x%x, trill_da=%x, result:\n", mp, word,
                     statPtr->l3NxtHopTrillDa);
        }
    }
    if (!hop.is_mgid && statPtr->l3NxtHopTrillVld && !statPtr->l3NxtHopTrillEgidOvrd) {
        const uint32_t word = memWord(mem->RTE_L2_TRILL_DEST_SRAM, statPtr->l3NxtHopTrillDa);
        takePath(statPtr, entryAt<TrillDest>(&word));
        clearMcastTyp(statPtr);
        CM_TRACE(1, "[L3NextHopLu] trillDestLu RTE_L2_TRILL_DEST_SRAM[%x]=0x%x, result:\n", statPtr->l3NxtHopTrillDa,
                 word);
    }
    if (!statPtr->l3PselIsMgid && isMpid(statPtr->l3NxtHopMpidLgidEgidMgid)) {
        const uint32_t mp = L2PselMpid(statPtr->l3NxtHopMpidLgidEgidMgid, statPtr);
        const uint32_t word = memWord(mem->RTE_L2_PSEL_MPID_SRAM, mp);
        takePath(statPtr, entryAt<MpidPath>(&word));
        clearMcastTyp(statPtr);
        statPtr->l3PselMpIdStsEn = 1;
        statPtr->l3PselMpIdSts = mp;
        CM_TRACE(1, "[L3NextHopLu] L2PselMpid RTE_L2_PSEL_MPID_SRAM[%x]=0x%x, result:\n", mp, word);
    }
    if (!statPtr->l3PselIsMgid && isLgid(statPtr->l3NxtHopMpidLgidEgidMgid)) {
        const uint32_t lagId = lgidOf(statPtr->l3NxtHopMpidLgidEgidMgid);
        const uint32_t lg = L2PselLgid(statPtr->l3NxtHopMpidLgidEgidMgid, statPtr);
        const uint32_t word = memWord(mem->RTE_L2_PSEL_LGID_SRAM, lg);
        takePath(statPtr, entryAt<LagPath>(&word)); // the type stays here, as on the chip
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

/// Look the multicast group of the frame up in its VLAN; each returns the index of the result word.
uint32_t searchMcuidIpv4(const CmRteStat *statPtr) {
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    const Ipv4McuidBkt key = {.iivid = statPtr->iivid, .l3IpDa = static_cast<uint32_t>(statPtr->l3IpDa0)};
    Ipv4McuidLkup lkup;
    lkup.search(statPtr->memPtr, key,
                {.swap = {comReg->rte_l3_ipv4_mcuid_exm_swp_ctl},
                 .rsltUnkIdx = comReg->l3_ipv4_mcuid_exm_miss_idx,
                 .alwHshHitTcamRng = comReg->rte_l3_ipv4_mcuid_exm_alw_hsh_hit_tcam_rng});
    lkup.captureAll(statPtr, kIpv4McuidHis);
    return lkup.idx();
}

uint32_t searchMcuidIpv6(const CmRteStat *statPtr) {
    const CmRteHsiComReg *comReg = statPtr->comRegPtr;
    const Ipv6McuidBkt key = {
        .iivid = statPtr->iivid,
        .l3IpDa = {static_cast<uint32_t>(statPtr->l3IpDa0 >> 32), static_cast<uint32_t>(statPtr->l3IpDa0),
                   static_cast<uint32_t>(statPtr->l3IpDa1 >> 32), static_cast<uint32_t>(statPtr->l3IpDa1)}};
    const uint64_t swapLow =
        uint64_t{comReg->rte_l3_ipv6_mcuid_exm_swp_ctl_w1} << 32 | comReg->rte_l3_ipv6_mcuid_exm_swp_ctl_w2;
    Ipv6McuidLkup lkup;
    lkup.search(statPtr->memPtr, key,
                {.swap = {comReg->rte_l3_ipv6_mcuid_exm_swp_ctl_w0, swapLow},
                 .rsltUnkIdx = comReg->l3_ipv6_mcuid_exm_miss_idx,
                 .alwHshHitTcamRng = comReg->rte_l3_ipv6_mcuid_exm_alw_hsh_hit_tcam_rng});
    lkup.captureAll(statPtr, kIpv6McuidHis);
    return lkup.idx();
}

} // namespace

void L3NextHopLu(CmRteStat *statPtr, uint32_t isDa) {
    uint32_t idx = isDa ? statPtr->l3PselNextHopRsltIdx : statPtr->l3FwdSaNextHopRsltIdx;

    const Spread spread = readSpread(statPtr, idx);
    CM_TRACE(1, "[L3NextHopLu] RTE_L3_MP_INFO_EDRAM[%x]=%x\n", idx, spreadByte(spread));

    const uint32_t offset = spread.npath ? bits(statPtr->hshVal[spread.hashNum], 11, 0) % (spread.npath + 1) : 0;
    idx += offset;
    CM_TRACE(1, "[L3NextHopLu] Npath = %x, Hash = %x\n", spread.npath, spread.hashNum);

    if (isDa) {
        statPtr->l3psel_mpid_sts_en = 1;
        statPtr->l3NxtHopMpOffset = offset;
    }
    if (idx >= kNxtHopCnt) {
        CM_TRACE(1, "Error: next hop result index 0x%x out of range 0x%x\n", idx, kNxtHopCnt);
        idx %= kNxtHopCnt;
    }

    const uint32_t *words = &statPtr->memPtr->RTE_L3_NXT_HOP_RSLT_EDRAM[idx * NxtHop::kWords];
    CM_TRACE(1, "[L3NextHopLu] RTE_L3_NXT_HOP_RSLT_EDRAM[%x]=0x%08x_%08x_%08x\n", idx, words[1], words[2], words[3]);
    tblObserve(words, NxtHop::kWords);
    auto hop = entryAt<NxtHop>(words);

    if (isDa && !statPtr->l3RteRqd && statPtr->l2TrillFound) {
        hop = withTrillDa(hop, statPtr->l2PselTrillDaPreMP, statPtr->l2PselTrillMcPreMP);
        CM_TRACE(1, "Trill packet found and not routing, force trill_da/mc from packet\n");
    }
    if (!isDa) {
        statPtr->l3EividSa = hop.eivid;
        return;
    }
    storeNxtHop(statPtr, hop);
    resolvePath(statPtr, hop);
    traceNxtHop(statPtr);
}

void L3McuidLu(CmRteStat *statPtr) {
    if (!isIp(statPtr))
        return;
    CM_TRACE(1, "START L3_MCUID PROCESSING \n");
    if (isIpv4(statPtr))
        statPtr->l3PselMcuid =
            field<&Ipv4McuidRslt::l3PselMcuid>(statPtr->memPtr->RTE_L3_IPV4_MCUID_RSLT_SRAM, searchMcuidIpv4(statPtr));
    else
        statPtr->l3PselMcuid =
            field<&Ipv6McuidRslt::l3PselMcuid>(statPtr->memPtr->RTE_L3_IPV6_MCUID_RSLT_SRAM, searchMcuidIpv6(statPtr));
}
