#pragma once
// Rows on standard output in the form that was asked for: aligned text, JSON lines or CSV.
//
//     auto table = CliTable::make(CliFormat::TEXT, {{"port", true}, {"reason"}});
//     table->number(3).text("tail drop").endRow();
//     table->finish();
//
// A JSON line is an object with the columns' names as keys, in their order; a cell without value, or with an empty
// text, has no key. CSV has a line with the names first, quotes as RFC 4180 says, and lines that end with LF.

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

enum class CliFormat { TEXT, JSON, CSV };

/// One column. Its name is the key in JSON, and the title in CSV and text.
struct CliColumn {
    std::string name;
    bool isRight = false;  ///< text: aligned to the right, as numbers are
    bool isSpare = false;  ///< text: left out when no row has a value
    bool isHidden = false; ///< text: left out
};

/// A value of a list in a cell: a number if `text` is empty.
struct CliItem {
    std::string text;
    uint64_t number = 0;
};

/// The rows of one answer. Cells are given in the order of the columns; what is missing at the end of a row is empty.
class CliTable {
public:
    static std::unique_ptr<CliTable> make(CliFormat format, std::vector<CliColumn> columns);
    virtual ~CliTable() = default;

    virtual CliTable &text(std::string_view value) = 0;
    virtual CliTable &number(uint64_t value) = 0;
    /// A number that people read in hexadecimal; JSON has it as a number.
    virtual CliTable &hex(uint64_t value, unsigned digits = 1) = 0;
    /// Several values: an array in JSON, else the values with blanks between them.
    virtual CliTable &list(std::span<const CliItem> items) = 0;
    virtual CliTable &none() = 0;
    virtual void endRow() = 0;

    /// Ends the table: aligned text is printed now.
    virtual void finish() = 0;

    uint64_t rows() const { return rows_; }

protected:
    explicit CliTable(std::vector<CliColumn> columns) : columns_(std::move(columns)) {}

    std::vector<CliColumn> columns_;
    uint64_t rows_ = 0;
};

/// Prints a JSON object with these texts on a line of its own: the schema line, or a remark behind the rows.
void cliJsonLine(std::span<const std::pair<std::string, CliItem>> members);

/// `text` as a JSON string, quotes included; bytes that are no UTF-8 become U+FFFD.
std::string cliJsonString(std::string_view text);

/// Prints `text` on standard output, behind the same buffer as the tables.
void cliPrint(std::string_view text);

/// Hands all that was printed to the system. Returns false after a message on standard error when it was not taken.
bool cliFlush();
