#include "hsi/cmRteHsiReg.h"

#include "base/cmUtl.h"
#include "tsr_reg.h"

#include <array>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

/// How a register takes a host's write.
enum class Access : uint8_t {
    RW,  // stores the fields
    RO,  // keeps them: the block fills them itself
    W1C, // clears the bits that are written as 1
};

struct RegDef {
    const char *name;
    uint16_t offset; // byte offset in the block
    uint8_t fieldCnt;
    Access access;
    uint16_t firstField; // index in the family's list of fields
};

/// Numbers the fields: each register's stand behind those of the registers before it.
template <size_t N> constexpr std::array<RegDef, N> withFields(const RegDef (&regs)[N]) {
    std::array<RegDef, N> out{};
    uint16_t first = 0;
    for (size_t i = 0; i < N; i++) {
        out[i] = regs[i];
        out[i].firstField = first;
        first = static_cast<uint16_t>(first + regs[i].fieldCnt);
    }
    return out;
}

/// Position + 1 of the register at each word offset of a block of `Bytes`, 0 where there is none.
template <size_t Bytes, size_t N>
constexpr std::array<uint16_t, Bytes / 4> indexByOffset(const std::array<RegDef, N> &regs) {
    std::array<uint16_t, Bytes / 4> out{};
    for (size_t i = 0; i < N; i++)
        out[regs[i].offset / 4] = static_cast<uint16_t>(i + 1);
    return out;
}

/// A register family: its tables, and the bits of an address that count. The index has a place for each of their
/// values.
struct Family {
    const RegDef *regs;
    const HsiFieldDef *fields;
    const uint16_t *index;
    uint32_t addrMask;
};

// The lists of the three families, in the order of their records.
#define REG_DEF(addr, name, access, ...) {#name, (addr)&0x7fff, 0 __VA_ARGS__, Access::access, 0},
constexpr RegDef comRegList[] = {
#define FLD(name, hi, lo) +1
#define REG_ANY(addr, name, access, ...) REG_DEF(addr, name, access, __VA_ARGS__)
#include "base/cmRteHsiComReg.def"
};
constexpr RegDef portRegList[] = {
#define FLD(name, hi, lo) +1
#define REG_ANY(addr, name, access, ...) REG_DEF(addr, name, access, __VA_ARGS__)
#include "base/cmRteHsiPortReg.def"
};
constexpr RegDef tfeRegList[] = {
#define FLD(name, hi, lo) +1
#define REG_ANY(addr, name, access, ...) REG_DEF(addr, name, access, __VA_ARGS__)
#include "tfe/cmTfeHsiComReg.def"
};
#undef REG_DEF

#define FLD_DEF(name, hi, lo) {#name, static_cast<uint16_t>(offsetof(Record, name) / 4), hi, lo},
namespace com {
using Record = CmRteHsiComReg;
constexpr HsiFieldDef fields[] = {
#define FLD(name, hi, lo) FLD_DEF(name, hi, lo)
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#include "base/cmRteHsiComReg.def"
};
} // namespace com
namespace port {
using Record = CmRteHsiPortReg;
constexpr HsiFieldDef fields[] = {
#define FLD(name, hi, lo) FLD_DEF(name, hi, lo)
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#include "base/cmRteHsiPortReg.def"
};
} // namespace port
namespace tfe {
using Record = CmTfeHsiComReg;
constexpr HsiFieldDef fields[] = {
#define FLD(name, hi, lo) FLD_DEF(name, hi, lo)
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#include "tfe/cmTfeHsiComReg.def"
};
} // namespace tfe
#undef FLD_DEF

constexpr uint32_t kComRegHighest = 12308;
constexpr uint32_t kPortRegHighest = 228;
constexpr auto comRegs = withFields(comRegList);
constexpr auto portRegs = withFields(portRegList);
constexpr auto tfeRegs = withFields(tfeRegList);
static_assert(comRegs.back().offset == kComRegHighest);
static_assert(portRegs.back().offset == kPortRegHighest);

constexpr uint32_t kComRegBytes = 0x8000;
constexpr uint32_t kPortRegBytes = 0x1000;
constexpr uint32_t kTfeRegBytes = 0x8000;
constexpr auto comIndex = indexByOffset<kComRegBytes>(comRegs);
constexpr auto portIndex = indexByOffset<kPortRegBytes>(portRegs);
constexpr auto tfeIndex = indexByOffset<kTfeRegBytes>(tfeRegs);

constexpr Family comFamily{comRegs.data(), com::fields, comIndex.data(), kComRegBytes - 1};
constexpr Family portFamily{portRegs.data(), port::fields, portIndex.data(), kPortRegBytes - 1};
constexpr Family tfeFamily{tfeRegs.data(), tfe::fields, tfeIndex.data(), kTfeRegBytes - 1};

/// The register at `addr`, or null.
const RegDef *findReg(const Family &family, uint32_t addr) {
    const uint32_t offset = addr & family.addrMask;
    if (offset % 4 != 0)
        return nullptr;
    const uint16_t idx = family.index[offset / 4];
    return idx ? &family.regs[idx - 1] : nullptr;
}

void traceField(const HsiFieldDef &field, uint32_t value) {
    if (field.hi == field.lo)
        std::printf("  [   %2d]  %-32s <= 0x%x\n", field.lo, field.name, value);
    else
        std::printf("  [%2d:%2d]  %-32s <= 0x%x\n", field.hi, field.lo, field.name, value);
}

/// Writes `data` into the fields of `reg`, from the high bits to the low; `words` is the family's record.
void writeFields(const Family &family, const RegDef &reg, uint32_t *words, uint32_t data, bool trace) {
    if (reg.access == Access::RO)
        return;
    for (uint32_t i = 0; i < reg.fieldCnt; i++) {
        const HsiFieldDef &field = family.fields[reg.firstField + i];
        const uint32_t value = bits(data, field.hi, field.lo);
        uint32_t &word = words[field.word];
        word = reg.access == Access::W1C ? word & ~value & bits(~0u, field.hi - field.lo, 0) : value;
        if (trace)
            traceField(field, word);
    }
}

int readReg(const Family &family, const uint32_t *words, uint32_t addr, uint32_t *dataPtr) {
    *dataPtr = 0;
    const RegDef *reg = findReg(family, addr);
    if (!reg)
        return 0;
    for (uint32_t i = 0; i < reg->fieldCnt; i++) {
        const HsiFieldDef &field = family.fields[reg->firstField + i];
        *dataPtr |= words[field.word] << field.lo;
    }
    return 1;
}

template <class Rec> uint32_t *wordsOf(Rec *rec) {
    return reinterpret_cast<uint32_t *>(rec);
}
template <class Rec> const uint32_t *wordsOf(const Rec *rec) {
    return reinterpret_cast<const uint32_t *>(rec);
}

} // namespace

int CmRteHsiComRegWr(CmRteHsiComReg *comRegPtr, uint32_t addr, uint32_t data, int trace) {
    const RegDef *reg = findReg(comFamily, addr);
    if (!reg)
        return 0;
    if (trace)
        std::printf("           %-32s <= 0x%08x\n", reg->name, data);
    writeFields(comFamily, *reg, wordsOf(comRegPtr), data, trace);
    if (trace)
        std::printf("\n");
    return 1;
}

int CmRteHsiPortRegWr(CmRteHsiPortReg *portRegPtr, uint32_t addr, uint32_t data, uint32_t port, int trace) {
    const RegDef *reg = findReg(portFamily, addr);
    if (!reg)
        return 0;
    if (trace)
        std::printf("  port=%02d  %-32s <= 0x%08x\n", static_cast<int>(port), reg->name, data);
    writeFields(portFamily, *reg, wordsOf(portRegPtr), data, trace);
    if (trace)
        std::printf("\n");
    return 1;
}

int CmTfeHsiComRegWr(CmTfeHsiComReg *comRegPtr, uint32_t addr, uint32_t data, int trace) {
    const RegDef *reg = findReg(tfeFamily, addr);
    if (!reg)
        return 0;
    if (trace)
        std::printf("           %-32s <= 0x%08x\n", reg->name, data);
    writeFields(tfeFamily, *reg, wordsOf(comRegPtr), data, trace);
    if (trace)
        std::printf("\n");
    return 1;
}

int CmRteHsiComRegRd(const CmRteHsiComReg *comRegPtr, uint32_t addr, uint32_t *dataPtr) {
    return readReg(comFamily, wordsOf(comRegPtr), addr, dataPtr);
}

int CmRteHsiPortRegRd(const CmRteHsiPortReg *portRegPtr, uint32_t addr, uint32_t *dataPtr) {
    return readReg(portFamily, wordsOf(portRegPtr), addr, dataPtr);
}

int CmTfeHsiComRegRd(const CmTfeHsiComReg *comRegPtr, uint32_t addr, uint32_t *dataPtr) {
    return readReg(tfeFamily, wordsOf(comRegPtr), addr, dataPtr);
}

void CmRteHsiComRegInit(CmRteHsiComReg *comRegPtr) {
    std::memset(comRegPtr, 0, sizeof *comRegPtr);
#define RESET(field, value) comRegPtr->field = value;
#include "hsi/cmRteHsiComRegReset.def"
}

void CmRteHsiPortRegInit(CmRteHsiPortReg *portRegPtr) {
    std::memset(portRegPtr, 0, sizeof *portRegPtr);
    portRegPtr->rte_prc_stag_etyp = 0x88a8;
    portRegPtr->rte_prc_ctag_etyp = 0x8100;
}

void CmTfeHsiComRegInit(CmTfeHsiComReg *comRegPtr) {
    std::memset(comRegPtr, 0, sizeof *comRegPtr);
}

const HsiFieldDef *hsiFindField(uint32_t chipOffset, std::string_view field) {
    const Family *family = nullptr;
    if (chipOffset >> 15 == 0x50000 >> 15)
        family = &comFamily;
    else if (chipOffset >> 15 == 0xa0000 >> 15)
        family = &tfeFamily;
    else if (chipOffset >> 22 == 1 && bits(chipOffset, 21, 16) < TSR_PORTS && bits(chipOffset, 15, 12) == 2)
        family = &portFamily;
    else
        return nullptr;
    const RegDef *reg = findReg(*family, chipOffset);
    if (!reg)
        return nullptr;
    for (uint32_t i = 0; i < reg->fieldCnt; i++) {
        if (field == family->fields[reg->firstField + i].name)
            return &family->fields[reg->firstField + i];
    }
    return nullptr;
}
