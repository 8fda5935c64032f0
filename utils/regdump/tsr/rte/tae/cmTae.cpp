// What the layer-2 and the layer-3 search of the ACL engine share: the banks, their settings and their memories.

#include "tae/cmTae.h"

#include "base/cmRteState.h"
#include "base/tbMsg.h"
#include "tbl/tsr_tbl_observe.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>

double acl_cpu_time = 0;

namespace {

// Groups of banks 0 to 5, 6 to 11 and so on.
constexpr TblElems kBankGrpElems{.count = 6, .word = 0, .hi = 29, .lo = 25, .step = 5};
constexpr TaeRegField TaeRegs::*kBankGrp[] = {
    &TaeRegs::bank_grp_0, &TaeRegs::bank_grp_1, &TaeRegs::bank_grp_2, &TaeRegs::bank_grp_3, &TaeRegs::bank_grp_4,
};

// Whether the pairs of banks hold IPv6 rows.
constexpr TblElems kBankPairIpv6Elems{.count = 15, .word = 0, .hi = 0, .lo = 0, .step = -1};
constexpr TaeRegField TaeRegs::*kBankPairIpv6[] = {&TaeRegs::bank_prtcl_sel_0};

// Protocols of banks 0 to 7, 8 to 15, 16 to 23 and 24 to 29: the chip counts these registers downwards.
constexpr TblElems kBankPrtclSelElems{.count = 8, .word = 0, .hi = 3, .lo = 0, .step = -4};
constexpr TaeRegField TaeRegs::*kBankPrtclSel[] = {
    &TaeRegs::bank_prtcl_sel_4,
    &TaeRegs::bank_prtcl_sel_3,
    &TaeRegs::bank_prtcl_sel_2,
    &TaeRegs::bank_prtcl_sel_1,
};

constexpr TblElems kBankTrapRsnElems{.count = 5, .word = 0, .hi = 29, .lo = 24, .step = 6};
constexpr TaeRegField TaeRegs::*kBankTrapRsn[] = {
    &TaeRegs::bank_trap_rsn_0, &TaeRegs::bank_trap_rsn_1, &TaeRegs::bank_trap_rsn_2,
    &TaeRegs::bank_trap_rsn_3, &TaeRegs::bank_trap_rsn_4, &TaeRegs::bank_trap_rsn_5,
};

/// The object of a collection, or null.
template <class Map> typename Map::mapped_type find(const Map &map, const char *name) {
    const auto object = map.find(name);
    return object == map.end() ? nullptr : object->second;
}

void tcamName(char (&name)[40], int bank, int block) {
    if (bank < static_cast<int>(TAE_FIRST_SMALL_BANK))
        std::snprintf(name, sizeof name, "TAE_TCAM_%d_%d", bank, block);
    else
        std::snprintf(name, sizeof name, "TAE_TCAM_%d", bank);
}

void rsltMemName(char (&name)[40], int bank) {
    std::snprintf(name, sizeof name, "TAE_RSLT_MEM_%u", static_cast<unsigned>(bank));
}

} // namespace

void TaeRegField::bind(const Register &reg, const char *field) {
    const auto fld = reg.pMemRegDef->fieldDefinitions.find(field);
    if (fld == reg.pMemRegDef->fieldDefinitions.end())
        return;
    from = &reg;
    pos = fld->second.pos;
    mask = fld->second.getMask().u32;
}

void TaeRegs::bind(const tRegPtrMap &map) {
#define FLD(name, hi, lo) name.bind(*reg, #name);
#define REG(offset, name, ...)                                                                                         \
    if (const Register *reg = find(map, #name)) {                                                                      \
        __VA_ARGS__                                                                                                    \
    }
#include "tae/cmTaeHsiReg.def"
}

CmTaeLkup::CmTaeLkup(uint32_t dbgLvl_, tInitRegDef regDefs, tInitRamDef ramDefs, tInitTcamDef tcamDefs)
    : CmChipBlock(regDefs, ramDefs, tcamDefs), dbgLvl(dbgLvl_), memPtr(&mem) {}

int CmTaeLkup::configure() {
    const int rc = CmChipBlock::configure();
    if (rc < 0)
        return rc;
    regs.bind(RegCollection);
    for (int bank = 0; bank < static_cast<int>(TAE_BANKS); bank++) {
        char name[40];
        for (int block = 0; block < 2; block++) {
            tcamName(name, bank, block);
            tcamBlk[bank][block] = find(TcamCollection, name);
        }
        rsltMemName(name, bank);
        rsltMem[bank] = find(RamCollection, name);
    }
    for (size_t i = 0; i < std::size(kL2ActvMems); i++)
        l2ActvMem[i] = find(RamCollection, kL2ActvMems[i].mem);
    return rc;
}

TaeBankCfg CmTaeLkup::bankCfg() const {
    TaeBankCfg cfg{};
    cfg.enabled = regs.tae_bank_en();
    const uint32_t joined = regs.bank_prtcl_sel_0();
    for (uint32_t bank = 0; bank < TAE_BANKS;) {
        const uint32_t prtcls = (regs.*kBankPrtclSel[bank / 8])();
        for (uint32_t end = std::min(bank + 8, TAE_BANKS); bank < end; bank++)
            cfg.type[bank] =
                joined >> (bank / 2) & 1 ? ACLT_L3_IPV6 : static_cast<enumBankType>(prtcls >> (4 * (bank % 8)) & 0xf);
    }
    for (uint32_t bank = 0; bank < TAE_BANKS;) {
        const uint32_t groups = (regs.*kBankGrp[bank / 6])();
        for (uint32_t i = 0; i < 6; i++, bank++)
            cfg.group[bank] = groups >> (25 - 5 * i) & 0x1f;
    }
    return cfg;
}

uint32_t CmTaeLkup::bankEnabled(uint32_t bank) const {
    return regs.tae_bank_en() >> (bank % TAE_BANKS) & 1;
}

uint32_t CmTaeLkup::getLogicalGroupId(uint32_t bank) const {
    if (bank >= TAE_BANKS)
        return 0;
    return regs.elem(kBankGrp, kBankGrpElems, bank);
}

enumBankType CmTaeLkup::figureBankType(uint32_t bank) const {
    if (bank >= TAE_BANKS)
        return ACLT_L2_IP;
    if (regs.elem(kBankPairIpv6, kBankPairIpv6Elems, bank / 2))
        return ACLT_L3_IPV6;
    return static_cast<enumBankType>(regs.elem(kBankPrtclSel, kBankPrtclSelElems, bank));
}

void CmTaeLkup::loadRegisterSettings() {
    for (uint32_t bank = 0; bank < TAE_BANKS; bank++)
        bnkTrapRsnLst[bank] = regs.elem(kBankTrapRsn, kBankTrapRsnElems, bank);
}

/// Tells of the rows of a block that a key hit.
static void tellHits(const EmbeddedTcam &tcam, uint32_t bank, uint32_t block, const uint32_t *key,
                     const std::vector<int> &hits) {
    for (const int hit : hits) {
        uint32_t ones[8] = {}, zeroes[8] = {};
        for (uint32_t w = 0; w < std::min(tcam.pMemXY->nwords, 8u); w++) {
            const uint32_t *pair = tcam.pMemXY->plane(w) + 2 * static_cast<size_t>(hit);
            ones[w] = pair[0];
            zeroes[w] = pair[1];
        }
        tblObserver->aclHit(bank, block, static_cast<uint32_t>(hit), ones, zeroes, key);
    }
}

void CmTaeLkup::bankLookup(const uint32_t *key, std::vector<int> &hits, int bank) const {
    std::vector<int> &blkHits = scratch.blkHits;
    const bool timed = cmState().timesAcl;
    const clock_t start = timed ? std::clock() : 0;
    const int blocks = bank < static_cast<int>(TAE_FIRST_SMALL_BANK) ? 2 : 1;
    for (int block = 0; block < blocks; block++) {
        const EmbeddedTcam *tcam = getAclTcamBlockPointer(bank, block);
        if (!tcam)
            continue;
        tcam->doLookup(key, blkHits);
        if (tblObserver)
            tellHits(*tcam, static_cast<uint32_t>(bank), static_cast<uint32_t>(block), key, blkHits);
        for (int &hit : blkHits)
            hit += block * static_cast<int>(TAE_BLK_ENTRIES);
        hits.insert(hits.end(), blkHits.begin(), blkHits.end());
    }
    if (timed)
        acl_cpu_time += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

EmbeddedTcam *CmTaeLkup::getAclTcamBlockPointer(int bank, int block) const {
    if (bank < 0 || bank >= static_cast<int>(TAE_BANKS))
        return nullptr;
    if (bank >= static_cast<int>(TAE_FIRST_SMALL_BANK))
        return tcamBlk[bank][0];
    return block == 0 || block == 1 ? tcamBlk[bank][block] : nullptr;
}

EmbeddedMemory *CmTaeLkup::getAclRsltBlockPointer(int bank) const {
    if (bank >= 0 && bank < static_cast<int>(TAE_BANKS) && rsltMem[bank])
        return rsltMem[bank];
    char name[40];
    rsltMemName(name, bank);
    TbMsg(TB_MSG_ERROR, __func__, __FILE_NAME__, __LINE__, "CM TAE error>> pointer to result memory %s not found!!!",
          name);
    return nullptr;
}

bool CmTaeLkup::readRsltWords(int idx, uint32_t bank, uint32_t (&words)[4]) const {
    const EmbeddedMemory *bankMem = getAclRsltBlockPointer(static_cast<int>(bank));
    M_T_u packed = {};
    if (!bankMem || bankMem->readRaw(static_cast<uint32_t>(idx), packed) < 0)
        return false;
    std::reverse_copy(packed, packed + 4, words);
    if (tblObserver)
        tblObserver->aclLine(bank, static_cast<uint32_t>(idx), words);
    return true;
}
