#!/bin/bash
# Builds the tools, assembles the sample dump and shows the tools' jobs on it.
#
# Usage: tools/demo.sh
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

tools/setup.sh
build() {
    cmake --preset release &&
        cmake --build --preset release --target regdec_tsr regenc_tsr regcmp_tsr regtab_tsr
}
if [[ -t 2 ]]; then
    echo "Building; the first time takes a minute or two." >&2
fi
if ! build >"$work/build.log" 2>&1; then
    cat "$work/build.log" >&2
    exit 1
fi

PATH=$root/build/release:$PATH
ln -s "$root/samples" "$work/samples"
cd "$work"

# Prints what the next commands show.
title() {
    printf '\n# %s\n' "$*"
}

# Prints a command line and runs it.
show() {
    printf '$ %s\n' "$1"
    bash -c "$1"
}

# Shows frame $2 on port $1, and what becomes of it behind the fabric.
follow() {
    show "regdec_tsr switch.dmp route port $1 frame $2"
    local forwarded
    forwarded=$(regdec_tsr switch.dmp route port "$1" frame "$2" | sed -n 's/^Output_frame //p')
    show "regdec_tsr switch.dmp route port 12 frame $forwarded"
}

title "A dump from readable text, and a few of the ten million lines of its listing"
show "regenc_tsr switch.dmp samples/switch.reg"
show "regdec_tsr switch.dmp >switch.txt"
show "head -n 20 switch.txt"
show "grep 'rte_l2_vlan_mtu\[16\]' switch.txt"

title "A frame to a known station: the result behind its shim, and the frame as port 2 sends it"
follow 1 0200000000b20200000000a19000000102030405060708090a0b0c0d0e0f

title "A packet to 100.64.1.9, which the sample routes"
follow 1 0200000000fe0200000000a1080045000014000040004000cb9c0a00000564400109

title "Dropped by configuration: port 11 does not forward, and an ACL entry drops Telnet"
show "regdec_tsr switch.dmp route port 11 frame 0200000000b20200000000a19000000102030405060708090a0b0c0d0e0f"
telnet=0200000000b20200000000a108004500002800004000400625df0a0000050a000109c00000170000000000000000500200000000000000
show "regdec_tsr switch.dmp route port 1 frame $telnet"

title "Trapped: LLDP goes to CPU queue 4, which only the verbose run tells"
show "regdec_tsr switch.dmp route port 1 frame 0180c200000e0200000000a188cc0000"
show "regdec_tsr switch.dmp route port 1 frame 0180c200000e0200000000a188cc0000 topspin | grep '^!!!'"

title "Why: of the trace of a frame whose source no station can have, the lines of the parser and of the drop"
frame=0200000000b20300000000a19000000102030405060708090a0b0c0d0e0f
show "regdec_tsr switch.dmp route port 1 frame $frame topspin | grep -e 'PRC ' -e DROP -e DRP"

title "What differs between two dumps"
show "echo 'ephy_reg[3].rte_prc_l2_ctl.rte_prc_l2_lu_en = 0' >change.reg"
show "regenc_tsr changed.dmp change.reg from switch.dmp"
# Status 1 says that the dumps differ.
show "regcmp_tsr switch.dmp changed.dmp" || (($? == 1))

if command -v regtab_tsr >/dev/null; then
    title "The same by field; VLANs, stations and routes as tables, and a register"
    show "regtab_tsr switch.dmp diff changed.dmp" || (($? == 1))
    show "regtab_tsr switch.dmp list vlan"
    show "regtab_tsr switch.dmp list fdb"
    show "regtab_tsr switch.dmp list routes"
    show "regtab_tsr switch.dmp show 'ephy_reg[3].rte_prc_l2_ctl'"
fi
