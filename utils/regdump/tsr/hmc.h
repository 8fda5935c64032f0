#pragma once
// The MAC-side ingress stage.

#include "cm.h"

/// Applies the edits that the ingress queue stage left in `sideband`: span fields to the shim, new addresses to the
/// frame. `frm` has at least 48 bytes whatever the frame's length. Returns 0.
int hmc_ingress_proc(uint8_t *frm, uint32_t pkt_len, shim_t *shim, iqs_side_band_t *sideband, const tsr_dmp_t *tsr_reg);
