#pragma once
// The register files behind the host interface: each register's fields are plain words of a record, and a bus access
// splits the register's word into them or puts it together.

#include "base/cmRte.h"
#include "tfe/cmTfeHsi.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// One field of a register: word `word` of its register file's record, bits `hi` to `lo` of the register.
struct HsiFieldDef {
    uint16_t word;
    uint8_t hi;
    uint8_t lo;
};

/// How a register takes a host's write.
enum class HsiAccess : uint8_t {
    RW,  // stores the fields
    RO,  // keeps them: the block fills them itself
    W1C, // clears the bits that are written as 1
};

/// A row of a family's list of fields: one field, or an array of them. Element n stands `words` * n words behind the
/// first. The name holds {n}, or {a} and {b} for n / `inner` and n % `inner`.
struct HsiFieldRow {
    const char *name;
    HsiFieldDef first;
    uint8_t words;
    uint16_t inner;
};

/// A row of a family's list of registers: one register, or `cnt` equal ones, `bytes` apart, named as fields are. Each
/// has `per` elements of each of its fields, the next one `down` bits below the one before.
struct HsiRegRow {
    const char *name;
    uint16_t offset; // of the first in the block
    HsiAccess access;
    uint16_t cnt;
    uint8_t bytes;
    uint16_t inner;
    uint8_t per;
    uint8_t down;
    std::span<const HsiFieldRow> fields;

    /// Field row `field` of register `n`, element `j` of the register's own.
    HsiFieldDef field(const HsiFieldRow &field, uint32_t n, uint32_t j) const;
};

/// One field of a register by itself.
struct HsiRegField {
    std::string name;
    std::string_view pattern; ///< its name as the lists write it, {n}, {a} and {b} included
    uint8_t hi;
    uint8_t lo;
    std::optional<uint32_t> reset; ///< its value after reset, where the model knows it

    uint32_t width() const { return hi - lo + 1u; }
    uint32_t of(uint32_t word) const { return word >> lo & (0xffffffffu >> (32 - width())); }
};

/// A register by itself: the name of the model's trace, and its fields from the high bits to the low.
struct HsiRegInfo {
    std::string name;
    HsiAccess access;
    std::vector<HsiRegField> fields;
};

/// The registers of a family, in the order of the chip.
std::span<const HsiRegRow> hsiComRegRows();
std::span<const HsiRegRow> hsiPortRegRows();
std::span<const HsiRegRow> hsiTfeRegRows();

/// Name `n` of an array whose `pattern` holds {n}, or {a} and {b} for n / `inner` and n % `inner`.
std::string hsiName(std::string_view pattern, uint32_t n, uint32_t inner);

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

/// The field `field` of the register at the chip address `chipOffset` of the RTE's common registers, of a port's, of
/// the TFE's or of the TAE's (whose fields have no word of a record, but 0); nothing when that register does not exist
/// or has no such field.
std::optional<HsiFieldDef> hsiFindField(uint32_t chipOffset, std::string_view field);

/// The register at the chip address `chipOffset` of those blocks; nothing when there is none. The TAE's reset values
/// are not known.
std::optional<HsiRegInfo> hsiRegInfo(uint32_t chipOffset);

/// The names of that register's fields; none when it does not exist.
std::vector<std::string> hsiFieldNames(uint32_t chipOffset);
