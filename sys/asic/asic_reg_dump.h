#pragma once

#include <cstddef>
#include <cstdint>

/// Dimensions that a row may have.
constexpr size_t REGDUMP_MAX_DIMS = 6;

/// Levels that a walk may have: a table, its groups' tables, and so on.
constexpr size_t REGDUMP_MAX_LEVELS = 5;

/// Size of the buffer for a word's full name, its terminator included.
constexpr size_t REGDUMP_NAME_SIZE = 160;

using regdump_map_flags_t = uint32_t;

/// The row is known by name and chip offset, but has no place in the dump.
constexpr regdump_map_flags_t REGDUMP_FLAGS_NO_DUMP = 1;

/// One row of a dump map. A table is an array of rows that ends with a row without a name. A row with a child table is
/// a group of registers, one without is a leaf: a register or a memory.
struct regdump_map_t {
    const char *name;
    const regdump_map_t *child;
    uint32_t asic_offset;             ///< chip byte offset, relative to the parent group's instance
    uint32_t dump_offset;             ///< byte offset in the image, relative to the same; 0 when not dumped
    uint32_t asic_size;               ///< leaf: chip bytes of an element; group: chip stride of an instance
    uint32_t dump_size;               ///< leaf: image bytes of an element; group: image stride of an instance
    uint32_t depth[REGDUMP_MAX_DIMS]; ///< dimensions, outermost first, ended by 0; a group uses the first alone
    uint32_t parent_depth;            ///< 0, or the number of the parent's instances that have this row
    regdump_map_flags_t flags;
};

/// One level of a walk.
struct regdump_elem_t {
    const regdump_map_t *mapp;
    uint32_t inst;
};

/// A walk's position. A table may not be nested deeper than `elem` has room for: the walker does not check it.
struct regdump_stack_t {
    uint32_t depth;
    regdump_elem_t elem[REGDUMP_MAX_LEVELS];
};

/// Image bytes of the row `mapp`: its element (a group: its instance) times all its dimensions.
constexpr uint32_t regdump_mapp_get_size(const regdump_map_t *mapp) {
    uint32_t size = mapp->dump_size;
    for (size_t dim = 0; dim < REGDUMP_MAX_DIMS && mapp->depth[dim] != 0; ++dim)
        size *= mapp->depth[dim];
    return size;
}

/// Starts a walk on the first leaf of the table `mapp`.
void regdump_stack_init(regdump_stack_t *stackp, const regdump_map_t *mapp);

/// The row that the walk stands on.
const regdump_map_t *regdump_stack_get_map(const regdump_stack_t *stackp);

/// The current row's byte offset in the chip's address space, all levels included.
uint32_t regdump_stack_get_asic_off(const regdump_stack_t *stackp);

/// The current row's byte offset in the dump image, all levels included.
uint32_t regdump_stack_get_dump_off(const regdump_stack_t *stackp);

/// Moves to the next leaf, dumped or not. Returns 0, or `ASIC_ENTRY_NOT_EXIST` at the end of the table.
int regdump_stack_next(regdump_stack_t *stackp);

/// Replaces the current row by `mapp`, at its first instance.
void regdump_stack_upd_map(regdump_stack_t *stackp, const regdump_map_t *mapp);

/// Tells whether the row `next_mapp` is missing in the parent's current instance. The parent lies `levels` below the
/// walk's top: 0 for a row about to be pushed, 1 for a sibling of the top row. Returns 1 when it is missing, else 0.
int regdump_stack_skip_due_to_depth(const regdump_stack_t *stackp, const regdump_map_t *next_mapp, uint32_t levels);

/// Descends from a group to its first leaf. A group whose table offers no row stays on top.
void regdump_stack_push_all(regdump_stack_t *stackp);

/// Builds the name of the word at byte `elem_offset` of the current leaf in `buf`, of `buf_size` bytes; a name that
/// does not fit is cut. Returns `buf`.
char *regdump_stack_name_str(const regdump_stack_t *stackp, char *buf, size_t buf_size, uint32_t elem_offset);

/// Lists the image `src_buf` of `src_buf_size` bytes on standard output, a line for each dumped word: chip offset,
/// value and name, and with `debug_flag` the dump offset. Returns 0, `ASIC_INV_DATA` without an image,
/// `ASIC_RESOURCE_FULL` when the image is too small for a row (which is named on standard output) or when standard
/// output takes no more.
int regdump_decode_chip(const regdump_map_t *map_startp, const void *src_buf, uint32_t src_buf_size, int debug_flag);

/// The dump offset of the chip byte offset `asic_off`, or `ASIC_INV_DATA` when no dumped row holds it.
int regdump_asic_off_to_dump_off(const regdump_map_t *map_startp, uint32_t asic_off);

/// The chip offset of the dump byte offset `dump_off`, or -1 when no dumped row holds it.
int regdump_dump_off_to_asic_off(const regdump_map_t *map_startp, uint32_t dump_off);

/// Writes the name of the word at the chip byte offset `offset`, dumped or not, to `name`, of `REGDUMP_NAME_SIZE`
/// bytes. Returns 0, or `ASIC_ENTRY_NOT_EXIST`.
int regdump_asic_off_to_exact_name(const regdump_map_t *map_startp, uint32_t offset, char *name);

/// The chip byte offset of the word with the full name `name`, dumped or not, or `ASIC_ENTRY_NOT_EXIST`.
int regdump_exact_name_to_asic_off(const regdump_map_t *map_startp, const char *name);

/// Copies to `short_patt`, of at least the size of `name`, the row's own name out of a word's full name: the last
/// piece between dots that is no word number, without its subscripts.
void regdump_copy_last_word(const char *name, char *short_patt);
