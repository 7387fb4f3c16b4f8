# shellcheck shell=bash
# What every script says, waits and ends with. Sourced, not run.

[[ -n ${KAVO_SOURCE:-} ]] || KAVO_SOURCE=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

# Ctrl-C ends the script whatever the program does that it is waiting for: without a trap bash goes on
# after one that ends as if nothing had happened, as apt-get does. The other signals end it anyway.
trap 'exit 130' INT

# offer_help ARGUMENT...: answers --help with the comment that opens the script, and ends.
offer_help() {
    local argument
    for argument in "$@"; do
        [[ $argument != --help && $argument != -h ]] || { print_usage; exit 0; }
    done
}

print_usage() {
    sed -n '2,/^[^#]/s/^#$\|^# //p' "$KAVO_SOURCE/scripts/$(basename "$0")"
}

# refuse_arguments ARGUMENT...: for scripts that take none but --help.
refuse_arguments() {
    offer_help "$@"
    (($# == 0)) || die "unknown argument: $1; --help tells what there is"
}

# say TEXT...: one line of what is being done.
say() {
    printf '==> %s\n' "$*"
}

# die TEXT...: ends the script with the reason.
die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# wait_for SECONDS WHAT COMMAND...: repeats the command until it succeeds, and gives up with a
# message that names WHAT was waited for.
wait_for() {
    local deadline=$((SECONDS + $1)) what=$2
    shift 2
    until "$@"; do
        ((SECONDS < deadline)) || die "gave up waiting for $what"
        sleep 0.1
    done
}

# is_running PID
is_running() {
    kill -0 "$1" 2>/dev/null
}

# stop_process PID: asks it to end and waits until it has. Only for children of this script.
stop_process() {
    [[ -n $1 ]] && is_running "$1" || return 0
    kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}
