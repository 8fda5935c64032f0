#!/bin/bash
# Times regtab_tsr on full tables, and its diff against regcmp_tsr in pairs on this machine: on full-size random dumps
# that differ in a few words, and on such that differ in one word of a hundred. Prints the median seconds of the lists
# and the median ratios of the comparisons.
#
# Usage: bench/tables.sh [<pairs>]        (the number of pairs is 11 if not given)
set -euo pipefail

pairs=${1:-11}
root=$(cd "$(dirname "$0")/.." && pwd)
image_size=39752492

cd "$root"
cmake --preset release >/dev/null
cmake --build --preset release --target regtab_tsr regcmp_tsr regenc_tsr >/dev/null
PATH=$root/build/release:$PATH

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Prints the middle one of the numbers on standard input.
median() {
    sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'
}

# Prints the microseconds that the command takes; its status may be $1.
micros() {
    local allowed=$1 start end status=0
    shift
    start=$(date +%s%N)
    "$@" >/dev/null || status=$?
    end=$(date +%s%N)
    if ((status != allowed)); then
        echo "unexpected status $status of $1" >&2
        exit 1
    fi
    echo $(((end - start) / 1000))
}

# ---- The lists ----
cat >"$work/full.reg" <<'END'
rte_l2_exm_bkt[*].fid = 5
rte_l2_exm_bkt[*].mac_addr = 02:00:00:00:00:a1
rte_l2_exm_rslt[*].gid = 0x12
tfe_bank_en = 0x1fff
tfe_tcam[*].ipv4_addr = 10.1.2.0/24
tfe_amap_data[*] = 0x14000
END
regenc_tsr "$work/full.dmp" "$work/full.reg" 2>/dev/null
for table in fdb routes; do
    rows=$(regtab_tsr --csv "$work/full.dmp" list $table | tail -n +2 | wc -l)
    for form in "" --json --csv; do
        for ((i = 0; i < pairs; i++)); do
            micros 0 regtab_tsr $form "$work/full.dmp" list $table
        done >"$work/times"
        echo "list $table ${form:---}: $rows rows, $(median <"$work/times") us"
    done
done

# ---- The comparison ----
{
    # version 1, object 0, vendor 0x7e51, chip 0x20, revision 2, base address 0, time 0.0
    printf '\000\000\000\001\000\000\000\000\000\000\176\121\000\000\000\040'
    printf '\000\000\000\002\000\000\000\000\000\000\000\000\000\000\000\000'
    head -c "$image_size" /dev/urandom
} >"$work/good"

compare() {
    local name=$1 a b
    for ((i = 0; i < pairs; i++)); do
        a=$(micros 1 regtab_tsr -a --raw "$work/good" diff "$work/bad")
        b=$(micros 1 regcmp_tsr "$work/good" "$work/bad")
        awk -v a="$a" -v b="$b" 'BEGIN { printf "%.2f\n", a / (b > 0 ? b : 1) }'
    done >"$work/ratios"
    echo "diff against regcmp_tsr, $name: median ratio $(median <"$work/ratios")"
}

cp "$work/good" "$work/bad"
for at in 24008 20000032 $((image_size + 28)); do
    printf '\001\002\003\004' | dd of="$work/bad" bs=1 seek="$at" conv=notrunc status=none
done
compare "three words"
python3 - "$work/good" "$work/bad" <<'END'
import sys
data = bytearray(open(sys.argv[1], "rb").read())
for at in range(32 + 4 * 50, len(data), 400):
    data[at] ^= 0x55
open(sys.argv[2], "wb").write(data)
END
compare "every hundredth word"
