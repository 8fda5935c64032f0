#!/bin/bash
# Times the load of the model from a full-size random dump against a plain program that reads the same file and copies
# it word by word, swapped and masked: whole processes, in pairs on this machine. Prints the load's peak memory too.
#
# Usage: bench/load.sh [<pairs>]           (the number of pairs is 21 if not given)
set -euo pipefail
source "$(dirname "$0")/pairs.sh"

build load_dump load_yardstick
dump=$work/random.dmp
random_dump "$dump"

subject() { micros 0 "$built/bench/load_dump" "$dump"; }
yardstick() { micros 0 "$built/bench/load_yardstick" "$dump" fffffff3; }
pairs "${1:-21}" load "word by word" 1.5

"$built/bench/load_dump" "$dump" | awk '{ printf "peak memory: %.1f MB (wanted: below 130)\n", $1 * 1024 / 1000000 }'
