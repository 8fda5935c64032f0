#!/bin/bash
# Times the load of the model from a full-size random dump against a plain program that reads the same file and copies
# it word by word, swapped and masked: whole processes, in pairs on this machine. Prints the median ratio and the
# load's peak memory.
#
# Usage: bench/load.sh [<pairs>]           (the number of pairs is 21 if not given)
set -euo pipefail

pairs=${1:-21}
root=$(cd "$(dirname "$0")/.." && pwd)
image_size=39752492

cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target load_dump load_yardstick >/dev/null
load=$root/build/release/bench/load_dump
yardstick=$root/build/release/bench/load_yardstick

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dump=$work/random.dmp
{
    # version 1, object 0, vendor 0x7e51, chip 0x20, revision 2, base address 0, time 0.0
    printf '\000\000\000\001\000\000\000\000\000\000\176\121\000\000\000\040'
    printf '\000\000\000\002\000\000\000\000\000\000\000\000\000\000\000\000'
    head -c "$image_size" /dev/urandom
} >"$dump"

# Prints the microseconds that the command takes.
micros() {
    local start end
    start=$(date +%s%N)
    "$@" >/dev/null
    end=$(date +%s%N)
    echo $(((end - start) / 1000))
}

# Prints the middle one of the numbers on standard input.
median() {
    sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'
}

# Once each beforehand, so that both find their input in memory.
micros "$load" "$dump" >/dev/null
micros "$yardstick" "$dump" fffffff3 >/dev/null

for ((i = 1; i <= pairs; i++)); do
    a=$(micros "$load" "$dump")
    b=$(micros "$yardstick" "$dump" fffffff3)
    ratio=$(awk -v a="$a" -v b="$b" 'BEGIN { printf "%.2f", a / (b > 0 ? b : 1) }')
    echo "pair $i: load $a us, yardstick $b us, ratio $ratio"
    echo "$ratio" >>"$work/ratios"
done
echo "median ratio: $(median <"$work/ratios") (wanted: at most 1.50)"

"$load" "$dump" | awk '{ printf "peak memory: %.1f MB (wanted: below 130)\n", $1 * 1024 / 1000000 }'
