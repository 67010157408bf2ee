# shellcheck shell=bash
# Sourced by the scripts: runs long commands with their output in a file, and prints a line about them
# every 10 seconds.

# describe_progress LOG: how far the command is, from its output: the percentage of make or apt, the
# number of finished tests of ctest, or the number of files that were checked; empty if unknown
describe_progress() {
    sed -nE -e 's/^\[ *([0-9]+)%\].*/\1 %/p' \
        -e 's/^ *([0-9]+)\/([0-9]+) Test +#.*/\1 of \2 tests/p' \
        -e 's/^file ([0-9]+) of ([0-9]+)$/\1 of \2 files/p' \
        -e 's/^dlstatus:[^:]*:([0-9]+).*/downloading, \1 %/p' \
        -e 's/^pmstatus:[^:]*:([0-9]+).*/unpacking and setting up, \1 %/p' "$1" | tail -n 1
}

# report_progress TITLE LOG: runs until it is ended
report_progress() {
    local state start=$SECONDS
    # A closed output lets a reader of this script's output end with the script.
    while sleep 10 >/dev/null 2>&1; do
        kill -0 $$ 2>/dev/null || exit # the script was stopped
        state=$(describe_progress "$2")
        printf '%s: %s%d:%02d min\n' "$1" "${state:+$state, }" \
            $(((SECONDS - start) / 60)) $(((SECONDS - start) % 60))
    done
}

# log_with_progress TITLE LOG COMMAND...: the command runs in the foreground, so that Ctrl-C ends it.
log_with_progress() {
    local title=$1 log=$2 reporter status=0
    shift 2
    echo "$title"
    report_progress "$title" "$log" &
    reporter=$!
    "$@" >"$log" 2>&1 </dev/null || status=$?
    kill "$reporter" 2>/dev/null
    wait "$reporter" 2>/dev/null || true
    return $status
}

# run_with_progress TITLE COMMAND...: shows the output of a command that fails
run_with_progress() {
    local title=$1 log status=0
    shift
    log=$(mktemp)
    log_with_progress "$title" "$log" "$@" || status=$?
    [ $status -eq 0 ] || cat "$log" >&2
    rm -f "$log"
    return $status
}
