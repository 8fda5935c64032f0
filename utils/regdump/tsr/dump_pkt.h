#pragma once
// Frames and shims as text.

#include <cstdint>

/// Prints `len` bytes of `pkt` as hexadecimal digits without separators. With `contents_only` 0 a line with the length
/// precedes them and two line ends follow; with 1 the digits stand alone, without a line end.
void dump_pkt(const uint8_t *pkt, int len, int contents_only);

/// Prints the six words of a shim as hexadecimal digits, each followed by a dash, without a line end.
void dump_shim(const uint32_t *shim_wd);
