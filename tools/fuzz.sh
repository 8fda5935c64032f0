#!/bin/bash
# Builds the fuzz target with clang++ and lets it search for a time, from the stored corpus. What it finds on the way is
# kept in build/fuzz/corpus for later calls. Ends with a status other than 0 on any finding; the input that shows it is
# then in build/fuzz/findings.
#
# Usage: tools/fuzz.sh [<seconds>]          (60 if not given)
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
if (($# > 1)) || ! [[ $seconds =~ ^[1-9][0-9]*$ ]]; then
    echo "Usage: tools/fuzz.sh [<seconds>]" >&2
    exit 2
fi
tools/setup.sh
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
folder=build/fuzz
cmake -G Ninja -B "$folder" -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTSR_FUZZ=ON \
    -DTSR_TESTS=OFF -DTSR_BENCH=OFF >/dev/null
cmake --build "$folder" --target route_fuzz
mkdir -p "$folder/corpus" "$folder/findings"

# An input has two bytes, up to fifteen changes of eight and a frame of 250. The chips take 80 MB each.
"$folder/fuzz/route_fuzz" -dict=fuzz/route.dict -max_total_time="$seconds" -max_len=372 -timeout=20 \
    -rss_limit_mb=4096 -close_fd_mask=2 -print_final_stats=1 -artifact_prefix="$folder/findings/" \
    "$folder/corpus" fuzz/corpus
