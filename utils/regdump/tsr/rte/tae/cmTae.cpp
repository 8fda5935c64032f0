// What the layer-2 and the layer-3 search of the ACL engine share: the banks, their settings and their memories.

#include "tae/cmTae.h"

#include "base/tbMsg.h"

#include <cstdio>
#include <ctime>

double acl_cpu_time = 0;

namespace {

struct NamedField {
    const char *reg;
    const char *field;
};

constexpr NamedField kBankGrp[] = {
    {"TAE_BANK_GRP_0_REG", "bank_grp_0"}, {"TAE_BANK_GRP_1_REG", "bank_grp_1"}, {"TAE_BANK_GRP_2_REG", "bank_grp_2"},
    {"TAE_BANK_GRP_3_REG", "bank_grp_3"}, {"TAE_BANK_GRP_4_REG", "bank_grp_4"},
};

// Protocols of banks 0 to 7, 8 to 15, 16 to 23 and 24 to 29: the chip counts these registers downwards.
constexpr NamedField kBankPrtclSel[] = {
    {"TAE_BANK_PRTCL_SEL_4_REG", "bank_prtcl_sel_4"},
    {"TAE_BANK_PRTCL_SEL_3_REG", "bank_prtcl_sel_3"},
    {"TAE_BANK_PRTCL_SEL_2_REG", "bank_prtcl_sel_2"},
    {"TAE_BANK_PRTCL_SEL_1_REG", "bank_prtcl_sel_1"},
};

constexpr NamedField kBankTrapRsn[] = {
    {"TAE_BANK_TRAP_RSN_0_REG", "bank_trap_rsn_0"}, {"TAE_BANK_TRAP_RSN_1_REG", "bank_trap_rsn_1"},
    {"TAE_BANK_TRAP_RSN_2_REG", "bank_trap_rsn_2"}, {"TAE_BANK_TRAP_RSN_3_REG", "bank_trap_rsn_3"},
    {"TAE_BANK_TRAP_RSN_4_REG", "bank_trap_rsn_4"}, {"TAE_BANK_TRAP_RSN_5_REG", "bank_trap_rsn_5"},
};

} // namespace

CmTaeLkup::CmTaeLkup(uint32_t dbgLvl_, tInitRegDef regDefs, tInitRamDef ramDefs, tInitTcamDef tcamDefs)
    : CmChipBlock(regDefs, ramDefs, tcamDefs), dbgLvl(dbgLvl_), memPtr(&mem) {}

uint32_t CmTaeLkup::bankEnabled(uint32_t bank) const {
    return BLK_REG_GET_FLD("TAE_BANK_EN_REG", "tae_bank_en") >> (bank % TAE_BANKS) & 1;
}

uint32_t CmTaeLkup::getLogicalGroupId(uint32_t bank) const {
    if (bank >= TAE_BANKS)
        return 0;
    const NamedField &grp = kBankGrp[bank / 6];
    return BLK_REG_GET_FLD(grp.reg, grp.field) >> (25 - 5 * (bank % 6)) & 0x1f;
}

enumBankType CmTaeLkup::figureBankType(uint32_t bank) const {
    if (bank >= TAE_BANKS)
        return ACLT_L2_IP;
    if (BLK_REG_GET_FLD("TAE_BANK_PRTCL_SEL_0_REG", "bank_prtcl_sel_0") >> (bank / 2) & 1)
        return ACLT_L3_IPV6;
    const NamedField &sel = kBankPrtclSel[bank / 8];
    return static_cast<enumBankType>(BLK_REG_GET_FLD(sel.reg, sel.field) >> (4 * (bank % 8)) & 0xf);
}

void CmTaeLkup::loadRegisterSettings() {
    for (uint32_t r = 0; r < 6; r++) {
        const uint32_t rsns = BLK_REG_GET_FLD(kBankTrapRsn[r].reg, kBankTrapRsn[r].field);
        for (uint32_t i = 0; i < 5; i++)
            bnkTrapRsnLst[5 * r + i] = rsns >> (24 - 6 * i) & 0x3f;
    }
}

void CmTaeLkup::bankLookup(const uint32_t *key, std::vector<int> &hits, int bank) const {
    static std::vector<int> blkHits; // kept between searches so that a search need not allocate
    const clock_t start = std::clock();
    const int blocks = bank < static_cast<int>(TAE_FIRST_SMALL_BANK) ? 2 : 1;
    for (int block = 0; block < blocks; block++) {
        const EmbeddedTcam *tcam = getAclTcamBlockPointer(bank, block);
        if (!tcam)
            continue;
        tcam->doLookup(key, blkHits);
        for (int &hit : blkHits)
            hit += block * static_cast<int>(TAE_BLK_ENTRIES);
        hits.insert(hits.end(), blkHits.begin(), blkHits.end());
    }
    acl_cpu_time += static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

EmbeddedTcam *CmTaeLkup::getAclTcamBlockPointer(int bank, int block) const {
    char name[40];
    if (bank < static_cast<int>(TAE_FIRST_SMALL_BANK))
        std::snprintf(name, sizeof name, "TAE_TCAM_%d_%d", bank, block);
    else
        std::snprintf(name, sizeof name, "TAE_TCAM_%d", bank);
    const auto tcam = TcamCollection.find(name);
    return tcam == TcamCollection.end() ? nullptr : tcam->second;
}

EmbeddedMemory *CmTaeLkup::getAclRsltBlockPointer(int bank) const {
    char name[40];
    std::snprintf(name, sizeof name, "TAE_RSLT_MEM_%u", static_cast<unsigned>(bank));
    const auto ram = RamCollection.find(name);
    if (ram != RamCollection.end())
        return ram->second;
    TbMsg(TB_MSG_ERROR, __func__, __FILE_NAME__, __LINE__, "CM TAE error>> pointer to result memory %s not found!!!",
          name);
    return nullptr;
}
