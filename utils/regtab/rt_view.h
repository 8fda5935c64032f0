#pragma once
// The tables that `list` knows by a name of their own: each shows what several memories say together, as a person would
// want to read it. A view is a row of kViews and a function in a file of its own.

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli_out.h"
#include "regtab.h"
#include "rt_entry.h"
#include "tbl/tsr_tbl_mem.h"

/// What the cells of a column are.
enum class RtCell {
    VALUE, ///< a number or an address, as the column's kind says
    MATCH, ///< what a key's field shall be
    ADDR,  ///< the same, of a kind that each row says: IPV4, IPV6 or FCID
    TEXT,
    BITS, ///< a set of small numbers, one bit each: "0-10,12"
    LIST, ///< several texts
};

struct RtColumn {
    const char *name;
    RtCell cell = RtCell::TEXT;
    TblKind kind = TblKind::NUM;
    unsigned width = 32;
    bool isSpare = true; ///< text: left out when no row has a value
};

/// Takes the rows of a view: keeps those that fit the conditions, and prints them as the run wants it.
class RtRows {
public:
    RtRows(const RtRun &run, std::span<const RtColumn> columns, std::vector<RtCond> conds, bool isCounting = false);

    // The cells of a row, in the order of the columns.
    RtRows &value(uint64_t value);
    RtRows &wide(const TblWide &value);
    RtRows &match(const TblMatch &match);
    RtRows &addr(const TblMatch &match, TblKind kind, unsigned width);
    RtRows &text(std::string_view value);
    /// A text that also stands for a number, by which a condition may ask for it.
    RtRows &text(std::string_view value, uint64_t number);
    RtRows &bits(uint64_t set);
    RtRows &list(std::vector<std::string> values);
    RtRows &none();

    /// Names an entry that the row shows; the first is where the row stands.
    RtRows &part(const TblMem &mem, uint32_t place);

    /// Ends the row.
    void end();

    /// Ends the answer.
    void finish();

    uint64_t rows() const { return rows_; }

private:
    struct Cell {
        bool isSet = false;
        bool hasNumber = false;
        TblKind kind = TblKind::NUM; ///< of an address
        unsigned width = 0;
        TblMatch match{};
        uint64_t number = 0;
        std::string text;
        std::vector<std::string> list;
    };
    struct Part {
        const TblMem *mem;
        uint32_t place;
    };
    struct Test {
        size_t column;
        RtCond cond;
        TblMatch match; ///< for columns of values and matches
    };

    Cell &next();
    bool fits(const Test &test) const;
    void print();

    const RtRun &run_;
    std::span<const RtColumn> columns_;
    std::vector<TblField> fields_; ///< one a column, to show its values by
    std::vector<Test> tests_;
    bool isCounting_;
    std::unique_ptr<CliTable> table_;
    RtLines lines_;
    std::vector<Cell> cells_;
    size_t at_ = 0;
    std::vector<Part> parts_;
    uint64_t rows_ = 0;
};

struct RtView {
    const char *name;
    const char *text;
    std::span<const RtColumn> columns;
    void (*list)(const RtRun &run, RtRows &rows);
};

/// All views, in the order in which `tables` shows them.
std::span<const RtView> rtViews();

/// The view called so, or null.
const RtView *rtView(std::string_view name);

// The views' functions and columns; each stands in view_<name>.cpp.
#define RT_VIEW(name, text)                                                                                            \
    extern const std::span<const RtColumn> kColumns_##name;                                                            \
    void list_##name(const RtRun &run, RtRows &rows);
#include "rt_view.def"

/// Reads the entry `place` of `mem` as a record of its layout, as the run wants its words.
template <class Entry> Entry rtEntry(const RtRun &run, const TblMem &mem, uint32_t place) {
    uint32_t words[TblMem::kMaxWords];
    mem.read(run.image(), mem.entryAt(run.image(), place), run.opt.isRaw, words);
    return entryAt<Entry>(words);
}

/// The row of that name, which must be one.
const TblMem &rtMem(std::string_view name);

/// The numbers of the bits that are set, as "0-10,12".
std::string rtBitsText(uint64_t set);
