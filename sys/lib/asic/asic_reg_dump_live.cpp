// The walker's operations on a live chip, and the comparison of two images.

#include "asic_reg_dump.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "asic_err.h"
#include "asic_reg_line.h"
#include "be_word.h"

/// The shortest pattern that is too long.
static constexpr size_t PATTERN_LIMIT = REGDUMP_NAME_SIZE - 4;

namespace {

/// The row that a walk stands on.
struct Row {
    explicit Row(const regdump_stack_t &at)
        : stackp(&at), mapp(regdump_stack_get_map(&at)), asic_off(regdump_stack_get_asic_off(&at)),
          dump_off(regdump_stack_get_dump_off(&at)), size(regdump_mapp_get_size(mapp)) {}

    /// Builds the name of the row's word number `word` in `buf`, of `REGDUMP_NAME_SIZE` bytes. Returns `buf`.
    char *name(char *buf, uint32_t word) const {
        return regdump_stack_name_str(stackp, buf, REGDUMP_NAME_SIZE, 4 * word);
    }

    const regdump_stack_t *stackp;
    const regdump_map_t *mapp;
    uint32_t asic_off;
    uint32_t dump_off;
    uint32_t size;
};

} // namespace

/// Calls `visit(row)` for each row of the map, dumped or not, until a call returns another value than 0. Returns that
/// value, or 0.
template <typename Visit> static int forEachRow(const regdump_map_t *map_startp, Visit visit) {
    regdump_stack_t stack;
    regdump_stack_init(&stack, map_startp);
    do {
        const int rval = visit(Row(stack));
        if (rval != 0)
            return rval;
    } while (regdump_stack_next(&stack) == 0);
    return 0;
}

/// Calls `visit(row)` for each dumped row, as `forEachRow` does. At a row that an image of `image_size` bytes does not
/// hold, `no_room(row)` is called and `ASIC_RESOURCE_FULL` returned.
template <typename Visit, typename NoRoom>
static int forEachImageRow(const regdump_map_t *map_startp, uint32_t image_size, Visit visit, NoRoom no_room) {
    return forEachRow(map_startp, [&](const Row &row) -> int {
        if (!isDumped(row.mapp))
            return 0;
        if (uint64_t{row.dump_off} + row.size > image_size) {
            no_room(row);
            return ASIC_RESOURCE_FULL;
        }
        return visit(row);
    });
}

template <typename Visit>
static int forEachImageRow(const regdump_map_t *map_startp, uint32_t image_size, Visit visit) {
    return forEachImageRow(map_startp, image_size, visit, [](const Row &) {});
}

// ------------------------------------------------------------------------------------------------ dump and unpack

int regdump_dump_chip(const regdump_map_t *map_startp, void *dst_buf, uint32_t dst_buf_size,
                      regdump_read_asic_cb read_funcp, void *contextp, const regdump_dump_optn_t *) {
    if (dst_buf == nullptr)
        return ASIC_INV_DATA;
    return forEachImageRow(map_startp, dst_buf_size, [&](const Row &row) -> int {
        uint32_t *words = static_cast<uint32_t *>(dst_buf) + row.dump_off / 4;
        const int rval = read_funcp(contextp, row.asic_off, words, row.size / 4);
        if (rval != 0)
            return rval;
        for (uint32_t word = 0; word < row.size / 4; ++word)
            setImageWord(words, size_t{4} * word, words[word]);
        return 0;
    });
}

int regdump_unpack_chip(const regdump_map_t *map_startp, const void *src_buf, uint32_t src_buf_size, int,
                        uint32_t *ptr) {
    if (src_buf == nullptr || ptr == nullptr)
        return ASIC_INV_DATA;
    const auto spread = [&](const Row &row) -> int {
        for (uint32_t k = 0; k < row.size; k += 4)
            ptr[(row.asic_off + k) / 4] = imageWord(src_buf, row.dump_off + k);
        return 0;
    };
    return forEachImageRow(map_startp, src_buf_size, spread, [&](const Row &row) {
        std::printf("name %s offset 0x%x dmpsize 0x%x srcsize 0x%x\n", row.mapp->name, row.dump_off, row.size,
                    src_buf_size);
    });
}

void regdump_print_success(void *, const void *buf_addr, uint32_t size) {
    std::printf("kernel addr: 0x%p size: 0x%x\n", buf_addr, size);
}

// ---------------------------------------------------------------------------------------------------------- filter

/// Tells whether `test` holds for one of the entries in use.
template <typename Entry, size_t n, typename Test>
static bool anyEntry(const regdump_show_recipe_t *recipep, const Entry (&entries)[n], Test test) {
    return std::any_of(entries, entries + std::min<size_t>(recipep->num_entries, n), test);
}

/// Tells whether the row has the entry's word, and in it the entry's value.
static bool rowMatches(const regdump_row_t *rowp, const regdump_match_t &entry) {
    if (entry.word >= rowp->num_words)
        return false;
    uint32_t value = 0;
    return rowp->read_funcp(rowp->contextp, rowp->offset + 4 * entry.word, &value, 1) == 0 &&
           (value & entry.mask) == entry.value;
}

/// The filter's verdict on the word `value` of a row.
static bool recipePasses(const regdump_show_recipe_t *recipep, const regdump_row_t *rowp, uint32_t value) {
    const auto equals = [value](uint32_t entry) { return value == entry; };
    const auto under_mask = [value](const regdump_mask_t &entry) { return (value & entry.mask) == entry.value; };
    const auto in_range = [value](const regdump_range_t &entry) { return value >= entry.min && value <= entry.max; };
    switch (recipep->type) {
    case REGDUMP_RECIPE_NONE:
        return true;
    case REGDUMP_RECIPE_SKIP:
        return !anyEntry(recipep, recipep->data.value, equals);
    case REGDUMP_RECIPE_ONLY:
        return anyEntry(recipep, recipep->data.value, equals);
    case REGDUMP_RECIPE_SKIP_MASK:
        return !anyEntry(recipep, recipep->data.mask_str, under_mask);
    case REGDUMP_RECIPE_ONLY_MASK:
        return anyEntry(recipep, recipep->data.mask_str, under_mask);
    case REGDUMP_RECIPE_SKIP_RANGE:
        return !anyEntry(recipep, recipep->data.range, in_range);
    case REGDUMP_RECIPE_ONLY_RANGE:
        return anyEntry(recipep, recipep->data.range, in_range);
    case REGDUMP_RECIPE_MATCH_ANY:
        return anyEntry(recipep, recipep->data.match_data,
                        [rowp](const regdump_match_t &entry) { return rowMatches(rowp, entry); });
    case REGDUMP_RECIPE_MATCH_ALL:
        return !anyEntry(recipep, recipep->data.match_data,
                         [rowp](const regdump_match_t &entry) { return !rowMatches(rowp, entry); });
    }
    return false;
}

int regdump_check_recipe(const regdump_show_recipe_t *recipep, bool is_started, const regdump_row_t *rowp,
                         uint32_t word, bool *passp, uint32_t *valuep) {
    *passp = false;
    const int rval = rowp->read_funcp(rowp->contextp, rowp->offset + 4 * word, valuep, 1);
    if (rval == 0)
        *passp = recipep == nullptr || is_started || recipePasses(recipep, rowp, *valuep);
    return rval;
}

// -------------------------------------------------------------------------------------------------- show and write

static int refuse(const char *message) {
    std::printf("%s\n", message);
    return ASIC_INV_DATA;
}

static int limitReached() {
    std::printf("Output limit reached\n");
    return ASIC_RESOURCE_FULL;
}

/// Prints a heading and a line of dashes below it, 61 at most.
static void printHeading(const char *columns, int num_dashes) {
    std::printf("%s\n%.*s\n", columns, num_dashes, "-------------------------------------------------------------");
}

namespace {

/// Which words are looked for by name.
struct Search {
    const char *pattern;
    bool is_exact;
    bool is_range;
    bool chk_if_hidden;
};

/// What became of a word whose name was found.
enum class Found { PASSED_OVER, HIT, FAILED };

} // namespace

/// Tells whether a word's full name is the one looked for.
static bool nameMatches(const Search &search, const char *name) {
    if (std::strncmp(name, search.pattern, REGDUMP_NAME_SIZE) == 0)
        return true;
    return !search.is_exact && std::strstr(name, search.pattern) != nullptr;
}

/// Calls `found(row, word, name, is_started)` for each word that `search` looks for, until `max_hits` of them were hits
/// or one failed. Returns the result of the search; after a failure that is not 0, and the caller knows better.
template <typename Visit>
static int searchWords(const regdump_map_t *map_startp, const Search &search, int max_hits, Visit found) {
    char short_patt[REGDUMP_NAME_SIZE];
    regdump_copy_last_word(search.pattern, short_patt);
    if (max_hits <= 0)
        return limitReached();

    int hits_left = max_hits;
    bool is_started = false;
    const int rval = forEachRow(map_startp, [&](const Row &row) -> int {
        char name[REGDUMP_NAME_SIZE];
        if (!is_started && std::strstr(row.name(name, 0), short_patt) == nullptr)
            return 0;
        if (!isDumped(row.mapp) && !search.chk_if_hidden)
            return 0;
        for (uint32_t word = 0; word < row.size / 4; ++word) {
            row.name(name, word);
            if (!is_started && !nameMatches(search, name))
                continue;
            const Found result = found(row, word, name, is_started);
            if (result == Found::FAILED)
                return ASIC_INV_DATA;
            if (result == Found::PASSED_OVER)
                continue;
            is_started = search.is_range;
            if (--hits_left == 0)
                return limitReached();
        }
        return 0;
    });
    if (rval != 0)
        return rval;
    if (hits_left == max_hits) {
        std::printf("No matches found\n");
        return ASIC_ENTRY_NOT_EXIST;
    }
    return 0;
}

/// Shows `num_words` words from the chip byte offset `offset` on; those that cannot be read are left out.
static int forcefulRead(uint32_t offset, int num_words, regdump_read_asic_cb read_funcp, void *contextp) {
    std::printf("Forceful read %d words from offset 0x%x\n", num_words, offset);
    for (int i = 0; i < num_words; ++i, offset += 4) {
        uint32_t value = 0;
        if (read_funcp(contextp, offset, &value, 1) == 0)
            std::printf("0x%08x:  0x%08x\n", offset, value);
    }
    return 0;
}

static int regdump_show_chip_intl(const regdump_map_t *map_startp, const char *pattern, int max_hits,
                                  regdump_read_asic_cb read_asic_funcp, void *contextp,
                                  const regdump_show_recipe_t *recipep) {
    if (recipep != nullptr && recipep->force)
        return forcefulRead(recipep->offset, max_hits, read_asic_funcp, contextp);
    if (map_startp == nullptr)
        return refuse("Missing map");
    if (pattern == nullptr)
        return refuse("Missing pattern");
    if (std::strlen(pattern) >= PATTERN_LIMIT)
        return refuse("Pattern too long");
    printHeading("ASIC offset  Data        Register", 51);

    Search search = {pattern, false, false, false};
    bool is_shadow = false;
    if (recipep != nullptr) {
        search = {pattern, recipep->is_exact, recipep->is_range, recipep->chk_if_hidden};
        is_shadow = recipep->is_shadow;
    }
    return searchWords(map_startp, search, max_hits,
                       [&](const Row &row, uint32_t word, const char *name, bool is_started) {
                           const regdump_row_t words = {read_asic_funcp, contextp,
                                                        is_shadow ? row.dump_off : row.asic_off, row.size / 4};
                           bool pass = false;
                           uint32_t value = 0;
                           regdump_check_recipe(recipep, is_started, &words, word, &pass, &value);
                           if (!pass)
                               return Found::PASSED_OVER;
                           std::printf("0x%08x:  0x%08x  %s\n", row.asic_off + 4 * word, value, name);
                           return Found::HIT;
                       });
}

int regdump_show_chip(const regdump_map_t *map_startp, void *, const char *pattern, int max_hits,
                      regdump_read_asic_cb read_asic_funcp, void *contextp, const regdump_show_recipe_t *recipep) {
    return regdump_show_chip_intl(map_startp, pattern, max_hits, read_asic_funcp, contextp, recipep);
}

/// Writes `num_words` words from the options' offset on, until one fails.
static int forcefulWrite(uint32_t write_val, int num_words, regdump_write_asic_cb write_funcp, void *contextp,
                         const regdump_range_optn_t *optionsp) {
    uint32_t offset = optionsp->offset;
    std::printf("Forceful write %d words from offset 0x%x : 0x%x\n", num_words, offset, write_val);
    for (int i = 0; i < num_words; ++i, offset += 4) {
        const int rval = write_funcp(contextp, offset, &write_val, 1, optionsp);
        if (rval != 0) {
            std::printf("Fail due to error %d\n", rval);
            return rval;
        }
    }
    return 0;
}

int regdump_write_chip_range(const regdump_map_t *map_startp, void *, const char *pattern, uint32_t write_val,
                             int max_hits, regdump_read_asic_cb read_funcp, regdump_write_asic_cb write_funcp,
                             void *contextp, const regdump_range_optn_t *optionsp) {
    if (optionsp != nullptr && optionsp->force)
        return forcefulWrite(write_val, max_hits, write_funcp, contextp, optionsp);
    if (map_startp == nullptr)
        return refuse("Missing map");
    if (pattern == nullptr)
        return refuse("Missing pattern");
    if (optionsp == nullptr)
        return refuse("Missing options");
    if (std::strlen(pattern) >= PATTERN_LIMIT)
        return refuse("Pattern too long");
    printHeading("ASIC offset  Old Data  -> New Data       Register", 51);

    int error = 0;
    const Search search = {pattern, false, false, optionsp->chk_if_hidden};
    const int rval =
        searchWords(map_startp, search, max_hits, [&](const Row &row, uint32_t word, const char *name, bool) {
            const uint32_t offset = (optionsp->is_shadow ? row.dump_off : row.asic_off) + 4 * word;
            uint32_t old = 0;
            if (optionsp->pre_read)
                error = read_funcp(contextp, offset, &old, 1);
            if (error == 0)
                error = write_funcp(contextp, offset, &write_val, 1, optionsp);
            if (error != 0)
                return Found::FAILED;
            if (optionsp->pre_read)
                std::printf("0x%08x:  0x%08x->0x%08x  %s\n", row.asic_off + 4 * word, old, write_val, name);
            else
                std::printf("0x%08x:  notchecked->0x%08x  %s\n", row.asic_off + 4 * word, write_val, name);
            return Found::HIT;
        });
    return error != 0 ? error : rval;
}

// ----------------------------------------------------------------------------------------------------------- audit

namespace {

/// An audit under way.
struct Audit {
    regdump_read_asic_cb read_funcp;
    void *contextp;
    const regdump_audit_optn_t *optionsp;
    int num_errors;
    int num_good;
};

} // namespace

/// Compares a row with its shadow at the shadow byte offset `shad_off`. Returns 0, or `ASIC_RESOURCE_FULL` at the
/// limit.
static int auditRow(Audit &audit, const Row &row, uint32_t shad_off, const uint32_t *shadow) {
    const regdump_audit_optn_t *optionsp = audit.optionsp;
    char name[REGDUMP_NAME_SIZE];
    if (optionsp->verbose && optionsp->incl_shad_offset)
        std::printf("0x%08x:  Checking    Checking    %s (0x%08x)\n", row.asic_off, row.name(name, 0), shad_off);
    else if (optionsp->verbose)
        std::printf("0x%08x:  Checking    Checking    %s \n", row.asic_off, row.name(name, 0));

    int row_errors = 0;
    for (uint32_t word = 0; word < row.size / 4; ++word) {
        uint32_t value = 0;
        if (audit.read_funcp(audit.contextp, row.asic_off + 4 * word, &value, 1) != 0)
            continue;
        if (value == shadow[word]) {
            ++audit.num_good;
            continue;
        }
        row.name(name, word);
        if (optionsp->incl_shad_offset)
            std::printf("0x%08x:  0x%08x  0x%08x  %s (0x%08x)\n", row.asic_off + 4 * word, value, shadow[word], name,
                        shad_off + 4 * word);
        else
            std::printf("0x%08x:  0x%08x  0x%08x  %s\n", row.asic_off + 4 * word, value, shadow[word], name);
        if (++audit.num_errors >= optionsp->max_err_total)
            return ASIC_RESOURCE_FULL;
        if (++row_errors >= optionsp->max_err_per_entry)
            return 0;
    }
    return 0;
}

int regdump_audit_shadow(const regdump_map_t *map_startp, void *dbgp, const char *pattern,
                         regdump_read_asic_cb read_asic_funcp, regdump_read_shad_cb read_shad_funcp, void *contextp,
                         const regdump_audit_optn_t *optionsp) {
    if (dbgp == nullptr)
        return ASIC_INV_DATA;
    if (map_startp == nullptr)
        return refuse("Missing map");
    if (optionsp == nullptr)
        return refuse("Missing options");
    if (pattern == nullptr)
        pattern = "";
    if (std::strlen(pattern) >= PATTERN_LIMIT)
        return refuse("Pattern too long");

    if (optionsp->is_start_name)
        std::printf("Start name: %s\n", pattern);
    else if (optionsp->is_filter_name)
        std::printf("Filter name: %s\n", pattern);
    else
        std::printf("Checking all\n");
    printHeading(optionsp->incl_shad_offset ? "ASIC offset  ASIC Data   Shad Data   Register (Shadow offset)"
                                            : "ASIC offset  ASIC Data   Shad Data   Register",
                 61);

    Audit audit = {read_asic_funcp, contextp, optionsp, 0, 0};
    const bool by_name = optionsp->is_start_name || optionsp->is_filter_name;
    bool is_started = false;
    const int rval = forEachRow(map_startp, [&](const Row &row) -> int {
        if (!isDumped(row.mapp))
            return 0;
        char name[REGDUMP_NAME_SIZE];
        if (by_name && !is_started && std::strstr(row.name(name, 0), pattern) == nullptr)
            return 0;
        is_started = optionsp->is_start_name;
        const uint32_t *shadow = nullptr;
        const int shad_off = read_shad_funcp(contextp, row.asic_off, &shadow);
        if (shad_off < 0)
            return 0;
        return auditRow(audit, row, static_cast<uint32_t>(shad_off), shadow);
    });
    if (rval != 0)
        std::printf("Output limit reached\n");
    std::printf("%d errors, %d words successfully checked\n", audit.num_errors, audit.num_good);
    return rval;
}

// ------------------------------------------------------------------------------------------------------ comparison

int regdump_compare_chips(const regdump_map_t *map_startp, const void *buf1, const void *buf2, uint32_t buf_size) {
    constexpr char COLUMNS[] = "0x00000000:  0x00000000  0x00000000  ";
    constexpr size_t NAME_COLUMN = sizeof(COLUMNS) - 1;
    constexpr uint32_t BLOCK = 4096;
    if (buf1 == nullptr || buf2 == nullptr)
        return ASIC_INV_DATA;
    const uint8_t *image1 = static_cast<const uint8_t *>(buf1);
    const uint8_t *image2 = static_cast<const uint8_t *>(buf2);

    int num_differences = 0;
    LineSink sink;
    const auto compareWord = [&](const Row &row, uint32_t k) {
        const uint8_t *word1 = image1 + row.dump_off + k;
        const uint8_t *word2 = image2 + row.dump_off + k;
        if (std::memcmp(word1, word2, 4) == 0)
            return;
        ++num_differences;
        char *line = sink.room();
        std::memcpy(line, COLUMNS, NAME_COLUMN);
        putHex(line + 2, row.asic_off + k);
        putHex(line + 15, word1);
        putHex(line + 27, word2);
        row.name(line + NAME_COLUMN, k / 4);
        const size_t size = NAME_COLUMN + std::strlen(line + NAME_COLUMN);
        line[size] = '\n';
        sink.take(size + 1);
    };
    const int rval = forEachImageRow(map_startp, buf_size, [&](const Row &row) -> int {
        for (uint32_t start = 0; start < row.size; start += BLOCK) {
            const uint32_t end = std::min(row.size, start + BLOCK);
            if (std::memcmp(image1 + row.dump_off + start, image2 + row.dump_off + start, end - start) == 0)
                continue;
            for (uint32_t k = start; k < end; k += 4)
                compareWord(row, k);
            if (!sink.ok())
                return ASIC_RESOURCE_FULL;
        }
        return 0;
    });
    if (!sink.flush())
        return ASIC_RESOURCE_FULL;
    return rval != 0 ? rval : num_differences;
}

int regdump_compare_capture_updates(const regdump_map_t *map_startp, const void *buf1, const void *buf2,
                                    uint32_t buf_size, const char *file) {
    if (buf1 == nullptr || buf2 == nullptr)
        return ASIC_INV_DATA;
    std::FILE *updates = std::fopen(file, "w");
    if (updates == nullptr) {
        std::printf("File open failed:%s\n", file);
        return ASIC_INV_DATA;
    }
    int rval = forEachImageRow(map_startp, buf_size, [&](const Row &row) -> int {
        char name[REGDUMP_NAME_SIZE];
        row.name(name, 0); // tells for all of the row's words
        const bool is_tcam = std::strstr(name, "tcam[") != nullptr || std::strstr(name, "tcam_key[") != nullptr;
        for (uint32_t k = 0; k < row.size; k += 4) {
            const uint32_t before = imageWord(buf1, row.dump_off + k);
            const uint32_t after = imageWord(buf2, row.dump_off + k);
            // A TCAM entry must be written whole.
            if (before != after || (is_tcam && after == 0))
                std::fprintf(updates, "0x%08x 0x%08x\n", row.asic_off + k, after);
        }
        return std::ferror(updates) ? ASIC_RESOURCE_FULL : 0;
    });
    if (std::fclose(updates) != 0 && rval == 0)
        rval = ASIC_RESOURCE_FULL;
    return rval;
}

// -------------------------------------------------------------------------------------------------------- scanners

int regdump_scan_peek_recipe(int, char **, regdump_show_recipe_t *) {
    return 0;
}

int regdump_scan_poke_options(int, char **, regdump_range_optn_t *) {
    return 0;
}

int regdump_scan_audit_optn(int, char **, regdump_audit_optn_t *) {
    return 0;
}

int regdump_scan_recipe(int, char **, regdump_show_recipe_t *) {
    return 0;
}
