#!/bin/bash
# Times a routed frame as a whole process against the load of the model alone, on the sample configuration: in pairs on
# this machine, in alternating order. Prints the median ratio.
#
# Usage: bench/route.sh [<pairs>]          (the number of pairs is 21 if not given)
set -euo pipefail

pairs=${1:-21}
root=$(cd "$(dirname "$0")/.." && pwd)
frame=0200000000b20200000000a19000000102030405060708090a0b0c0d0e0f

cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target load_dump regdec_tsr regenc_tsr >/dev/null
load=$root/build/release/bench/load_dump
program=$root/build/release/regdec_tsr

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dump=$work/switch.dmp
build/release/regenc_tsr "$dump" samples/switch.reg

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

route() {
    micros "$program" "$dump" route port 1 frame "$frame"
}

# Once each beforehand, so that both find their input in memory.
route >/dev/null
micros "$load" "$dump" >/dev/null

for ((i = 1; i <= pairs; i++)); do
    if ((i % 2)); then
        a=$(route)
        b=$(micros "$load" "$dump")
    else
        b=$(micros "$load" "$dump")
        a=$(route)
    fi
    ratio=$(awk -v a="$a" -v b="$b" 'BEGIN { printf "%.3f", a / (b > 0 ? b : 1) }')
    echo "pair $i: route $a us, load $b us, ratio $ratio"
    echo "$ratio" >>"$work/ratios"
done
echo "median ratio: $(median <"$work/ratios") (wanted: at most 1.25)"
