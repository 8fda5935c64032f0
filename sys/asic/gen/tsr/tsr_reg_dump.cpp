#include "tsr_reg_dump.h"

#include <iterator>

// A row's place in the dump is its field's place in the record.
#define REGDUMP_ROW(row_name, child_rows, offset, dump_off, asic_bytes, dump_bytes, limit, row_flags, ...)             \
    {.name = #row_name,                                                                                                \
     .child = child_rows,                                                                                              \
     .asic_offset = offset,                                                                                            \
     .dump_offset = dump_off,                                                                                          \
     .asic_size = asic_bytes,                                                                                          \
     .dump_size = dump_bytes,                                                                                          \
     .depth = {__VA_ARGS__},                                                                                           \
     .parent_depth = limit,                                                                                            \
     .flags = row_flags},
#define REGDUMP_LEAF(name, offset, bytes, limit, ...)                                                                  \
    REGDUMP_ROW(name, nullptr, offset, offsetof(record, name), bytes, bytes, limit, 0, __VA_ARGS__)
#define REGDUMP_HIDDEN(name, offset, ...)                                                                              \
    REGDUMP_ROW(name, nullptr, offset, 0, 4, 4, 0, REGDUMP_FLAGS_NO_DUMP, __VA_ARGS__)

#define REGDUMP_TABLE(table)                                                                                           \
    namespace table##_rows {                                                                                           \
        using record = table##_dmp_t;                                                                                  \
        static constexpr regdump_map_t rows[] = {
#define REGDUMP_REG(name, offset) REGDUMP_LEAF(name, offset, 4, 0, 1)
#define REGDUMP_ARR(name, offset, ...) REGDUMP_LEAF(name, offset, 4, 0, __VA_ARGS__)
#define REGDUMP_WIDE(name, offset, bytes, entries) REGDUMP_LEAF(name, offset, bytes, 0, entries)
#define REGDUMP_TCAM(name, offset, entry, entries) REGDUMP_LEAF(name, offset, sizeof(entry), 0, entries)
#define REGDUMP_GRP(name, offset, instances, chip_stride, table)                                                       \
    REGDUMP_ROW(name, table##_rows::rows, offset, offsetof(record, name), chip_stride, sizeof(table##_dmp_t), 0, 0,    \
                instances)
#define REGDUMP_REG_LIMIT(name, offset, limit) REGDUMP_LEAF(name, offset, 4, limit, 1)
#define REGDUMP_REG_NO_DUMP(name, offset) REGDUMP_HIDDEN(name, offset, 1)
#define REGDUMP_ARR_NO_DUMP(name, offset, ...) REGDUMP_HIDDEN(name, offset, __VA_ARGS__)
#define REGDUMP_TABLE_END(table)                                                                                       \
    {}                                                                                                                 \
    }                                                                                                                  \
    ;                                                                                                                  \
    }                                                                                                                  \
    const regdump_map_t *const table##_dmp_map = table##_rows::rows;
#include "tsr_reg_dump.def"

// Row counts, the terminator included.
static_assert(std::size(emc_hss_rows::rows) == 14 + 1);
static_assert(std::size(tsr_emc_quad_rows::rows) == 34 + 1);
static_assert(std::size(hmc_hss_rows::rows) == 22 + 1);
static_assert(std::size(tsr_hmc_quad_rows::rows) == 22 + 1);
static_assert(std::size(tsr_pol_rows::rows) == 22 + 1);
static_assert(std::size(tsr_ephy_rows::rows) == 175 + 1);
static_assert(std::size(tsr_lgc_phy_rows::rows) == 23 + 1);
static_assert(std::size(tsr_lbphy_rows::rows) == 27 + 1);
static_assert(std::size(tsr_ebphy_rows::rows) == 27 + 1);
static_assert(std::size(tsr_hphy_swm_rows::rows) == 28 + 1);
static_assert(std::size(tsr_hbphy_rows::rows) == 28 + 1);
static_assert(std::size(tsr_pol_mem_rows::rows) == 15 + 1);
static_assert(std::size(tsr_tae_history_mem_rows::rows) == 12 + 1);
static_assert(std::size(tsr_tfe_history_mem_rows::rows) == 9 + 1);
static_assert(std::size(tsr_rows::rows) == 1043 + 1);

/// Tells whether the dumped rows follow each other without a gap from 0 to the end of their record.
static constexpr bool isPacked(const regdump_map_t *mapp, uint32_t record_size) {
    uint32_t end = 0;
    for (; mapp->name != nullptr; ++mapp) {
        if (mapp->flags & REGDUMP_FLAGS_NO_DUMP)
            continue;
        if (mapp->dump_offset != end)
            return false;
        end += regdump_mapp_get_size(mapp);
    }
    return end == record_size;
}

// Every field of every record stands where the rows before it end.
#define REGDUMP_TABLE(table) static_assert(isPacked(table##_rows::rows, sizeof(table##_dmp_t)));
#include "tsr_reg_dump.def"
