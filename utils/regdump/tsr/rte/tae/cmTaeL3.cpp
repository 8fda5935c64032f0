// The layer-3 search of the ACL engine: TCAM banks, exact-match tables, and the merge of what they say.

#include "base/cmLu.h"
#include "base/cmRteVerdict.h"
#include "base/cmUtl.h"
#include "base/tbMsg.h"
#include "cmAssert.h"
#include "tae/cmTae.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>

#define TAE_L3_TRACE(level, port, frame, fmt, ...)                                                                     \
    do {                                                                                                               \
        if (dbgLvl > (level))                                                                                          \
            TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, "CM port=%u, frameIdx=%u>> " fmt, port,             \
                  frame __VA_OPT__(, ) __VA_ARGS__);                                                                   \
    } while (0)
#define TAE_INTF_TRACE(fmt, ...)                                                                                       \
    TAE_L3_TRACE(1, static_cast<uint32_t>(intf.portNum), intf.frameIdx, fmt __VA_OPT__(, ) __VA_ARGS__)
#define TAE_CFG_ERROR(fmt, ...) TbMsg(TB_MSG_ERROR, __func__, __FILE_NAME__, __LINE__, fmt, __VA_ARGS__)

namespace {

constexpr uint32_t kKeyWords = 8;
constexpr uint32_t kIpv4ExmWords = 3;
constexpr uint32_t kIpv6ExmWords = 9;
constexpr uint32_t kGroups = 32; // a bank that is off may name a group that no bank in use has

/// Places of the customer or multicast user id.
constexpr uint32_t kIdBits = 13;
constexpr uint32_t kIpv4ExmIdLo = 9;
constexpr uint32_t kIpv6ExmIdLo = 7;
constexpr uint32_t kIpv4IdLo = 7;
constexpr uint32_t kFlexIdLo = 6;

/// Parameters and results of the exact match, refilled before every search.
CmExmTbl exmTbl;

uint64_t segment(uint32_t hi, uint32_t lo) {
    return static_cast<uint64_t>(hi) << 32 | lo;
}

std::array<uint32_t, 4> rsltWords(const L3PselRslt &rslt) {
    return std::bit_cast<std::array<uint32_t, 4>>(rslt);
}

/// Runs the search that `exmTbl` describes. A hit copies its four words of `rsltMem` to `out`.
template <size_t N> uint32_t searchExm(const uint32_t (&rsltMem)[N], L3PselRslt *out) {
    CmExmLu(&exmTbl);
    if (!exmTbl.hshHit && !exmTbl.tcamHit)
        return 0;
    std::array<uint32_t, 4> words{};
    for (uint32_t w = 0; w < 4; w++)
        words[w] = exmTbl.rsltIdx < N / 4 ? rsltMem[4 * exmTbl.rsltIdx + w] : 0;
    *out = std::bit_cast<L3PselRslt>(words);
    return 1;
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

// The groups of fields that go by one enable. Each takes its enable and its fields from `from`.

void takeDscp(L3PselRslt &to, const L3PselRslt &from) {
    to.dscp_en = from.dscp_en;
    to.dscp = from.dscp;
    to.drop_prcd = from.drop_prcd;
    to.l3_dscp_override = from.l3_dscp_override;
}

void takePol(L3PselRslt &to, const L3PselRslt &from) {
    to.pol_en = from.pol_en;
    to.pol_id = from.pol_id;
    to.l3_pol_override = from.l3_pol_override;
}

void takeAclLog(L3PselRslt &to, const L3PselRslt &from) {
    to.acl_log = from.acl_log;
    to.l3_acl_log_override = from.l3_acl_log_override;
}

void takeTrap(L3PselRslt &to, const L3PselRslt &from) {
    to.trap_en = from.trap_en;
    to.trap_que = from.trap_en ? from.trap_que : 0;
    to.l3_trap_en_override = from.l3_trap_en_override;
}

void takeSpan(L3PselRslt &to, const L3PselRslt &from) {
    to.span_en = from.span_en;
    to.span_id = from.span_id;
    to.l3_span_override = from.l3_span_override;
}

void takeFwd(L3PselRslt &to, const L3PselRslt &from) {
    to.l3_fwd_override = from.l3_fwd_override;
    to.nxt_hop_rslt_idx = from.nxt_hop_rslt_idx;
}

void takePrio(L3PselRslt &to, const L3PselRslt &from) {
    to.prio_en = from.prio_en;
    to.l3_prio_override = from.l3_prio_override;
    to.prio_pth = from.prio_pth;
    to.qmg_prio = from.qmg_prio;
    to.l2_egr_prio = from.l2_egr_prio;
}

void takeStsSflow(L3PselRslt &to, const L3PselRslt &from) {
    to.sts_sflow_en = from.sts_sflow_en;
    to.sts_sflow_idx = from.sts_sflow_idx;
    to.sflow_en = from.sflow_en;
    to.sflow_profile = from.sflow_profile;
}

void printFields(const L3PselRslt &rslt) {
#define PRINT_FIELD(name)                                                                                              \
    TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, TB_MSG_FIELD, #name, static_cast<uint32_t>(rslt.name))
    PRINT_FIELD(prio_pth);
    PRINT_FIELD(qmg_prio);
    PRINT_FIELD(trap_que);
    PRINT_FIELD(drop_prcd);
    PRINT_FIELD(dscp);
    PRINT_FIELD(dscp_en);
    PRINT_FIELD(l3_dscp_override);
    PRINT_FIELD(bypass_eacl);
    PRINT_FIELD(l3_acl_log_override);
    PRINT_FIELD(l3_pol_override);
    PRINT_FIELD(l3_trap_en_override);
    PRINT_FIELD(sflow_profile);
    PRINT_FIELD(sts_sflow_idx);
    PRINT_FIELD(pol_en);
    PRINT_FIELD(pol_id);
    PRINT_FIELD(fwd_en);
    PRINT_FIELD(sts_sflow_en);
    PRINT_FIELD(trap_en);
    PRINT_FIELD(prio_en);
    PRINT_FIELD(span_id);
    PRINT_FIELD(span_en);
    PRINT_FIELD(acl_log);
    PRINT_FIELD(l3_fwd_override);
    PRINT_FIELD(l3_prio_override);
    PRINT_FIELD(l3_span_override);
    PRINT_FIELD(nxt_hop_rslt_idx);
    PRINT_FIELD(sflow_en);
    PRINT_FIELD(l2_egr_prio);
#undef PRINT_FIELD
}

} // namespace

int32_t CmTaeLkup::lookupL3Acl(tL3AclInterface &intf, L3PselRslt *out) {
    // Kept between searches so that a search need not allocate.
    static std::vector<int> hits;
    static std::vector<int> masterHits;

    igPort = intf.portNum;

    tBnkIdxPair winnerByGroup[kGroups];
    std::fill_n(winnerByGroup, kGroups, tBnkIdxPair{-1, 0});
    masterHits.clear();
    uint32_t masterBank = 0;

    enumBankType typeByBank[TAE_BANKS];
    uint32_t groupByBank[TAE_BANKS];
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        typeByBank[bank] = figureBankType(bank);
        groupByBank[bank] = getLogicalGroupId(typeByBank[bank] == ACLT_L3_IPV6 ? bank & ~1u : bank);
    }

    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        if (!bankEnabled(bank))
            continue;
        const enumBankType type = typeByBank[bank];
        const uint32_t logicalGrpId = groupByBank[bank]; // of an odd IPv6 bank its own group does not count
        CM_ASSERT(logicalGrpId < 30);

        const uint32_t *key = nullptr; // null: the bank is not searched
        switch (type) {
        case ACLT_L2_IP:
        case ACLT_L2_FCOE:
        case ACLT_L2_FLEX0:
            continue;
        case ACLT_L2_FLEX1:
        case ACLT_L2_FLEX2:
        case ACLT_L2_FLEX3:
        case ACLT_L3_IP_FLEX1:
        case ACLT_L3_IP_FLEX2:
        case ACLT_L3_IP_FLEX3:
        case ACLT_L3_FCOE_FLEX1:
        case ACLT_L3_FCOE_FLEX2:
        case ACLT_L3_FCOE_FLEX3: {
            const uint32_t flex0 = type < ACLT_L3_IP_FLEX0     ? ACLT_L2_FLEX0
                                   : type < ACLT_L3_FCOE_FLEX0 ? ACLT_L3_IP_FLEX0
                                                               : ACLT_L3_FCOE_FLEX0;
            TAE_CFG_ERROR("TAE bank %d is selecting flex key profile %d that has been removed from RTL\n",
                          static_cast<int>(bank), static_cast<int>(type - flex0));
            break;
        }
        case ACLT_L3_IPV4:
            if (intf.isIpv4)
                key = intf.tcamFixedKey;
            break;
        case ACLT_L3_FCOE:
            if (intf.isFcoe)
                key = intf.tcamFixedKey;
            break;
        case ACLT_L3_IP_FLEX0:
            if (intf.isIpv4 || intf.isIpv6)
                key = intf.tcamFlexKey[0];
            break;
        case ACLT_L3_FCOE_FLEX0:
            if (intf.isFcoe)
                key = intf.tcamFlexKey[0];
            break;
        case ACLT_L3_IPV6:
            if (bank % 2 == 1 && typeByBank[bank - 1] != ACLT_L3_IPV6)
                TAE_CFG_ERROR("TAE TCAM bank %d is configured as ipv6 bank, this requires bank %d be ipv6 also (curr "
                              "type=%d)\n",
                              static_cast<int>(bank), static_cast<int>(bank - 1),
                              static_cast<int>(typeByBank[bank - 1]));
            else if (intf.isIpv6)
                key = intf.tcamFixedKey + (bank % 2) * kKeyWords;
            break;
        default:
            TAE_CFG_ERROR("TAE bank %d has unknown protocol type %d\n", static_cast<int>(bank), static_cast<int>(type));
            break;
        }
        if (!key) {
            TAE_INTF_TRACE("[lookupL3Acl] bank %2d (type=%d) skipped for ipv4=%d ipv6=%d fcoe=%d\n",
                           static_cast<int>(bank), static_cast<int>(type), static_cast<int>(intf.isIpv4),
                           static_cast<int>(intf.isIpv6), static_cast<int>(intf.isFcoe));
            continue;
        }

        uint32_t bankKey[kKeyWords];
        std::copy_n(key, kKeyWords, bankKey);
        replaceIivid(bankKey, intf.l3Cugid, intf.l3Mcuid, static_cast<int>(bank), type, 1, intf.isIpv4, intf.isIpv6);
        reverseKey(bankKey, kKeyWords);
        hits.clear();
        bankLookup(bankKey, hits, static_cast<int>(bank));

        tBnkIdxPair &winner = winnerByGroup[logicalGrpId];
        if (hits.empty() || winner.idx >= 0)
            continue;
        if (type != ACLT_L3_IPV6) {
            winner = {hits.front(), bank};
        } else if (bank % 2 == 0) {
            masterHits = hits;
            masterBank = bank;
            TAE_INTF_TRACE("[lookupL3Acl] ipv6 master bank %u hits at index 0x%x logicalGrpId=%0d\n", bank,
                           static_cast<uint32_t>(hits.front()), static_cast<int>(logicalGrpId));
        } else {
            const int idx = masterBank + 1 == bank ? firstCommon(masterHits, hits) : -1;
            if (idx >= 0)
                winner = {idx, masterBank};
            masterHits.clear();
        }
    }

    L3PselRslt ipv4ExmRslt = {};
    L3PselRslt ipv6ExmRslt = {};
    uint32_t ipv4ExmHit = 0;
    uint32_t ipv6ExmHit = 0;
    const enumBankType noType = ACLT_L2_IP;
    if (intf.isIpv4) {
        uint32_t key[kIpv4ExmWords];
        std::copy_n(intf.exmKey, kIpv4ExmWords, key);
        replaceIivid(key, intf.l3Cugid, intf.l3Mcuid, 0, noType, 0, 1, 0);
        ipv4ExmHit = doIpv4ExmLu(key, &ipv4ExmRslt);
        const auto w = rsltWords(ipv4ExmRslt);
        TAE_INTF_TRACE("[L3Acl] IPv4 EXM result=0x%08x_%08x_%08x_%08x\n", w[0], w[1], w[2], w[3]);
    }
    if (intf.isIpv6) {
        uint32_t key[kIpv6ExmWords];
        std::copy_n(intf.exmKey, kIpv6ExmWords, key);
        replaceIivid(key, intf.l3Cugid, intf.l3Mcuid, 0, noType, 0, 0, 1);
        ipv6ExmHit = doIpv6ExmLu(key, &ipv6ExmRslt);
        const auto w = rsltWords(ipv6ExmRslt);
        TAE_INTF_TRACE("[L3Acl] IPv6 EXM result=0x%08x_%08x_%08x_%08x\n", w[0], w[1], w[2], w[3]);
    }

    // An exact match takes the place of a bank, also of one that is off.
    const uint32_t ipv4ExmBank = BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", "ipv4_exm_bank_sel");
    const uint32_t ipv6ExmBank = BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", "ipv6_exm_bank_sel");
    int hitByBank[TAE_BANKS] = {};
    L3PselRslt resultsByBank[TAE_BANKS] = {};
    bool doneByGroup[kGroups] = {};
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        const uint32_t logicalGrpId = groupByBank[bank];
        const tBnkIdxPair winner = winnerByGroup[logicalGrpId];
        if (doneByGroup[logicalGrpId])
            continue;
        if (ipv4ExmHit && ipv4ExmBank == bank) {
            resultsByBank[bank] = ipv4ExmRslt;
            TAE_INTF_TRACE("[lookupL3Acl] ipv4 EXM result replaced TCAM bank %d\n", static_cast<int>(bank));
        } else if (ipv6ExmHit && ipv6ExmBank == bank) {
            resultsByBank[bank] = ipv6ExmRslt;
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

uint32_t CmTaeLkup::replaceIivid(uint32_t *key, uint32_t l3Cugid, uint32_t l3Mcuid, int bank, enumBankType type,
                                 int isTcam, int isIpv4, int isIpv6) {
    uint32_t sel;
    if (isTcam) {
        const uint32_t b = static_cast<uint32_t>(bank) & (isIpv6 ? ~1u : ~0u);
        const uint32_t sels = b < 16 ? BLK_REG_GET_FLD("TAE_L3_SRCH_CID_MCUID_SEL_0_REG", "l3_srch_cid_mcuid_sel_0")
                                     : BLK_REG_GET_FLD("TAE_L3_SRCH_CID_MCUID_SEL_1_REG", "l3_srch_cid_mcuid_sel_1");
        sel = sels >> (2 * (b % 16)) & 3;
    } else {
        sel = BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", isIpv4 ? "ipv4_exm_cid_mcuid_sel" : "ipv6_exm_cid_mcuid_sel");
    }

    if (sel != 0 && isTcam) {
        if (type == ACLT_L3_FCOE || (type >= ACLT_L3_FCOE_FLEX0 && type <= ACLT_L3_FCOE_FLEX3)) {
            TAE_L3_TRACE(3, igPort, frmIdx, "[replaceIivid] select %x of fcoe bank %d (type=%d) ignored\n", sel, bank,
                         static_cast<int>(type));
            sel = 0;
        } else if (type <= ACLT_L2_FLEX3) {
            TAE_CFG_ERROR("TAE bank %d of layer-2 type %d has TAE_L3_SRCH_CID_MCUID_SEL register value=%x\n", bank,
                          static_cast<int>(type), sel);
        }
    }
    if (sel == 3) {
        TAE_CFG_ERROR("Bad TAE_L3_SRCH_CID_MCUID_SEL register for bank %d, value=%x\n", bank, sel);
        sel = 0;
    }
    if (sel == 0)
        return 0;
    const uint32_t id = bits(sel == 1 ? l3Cugid : l3Mcuid, kIdBits - 1, 0);

    // These places are the chip's own numbering; they are not where the keys hold the VLAN.
    if (!isTcam) {
        const uint32_t lo = isIpv4 ? kIpv4ExmIdLo : kIpv6ExmIdLo;
        key[0] = setBits(key[0], lo + kIdBits - 1, lo, id);
        return 1;
    }
    switch (type) {
    case ACLT_L3_IPV4:
        key[3] = setBits(key[3], kIpv4IdLo + kIdBits - 1, kIpv4IdLo, id);
        return 1;
    case ACLT_L3_IP_FLEX0:
    case ACLT_L3_IP_FLEX1:
    case ACLT_L3_IP_FLEX2:
    case ACLT_L3_IP_FLEX3:
        key[7] = setBits(key[7], kFlexIdLo + kIdBits - 1, kFlexIdLo, id);
        return 1;
    case ACLT_L3_IPV6:
        if (bank % 2 == 1) {
            key[3] = setBits(key[3], 1, 0, bits(id, 3, 2));
            key[7] = setBits(key[7], 1, 0, bits(id, 1, 0));
        } else {
            key[3] = setBits(key[3], 1, 0, bits(id, 7, 6));
            key[3] = setBits(key[3], 18, 14, bits(id, 12, 8));
            key[7] = setBits(key[7], 1, 0, bits(id, 5, 4));
        }
        return 1;
    default:
        return 0;
    }
}

uint32_t CmTaeLkup::doIpv4ExmLu(uint32_t *key, L3PselRslt *out) {
    exmTbl = {};
    exmTbl.hshKeySiz = 86;
    exmTbl.u64HshSwap = segment(BLK_REG_GET_FLD("TAE_IPV4_EXM_KEY_SWAP_CTRL_0_REG", "ipv4_exm_swap_ctrl_0"),
                                BLK_REG_GET_FLD("TAE_IPV4_EXM_KEY_SWAP_CTRL_1_REG", "ipv4_exm_swap_ctrl_1"));
    exmTbl.u64HshKey = key[0];
    exmTbl.u64HshKey1 = segment(key[1], key[2]);
    exmTbl.hshIdxSram = memPtr->TAE_IPV4_EXM_IDX;
    exmTbl.hshBktTotal = 8;
    exmTbl.hshBktSiz = 4096;
    exmTbl.hshBktSram = memPtr->TAE_IPV4_EXM_BKT;
    exmTbl.tcamSiz = 256;
    exmTbl.tcam = memPtr->TAE_IPV4_EXM_TCAM;
    exmTbl.alwHshHitTcamRng = BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", "ipv4_exm_alw_hash_hit_tcam_rng");

    if (!BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", "ipv4_exm_en") ||
        BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", "ipv4_exm_pwrdn"))
        return 0;
    return searchExm(memPtr->TAE_IPV4_EXM_RSLT, out);
}

uint32_t CmTaeLkup::doIpv6ExmLu(uint32_t *key, L3PselRslt *out) {
    exmTbl = {};
    exmTbl.hshKeySiz = 276;
    // The key fills the last nine words of its segments, so the first swap register steers segment 3.
    exmTbl.u64HshSwap1 = BLK_REG_GET_FLD("TAE_IPV6_EXM_KEY_SWAP_CTRL_0_REG", "ipv6_exm_swap_ctrl_0");
    exmTbl.u64HshSwap2 = segment(BLK_REG_GET_FLD("TAE_IPV6_EXM_KEY_SWAP_CTRL_1_REG", "ipv6_exm_swap_ctrl_1"),
                                 BLK_REG_GET_FLD("TAE_IPV6_EXM_KEY_SWAP_CTRL_2_REG", "ipv6_exm_swap_ctrl_2"));
    exmTbl.u64HshSwap3 = segment(BLK_REG_GET_FLD("TAE_IPV6_EXM_KEY_SWAP_CTRL_3_REG", "ipv6_exm_swap_ctrl_3"),
                                 BLK_REG_GET_FLD("TAE_IPV6_EXM_KEY_SWAP_CTRL_4_REG", "ipv6_exm_swap_ctrl_4"));
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
    exmTbl.alwHshHitTcamRng = BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", "ipv6_exm_alw_hash_hit_tcam_rng");

    if (!BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", "ipv6_exm_en") ||
        BLK_REG_GET_FLD("TAE_L3_SRCH_EXM_CFG_REG", "ipv6_exm_pwrdn"))
        return 0;
    return searchExm(memPtr->TAE_IPV6_EXM_RSLT, out);
}

void CmTaeLkup::readL3AclResultBank(tL3AclInterface, int idx, uint32_t bank, L3PselRslt *out) {
    *out = {};
    EmbeddedMemory *rsltMem = getAclRsltBlockPointer(static_cast<int>(bank));
    M_T ln_;
    if (!rsltMem || rsltMem->readEntry(static_cast<uint32_t>(idx), ln_) < 0)
        return;
    M_T_u packed = {};
    rsltMem->pMemRegDef->packBinaryKey(ln_, packed);
    reverseKey(packed, 4);
    *out = std::bit_cast<L3PselRslt>(std::array{packed[0], packed[1], packed[2], packed[3]});
}

void CmTaeLkup::mergeL3AclResults(tL3AclInterface &intf, int *hitByBank, L3PselRslt *byBank, L3PselRslt *out) {
    loadRegisterSettings();

    L3PselRslt merged = {};
    uint32_t trapRsn = kNoRsn;
    int hitCnt = 0;
    bool aclDropSeen = false;
    bool dropSeen = false;
    bool overTurn = false;
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++) {
        if (!hitByBank[bank])
            continue;
        hitCnt++;
        const L3PselRslt &cur = byBank[bank];
        if (cur.dscp_en && !merged.dscp_en)
            takeDscp(merged, cur);
        if (cur.pol_en && !merged.pol_en)
            takePol(merged, cur);
        if (cur.acl_log && !merged.acl_log)
            takeAclLog(merged, cur);
        if (cur.trap_en && !merged.trap_en) {
            takeTrap(merged, cur);
            trapRsn = bnkTrapRsnLst[bank];
        }
        if (cur.span_en && !merged.span_en)
            takeSpan(merged, cur);
        if (cur.fwd_en && !merged.fwd_en) {
            takeFwd(merged, cur);
            merged.fwd_en = 1;
        }
        if (cur.prio_en && !merged.prio_en)
            takePrio(merged, cur);
        if (cur.sts_sflow_en && !merged.sts_sflow_en)
            takeStsSflow(merged, cur);
        merged.bypass_eacl |= cur.bypass_eacl;

        // Every forwarding bank is compared, also one that gave no field.
        if (!cur.fwd_en || aclDropSeen)
            continue;
        if (cur.nxt_hop_rslt_idx == intf.acl_drop_ptr) {
            aclDropSeen = true;
        } else if (cur.nxt_hop_rslt_idx == intf.drop_ptr) {
            if (intf.ipMcastSpcl && !cur.l3_fwd_override)
                overTurn = true;
            else
                dropSeen = true;
        }
    }
    if (intf.ipMcastSpcl && dropSeen)
        overTurn = false;

    const std::array<uint32_t, 4> defWords = {
        BLK_REG_GET_FLD("TAE_L3_SRCH_DEF_RSLT_0_REG", "l3_srch_def_rslt_0"),
        BLK_REG_GET_FLD("TAE_L3_SRCH_DEF_RSLT_1_REG", "l3_srch_def_rslt_1"),
        BLK_REG_GET_FLD("TAE_L3_SRCH_DEF_RSLT_2_REG", "l3_srch_def_rslt_2"),
        BLK_REG_GET_FLD("TAE_L3_SRCH_DEF_RSLT_3_REG", "l3_srch_def_rslt_3"),
    };
    const auto def = std::bit_cast<L3PselRslt>(defWords);
    if (!merged.dscp_en)
        takeDscp(merged, def);
    if (!merged.pol_en)
        takePol(merged, def);
    if (!merged.acl_log)
        takeAclLog(merged, def);
    if (!merged.trap_en)
        takeTrap(merged, def);
    if (!merged.span_en)
        takeSpan(merged, def);
    if (!merged.fwd_en)
        takeFwd(merged, def); // a default does not set the enable
    if (!merged.prio_en)
        takePrio(merged, def);
    if (!merged.sts_sflow_en)
        takeStsSflow(merged, def);
    if (hitCnt == 0)
        merged.bypass_eacl = def.bypass_eacl;

    if (aclDropSeen) {
        merged.nxt_hop_rslt_idx = intf.acl_drop_ptr & 0x3ffff;
        merged.trap_en = 0;
        merged.trap_que = 0;
        trapRsn = kNoRsn;
    } else if (dropSeen) {
        merged.nxt_hop_rslt_idx = intf.drop_ptr & 0x3ffff;
    }

    *out = merged;
    intf.trap_rsn = trapRsn & 0x3f;
    intf.ipMcastDropOverTurn = overTurn;
    TAE_INTF_TRACE("[mergeL3AclResults] %d bank hit(s), merged result is:\n", hitCnt);
    if (dbgLvl > 1)
        printFields(merged);
}
