#include "tfe/cmTfe.h"

#include "base/cmOut.h"
#include "base/cmRteState.h"
#include "base/cmTcamIdxs.h"
#include "base/cmUtl.h"
#include "base/keyShuffle.h"
#include "base/tbMsg.h"
#include "tbl/tsr_tbl_observe.h"

#define KEY KEY_MOVE_CNT
#define FLD FLD_MOVE_CNT
#define CARRY CARRY_MOVE_CNT
#include "tfe/cmTfeKey.def"
#define KEY KEY_MOVES
#define FLD FLD_MOVES
#define CARRY CARRY_MOVES
#include "tfe/cmTfeKey.def"
#define KEY KEY_BITS
#define FLD FLD_BITS
#define CARRY CARRY_BITS
#include "tfe/cmTfeKey.def"
#define KEY KEY_PROOF
#include "tfe/cmTfeKey.def"

namespace {

constexpr uint32_t kBanks = 13;
constexpr uint32_t kBigBanks = 9;
constexpr uint32_t kBigBankWords = 0x20000;
constexpr uint32_t kSmallBankWords = 0x10000;
constexpr uint32_t kIpv6BlockWords = 0x8000;
constexpr uint32_t kEntriesPerCell = 2048;

/// The protocols of the banks in `bank_prtcl_sel`.
constexpr TblElems kBankPrtclElems{.count = kBanks, .word = 0, .hi = 1, .lo = 0, .step = -2};
/// Their values.
enum BankPrtcl : uint32_t { PRTCL_IPV4 = 0, PRTCL_FCOE = 1, PRTCL_IPV6 = 2, PRTCL_INVALID = 3 };

/// Whether a word pair of an entry is valid and matches `key`: a bit with both value and mask set never does.
bool pairMatches(uint32_t value, uint32_t mask, uint32_t key) {
    return (value & mask) == 0 && ((value | mask) & (value ^ key)) == 0;
}

/// First entry of `entryCnt` at `tcam`, of `KeyWords` value and as many mask words, that matches `key`; `entryCnt` when
/// none does.
template <uint32_t KeyWords> uint32_t firstMatch(const uint32_t *tcam, uint32_t entryCnt, const uint32_t *key) {
    for (uint32_t i = 0; i < entryCnt; i++, tcam += 2 * KeyWords) {
        uint32_t word = 0;
        while (word < KeyWords && pairMatches(tcam[word], tcam[KeyWords + word], key[word]))
            word++;
        if (word == KeyWords)
            return i;
    }
    return entryCnt;
}

uint32_t bankBase(uint32_t bank) {
    return bank < kBigBanks ? bank * kBigBankWords : kBigBanks * kBigBankWords + (bank - kBigBanks) * kSmallBankWords;
}
uint32_t bankWords(uint32_t bank) {
    return bank < kBigBanks ? kBigBankWords : kSmallBankWords;
}

/// A match in one bank: the index of its word in the address map, and the cell that the trace names.
struct BankHit {
    bool found = false;
    uint32_t rsltIdx = 0;
    uint32_t cell = 0;
};

BankHit searchBank(const uint32_t *tcam, uint32_t bank, const TFE_LUE_INPUT &input) {
    const uint32_t base = bankBase(bank);
    const uint32_t words = bankWords(bank);
    if (!input.ipv6_srch) {
        const uint32_t entryCnt = words / 4;
        const uint32_t entry = firstMatch<2>(tcam + base, entryCnt, input.key);
        if (entry == entryCnt)
            return {};
        return {true, base / 4 + entry, entry / kEntriesPerCell};
    }
    for (uint32_t block = 0; block < words; block += kIpv6BlockWords) {
        const uint32_t entryCnt = kIpv6BlockWords / 16;
        const uint32_t entry = firstMatch<8>(tcam + base + block, entryCnt, input.key);
        // An IPv6 entry takes four steps of the address map.
        if (entry != entryCnt)
            return {true, (base + block) / 4 + 4 * entry, entry};
    }
    return {};
}

/// The word that a miss gives.
uint32_t defaultRslt(const CmTfeHsiComReg &reg, const TFE_LUE_INPUT &input) {
    if (input.ipv4_srch)
        return input.da_lkup ? reg.ipv4_da_srch_def_rslt_addr : reg.ipv4_sa_srch_def_rslt_addr;
    if (input.ipv6_srch)
        return input.da_lkup ? reg.ipv6_da_srch_def_rslt_addr : reg.ipv6_sa_srch_def_rslt_addr;
    return input.da_lkup ? reg.fcoe_da_srch_def_rslt_addr : reg.fcoe_sa_srch_def_rslt_addr;
}

#define TFE_TRACE(fmt, ...)                                                                                            \
    do {                                                                                                               \
        if (dbgLvl)                                                                                                    \
            TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, "CM-TFE port=%d, frameIdx=%d: [lookupL3Lpm] " fmt,  \
                  static_cast<int>(input->port_num), static_cast<int>(input->frameIdx) __VA_OPT__(, ) __VA_ARGS__);    \
    } while (0)

} // namespace

#define KEY KEY_PLAIN
#define FLD FLD_PLAIN
#include "tfe/cmTfeKey.def"

#define KEY(Type, Row, words, ...)                                                                                     \
    void CmTfeLue::ReshuffleKey(const Type *in, Type##R *out, int dbg) {                                               \
        reshuffle(kKeyMoves<Type>, #Type, in->word, out->word, dbg);                                                   \
    }
#include "tfe/cmTfeKey.def"

/// The banks that are on for the searches of a protocol, a bit each; a bank without protocol counts among none.
static uint32_t banksOf(const CmTfeHsiComReg &reg, uint32_t prtcl) {
    uint32_t banks = reg.tfe_bank_en & (reg.tfe_bank_pwrdn ^ 0x1fff) & 0x1fff;
    for (uint32_t bank = 0; bank < kBanks; bank++) {
        if (bits(reg.bank_prtcl_sel, 2 * bank + 1, 2 * bank) != prtcl)
            banks &= ~(1u << bank);
    }
    return banks;
}

/// The bank that holds word `word` of the TCAM.
static uint32_t bankAt(uint32_t word) {
    constexpr uint32_t small = kBigBanks * kBigBankWords;
    return word < small ? word / kBigBankWords : kBigBanks + (word - small) / kSmallBankWords;
}

bool CmTfeLue::searchByIndex(const TFE_LUE_INPUT &input, uint32_t prtcl, bool &found, uint32_t &rsltIdx) const {
    CmTcamIdxs *idxs = cmState().idxs;
    // Who listens hears of each bank.
    if (!idxs || dbgLvl || !cmSilent())
        return false;
    const uint32_t banks = banksOf(*comRegPtr, prtcl);
    const uint32_t words = input.ipv6_srch ? 8 : 2;
    const CmTcamIdx *idx = idxs->find(memPtr->TFE_TCAM, words, prtcl, banks,
                                      [&](uint32_t row) { return bit(banks, bankAt(row * 2 * words)) != 0; });
    if (!idx)
        return false;
    const uint32_t row = idx->first(input.key);
    found = row != CmTcamIdx::kNone;
    rsltIdx = found ? row * words / 2 : 0; // an IPv6 entry takes four steps of the address map
    return true;
}

int CmTfeLue::lookupL3Lpm(const TFE_LUE_INPUT *input, TFE_LUE_RSLT *rslt) const {
    const CmTfeHsiComReg &reg = *comRegPtr;
    const uint32_t *key = input->key;
    if (input->ipv6_srch)
        TFE_TRACE("input key=0x%08x_%08x_%08x_%08x_%08x_%08x\n", key[0], key[1], key[2], key[3], key[4], key[5]);
    else
        TFE_TRACE("input key=0x%08x_%08x\n", key[0], key[1]);

    const uint32_t prtcl = input->ipv4_srch ? PRTCL_IPV4 : input->ipv6_srch ? PRTCL_IPV6 : PRTCL_FCOE;
    const uint32_t active = reg.tfe_bank_en & (reg.tfe_bank_pwrdn ^ 0x1fff);
    BankHit found;
    const bool byIndex = searchByIndex(*input, prtcl, found.found, found.rsltIdx);
    for (uint32_t bank = 0; bank < kBanks && !byIndex && !found.found; bank++) {
        if (!bit(active, bank))
            continue;
        const uint32_t bankPrtcl = tblPieceBits(&reg.bank_prtcl_sel, kBankPrtclElems.piece(bank));
        if (bankPrtcl == PRTCL_INVALID)
            TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, "CM-TFE Invalid bank_prtcl_sel (%d) for bank %d\n",
                  static_cast<int>(bankPrtcl), static_cast<int>(bank));
        if (bankPrtcl != prtcl) {
            TFE_TRACE("bank %d skipped for ipv4=%d ipv6=%d fcoe=%d\n", static_cast<int>(bank),
                      static_cast<int>(input->ipv4_srch), static_cast<int>(input->ipv6_srch),
                      static_cast<int>(input->fcoe_srch));
            continue;
        }
        found = searchBank(memPtr->TFE_TCAM, bank, *input);
        if (found.found)
            TFE_TRACE("hit found, bank=%d cell=%d rsltIdx=0x%x\n", static_cast<int>(bank), static_cast<int>(found.cell),
                      found.rsltIdx);
    }

    if (found.found && tblObserver) {
        const uint32_t words = input->ipv6_srch ? 8 : 2;
        // Four words of the TCAM are a step of the address map.
        tblObserver->hit(memPtr->TFE_TCAM + size_t{found.rsltIdx} * 4, 2 * words, key, words);
        tblObserver->read(memPtr->TFE_AMAP + found.rsltIdx, 1);
    }

    // The lookup stages read the entry's default-VRF flag at another bit; the two positions are meant to differ.
    if (found.found && (input->ipv4_srch || input->ipv6_srch) &&
        fieldAt<&TfeIpRslt::force_miss>(&memPtr->TFE_AMAP[found.rsltIdx]) && !input->default_vrf_en) {
        found.found = false;
        TFE_TRACE("default_vrf set, forcing miss\n");
    }

    rslt->hit = found.found;
    rslt->rslt = found.found ? memPtr->TFE_AMAP[found.rsltIdx] : defaultRslt(reg, *input);
    TFE_TRACE("result tcam idx=0x%x remapped idx=0x%x and it is a %s\n", found.rsltIdx, rslt->rslt,
              rslt->hit ? "hit" : "miss");
    return 0;
}

int CmTfeLue::tfeCkStats() {
    cmPrintf("Function %s not yet implemented, file: %s line: %d\n", __PRETTY_FUNCTION__, __FILE_NAME__, __LINE__);
    return 0;
}
