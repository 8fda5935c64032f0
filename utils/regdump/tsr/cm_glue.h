#pragma once
// The shim's two forms, the command line's frame, and the crossings between the stages' side bands.

#include "cm.h"

/// Reads hexadecimal text into bytes: `frame_len` characters of `rx_frame_char`, other characters skipped, a lone last
/// digit taken as the high one. With `has_shim` the first `shim_size` bytes go to `shim`, the others to `rx_buf`, whose
/// first `rx_buf_size` bytes are cleared before. `*raw_len` is the count of the output that was being filled at the
/// end of the text, so 0 right behind a whole shim.
void frame_raw(uint8_t *rx_buf, int has_shim, int rx_buf_size, const char *rx_frame_char, int frame_len,
               uint32_t *raw_len, uint8_t *shim, int shim_size);

/// The shim as six wire words.
void shim_fmt(const shim_t *shim, uint32_t *shim_wd);

/// The shim from six wire words. The low bit of `shim_len` is not carried over, as on the chip.
void shim_str_2_struct(const uint32_t *shim_wd, shim_t *shim);

/// Checksum of the first two wire words for `tag_cksum`: 4 bits.
int shim_chksum(const uint32_t *shim_wd);

/// Recomputes the shim's checksum byte `w5_7_0` unless `shim_len` is set. Returns 0.
int recalcShimCrc(shim_t *shim);

/// RTE to the ingress queue stage.
void rte_2_iqs_side(const shim_t *shim, const bp_shim_t *bp_shim, iqs_side_band_t *iqs_side);

/// Shim to EQS: the queue and port of the shim's egid.
void shim_2_eqs_side(const shim_t *shim, const tsr_dmp_t *tsr_reg, eqs_side_band_t *eqs_side);

/// EQS to EMC.
void eqs_2_emc_side(const shim_t *shim, const eqs_side_band_t *eqs_side, emc_side_band_t *emc_side);

/// Register file to EMC, for the port in `emc_side`.
void rte_2_emc_side(const shim_t *shim, const tsr_dmp_t *tsr_reg, emc_side_band_t *emc_side);
