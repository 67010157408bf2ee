#!/usr/bin/env bash
# Prints a table of the time that 1, 2 and 4 ranks need to write the same model.
# Usage: measure.sh PROGRAM FOLDER, where PROGRAM is the benchmark "ranks"
set -euo pipefail
program=$1
file=$2/ranks.mek
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
options=()
if mpiexec --version | grep -qE 'OpenRTE|Open MPI'; then
    options=(--oversubscribe)
fi
echo "$(nproc) processors, load $(cut -d ' ' -f 1-3 /proc/loadavg)"
echo
echo "| Ranks | Array of 60 MB, s | Compression, CPU s | Rank 0 besides, CPU s | of both | MB/s |"
echo "|---:|---:|---:|---:|---:|---:|"
for ranks in 1 2 4; do
    mpiexec ${options[@]+"${options[@]}"} -n $ranks "$program" "$file"
done
rm "$file"
