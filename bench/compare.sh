#!/bin/bash
# Times the comparison of two full-size random dumps against `cmp` on the same files, in pairs on this machine: of equal
# dumps, and of dumps that differ in three words, which it must find.
#
# Usage: bench/compare.sh [<pairs>]        (needs cmp; the number of pairs is 21 if not given)
set -euo pipefail
source "$(dirname "$0")/pairs.sh"

build regcmp_tsr
good=$work/good.dmp
same=$work/same.dmp
bad=$work/bad.dmp
random_dump "$good"
# The first, a middle and the last word differ.
cp "$good" "$bad"
for at in 32 20000032 $((image_size + 28)); do
    printf '\000\000\000\000' | dd of="$good" bs=1 seek="$at" conv=notrunc status=none
    printf '\001\002\003\004' | dd of="$bad" bs=1 seek="$at" conv=notrunc status=none
done
cp "$good" "$same"

subject() { micros 0 "$built/regcmp_tsr" "$good" "$same"; }
yardstick() { micros 0 cmp "$good" "$same"; }
pairs "${1:-21}" "regcmp_tsr of equal dumps" cmp 1.3

# With -l, cmp reads all of both files too.
found=$({ "$built/regcmp_tsr" "$good" "$bad" || true; } | grep -c '^0x')
echo "words found: $found (wanted: 3)"
# Told to write nowhere, cmp would stop at the first of them.
subject() { sink=$work/out micros 1 "$built/regcmp_tsr" "$good" "$bad"; }
yardstick() { sink=$work/out micros 1 cmp -l "$good" "$bad"; }
pairs "${1:-21}" regcmp_tsr "cmp -l"
