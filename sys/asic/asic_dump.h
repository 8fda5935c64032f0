#pragma once

#include <cstdint>

/// A chip's object handle on the switch that wrote the dump.
using opaque_t = uint32_t;

/// The version of the dump header that is written and understood.
constexpr uint32_t ASIC_DUMP_HDR_VER = 1;

/// The header of a register dump file: eight words, big-endian in the file. The chip's image follows it.
struct asic_dump_hdr_t {
    uint32_t ver;
    opaque_t oid;
    uint32_t vendor_id;
    uint32_t chip_id;
    uint32_t chip_ver;
    uint32_t chip_base_addr;
    int32_t epoch_sec;
    int32_t epoch_usec;
};

static_assert(sizeof(asic_dump_hdr_t) == 32);
