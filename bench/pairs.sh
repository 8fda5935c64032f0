# Sourced by the scripts beside it, which stop at the first failure: builds what they time, makes their dumps, and times
# one command against another in pairs. The scripts work in the project's folder; $work is a folder that goes with them.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
built=$root/build/release
image_size=39752492
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Builds these targets.
build() {
    cmake --preset release >/dev/null
    cmake --build --preset release --target "$@" >/dev/null
}

# Makes the dump $1, whose words are by chance.
random_dump() {
    {
        # version 1, object 0, vendor 0x7e51, chip 0x20, revision 2, base address 0, time 0.0
        printf '\000\000\000\001\000\000\000\000\000\000\176\121\000\000\000\040'
        printf '\000\000\000\002\000\000\000\000\000\000\000\000\000\000\000\000'
        head -c "$image_size" /dev/urandom
    } >"$1"
}

# Makes the dump $1 of the sample configuration.
sample_dump() {
    "$built/regenc_tsr" "$1" samples/switch.reg
}

# Prints the microseconds that the command takes, which must end with the status $1. Its output goes to $sink, or
# nowhere.
micros() {
    local wanted=$1 start end status=0
    shift
    start=$(date +%s%N)
    "$@" >"${sink:-/dev/null}" || status=$?
    end=$(date +%s%N)
    if ((status != wanted)); then
        echo "unexpected status $status of $1" >&2
        exit 1
    fi
    echo $(((end - start) / 1000))
}

# Prints the middle one of the numbers on standard input.
median() {
    sort -n | awk '{ value[NR] = $1 } END { print value[int((NR + 1) / 2)] }'
}

# Times the functions `subject` and `yardstick` of the script, which print microseconds, $1 times in alternating order
# after a first run of each, so that both find their input in memory. $2 and $3 are their names. Prints each pair, the
# smallest times, and the median of the ratios.
pairs() {
    local count=$1 a b i ratio
    : >"$work/ratios"
    subject >/dev/null
    yardstick >/dev/null
    for ((i = 1; i <= count; i++)); do
        if ((i % 2)); then
            a=$(subject)
            b=$(yardstick)
        else
            b=$(yardstick)
            a=$(subject)
        fi
        ratio=$(awk -v a="$a" -v b="$b" 'BEGIN { printf "%.3f", a / (b > 0 ? b : 1) }')
        echo "pair $i: $2 $a us, $3 $b us, ratio $ratio"
        echo "$ratio $a $b" >>"$work/ratios"
    done
    awk -v a="$2" -v b="$3" '{ if (NR == 1 || $2 < least_a) least_a = $2; if (NR == 1 || $3 < least_b) least_b = $3 }
        END { printf "smallest: %s %d us, %s %d us\n", a, least_a, b, least_b }' "$work/ratios"
    echo "median ratio of $2 to $3: $(cut -d ' ' -f 1 "$work/ratios" | median)${4:+ (wanted: at most $4)}"
}
