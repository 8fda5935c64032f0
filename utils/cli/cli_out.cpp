#include "cli_out.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "cli_progress.h"
#include "regdump_prog.h"

// ---- The sink ------------------------------------------------------------------------------------------------------

/// Large enough that few calls hand on much text; one thread prints.
static std::string &buffer() {
    static std::string text;
    return text;
}

static void handOn() {
    std::fwrite(buffer().data(), 1, buffer().size(), stdout);
    buffer().clear();
}

void cliPrint(std::string_view text) {
    constexpr size_t kFull = 64 * 1024;
    buffer() += text;
    if (buffer().size() >= kFull)
        handOn();
}

bool cliFlush() {
    handOn();
    return regdump_flush_output();
}

// ---- Numbers and strings -------------------------------------------------------------------------------------------

static void addNumber(std::string &text, uint64_t number) {
    char digits[20];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

static void addHex(std::string &text, uint64_t number, unsigned width) {
    char digits[16];
    const char *end = std::to_chars(digits, digits + sizeof digits, number, 16).ptr;
    const auto size = static_cast<unsigned>(end - digits);
    text += "0x";
    text.append(width > size ? width - size : 0, '0');
    text.append(digits, size);
}

std::string cliJsonString(std::string_view text) {
    const bool isPlain =
        std::all_of(text.begin(), text.end(), [](char c) { return c >= 0x20 && c < 0x7f && c != '"' && c != '\\'; });
    if (isPlain)
        return std::string("\"").append(text).append("\"");
    return nlohmann::json(std::string(text)).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

static void addJsonItem(std::string &line, const CliItem &item) {
    if (item.text.empty())
        addNumber(line, item.number);
    else
        line += cliJsonString(item.text);
}

void cliJsonLine(std::span<const std::pair<std::string, CliItem>> members) {
    std::string line = "{";
    for (const auto &[name, item] : members) {
        line += line.size() > 1 ? "," : "";
        line += cliJsonString(name) + ":";
        addJsonItem(line, item);
    }
    cliPrint(line + "}\n");
}

/// The values with blanks between them.
static std::string joined(std::span<const CliItem> items) {
    std::string text;
    for (const CliItem &item : items) {
        text += &item == items.data() ? "" : " ";
        if (item.text.empty())
            addNumber(text, item.number);
        else
            text += item.text;
    }
    return text;
}

// ---- The forms -----------------------------------------------------------------------------------------------------

namespace {

class JsonTable : public CliTable {
public:
    explicit JsonTable(std::vector<CliColumn> columns) : CliTable(std::move(columns)) {
        for (const CliColumn &column : columns_)
            keys_.push_back(cliJsonString(column.name) + ":");
    }

    CliTable &text(std::string_view value) override {
        if (value.empty())
            return none();
        key();
        line_ += cliJsonString(value);
        return *this;
    }
    CliTable &number(uint64_t value) override {
        key();
        addNumber(line_, value);
        return *this;
    }
    CliTable &hex(uint64_t value, unsigned) override { return number(value); }
    CliTable &list(std::span<const CliItem> items) override {
        key();
        line_ += '[';
        for (const CliItem &item : items) {
            line_ += &item == items.data() ? "" : ",";
            addJsonItem(line_, item);
        }
        line_ += ']';
        return *this;
    }
    CliTable &none() override {
        ++at_;
        return *this;
    }
    void endRow() override {
        line_ += line_.empty() ? "{}\n" : "}\n";
        cliPrint(line_);
        line_.clear();
        at_ = 0;
        ++rows_;
    }
    void finish() override {}

private:
    void key() {
        line_ += line_.empty() ? '{' : ',';
        line_ += keys_[at_++];
    }

    std::vector<std::string> keys_;
    std::string line_;
    size_t at_ = 0;
};

class CsvTable final : public CliTable {
public:
    explicit CsvTable(std::vector<CliColumn> columns) : CliTable(std::move(columns)) {
        for (const CliColumn &column : columns_)
            text(column.name);
        line_ += '\n';
        at_ = 0;
        cliPrint(line_);
        line_.clear();
    }

    CliTable &text(std::string_view value) override {
        comma();
        if (value.find_first_of(",\"\r\n") == value.npos) {
            line_ += value;
            return *this;
        }
        line_ += '"';
        for (const char c : value) {
            if (c == '"')
                line_ += '"';
            line_ += c;
        }
        line_ += '"';
        return *this;
    }
    CliTable &number(uint64_t value) override {
        comma();
        addNumber(line_, value);
        return *this;
    }
    CliTable &hex(uint64_t value, unsigned digits) override {
        comma();
        addHex(line_, value, digits);
        return *this;
    }
    CliTable &list(std::span<const CliItem> items) override { return text(joined(items)); }
    CliTable &none() override {
        comma();
        return *this;
    }
    void endRow() override {
        while (at_ < columns_.size())
            comma();
        line_ += '\n';
        cliPrint(line_);
        line_.clear();
        at_ = 0;
        ++rows_;
    }
    void finish() override {}

private:
    void comma() {
        if (at_++ != 0)
            line_ += ',';
    }

    std::string line_;
    size_t at_ = 0;
};

/// Keeps all cells, for the widths of the columns are known at the end only.
class TextTable : public CliTable {
public:
    explicit TextTable(std::vector<CliColumn> columns) : CliTable(std::move(columns)), widths_(columns_.size()) {}

    CliTable &text(std::string_view value) override {
        cells_ += value;
        return end();
    }
    CliTable &number(uint64_t value) override {
        addNumber(cells_, value);
        return end();
    }
    CliTable &hex(uint64_t value, unsigned digits) override {
        addHex(cells_, value, digits);
        return end();
    }
    CliTable &list(std::span<const CliItem> items) override { return text(joined(items)); }
    CliTable &none() override { return end(); }
    void endRow() override {
        while (at_ < columns_.size())
            end();
        at_ = 0;
        ++rows_;
    }
    void finish() override;

private:
    CliTable &end() {
        const size_t size = cells_.size() - (ends_.empty() ? 0 : ends_.back());
        widths_[at_] = std::max(widths_[at_], size);
        ends_.push_back(cells_.size());
        ++at_;
        return *this;
    }
    void addCell(std::string &line, size_t column, std::string_view cell, bool isLast) const;

    std::string cells_;        ///< one behind the other
    std::vector<size_t> ends_; ///< where each one ends
    std::vector<size_t> widths_;
    size_t at_ = 0;
};

void TextTable::addCell(std::string &line, size_t column, std::string_view cell, bool isLast) const {
    const size_t room = widths_[column] - std::min(widths_[column], cell.size());
    if (columns_[column].isRight)
        line.append(room, ' ');
    line += cell;
    if (!isLast)
        line.append(columns_[column].isRight ? 2 : room + 2, ' ');
}

void TextTable::finish() {
    std::vector<size_t> shown;
    for (size_t column = 0; column < columns_.size(); ++column) {
        if (columns_[column].isHidden || (columns_[column].isSpare && widths_[column] == 0))
            continue;
        widths_[column] = std::max(widths_[column], columns_[column].name.size());
        shown.push_back(column);
    }
    if (rows_ == 0)
        return;
    const auto printLine = [&](const auto &cellOf, const char *before, const char *behind) {
        std::string line;
        for (const size_t column : shown)
            addCell(line, column, cellOf(column), column == shown.back());
        line.erase(line.find_last_not_of(' ') + 1);
        cliPrint(before + line + behind + "\n");
    };
    const bool color = cliHasColor();
    printLine([&](size_t column) { return std::string_view(columns_[column].name); }, color ? "\033[1m" : "",
              color ? "\033[0m" : "");
    for (size_t row = 0; row < rows_; ++row) {
        printLine(
            [&](size_t column) {
                const size_t cell = row * columns_.size() + column;
                const size_t begin = cell == 0 ? 0 : ends_[cell - 1];
                return std::string_view(cells_).substr(begin, ends_[cell] - begin);
            },
            "", "");
    }
}

} // namespace

std::unique_ptr<CliTable> CliTable::make(CliFormat format, std::vector<CliColumn> columns) {
    if (format == CliFormat::JSON)
        return std::make_unique<JsonTable>(std::move(columns));
    if (format == CliFormat::CSV)
        return std::make_unique<CsvTable>(std::move(columns));
    return std::make_unique<TextTable>(std::move(columns));
}
