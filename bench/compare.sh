#!/bin/bash
# Times the comparison of two full-size random dumps that differ in a few words against `cmp` on the same files, in
# pairs on this machine, and prints the median ratio. The first line says whether the comparison found the words.
#
# Usage: bench/compare.sh [<pairs>]        (needs cmp; the number of pairs is 21 if not given)
set -euo pipefail

pairs=${1:-21}
root=$(cd "$(dirname "$0")/.." && pwd)
image_size=39752492

cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target regcmp_tsr >/dev/null
program=$root/build/release/regcmp_tsr

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
good=$work/good.dmp
bad=$work/bad.dmp
{
    # version 1, object 0, vendor 0x7e51, chip 0x20, revision 2, base address 0, time 0.0
    printf '\000\000\000\001\000\000\000\000\000\000\176\121\000\000\000\040'
    printf '\000\000\000\002\000\000\000\000\000\000\000\000\000\000\000\000'
    head -c "$image_size" /dev/urandom
} >"$good"

# The first, a middle and the last word differ.
cp "$good" "$bad"
for at in 32 20000032 $((image_size + 28)); do
    printf '\000\000\000\000' | dd of="$good" bs=1 seek="$at" conv=notrunc status=none
    printf '\001\002\003\004' | dd of="$bad" bs=1 seek="$at" conv=notrunc status=none
done

# Prints the microseconds that the command takes. It must find a difference.
micros() {
    local start end status=0
    start=$(date +%s%N)
    "$@" >"$work/out" || status=$?
    end=$(date +%s%N)
    if ((status != 1)); then
        echo "unexpected status $status of $1" >&2
        exit 1
    fi
    echo $(((end - start) / 1000))
}

# Prints the middle one of the numbers on standard input.
median() {
    sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'
}

found=$({ "$program" "$good" "$bad" || true; } | grep -c '^0x')
echo "words found: $found (wanted: 3)"

# With -l, cmp reads all of both files too. Once each beforehand, so that both find their input in memory.
micros "$program" "$good" "$bad" >/dev/null
micros cmp -l "$good" "$bad" >/dev/null

for ((i = 1; i <= pairs; i++)); do
    a=$(micros "$program" "$good" "$bad")
    b=$(micros cmp -l "$good" "$bad")
    ratio=$(awk -v a="$a" -v b="$b" 'BEGIN { printf "%.2f", a / (b > 0 ? b : 1) }')
    echo "pair $i: regcmp_tsr $a us, cmp -l $b us, ratio $ratio"
    echo "$ratio" >>"$work/ratios"
done
echo "median ratio: $(median <"$work/ratios")"
