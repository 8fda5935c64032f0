#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "asic_reg_dump.h"

/// A listing's line for the word behind the one read last: the same text but for its place, its value and the number
/// that counts up at the end of its name. Nearly all lines of a listing are so foretold, which saves reading their
/// names.
class RegencListingRun {
public:
    /// What a line that was foretold says.
    struct Word {
        size_t lineSize; ///< without the line end
        uint32_t dumpOff;
        uint32_t value;
        std::string_view name; ///< until the next line is read
    };

    /// Foretells the line behind `line`, which gave the word at `chipOff` and `dumpOff` of the leaf `row`, whatever its
    /// value. A line that is not written as the listing writes it foretells nothing.
    void begin(std::string_view line, const regdump_map_t &row, uint32_t chipOff, uint32_t dumpOff);

    /// Foretells nothing.
    void end() { left_ = 0; }

    /// Takes the line that begins `text` if it is the one foretold and its line end is there. Returns false, and
    /// foretells what it did, if not.
    bool take(std::string_view text, Word &word);

private:
    void next();

    uint32_t left_ = 0; ///< lines that can be foretold
    uint32_t chipOff_ = 0;
    uint32_t dumpOff_ = 0;
    size_t size_ = 0;
    size_t numberEnd_ = 0;              ///< behind the number's last digit
    char text_[REGDUMP_NAME_SIZE + 64]; ///< the line foretold, with any value
};
