#pragma once
// The place of a field in a word, as a value.

#include "base/cmUtl.h"

#include <cstdint>

/// Bits `hi` to `lo` of a word; 31 >= hi >= lo.
struct BitRange {
    unsigned hi;
    unsigned lo;

    constexpr unsigned width() const { return hi - lo + 1; }

    /// The field of `word`, shifted down.
    constexpr uint32_t of(uint32_t word) const { return bits(word, hi, lo); }

    /// The field of `word` where it stands; the other bits are 0.
    constexpr uint32_t inPlace(uint32_t word) const { return setBits(0, hi, lo, of(word)); }

    /// `value` cut to the field's width.
    constexpr uint32_t fit(uint32_t value) const { return bits(value, hi - lo, 0); }
};
