#!/bin/bash
# Times a routed frame as a whole process on the sample configuration, in pairs on this machine: from a front port and
# from the fabric against `cat` of the dump to nowhere, and from a front port against the load of the model alone.
#
# Usage: bench/route.sh [<pairs>]          (the number of pairs is 21 if not given)
set -euo pipefail
source "$(dirname "$0")/pairs.sh"

build load_dump regdec_tsr regenc_tsr
frame=0200000000b20200000000a19000000102030405060708090a0b0c0d0e0f
dump=$work/switch.dmp
sample_dump "$dump"

subject() { micros 0 "$built/regdec_tsr" "$dump" route port 1 frame "$frame"; }
yardstick() { micros 0 cat "$dump"; }
pairs "${1:-21}" route cat 3

yardstick() { micros 0 "$built/bench/load_dump" "$dump"; }
pairs "${1:-21}" route load 1.25

subject() { micros 0 "$built/regdec_tsr" "$dump" route port 20 frame "$frame"; }
yardstick() { micros 0 cat "$dump"; }
pairs "${1:-21}" "route from the fabric" cat 1.5
