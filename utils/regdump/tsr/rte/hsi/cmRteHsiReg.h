#pragma once
// The register files behind the host interface: each register's fields are plain words of a record, and a bus access
// splits the register's word into them or puts it together.

#include "base/cmRte.h"
#include "tfe/cmTfeHsi.h"

#include <cstdint>
#include <string_view>

/// One field of a register: word `word` of its register file's record, bits `hi` to `lo` of the register.
struct HsiFieldDef {
    const char *name;
    uint16_t word;
    uint8_t hi;
    uint8_t lo;
};

/// Host writes of `data` to the register at `addr`: stores its fields, lets a read-only register alone, clears the
/// written ones of a write-one-to-clear register. `trace` prints the register and its fields. Returns 1, or 0 when the
/// address names no register. Only the low bits of `addr` count: 14:0, in the port block 11:0.
int CmRteHsiComRegWr(CmRteHsiComReg *comRegPtr, uint32_t addr, uint32_t data, int trace);
int CmRteHsiPortRegWr(CmRteHsiPortReg *portRegPtr, uint32_t addr, uint32_t data, uint32_t port, int trace);
int CmTfeHsiComRegWr(CmTfeHsiComReg *comRegPtr, uint32_t addr, uint32_t data, int trace);

/// Host reads of the register at `addr` into `*dataPtr`, which an unknown address clears. Return 1, or 0 for such.
int CmRteHsiComRegRd(const CmRteHsiComReg *comRegPtr, uint32_t addr, uint32_t *dataPtr);
int CmRteHsiPortRegRd(const CmRteHsiPortReg *portRegPtr, uint32_t addr, uint32_t *dataPtr);
int CmTfeHsiComRegRd(const CmTfeHsiComReg *comRegPtr, uint32_t addr, uint32_t *dataPtr);

/// Put a register file into its reset state.
void CmRteHsiComRegInit(CmRteHsiComReg *comRegPtr);
void CmRteHsiPortRegInit(CmRteHsiPortReg *portRegPtr);
void CmTfeHsiComRegInit(CmTfeHsiComReg *comRegPtr);

/// The field `field` of the register at the chip address `chipOffset` of the RTE's common registers, of a port's or of
/// the TFE's; null when that register does not exist or has no such field.
const HsiFieldDef *hsiFindField(uint32_t chipOffset, std::string_view field);
