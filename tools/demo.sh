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

printf '\n$ echo "ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 0" >change.reg'
echo 'ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 0' >"$work/change.reg"
show "$bin/regenc_tsr" "$work/changed.dmp" "$work/change.reg" from "$dump"
# Status 1 says that the dumps differ.
show "$bin/regcmp_tsr" "$dump" "$work/changed.dmp" || (($? == 1))
