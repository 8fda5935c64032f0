#!/bin/bash
# Checks the formatting of all sources, or with --fix repairs it. The .def tables keep their own form.
#
# Usage: tools/format.sh [--fix]
set -euo pipefail
cd "$(dirname "$0")/.."

options=(--dry-run --Werror)
if [[ ${1:-} == --fix ]]; then
    options=(-i)
elif (($# != 0)); then
    echo "Usage: tools/format.sh [--fix]" >&2
    exit 1
fi
git ls-files -z -- '*.h' '*.cpp' | xargs -0 -r clang-format "${options[@]}"
echo "Formatting: $([[ ${1:-} == --fix ]] && echo repaired || echo clean)"
