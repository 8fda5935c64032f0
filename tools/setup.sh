#!/bin/bash
# Makes this machine ready to build and test: checks for the compiler, CMake, Ninja, zlib, CLI11, nlohmann-json,
# GoogleTest, Google Benchmark, clang++ with the fuzzer's runtime, clang-format, clang-tidy, mandoc, and jq and Python for
# the tests, and installs the missing Debian packages where it may. Otherwise it names them and ends with status 1.
#
# Usage: tools/setup.sh
set -euo pipefail

# Tells whether a C++20 program that includes the header $1 and links the library $2 can be built.
builds() {
    local work
    work=$(mktemp -d)
    printf '#include <%s>\nint main() { return 0; }\n' "$1" >"$work/probe.cpp"
    local status=0
    g++ -std=c++20 -o "$work/probe" "$work/probe.cpp" ${2:+-l"$2"} -pthread >"$work/log" 2>&1 || status=1
    rm -rf "$work"
    return $status
}

# Tells whether clang++ can build a fuzz target.
builds_fuzz_target() {
    local work
    work=$(mktemp -d)
    cat >"$work/probe.cpp" <<'END'
#include <version>
extern "C" int LLVMFuzzerTestOneInput(const unsigned char *, unsigned long) { return 0; }
END
    local status=0
    clang++ -std=c++20 -fsanitize=fuzzer,address,undefined -o "$work/probe" "$work/probe.cpp" >"$work/log" 2>&1 ||
        status=1
    rm -rf "$work"
    return $status
}

# Tells whether the program $1 stands in version $2 or later.
at_least() {
    command -v "$1" >/dev/null || return 1
    local found
    found=$("$1" --version | grep -oE '[0-9]+(\.[0-9]+)+' | head -n 1)
    [[ $(printf '%s\n%s\n' "$2" "$found" | sort -V | head -n 1) == "$2" ]]
}

# The major version of clang++, or of the one that would be installed.
clang_major() {
    if command -v clang++ >/dev/null; then
        clang++ -dumpversion | cut -d . -f 1
    else
        echo 14
    fi
}

# Prints the packages that are missing, one a line.
missing() {
    if ! builds version; then
        echo g++
    fi
    at_least cmake 3.25 || echo cmake
    command -v ninja >/dev/null || echo ninja-build
    if ! builds zlib.h z; then
        echo zlib1g-dev
    fi
    if ! builds CLI/CLI.hpp; then
        echo libcli11-dev
    fi
    if ! builds nlohmann/json.hpp; then
        echo nlohmann-json3-dev
    fi
    if ! builds gtest/gtest.h gtest; then
        echo libgtest-dev
    fi
    if ! builds benchmark/benchmark.h benchmark; then
        echo libbenchmark-dev
    fi
    if ! builds_fuzz_target; then
        echo clang
        echo "libclang-rt-$(clang_major)-dev"
    fi
    command -v clang-format >/dev/null || echo clang-format
    command -v clang-tidy >/dev/null || echo clang-tidy
    command -v mandoc >/dev/null || echo mandoc
    command -v jq >/dev/null || echo jq
    command -v python3 >/dev/null || echo python3
}

mapfile -t packages < <(missing)
if ((${#packages[@]} == 0)); then
    exit 0
fi

as_root=()
if ((EUID != 0)); then
    as_root=(sudo -n)
fi
if command -v apt-get >/dev/null && "${as_root[@]}" true 2>/dev/null; then
    echo "Installing: ${packages[*]}"
    if "${as_root[@]}" apt-get update -qq &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends \
            "${packages[@]}" >/dev/null; then
        mapfile -t packages < <(missing)
        if ((${#packages[@]} == 0)); then
            exit 0
        fi
    fi
fi
echo "Missing Debian packages: ${packages[*]}" >&2
echo "Install them with: apt-get install ${packages[*]}" >&2
exit 1
