#include "regenc_tsr.h"

#include <iterator>

namespace {

/// One line of the field list: a register's first line has its offset and no name, its fields follow.
struct FieldRow {
    uint32_t offset;
    const char *name;
    unsigned hi;
    unsigned lo;
};

} // namespace

#define FLD(name, hi, lo) {0, #name, hi, lo},
#define REG(offset, name, ...) {offset, nullptr, 0, 0}, __VA_ARGS__
#define REG_RO(offset, name, ...) REG(offset, name, __VA_ARGS__)
#define REG_W1C(offset, name, ...) REG(offset, name, __VA_ARGS__)
#define REG_NO_HOST(name, ...)

/// The registers with a chip address of their own.
static constexpr FieldRow CHIP_FIELDS[] = {
#include "cmRteHsiComReg.def"
#include "cmTfeHsiComReg.def"
};

/// The registers of a port, relative to the port's first one.
static constexpr FieldRow PORT_FIELDS[] = {
#include "cmRteHsiPortReg.def"
};

#undef FLD
#undef REG
#undef REG_RO
#undef REG_W1C
#undef REG_NO_HOST

/// Where the ports' registers stand: each port has a block of the chip, and these registers a part of it.
static constexpr uint32_t PORT_BASE = 0x400000;
static constexpr uint32_t PORT_STRIDE = 0x10000;
static constexpr uint32_t NUM_PORTS = 12;
static constexpr uint32_t PORT_FIRST_REG = 0x2000;

/// Each register's offset with its line in the list.
using FieldIndex = std::unordered_map<uint32_t, const FieldRow *>;

static FieldIndex makeIndex(const FieldRow *first, const FieldRow *end) {
    FieldIndex index;
    for (const FieldRow *row = first; row != end; ++row) {
        if (row->name == nullptr)
            index.emplace(row->offset, row);
    }
    return index;
}

static bool findIn(const FieldIndex &index, const FieldRow *end, uint32_t offset, std::string_view field, unsigned &hi,
                   unsigned &lo) {
    const auto reg = index.find(offset);
    if (reg == index.end())
        return false;
    for (const FieldRow *row = reg->second + 1; row != end && row->name != nullptr; ++row) {
        if (field == row->name) {
            hi = row->hi;
            lo = row->lo;
            return true;
        }
    }
    return false;
}

bool regencFindField(uint32_t chipOffset, std::string_view field, unsigned &hi, unsigned &lo) {
    static const FieldIndex chipIndex = makeIndex(std::begin(CHIP_FIELDS), std::end(CHIP_FIELDS));
    static const FieldIndex portIndex = makeIndex(std::begin(PORT_FIELDS), std::end(PORT_FIELDS));
    if (chipOffset >= PORT_BASE && chipOffset < PORT_BASE + NUM_PORTS * PORT_STRIDE) {
        const uint32_t offset = (chipOffset - PORT_BASE) % PORT_STRIDE - PORT_FIRST_REG;
        return findIn(portIndex, std::end(PORT_FIELDS), offset, field, hi, lo);
    }
    return findIn(chipIndex, std::end(CHIP_FIELDS), chipOffset, field, hi, lo);
}
