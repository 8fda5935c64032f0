#!/bin/bash
# Times the parser, whole frames and the searches at their worst on the sample configuration, on this machine.
#
# Usage: bench/frame.sh [<option of Google Benchmark>...]
#
# Wanted: BM_Parser below 3 us, BM_Frame below 100 us, BM_FrameFullTcams below 500 us, and each BM_LpmScan below half of
# BM_Load.
set -euo pipefail

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target frame_bench regenc_tsr >/dev/null

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
build/release/regenc_tsr "$work/switch.dmp" samples/switch.reg
FRAME_BENCH_DUMP=$work/switch.dmp build/release/bench/frame_bench "$@"
