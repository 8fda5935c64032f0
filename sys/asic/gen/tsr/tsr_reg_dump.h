#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "asic_reg_dump.h"
#include "tsr_reg.h"

/// TCAM entries of the dump, by the bits of one half: the Y words stand before the X words.
struct tcam64_t {
    uint32_t y_val[2];
    uint32_t x_val[2];
};
struct tcam128_t {
    uint32_t y_val[4];
    uint32_t x_val[4];
};
struct tcam256_t {
    uint32_t y_val[8];
    uint32_t x_val[8];
};
struct tcam512_t {
    uint32_t y_val[16];
    uint32_t x_val[16];
};

/// Shapes of the records' fields: words in the given dimensions, and one or more instances of a record or wide element.
template <size_t dim, size_t... inner> struct regdump_words {
    using type = typename regdump_words<inner...>::type[dim];
};
template <size_t dim> struct regdump_words<dim> { using type = uint32_t[dim]; };
template <size_t... dims> using regdump_words_t = typename regdump_words<dims...>::type;
template <typename T, size_t n> using regdump_inst_t = std::conditional_t<n == 1, T, T[n]>;

// The dump image as a record, `tsr_dmp_t`, and the records of its groups. All words are big-endian.
// NOLINTBEGIN(bugprone-macro-parentheses): the arguments are names of types and fields
#define REGDUMP_TABLE(table) struct table##_dmp_t {
#define REGDUMP_REG(name, offset) uint32_t name;
#define REGDUMP_ARR(name, offset, ...) regdump_words_t<__VA_ARGS__> name;
#define REGDUMP_WIDE(name, offset, bytes, entries) regdump_inst_t<uint32_t[(bytes) / 4], entries> name;
#define REGDUMP_TCAM(name, offset, record, entries) regdump_inst_t<record, entries> name;
#define REGDUMP_GRP(name, offset, instances, chip_stride, table) regdump_inst_t<table##_dmp_t, instances> name;
#define REGDUMP_REG_LIMIT(name, offset, limit) uint32_t name;
#define REGDUMP_TABLE_END(table)                                                                                       \
    }                                                                                                                  \
    ;
#include "tsr_reg_dump.def"
// NOLINTEND(bugprone-macro-parentheses)

static_assert(sizeof(tsr_dmp_t) == TSR_DUMP_SIZE);
static_assert(std::extent_v<decltype(tsr_dmp_t::ephy_reg)> == TSR_PORTS);

// The dump map, `tsr_dmp_map`, and the child tables of its groups.
#define REGDUMP_TABLE(table) extern const regdump_map_t *const table##_dmp_map;
#include "tsr_reg_dump.def"
