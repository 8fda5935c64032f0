#!/bin/bash
# Times the listing of a full-size random dump, in pairs on this machine: into a file of the folder for temporary files
# against writing the finished text there from memory, and to nowhere against `xxd -c4` over the same image. Prints the
# listing's peak memory too.
#
# Usage: bench/listing.sh [<pairs>]        (needs xxd and 2.5 GB for the files; the number of pairs is 7 if not given)
set -euo pipefail
source "$(dirname "$0")/pairs.sh"

if ! command -v xxd >/dev/null; then
    echo "xxd is missing: install the package xxd" >&2
    exit 1
fi
build regdec_tsr write_text
program=$built/regdec_tsr
dump=$work/random.dmp
image=$work/random.img
random_dump "$dump"
tail -c "$image_size" "$dump" >"$image"
"$program" "$dump" >"$work/text"

# Each time into a new file.
subject() {
    rm -f "$work/listing"
    sink=$work/listing micros 0 "$program" "$dump"
}
yardstick() {
    rm -f "$work/copy"
    "$built/bench/write_text" "$work/text" "$work/copy"
}
pairs "${1:-7}" "listing to a file" "write of its text" 2
rm "$work/listing" "$work/copy"

subject() { micros 0 "$program" "$dump"; }
yardstick() { micros 0 xxd -c4 "$image"; }
pairs "${1:-7}" listing "xxd -c4"

# The peak is read while the program waits for a reader of the last part of its output.
size=$(stat -c %s "$work/text")
mkfifo "$work/out"
"$program" "$dump" >"$work/out" &
{
    head -c $((size - 1000000)) >/dev/null
    awk '/^VmHWM:/ { printf "peak memory: %.1f MB\n", $2 * 1024 / 1000000 }' "/proc/$!/status"
    cat >/dev/null
} <"$work/out"
wait
