#pragma once
// The ingress queue stage.

#include "cm.h"

/// Finds what HMC has to edit in a frame that leaves the RTE: the new addresses, or the shim fields of a span copy.
/// Reads `sideband` and fills its `iqs_hmc_hdr`. Returns 0.
int iqs_ingress_proc(uint8_t *frm_in, uint32_t pkt_len, shim_t *shim, iqs_side_band_t *sideband,
                     const tsr_dmp_t *tsr_reg);
