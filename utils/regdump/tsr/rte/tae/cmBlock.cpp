// A block of the chip as collections of named objects.

#include "base/tbMsg.h"
#include "cmAssert.h"
#include "mem_reg_class.h"

#include <cstdio>

int CmChipBlock::configure() {
    if (!ptr2InitRegDef)
        return -1;
    if (!ptr2InitRamDef)
        return -2;
    if (!ptr2InitTcamDef)
        return -3;
    ptr2InitRegDef(RegCollection);
    ptr2InitRamDef(RamCollection);
    ptr2InitTcamDef(TcamCollection);
    return 0;
}

/// The register, or null after a message.
Register *CmChipBlock::findReg(const char *rnam) const {
    const auto regItr = RegCollection.find(rnam);
    if (regItr != RegCollection.end())
        return regItr->second;
    std::fprintf(stderr, "PANIC: register not found:%s\n", rnam);
    return nullptr;
}

uint32_t CmChipBlock::BLK_REG_GET(const char *rnam) const {
    const Register *reg = findReg(rnam);
    CM_ASSERT_TXT(reg != nullptr, "0");
    return reg->getWord();
}

uint32_t CmChipBlock::BLK_REG_GET_FLD(const char *rnam, const char *fnam) const {
    const Register *reg = findReg(rnam);
    CM_ASSERT_TXT(reg != nullptr, "(regItr = RegCollection.find(rnam))!=RegCollection.end()");
    return reg->getField(fnam);
}

void CmChipBlock::BLK_REG_SET(const char *rnam, uint32_t value, bool dutWr, bool isPoke) {
    Register *reg = findReg(rnam);
    CM_ASSERT_TXT(reg != nullptr, "0");
    reg->setWord(value, dutWr, isPoke);
}

void CmChipBlock::BLK_REG_SET_FLD(const char *rnam, const char *fnam, uint32_t value, bool dutWr, bool isPoke) {
    Register *reg = findReg(rnam);
    CM_ASSERT_TXT(reg != nullptr, "(regItr = RegCollection.find(rnam))!=RegCollection.end()");
    reg->setField(fnam, value, dutWr, isPoke);
}

const RegMemDefinition *CmChipBlock::ramDef(const char *mnam) const {
    const auto ramItr = RamCollection.find(mnam);
    if (ramItr == RamCollection.end())
        std::fprintf(stderr, "PANIC: memory not found:%s\n", mnam);
    CM_ASSERT_TXT(ramItr != RamCollection.end(), "ramItr != RamCollection.end()");
    return ramItr->second->pMemRegDef;
}

const RegMemDefinition *CmChipBlock::tcamDef(const char *mnam) const {
    const auto tcamItr = TcamCollection.find(mnam);
    if (tcamItr == TcamCollection.end())
        std::fprintf(stderr, "PANIC: memory not found:%s\n", mnam);
    CM_ASSERT_TXT(tcamItr != TcamCollection.end(), "tcamItr != TcamCollection.end()");
    return tcamItr->second->pMemXY->pMemRegDef;
}

uint32_t CmChipBlock::BLK_RAM_ENTRY_GET_FLD(const RegMemDefinition *def, const char *fnam, const M_T &ln_) {
    return def->getField(fnam, ln_);
}

void CmChipBlock::BLK_RAM_SET_FLD(const RegMemDefinition *def, const char *fnam, M_T &ln_, uint32_t value) {
    def->setField(fnam, ln_, value);
}

void CmChipBlock::BLK_RAM_SET_FLD(const char *mnam, const char *fnam, M_T &ln_, uint32_t value) const {
    BLK_RAM_SET_FLD(ramDef(mnam), fnam, ln_, value);
}

void CmChipBlock::BLK_RAM_SET_FLD_U64(const RegMemDefinition *def, const char *fnam, M_T &ln_, uint64_t value) {
    // A field takes the member that its width asks for.
    def->setField2(fnam, ln_, {static_cast<uint32_t>(value), value});
}

void CmChipBlock::BLK_RAM_SET_FLD_U64(const char *mnam, const char *fnam, M_T &ln_, uint64_t value) const {
    BLK_RAM_SET_FLD_U64(ramDef(mnam), fnam, ln_, value);
}

void CmChipBlock::BLK_TCAM_SET_FLD(const RegMemDefinition *def, const char *fnam, M_T &yln_, M_T &xln_, uint32_t value,
                                   uint32_t mask) {
    def->setField(fnam, yln_, value & mask);
    def->setField(fnam, xln_, ~value & mask);
}

void CmChipBlock::BLK_TCAM_SET_FLD(const char *mnam, const char *fnam, M_T &yln_, M_T &xln_, uint32_t value,
                                   uint32_t mask) const {
    BLK_TCAM_SET_FLD(tcamDef(mnam), fnam, yln_, xln_, value, mask);
}

void CmChipBlock::BLK_TCAM_SET_FLD_U64(const RegMemDefinition *def, const char *fnam, M_T &yln_, M_T &xln_,
                                       uint64_t value, uint64_t mask) {
    BLK_RAM_SET_FLD_U64(def, fnam, yln_, value & mask);
    BLK_RAM_SET_FLD_U64(def, fnam, xln_, ~value & mask);
}

void CmChipBlock::BLK_TCAM_SET_FLD_U64(const char *mnam, const char *fnam, M_T &yln_, M_T &xln_, uint64_t value,
                                       uint64_t mask) const {
    BLK_TCAM_SET_FLD_U64(tcamDef(mnam), fnam, yln_, xln_, value, mask);
}

void CmChipBlock::DBG_PRNT_MEM_FLDS(const RegMemDefinition *def, const M_T &ln_, const char *text) {
    TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, "%s\n", text);
    for (const auto &[fldName, fld] : def->fieldDefinitions) {
        const tFldVal val = def->getField2(fldName, ln_);
        const unsigned long long shown = fld.bitWidth > 32 ? val.u64 : val.u32;
        TbMsg(TB_MSG_PRINT, __func__, __FILE_NAME__, __LINE__, "    %-19s = %8llx\n", fldName, shown);
    }
}
