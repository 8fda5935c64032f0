#include "hsi/cmRteHsiReg.h"

#include "base/cmOut.h"
#include "base/cmUtl.h"
#include "tsr_reg.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace {

/// Position + 1 of the register's row at each word offset of a block of `Bytes`, 0 where there is none.
template <size_t Bytes, size_t N>
constexpr std::array<uint16_t, Bytes / 4> indexByOffset(const std::array<HsiRegRow, N> &regs) {
    std::array<uint16_t, Bytes / 4> out{};
    for (size_t i = 0; i < N; i++) {
        for (uint32_t n = 0; n < regs[i].cnt; n++)
            out[(regs[i].offset + n * regs[i].bytes) / 4] = static_cast<uint16_t>(i + 1);
    }
    return out;
}

/// A row of a register list, and how many rows of the family's list of fields are its own.
struct RegDef {
    HsiRegRow row;
    uint32_t fieldCnt;
};

/// Gives each register its fields: they stand behind those of the registers before it.
template <size_t N, size_t F>
constexpr std::array<HsiRegRow, N> withFields(const RegDef (&regs)[N], const HsiFieldRow (&fields)[F]) {
    std::array<HsiRegRow, N> out{};
    size_t first = 0;
    for (size_t i = 0; i < N; i++) {
        out[i] = regs[i].row;
        out[i].fields = std::span(fields).subspan(first, regs[i].fieldCnt);
        first += regs[i].fieldCnt;
    }
    return out;
}

/// A register family: its list, and the bits of an address that count. The index has a place for each of their values.
struct Family {
    std::span<const HsiRegRow> regs;
    const uint16_t *index;
    uint32_t addrMask;
};

// The lists of the families, in the order of their records.
#define FLD_CNT(...) +1
#define REG_DEF(addr, name, access, ...) {{#name, (addr)&0x7fff, HsiAccess::access, 1, 4, 1, 1, 0, {}}, 0 __VA_ARGS__},
#define REG_ARR_DEF(addr, name, access, cnt, bytes, inner, per, down, ...)                                             \
    {{name, (addr)&0x7fff, HsiAccess::access, cnt, bytes, inner, per, down, {}}, 0 __VA_ARGS__},
#define FLD_DEF(name, hi, lo) {#name, {offsetof(Record, name) / 4, hi, lo}, 0, 1},
#define FLD_ARR_DEF(name, inner, first, words, hi, lo) {name, {offsetof(Record, first) / 4, hi, lo}, words, inner},

constexpr RegDef comRegList[] = {
#define FLD FLD_CNT
#define FLD_ARR FLD_CNT
#define REG_ANY(addr, name, access, ...) REG_DEF(addr, name, access, __VA_ARGS__)
#define REG_ARR(addr, name, access, cnt, bytes, inner, per, down, decl, ...)                                           \
    REG_ARR_DEF(addr, name, access, cnt, bytes, inner, per, down, __VA_ARGS__)
#include "base/cmRteHsiComReg.def"
};
constexpr RegDef portRegList[] = {
#define FLD FLD_CNT
#define FLD_ARR FLD_CNT
#define REG_ANY(addr, name, access, ...) REG_DEF(addr, name, access, __VA_ARGS__)
#define REG_ARR(addr, name, access, cnt, bytes, inner, per, down, decl, ...)                                           \
    REG_ARR_DEF(addr, name, access, cnt, bytes, inner, per, down, __VA_ARGS__)
#include "base/cmRteHsiPortReg.def"
};
constexpr RegDef tfeRegList[] = {
#define FLD FLD_CNT
#define REG_ANY(addr, name, access, ...) REG_DEF(addr, name, access, __VA_ARGS__)
#include "tfe/cmTfeHsiComReg.def"
};
constexpr RegDef taeRegList[] = {
#define FLD FLD_CNT
#define REG(addr, name, ...) REG_DEF(addr, name, RW, __VA_ARGS__)
#include "tae/cmTaeHsiReg.def"
};

namespace com {
using Record = CmRteHsiComReg;
constexpr HsiFieldRow fields[] = {
#define FLD(name, hi, lo) FLD_DEF(name, hi, lo)
#define FLD_ARR(name, inner, first, words, hi, lo) FLD_ARR_DEF(name, inner, first, words, hi, lo)
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#define REG_ARR(addr, name, access, cnt, bytes, inner, per, down, decl, ...) __VA_ARGS__
#include "base/cmRteHsiComReg.def"
};
} // namespace com
namespace port {
using Record = CmRteHsiPortReg;
constexpr HsiFieldRow fields[] = {
#define FLD(name, hi, lo) FLD_DEF(name, hi, lo)
#define FLD_ARR(name, inner, first, words, hi, lo) FLD_ARR_DEF(name, inner, first, words, hi, lo)
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#define REG_ARR(addr, name, access, cnt, bytes, inner, per, down, decl, ...) __VA_ARGS__
#include "base/cmRteHsiPortReg.def"
};
} // namespace port
namespace tfe {
using Record = CmTfeHsiComReg;
constexpr HsiFieldRow fields[] = {
#define FLD(name, hi, lo) FLD_DEF(name, hi, lo)
#define REG_ANY(addr, name, access, ...) __VA_ARGS__
#include "tfe/cmTfeHsiComReg.def"
};
} // namespace tfe
namespace tae {
constexpr HsiFieldRow fields[] = {
#define FLD(name, hi, lo) {#name, {0, hi, lo}, 0, 1},
#define REG(addr, name, ...) __VA_ARGS__
#include "tae/cmTaeHsiReg.def"
};
} // namespace tae
#undef FLD_CNT
#undef REG_DEF
#undef REG_ARR_DEF
#undef FLD_DEF
#undef FLD_ARR_DEF

constexpr uint32_t kComRegHighest = 12308;
constexpr uint32_t kPortRegHighest = 228;
constexpr auto comRegs = withFields(comRegList, com::fields);
constexpr auto portRegs = withFields(portRegList, port::fields);
constexpr auto tfeRegs = withFields(tfeRegList, tfe::fields);
constexpr auto taeRegs = withFields(taeRegList, tae::fields);
static_assert(comRegs.back().offset == kComRegHighest);
static_assert(portRegs.back().offset == kPortRegHighest);

constexpr uint32_t kComRegBytes = 0x8000;
constexpr uint32_t kPortRegBytes = 0x1000;
constexpr uint32_t kTfeRegBytes = 0x8000;
constexpr uint32_t kTaeRegBytes = 0x1000;
constexpr auto comIndex = indexByOffset<kComRegBytes>(comRegs);
constexpr auto portIndex = indexByOffset<kPortRegBytes>(portRegs);
constexpr auto tfeIndex = indexByOffset<kTfeRegBytes>(tfeRegs);
constexpr auto taeIndex = indexByOffset<kTaeRegBytes>(taeRegs);

constexpr Family comFamily{comRegs, comIndex.data(), kComRegBytes - 1};
constexpr Family portFamily{portRegs, portIndex.data(), kPortRegBytes - 1};
constexpr Family tfeFamily{tfeRegs, tfeIndex.data(), kTfeRegBytes - 1};
constexpr Family taeFamily{taeRegs, taeIndex.data(),
                           kTaeRegBytes - 1}; // for names alone: the block keeps the registers

/// The register of a row at a place in it; `row` is null when there is none.
struct Reg {
    const HsiRegRow *row;
    uint32_t n;

    std::string name() const { return hsiName(row->name, n, row->inner); }

    /// Calls `fn` with each field from the high bits to the low: its row, its number there, and where it stands.
    template <class Fn> void forEachField(Fn &&fn) const {
        for (uint32_t j = 0; j < row->per; j++) {
            for (const HsiFieldRow &field : row->fields)
                fn(field, n * row->per + j, row->field(field, n, j));
        }
    }
};

/// The register at `addr`.
Reg findReg(const Family &family, uint32_t addr) {
    const uint32_t offset = addr & family.addrMask;
    const uint16_t idx = offset % 4 == 0 ? family.index[offset / 4] : 0;
    if (idx == 0)
        return {nullptr, 0};
    const HsiRegRow &row = family.regs[idx - 1u];
    return {&row, (offset - row.offset) / row.bytes};
}

void traceField(const HsiFieldDef &field, const std::string &name, uint32_t value) {
    if (field.hi == field.lo)
        cmPrintf("  [   %2d]  %-32s <= 0x%x\n", field.lo, name.c_str(), value);
    else
        cmPrintf("  [%2d:%2d]  %-32s <= 0x%x\n", field.hi, field.lo, name.c_str(), value);
}

/// Writes `data` into the fields of `reg`, from the high bits to the low; `words` is the family's record.
void writeFields(const Reg &reg, uint32_t *words, uint32_t data, bool trace) {
    if (reg.row->access == HsiAccess::RO)
        return;
    reg.forEachField([&](const HsiFieldRow &row, uint32_t n, const HsiFieldDef &field) {
        const uint32_t value = bits(data, field.hi, field.lo);
        uint32_t &word = words[field.word];
        word = reg.row->access == HsiAccess::W1C ? word & ~value & bits(~0u, field.hi - field.lo, 0) : value;
        if (trace)
            traceField(field, hsiName(row.name, n, row.inner), word);
    });
}

int readReg(const Family &family, const uint32_t *words, uint32_t addr, uint32_t *dataPtr) {
    *dataPtr = 0;
    const Reg reg = findReg(family, addr);
    if (!reg.row)
        return 0;
    reg.forEachField(
        [&](const HsiFieldRow &, uint32_t, const HsiFieldDef &field) { *dataPtr |= words[field.word] << field.lo; });
    return 1;
}

template <class Rec> uint32_t *wordsOf(Rec *rec) {
    return reinterpret_cast<uint32_t *>(rec);
}
template <class Rec> const uint32_t *wordsOf(const Rec *rec) {
    return reinterpret_cast<const uint32_t *>(rec);
}

} // namespace

HsiFieldDef HsiRegRow::field(const HsiFieldRow &field, uint32_t n, uint32_t j) const {
    return {static_cast<uint16_t>(field.first.word + (n * per + j) * field.words),
            static_cast<uint8_t>(field.first.hi - j * down), static_cast<uint8_t>(field.first.lo - j * down)};
}

std::string hsiName(std::string_view pattern, uint32_t n, uint32_t inner) {
    std::string name;
    for (size_t i = 0; i < pattern.size(); i++) {
        if (pattern[i] != '{') {
            name += pattern[i];
            continue;
        }
        const char what = pattern[i + 1];
        name += std::to_string(what == 'n' ? n : what == 'a' ? n / inner : n % inner);
        i += 2;
    }
    return name;
}

int CmRteHsiComRegWr(CmRteHsiComReg *comRegPtr, uint32_t addr, uint32_t data, int trace) {
    const Reg reg = findReg(comFamily, addr);
    if (!reg.row)
        return 0;
    if (trace)
        cmPrintf("           %-32s <= 0x%08x\n", reg.name().c_str(), data);
    writeFields(reg, wordsOf(comRegPtr), data, trace);
    if (trace)
        cmPrintf("\n");
    return 1;
}

int CmRteHsiPortRegWr(CmRteHsiPortReg *portRegPtr, uint32_t addr, uint32_t data, uint32_t port, int trace) {
    const Reg reg = findReg(portFamily, addr);
    if (!reg.row)
        return 0;
    if (trace)
        cmPrintf("  port=%02d  %-32s <= 0x%08x\n", static_cast<int>(port), reg.name().c_str(), data);
    writeFields(reg, wordsOf(portRegPtr), data, trace);
    if (trace)
        cmPrintf("\n");
    return 1;
}

int CmTfeHsiComRegWr(CmTfeHsiComReg *comRegPtr, uint32_t addr, uint32_t data, int trace) {
    const Reg reg = findReg(tfeFamily, addr);
    if (!reg.row)
        return 0;
    if (trace)
        cmPrintf("           %-32s <= 0x%08x\n", reg.name().c_str(), data);
    writeFields(reg, wordsOf(comRegPtr), data, trace);
    if (trace)
        cmPrintf("\n");
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

/// The family of the register at the chip address `chipOffset`; null when it lies in no family's block.
static const Family *familyAt(uint32_t chipOffset) {
    if (chipOffset >> 15 == 0x50000 >> 15)
        return &comFamily;
    if (chipOffset >> 15 == 0xa0000 >> 15)
        return &tfeFamily;
    if (chipOffset >> 12 == 0xf0000 >> 12)
        return &taeFamily;
    if (chipOffset >> 22 == 1 && bits(chipOffset, 21, 16) < TSR_PORTS && bits(chipOffset, 15, 12) == 2)
        return &portFamily;
    return nullptr;
}

/// The register at the chip address `chipOffset`, of any family.
static Reg regAt(uint32_t chipOffset) {
    const Family *family = familyAt(chipOffset);
    return family == nullptr ? Reg{nullptr, 0} : findReg(*family, chipOffset);
}

/// The words of a family's record after reset; null where they are not known.
static const uint32_t *resetWords(const Family *family) {
    static const auto *com = [] {
        auto *reg = new CmRteHsiComReg;
        CmRteHsiComRegInit(reg);
        return reg;
    }();
    static const auto *port = [] {
        auto *reg = new CmRteHsiPortReg;
        CmRteHsiPortRegInit(reg);
        return reg;
    }();
    static const auto *tfe = [] {
        auto *reg = new CmTfeHsiComReg;
        CmTfeHsiComRegInit(reg);
        return reg;
    }();
    if (family == &comFamily)
        return wordsOf(com);
    if (family == &portFamily)
        return wordsOf(port);
    return family == &tfeFamily ? wordsOf(tfe) : nullptr;
}

std::optional<HsiRegInfo> hsiRegInfo(uint32_t chipOffset) {
    const Reg reg = regAt(chipOffset);
    if (!reg.row)
        return std::nullopt;
    HsiRegInfo info{reg.name(), reg.row->access, {}};
    const uint32_t *reset = resetWords(familyAt(chipOffset));
    reg.forEachField([&](const HsiFieldRow &row, uint32_t n, const HsiFieldDef &def) {
        info.fields.push_back({hsiName(row.name, n, row.inner), row.name, def.hi, def.lo, std::nullopt});
        if (reset)
            info.fields.back().reset = reset[def.word];
    });
    return info;
}

std::optional<HsiFieldDef> hsiFindField(uint32_t chipOffset, std::string_view field) {
    const Reg reg = regAt(chipOffset);
    if (!reg.row)
        return std::nullopt;
    std::optional<HsiFieldDef> found;
    reg.forEachField([&](const HsiFieldRow &row, uint32_t n, const HsiFieldDef &def) {
        if (!found && field == hsiName(row.name, n, row.inner))
            found = def;
    });
    return found;
}

std::vector<std::string> hsiFieldNames(uint32_t chipOffset) {
    std::vector<std::string> names;
    const Reg reg = regAt(chipOffset);
    if (reg.row)
        reg.forEachField([&](const HsiFieldRow &row, uint32_t n, const HsiFieldDef &) {
            names.push_back(hsiName(row.name, n, row.inner));
        });
    return names;
}

std::span<const HsiRegRow> hsiComRegRows() {
    return comRegs;
}
std::span<const HsiRegRow> hsiPortRegRows() {
    return portRegs;
}
std::span<const HsiRegRow> hsiTfeRegRows() {
    return tfeRegs;
}
