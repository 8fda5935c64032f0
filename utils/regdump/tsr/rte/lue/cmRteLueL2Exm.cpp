// The forwarding database: destination and source address of a frame in the layer-2 exact-match tables, the check for
// the chip's own addresses, the flood decision of a miss, and the enables of the frame's VLAN.

#include "base/cmLu.h"
#include "base/cmRteHis.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"

#include <iterator>

namespace {

constexpr uint32_t kExmKeySiz = 78;
constexpr uint32_t kExmBktEntries = 32;
constexpr uint32_t kExmBkts = 12288;
constexpr uint32_t kExmTcamEntries = 1024;
constexpr uint32_t kMyDaEntries = 128;
constexpr uint32_t kDbgCnts = 16;
constexpr unsigned kMcastMacBit = 40;

CmTcamTbl tcamTbl;
CmExmTbl exmTbl;

unsigned long long asLl(uint64_t value) {
    return value;
}

uint64_t mac(uint64_t addr) {
    return bits64(addr, 47, 0);
}

uint32_t isMcastMac(uint64_t addr) {
    return static_cast<uint32_t>(bits64(addr, kMcastMacBit, kMcastMacBit));
}

/// One side's key before it is put together.
struct ExmKey {
    uint32_t trillAddrVld;
    uint32_t fid;
    uint32_t trillAddr;
    uint64_t addr; // MAC address, or the VPN id

    uint64_t key0() const { return static_cast<uint64_t>(trillAddrVld & 1) << 13 | bits(fid, 12, 0); }
    uint64_t key1() const { return static_cast<uint64_t>(bits(trillAddr, 15, 0)) << 48 | mac(addr); }
};

struct ExmKeys {
    uint32_t keyType; // 2: the DA key has the VPN id in place of an address
    uint32_t fidIdx;  // the IIVID whose FID is used
    ExmKey da;
    ExmKey sa;
};

ExmKeys pickKeys(const CmRteStat *statPtr) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t unchangedVid = statPtr->comRegPtr->dont_change_ivid;
    const uint32_t fid = memWord(memPtr->RTE_L2_FID_SRAM, statPtr->iivid);

    if (statPtr->l2TrillFound && statPtr->l2TrillMc && statPtr->iivid == unchangedVid) {
        const uint32_t unchangedFid = memWord(memPtr->RTE_L2_FID_SRAM, unchangedVid);
        return {2,
                unchangedVid,
                {1, unchangedFid, statPtr->l2TrillDa, statPtr->vpn_id},
                {0, fid, 0, statPtr->l2TrillInnerSa}};
    }
    if (!statPtr->l2TrillFound)
        return {1, statPtr->iivid, {0, fid, 0, statPtr->l2OuterDa}, {0, fid, 0, statPtr->l2OuterSa}};
    if (!statPtr->l2TrillEgr && !statPtr->l2TrillMc)
        return {1, statPtr->iivid, {1, 0, statPtr->l2TrillDa, 0}, {1, 0, statPtr->l2TrillSa, 0}};
    if (!statPtr->l2TrillEgr)
        return {1,
                statPtr->iivid,
                {1, fid, statPtr->l2TrillDa, statPtr->l2TrillInnerDa},
                {0, fid, 0, statPtr->l2TrillInnerSa}};
    return {1, statPtr->iivid, {0, fid, 0, statPtr->l2TrillInnerDa}, {0, fid, 0, statPtr->l2TrillInnerSa}};
}

void searchExm(const CmRteStat *statPtr, uint64_t key0, uint64_t key1, uint32_t rsltUnkIdx) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiMem *memPtr = statPtr->memPtr;

    exmTbl = CmExmTbl();
    exmTbl.hshKeySiz = kExmKeySiz;
    exmTbl.u64HshSwap =
        static_cast<uint64_t>(comRegPtr->rte_l2_exm_swp_ctl_w0) << 32 | comRegPtr->rte_l2_exm_swp_ctl_w1;
    exmTbl.u64HshKey = key0;
    exmTbl.u64HshKey1 = key1;
    exmTbl.hshIdxSram = memPtr->RTE_L2_EXM_IDX_EDRAM;
    exmTbl.hshBktTotal = kExmBktEntries;
    exmTbl.hshBktSiz = kExmBkts;
    exmTbl.hshBktSram = memPtr->RTE_L2_EXM_BKT_EDRAM;
    exmTbl.tcamSiz = kExmTcamEntries;
    exmTbl.tcam = memPtr->RTE_L2_EXM_OVERFLOW_TCAM;
    exmTbl.rsltUnkIdx = rsltUnkIdx;
    exmTbl.rsltSram = memPtr->RTE_L2_EXM_RSLT_EDRAM;
    exmTbl.rsltHasQw = 1;
    exmTbl.alwHshHitTcamRng = comRegPtr->rte_l2_exm_alw_hsh_hit_tcam_rng;
    CmL2ExmLu(&exmTbl);
}

uint32_t rsltBits(unsigned hi, unsigned lo) {
    return static_cast<uint32_t>(bits64(exmTbl.u64Rslt, hi, lo));
}

uint32_t exmHit() {
    return exmTbl.hshHit || exmTbl.tcamHit;
}

/// The word that the result histories keep: which way it was hit, and the index.
uint32_t rsltHisKey() {
    return exmTbl.tcamHit << 20 | exmTbl.hshHit << 19 | exmTbl.rsltIdx;
}

/// Takes the DA's result word apart.
void takeDaRslt(CmRteStat *statPtr) {
    statPtr->l2ExmDaTrillCmd = rsltBits(27, 26);
    statPtr->l2ExmDaTrillMc = rsltBits(25, 25);
    statPtr->l2ExmDaTrillDa = rsltBits(43, 28);
    statPtr->l2ExmDaIsMctid = 0;
    statPtr->l2PselOverrideTrillEgid = 0;
    switch (statPtr->l2ExmDaTrillCmd) {
    case TRILL_CMD_DEST:
        statPtr->l2ExmDoTrillMP = 1;
        break;
    case TRILL_CMD_OVERRIDE:
        statPtr->l2ExmDaOverrideTrillEgid = 1;
        statPtr->l2ExmDoTrillMP = 1;
        break;
    case TRILL_CMD_MCTID:
        statPtr->l2ExmDaMctNpath = rsltBits(43, 41);
        statPtr->l2ExmDaMctId = rsltBits(40, 28);
        statPtr->l2ExmDaIsMctid = 1;
        statPtr->l2ExmDoTrillMP = 1;
        break;
    default:
        statPtr->l2ExmDoTrillMP = 0;
        break;
    }

    // The header of a TRILL frame overrides the result.
    if (statPtr->l2TrillFound) {
        statPtr->l2ExmDaMctId = bits(statPtr->l2TrillDa, 12, 0);
        statPtr->l2ExmDaMctNpath = bits(statPtr->l2TrillDa, 15, 13);
        statPtr->l2ExmDaTrillDa = statPtr->l2TrillDa;
        statPtr->l2ExmDaTrillMc = statPtr->l2TrillMc;
    }
    CM_TRACE(1, "[L2_DA_EXM] trillCmd=%d, trillDa=0x%x, trillMc=%u, trillMctId=0x%x, doTrillMp=%d, ovrdTrillEgid=%d\n",
             statPtr->l2ExmDaTrillCmd, statPtr->l2ExmDaTrillDa, statPtr->l2ExmDaTrillMc, statPtr->l2ExmDaMctId,
             statPtr->l2ExmDoTrillMP, statPtr->l2ExmDaOverrideTrillEgid);

    statPtr->l2ExmDaTrapEn = rsltBits(24, 24);
    statPtr->l2ExmDaIsMgid = rsltBits(23, 23);
    statPtr->l2ExmDaLgidEgidMgid = rsltBits(16, 0);
    statPtr->l2ExmDaIsMgidOrig = statPtr->l2ExmDaIsMgid;
    statPtr->l2ExmDaEgidOrig = statPtr->l2ExmDaLgidEgidMgid;
    statPtr->l2ExmVidTrillMc = 1;
}

void takeDaTrap(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    if (!statPtr->l2ExmDaLuMiss) {
        statPtr->l2ExmDaTrapRsn = kNoRsn;
        statPtr->l2ExmDaTrapQue = 0;
        if (statPtr->l2ExmDaTrapEn) {
            statPtr->l2ExmDaTrapRsn = TRP_L2_HIT;
            statPtr->l2ExmDaTrapQue = comRegPtr->rte_l2_hit_trap_que;
            CM_TRACE(1, "L2 EXM lookup hit to trap (que=0x %x)\n", statPtr->l2ExmDaTrapQue);
        }
    } else if (statPtr->l2ExmDaTrapEn) {
        statPtr->l2ExmDaTrapRsn = TRP_L2_MISS;
        statPtr->l2ExmDaTrapQue = comRegPtr->rte_l2_miss_trap_que;
        CM_TRACE(1, "L2 EXM lookup miss to trap\n");
    }
}

void lookupDa(CmRteStat *statPtr, const ExmKeys &keys, uint32_t tblSel, uint32_t hsh) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    CmRteHsiMem *memPtr = statPtr->memPtr;
    const CmRteHisCtl ctl = hisCtl(statPtr);

    const uint32_t unkIdx = statPtr->l2DaIsChsAddr
                                ? statPtr->l2DaChsRsltIdx
                                : L2ExmDfltRsltIdx(comRegPtr, statPtr->l2Da, statPtr->l2TrillFound, statPtr->l2TrillMc,
                                                   statPtr->l2TrillInterior, statPtr->l2TrillEgr, statPtr->l2TrillDa,
                                                   statPtr->l2TrillInnerDa, tblSel, keys.keyType);
    searchExm(statPtr, statPtr->l2ExmDaKey0, statPtr->l2ExmDaKey1, unkIdx);
    statPtr->l2ExmDaIdx = exmTbl.rsltIdx;
    const unsigned long long addr = mac(keys.da.addr);
    if (exmTbl.hshHit)
        CM_TRACE(1, "L2 DA EXM hash hit at index %x, DA=%16llx\n", exmTbl.rsltIdx, addr);
    else if (exmTbl.tcamHit)
        CM_TRACE(1, "L2 DA EXM tcam hit at index %x, DA=%16llx\n", exmTbl.rsltIdx, addr);
    else
        CM_TRACE(1, "L2 DA EXM miss: hash_typ=%d, hash_val=%x, tbl_sel=%u, rslt_index=%x, DA=%16llx\n",
                 comRegPtr->rte_l2_exm_mgid_hsh_typ, hsh, tblSel, exmTbl.rsltIdx, addr);
    CM_TRACE(1, "DA EXM rsltIdx=0x%x, result=0x%llx\n", exmTbl.rsltIdx, asLl(exmTbl.u64Rslt));

    // A default row counts as active too.
    const uint32_t actWord = exmTbl.rsltIdx >> 5;
    if (actWord < wordCnt(memPtr->RTE_L2_EXM_DA_ACT_SRAM))
        memPtr->RTE_L2_EXM_DA_ACT_SRAM[actWord] |= 1u << (exmTbl.rsltIdx & 31);

    takeDaRslt(statPtr);

    statPtr->l2ExmDaIsPthEgid = !statPtr->l2ExmDaIsMgid && CmRteCkPthEgid(statPtr, statPtr->l2ExmDaLgidEgidMgid);
    statPtr->l2ExmDaLuMiss = !exmHit() && !statPtr->l2DaIsChsAddr;
    statPtr->l2ExmDaFlooded = 0;
    if (statPtr->l2ExmDaIsPthEgid)
        CM_TRACE(1, "L2 EXM lookup produces path_thru egid (0x%x)\n", statPtr->l2ExmDaLgidEgidMgid);
    if (statPtr->l2ExmDaIsPthEgid || statPtr->l2ExmDaLuMiss)
        L2Flood(statPtr, tblSel, hsh);
    statPtr->l2ExmDaHit = exmHit();

    CmRteHisU32(ctl, statPtr->iivid, comRegPtr->rte_lue_l2_vid_mgid_addr_hi, comRegPtr->rte_lue_l2_vid_mgid_addr_lo,
                0x1fff, 16, &comRegPtr->rte_his_l2_vid_mgid[0]);

    takeDaTrap(statPtr);

    CmRteHisU96NoRng(ctl, statPtr->l2ExmDaKey0, statPtr->l2ExmDaKey1, 80, &comRegPtr->rte_his_l2_exm_tcam_key_da[0][0]);
    CmRteHisU32(ctl, exmTbl.hshVal, comRegPtr->rte_lue_l2_exm_idx_da_addr_hi, comRegPtr->rte_lue_l2_exm_idx_da_addr_lo,
                0x7ffff, 24, &comRegPtr->rte_his_l2_exm_idx_da[0]);
    CmRteHisU32(ctl, exmTbl.hshIdx, comRegPtr->rte_lue_l2_exm_bkt_da_addr_hi, comRegPtr->rte_lue_l2_exm_bkt_da_addr_lo,
                0x3fff, 16, &comRegPtr->rte_his_l2_exm_bkt_da[0]);
    CmRteHisU32(ctl, rsltHisKey(), comRegPtr->rte_lue_l2_exm_rslt_da_addr_hi, comRegPtr->rte_lue_l2_exm_rslt_da_addr_lo,
                0x7ffff, 24, &comRegPtr->rte_his_l2_exm_rslt_da[0]);
}

void lookupSa(CmRteStat *statPtr, const ExmKeys &keys) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHisCtl ctl = hisCtl(statPtr);

    uint32_t unkIdx = comRegPtr->rte_l2_exm_sa_unk_rslt_addr;
    if (statPtr->l2SaIsChsAddr && comRegPtr->rte_l2_ck_chs_sa == 1)
        unkIdx = statPtr->l2SaChsRsltIdx;
    else if (statPtr->l2TrillInterior)
        unkIdx = comRegPtr->rte_l2_exm_trill_sa_unk_rslt_addr;
    searchExm(statPtr, statPtr->l2ExmSaKey0, statPtr->l2ExmSaKey1, unkIdx);
    statPtr->l2ExmSaHit = exmHit();
    statPtr->l2ExmSaIdx = exmTbl.rsltIdx;
    const unsigned long long addr = mac(keys.sa.addr);
    if (exmTbl.hshHit)
        CM_TRACE(1, "L2 SA EXM hash hit at index %x, SA=%16llx\n", exmTbl.rsltIdx, addr);
    else if (exmTbl.tcamHit)
        CM_TRACE(1, "L2 SA EXM tcam hit at index %x, SA=%16llx\n", exmTbl.rsltIdx, addr);
    else
        CM_TRACE(1, "L2 SA EXM miss, SA=%16llx\n", addr);
    CM_TRACE(1, "SA EXM rsltIdx=%u, result= %llx\n", exmTbl.rsltIdx, asLl(exmTbl.u64Rslt));

    // A chassis SA that the tables know is legal.
    if (statPtr->l2SaIsChsAddr && !statPtr->l2ExmSaHit && comRegPtr->rte_l2_ck_chs_sa)
        statPtr->l2ExmSaChassisErr = 1;

    statPtr->l2ExmSaIsMgid = rsltBits(23, 23);
    statPtr->l2ExmSaLrnPort = rsltBits(22, 17);
    statPtr->l2ExmSaLgidEgidMgid = rsltBits(16, 0);
    statPtr->l2ExmSaTrapEn = rsltBits(24, 24);
    statPtr->l2ExmSaTrillDa = rsltBits(43, 28);
    statPtr->l2ExmSaTrillCmd = rsltBits(27, 26);
    statPtr->l2ExmSaTrillMc = rsltBits(25, 25);
    // The tests look at the group as at an EGID, whatever the multicast flag says.
    const uint32_t gid = statPtr->l2ExmSaLgidEgidMgid;
    if (CmRteCkAclDropEgid(statPtr, gid))
        statPtr->l2ExmSaRsltTyp = RSLT_DROP;
    else if (CmRteCkTrapEgid(statPtr, gid))
        statPtr->l2ExmSaRsltTyp = RSLT_TRAP;
    else if (CmRteCkNorDropEgid(statPtr, gid))
        statPtr->l2ExmSaRsltTyp = RSLT_DROP;
    else if (CmRteCkPthEgid(statPtr, gid))
        statPtr->l2ExmSaRsltTyp = RSLT_DROP;
    else
        statPtr->l2ExmSaRsltTyp = statPtr->l2ExmSaTrapEn ? RSLT_FWD_A_TRAP : RSLT_FWD;

    CmRteHisU96NoRng(ctl, statPtr->l2ExmSaKey0, statPtr->l2ExmSaKey1, 80, &comRegPtr->rte_his_l2_exm_tcam_key_sa[0][0]);
    CmRteHisU32(ctl, exmTbl.hshVal, comRegPtr->rte_lue_l2_exm_idx_sa_addr_hi, comRegPtr->rte_lue_l2_exm_idx_sa_addr_lo,
                0x7ffff, 24, &comRegPtr->rte_his_l2_exm_idx_sa[0]);
    CmRteHisU32(ctl, exmTbl.hshIdx, comRegPtr->rte_lue_l2_exm_bkt_sa_addr_hi, comRegPtr->rte_lue_l2_exm_bkt_sa_addr_lo,
                0x3fff, 16, &comRegPtr->rte_his_l2_exm_bkt_sa[0]);
    CmRteHisU32(ctl, rsltHisKey(), comRegPtr->rte_lue_l2_exm_rslt_sa_addr_hi, comRegPtr->rte_lue_l2_exm_rslt_sa_addr_lo,
                0x7ffff, 24, &comRegPtr->rte_his_l2_exm_rslt_sa[0]);
}

/// Spanning tree: what the frame's port may do in its VLAN.
void readStpEn(CmRteStat *statPtr) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t wordIdx = statPtr->ingPhyPort << 10 | statPtr->iivid >> 3;
    const uint32_t low = 28 - 4 * (statPtr->iivid & 7);
    const uint32_t value = bits(memWord(statPtr->memPtr->RTE_L2_STP_EN_EDRAM, wordIdx), low + 3, low);
    CM_TRACE(1, "reading L2_STP_EN, iivid=%x, value=%x\n", statPtr->iivid, value);

    statPtr->l2SaLrnEn = bit(value, 2);
    statPtr->l2DaLrnEn = bit(value, 3);
    if (statPtr->l2TrillFound && !statPtr->l2TrillMc) {
        statPtr->l2FwdEn = 1;
        CM_TRACE(1, "fwd_en filtering ignored for TRILL Ucast frame\n");
    } else if (statPtr->l2CtlSkipIvf == 1) {
        statPtr->l2FwdEn = 1;
        CM_TRACE(1, "fwd_en filtering ignored because l2CtlSkipIvf==1\n");
    } else {
        statPtr->l2FwdEn = statPtr->ctagNz ? bit(value, 1) : bit(value, 0);
    }

    CmRteHisU32(hisCtl(statPtr), wordIdx, comRegPtr->rte_lue_l2_stp_en_addr_hi, comRegPtr->rte_lue_l2_stp_en_addr_lo,
                0x3ffff, 24, &comRegPtr->rte_his_l2_stp_en[0]);
}

void searchMyDaPrefix(const CmRteStat *statPtr, uint64_t addr) {
    tcamTbl = CmTcamTbl();
    tcamTbl.keySiz = 24;
    tcamTbl.u32Key = static_cast<uint32_t>(bits64(addr, 47, 24));
    tcamTbl.tcamSiz = kMyDaEntries;
    tcamTbl.tcam = statPtr->memPtr->RTE_MYDA_PREFIX_TCAM;
    CmTcamLu(&tcamTbl);
}

/// Walks the prefix hits up to the first one whose range holds the low half of `addr`. Returns whether there is one,
/// with its entry in `*idxPtr`.
bool findMyDaRange(const CmRteStat *statPtr, uint64_t addr, uint32_t *idxPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t low = static_cast<uint32_t>(bits64(addr, 23, 0));
    for (uint32_t i = 0; i < tcamTbl.hitCount; i++) {
        const uint32_t idx = tcamTbl.hitList[i] & (kMyDaEntries - 1);
        const uint32_t rngLo = comRegPtr->rte_l2_chs_mac_lo[idx];
        const uint32_t rngHi = comRegPtr->rte_l2_chs_mac_hi[idx];
        if (rngLo <= low && low <= rngHi) {
            *idxPtr = idx;
            return true;
        }
    }
    return false;
}

/// Reads the flood group of the frame's VLAN from one of the two tables.
template <size_t N> void takeFloodGroup(CmRteStat *statPtr, const uint32_t (&mgidSram)[N]) {
    statPtr->l2ExmDaLgidEgidMgid = bits(memWord(mgidSram, statPtr->iivid), 16, 0);
    statPtr->l2ExmDaIsMgid = 1;
}

void takeDropEgid(CmRteStat *statPtr) {
    statPtr->l2ExmDaLgidEgidMgid = gidOfEgid(statPtr->comRegPtr->rte_drop_egid);
    statPtr->l2ExmDaIsMgid = 0;
}

void takeVidTrillMc(CmRteStat *statPtr) {
    statPtr->l2ExmVidTrillMc =
        bit(memWord(statPtr->memPtr->RTE_VID_TRILL_MC_RA, statPtr->iivid >> 5), statPtr->iivid & 31);
}

void floodTrillMc(CmRteStat *statPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    if (!statPtr->l2ExmDaIsPthEgid) {
        takeDropEgid(statPtr);
        CM_TRACE(1, "L2DA LU miss (TRILL MC), rslt.gid!=passthru_egid ==> l2ExmGid = drop_egid\n");
        return;
    }
    if (statPtr->l2TrillDa == comRegPtr->rte_l2_exm_trill_mc_unk_rslt_rb0) {
        takeFloodGroup(statPtr, memPtr->RTE_L2_VID_MGID_SRAM0);
        CM_TRACE(1, "L2DA LU miss (TRILL MC) ==> flooding -- TrillDa==unk_rslt_rb0  ==>  l2ExmGid=%x, iivid=0x%x\n",
                 statPtr->l2ExmDaLgidEgidMgid, statPtr->iivid);
    } else if (statPtr->l2TrillDa == comRegPtr->rte_l2_exm_trill_mc_unk_rslt_rb1) {
        takeFloodGroup(statPtr, memPtr->RTE_L2_VID_MGID_SRAM1);
        CM_TRACE(1, "L2DA LU miss (TRILL MC) ==> flooding -- TrillDa==unk_rslt_rb1  ==>  l2ExmGid=%x, iivid=0x%x\n",
                 statPtr->l2ExmDaLgidEgidMgid, statPtr->iivid);
    } else {
        takeFloodGroup(statPtr, memPtr->RTE_L2_VID_MGID_SRAM0);
        CM_TRACE(1,
                 "L2DA LU miss (TRILL MC), TrillDa doesn't match any tree rb ==> flooding -- TrillDa==unk_rslt_rb0  "
                 "==>  l2ExmGid=%x, iivid=0x%x\n",
                 statPtr->l2ExmDaLgidEgidMgid, statPtr->iivid);
    }
    takeVidTrillMc(statPtr);
}

} // namespace

void L2Exm(CmRteStat *statPtr) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;

    const ExmKeys keys = pickKeys(statPtr);
    statPtr->l2ExmDaKey0 = keys.da.key0();
    statPtr->l2ExmDaKey1 = keys.da.key1();
    statPtr->l2ExmSaKey0 = keys.sa.key0();
    statPtr->l2ExmSaKey1 = keys.sa.key1();
    CmRteHisU32(hisCtl(statPtr), keys.fidIdx, comRegPtr->rte_lue_l2_fid_addr_hi, comRegPtr->rte_lue_l2_fid_addr_lo,
                0x1fff, 16, &comRegPtr->rte_his_l2_fid[0]);

    ChassisAddressParser(statPtr, keys.da.trillAddrVld);
    statPtr->l2TrillInterior = statPtr->l2TrillFound && !statPtr->l2TrillEgr;

    // The parser's hash of this type picks one of two flood tables and of two rows of an unknown DA.
    const uint32_t hshTyp = comRegPtr->rte_l2_exm_mgid_hsh_typ;
    const uint32_t hsh = hshTyp < std::size(statPtr->hshVal) ? statPtr->hshVal[hshTyp] : 0;
    const uint32_t tblSel = bit(hsh, 15);
    CM_TRACE(3,
             "L2 DA EXM LU key: key_type=%u,trill_addr_vld=%u, fid=0x%x, trill_addr=0x%x, mac_addr=0x%llx, "
             "vpn_id=0x%x, hsh_typ=%u, tbl_sel=%u\n",
             keys.keyType, keys.da.trillAddrVld, keys.da.fid, keys.da.trillAddr,
             keys.keyType == 2 ? 0 : asLl(mac(keys.da.addr)), statPtr->vpn_id, hshTyp, tblSel);

    lookupDa(statPtr, keys, tblSel, hsh);
    lookupSa(statPtr, keys);
    L2ExmDbgCnt(statPtr);
    readStpEn(statPtr);
}

void ChassisAddressParser(CmRteStat *statPtr, uint32_t trillVld) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    statPtr->myDaId = comRegPtr->rte_l2_exm_def_myda_id;

    uint64_t da = statPtr->l2TrillInnerDa;
    uint64_t sa = statPtr->l2TrillInnerSa;
    if (trillVld) {
        if (!statPtr->l2TrillMc || !comRegPtr->l2_trill_mc_chassis_parser_en)
            return;
    } else if (!statPtr->l2TrillFound) {
        da = statPtr->l2OuterDa;
        sa = statPtr->l2OuterSa;
    }

    uint32_t idx = 0;
    statPtr->l2DaIsChsAddr = 0;
    statPtr->l2DaChsRsltIdx = 0;
    searchMyDaPrefix(statPtr, da);
    CM_TRACE(1, "[TCAM][L2_MYDA] Search with Key: 0x%x\n", tcamTbl.u32Key);
    if (findMyDaRange(statPtr, da, &idx)) {
        const uint32_t rslt = memWord(statPtr->memPtr->RTE_MYDA_LOOKUP_RSLT_RA, idx);
        statPtr->l2DaChsRsltIdx = bits(rslt, 18, 0);
        statPtr->myDaId = bits(rslt, 25, 19);
        statPtr->l2DaIsChsAddr = 1;
        statPtr->l2DaIsChsAddrIdx = idx;
        CM_TRACE(1, "[L2_MYDA][Hit] MYDA  TCAM & Range Match at HitIdx: 0x%x, rslt=%x\n", idx, rslt);
    }

    statPtr->l2SaIsChsAddr = 0;
    statPtr->l2SaChsRsltIdx = 0;
    searchMyDaPrefix(statPtr, sa);
    CM_TRACE(1, "[TCAM][L2_MYSA] Search with Key: 0x%x\n", tcamTbl.u32Key);
    if (findMyDaRange(statPtr, sa, &idx)) {
        statPtr->l2SaChsRsltIdx = bits(memWord(statPtr->memPtr->RTE_MYDA_LOOKUP_RSLT_RA, idx), 18, 0);
        statPtr->l2SaIsChsAddr = 1;
        statPtr->l2SaIsChsAddrIdx = idx;
        CM_TRACE(1, "[L2_MYSA][Hit] MYSA  TCAM & Range Match at HitIdx: 0x%x\n", idx);
    }
}

uint32_t L2ExmDfltRsltIdx(CmRteHsiComReg *comRegPtr_, uint64_t l2Da, uint32_t l2TrillFound, uint32_t l2TrillMc,
                          uint32_t l2TrillInterior, uint32_t l2TrillEgr, uint32_t l2TrillDa, uint64_t l2TrillInnerDa,
                          uint64_t tbl_sel, uint32_t keyProfile) {
    const bool likeUcast = keyProfile == 2 || !isMcastMac(l2TrillInnerDa);
    if (l2TrillFound && l2TrillMc) {
        if (l2TrillDa == comRegPtr_->rte_l2_exm_trill_mc_unk_rslt_rb0)
            return likeUcast ? comRegPtr_->rte_l2_exm_trill_da_mc_unk_rslt0_addr
                             : comRegPtr_->rte_l2_exm_trill_da_mc_unk_inner_mc_rslt0_addr;
        if (l2TrillDa == comRegPtr_->rte_l2_exm_trill_mc_unk_rslt_rb1)
            return likeUcast ? comRegPtr_->rte_l2_exm_trill_da_mc_unk_rslt1_addr
                             : comRegPtr_->rte_l2_exm_trill_da_mc_unk_inner_mc_rslt1_addr;
        return comRegPtr_->rte_l2_exm_trill_unk_da_unk_rslt_addr;
    }
    if (l2TrillInterior)
        return comRegPtr_->rte_l2_exm_trill_da_uc_itr_unk_rslt_addr;
    if (l2TrillEgr)
        return likeUcast ? comRegPtr_->rte_l2_exm_trill_da_uc_egr_unk_rslt_addr
                         : comRegPtr_->rte_l2_exm_trill_da_mc_egr_unk_rslt_addr;
    if (isMcastMac(l2Da))
        return tbl_sel ? comRegPtr_->rte_l2_exm_da_mc_unk_rslt1_addr : comRegPtr_->rte_l2_exm_da_mc_unk_rslt_addr;
    return tbl_sel ? comRegPtr_->rte_l2_exm_da_uc_unk_rslt1_addr : comRegPtr_->rte_l2_exm_da_uc_unk_rslt0_addr;
}

void L2Flood(CmRteStat *statPtr, uint32_t tbl_sel, uint32_t /*hshVal*/) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    statPtr->l2ExmDaFlooded = 1;

    if (!statPtr->l2TrillFound) {
        if (statPtr->l2ExmDaIsPthEgid) {
            if (tbl_sel)
                takeFloodGroup(statPtr, memPtr->RTE_L2_VID_MGID_SRAM1);
            else
                takeFloodGroup(statPtr, memPtr->RTE_L2_VID_MGID_SRAM0);
            takeVidTrillMc(statPtr);
            CM_TRACE(1, "L2DA LU miss ==> flooding RTE_L2_VID_MGID_SRAM%u, l2ExmGid=%x, iivid=0x%x\n", tbl_sel,
                     statPtr->l2ExmDaLgidEgidMgid, statPtr->iivid);
        } else {
            takeDropEgid(statPtr);
            CM_TRACE_RAW(1, "CM port=%u, frameIdx=%u>>L2DA LU miss, gid!=passthru_egid ==> set gid=drop_egid\n",
                         statPtr->ingPhyPort, statPtr->frmIdx);
        }
        return;
    }

    if (statPtr->l2TrillMc) {
        floodTrillMc(statPtr);
        return;
    }

    if (!statPtr->l2TrillEgr) {
        CM_TRACE(1,
                 "L2DA LU miss (TRILL INTERIOR) ==>no flooding. Honor Trill Interior Miss result as is ==>  "
                 "l2ExmGid=%x, iivid=0x%x\n",
                 statPtr->l2ExmDaLgidEgidMgid, statPtr->iivid);
    } else if (statPtr->l2ExmDaIsPthEgid) {
        takeFloodGroup(statPtr, memPtr->RTE_L2_VID_MGID_SRAM0);
        statPtr->l2ExmVidTrillMc = 0;
        CM_TRACE(1,
                 "L2DA LU miss (TRILL EGR) ==> flooding RTE_L2_VID_MGID_SRAM0, l2ExmGid=%x, iivid=0x%x, "
                 "VidTrillMc=%u\n",
                 statPtr->l2ExmDaLgidEgidMgid, statPtr->iivid, statPtr->l2ExmVidTrillMc);
    } else {
        takeDropEgid(statPtr);
        CM_TRACE(1, "L2DA LU miss (TRILL EGR), gid!=passthru_egid ==> l2ExmGid=%x (pth_egid)\n",
                 statPtr->l2ExmDaLgidEgidMgid);
    }
}

void L2ExmDbgCnt(CmRteStat *statPtr) {
    CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    for (uint32_t n = 0; n < kDbgCnts; n++) {
        if (!bit(comRegPtr->rte_l2_dbg[n].port_msk, statPtr->ingPhyPort))
            continue;
        const uint32_t idx = comRegPtr->rte_l2_dbg[n].idx;
        const uint32_t da = comRegPtr->rte_l2_dbg[n].da_en && statPtr->l2ExmDaIdx == idx;
        const uint32_t sa = comRegPtr->rte_l2_dbg[n].sa_en && statPtr->l2ExmSaIdx == idx;
        if (da || sa)
            IncrSts(&comRegPtr->rte_l2_dbg_cnt[n][0], kFrmCntMsk, da + sa);
    }
}
