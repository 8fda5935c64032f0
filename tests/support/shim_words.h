#pragma once
// The fields of the shim header by name, as regdec_tsr(1) lists them: to read one out of a run's output, and to hold it
// against what a case expects.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The shim's words in host order.
using ShimWords = std::array<uint32_t, 6>;

struct ShimField {
    std::string_view name;
    unsigned word, hi, lo;

    unsigned width() const { return hi - lo + 1; }
    uint32_t of(const ShimWords &words) const;
    void put(ShimWords &words, uint32_t value) const; ///< `value` has at most `width()` bits
};

/// All fields, in the order of the words.
std::span<const ShimField> shimFields();

/// The words behind the last "Output_frame" of `out` that has a shim: six of eight digits, hyphens between them. Throws
/// `std::runtime_error` when there is none.
ShimWords shimOfOutput(const std::string &out);

/// What of `expected` does not hold in the output `out`, one message each; none when all holds. `expected` has a line
/// "shim.<field> = <value>" for each field; blank lines and comments from '#' are skipped, and a line that is none of
/// these is a message too. A message begins with the number of the line.
std::vector<std::string> shimDifferences(const std::string &expected, const std::string &out);
