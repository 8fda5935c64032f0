#!/bin/bash
# Builds everything and runs all tests; the runner's own summary comes last.
#
# Usage: tools/test.sh
set -euo pipefail
cd "$(dirname "$0")/.."

tools/setup.sh
cmake --preset release
cmake --build --preset release
ctest --preset release -j2
