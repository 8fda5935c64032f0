#pragma once
// Registers of the forwarding engine read from the image, by the names of the model's register lists.

#include "bit_range.h"
#include "cm.h"

/// The place of a field in register `Reg`.
template <class Reg> struct RegField : BitRange {};

/// The word of register `Reg`.
template <class Reg> struct RegWord {
    uint32_t word;

    constexpr uint32_t operator[](RegField<Reg> field) const { return field.of(word); }
    constexpr uint32_t inPlace(RegField<Reg> field) const { return field.inPlace(word); }
};

// One type a register, with its address and its fields: the common registers, then those of a port.
#define REG_ANY(addr, name, access, ...)                                                                               \
    struct name {                                                                                                      \
        using Self = name;                                                                                             \
        static constexpr uint32_t kAddr = addr;                                                                        \
        __VA_ARGS__                                                                                                    \
    };
#define FLD(name, hi, lo) static constexpr RegField<Self> name{{hi, lo}};
namespace comReg {
#include "base/cmRteHsiComReg.def"
}
#define REG_ANY(addr, name, access, ...)                                                                               \
    struct name {                                                                                                      \
        using Self = name;                                                                                             \
        static constexpr uint32_t kAddr = 0x2000 + (addr); /* where the port's other registers count from */           \
        __VA_ARGS__                                                                                                    \
    };
#define FLD(name, hi, lo) static constexpr RegField<Self> name{{hi, lo}};
namespace portReg {
#include "base/cmRteHsiPortReg.def"
}

constexpr size_t kNoDmpOffset = SIZE_MAX;

// The byte offset in a dump record of the word at a chip address; kNoDmpOffset when there is none.
// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names of types and fields
#define REGDUMP_TABLE(table)                                                                                           \
    constexpr size_t dmpOffsetOf([[maybe_unused]] uint32_t addr, const table##_dmp_t *) {                              \
        using Dmp [[maybe_unused]] = table##_dmp_t;
#define REGDUMP_ARR(name, offset, ...)                                                                                 \
    if (addr - (offset) < sizeof(Dmp::name))                                                                           \
        return offsetof(Dmp, name) + (addr - (offset));
#define REGDUMP_REG(name, offset) REGDUMP_ARR(name, offset)
#define REGDUMP_TABLE_END(table)                                                                                       \
    return kNoDmpOffset;                                                                                               \
    }
#include "tsr_reg_dump.def"
// NOLINTEND(bugprone-macro-parentheses)

/// The common register `Reg`, and that of port `port`; ports behind the last read on in the image.
template <class Reg> RegWord<Reg> dmpComReg(const tsr_dmp_t *tsr_reg) {
    constexpr size_t offset = dmpOffsetOf(Reg::kAddr, static_cast<const tsr_dmp_t *>(nullptr));
    static_assert(offset != kNoDmpOffset);
    return {dmpWord(tsr_reg, offset, 0)};
}
template <class Reg> RegWord<Reg> dmpPortReg(const tsr_dmp_t *tsr_reg, uint32_t port) {
    constexpr size_t offset = dmpOffsetOf(Reg::kAddr, static_cast<const tsr_ephy_dmp_t *>(nullptr));
    static_assert(offset != kNoDmpOffset);
    return {dmpPortWord(tsr_reg, port, offset)};
}
