// The layer-2 search of the ACL engine, and the merge of what its banks say.

#include "base/cmRteState.h"
#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "cmAssert.h"
#include "tae/cmTae.h"
#include "tae/cmTaeMerge.h"
#include "tbl/tsr_tbl_visit.h"

#include <algorithm>
#include <cstdio>

#define TAE_TRACE(level, fmt, ...)                                                                                     \
    do {                                                                                                               \
        if (dbgLvl > (level))                                                                                          \
            TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, "CM port=%u, frameIdx=%u>> " fmt, igPort,           \
                  frmIdx __VA_OPT__(, ) __VA_ARGS__);                                                                  \
    } while (0)

namespace {

/// The list of a record's fields by name, from the top; a field's bits follow each other.
template <class Entry> RegMemDefinition fieldList(const char *name) {
    RegMemDefinition def;
    def.name = name;
    forEachField(Entry{}, [&](const char *field, const auto &, unsigned width, const TblPiece &lowest) {
        def.addField(field, width, 32 * (Entry::kWords - 1 - lowest.word) + lowest.lo, def.numFields());
    });
    return def;
}

/// A result as a line of l2AclRsltFieldDef().
M_T lineOf(const TaeL2Rslt &rslt) {
    uint32_t words[TaeL2Rslt::kWords] = {};
    pack(rslt, words);
    reverseKey(words, TaeL2Rslt::kWords);
    M_T ln_;
    CmTaeLkup::l2AclRsltFieldDef().unpackBinaryKey(words, ln_);
    return ln_;
}

/// The function that hosts call names a failed assertion of the search.
constexpr char kSearchName[] = "bool CmTaeLkup::lookupL2Acl(tL2AclInterface, M_T&, uint32_t&)";

} // namespace

const RegMemDefinition &CmTaeLkup::l2AclRsltFieldDef() {
    static const RegMemDefinition def = fieldList<TaeL2Rslt>("l2AclRsltFieldDef");
    return def;
}

const RegMemDefinition &CmTaeLkup::l2AclTcamFieldDef() {
    static const RegMemDefinition def = fieldList<TaeL2Ip>("l2AclTcamFieldDef");
    return def;
}

const RegMemDefinition &CmTaeLkup::l2FcoeAclTcamFieldDef() {
    static const RegMemDefinition def = fieldList<TaeL2Fcoe>("l2FcoeAclTcamFieldDef");
    return def;
}

bool CmTaeLkup::lookupL2Acl(tL2AclInterface intf, M_T &rslt, uint32_t &trapRsn) {
    TaeL2Rslt merged{};
    const bool hit = lookupL2Acl(intf, merged, trapRsn);
    if (intf.aclL2Srch)
        rslt = lineOf(merged);
    return hit;
}

bool CmTaeLkup::lookupL2Acl(const tL2AclInterface &intf, TaeL2Rslt &rslt, uint32_t &trapRsn) {
    igPort = intf.igPort;
    frmIdx = intf.frmIdx;
    if (!intf.aclL2Srch)
        return false;
    m_nL2AclLkupsCnt++;
    TAE_TRACE(2, "[TAE-L2LU] aclDropEgid=%x, trapEgid=%x, dropEgid=%x\n", intf.aclDropEgid, intf.trapEgid,
              intf.dropEgid);

    TaeL2Hit byBank[TAE_BANKS];
    const bool anyHit = searchL2Banks(intf, byBank);
    mergeL2AclResults(byBank, intf, rslt, trapRsn);
    return anyHit;
}

bool CmTaeLkup::searchL2Banks(const tL2AclInterface &intf, TaeL2Hit (&byBank)[TAE_BANKS]) {
    std::vector<int> &hits = scratch.hits;
    const TaeBankCfg cfg = bankCfg();
    tBnkIdxPair winnerByGroup[TAE_BANKS];
    std::fill_n(winnerByGroup, TAE_BANKS, tBnkIdxPair{-1, 0});
    bool anyHit = false;
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        if (!(cfg.enabled >> bank & 1))
            continue;
        const uint32_t logicalGroup = cfg.group[bank];
        if (logicalGroup >= 30) {
            TbMsg(TB_MSG_ERROR, "lookupL2Acl", __FILE_NAME__, __LINE__,
                  "CM L2 TAE Error>> logical Groups (TAE_BANK_GRP_%d_REG) is %d (>=30)", static_cast<int>(bank / 6),
                  static_cast<int>(logicalGroup));
            CmAssertFail("logicalGroup<30", __FILE_NAME__, __LINE__, kSearchName);
        }

        const enumBankType type = cfg.type[bank];
        byBank[bank].type = type;
        if (type > ACLT_L2_FLEX3)
            continue;
        if (type == ACLT_L2_FCOE && !intf.isFcoe)
            continue;
        const uint32_t *key = intf.l2AclKey;
        if (type == ACLT_L2_FCOE)
            key = intf.l2FcoeAclKey;
        else if (type >= ACLT_L2_FLEX0)
            key = intf.l2FlexKey[type - ACLT_L2_FLEX0];

        hits.clear();
        bankLookup(key, hits, static_cast<int>(bank));
        if (hits.empty())
            continue;
        anyHit = true;
        tBnkIdxPair &winner = winnerByGroup[logicalGroup];
        if (winner.idx < 0)
            winner = {hits.front(), bank};
    }

    for (const tBnkIdxPair &winner : winnerByGroup) {
        if (winner.idx < 0)
            continue;
        byBank[winner.bank].idx = winner.idx;
        readAclResultBank(winner.idx, winner.bank, byBank[winner.bank].rslt);
    }
    return anyHit;
}

int CmTaeLkup::readAclResultBank(int idx, uint32_t bank, M_T &out) const {
    TaeL2Rslt rslt;
    const int rc = readAclResultBank(idx, bank, rslt);
    out = lineOf(rslt);
    return rc;
}

int CmTaeLkup::readAclResultBank(int idx, uint32_t bank, TaeL2Rslt &out) const {
    out = {};
    uint32_t words[TaeL2Rslt::kWords];
    if (!readRsltWords(idx, bank, words))
        return -1;
    out = entryAt<TaeL2Rslt>(words);
    if (dbgLvl > 3) {
        char title[64];
        std::snprintf(title, sizeof title, "p%u-f%u-L2ACL-RSLT-bank%u", igPort, frmIdx, bank);
        DBG_PRNT_MEM_FLDS(&l2AclRsltFieldDef(), lineOf(out), title);
    }
    return 0;
}

EmbeddedTcam *CmTaeLkup::getL2AclTcamPtr(uint32_t bank, uint32_t &idx, uint32_t &offset) const {
    int block = 0;
    if (bank >= TAE_FIRST_SMALL_BANK) {
        idx &= 0x1ff;
        offset = idx;
    } else {
        idx &= 0xfff;
        offset = idx;
        if (idx >= TAE_BLK_ENTRIES) {
            offset -= TAE_BLK_ENTRIES;
            block = 1;
        }
    }
    return getAclTcamBlockPointer(static_cast<int>(bank), block);
}

/// The special egids that the forwarding banks name, and the trap of the bank that names the trap egid.
struct TaeL2Egids {
    bool aclDrop = false;
    bool trap = false;
    bool drop = false;
    TaeTrap trapOf;

    /// Adds what a bank says; every forwarding bank counts, also one whose group lost to an earlier bank.
    void take(const TaeL2Rslt &cur, uint32_t trapRsn, const tL2AclInterface &intf) {
        if (!cur.fwd_en || cur.is_mgid || !isEgidFormOfAcl(cur.lgid_egid_mgid))
            return;
        const uint32_t egid = egidOf(cur.lgid_egid_mgid);
        if (egid == intf.aclDropEgid) {
            aclDrop = true;
        } else if (egid == intf.trapEgid && !aclDrop) {
            trap = true;
            trapOf = {cur.trap_que, trapRsn};
        } else if (egid == intf.dropEgid && !aclDrop && !trap) {
            drop = true;
        }
    }
};

void CmTaeLkup::overrideL2Egid(const TaeL2Egids &egids, const tL2AclInterface &intf, TaeL2Rslt &merged,
                               TaeTrap &fwdTrap) const {
    if (egids.aclDrop) {
        merged.is_mgid = 0;
        merged.lgid_egid_mgid = gidOfEgid(intf.aclDropEgid);
        merged.trap_en = 0;
        fwdTrap = {};
        TAE_TRACE(1, "[TAE-L2LU] merging: gid (0x%x) = acl_drop_gid\n", merged.lgid_egid_mgid);
    } else if (egids.trap) {
        merged.is_mgid = 0;
        merged.lgid_egid_mgid = gidOfEgid(intf.trapEgid);
        fwdTrap = egids.trapOf;
        TAE_TRACE(1, "[TAE-L2LU] merging: gid (0x%x)  = trap_gid\n", merged.lgid_egid_mgid);
    } else if (egids.drop) {
        merged.is_mgid = 0;
        merged.lgid_egid_mgid = gidOfEgid(intf.dropEgid);
        fwdTrap = {};
        TAE_TRACE(1, "[TAE-L2LU] merging: gid (0x%x) = drop_gid\n", merged.lgid_egid_mgid);
    }
}

/// Whose trap counts in the end. The group may have come from the default, so it is compared once more.
static TaeTrap finalL2Trap(const TaeL2Rslt &merged, const tL2AclInterface &intf, const TaeTrap &bankTrap,
                           const TaeTrap &fwdTrap) {
    if (!merged.is_mgid && isEgidForm(merged.lgid_egid_mgid)) {
        const uint32_t egid = egidOf(merged.lgid_egid_mgid);
        if (egid == intf.aclDropEgid)
            return {};
        if (egid == intf.trapEgid)
            return fwdTrap;
    }
    return merged.trap_en ? bankTrap : TaeTrap{};
}

void CmTaeLkup::mergeL2AclResults(const TaeL2Hit (&byBank)[TAE_BANKS], const tL2AclInterface &intf, TaeL2Rslt &rslt,
                                  uint32_t &trapRsn) {
    loadRegisterSettings();

    TaeMerge<TaeL2Rslt> merge(kTaeL2Grps);
    TaeL2Rslt &merged = merge.rslt;
    merged.ign_fcoe = std::any_of(std::begin(byBank), std::end(byBank),
                                  [](const TaeL2Hit &hit) { return hit.idx >= 0 && hit.rslt.ign_fcoe; });
    TaeL2Egids egids;
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        const TaeL2Hit &hit = byBank[bank];
        if (hit.idx < 0)
            continue;
        if (hit.type == ACLT_L2_FCOE && merged.ign_fcoe) {
            TAE_TRACE(1, "TAE-L2LU>> bank %u ignored because ign_fcoe=1\n", bank);
            continue;
        }
        merge.take(bank, hit.rslt);
        merged.mct_srbridge_vld |= hit.rslt.mct_srbridge_vld;
        if (merge.winner(GRP_fwd_en) == bank)
            TAE_TRACE(1, "TAE-L2LU>> merging: fwd_en=1, highest priority gidVal=%x\n", hit.rslt.lgid_egid_mgid);
        egids.take(hit.rslt, bnkTrapRsnLst[bank], intf);
    }

    const uint32_t defWords[] = {regs.l2_srch_def_rslt_3(), regs.l2_srch_def_rslt_2(), regs.l2_srch_def_rslt_1(),
                                 regs.l2_srch_def_rslt_0()};
    const auto def = entryAt<TaeL2Rslt>(defWords);
    merge.takeDefault(def);

    const auto trapOf = [&](TaeGrp grp) {
        const uint32_t bank = merge.winner(grp);
        return bank == merge.kNoBank ? TaeTrap{} : TaeTrap{byBank[bank].rslt.trap_que, bnkTrapRsnLst[bank]};
    };
    TaeTrap fwdTrap = merged.fwd_en ? trapOf(GRP_fwd_en) : TaeTrap{def.trap_que, kNoRsn};
    overrideL2Egid(egids, intf, merged, fwdTrap);
    const TaeTrap trap = finalL2Trap(merged, intf, trapOf(GRP_trap_en), fwdTrap);
    merged.trap_que = trap.que;
    rslt = merged;
    if (trap.rsn != kNoRsn)
        trapRsn = trap.rsn;

    const auto pairOf = [&](TaeGrp grp) {
        const uint32_t bank = merge.winner(grp);
        return bank == merge.kNoBank ? tBnkIdxPair{-1, 0} : tBnkIdxPair{byBank[bank].idx, bank};
    };
    setL2AclActivityMemories(pairOf(GRP_trap_en), pairOf(GRP_fwd_en), pairOf(GRP_span_en), pairOf(GRP_prio_en));
}

void CmTaeLkup::setL2AclActivityMemories(tBnkIdxPair trap, tBnkIdxPair fwd, tBnkIdxPair span, tBnkIdxPair prio) {
    const tBnkIdxPair pairs[std::size(kL2ActvMems)] = {trap, fwd, span, prio};
    for (size_t i = 0; i < std::size(pairs); i++) {
        if (pairs[i].idx < 0)
            continue;
        const EmbeddedMemory *bankMem = getAclRsltBlockPointer(static_cast<int>(pairs[i].bank));
        const EmbeddedMemory *bank0Mem = getAclRsltBlockPointer(0);
        if (!bankMem || !bank0Mem)
            continue;
        const uint32_t byteBase = bankMem->pMemRegDef->memBase - bank0Mem->pMemRegDef->memBase;
        const uint32_t addr = byteBase / 16 + static_cast<uint32_t>(pairs[i].idx);
        EmbeddedMemory *actvMem = l2ActvMem[i];
        if (!actvMem) {
            updateActivityMemory(kL2ActvMems[i].mem, kL2ActvMems[i].field, addr); // says that there is none
            continue;
        }
        setActvBit(*actvMem, addr);
    }
}

void CmTaeLkup::setActvBit(EmbeddedMemory &actvMem, uint32_t addr) {
    const uint32_t entry = addr / 32;
    uint32_t word = 0;
    if (actvMem.readRaw(entry, &word) < 0)
        return;
    if ((word >> addr % 32 & 1) != 0 && actvMem.kept(entry) == EmbeddedMemory::Kept::LINE)
        return;
    if (cmState().journal)
        actvNotes.push_back({&actvMem, entry, actvMem.kept(entry), word});
    // One field: the word.
    actvMem.writeAt(entry, M_T{{word | 1u << (addr % 32), 0}}, false, true);
}

void CmTaeLkup::undoActv(size_t mark) {
    while (actvNotes.size() > mark) {
        const ActvNote &note = actvNotes.back();
        if (note.kept == EmbeddedMemory::Kept::RAW)
            note.mem->writeRaw(note.entry, &note.word);
        else if (note.kept == EmbeddedMemory::Kept::LINE)
            note.mem->writeAt(note.entry, M_T{{note.word, 0}}, false, true);
        else
            note.mem->forget(note.entry);
        actvNotes.pop_back();
    }
}

void CmTaeLkup::updateActivityMemory(const char *mem_, const char *field, uint32_t addr) {
    const auto ram = RamCollection.find(mem_);
    if (ram == RamCollection.end()) {
        TbMsg(TB_MSG_ERROR, __func__, __FILE_NAME__, __LINE__,
              "CM L2 TAE error>> pointer to activity memory %s not found!!!", mem_);
        return;
    }
    EmbeddedMemory *actvMem = ram->second;
    M_T ln_;
    if (actvMem->readEntry(addr / 32, ln_) < 0)
        return;
    const uint32_t word = actvMem->pMemRegDef->getField(field, ln_);
    actvMem->pMemRegDef->setField(field, ln_, word | 1u << (addr % 32));
    actvMem->writeAt(addr / 32, ln_, false, true);
}
