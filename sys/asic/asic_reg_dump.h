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

// ------------------------------------------------------------------------------------------ operations on a live chip
//
// The chip is reached through callbacks, which get the caller's `contextp` and return 0 or an error code. Words pass
// through them in host order. An image has the order of the file: its words are big-endian. All messages go to standard
// output.

/// Reads `num_words` words from the chip byte offset `offset` on to `dst`.
using regdump_read_asic_cb = int (*)(void *contextp, uint32_t offset, uint32_t *dst, uint32_t num_words);

/// Finds the software shadow of the row at the chip byte offset `offset`: returns the shadow's own byte offset and
/// points `*shadpp` to its words, or returns a negative value when the row has no shadow.
using regdump_read_shad_cb = int (*)(void *contextp, uint32_t offset, const uint32_t **shadpp);

/// Which words a filter lets pass.
enum regdump_recipe_type_t : uint32_t {
    REGDUMP_RECIPE_NONE = 0,       ///< all
    REGDUMP_RECIPE_SKIP = 1,       ///< those that equal no value
    REGDUMP_RECIPE_ONLY = 2,       ///< those that equal a value
    REGDUMP_RECIPE_SKIP_MASK = 3,  ///< those that under no entry's mask have the entry's value
    REGDUMP_RECIPE_ONLY_MASK = 4,  ///< those that under some entry's mask have the entry's value
    REGDUMP_RECIPE_SKIP_RANGE = 5, ///< those that lie in no range
    REGDUMP_RECIPE_ONLY_RANGE = 6, ///< those that lie in some range
    REGDUMP_RECIPE_MATCH_ANY = 7,  ///< those of a row in which some entry's word has the entry's value under its mask
    REGDUMP_RECIPE_MATCH_ALL = 8,  ///< those of a row in which all entries' words have the entries' values
};

struct regdump_mask_t {
    uint32_t mask;
    uint32_t value;
};

/// Values from `min` to `max`, both included.
struct regdump_range_t {
    uint32_t min;
    uint32_t max;
};

/// A condition on the word number `word` of a row.
struct regdump_match_t {
    uint32_t word;
    uint32_t mask;
    uint32_t value;
};

/// What is shown of a chip.
struct regdump_show_recipe_t {
    regdump_recipe_type_t type;
    uint32_t num_entries; ///< entries of `data` in use
    bool is_shadow;       ///< words are read at their dump offset
    bool chk_if_hidden;   ///< rows that are not dumped are shown too
    bool is_exact;        ///< the pattern is a full name
    bool is_range;        ///< the first hit starts a range: everything behind it is shown
    bool split_fields;    ///< for the caller's use
    bool force;           ///< no names: words are read from `offset` on
    uint32_t offset;      ///< chip byte offset
    union {
        uint32_t value[9];
        regdump_mask_t mask_str[4];
        regdump_range_t range[4];
        regdump_match_t match_data[3];
    } data;
};

/// How words are written to a chip.
struct regdump_range_optn_t {
    bool is_shadow;     ///< words are read and written at their dump offset
    bool chk_if_hidden; ///< rows that are not dumped are written too
    bool skip_shadow;   ///< for the write callback: leave the shadow alone
    bool skip_asic;     ///< for the write callback: leave the chip alone
    bool pre_read;      ///< each word is read first
    bool force;         ///< no names: words are written from `offset` on
    uint32_t offset;    ///< chip byte offset
};

/// How a chip is compared with its shadow.
struct regdump_audit_optn_t {
    bool is_filter_name;   ///< only rows that match the pattern
    bool is_start_name;    ///< all rows from the first one on that matches
    bool verbose;          ///< a line for each row
    bool incl_shad_offset; ///< lines end in the shadow offset
    int max_err_total;     ///< differences that end the audit
    int max_err_per_entry; ///< differences that end the check of a row
};

/// How a chip is dumped: nothing to choose.
struct regdump_dump_optn_t {
    uint32_t tbd;
};

/// Writes `num_words` words of `src` from the chip byte offset `offset` on, as the options say.
using regdump_write_asic_cb = int (*)(void *contextp, uint32_t offset, const uint32_t *src, uint32_t num_words,
                                      const regdump_range_optn_t *optionsp);

/// Where the words of one row are read.
struct regdump_row_t {
    regdump_read_asic_cb read_funcp;
    void *contextp;
    uint32_t offset; ///< byte offset of the row's first word
    uint32_t num_words;
};

/// Reads every dumped row of a chip into the image `dst_buf`, aligned for words, of `dst_buf_size` bytes: one callback
/// for a row. Returns 0, `ASIC_INV_DATA` without a buffer, `ASIC_RESOURCE_FULL` at the first row that does not fit, or
/// the error of a read, which ends the dump.
int regdump_dump_chip(const regdump_map_t *map_startp, void *dst_buf, uint32_t dst_buf_size,
                      regdump_read_asic_cb read_funcp, void *contextp, const regdump_dump_optn_t *optionp);

/// Spreads the image `src_buf` of `src_buf_size` bytes to the chip's own layout: each dumped word goes to `ptr` in host
/// order, at its chip byte offset divided by 4. `ptr` must have room for all of the map; `debug_flag` has no effect.
/// Returns 0, `ASIC_INV_DATA` without image or `ptr`, or `ASIC_RESOURCE_FULL` when the image is too small for a row,
/// which is named.
int regdump_unpack_chip(const regdump_map_t *map_startp, const void *src_buf, uint32_t src_buf_size, int debug_flag,
                        uint32_t *ptr);

/// Tests the word number `word` of a row against the filter `recipep`, null for none. Once `is_started` is set, all
/// words pass. Stores the verdict in `*passp` and the word in `*valuep`. Returns 0, or the error of the read.
int regdump_check_recipe(const regdump_show_recipe_t *recipep, bool is_started, const regdump_row_t *rowp,
                         uint32_t word, bool *passp, uint32_t *valuep);

/// Shows the words of a chip whose full name contains `pattern`, at most `max_hits`, as `recipep` says (null: all of
/// them). A word that cannot be read is left out. Returns 0, `ASIC_INV_DATA` after a message without map or pattern or
/// with a pattern that is too long, `ASIC_ENTRY_NOT_EXIST` when nothing was shown, or `ASIC_RESOURCE_FULL` when
/// `max_hits` words were.
int regdump_show_chip(const regdump_map_t *map_startp, void *dbgp, const char *pattern, int max_hits,
                      regdump_read_asic_cb read_asic_funcp, void *contextp, const regdump_show_recipe_t *recipep);

/// Writes `write_val` to the words of a chip whose full name contains `pattern`, at most `max_hits`, and shows them.
/// Returns what `regdump_show_chip` does, or the error of a read or write, which ends the job.
int regdump_write_chip_range(const regdump_map_t *map_startp, void *dbgp, const char *pattern, uint32_t write_val,
                             int max_hits, regdump_read_asic_cb read_funcp, regdump_write_asic_cb write_funcp,
                             void *contextp, const regdump_range_optn_t *optionsp);

/// Compares the dumped rows of a chip that have a shadow with it, and shows the words that differ. A word that cannot
/// be read is left out. A null `pattern` is an empty one. Returns 0, `ASIC_INV_DATA` without `dbgp` or, after a
/// message, without map or options or with a pattern that is too long, or `ASIC_RESOURCE_FULL` when `max_err_total`
/// words were shown.
int regdump_audit_shadow(const regdump_map_t *map_startp, void *dbgp, const char *pattern,
                         regdump_read_asic_cb read_asic_funcp, regdump_read_shad_cb read_shad_funcp, void *contextp,
                         const regdump_audit_optn_t *optionsp);

/// Compares two images of `buf_size` bytes and shows each dumped word that differs: chip offset, both values and name.
/// Returns the number of these words, `ASIC_INV_DATA` without an image, or `ASIC_RESOURCE_FULL` when the images are too
/// small for a row or standard output takes no more.
int regdump_compare_chips(const regdump_map_t *map_startp, const void *buf1, const void *buf2, uint32_t buf_size);

/// Writes to the file named `file` what must be poked to turn the image `buf1` into `buf2`, of `buf_size` bytes each: a
/// line of chip offset and new value for each dumped word that differs, and for each word of a TCAM that is 0 in both.
/// Returns 0, `ASIC_INV_DATA` without an image or, after a message, when the file cannot be opened, or
/// `ASIC_RESOURCE_FULL` when the images are too small for a row or the file takes no more.
int regdump_compare_capture_updates(const regdump_map_t *map_startp, const void *buf1, const void *buf2,
                                    uint32_t buf_size, const char *file);

/// Tells where a finished dump of `size` bytes lies.
void regdump_print_success(void *dbg_hdl, const void *buf_addr, uint32_t size);

// Scanners of the command lines of the tools on a switch, which bring their own grammar. Here they return 0 and leave
// their arguments alone.
int regdump_scan_peek_recipe(int argc, char **argv, regdump_show_recipe_t *recipep);
int regdump_scan_poke_options(int argc, char **argv, regdump_range_optn_t *optionsp);
int regdump_scan_audit_optn(int argc, char **argv, regdump_audit_optn_t *optionsp);
int regdump_scan_recipe(int argc, char **argv, regdump_show_recipe_t *recipep);
