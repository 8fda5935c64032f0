#!/bin/bash
# Builds the tool, assembles the sample dump and shows the tool's jobs on it.
#
# Usage: tools/demo.sh
set -euo pipefail
cd "$(dirname "$0")/.."

tools/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target regdec_tsr regenc_tsr regcmp_tsr
bin=build/release
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dump=$work/switch.dmp

# Prints a command and runs it.
show() {
    printf '\n$ %s\n' "$*"
    "$@"
}

show "$bin/regenc_tsr" "$dump" samples/switch.reg

printf '\n$ %s | (first and last lines)\n' "$bin/regdec_tsr $dump"
"$bin/regdec_tsr" "$dump" >"$work/listing.txt"
head -n 20 "$work/listing.txt"
echo "..."
tail -n 5 "$work/listing.txt"

# A known station; a packet to a route; a source that no station can have, dropped, with the trace that says why.
show "$bin/regdec_tsr" "$dump" route port 1 frame 0200000000b20200000000a19000000102030405060708090a0b0c0d0e0f
show "$bin/regdec_tsr" "$dump" route port 1 frame \
    0200000000fe0200000000a108004500001400004000400025dd0a0000050a000109
show "$bin/regdec_tsr" "$dump" route port 1 frame 0200000000b20300000000a19000000102030405060708090a0b0c0d0e0f topspin

printf '\n$ echo "ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 0" >change.reg'
echo 'ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 0' >"$work/change.reg"
show "$bin/regenc_tsr" "$work/changed.dmp" "$work/change.reg" from "$dump"
# Status 1 says that the dumps differ.
show "$bin/regcmp_tsr" "$dump" "$work/changed.dmp" || (($? == 1))
