#pragma once
// Chips and frames by chance, plausible enough that frames get deep into the stages.

#include <cstdint>
#include <random>
#include <vector>

#include "dump_builder.h"

/// Fills the dump from `seed`: every word by chance, except for the registers without which each frame would end in the
/// first checks, and for some entries of the TCAMs, which match every key.
void randomChip(DumpBuilder &dump, uint64_t seed);

/// The source of frames by chance.
class FrameMaker {
public:
    explicit FrameMaker(uint64_t seed) : random_(seed) {}

    /// Ethernet with or without TRILL and tags, then LLC/SNAP, IPv4, IPv6, FCoE, FIP or noise; now and then cut short.
    /// At most 250 bytes.
    std::vector<uint8_t> frame();

    /// A shim and a frame as they come from the fabric; the shim's egress group is one that `dump` knows, mostly.
    std::vector<uint8_t> fabricFrame(const DumpBuilder &dump);

    /// A number below `n`.
    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random_() % n); }
    bool chance(unsigned percent) { return below(100) < percent; }

private:
    using Bytes = std::vector<uint8_t>;

    uint32_t oneOf(std::initializer_list<uint32_t> values) {
        return values.begin()[below(static_cast<uint32_t>(values.size()))];
    }
    Bytes noise(size_t n);
    Bytes mac();
    Bytes macFor(const Bytes &packet); ///< a multicast group's own address, mostly
    Bytes tags();
    Bytes trill(const Bytes &innerMacs);
    Bytes ipv4(const Bytes &payload, uint32_t ulp);
    Bytes ipv6(Bytes payload, uint32_t nxtHdr);
    Bytes layer4();
    Bytes ipv4Packet();
    Bytes ipv6Packet();
    Bytes pimRegister();
    Bytes payload();

    std::mt19937_64 random_;
};
