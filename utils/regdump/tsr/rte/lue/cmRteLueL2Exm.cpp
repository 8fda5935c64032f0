// The forwarding database: destination and source address of a frame in the layer-2 exact-match tables, the check for
// the chip's own addresses, the flood decision of a miss, and the enables of the frame's VLAN.

#include "base/cmRteCnt.h"
#include "base/cmRteHis.h"
#include "base/cmRteLkup.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "lue/cmRteLue.h"
#include "tbl/tsr_tbl.h"

#include <iterator>

namespace {

using ExmLkup = CmExmLkup<L2ExmBkt, 78, &CmRteHsiMem::RTE_L2_EXM_IDX_EDRAM, &CmRteHsiMem::RTE_L2_EXM_BKT_EDRAM, 32,
                          &CmRteHsiMem::RTE_L2_EXM_OVERFLOW_TCAM, &CmL2ExmLu>;
using MyDaLkup = CmTcamLkup<&CmRteHsiMem::RTE_MYDA_PREFIX_TCAM, MyDaPrefix>;

constexpr CmExmHis kDaHis = {his::l2_exm_tcam_key_da, his::l2_exm_idx_da, his::l2_exm_bkt_da, his::l2_exm_rslt_da};
constexpr CmExmHis kSaHis = {his::l2_exm_tcam_key_sa, his::l2_exm_idx_sa, his::l2_exm_bkt_sa, his::l2_exm_rslt_sa};

constexpr uint32_t kVids = 0x2000;
constexpr uint32_t kDbgCnts = 16;
constexpr unsigned kMcastMacBit = 40;

unsigned long long mac(uint64_t addr) {
    return bits64(addr, 47, 0);
}

uint32_t isMcastMac(uint64_t addr) {
    return static_cast<uint32_t>(bits64(addr, kMcastMacBit, kMcastMacBit));
}

/// Key of one side; `addr` is a MAC address, or the VPN id.
L2ExmBkt exmKey(uint32_t trillAddrVld, uint32_t fid, uint32_t trillAddr, uint64_t addr) {
    L2ExmBkt key{};
    key.trill_addr_vld = trillAddrVld;
    key.fid = fid;
    key.trill_addr = trillAddr;
    key.mac_addr = addr;
    return key;
}

CmKeyWords<L2ExmBkt::kWords> wordsOf(const L2ExmBkt &key) {
    CmKeyWords<L2ExmBkt::kWords> words;
    pack(key, words.word);
    return words;
}

struct ExmKeys {
    uint32_t keyType; // 2: the DA key has the VPN id in place of an address
    uint32_t fidIdx;  // the IIVID whose FID is used
    L2ExmBkt da;
    L2ExmBkt sa;
};

ExmKeys pickKeys(const CmRteStat *statPtr) {
    const CmRteHsiMem *memPtr = statPtr->memPtr;
    const uint32_t unchangedVid = statPtr->comRegPtr->dont_change_ivid;
    const uint32_t fid = field<&L2Fid::fid>(memPtr->RTE_L2_FID_SRAM, statPtr->iivid);

    if (statPtr->l2TrillFound && statPtr->l2TrillMc && statPtr->iivid == unchangedVid)
        return {
            2, unchangedVid,
            exmKey(1, field<&L2Fid::fid>(memPtr->RTE_L2_FID_SRAM, unchangedVid), statPtr->l2TrillDa, statPtr->vpn_id),
            exmKey(0, fid, 0, statPtr->l2TrillInnerSa)};
    if (!statPtr->l2TrillFound)
        return {1, statPtr->iivid, exmKey(0, fid, 0, statPtr->l2OuterDa), exmKey(0, fid, 0, statPtr->l2OuterSa)};
    if (!statPtr->l2TrillEgr && !statPtr->l2TrillMc)
        return {1, statPtr->iivid, exmKey(1, 0, statPtr->l2TrillDa, 0), exmKey(1, 0, statPtr->l2TrillSa, 0)};
    if (!statPtr->l2TrillEgr)
        return {1, statPtr->iivid, exmKey(1, fid, statPtr->l2TrillDa, statPtr->l2TrillInnerDa),
                exmKey(0, fid, 0, statPtr->l2TrillInnerSa)};
    return {1, statPtr->iivid, exmKey(0, fid, 0, statPtr->l2TrillInnerDa), exmKey(0, fid, 0, statPtr->l2TrillInnerSa)};
}

/// What the registers say of a search with the result `rsltUnkIdx` for an unknown station.
CmExmCtl exmCtl(const CmRteStat *statPtr, uint32_t rsltUnkIdx) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    return {{uint64_t{comRegPtr->rte_l2_exm_swp_ctl_w0} << 32 | comRegPtr->rte_l2_exm_swp_ctl_w1},
            rsltUnkIdx,
            comRegPtr->rte_l2_exm_alw_hsh_hit_tcam_rng};
}

/// Keeps a search in its histories; which way the station was hit stands above the result index.
void captureExm(const CmRteStat *statPtr, const ExmLkup &lkup, const CmExmHis &his) {
    lkup.captureAll(statPtr, his, lkup.ovflwHit() << 1 | lkup.bktHit());
}

/// Takes the DA's result.
void takeDaRslt(CmRteStat *statPtr, const L2ExmRslt &rslt) {
    statPtr->l2ExmDaTrillCmd = rslt.trill_cmd;
    statPtr->l2ExmDaTrillMc = rslt.trill_mc;
    statPtr->l2ExmDaTrillDa = rslt.trill_da;
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
        statPtr->l2ExmDaMctNpath = rslt.mct_npath;
        statPtr->l2ExmDaMctId = rslt.mct_id;
        statPtr->l2ExmDaIsMctid = 1;
        statPtr->l2ExmDoTrillMP = 1;
        break;
    default:
        statPtr->l2ExmDoTrillMP = 0;
        break;
    }

    // The header of a TRILL frame overrides the result.
    if (statPtr->l2TrillFound) {
        statPtr->l2ExmDaMctId = mctIdOf(statPtr->l2TrillDa);
        statPtr->l2ExmDaMctNpath = mctNpathOf(statPtr->l2TrillDa);
        statPtr->l2ExmDaTrillDa = statPtr->l2TrillDa;
        statPtr->l2ExmDaTrillMc = statPtr->l2TrillMc;
    }
    CM_TRACE(1, "[L2_DA_EXM] trillCmd=%d, trillDa=0x%x, trillMc=%u, trillMctId=0x%x, doTrillMp=%d, ovrdTrillEgid=%d\n",
             statPtr->l2ExmDaTrillCmd, statPtr->l2ExmDaTrillDa, statPtr->l2ExmDaTrillMc, statPtr->l2ExmDaMctId,
             statPtr->l2ExmDoTrillMP, statPtr->l2ExmDaOverrideTrillEgid);

    statPtr->l2ExmDaTrapEn = rslt.trap_en;
    statPtr->l2ExmDaIsMgid = rslt.is_mgid;
    statPtr->l2ExmDaLgidEgidMgid = rslt.gid;
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

    const uint32_t unkIdx = statPtr->l2DaIsChsAddr
                                ? statPtr->l2DaChsRsltIdx
                                : L2ExmDfltRsltIdx(comRegPtr, statPtr->l2Da, statPtr->l2TrillFound, statPtr->l2TrillMc,
                                                   statPtr->l2TrillInterior, statPtr->l2TrillEgr, statPtr->l2TrillDa,
                                                   statPtr->l2TrillInnerDa, tblSel, keys.keyType);
    ExmLkup lkup;
    lkup.search(memPtr, keys.da, exmCtl(statPtr, unkIdx));
    statPtr->l2ExmDaIdx = lkup.idx();
    const unsigned long long addr = mac(keys.da.mac_addr);
    if (lkup.bktHit())
        CM_TRACE(1, "L2 DA EXM hash hit at index %x, DA=%16llx\n", lkup.idx(), addr);
    else if (lkup.ovflwHit())
        CM_TRACE(1, "L2 DA EXM tcam hit at index %x, DA=%16llx\n", lkup.idx(), addr);
    else
        CM_TRACE(1, "L2 DA EXM miss: hash_typ=%d, hash_val=%x, tbl_sel=%u, rslt_index=%x, DA=%16llx\n",
                 comRegPtr->rte_l2_exm_mgid_hsh_typ, hsh, tblSel, lkup.idx(), addr);
    CM_TRACE(1, "DA EXM rsltIdx=0x%x, result=0x%llx\n", lkup.idx(),
             memQword(memPtr->RTE_L2_EXM_RSLT_EDRAM, lkup.idx()));

    // A default row counts as active too.
    setFlagIn<&L2DaAct::act>(memPtr->RTE_L2_EXM_DA_ACT_SRAM, lkup.idx(), 1);

    takeDaRslt(statPtr, entry<L2ExmRslt>(memPtr->RTE_L2_EXM_RSLT_EDRAM, lkup.idx()));

    statPtr->l2ExmDaIsPthEgid = !statPtr->l2ExmDaIsMgid && CmRteCkPthEgid(statPtr, statPtr->l2ExmDaLgidEgidMgid);
    statPtr->l2ExmDaLuMiss = !lkup.hit() && !statPtr->l2DaIsChsAddr;
    statPtr->l2ExmDaFlooded = 0;
    if (statPtr->l2ExmDaIsPthEgid)
        CM_TRACE(1, "L2 EXM lookup produces path_thru egid (0x%x)\n", statPtr->l2ExmDaLgidEgidMgid);
    if (statPtr->l2ExmDaIsPthEgid || statPtr->l2ExmDaLuMiss)
        L2Flood(statPtr, tblSel, hsh);
    statPtr->l2ExmDaHit = lkup.hit();

    capture(statPtr, his::l2_vid_mgid, statPtr->iivid);
    takeDaTrap(statPtr);
    captureExm(statPtr, lkup, kDaHis);
}

void lookupSa(CmRteStat *statPtr, const ExmKeys &keys) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const CmRteHsiMem *memPtr = statPtr->memPtr;

    uint32_t unkIdx = comRegPtr->rte_l2_exm_sa_unk_rslt_addr;
    if (statPtr->l2SaIsChsAddr && comRegPtr->rte_l2_ck_chs_sa == 1)
        unkIdx = statPtr->l2SaChsRsltIdx;
    else if (statPtr->l2TrillInterior)
        unkIdx = comRegPtr->rte_l2_exm_trill_sa_unk_rslt_addr;
    ExmLkup lkup;
    lkup.search(memPtr, keys.sa, exmCtl(statPtr, unkIdx));
    statPtr->l2ExmSaHit = lkup.hit();
    statPtr->l2ExmSaIdx = lkup.idx();
    const unsigned long long addr = mac(keys.sa.mac_addr);
    if (lkup.bktHit())
        CM_TRACE(1, "L2 SA EXM hash hit at index %x, SA=%16llx\n", lkup.idx(), addr);
    else if (lkup.ovflwHit())
        CM_TRACE(1, "L2 SA EXM tcam hit at index %x, SA=%16llx\n", lkup.idx(), addr);
    else
        CM_TRACE(1, "L2 SA EXM miss, SA=%16llx\n", addr);
    CM_TRACE(1, "SA EXM rsltIdx=%u, result= %llx\n", lkup.idx(), memQword(memPtr->RTE_L2_EXM_RSLT_EDRAM, lkup.idx()));

    // A chassis SA that the tables know is legal.
    if (statPtr->l2SaIsChsAddr && !statPtr->l2ExmSaHit && comRegPtr->rte_l2_ck_chs_sa)
        statPtr->l2ExmSaChassisErr = 1;

    const L2ExmRslt rslt = entry<L2ExmRslt>(memPtr->RTE_L2_EXM_RSLT_EDRAM, lkup.idx());
    statPtr->l2ExmSaIsMgid = rslt.is_mgid;
    statPtr->l2ExmSaLrnPort = rslt.lrn_port;
    statPtr->l2ExmSaLgidEgidMgid = rslt.gid;
    statPtr->l2ExmSaTrapEn = rslt.trap_en;
    statPtr->l2ExmSaTrillDa = rslt.trill_da;
    statPtr->l2ExmSaTrillCmd = rslt.trill_cmd;
    statPtr->l2ExmSaTrillMc = rslt.trill_mc;
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

    captureExm(statPtr, lkup, kSaHis);
}

/// Spanning tree: what the frame's port may do in its VLAN.
void readStpEn(CmRteStat *statPtr) {
    const auto &mem = statPtr->memPtr->RTE_L2_STP_EN_EDRAM;
    const uint32_t idx = statPtr->ingPhyPort * kVids | statPtr->iivid;
    const uint32_t fwdEnTag = elem<&L2StpEn::fwd_en_tag>(mem, idx);
    const uint32_t fwdEnUntag = elem<&L2StpEn::fwd_en_untag>(mem, idx);
    statPtr->l2SaLrnEn = elem<&L2StpEn::sa_lrn_en>(mem, idx);
    statPtr->l2DaLrnEn = elem<&L2StpEn::da_lrn_en>(mem, idx);
    CM_TRACE(1, "reading L2_STP_EN, iivid=%x, value=%x\n", statPtr->iivid,
             statPtr->l2DaLrnEn << 3 | statPtr->l2SaLrnEn << 2 | fwdEnTag << 1 | fwdEnUntag);

    if (statPtr->l2TrillFound && !statPtr->l2TrillMc) {
        statPtr->l2FwdEn = 1;
        CM_TRACE(1, "fwd_en filtering ignored for TRILL Ucast frame\n");
    } else if (statPtr->l2CtlSkipIvf == 1) {
        statPtr->l2FwdEn = 1;
        CM_TRACE(1, "fwd_en filtering ignored because l2CtlSkipIvf==1\n");
    } else {
        statPtr->l2FwdEn = statPtr->ctagNz ? fwdEnTag : fwdEnUntag;
    }

    capture(statPtr, his::l2_stp_en, elemEntry<&L2StpEn::fwd_en_tag>(idx));
}

/// Searches the upper half of a MAC address among those of the chip's own.
void searchMyDaPrefix(const CmRteStat *statPtr, uint64_t addr, MyDaLkup &lkup) {
    lkup.search(statPtr->memPtr, MyDaPrefix{.prefix = static_cast<uint32_t>(bits64(addr, 47, 24))});
}

/// Walks the prefix hits up to the first one whose range holds the low half of `addr`. Returns whether there is one,
/// with its entry in `*idxPtr`.
bool findMyDaRange(const CmRteStat *statPtr, const MyDaLkup &lkup, uint64_t addr, uint32_t *idxPtr) {
    const CmRteHsiComReg *comRegPtr = statPtr->comRegPtr;
    const uint32_t low = static_cast<uint32_t>(bits64(addr, 23, 0));
    for (const uint32_t idx : lkup.hits()) {
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
    statPtr->l2ExmDaLgidEgidMgid = field<&L2FloodMgid::mgid>(mgidSram, statPtr->iivid);
    statPtr->l2ExmDaIsMgid = 1;
}

void takeDropEgid(CmRteStat *statPtr) {
    statPtr->l2ExmDaLgidEgidMgid = gidOfEgid(statPtr->comRegPtr->rte_drop_egid);
    statPtr->l2ExmDaIsMgid = 0;
}

void takeVidTrillMc(CmRteStat *statPtr) {
    statPtr->l2ExmVidTrillMc = elem<&VidTrillMc::trill_mc>(statPtr->memPtr->RTE_VID_TRILL_MC_RA, statPtr->iivid);
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
    const auto daKey = wordsOf(keys.da);
    const auto saKey = wordsOf(keys.sa);
    statPtr->l2ExmDaKey0 = daKey.qword(0);
    statPtr->l2ExmDaKey1 = daKey.qword(1);
    statPtr->l2ExmSaKey0 = saKey.qword(0);
    statPtr->l2ExmSaKey1 = saKey.qword(1);
    capture(statPtr, his::l2_fid, keys.fidIdx);

    ChassisAddressParser(statPtr, keys.da.trill_addr_vld);
    statPtr->l2TrillInterior = statPtr->l2TrillFound && !statPtr->l2TrillEgr;

    // The parser's hash of this type picks one of two flood tables and of two rows of an unknown DA.
    const uint32_t hshTyp = comRegPtr->rte_l2_exm_mgid_hsh_typ;
    const uint32_t hsh = hshTyp < std::size(statPtr->hshVal) ? statPtr->hshVal[hshTyp] : 0;
    const uint32_t tblSel = bit(hsh, 15);
    CM_TRACE(3,
             "L2 DA EXM LU key: key_type=%u,trill_addr_vld=%u, fid=0x%x, trill_addr=0x%x, mac_addr=0x%llx, "
             "vpn_id=0x%x, hsh_typ=%u, tbl_sel=%u\n",
             keys.keyType, keys.da.trill_addr_vld, keys.da.fid, keys.da.trill_addr,
             keys.keyType == 2 ? 0 : mac(keys.da.mac_addr), statPtr->vpn_id, hshTyp, tblSel);

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

    const CmRteHsiMem *memPtr = statPtr->memPtr;
    MyDaLkup lkup;
    uint32_t idx = 0;
    statPtr->l2DaIsChsAddr = 0;
    statPtr->l2DaChsRsltIdx = 0;
    searchMyDaPrefix(statPtr, da, lkup);
    CM_TRACE(1, "[TCAM][L2_MYDA] Search with Key: 0x%x\n", lkup.key().word[0]);
    if (findMyDaRange(statPtr, lkup, da, &idx)) {
        const MyDaRslt rslt = entry<MyDaRslt>(memPtr->RTE_MYDA_LOOKUP_RSLT_RA, idx);
        statPtr->l2DaChsRsltIdx = rslt.rslt_idx;
        statPtr->myDaId = rslt.myda_id;
        statPtr->l2DaIsChsAddr = 1;
        statPtr->l2DaIsChsAddrIdx = idx;
        CM_TRACE(1, "[L2_MYDA][Hit] MYDA  TCAM & Range Match at HitIdx: 0x%x, rslt=%x\n", idx,
                 memWord(memPtr->RTE_MYDA_LOOKUP_RSLT_RA, idx));
    }

    statPtr->l2SaIsChsAddr = 0;
    statPtr->l2SaChsRsltIdx = 0;
    searchMyDaPrefix(statPtr, sa, lkup);
    CM_TRACE(1, "[TCAM][L2_MYSA] Search with Key: 0x%x\n", lkup.key().word[0]);
    if (findMyDaRange(statPtr, lkup, sa, &idx)) {
        statPtr->l2SaChsRsltIdx = field<&MyDaRslt::rslt_idx>(memPtr->RTE_MYDA_LOOKUP_RSLT_RA, idx);
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
