#pragma once
// The egress MAC stage.

#include "cm.h"

/// Edits a frame of `pkt_len` bytes into what leaves the port. On success `*frm_out` and `*out_frm_len` are arrays of
/// one frame, or of `eqs_nfrag` frames, that the caller frees with emc_free_frames; returns 0. A dropped frame returns
/// 1 and sets neither. Bytes behind the end of a short frame read as zero; no output is longer than its buffer. Throws
/// `std::bad_alloc` without memory for the frames; what was allocated until then is lost.
int emc_egress_proc(const uint8_t *frm_in, uint32_t pkt_len, const shim_t *shim, const emc_side_band_t *sideband,
                    uint8_t ***frm_out, uint32_t **out_frm_len, const tsr_dmp_t *tsr_reg);

/// Frees what emc_egress_proc returned: `frm_cnt` frames.
void emc_free_frames(uint8_t **frm_out, uint32_t *out_frm_len, uint32_t frm_cnt);

/// Checksums and remaps that this model leaves out: each is 0.
uint32_t compute_cksum(void);
uint32_t pri_remap(void);
uint32_t dp_remap(void);
