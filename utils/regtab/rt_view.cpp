#include "rt_view.h"

#include <algorithm>
#include <cassert>
#include <cctype>

namespace {

constexpr unsigned kMaxBits = 64;

TblField fieldOf(const char *name, TblKind kind, unsigned width) {
    TblField field{};
    field.name = name;
    field.width = static_cast<uint16_t>(width);
    field.count = 1;
    field.kind = kind;
    return field;
}

/// The kinds that a column of addresses may have.
struct AddrKind {
    TblKind kind;
    unsigned width;
};
constexpr AddrKind kAddrKinds[] = {{TblKind::IPV4, 32}, {TblKind::IPV6, 128}, {TblKind::FCID, 24}};

bool isNumberKind(TblKind kind) {
    return kind == TblKind::NUM || kind == TblKind::BOOL || kind == TblKind::VID || kind == TblKind::PROT ||
           kind == TblKind::PORT;
}

bool isHexKind(TblKind kind) {
    return kind == TblKind::HEX || kind == TblKind::GID || kind == TblKind::ETYP;
}

/// Whether `text` holds `word`, with no letter or digit right before or behind it.
bool hasWord(std::string_view text, std::string_view word) {
    const auto isLetter = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; };
    if (word.empty())
        return text.empty();
    for (size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) {
        const size_t behind = at + word.size();
        if ((at == 0 || !isLetter(text[at - 1])) && (behind == text.size() || !isLetter(text[behind])))
            return true;
    }
    return false;
}

} // namespace

std::string rtBitsText(uint64_t set) {
    std::string text;
    for (unsigned first = 0; first < kMaxBits; ++first) {
        if ((set >> first & 1) == 0)
            continue;
        unsigned last = first;
        while (last + 1 < kMaxBits && (set >> (last + 1) & 1) != 0)
            ++last;
        text.append(text.empty() ? "" : ",").append(std::to_string(first));
        if (last != first)
            text.append(last == first + 1 ? "," : "-").append(std::to_string(last));
        first = last;
    }
    return text;
}

const TblMem &rtMem(std::string_view name) {
    const TblMem *mem = tblMem(name);
    assert(mem != nullptr);
    return *mem;
}

/// Whether the value of a condition can be read as an address of some kind.
static bool isAddr(const RtCond &cond) {
    return std::any_of(std::begin(kAddrKinds), std::end(kAddrKinds), [&](const AddrKind &addr) {
        TblMatch match;
        return tblReadMatch(cond.value, addr.kind, addr.width, match) == TblRead::OK;
    });
}

RtRows::RtRows(const RtRun &run, std::span<const RtColumn> columns, std::vector<RtCond> conds, bool isCounting)
    : run_(run), columns_(columns), isCounting_(isCounting), lines_(run.image()), cells_(columns.size()) {
    std::vector<std::string_view> names;
    std::vector<CliColumn> shown;
    for (const RtColumn &column : columns) {
        names.emplace_back(column.name);
        fields_.push_back(fieldOf(column.name, column.kind, column.width));
        const bool isRight = column.cell == RtCell::VALUE && isNumberKind(column.kind);
        shown.push_back({.name = column.name, .isRight = isRight, .isSpare = column.isSpare});
    }
    for (RtCond &cond : conds) {
        const auto column = std::find(names.begin(), names.end(), cond.field);
        if (column == names.end() || cond.elem)
            throw RtError("there is no column " + cond.field + tblNear(cond.field, names, true));
        const auto at = static_cast<size_t>(column - names.begin());
        Test test{at, std::move(cond), {}};
        if (columns[at].cell == RtCell::VALUE || columns[at].cell == RtCell::MATCH)
            test.match = test.cond.match(columns[at].kind, columns[at].width);
        else if (columns[at].cell == RtCell::BITS)
            test.match = test.cond.match(TblKind::NUM, 6);
        else if (columns[at].cell == RtCell::ADDR && !isAddr(test.cond))
            throw RtError("'" + test.cond.value + "' is no address for " + test.cond.field);
        tests_.push_back(std::move(test));
    }
    if (isCounting || run.opt.isText)
        return;
    rtPlaceColumns(shown);
    table_ = CliTable::make(run.opt.format, std::move(shown));
}

RtRows::Cell &RtRows::next() {
    assert(at_ < cells_.size());
    Cell &cell = cells_[at_++];
    cell.isSet = true;
    cell.hasNumber = false;
    return cell;
}

RtRows &RtRows::value(uint64_t value) {
    return wide({0, 0, static_cast<uint32_t>(value >> 32), static_cast<uint32_t>(value)});
}
RtRows &RtRows::wide(const TblWide &value) {
    return match({value, tblAllOnes(columns_[at_].width)});
}
RtRows &RtRows::match(const TblMatch &match) {
    next().match = match;
    return *this;
}
RtRows &RtRows::addr(const TblMatch &match, TblKind kind, unsigned width) {
    Cell &cell = next();
    cell.match = match;
    cell.kind = kind;
    cell.width = width;
    return *this;
}
RtRows &RtRows::text(std::string_view value) {
    if (value.empty())
        return none();
    next().text = value;
    return *this;
}
RtRows &RtRows::text(std::string_view value, uint64_t number) {
    Cell &cell = next();
    cell.text = value;
    cell.hasNumber = true;
    cell.number = number;
    return *this;
}
RtRows &RtRows::bits(uint64_t set) {
    if (set == 0)
        return none();
    next().number = set;
    return *this;
}
RtRows &RtRows::list(std::vector<std::string> values) {
    if (values.empty())
        return none();
    next().list = std::move(values);
    return *this;
}
RtRows &RtRows::none() {
    next().isSet = false;
    return *this;
}
RtRows &RtRows::part(const TblMem &mem, uint32_t place) {
    parts_.push_back({&mem, place});
    return *this;
}

bool RtRows::fits(const Test &test) const {
    const Cell &cell = cells_[test.column];
    const std::string &value = test.cond.value;
    if (!cell.isSet)
        return value.empty();
    switch (columns_[test.column].cell) {
    case RtCell::VALUE:
    case RtCell::MATCH:
        return rtMeet(cell.match, test.match);
    case RtCell::ADDR: {
        TblMatch match;
        return tblReadMatch(value, cell.kind, cell.width, match) == TblRead::OK && rtMeet(cell.match, match);
    }
    case RtCell::BITS:
        return (cell.number >> test.match.value[3] & 1) != 0;
    case RtCell::LIST:
        return std::any_of(cell.list.begin(), cell.list.end(), [&](const auto &item) { return hasWord(item, value); });
    case RtCell::TEXT:
        break;
    }
    TblWide number;
    if (cell.hasNumber && tblReadValue(value, TblKind::NUM, 64, number) == TblRead::OK)
        return (uint64_t{number[2]} << 32 | number[3]) == cell.number;
    return hasWord(cell.text, value);
}

void RtRows::end() {
    while (at_ < cells_.size())
        none();
    at_ = 0;
    if (std::all_of(tests_.begin(), tests_.end(), [&](const Test &test) { return fits(test); })) {
        ++rows_;
        if (!isCounting_)
            print();
    }
    parts_.clear();
}

void RtRows::print() {
    if (run_.opt.isText) {
        for (const Part &part : parts_)
            lines_.put(*part.mem, part.place);
        return;
    }
    for (size_t i = 0; i < cells_.size(); ++i) {
        const Cell &cell = cells_[i];
        if (!cell.isSet) {
            table_->none();
            continue;
        }
        const uint64_t number = uint64_t{cell.match.value[2]} << 32 | cell.match.value[3];
        std::vector<CliItem> items;
        switch (columns_[i].cell) {
        case RtCell::VALUE:
        case RtCell::MATCH:
            if (cell.match.mask != tblAllOnes(columns_[i].width))
                table_->text(tblShowMatch(fields_[i], cell.match));
            else if (isNumberKind(columns_[i].kind))
                table_->number(number);
            else if (isHexKind(columns_[i].kind) && columns_[i].width <= 64)
                table_->hex(number);
            else
                table_->text(tblShowValue(fields_[i], cell.match.value));
            break;
        case RtCell::ADDR:
            table_->text(tblShowMatch(fieldOf(columns_[i].name, cell.kind, cell.width), cell.match));
            break;
        case RtCell::BITS:
            if (run_.opt.format == CliFormat::JSON) {
                for (unsigned bit = 0; bit < kMaxBits; ++bit) {
                    if ((cell.number >> bit & 1) != 0)
                        items.push_back({"", bit});
                }
                table_->list(items);
            } else {
                table_->text(rtBitsText(cell.number));
            }
            break;
        case RtCell::LIST:
            if (run_.opt.format == CliFormat::JSON) {
                for (const std::string &item : cell.list)
                    items.push_back({item, 0});
                table_->list(items);
            } else {
                std::string text;
                for (const std::string &item : cell.list)
                    text.append(text.empty() ? "" : ", ").append(item);
                table_->text(text);
            }
            break;
        case RtCell::TEXT:
            table_->text(cell.text);
            break;
        }
    }
    if (!parts_.empty())
        rtPutPlace(*table_, *parts_[0].mem, parts_[0].place);
    table_->endRow();
}

void RtRows::finish() {
    if (table_ != nullptr)
        table_->finish();
}

std::span<const RtView> rtViews() {
    static const RtView views[] = {
#define RT_VIEW(name, text) {#name, text, kColumns_##name, list_##name},
#include "rt_view.def"
    };
    return views;
}

const RtView *rtView(std::string_view name) {
    for (const RtView &view : rtViews()) {
        if (view.name == name)
            return &view;
    }
    return nullptr;
}
