#!/bin/bash
# Proves that a restructuring changes nothing: runs the regdec_tsr of another commit and that of the working tree on the
# same dumps and frames by chance, from the front ports and from the fabric, quiet and verbose, and compares standard
# output, standard error and exit status byte for byte. Only the line numbers in the messages of aborts, errors and
# failed assertions may differ. Listings and wrong command lines are compared too. Prints the verdicts that the frames
# met and the first difference, with the command lines that show it; its dump is kept.
#
# Usage: tools/same.sh <commit> [<count of frames> [<seed>]]     (20000 frames from seed 1 if not given)
# Ends with status 0 when all runs are equal, 1 when some differ, 2 when they cannot be compared.
set -euo pipefail
cd "$(dirname "$0")/.."

if (($# < 1 || $# > 3)); then
    echo "Usage: tools/same.sh <commit> [<count of frames> [<seed>]]" >&2
    exit 2
fi
count=${2:-20000}
seed=${3:-1}
if ! [[ $count =~ ^[0-9]+$ && $seed =~ ^[0-9]+$ ]]; then
    echo "The count and the seed are numbers" >&2
    exit 2
fi
commit=$(git rev-parse --verify --quiet "$1^{commit}") || {
    echo "No such commit: $1" >&2
    exit 2
}
if command -v ccache >/dev/null; then
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
folder=$PWD/build/same
old=$folder/$commit
log=$folder/build.log
mkdir -p "$folder"

# Runs a build step quietly; its output is shown when it fails.
quietly() {
    if ! "$@" >"$log" 2>&1; then
        tail -n 40 "$log" >&2
        exit 2
    fi
}

# The old program is kept for later calls.
build_old() {
    rm -rf "$old"
    mkdir -p "$old/source"
    git archive "$commit" | tar -x -C "$old/source"
    # Old sources lie elsewhere than the working tree's; the cache shall know them all the same.
    export CCACHE_BASEDIR=$old CCACHE_NOHASHDIR=1
    cmake -S "$old/source" -B "$old/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DTSR_TESTS=OFF -DTSR_BENCH=OFF
    cmake --build "$old/build" --target regdec_tsr
    cp "$old/build/regdec_tsr" "$old/regdec_tsr.new"
    rm -rf "$old/source" "$old/build"
    mv "$old/regdec_tsr.new" "$old/regdec_tsr"
}

if [[ ! -x $old/regdec_tsr ]]; then
    quietly bash -euc "$(declare -f build_old); old=$old commit=$commit; build_old"
fi
quietly cmake --preset release
quietly cmake --build --preset release --target regdec_tsr same_runs

# The working tree may be built anew during the runs.
mkdir -p "$folder/tree"
cp build/release/regdec_tsr "$folder/tree/regdec_tsr"

# The dumps go where they are fastest to write and read.
fast=/tmp
if [[ -d /dev/shm && -w /dev/shm ]]; then
    fast=/dev/shm
fi
work=$(mktemp -d "$fast/same.XXXXXX")
trap 'rm -rf "$work"' EXIT
TMPDIR=$work build/release/tests/same_runs "$old/regdec_tsr" "$folder/tree/regdec_tsr" "$count" "$seed" "$folder"
