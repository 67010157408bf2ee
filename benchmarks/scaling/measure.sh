#!/usr/bin/env bash
# Prints a table of the time that 1, 2 and 4 ranks need to write the same model, and a table of the
# memory of 4 ranks that write arrays larger than a block.
# Usage: measure.sh PROGRAM FOLDER [FIGURES]
#   PROGRAM    the benchmark "ranks"
#   FIGURES    file to which rows with figures and targets are appended
set -euo pipefail
program=$1
file=$2/ranks.mek
figures=${3:-/dev/null}
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
options=()
if mpiexec --version | grep -qE 'OpenRTE|Open MPI'; then
    options=(--oversubscribe)
fi

# run RANKS [MB_PER_ARRAY ARRAYS MB_PER_BLOCK]
run() { mpiexec ${options[@]+"${options[@]}"} -n "$1" "$program" "$file" "${@:2}"; }

header() {
    echo
    echo "| $1 | Array, s | Compression, CPU s | Other work of rank 0, CPU s | Its share of both | MB/s |" \
        "Peak of rank 0, MB | Peak of others, MB |"
    echo "|---:|---:|---:|---:|---:|---:|---:|---:|"
}

echo "$(nproc) processors, load $(cut -d ' ' -f 1-3 /proc/loadavg)"
header "Ranks, array of 60 MB"
for ranks in 1 2 4; do
    run $ranks
done
header "Limit of a block, array of 800 MB from 4 ranks"
for megabytes in 200 20 10; do
    row=$(run 4 800 1 $megabytes | sed "s/^| 4 /| $megabytes MB /")
    echo "$row"
    awk -F ' *[|] *' -v megabytes=$megabytes '{
        printf "| 800 MB from 4 ranks, blocks of %d MB: memory of rank 0 above that of others | ", megabytes
        printf "%d MB | at most %d |\n", $8 - $9, megabytes }' <<<"$row" >>"$figures"
done
rm "$file"
