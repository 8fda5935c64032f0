#pragma once
// What is fixed of the Tessara, for the programs about it.

#include <cstdint>

/// How a dump's header names the chip: the PCI vendor and device, and the first revision that is known here.
constexpr uint32_t TSR_VENDOR_ID = 0x7e51;
constexpr uint32_t TSR_CHIP_ID = 0x20;
constexpr uint32_t TSR_CHIP_VER_MIN = 2;

/// The front ports, numbered from 0. Port numbers above them mean the fabric.
constexpr uint32_t TSR_PORTS = 12;

/// Bytes of a dump's image.
constexpr uint32_t TSR_DUMP_SIZE = 39752492;
