#pragma once
// Registers of the model by the text of their name, for tests that walk an array register or all registers.

#include "base/cmRte.h"
#include "tfe/cmTfeHsi.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

/// One field of a register: its word in the record, and its bits.
struct RegFld {
    std::string name;
    size_t word;
    unsigned hi;
    unsigned lo;
};

/// One register; `access` is RW, RO or W1C.
struct RegEntry {
    uint32_t addr;
    std::string name;
    std::string access;
    std::vector<RegFld> flds;
};

/// `pattern` with the number n in place of {n}, and n / inner and n % inner in place of {a} and {b}.
inline std::string regName(std::string pattern, unsigned n, unsigned inner) {
    const std::map<std::string, unsigned> marks = {
        {"{n}", n}, {"{a}", inner ? n / inner : 0}, {"{b}", inner ? n % inner : 0}};
    for (const auto &[mark, number] : marks) {
        if (const size_t at = pattern.find(mark); at != std::string::npos)
            pattern.replace(at, mark.size(), std::to_string(number));
    }
    return pattern;
}

/// One kind of field of a row of registers, as the lists have it.
struct RegFldRow {
    std::string name;
    unsigned inner;
    size_t word;
    unsigned words;
    unsigned hi;
    unsigned lo;
};

/// Appends the registers of a row, one by one.
inline void addRegs(std::vector<RegEntry> &list, uint32_t addr, const std::string &name, const std::string &access,
                    unsigned cnt, unsigned bytes, unsigned inner, unsigned per, unsigned down,
                    const std::vector<RegFldRow> &flds) {
    for (unsigned n = 0; n < cnt; n++) {
        RegEntry reg{addr + n * bytes, regName(name, n, inner), access, {}};
        for (unsigned elem = n * per; elem < (n + 1) * per; elem++) {
            const unsigned shift = elem % per * down;
            for (const RegFldRow &fld : flds)
                reg.flds.push_back({regName(fld.name, elem, fld.inner), fld.word + size_t{elem} * fld.words,
                                    fld.hi - shift, fld.lo - shift});
        }
        list.push_back(reg);
    }
}

#define REG_LIST_FLD(rec, name, hi, lo) {#name, 1, offsetof(rec, name) / 4, 1, hi, lo},
#define REG_LIST_FLD_ARR(rec, name, inner, first, words, hi, lo) {name, inner, offsetof(rec, first) / 4, words, hi, lo},
#define REG_LIST_REG(addr, name, access, ...) addRegs(list, addr, #name, #access, 1, 4, 1, 1, 0, {__VA_ARGS__});
#define REG_LIST_ARR(addr, name, access, cnt, bytes, inner, per, down, ...)                                            \
    addRegs(list, addr, name, #access, cnt, bytes, inner, per, down, {__VA_ARGS__});

/// All common registers, in the order of the chip.
inline const std::vector<RegEntry> &comRegList() {
    static const std::vector<RegEntry> regs = [] {
        std::vector<RegEntry> list;
#define FLD(name, hi, lo) REG_LIST_FLD(CmRteHsiComReg, name, hi, lo)
#define FLD_ARR(name, inner, first, words, hi, lo) REG_LIST_FLD_ARR(CmRteHsiComReg, name, inner, first, words, hi, lo)
#define REG_ANY(addr, name, access, ...) REG_LIST_REG(addr, name, access, __VA_ARGS__)
#define REG_ARR(addr, name, access, cnt, bytes, inner, per, down, decl, ...)                                           \
    REG_LIST_ARR(addr, name, access, cnt, bytes, inner, per, down, __VA_ARGS__)
#include "base/cmRteHsiComReg.def"
        return list;
    }();
    return regs;
}

/// The same for the registers of a port.
inline const std::vector<RegEntry> &portRegList() {
    static const std::vector<RegEntry> regs = [] {
        std::vector<RegEntry> list;
#define FLD(name, hi, lo) REG_LIST_FLD(CmRteHsiPortReg, name, hi, lo)
#define FLD_ARR(name, inner, first, words, hi, lo) REG_LIST_FLD_ARR(CmRteHsiPortReg, name, inner, first, words, hi, lo)
#define REG_ANY(addr, name, access, ...) REG_LIST_REG(addr, name, access, __VA_ARGS__)
#define REG_ARR(addr, name, access, cnt, bytes, inner, per, down, decl, ...)                                           \
    REG_LIST_ARR(addr, name, access, cnt, bytes, inner, per, down, __VA_ARGS__)
#include "base/cmRteHsiPortReg.def"
        return list;
    }();
    return regs;
}

/// The same for the registers of the TFE.
inline const std::vector<RegEntry> &tfeRegList() {
    static const std::vector<RegEntry> regs = [] {
        std::vector<RegEntry> list;
#define FLD(name, hi, lo) REG_LIST_FLD(CmTfeHsiComReg, name, hi, lo)
#define REG_ANY(addr, name, access, ...) REG_LIST_REG(addr, name, access, __VA_ARGS__)
#include "tfe/cmTfeHsiComReg.def"
        return list;
    }();
    return regs;
}

#undef REG_LIST_FLD
#undef REG_LIST_FLD_ARR
#undef REG_LIST_REG
#undef REG_LIST_ARR

/// The words of a register file.
template <class Rec> uint32_t *regWords(Rec &rec) {
    return reinterpret_cast<uint32_t *>(&rec);
}
template <class Rec> const uint32_t *regWords(const Rec &rec) {
    return reinterpret_cast<const uint32_t *>(&rec);
}

/// Each field's word by its name.
inline std::map<std::string, size_t> regWordsByName(const std::vector<RegEntry> &regs) {
    std::map<std::string, size_t> words;
    for (const RegEntry &reg : regs) {
        for (const RegFld &fld : reg.flds)
            words[fld.name] = fld.word;
    }
    return words;
}

/// The field `name` of the common register file; throws std::out_of_range for a name that it does not have.
inline uint32_t &comFld(CmRteHsiComReg &rec, const std::string &name) {
    static const std::map<std::string, size_t> words = regWordsByName(comRegList());
    return regWords(rec)[words.at(name)];
}

/// The same for the register file of a port.
inline uint32_t &portFld(CmRteHsiPortReg &rec, const std::string &name) {
    static const std::map<std::string, size_t> words = regWordsByName(portRegList());
    return regWords(rec)[words.at(name)];
}
