#pragma once
// The shape of the chip that the model shares.

#include <cstdint>

/// Front ports, numbered from 0. Frames with a higher port number come from the fabric.
inline constexpr uint32_t kPortCnt = 12;
