#pragma once
// The egress queue stage.

#include "cm.h"

/// Whether the egress stages explain themselves on standard output, as the last call of eqs_egress_proc set it.
int eqs_verbose(void);

/// Takes a frame of `pkt_len` bytes with its shim through the egress queues: logical port, suppression, VLAN, VPN and
/// MTU checks, fragments and tunnel parameters, all into `sideband`. Counts in the PIM counters of the image. Returns 0
/// when the frame goes on to EMC, 1 when it ends here; `drop` of the side band tells a drop from the CPU's way.
int eqs_egress_proc(const uint8_t *frm, uint32_t pkt_len, const shim_t *shim, eqs_side_band_t *sideband,
                    tsr_dmp_t *tsr_reg, int vb);

/// Clears the sequence counters of all logical ports.
void eqs_init(void);

/// The IP header of a frame without tags; nothing is parsed.
const uint8_t *find_ip_hdr_in_frm(const uint8_t *frm);

/// Whether the frame needs a PIM encapsulation; the answer also goes to `pim_encap` of the side band.
int pim_encap_required(const shim_t *shim, eqs_side_band_t *sideband, const tsr_dmp_t *tsr_reg);

/// Source suppression and VLAN filter; `pre` is 1 for the pass before queueing and 0 for the one after it. Return 1 to
/// drop the frame.
int l2_3_source_supp(const shim_t *shim, eqs_side_band_t *sideband, int pre, uint32_t elp, const tsr_dmp_t *tsr_reg);
int vlan_filtering(const shim_t *shim, eqs_side_band_t *sideband, int pre, uint32_t elp, const tsr_dmp_t *tsr_reg);
