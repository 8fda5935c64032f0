#include "regenc_tsr_listing.h"

#include <charconv>
#include <cstring>

// A line's columns: "0x00001008:  0x0000002a  ftc_cntl".
static constexpr size_t CHIP_OFF_COLUMN = 2;
static constexpr size_t VALUE_COLUMN = 15;
static constexpr size_t NAME_COLUMN = 25;
static constexpr size_t HEX_DIGITS = 8;

/// Reads the eight hexadecimal digits at `text`. Returns false when they are not eight.
static bool readHex(const char *text, uint32_t &value) {
    const auto [end, status] = std::from_chars(text, text + HEX_DIGITS, value, 16);
    return status == std::errc() && end == text + HEX_DIGITS;
}

/// How far the number counts that ends the names of the leaf `row`: its last subscript, or the number of a word in an
/// element; 0 for a leaf of one word.
static uint32_t innermostLimit(const regdump_map_t &row) {
    if (row.asic_size > 4)
        return row.dump_size / 4;
    if (row.depth[0] == 1 && row.depth[1] == 0)
        return 0;
    size_t dim = 0;
    while (dim + 1 < REGDUMP_MAX_DIMS && row.depth[dim + 1] != 0)
        ++dim;
    return row.depth[dim];
}

void RegencListingRun::begin(std::string_view line, const regdump_map_t &row, uint32_t chipOff, uint32_t dumpOff) {
    end();
    const uint32_t limit = innermostLimit(row);
    if (limit == 0 || line.size() <= NAME_COLUMN || line.size() + 2 > sizeof(text_))
        return;
    uint32_t written = 0;
    if (line.substr(0, CHIP_OFF_COLUMN) != "0x" || line.substr(CHIP_OFF_COLUMN + HEX_DIGITS, 5) != ":  0x" ||
        line.substr(VALUE_COLUMN + HEX_DIGITS, 2) != "  " || !readHex(line.data() + CHIP_OFF_COLUMN, written) ||
        written != chipOff)
        return;
    const size_t numberEnd = line.find_last_of("0123456789") + 1;
    size_t numberStart = numberEnd;
    while (numberStart > NAME_COLUMN && line[numberStart - 1] >= '0' && line[numberStart - 1] <= '9')
        --numberStart;
    uint32_t number = 0;
    std::from_chars(line.data() + numberStart, line.data() + numberEnd, number);
    if (numberStart + 1 < numberEnd && line[numberStart] == '0')
        return; // counted up, it would not keep its zeros
    if (number + 1 >= limit)
        return;
    left_ = limit - number;
    chipOff_ = chipOff;
    dumpOff_ = dumpOff;
    size_ = line.size();
    numberEnd_ = numberEnd;
    std::memcpy(text_, line.data(), line.size());
    next();
}

void RegencListingRun::next() {
    if (--left_ == 0)
        return;
    chipOff_ += 4;
    dumpOff_ += 4;
    for (uint32_t place = 0, rest = chipOff_; place < HEX_DIGITS; ++place, rest >>= 4)
        text_[CHIP_OFF_COLUMN + HEX_DIGITS - 1 - place] = "0123456789abcdef"[rest & 15];
    size_t at = numberEnd_;
    while (text_[at - 1] == '9')
        text_[--at] = '0';
    if (text_[at - 1] >= '0' && text_[at - 1] <= '8') {
        ++text_[at - 1];
        return;
    }
    std::memmove(text_ + at + 1, text_ + at, size_ - at);
    text_[at] = '1';
    ++size_;
    ++numberEnd_;
}

bool RegencListingRun::take(std::string_view text, Word &word) {
    if (left_ == 0 || text.size() <= size_ || text[size_] != '\n' ||
        std::memcmp(text.data(), text_, VALUE_COLUMN) != 0 ||
        std::memcmp(text.data() + VALUE_COLUMN + HEX_DIGITS, text_ + VALUE_COLUMN + HEX_DIGITS,
                    size_ - VALUE_COLUMN - HEX_DIGITS) != 0 ||
        !readHex(text.data() + VALUE_COLUMN, word.value))
        return false;
    word.lineSize = size_;
    word.dumpOff = dumpOff_;
    word.name = text.substr(NAME_COLUMN, size_ - NAME_COLUMN);
    next();
    return true;
}
