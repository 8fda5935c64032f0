#!/bin/bash
# Checks that includes point down: a room of the sources includes its own headers and those that the table below allows,
# no others. Prints every include that does not, and the count of those that do. Status 1 when one does not.
set -euo pipefail
cd "$(dirname "$0")/.."

# Room: what it may include, a room or one header. From the ground up; a row names only rows above it.
readonly table='
image:
mem_reg_model:
layout:
base: tsr_reg.h layout cmStop.h cmTcamIdx.h
tfe: base layout cmPages.h
tae: base mem_reg_model layout
tbl: base tfe tae layout be_word.h asic_reg_dump.h tsr_reg_dump.h
prc: base layout
lue: base tfe tae cmAssert.h layout
roc: base lue/cmRteLueLrn.h cmAssert.h layout
log: base
hsi: base tfe tae log tsr_reg.h be_word.h
engine: base tfe tae hsi log tsr_reg.h
tsr: image base tfe tae hsi prc/cmRtePrc.h cmStop.h cmPages.h layout tbl
cli: image
regtab: image base tae hsi layout tbl tsr cli
'

# Sets roomOf to the room of the file at path $1.
setRoomOf() {
    case $1 in
    utils/regdump/tsr/rte/*/*)
        roomOf=${1#utils/regdump/tsr/rte/}
        roomOf=${roomOf%%/*}
        ;;
    utils/regdump/tsr/rte/*) roomOf=engine ;;
    utils/regdump/tsr/mem_reg_model/*) roomOf=mem_reg_model ;;
    utils/regdump/tsr/tbl/tsr_tbl_desc.* | utils/regdump/tsr/tbl/tsr_tbl_name.*) roomOf=tbl ;;
    utils/regdump/tsr/tbl/tsr_tbl_mem.* | utils/regdump/tsr/tbl/tsr_tbl_state.def) roomOf=tbl ;;
    utils/regdump/tsr/tbl/*) roomOf=layout ;;
    utils/regdump/tsr/*) roomOf=tsr ;;
    utils/cli/*) roomOf=cli ;;
    utils/regtab/*) roomOf=regtab ;;
    *) roomOf=image ;;
    esac
}

mapfile -t files < <(find sys utils -name '*.h' -o -name '*.cpp' -o -name '*.def' | LC_ALL=C sort)

# The path of each header by the name that an include gives it: the room's path for the rooms, else the name alone.
declare -A pathOf
for file in "${files[@]}"; do
    case $file in
    utils/regdump/tsr/rte/*) pathOf[${file#utils/regdump/tsr/rte/}]=$file ;;
    utils/regdump/tsr/tbl/*) pathOf[${file#utils/regdump/tsr/}]=$file ;;
    *) pathOf[${file##*/}]=$file ;;
    esac
done

declare -A allowed
seen=' '
while IFS=: read -r room list; do
    [[ $room ]] || continue
    for item in $list; do
        roomOf=$item
        if [[ $item == *.h ]]; then
            setRoomOf "${pathOf[$item]}"
        fi
        if [[ $seen != *" $roomOf "* ]]; then
            echo "tools/includes.sh: $room stands above $item in the table" >&2
            exit 1
        fi
    done
    allowed[$room]=" $list "
    seen+="$room "
done <<<"$table"

good=0
bad=0
while IFS=: read -r file line text; do
    name=${text#*\"}
    name=${name%%\"*}
    setRoomOf "$file"
    room=$roomOf
    if [[ ${pathOf[$name]-} ]]; then
        setRoomOf "${pathOf[$name]}"
        if [[ $roomOf == "$room" || ${allowed[$room]-} == *" $roomOf "* || ${allowed[$room]-} == *" $name "* ]]; then
            good=$((good + 1))
            continue
        fi
    fi
    echo "$file:$line: $room may not include \"$name\""
    bad=$((bad + 1))
done < <(grep -n '^[[:space:]]*#[[:space:]]*include "' "${files[@]}")

echo "Includes: $good point down, $bad do not"
[[ $bad -eq 0 && $good -gt 0 ]]
