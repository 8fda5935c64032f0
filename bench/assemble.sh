#!/bin/bash
# Times the assembly of a full listing against that of another commit, whole processes, in pairs on this machine.
#
# Usage: bench/assemble.sh <commit> [<pairs>]      (the number of pairs is 7 if not given)
set -euo pipefail
if (($# < 1)); then
    echo "Usage: bench/assemble.sh <commit> [<pairs>]" >&2
    exit 2
fi
source "$(dirname "$0")/pairs.sh"

build regdec_tsr regenc_tsr
mkdir "$work/source"
git archive "$1" | tar -x -C "$work/source"
cmake -S "$work/source" -B "$work/old" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTSR_TESTS=OFF -DTSR_BENCH=OFF >/dev/null
cmake --build "$work/old" --target regenc_tsr >/dev/null
random_dump "$work/random.dmp"
"$built/regdec_tsr" "$work/random.dmp" >"$work/text"

subject() { micros 0 "$built/regenc_tsr" "$work/new.dmp" "$work/text"; }
yardstick() { micros 0 "$work/old/regenc_tsr" "$work/old.dmp" "$work/text"; }
pairs "${2:-7}" "regenc_tsr" "regenc_tsr of $1"
cmp "$work/new.dmp" "$work/old.dmp" && echo "both dumps are equal"
