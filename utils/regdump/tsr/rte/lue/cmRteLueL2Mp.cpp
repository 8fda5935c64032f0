// Multipath: from the group of a path selection to the final group, by TRILL destinations, multipath groups and link
// aggregation, and the counters of the paths taken.

#include "base/cmRteHis.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"
#include "tbl/tsr_tbl.h"

#include <bit>
#include <iterator>

namespace {

constexpr uint32_t kNoGrp = ~0u;

// The path memories, [group][path].
constexpr uint32_t kPaths = 8; // of a multicast tree or a multipath group
constexpr uint32_t kPathRows = 0x10000;
constexpr uint32_t kLagPaths = 32; // of an aggregation group
constexpr uint32_t kLagRows = 0x8000;

/// A group word of a path memory.
struct Group {
    uint32_t isMgid;
    uint32_t gid;
};

/// The group in row `addr` of a path memory with the record `Path`.
template <class Path, size_t N> Group groupAt(const uint32_t (&sram)[N], uint32_t addr) {
    const Path path = entry<Path>(sram, addr);
    return {path.is_mgid, path.gid};
}

/// The parser's hash of type `typ`, as far as it picks a path.
uint32_t pathHash(const CmRteStat *statPtr, uint32_t typ) {
    return typ < std::size(statPtr->hshVal) ? bits(statPtr->hshVal[typ], 11, 0) : 0;
}

/// Which of `npath` + 1 paths the frame takes by its hash of type `hshTyp`; `*hshPtr` is that hash, 0 for a single
/// path.
uint32_t pickPath(const CmRteStat *statPtr, uint32_t npath, uint32_t hshTyp, uint32_t *hshPtr) {
    *hshPtr = npath ? pathHash(statPtr, hshTyp) : 0;
    return *hshPtr % (npath + 1);
}

struct AclStsBnkReg {
    uint32_t CmRteHsiComReg::*sel; // the bank's owner
    uint32_t CmRteHsiComReg::*id;
};
/// The register of the counter banks, which has them from bank 7 down.
constexpr AclStsBnkReg kAclStsBnkRegs[] = {
    {&CmRteHsiComReg::acl_sts_bank0_sel, &CmRteHsiComReg::acl_sts_bank0_id},
    {&CmRteHsiComReg::acl_sts_bank1_sel, &CmRteHsiComReg::acl_sts_bank1_id},
    {&CmRteHsiComReg::acl_sts_bank2_sel, &CmRteHsiComReg::acl_sts_bank2_id},
    {&CmRteHsiComReg::acl_sts_bank3_sel, &CmRteHsiComReg::acl_sts_bank3_id},
    {&CmRteHsiComReg::acl_sts_bank4_sel, &CmRteHsiComReg::acl_sts_bank4_id},
    {&CmRteHsiComReg::acl_sts_bank5_sel, &CmRteHsiComReg::acl_sts_bank5_id},
    {&CmRteHsiComReg::acl_sts_bank6_sel, &CmRteHsiComReg::acl_sts_bank6_id},
    {&CmRteHsiComReg::acl_sts_bank7_sel, &CmRteHsiComReg::acl_sts_bank7_id},
};
static_assert(std::size(kAclStsBnkRegs) == kAclStsBnks);

/// First register of `list` that holds `id`; kNoGrp when none does.
template <size_t N> uint32_t findGrp(const uint32_t (&list)[N], uint32_t id) {
    for (uint32_t i = 0; i < N; i++) {
        if (list[i] == id)
            return i;
    }
    return kNoGrp;
}

/// Counts the frame in the counters' row. Returns the byte counter's low word.
template <size_t N>
uint32_t countPath(const CmRteStat *statPtr, uint32_t (&frmCnt)[N], uint32_t (&byteCnt)[N], uint32_t row) {
    cmNote(&frmCnt[2 * row], 2);
    cmNote(&byteCnt[2 * row], 2);
    IncrSts(&frmCnt[2 * row], kFrmCntMsk, 1);
    IncrSts(&byteCnt[2 * row], kByteCntMsk, statPtr->frmLen);
    return byteCnt[2 * row + 1];
}

/// The TRILL destination of the path selection, or of the path of its multicast tree. Returns whether there is one.
bool pickTrillDest(CmRteStat *statPtr, uint32_t isDaLu, uint32_t *destPtr) {
    if (!statPtr->l2PselIsMctid) {
        *destPtr = statPtr->l2PselTrillDa;
        return statPtr->l2PselTrillVld != 0;
    }
    const uint32_t addr = MctMpid(statPtr->l2PselMctId, statPtr->l2PselMctNpath, statPtr);
    *destPtr = field<&MctidPath::trill_da>(statPtr->memPtr->RTE_L2_PSEL_MCTID_SRAM, addr);
    statPtr->l2PselTrillDa = *destPtr;
    if (isDaLu) {
        statPtr->l2PselMctIdStsEn = 1;
        statPtr->l2PselMctIdSts = addr;
    }
    capture(statPtr, his::l2_psel_mctid, addr);
    CM_TRACE(1, "[MULTI_PATH] trillDa from MCTID_SRAM: 0x%x\n", *destPtr);
    return true;
}

void resolveMpid(CmRteStat *statPtr, uint32_t isDaLu, Group &group) {
    const uint32_t addr = L2PselMpid(group.gid, statPtr);
    group = groupAt<MpidPath>(statPtr->memPtr->RTE_L2_PSEL_MPID_SRAM, addr);
    if (isDaLu) {
        statPtr->l2PselMpIdStsEn = 1;
        statPtr->l2PselMpIdSts = addr;
        statPtr->l2PselDaRsltMpidIsL2Mgid = group.isMgid;
        statPtr->l2PselDaRsltMpid = group.gid;
        capture(statPtr, his::l2_psel_mpid, addr);
    } else {
        statPtr->l2PselSaRsltMpidIsL2Mgid = group.isMgid;
        // The chip records for the source that there was a group, not which.
        statPtr->l2PselSaRsltMpid = 1;
    }
    CM_TRACE(1, "[MULTI_PATH] gid from L2_MPID: %x, isMgid:%u\n", group.gid, group.isMgid);
}

void resolveLgid(CmRteStat *statPtr, uint32_t isDaLu, Group &group) {
    const uint32_t addr = L2PselLgid(group.gid, statPtr);
    group = groupAt<LagPath>(statPtr->memPtr->RTE_L2_PSEL_LGID_SRAM, addr);
    if (isDaLu) {
        statPtr->l2PselDaRsltLgidIsL2Mgid = group.isMgid;
        statPtr->l2PselDaRsltLgid = group.gid;
        statPtr->l2PselLgIdStsEn = 1;
        statPtr->l2PselLgIdSts = addr;
        capture(statPtr, his::l2_psel_lgid, addr);
    } else {
        statPtr->l2PselSaRsltLgidIsL2Mgid = group.isMgid;
        statPtr->l2PselSaRsltLgid = group.gid;
    }
    CM_TRACE(1, "[MULTI_PATH] gid from L2_LGID: %x, isMgid: %u\n", group.gid, group.isMgid);
}

} // namespace

void l2MultipathProcess(CmRteStat *statPtr, uint32_t isDaLu) {
    Group group = {statPtr->l2PselIsL2Mgid, statPtr->l2PselEgidMgid};

    uint32_t dest = 0;
    if (statPtr->l2PselDoTrillMP && pickTrillDest(statPtr, isDaLu, &dest) && !statPtr->l2PselOverrideTrillEgid) {
        group = groupAt<TrillDest>(statPtr->memPtr->RTE_L2_TRILL_DEST_SRAM, dest);
        capture(statPtr, his::l2_psel_trill_dest, dest);
        CM_TRACE(1, "[MULTI_PATH] gidVal from TRILL: %x, isMgid: %u\n", group.gid, group.isMgid);
    }

    if (!group.isMgid && isMpid(group.gid))
        resolveMpid(statPtr, isDaLu, group);
    // A row of a multipath group may name an aggregation group; the row of an aggregation group is final.
    if (!group.isMgid && isLgid(group.gid))
        resolveLgid(statPtr, isDaLu, group);

    if (statPtr->l2PselRsltTyp == RSLT_DROP || statPtr->l2PselRsltTyp == RSLT_TRAP)
        group.isMgid = 0;
    statPtr->l2PselIsL2Mgid = group.isMgid;
    statPtr->l2PselEgidMgid = group.gid;
}

uint32_t L2PselMpid(uint32_t mpid, CmRteStat *statPtr) {
    const uint32_t l2Mpid = mpidOf(mpid);
    const uint32_t nPath = npathOf(mpid);
    const uint32_t hshTyp = elem<&MpidHshTyp::hsh_typ>(statPtr->memPtr->RTE_L2_MPID_HASH_TYPE_SRAM, l2Mpid);
    uint32_t hashVal = 0;
    const uint32_t addr = l2Mpid * kPaths + pickPath(statPtr, nPath, hshTyp, &hashVal);
    CM_TRACE(1,
             "[MULTI_PATH] L2PselMpid. l2Mpid: 0x%x, HashType: 0x%x,\t\t   \tnPath: 0x%x, hashVal: 0x%x, "
             "RsltRamAddr: 0x%x\n",
             l2Mpid, hshTyp, nPath, hashVal, addr);
    return addr;
}

uint32_t MctMpid(uint32_t mctId, uint32_t npath, CmRteStat *statPtr) {
    const uint32_t id = mctIdOf(mctId);
    const uint32_t nPath = npath % kPaths;
    const uint32_t hshTyp = elem<&MctidHshTyp::hsh_typ>(statPtr->memPtr->RTE_L2_MCTID_HASH_TYPE_SRAM, id);
    uint32_t hashVal = 0;
    const uint32_t addr = id * kPaths + pickPath(statPtr, nPath, hshTyp, &hashVal);
    CM_TRACE(1, "[MULTI_PATH] MctMpid. mctId: 0x%x, HashType: 0x%x, nPath: 0x%x, hashVal: 0x%x, RsltRamAddr: 0x%x\n",
             id, hshTyp, nPath, hashVal, addr);
    return addr;
}

uint32_t L2PselLgid(uint32_t lgid, CmRteStat *statPtr) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t l = lgidOf(lgid);
    const uint32_t hshTyp = elem<&LagHshTyp::hsh_typ>(memPtr->RTE_L2_LGID_HASH_TYPE_RA, l);
    const uint32_t nPath = elem<&LagHshTyp::npath>(memPtr->RTE_L2_LGID_HASH_TYPE_RA, l);
    uint32_t hashVal = 0;
    // More paths than a group has rows run on into the rows of the next one.
    const uint32_t addr = (l * kLagPaths + pickPath(statPtr, nPath, hshTyp, &hashVal)) % kLagRows;
    CM_TRACE(1, "L2PselLgid. LGID: 0x%x, HashType: 0x%x, nPath: 0x%x, hashVal: 0x%x, RsltRamAddr: 0x%x\n", l, hshTyp,
             nPath, hashVal, addr);
    return addr;
}

void MctMpSts(uint32_t mct_addr, CmRteStat *statPtr) {
    CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t mctid = mct_addr % kPathRows / kPaths;
    const uint32_t grp = findGrp(statPtr->comRegPtr->rte_l2_psel_sts_mctid, mctid);
    if (grp == kNoGrp)
        return;
    const uint32_t row = grp * kPaths + mct_addr % kPaths;
    countPath(statPtr, memPtr->RTE_L2_PSEL_STS_MCTID_FCNT_SRAM, memPtr->RTE_L2_PSEL_STS_MCTID_BCNT_SRAM, row);
    statPtr->l2psel_mctid_sts_hit = 1;
    CM_TRACE(1, "[MULTI_PATH] MctMpid stats, mctid=0x%x, matched grpIdx=%d, address=%u\n", mctid, grp, row);
}

void L2MpidSts(uint32_t mp_addr, CmRteStat *statPtr) {
    CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t mpid = mp_addr % kPathRows / kPaths;
    const uint32_t grp = findGrp(statPtr->comRegPtr->rte_l2_psel_sts_mpid, mpid);
    if (grp == kNoGrp)
        return;
    const uint32_t row = grp * kPaths + mp_addr % kPaths;
    const uint32_t byteCnt =
        countPath(statPtr, memPtr->RTE_L2_PSEL_STS_MPID_FCNT_SRAM, memPtr->RTE_L2_PSEL_STS_MPID_BCNT_SRAM, row);
    statPtr->l2psel_mpid_sts_hit = 1;
    CM_TRACE(1, "L2 MPID stats, mpid=0x%x, matched grpIdx=%d, address=%u, byteCnt=0x%x\n", mpid, grp, row, byteCnt);
}

void LagSts(uint32_t lag_addr, CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t lgid = lag_addr % kLagRows / kLagPaths;
    CM_TRACE(1, "lag_id=%x sts_lgid groupd: 0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x, 0x%x\n", lgid,
             comRegPtr->rte_l2_psel_sts_lgid[0], comRegPtr->rte_l2_psel_sts_lgid[1], comRegPtr->rte_l2_psel_sts_lgid[2],
             comRegPtr->rte_l2_psel_sts_lgid[3], comRegPtr->rte_l2_psel_sts_lgid[4], comRegPtr->rte_l2_psel_sts_lgid[5],
             comRegPtr->rte_l2_psel_sts_lgid[6], comRegPtr->rte_l2_psel_sts_lgid[7]);
    const uint32_t grp = findGrp(comRegPtr->rte_l2_psel_sts_lgid, lgid);
    if (grp == kNoGrp)
        return;
    const uint32_t row = grp * kLagPaths + lag_addr % kLagPaths;
    const uint32_t byteCnt =
        countPath(statPtr, memPtr->RTE_L2_PSEL_STS_LGID_FCNT_SRAM, memPtr->RTE_L2_PSEL_STS_LGID_BCNT_SRAM, row);
    statPtr->l2psel_lgid_sts_hit = 1;
    CM_TRACE(1, "L2 LAG stats, lgid=0x%x, matched grpIdx=%d, address=%u, byteCnt=0x%x\n", lgid, grp, row, byteCnt);
}

uint32_t aclStsBank(const CmRteHsiComReg *comRegPtr, uint32_t owner, uint32_t id) {
    for (uint32_t bank = 0; bank < kAclStsBnks; bank++) {
        const auto &[bankSel, bankId] = kAclStsBnkRegs[bank];
        if (comRegPtr->*bankSel == owner && comRegPtr->*bankId == id)
            return bank;
    }
    return kAclStsBnks;
}

void IncL2AclSts(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    CmRteHsiMem *memPtr = statPtr->memPtr;
    if (!statPtr->l2PselStsEn)
        return;

    const AclStsIdx counter(statPtr->l2PselStsIdx);
    const uint32_t bank = aclStsBank(comRegPtr, 0, counter.bankId);
    if (bank == kAclStsBnks)
        return;

    const uint32_t idx = counter.in(bank);
    const uint32_t oldFrmCnt = static_cast<uint32_t>(field<&AclFrmCnt::frm_cnt>(memPtr->RTE_ACL_STS_FCNT_SRAM, idx));
    const uint32_t byteCnt = countPath(statPtr, memPtr->RTE_ACL_STS_FCNT_SRAM, memPtr->RTE_ACL_STS_BCNT_SRAM, idx);
    CM_TRACE(1, "L2 ACL stats, statIdx=0x%x, matched bank %u (addr=%x), byteCnt=0x%x\n", statPtr->l2PselStsIdx, bank,
             idx, byteCnt);

    const uint32_t profile = statPtr->l2PselSflowProfile > 14 ? 15 : statPtr->l2PselSflowProfile;
    const uint32_t rate = comRegPtr->rte_sflow_rate[profile];
    const uint32_t oneHot = std::bit_floor(rate);
    CM_TRACE(1, "sFlowProfileRate=0x%x, l2PselSflowEn=%d, RTE_ACL_STS_FCNT_SRAM=0x%x \n", rate, statPtr->l2PselSflowEn,
             oldFrmCnt);

    if (statPtr->l2PselSflowEn && elem<&SflowSts::flag>(memPtr->RTE_ACL_STS_SFLOW_RA, idx))
        statPtr->l2AclSflwHit = 1;
    const uint32_t maskedCnt = oldFrmCnt & (oneHot - 1);
    if (statPtr->l2PselSflowEn && oneHot && maskedCnt == oneHot - 1)
        statPtr->l2PselSflowFlagSet = 1;
    statPtr->l2psel_acl_sts_hit = 1;
    statPtr->l2PselStsSflowHitIdx = idx;
    const uint32_t sflowIdx = elemEntry<&SflowSts::flag>(idx);
    CM_TRACE(1, "sFlowProfileOneHot=0x%x, l2AclSflwHit=%d, masked FCNT=0x%x, SFLOW_RA[0x%x]=0x%x shift=%d\n", oneHot,
             statPtr->l2AclSflwHit, maskedCnt, sflowIdx, memWord(memPtr->RTE_ACL_STS_SFLOW_RA, sflowIdx),
             31 - idx % 32);
}

void checkFinalEgid(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (statPtr->l2PselIsL2Mgid)
        return;
    const uint32_t egid = statPtr->l2PselEgidMgid;
    const uint32_t low = egidOf(egid);

    if (isEgidFormAtEnd(egid) && (low == comRegPtr->rte_pth_egid || low == comRegPtr->rte_drop_egid)) {
        if (statPtr->l2PselRsltTyp == RSLT_FWD_A_TRAP) {
            statPtr->l2PselRsltTyp = RSLT_TRAP;
            CM_TRACE(1, "[MULTI_PATH] final egid (0x%x) is either pass_egid or drop_egid. FWD_TRAP --> TRAP\n", egid);
        } else if (statPtr->l2PselRsltTyp == RSLT_FWD) {
            statPtr->l2PselRsltTyp = RSLT_DROP;
            statPtr->l2PselDropRsn = kNoRsn;
            CM_TRACE(1, "[MULTI_PATH] final egid (0x%x) is either pass_egid or drop_egid. DROP\n", egid);
        }
    } else if (!isPlainEgid(egid)) {
        if (statPtr->l2PselRsltTyp == RSLT_FWD_A_TRAP) {
            statPtr->l2PselRsltTyp = RSLT_TRAP;
            CM_TRACE(1, "[MULTI_PATH] final egid (0x%x) has bits [16:14]!=0. FWD_A_TRAP --> TRAP\n", egid);
        } else if (statPtr->l2PselRsltTyp == RSLT_FWD) {
            statPtr->l2PselRsltTyp = RSLT_DROP;
            statPtr->l2PselDropRsn = kNoRsn;
            CM_TRACE(1, "[MULTI_PATH] final egid (0x%x) has bits [16:14]!=0. DROP\n", egid);
        }
    }
}
