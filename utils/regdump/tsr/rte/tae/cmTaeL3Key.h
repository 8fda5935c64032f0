#pragma once
// The fixed keys of the layer-3 ACL TCAMs: as the stages build them, and as the cells hold them.

#include "tbl/tsr_tbl.h"

#include <cstdint>

/// The plain keys, word 0 first.
struct L3PselIpv4TcamInKey {
    uint32_t word[8];
};
struct L3PselIpv6TcamInKey {
    uint32_t word[16];
};
struct L3PselFcoeTcamInKey {
    uint32_t word[8];
};

/// The same keys as the TCAMs compare them.
struct L3PselIpv4TcamInKeyR {
    uint32_t word[8];
};
struct L3PselIpv6TcamInKeyR {
    uint32_t word[16];
};
struct L3PselFcoeTcamInKeyR {
    uint32_t word[8];
};

/// The plain key of the fields, each cut to its width; bits without a field are 0. Other readings of the cells' bits do
/// not count.
L3PselIpv4TcamInKey plainKey(const TaeL3Ipv4 &fields);
L3PselIpv6TcamInKey plainKey(const TaeL3Ipv6 &fields);
L3PselFcoeTcamInKey plainKey(const TaeL3Fcoe &fields);

/// Moves each field of a key to its place in the TCAM and clears the rest; `dbg` prints both forms.
void ReshuffleKey(const L3PselIpv4TcamInKey *in, L3PselIpv4TcamInKeyR *out, int dbg);
void ReshuffleKey(const L3PselIpv6TcamInKey *in, L3PselIpv6TcamInKeyR *out, int dbg);
void ReshuffleKey(const L3PselFcoeTcamInKey *in, L3PselFcoeTcamInKeyR *out, int dbg);
