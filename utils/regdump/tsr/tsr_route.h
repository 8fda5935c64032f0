#pragma once
// One frame through the stages of a road, with the verdict as a record.

#include "cm.h"
#include "tsr_reg_dump.h"
#include "verdict.h"

#include <cstddef>
#include <cstdint>
#include <vector>

/// The frame of a run, and the wire shim in front of it when it comes from the fabric.
struct Packet {
    /// Room behind the frame: for the FCS, the bytes that the model clears, and the addresses that HMC writes.
    static constexpr size_t kRoom = 100;

    std::vector<uint8_t> pkt; // kRoom bytes more than the frame has
    uint32_t pkt_len = 0;
    uint8_t wireShim[kShimBytes] = {};
};

/// Runs a frame from the front port `rx_port` through the loaded model and, where it goes on, through the ingress queue
/// and MAC stages. With `verbose` the stages tell what they do. `packet` is what goes on then. Returns false for a drop
/// with a reason, of which the model has told already.
bool routeIngress(Packet &packet, uint32_t rx_port, const tsr_dmp_t *tsr_reg, int verbose, Verdict &verdict);

/// Runs a frame from the fabric through the egress stages, which read the image and move counters of it on.
void routeEgress(Packet &packet, tsr_dmp_t *tsr_reg, int verbose, Verdict &verdict);
