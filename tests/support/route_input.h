#pragma once
// One input of the route fuzz target, and the chips that its inputs run on.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "dump_builder.h"

/// What one input asks for. Its bytes are
///
///     1 byte   port (low half; above 11 the fabric), verbose run (bit 4), number of the chip (bits 6 and 5)
///     1 byte   how many words are changed (low half)
///     8 bytes  for each of them: where, and the value, in host order
///     ...      the frame, or shim and frame
struct RouteInput {
    struct Change {
        uint32_t place, value;
    };

    uint32_t port = 0;
    bool verbose = false;
    uint32_t chip = 0;
    std::vector<Change> changes = {};
    std::vector<uint8_t> frame = {};

    /// The input's bytes.
    std::vector<uint8_t> bytes() const;

    /// Reads an input; a frame is cut at the length that a command line takes. Returns false when the bytes end before
    /// the frame.
    bool read(const uint8_t *data, size_t size);
};

constexpr uint32_t kRouteChips = 4;

/// The chip on which the end-to-end cases' stations, routes and RBridges are known; the others are by chance.
constexpr uint32_t kConfiguredChip = 3;

/// Fills the dump with the chip of that number.
void fillRouteChip(DumpBuilder &dump, uint32_t chip);
