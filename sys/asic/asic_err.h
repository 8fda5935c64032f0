#pragma once

/// Result codes of the chip library: 0 is success, failures are negative.
enum asic_err_t : int {
    ASIC_OK = 0,
    ASIC_RESOURCE_FULL = -30,
    ASIC_ENTRY_NOT_EXIST = -34,
    ASIC_INV_DATA = -125,
};
