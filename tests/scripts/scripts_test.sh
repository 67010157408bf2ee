#!/usr/bin/env bash
# Tests what the scripts say and refuse before they install or build anything.
# Usage: scripts_test.sh
set -euo pipefail
cd "$(dirname "$0")/../.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/bin"

fail() { echo "FAILED: $*" >&2; exit 1; }

# $1: name, $2: body; a command of a system without packages and sudo
command_of_system() {
    printf '#!/bin/sh\n%s\n' "$2" >"$work/bin/$1"
    chmod +x "$work/bin/$1"
}
for name in bash basename cat dirname fmt grep mktemp nproc realpath rm sed; do
    ln -s "$(command -v $name)" "$work/bin/$name"
done
command_of_system apt-cache 'echo; echo "  Candidate: 1"'
command_of_system dpkg-query 'exit 1'
command_of_system id 'echo 1000'
for name in apt-get cmake; do
    command_of_system $name "touch $work/called"
done

# $1: expected exit code, $2: words of the output, then the command
expect() {
    local expected=$1 words=$2 status=0 output
    shift 2
    output=$(PATH=$work/bin "$@" 2>&1) || status=$?
    [ $status -eq "$expected" ] || fail "$*: exit code $status"
    grep -qF -- "$words" <<<"$output" || fail "$*: $output"
    [ ! -e "$work/called" ] || fail "$*: installs or builds"
}

while IFS= read -r script; do
    expect 0 "Usage: $script" "$script" --help
    expect 2 "'--unknown'" "$script" --unknown
done < <(find scripts -maxdepth 1 -type f -executable)
expect 1 "demo: missing.frd: No such file or directory" scripts/demo missing.frd
expect 1 "demo: .: Is a directory" scripts/demo .
expect 0 "Usage: scripts/demo" scripts/demo a.frd --help
expect 2 "more than one file" scripts/demo a.frd b.frd
expect 2 "no target 'unknown'; scripts/fuzz --help lists" scripts/fuzz 1 unknown
expect 1 "apt-get update && apt-get install --no-install-recommends g++ cmake make " scripts/setup
expect 1 "about 4 min" scripts/package
expect 1 "about 3 min" scripts/demo

# shellcheck source=scripts/lib/progress.sh
. scripts/lib/progress.sh
while IFS='|' read -r line state; do
    echo "$line" >"$work/log"
    [ "$(describe_progress "$work/log")" = "$state" ] || fail "progress of: $line"
done <<'END'
[  7%] Building CXX object a.o|7 %
  3/170 Test   #5: a ....   Passed    0.01 sec|3 of 170 tests
pmstatus:cmake:43.2105:Unpacking cmake (amd64)|unpacking and setting up, 43 %
dlstatus:12:20.5:Retrieving file 12 of 30|downloading, 20 %
another line|
END
