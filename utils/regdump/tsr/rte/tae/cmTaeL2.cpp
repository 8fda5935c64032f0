// The layer-2 search of the ACL engine, and the merge of what its banks say.

#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "cmAssert.h"
#include "tae/cmTae.h"

#include <algorithm>
#include <cstdio>

#define TAE_TRACE(level, fmt, ...)                                                                                     \
    do {                                                                                                               \
        if (dbgLvl > (level))                                                                                          \
            TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, "CM port=%u, frameIdx=%u>> " fmt, igPort,           \
                  frmIdx __VA_OPT__(, ) __VA_ARGS__);                                                                  \
    } while (0)

namespace {

struct FieldRow {
    const char *name;
    unsigned width;
    unsigned low;
};

constexpr FieldRow kL2RsltFields[] = {
#define FLD(name, width, low) {#name, width, low},
#include "tae/cmTaeL2Rslt.def"
};
constexpr FieldRow kL2TcamFields[] = {
#define FLD(name, width, low) {#name, width, low},
#include "tae/cmTaeL2Tcam.def"
};
constexpr FieldRow kL2FcoeTcamFields[] = {
#define FLD(name, width, low) {#name, width, low},
#include "tae/cmTaeL2FcoeTcam.def"
};

template <size_t N> RegMemDefinition fieldList(const char *name, const FieldRow (&rows)[N]) {
    RegMemDefinition def;
    def.name = name;
    for (const FieldRow &row : rows)
        def.addField(row.name, row.width, row.low, def.numFields());
    return def;
}

/// One result word, field by field.
struct L2AclRslt {
#define FLD(name, width, low) uint32_t name = 0;
#include "tae/cmTaeL2Rslt.def"
};

L2AclRslt readFields(const M_T &ln_) {
    const RegMemDefinition &def = CmTaeLkup::l2AclRsltFieldDef();
    L2AclRslt rslt;
#define FLD(name, width, low) rslt.name = def.getField(#name, ln_);
#include "tae/cmTaeL2Rslt.def"
    return rslt;
}

void writeFields(const L2AclRslt &rslt, M_T &ln_) {
    const RegMemDefinition &def = CmTaeLkup::l2AclRsltFieldDef();
#define FLD(name, width, low) def.setField(#name, ln_, rslt.name);
#include "tae/cmTaeL2Rslt.def"
}

} // namespace

const RegMemDefinition &CmTaeLkup::l2AclRsltFieldDef() {
    static const RegMemDefinition def = fieldList("l2AclRsltFieldDef", kL2RsltFields);
    return def;
}

const RegMemDefinition &CmTaeLkup::l2AclTcamFieldDef() {
    static const RegMemDefinition def = fieldList("l2AclTcamFieldDef", kL2TcamFields);
    return def;
}

const RegMemDefinition &CmTaeLkup::l2FcoeAclTcamFieldDef() {
    static const RegMemDefinition def = fieldList("l2FcoeAclTcamFieldDef", kL2FcoeTcamFields);
    return def;
}

bool CmTaeLkup::lookupL2Acl(tL2AclInterface intf, M_T &rslt, uint32_t &trapRsn) {
    static std::vector<int> hits; // kept between searches so that a search need not allocate

    igPort = intf.igPort;
    frmIdx = intf.frmIdx;
    if (!intf.aclL2Srch)
        return false;
    m_nL2AclLkupsCnt++;
    TAE_TRACE(2, "[TAE-L2LU] aclDropEgid=%x, trapEgid=%x, dropEgid=%x\n", intf.aclDropEgid, intf.trapEgid,
              intf.dropEgid);

    tBnkIdxPair winnerByGroup[TAE_BANKS];
    std::fill_n(winnerByGroup, TAE_BANKS, tBnkIdxPair{-1, 0});
    enumBankType typeByBank[TAE_BANKS] = {};
    bool anyHit = false;
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        if (!bankEnabled(bank))
            continue;
        const uint32_t logicalGroup = getLogicalGroupId(bank);
        if (logicalGroup >= 30)
            TbMsg(TB_MSG_ERROR, __func__, __FILE_NAME__, __LINE__,
                  "CM L2 TAE Error>> logical Groups (TAE_BANK_GRP_%d_REG) is %d (>=30)", static_cast<int>(bank / 6),
                  static_cast<int>(logicalGroup));
        CM_ASSERT_TXT(logicalGroup < 30, "logicalGroup<30");

        const enumBankType type = figureBankType(bank);
        typeByBank[bank] = type;
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

    int hitIdxByBank[TAE_BANKS];
    std::fill_n(hitIdxByBank, TAE_BANKS, -1);
    M_T resultsByBank[TAE_BANKS];
    for (const tBnkIdxPair &winner : winnerByGroup) {
        if (winner.idx < 0)
            continue;
        hitIdxByBank[winner.bank] = winner.idx;
        readAclResultBank(winner.idx, winner.bank, resultsByBank[winner.bank]);
    }

    rslt.assign(l2AclRsltFieldDef().numFields(), tFldVal());
    mergeL2AclResults(hitIdxByBank, typeByBank, resultsByBank, intf.isDaLkup, intf.dropEgid, intf.aclDropEgid,
                      intf.trapEgid, rslt, trapRsn);
    return anyHit;
}

int CmTaeLkup::readAclResultBank(int idx, uint32_t bank, M_T &out) const {
    out.assign(l2AclRsltFieldDef().numFields(), tFldVal());
    EmbeddedMemory *rsltMem = getAclRsltBlockPointer(static_cast<int>(bank));
    M_T ln_;
    if (!rsltMem || rsltMem->readEntry(static_cast<uint32_t>(idx), ln_) < 0)
        return -1;
    M_T_u words = {};
    rsltMem->pMemRegDef->packBinaryKey(ln_, words);
    l2AclRsltFieldDef().unpackBinaryKey(words, out);
    if (dbgLvl > 3) {
        char title[64];
        std::snprintf(title, sizeof title, "p%u-f%u-L2ACL-RSLT-bank%u", igPort, frmIdx, bank);
        DBG_PRNT_MEM_FLDS(&l2AclRsltFieldDef(), out, title);
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

void CmTaeLkup::mergeL2AclResults(const int *hitIdxByBank, const enumBankType *typeByBank, const M_T *resultsByBank,
                                  uint32_t, uint32_t dropEgid, uint32_t aclDropEgid, uint32_t trapEgid, M_T &rslt,
                                  uint32_t &trapRsn) {
    loadRegisterSettings();

    L2AclRslt merged;
    for (uint32_t bank = 0; bank < TAE_BANKS && !merged.ign_fcoe; bank++) {
        if (hitIdxByBank[bank] >= 0)
            merged.ign_fcoe = l2AclRsltFieldDef().getField("ign_fcoe", resultsByBank[bank]);
    }

    tBnkIdxPair trapPair = {-1, 0};
    tBnkIdxPair fwdPair = {-1, 0};
    tBnkIdxPair spanPair = {-1, 0};
    tBnkIdxPair prioPair = {-1, 0};
    uint32_t bankTrapRsn = kNoRsn; // of the trap bank
    uint32_t fwdTrapQue = 0;       // of the forward's own trap
    uint32_t fwdTrapRsn = kNoRsn;
    uint32_t egidTrapQue = 0; // of the bank that names the trap egid
    uint32_t egidTrapRsn = kNoRsn;
    bool aclDropHit = false;
    bool trapHit = false;
    bool dropHit = false;
    bool anyBank = false;

    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        if (hitIdxByBank[bank] < 0)
            continue;
        if (typeByBank[bank] == ACLT_L2_FCOE && merged.ign_fcoe) {
            TAE_TRACE(1, "TAE-L2LU>> bank %u ignored because ign_fcoe=1\n", bank);
            continue;
        }
        anyBank = true;
        const L2AclRslt cur = readFields(resultsByBank[bank]);
        const tBnkIdxPair hit = {hitIdxByBank[bank], bank};

        if (cur.dscp_en && !merged.dscp_en) {
            merged.dscp_en = 1;
            merged.dscp = cur.dscp;
            merged.drop_prcd = cur.drop_prcd;
        }
        if (cur.pol_en && !merged.pol_en) {
            merged.pol_en = 1;
            merged.pol_id = cur.pol_id;
        }
        if (cur.trap_en && !merged.trap_en) {
            merged.trap_en = 1;
            merged.trap_que = cur.trap_que;
            bankTrapRsn = bnkTrapRsnLst[bank];
            trapPair = hit;
        }
        if (cur.span_en && !merged.span_en) {
            merged.span_en = 1;
            merged.span_id = cur.span_id;
            spanPair = hit;
        }
        if (cur.fwd_en && !merged.fwd_en) {
            merged.fwd_en = 1;
            merged.is_mgid = cur.is_mgid;
            merged.lgid_egid_mgid = cur.lgid_egid_mgid;
            merged.trill_cmd = cur.trill_cmd;
            merged.trill_mc = cur.trill_mc;
            merged.mctid_trill_da = cur.mctid_trill_da;
            fwdTrapQue = cur.trap_que;
            fwdTrapRsn = bnkTrapRsnLst[bank];
            fwdPair = hit;
            TAE_TRACE(1, "TAE-L2LU>> merging: fwd_en=1, highest priority gidVal=%x\n", cur.lgid_egid_mgid);
        }
        if (cur.prio_en && !merged.prio_en) {
            merged.prio_en = 1;
            merged.prio_pth = cur.prio_pth;
            merged.qmg_prio = cur.qmg_prio;
            merged.l2_ing_prio = cur.l2_ing_prio;
            prioPair = hit;
        }
        if (cur.sts_sflow_en && !merged.sts_sflow_en) {
            merged.sts_sflow_en = 1;
            merged.sts_sflow_idx = cur.sts_sflow_idx;
            merged.sflow_en = cur.sflow_en;
        }
        merged.acl_log |= cur.acl_log;
        merged.mct_srbridge_vld |= cur.mct_srbridge_vld;
        merged.bypass_eacl |= cur.bypass_eacl;

        // Every forwarding bank is tested, also one whose group lost to an earlier bank.
        if (cur.fwd_en && !cur.is_mgid && isEgidFormOfAcl(cur.lgid_egid_mgid)) {
            const uint32_t egid = egidOf(cur.lgid_egid_mgid);
            if (egid == aclDropEgid) {
                aclDropHit = true;
                merged.is_mgid = 0;
            } else if (egid == trapEgid && !aclDropHit) {
                trapHit = true;
                egidTrapQue = cur.trap_que;
                egidTrapRsn = bnkTrapRsnLst[bank];
                merged.is_mgid = 0;
            } else if (egid == dropEgid && !aclDropHit && !trapHit) {
                dropHit = true;
                merged.is_mgid = 0;
            }
        }
    }

    const uint32_t defWords[4] = {
        BLK_REG_GET_FLD("TAE_L2_SRCH_DEF_RSLT_0_REG", "l2_srch_def_rslt_0"),
        BLK_REG_GET_FLD("TAE_L2_SRCH_DEF_RSLT_1_REG", "l2_srch_def_rslt_1"),
        BLK_REG_GET_FLD("TAE_L2_SRCH_DEF_RSLT_2_REG", "l2_srch_def_rslt_2"),
        BLK_REG_GET_FLD("TAE_L2_SRCH_DEF_RSLT_3_REG", "l2_srch_def_rslt_3"),
    };
    M_T defLine;
    l2AclRsltFieldDef().unpackBinaryKey(defWords, defLine);
    const L2AclRslt def = readFields(defLine);
    if (!anyBank)
        merged.bypass_eacl = def.bypass_eacl;
    if (!merged.dscp_en) {
        merged.dscp = def.dscp;
        merged.dscp_en = def.dscp_en;
        merged.drop_prcd = def.drop_prcd;
    }
    if (!merged.span_en)
        merged.span_id = def.span_id;
    if (!merged.fwd_en) {
        merged.is_mgid = def.is_mgid;
        merged.lgid_egid_mgid = def.lgid_egid_mgid;
        merged.trill_cmd = def.trill_cmd;
        merged.trill_mc = def.trill_mc;
        merged.mctid_trill_da = def.mctid_trill_da;
        fwdTrapQue = def.trap_que;
        fwdTrapRsn = kNoRsn;
    }
    if (!merged.sts_sflow_en)
        merged.sts_sflow_idx = def.sts_sflow_idx;
    if (!merged.prio_en) {
        merged.prio_pth = def.prio_pth;
        merged.l2_ing_prio = def.l2_ing_prio;
        merged.qmg_prio = def.qmg_prio;
    }

    if (aclDropHit) {
        merged.is_mgid = 0;
        merged.lgid_egid_mgid = gidOfEgid(aclDropEgid);
        merged.trap_en = 0;
        fwdTrapQue = 0;
        fwdTrapRsn = kNoRsn;
        TAE_TRACE(1, "[TAE-L2LU] merging: gid (0x%x) = acl_drop_gid\n", merged.lgid_egid_mgid);
    } else if (trapHit) {
        merged.is_mgid = 0;
        merged.lgid_egid_mgid = gidOfEgid(trapEgid);
        fwdTrapQue = egidTrapQue;
        fwdTrapRsn = egidTrapRsn;
        TAE_TRACE(1, "[TAE-L2LU] merging: gid (0x%x)  = trap_gid\n", merged.lgid_egid_mgid);
    } else if (dropHit) {
        merged.is_mgid = 0;
        merged.lgid_egid_mgid = gidOfEgid(dropEgid);
        fwdTrapQue = 0;
        fwdTrapRsn = kNoRsn;
        TAE_TRACE(1, "[TAE-L2LU] merging: gid (0x%x) = drop_gid\n", merged.lgid_egid_mgid);
    }

    // The final trap. The group may have come from the default, so it is compared once more.
    const bool isEgid = !merged.is_mgid && isEgidForm(merged.lgid_egid_mgid);
    const uint32_t egid = egidOf(merged.lgid_egid_mgid);
    uint32_t finalTrapRsn;
    if (isEgid && egid == aclDropEgid) {
        merged.trap_que = 0;
        finalTrapRsn = kNoRsn;
        merged.is_mgid = 0;
    } else if (isEgid && egid == trapEgid) {
        merged.trap_que = fwdTrapQue;
        finalTrapRsn = fwdTrapRsn;
        merged.is_mgid = 0;
    } else {
        // Also for the drop egid, which has `is_mgid` clear by itself.
        if (!merged.trap_en)
            merged.trap_que = 0;
        finalTrapRsn = merged.trap_en ? bankTrapRsn : kNoRsn;
    }

    merged.sflow_profile = 0;
    writeFields(merged, rslt);
    if (finalTrapRsn != kNoRsn)
        trapRsn = finalTrapRsn;

    setL2AclActivityMemories(trapPair, fwdPair, spanPair, prioPair);
}

void CmTaeLkup::setL2AclActivityMemories(tBnkIdxPair trap, tBnkIdxPair fwd, tBnkIdxPair span, tBnkIdxPair prio) {
    const struct {
        tBnkIdxPair pair;
        const char *mem_;
        const char *field;
    } rows[] = {
        {trap, "TAE_L2_TRAP_ACTV_MEM", "u_actv_mem_l2_trap"},
        {fwd, "TAE_L2_FWD_ACTV_MEM", "u_actv_mem_l2_fwd"},
        {span, "TAE_L2_SPAN_ACTV_MEM", "u_actv_mem_l2_span"},
        {prio, "TAE_L2_PRIO_ACTV_MEM", "u_actv_mem_l2_prio"},
    };
    for (const auto &row : rows) {
        if (row.pair.idx < 0)
            continue;
        const EmbeddedMemory *bankMem = getAclRsltBlockPointer(static_cast<int>(row.pair.bank));
        const EmbeddedMemory *bank0Mem = getAclRsltBlockPointer(0);
        if (!bankMem || !bank0Mem)
            continue;
        const uint32_t byteBase = bankMem->pMemRegDef->memBase - bank0Mem->pMemRegDef->memBase;
        updateActivityMemory(row.mem_, row.field, byteBase / 16 + static_cast<uint32_t>(row.pair.idx));
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
