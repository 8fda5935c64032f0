#include "regenc_tsr.h"

#include "regdump_prog.h"
#include "regenc_tsr_text.h"

static bool isWordChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

/// The run of letters, digits and underscores of `name` from `pos` on; `pos` moves behind it.
static std::string_view takeWord(std::string_view name, size_t &pos) {
    const size_t start = pos;
    while (pos < name.size() && isWordChar(name[pos]))
        ++pos;
    return name.substr(start, pos - start);
}

/// The decimal number of `name` from `pos` on; `pos` moves behind it. Returns false when none stands there or it is far
/// too large for a subscript.
static bool takeNumber(std::string_view name, size_t &pos, uint32_t &number) {
    const size_t start = pos;
    number = 0;
    while (pos < name.size() && name[pos] >= '0' && name[pos] <= '9') {
        number = number * 10 + static_cast<uint32_t>(name[pos++] - '0');
        if (pos - start > 8)
            return false;
    }
    return pos != start;
}

/// The upper end of a subscript that stands for all.
static constexpr uint32_t ALL = UINT32_MAX;

/// The subscript of `name` behind the bracket at `pos` - 1: a number, a range, or * for 0 to `ALL`; `pos` moves behind
/// its closing bracket, and `ranged` becomes true for one that is no number. Returns false after storing a message in
/// `error`.
static inline bool takeSubscript(std::string_view name, size_t &pos, uint32_t &lo, uint32_t &hi, bool &ranged,
                                 std::string &error) {
    bool ok = true;
    if (pos < name.size() && name[pos] == '*') {
        ++pos;
        lo = 0;
        hi = ALL;
        ranged = true;
    } else {
        ok = takeNumber(name, pos, lo);
        hi = lo;
        if (ok && name.compare(pos, 2, "..") == 0) {
            pos += 2;
            ok = takeNumber(name, pos, hi);
            ranged = true;
        }
    }
    if (!ok || pos >= name.size() || name[pos] != ']') {
        error = regencText("bad subscript in '", regdump_shown(name), "'");
        return false;
    }
    ++pos;
    if (lo > hi) {
        error = regencText("bad subscript in '", regdump_shown(name), "': the range is empty");
        return false;
    }
    return true;
}

/// One piece of a name: a row with its subscripts.
struct RegencNames::Level {
    Table *table;
    uint32_t parentEnd = 0; ///< the first of the parent's instances behind those that the name holds

    const regdump_map_t *row = nullptr;
    size_t numDims = 0;
    size_t numSubs = 0;
    uint32_t lo[REGDUMP_MAX_DIMS] = {};
    uint32_t hi[REGDUMP_MAX_DIMS] = {};
    bool ranged = false;
};

RegencNames::RegencNames(const regdump_map_t *map_startp) {
    add(map_startp);
    top_ = &tables_.at(map_startp);
}

void RegencNames::add(const regdump_map_t *rows) {
    if (tables_.count(rows) != 0)
        return;
    Table &table = tables_[rows];
    table.rows = rows;
    for (const regdump_map_t *row = rows; row->name != nullptr; ++row) {
        table.index.emplace(row->name, table.names.size());
        table.names.emplace_back(row->name);
        if (row->child != nullptr)
            add(row->child);
    }
}

const regdump_map_t *RegencNames::findRow(Table &table, std::string_view name) {
    if (table.names[table.last] != name) {
        if (table.last + 1 < table.names.size() && table.names[table.last + 1] == name) {
            ++table.last;
        } else {
            const auto found = table.index.find(name);
            if (found == table.index.end())
                return nullptr;
            table.last = found->second;
        }
    }
    return &table.rows[table.last];
}

/// Reads one piece of `name` from `pos` on: `level.table` and `level.parentEnd` are given, the rest is found.
bool RegencNames::findLevel(std::string_view name, size_t &pos, Level &level, std::string &error) {
    const std::string_view word = takeWord(name, pos);
    level.row = word.empty() ? nullptr : findRow(*level.table, word);
    if (level.row == nullptr) {
        error = regencText("unknown name '", regdump_shown(name), "'", tblNear(word, level.table->names, false));
        return false;
    }
    if ((level.row->flags & REGDUMP_FLAGS_NO_DUMP) != 0) {
        error = regencText("'", regdump_shown(name), "' is not part of a dump");
        return false;
    }
    if (level.row->parent_depth != 0 && level.parentEnd > level.row->parent_depth) {
        error = regencText("unknown name '", regdump_shown(name), "': only the instances 0 to ",
                           std::to_string(level.row->parent_depth - 1), " have this register");
        return false;
    }
    const bool single = level.row->depth[0] == 1 && level.row->depth[1] == 0;
    while (!single && level.numDims < REGDUMP_MAX_DIMS && level.row->depth[level.numDims] != 0)
        ++level.numDims;
    while (pos < name.size() && name[pos] == '[') {
        ++pos;
        if (level.numSubs == level.numDims) {
            error = regencText("unknown name '", regdump_shown(name), "': ", word, " has ",
                               std::to_string(level.numDims), (level.numDims == 1 ? " subscript" : " subscripts"));
            return false;
        }
        uint32_t &lo = level.lo[level.numSubs];
        uint32_t &hi = level.hi[level.numSubs];
        if (!takeSubscript(name, pos, lo, hi, level.ranged, error))
            return false;
        const uint32_t dim = level.row->depth[level.numSubs];
        if (hi == ALL)
            hi = dim - 1;
        if (hi >= dim) {
            error = regencText("unknown name '", regdump_shown(name), "': a subscript of ", word, " is at most ",
                               std::to_string(dim - 1));
            return false;
        }
        ++level.numSubs;
    }
    return true;
}

/// Reads the field behind the dot at `pos` - 1.
bool RegencNames::findField(std::string_view name, size_t &pos, RegencWords &words, std::string &error) {
    words.field = takeWord(name, pos);
    words.table = tblRow(words.row->name);
    if (words.table == nullptr)
        return true;
    words.form = {};
    words.hasElem = false;
    words.elemRanged = false;
    words.elemLo = words.elemHi = 0;
    if (pos + 1 < name.size() && name[pos] == '.') {
        ++pos;
        words.form = words.field;
        words.field = takeWord(name, pos);
    }
    if (pos < name.size() && name[pos] == '[') {
        ++pos;
        words.hasElem = true;
        return takeSubscript(name, pos, words.elemLo, words.elemHi, words.elemRanged, error);
    }
    return true;
}

bool RegencNames::find(std::string_view name, RegencWords &words, std::string &error, bool isEntry) {
    // Not as a whole: a listing has ten million names.
    words.chipOff = words.dumpOff = 0;
    words.numSteps = 0;
    words.ranged = false;
    words.field = {};
    words.table = nullptr;
    size_t pos = 0;
    Level level;
    level.table = top_;
    const auto addStep = [&](uint32_t lo, uint32_t hi, uint32_t chipStride, uint32_t dumpStride) {
        words.chipOff += lo * chipStride;
        words.dumpOff += lo * dumpStride;
        if (hi != lo)
            words.steps[words.numSteps++] = {hi - lo + 1, chipStride, dumpStride};
    };

    // The groups from the outside in, and the register or memory at the end.
    for (;;) {
        if (!findLevel(name, pos, level, error))
            return false;
        words.chipOff += level.row->asic_offset;
        words.dumpOff += level.row->dump_offset;
        words.ranged |= level.ranged;
        if (level.row->child == nullptr)
            break;
        if (level.numSubs != level.numDims || pos >= name.size() || name[pos] != '.') {
            error = regencText("'", regdump_shown(name), "' is a group, not a word");
            return false;
        }
        ++pos;
        if (level.numDims != 0)
            addStep(level.lo[0], level.hi[0], level.row->asic_size, level.row->dump_size);
        Level child;
        child.table = &tables_.at(level.row->child);
        child.parentEnd = level.hi[0] + 1;
        level = child;
    }

    const regdump_map_t *row = level.row;
    words.row = row;
    words.rowOff = words.dumpOff;
    words.numGroupSteps = words.numSteps;
    uint32_t stride = regdump_mapp_get_size(row);
    for (size_t dim = 0; dim < level.numSubs; ++dim) {
        stride /= row->depth[dim];
        addStep(level.lo[dim], level.hi[dim], stride, stride);
    }
    words.run = stride / 4;

    const auto digitAt = [&](size_t at) { return at < name.size() && name[at] >= '0' && name[at] <= '9'; };
    const bool wordNumber = row->asic_size > 4 && name.compare(pos, 2, ".w") == 0 && digitAt(pos + 2);
    if (wordNumber && isEntry) {
        error = regencText("'", regdump_shown(name), "' is a word, not an entry");
        return false;
    }
    if (wordNumber) {
        pos += 2;
        uint32_t number = 0;
        if (!takeNumber(name, pos, number) || number >= row->dump_size / 4) {
            error = regencText("unknown name '", regdump_shown(name), "': a word number of ", row->name, " is 0 to ",
                               std::to_string(row->dump_size / 4 - 1));
            return false;
        }
        if (level.numSubs == level.numDims) {
            words.chipOff += 4 * number;
            words.dumpOff += 4 * number;
            words.run = 1;
        } else {
            error = regencText("subscripts are missing in '", regdump_shown(name), "'");
            return false;
        }
    }
    if (pos + 1 < name.size() && name[pos] == '.') {
        ++pos;
        if (!findField(name, pos, words, error))
            return false;
    }
    if (pos != name.size()) {
        error = regencText("unknown name '", regdump_shown(name), "'");
        return false;
    }
    const bool isWhole = isEntry || (words.table != nullptr && !wordNumber);
    if (words.run != 1 && !words.ranged && !isWhole) {
        error = regencText("'", regdump_shown(name), "' is ", std::to_string(words.run), " words: give all subscripts",
                           (row->asic_size > 4 ? " and the word number" : ""), ", or a range");
        return false;
    }
    return true;
}
