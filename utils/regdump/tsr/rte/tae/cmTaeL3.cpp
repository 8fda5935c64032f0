// The layer-3 search of the ACL engine: TCAM banks, exact-match tables, and the merge of what they say.

#include "base/cmLu.h"
#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "cmAssert.h"
#include "tae/cmTae.h"
#include "tae/cmTaeMerge.h"
#include "tbl/tsr_tbl_visit.h"

#include <algorithm>
#include <array>

#define TAE_L3_TRACE(level, port, frame, fmt, ...)                                                                     \
    do {                                                                                                               \
        if (dbgLvl > (level))                                                                                          \
            TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, "CM port=%u, frameIdx=%u>> " fmt, port,             \
                  frame __VA_OPT__(, ) __VA_ARGS__);                                                                   \
    } while (0)
#define TAE_INTF_TRACE(fmt, ...)                                                                                       \
    TAE_L3_TRACE(1, static_cast<uint32_t>(intf.portNum), intf.frameIdx, fmt __VA_OPT__(, ) __VA_ARGS__)
#define TAE_CFG_ERROR(func, fmt, ...) TbMsg(TB_MSG_ERROR, func, __FILE_NAME__, __LINE__, fmt, __VA_ARGS__)

namespace {

constexpr uint32_t kKeyWords = 8;
constexpr uint32_t kIpv4ExmWords = 3;
constexpr uint32_t kIpv6ExmWords = 9;

// What stands in a bank's keys in place of the VLAN: banks 0 to 15, and the others.
constexpr TblElems kBankIdSelElems{.count = 16, .word = 0, .hi = 1, .lo = 0, .step = -2};
constexpr TaeRegField TaeRegs::*kBankIdSel[] = {&TaeRegs::l3_srch_cid_mcuid_sel_0, &TaeRegs::l3_srch_cid_mcuid_sel_1};

/// Writes the field `Member` into the part of its key that begins with word `first`; pieces outside of that stay.
template <auto Member> void putInPart(uint32_t *key, uint32_t first, uint32_t value) {
    for (TblPiece piece : tblPlace<Member>) {
        if (piece.word < first || piece.word >= first + kKeyWords)
            continue;
        piece.word = static_cast<uint8_t>(piece.word - first);
        tblScatter(key, std::array{piece}, uint64_t{value});
    }
}

/// A next hop's index, cut to the width that a result has for it.
constexpr uint32_t nxtHopIdx(uint32_t idx) {
    return tblTake(idx, 0, tblPlace<&L3PselRslt::nxt_hop_rslt_idx>[0].width);
}

uint64_t segment(uint32_t hi, uint32_t lo) {
    return static_cast<uint64_t>(hi) << 32 | lo;
}

/// Runs the search that `exmTbl` describes; a hit gives its words of `rsltMem`.
template <size_t N> TaeExmHit searchExm(CmExmTbl &exmTbl, const uint32_t (&rsltMem)[N]) {
    CmExmLu(&exmTbl);
    if (!exmTbl.hshHit && !exmTbl.tcamHit)
        return {};
    TaeExmHit found{.hit = true, .words = {}};
    if (exmTbl.rsltIdx < N / 4) {
        if (tblObserver)
            tblObserver->read(rsltMem + 4 * exmTbl.rsltIdx, 4);
        std::copy_n(rsltMem + 4 * exmTbl.rsltIdx, 4, found.words.begin());
    }
    return found;
}

/// Hands out the result of a hit. Returns the hit flag.
uint32_t takeExm(const TaeExmHit &found, L3PselRslt *out) {
    if (found.hit)
        *out = entryAt<L3PselRslt>(found.words.data());
    return found.hit;
}

/// The lowest index that stands in both lists, which ascend; -1 if there is none.
int firstCommon(const std::vector<int> &first, const std::vector<int> &second) {
    auto a = first.begin();
    auto b = second.begin();
    while (a != first.end() && b != second.end()) {
        if (*a == *b)
            return *a;
        if (*a < *b)
            ++a;
        else
            ++b;
    }
    return -1;
}

/// The function whose name messages of the search's configuration carry.
constexpr char kSearchName[] = "lookupL3Acl";

/// The profile of a flex type that the chip no longer has.
uint32_t removedFlexProfile(enumBankType type) {
    if (type < ACLT_L3_IP_FLEX0)
        return type - ACLT_L2_FLEX0;
    return type - (type < ACLT_L3_FCOE_FLEX0 ? ACLT_L3_IP_FLEX0 : ACLT_L3_FCOE_FLEX0);
}

/// The eight words with which `bank` is searched; null when the frame has none for it.
const uint32_t *bankKey(const tL3AclInterface &intf, const TaeL3Banks &banks, uint32_t bank) {
    const enumBankType type = banks.type[bank];
    switch (type) {
    case ACLT_L2_FLEX1:
    case ACLT_L2_FLEX2:
    case ACLT_L2_FLEX3:
    case ACLT_L3_IP_FLEX1:
    case ACLT_L3_IP_FLEX2:
    case ACLT_L3_IP_FLEX3:
    case ACLT_L3_FCOE_FLEX1:
    case ACLT_L3_FCOE_FLEX2:
    case ACLT_L3_FCOE_FLEX3:
        TAE_CFG_ERROR(kSearchName, "TAE bank %d is selecting flex key profile %d that has been removed from RTL\n",
                      static_cast<int>(bank), static_cast<int>(removedFlexProfile(type)));
        return nullptr;
    case ACLT_L3_IPV4:
        return intf.isIpv4 ? intf.tcamFixedKey : nullptr;
    case ACLT_L3_FCOE:
        return intf.isFcoe ? intf.tcamFixedKey : nullptr;
    case ACLT_L3_IP_FLEX0:
        return intf.isIpv4 || intf.isIpv6 ? intf.tcamFlexKey[0] : nullptr;
    case ACLT_L3_FCOE_FLEX0:
        return intf.isFcoe ? intf.tcamFlexKey[0] : nullptr;
    case ACLT_L3_IPV6:
        if (bank % 2 == 1 && banks.type[bank - 1] != ACLT_L3_IPV6) {
            TAE_CFG_ERROR(kSearchName,
                          "TAE TCAM bank %d is configured as ipv6 bank, this requires bank %d be ipv6 also (curr "
                          "type=%d)\n",
                          static_cast<int>(bank), static_cast<int>(bank - 1), static_cast<int>(banks.type[bank - 1]));
            return nullptr;
        }
        return intf.isIpv6 ? intf.tcamFixedKey + (bank % 2) * kKeyWords : nullptr;
    default:
        TAE_CFG_ERROR(kSearchName, "TAE bank %d has unknown protocol type %d\n", static_cast<int>(bank),
                      static_cast<int>(type));
        return nullptr;
    }
}

} // namespace

TaeL3Banks CmTaeLkup::l3Banks() const {
    const TaeBankCfg cfg = bankCfg();
    TaeL3Banks banks;
    banks.enabled = cfg.enabled;
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        banks.type[bank] = cfg.type[bank];
        banks.group[bank] = cfg.group[cfg.type[bank] == ACLT_L3_IPV6 ? bank & ~1u : bank];
    }
    std::fill(std::begin(banks.winner), std::end(banks.winner), tBnkIdxPair{-1, 0});
    return banks;
}

void CmTaeLkup::searchL3Bank(const tL3AclInterface &intf, uint32_t bank, const uint32_t *key, TaeL3Banks &banks) {
    std::vector<int> &hits = scratch.hits;
    TaeMasterHits &master = scratch.master;
    const enumBankType type = banks.type[bank];
    uint32_t cells[kKeyWords];
    std::copy_n(key, kKeyWords, cells);
    replaceIivid(cells, intf.l3Cugid, intf.l3Mcuid, static_cast<int>(bank), type, 1, intf.isIpv4, intf.isIpv6);
    reverseKey(cells, kKeyWords);
    hits.clear();
    bankLookup(cells, hits, static_cast<int>(bank));

    tBnkIdxPair &winner = banks.winner[banks.group[bank]];
    if (hits.empty() || winner.idx >= 0)
        return;
    if (type != ACLT_L3_IPV6) {
        winner = {hits.front(), bank};
    } else if (bank % 2 == 0) {
        master.hits = hits;
        master.bank = bank;
        TAE_INTF_TRACE("[lookupL3Acl] ipv6 master bank %u hits at index 0x%x logicalGrpId=%0d\n", bank,
                       static_cast<uint32_t>(hits.front()), static_cast<int>(banks.group[bank]));
    } else {
        const int idx = master.bank + 1 == bank ? firstCommon(master.hits, hits) : -1;
        if (idx >= 0)
            winner = {idx, master.bank};
        master.hits.clear();
    }
}

TaeExmHit CmTaeLkup::ipv4Exm(const tL3AclInterface &intf) {
    uint32_t key[kIpv4ExmWords];
    std::copy_n(intf.exmKey, kIpv4ExmWords, key);
    replaceIivid(key, intf.l3Cugid, intf.l3Mcuid, 0, ACLT_L2_IP, 0, 1, 0);
    const TaeExmHit found = searchIpv4Exm(key);
    TAE_INTF_TRACE("[L3Acl] IPv4 EXM result=0x%08x_%08x_%08x_%08x\n", found.words[0], found.words[1], found.words[2],
                   found.words[3]);
    return found;
}

TaeExmHit CmTaeLkup::ipv6Exm(const tL3AclInterface &intf) {
    uint32_t key[kIpv6ExmWords];
    std::copy_n(intf.exmKey, kIpv6ExmWords, key);
    replaceIivid(key, intf.l3Cugid, intf.l3Mcuid, 0, ACLT_L2_IP, 0, 0, 1);
    const TaeExmHit found = searchIpv6Exm(key);
    TAE_INTF_TRACE("[L3Acl] IPv6 EXM result=0x%08x_%08x_%08x_%08x\n", found.words[0], found.words[1], found.words[2],
                   found.words[3]);
    return found;
}

int32_t CmTaeLkup::lookupL3Acl(tL3AclInterface &intf, L3PselRslt *out) {
    igPort = intf.portNum;
    scratch.master.hits.clear();
    scratch.master.bank = 0;
    TaeL3Banks banks = l3Banks();
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        if (!(banks.enabled >> bank & 1))
            continue;
        const uint32_t logicalGrpId = banks.group[bank];
        CM_ASSERT(logicalGrpId < 30);
        if (banks.type[bank] <= ACLT_L2_FLEX0)
            continue;
        if (const uint32_t *key = bankKey(intf, banks, bank))
            searchL3Bank(intf, bank, key, banks);
        else
            TAE_INTF_TRACE("[lookupL3Acl] bank %2d (type=%d) skipped for ipv4=%d ipv6=%d fcoe=%d\n",
                           static_cast<int>(bank), static_cast<int>(banks.type[bank]), static_cast<int>(intf.isIpv4),
                           static_cast<int>(intf.isIpv6), static_cast<int>(intf.isFcoe));
    }

    const TaeExmHit ipv4Found = intf.isIpv4 ? ipv4Exm(intf) : TaeExmHit{};
    const TaeExmHit ipv6Found = intf.isIpv6 ? ipv6Exm(intf) : TaeExmHit{};

    // An exact match takes the place of a bank, also of one that is off.
    const uint32_t ipv4ExmBank = regs.ipv4_exm_bank_sel();
    const uint32_t ipv6ExmBank = regs.ipv6_exm_bank_sel();
    int hitByBank[TAE_BANKS] = {};
    L3PselRslt resultsByBank[TAE_BANKS] = {};
    bool doneByGroup[TaeL3Banks::kGroups] = {};
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        const uint32_t logicalGrpId = banks.group[bank];
        const tBnkIdxPair winner = banks.winner[logicalGrpId];
        if (doneByGroup[logicalGrpId])
            continue;
        if (ipv4Found.hit && ipv4ExmBank == bank) {
            takeExm(ipv4Found, &resultsByBank[bank]);
            TAE_INTF_TRACE("[lookupL3Acl] ipv4 EXM result replaced TCAM bank %d\n", static_cast<int>(bank));
        } else if (ipv6Found.hit && ipv6ExmBank == bank) {
            takeExm(ipv6Found, &resultsByBank[bank]);
            TAE_INTF_TRACE("[lookupL3Acl] ipv6 EXM result replaced TCAM bank %d\n", static_cast<int>(bank));
        } else if (winner.idx >= 0 && winner.bank == bank) {
            readL3AclResultBank(intf, winner.idx, bank, &resultsByBank[bank]);
        } else {
            continue;
        }
        hitByBank[bank] = 1;
        doneByGroup[logicalGrpId] = true;
    }

    mergeL3AclResults(intf, hitByBank, resultsByBank, out);
    return 0;
}

uint32_t CmTaeLkup::iividSel(int bank, enumBankType type, int isTcam, int isIpv4, int isIpv6) {
    static constexpr char func[] = "replaceIivid";
    uint32_t sel = isIpv4 ? regs.ipv4_exm_cid_mcuid_sel() : regs.ipv6_exm_cid_mcuid_sel();
    if (isTcam) {
        const uint32_t b = static_cast<uint32_t>(bank) & (isIpv6 ? ~1u : ~0u);
        sel = regs.elem(kBankIdSel, kBankIdSelElems, b % (2 * kBankIdSelElems.count));
    }

    if (sel != 0 && isTcam) {
        if (type == ACLT_L3_FCOE || (type >= ACLT_L3_FCOE_FLEX0 && type <= ACLT_L3_FCOE_FLEX3)) {
            TAE_L3_TRACE(3, igPort, frmIdx, "[replaceIivid] select %x of fcoe bank %d (type=%d) ignored\n", sel, bank,
                         static_cast<int>(type));
            sel = 0;
        } else if (type <= ACLT_L2_FLEX3) {
            TAE_CFG_ERROR(func, "TAE bank %d of layer-2 type %d has TAE_L3_SRCH_CID_MCUID_SEL register value=%x\n",
                          bank, static_cast<int>(type), sel);
        }
    }
    if (sel == 3) {
        TAE_CFG_ERROR(func, "Bad TAE_L3_SRCH_CID_MCUID_SEL register for bank %d, value=%x\n", bank, sel);
        sel = 0;
    }
    return sel;
}

uint32_t CmTaeLkup::replaceIivid(uint32_t *key, uint32_t l3Cugid, uint32_t l3Mcuid, int bank, enumBankType type,
                                 int isTcam, int isIpv4, int isIpv6) {
    const uint32_t sel = iividSel(bank, type, isTcam, isIpv4, isIpv6);
    if (sel == 0)
        return 0;
    const uint32_t id = sel == 1 ? l3Cugid : l3Mcuid;

    if (!isTcam) {
        if (isIpv4)
            putInPart<&TaeIpv4ExmBkt::iivid_cugid_mcuid>(key, TaeIpv4ExmBkt::kWords - kIpv4ExmWords, id);
        else
            putInPart<&TaeIpv6ExmBkt::iivid_cugid_mcuid>(key, TaeIpv6ExmBkt::kWords - kIpv6ExmWords, id);
        return 1;
    }
    // These places are the chip's own numbering; they are not where the keys hold the VLAN.
    switch (type) {
    case ACLT_L3_IPV4:
        putInPart<&TaeL3Ipv4::cugid_mcuid>(key, 0, id);
        return 1;
    case ACLT_L3_IP_FLEX0:
    case ACLT_L3_IP_FLEX1:
    case ACLT_L3_IP_FLEX2:
    case ACLT_L3_IP_FLEX3:
        putInPart<&TaeL3IpFlex0::cugid_mcuid>(key, 0, id);
        return 1;
    case ACLT_L3_IPV6:
        putInPart<&TaeL3Ipv6::cugid_mcuid>(key, bank % 2 == 1 ? kKeyWords : 0, id);
        return 1;
    default:
        return 0;
    }
}

uint32_t CmTaeLkup::doIpv4ExmLu(uint32_t *key, L3PselRslt *out) {
    return takeExm(searchIpv4Exm(key), out);
}

uint32_t CmTaeLkup::doIpv6ExmLu(uint32_t *key, L3PselRslt *out) {
    return takeExm(searchIpv6Exm(key), out);
}

TaeExmHit CmTaeLkup::searchIpv4Exm(const uint32_t *key) {
    CmExmTbl exmTbl;
    exmTbl.hshKeySiz = 86;
    exmTbl.u64HshSwap = segment(regs.ipv4_exm_swap_ctrl_0(), regs.ipv4_exm_swap_ctrl_1());
    exmTbl.u64HshKey = key[0];
    exmTbl.u64HshKey1 = segment(key[1], key[2]);
    exmTbl.hshIdxSram = memPtr->TAE_IPV4_EXM_IDX;
    exmTbl.hshBktTotal = 8;
    exmTbl.hshBktSiz = 4096;
    exmTbl.hshBktSram = memPtr->TAE_IPV4_EXM_BKT;
    exmTbl.tcamSiz = 256;
    exmTbl.tcam = memPtr->TAE_IPV4_EXM_TCAM;
    exmTbl.alwHshHitTcamRng = regs.ipv4_exm_alw_hash_hit_tcam_rng();

    if (!regs.ipv4_exm_en() || regs.ipv4_exm_pwrdn())
        return {};
    return searchExm(exmTbl, memPtr->TAE_IPV4_EXM_RSLT);
}

TaeExmHit CmTaeLkup::searchIpv6Exm(const uint32_t *key) {
    CmExmTbl exmTbl;
    exmTbl.hshKeySiz = 276;
    // The key fills the last nine words of its segments, so the first swap register steers segment 3.
    exmTbl.u64HshSwap1 = regs.ipv6_exm_swap_ctrl_0();
    exmTbl.u64HshSwap2 = segment(regs.ipv6_exm_swap_ctrl_1(), regs.ipv6_exm_swap_ctrl_2());
    exmTbl.u64HshSwap3 = segment(regs.ipv6_exm_swap_ctrl_3(), regs.ipv6_exm_swap_ctrl_4());
    exmTbl.u64HshKey3 = key[0];
    exmTbl.u64HshKey4 = segment(key[1], key[2]);
    exmTbl.u64HshKey5 = segment(key[3], key[4]);
    exmTbl.u64HshKey6 = segment(key[5], key[6]);
    exmTbl.u64HshKey7 = segment(key[7], key[8]);
    exmTbl.hshIdxSram = memPtr->TAE_IPV6_EXM_IDX;
    exmTbl.hshBktTotal = 8;
    exmTbl.hshBktSiz = 1024;
    exmTbl.hshBktSram = memPtr->TAE_IPV6_EXM_BKT;
    exmTbl.tcamSiz = 128;
    exmTbl.tcam = memPtr->TAE_IPV6_EXM_TCAM;
    exmTbl.alwHshHitTcamRng = regs.ipv6_exm_alw_hash_hit_tcam_rng();

    if (!regs.ipv6_exm_en() || regs.ipv6_exm_pwrdn())
        return {};
    return searchExm(exmTbl, memPtr->TAE_IPV6_EXM_RSLT);
}

void CmTaeLkup::readL3AclResultBank(tL3AclInterface, int idx, uint32_t bank, L3PselRslt *out) {
    *out = {};
    uint32_t words[L3PselRslt::kWords];
    if (readRsltWords(idx, bank, words))
        *out = entryAt<L3PselRslt>(words);
}

/// The special next hops that forwarding banks name, in rising order of the banks.
struct TaeL3Ptrs {
    bool aclDrop = false;
    bool drop = false;
    bool overTurn = false;

    /// Adds what a bank says; every forwarding bank counts, also one that gave no field.
    void take(const L3PselRslt &cur, const tL3AclInterface &intf) {
        if (!cur.fwd_en || aclDrop)
            return;
        if (cur.nxt_hop_rslt_idx == intf.acl_drop_ptr) {
            aclDrop = true;
        } else if (cur.nxt_hop_rslt_idx == intf.drop_ptr) {
            if (intf.ipMcastSpcl && !cur.l3_fwd_override)
                overTurn = true;
            else
                drop = true;
        }
    }
};

void CmTaeLkup::mergeL3AclResults(tL3AclInterface &intf, int *hitByBank, L3PselRslt *byBank, L3PselRslt *out) {
    loadRegisterSettings();

    TaeMerge<L3PselRslt> merge(kTaeL3Grps);
    TaeL3Ptrs ptrs;
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        if (!hitByBank[bank])
            continue;
        merge.take(bank, byBank[bank]);
        ptrs.take(byBank[bank], intf);
    }
    if (intf.ipMcastSpcl && ptrs.drop)
        ptrs.overTurn = false;

    const uint32_t defWords[] = {regs.l3_srch_def_rslt_0(), regs.l3_srch_def_rslt_1(), regs.l3_srch_def_rslt_2(),
                                 regs.l3_srch_def_rslt_3()};
    merge.takeDefault(entryAt<L3PselRslt>(defWords));

    L3PselRslt &merged = merge.rslt;
    const uint32_t trapBank = merge.winner(GRP_trap_en);
    uint32_t trapRsn = trapBank == merge.kNoBank ? kNoRsn : bnkTrapRsnLst[trapBank];
    if (ptrs.aclDrop) {
        merged.nxt_hop_rslt_idx = nxtHopIdx(intf.acl_drop_ptr);
        merged.trap_en = 0;
        trapRsn = kNoRsn;
    } else if (ptrs.drop) {
        merged.nxt_hop_rslt_idx = nxtHopIdx(intf.drop_ptr);
    }
    if (!merged.trap_en)
        merged.trap_que = 0;

    *out = merged;
    intf.trap_rsn = trapRsn & 0x3f;
    intf.ipMcastDropOverTurn = ptrs.overTurn;
    TAE_INTF_TRACE("[mergeL3AclResults] %d bank hit(s), merged result is:\n", static_cast<int>(merge.bankCnt()));
    if (dbgLvl > 1) {
        forEachField(merged, [](const char *name, uint32_t value, unsigned, const TblPiece &) {
            TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, TB_MSG_FIELD, name, value);
        });
    }
}
