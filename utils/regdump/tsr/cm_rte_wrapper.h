#pragma once
// The RTE model as a stage of the chip.

#include "cm.h"

/// Runs a frame of `pkt_len` bytes (FCS included) from `port` through the loaded model and fills both shims from the
/// result. Returns 0, or 1 for a drop with a reason, which it prints; the shims are then not filled.
int rte_ingress_proc(uint8_t *frm, uint32_t pkt_len, uint32_t port, shim_t *shim, bp_shim_t *bp_shim,
                     const tsr_dmp_t *tsr_reg, int verbose);
