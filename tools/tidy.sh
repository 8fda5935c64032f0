#!/bin/bash
# Runs clang-tidy over all sources of sys and utils with the profile of .clang-tidy; a finding is an error. Files given
# as arguments are checked in their place. It reads the compile commands of the release build, which it configures.
#
# Usage: tools/tidy.sh [FILE...]
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
if (($# == 0)); then
    mapfile -t sources < <(git ls-files -- 'sys/*.cpp' 'utils/*.cpp')
else
    sources=("$@")
fi
# Standard error says only how many findings of the system's headers were left out.
if ! printf '%s\0' "${sources[@]}" | xargs -0 -n 1 -P "$(nproc)" clang-tidy --quiet -p build/release 2>/dev/null; then
    echo "clang-tidy: findings" >&2
    exit 1
fi
echo "clang-tidy: ${#sources[@]} sources clean"
