#!/bin/bash
# Times the listing of a full-size random dump against `xxd -c4` over the same image, in pairs on this machine, and
# prints the median ratio and the listing's peak memory.
#
# Usage: bench/listing.sh [<pairs>]        (needs xxd; the number of pairs is 7 if not given)
set -euo pipefail

pairs=${1:-7}
root=$(cd "$(dirname "$0")/.." && pwd)
image_size=39752492

if ! command -v xxd >/dev/null; then
    echo "xxd is missing: install the package xxd" >&2
    exit 1
fi

cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target regdec_tsr >/dev/null
program=$root/build/release/regdec_tsr

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
dump=$work/random.dmp
image=$work/random.img

head -c "$image_size" /dev/urandom >"$image"
{
    # version 1, object 0, vendor 0x7e51, chip 0x20, revision 2, base address 0, time 0.0
    printf '\000\000\000\001\000\000\000\000\000\000\176\121\000\000\000\040'
    printf '\000\000\000\002\000\000\000\000\000\000\000\000\000\000\000\000'
    cat "$image"
} >"$dump"

# Prints the milliseconds that the command takes.
millis() {
    local start end
    start=$(date +%s%N)
    "$@" >/dev/null
    end=$(date +%s%N)
    echo $(((end - start) / 1000000))
}

# Prints the middle one of the numbers on standard input.
median() {
    sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'
}

# Once each beforehand, so that both find their input in memory.
millis "$program" "$dump" >/dev/null
millis xxd -c4 "$image" >/dev/null

for ((i = 1; i <= pairs; i++)); do
    listing=$(millis "$program" "$dump")
    yardstick=$(millis xxd -c4 "$image")
    ratio=$(awk -v a="$yardstick" -v b="$listing" 'BEGIN { printf "%.2f", a / (b > 0 ? b : 1) }')
    echo "pair $i: listing $listing ms, xxd -c4 $yardstick ms, ratio $ratio"
    echo "$ratio" >>"$work/ratios"
done
echo "median ratio: $(median <"$work/ratios")"

# The peak is read while the program waits for a reader of the last part of its output.
size=$("$program" "$dump" | wc -c)
mkfifo "$work/out"
"$program" "$dump" >"$work/out" &
{
    head -c $((size - 1000000)) >/dev/null
    awk '/^VmHWM:/ { printf "peak memory: %.1f MB\n", $2 * 1024 / 1000000 }' "/proc/$!/status"
    cat >/dev/null
} <"$work/out"
wait
