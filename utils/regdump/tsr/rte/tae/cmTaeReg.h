#pragma once
// The registers of the TAE block by compiled names: each field is found once, and then read without its name.

#include "cmAssert.h"
#include "mem_reg_class.h"
#include "tbl/tsr_tbl.h"

#include <cstddef>
#include <cstdint>

/// One field of a register.
class TaeRegField {
public:
    /// Binds the field of `reg`; a register without the field leaves it unbound.
    void bind(const Register &reg, const char *field);
    /// The field's value. Reading an unbound field ends the process by a failed assertion.
    uint32_t operator()() const {
        CM_ASSERT(from != nullptr);
        return from->value[pos].u32 & mask;
    }

private:
    const Register *from = nullptr;
    unsigned pos = 0;
    uint32_t mask = 0;
};

/// All fields of the block's registers.
struct TaeRegs {
#define FLD(name, hi, lo) TaeRegField name;
#define REG(offset, name, ...) __VA_ARGS__
#include "tae/cmTaeHsiReg.def"

    /// Element `idx` of those that stand in `row`, as many in each register as `elems` says. `idx` must lie within.
    template <size_t N>
    uint32_t elem(TaeRegField TaeRegs::*const (&row)[N], const TblElems &elems, uint32_t idx) const {
        const uint32_t word = (this->*row[idx / elems.count])();
        return tblPieceBits(&word, elems.piece(idx % elems.count));
    }

    /// Binds the fields of the registers that stand in `regs`.
    void bind(const tRegPtrMap &regs);
};
