#pragma once

#include "tsr_reg_dump.h"

#include <cstddef>
#include <cstdint>

/// What the command line asks to be routed.
struct RouteArgs {
    uint32_t rx_port = 0;        ///< up to 11 a front port, above that the fabric
    const char *frame = nullptr; ///< hexadecimal text
    size_t len = 0;              ///< characters of `frame`
    int verbose = 0;
};

/// Routes one frame through the chip that `tsr_reg` images, and prints what becomes of it. Returns the run's exit
/// value, 0 for every frame handled.
int regdec_route(const RouteArgs &args, tsr_dmp_t *tsr_reg);
