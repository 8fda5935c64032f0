#pragma once
// Registers of the model by the text of their name, for tests that walk an array register.

#include "base/cmRte.h"

#include <map>
#include <string>

/// The field `name` of the common register file; throws std::out_of_range for a name that it does not have.
inline uint32_t &comFld(CmRteHsiComReg &rec, const std::string &name) {
    static const std::map<std::string, uint32_t CmRteHsiComReg::*> fields = {
#define FLD(fld, hi, lo) {#fld, &CmRteHsiComReg::fld},
#define REG_ANY(addr, reg, access, ...) __VA_ARGS__
#include "base/cmRteHsiComReg.def"
    };
    return rec.*fields.at(name);
}

/// The same for the register file of a port.
inline uint32_t &portFld(CmRteHsiPortReg &rec, const std::string &name) {
    static const std::map<std::string, uint32_t CmRteHsiPortReg::*> fields = {
#define FLD(fld, hi, lo) {#fld, &CmRteHsiPortReg::fld},
#define REG_ANY(addr, reg, access, ...) __VA_ARGS__
#include "base/cmRteHsiPortReg.def"
    };
    return rec.*fields.at(name);
}
