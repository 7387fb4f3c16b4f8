# shellcheck shell=bash
# Help, messages, errors and waiting, for every script. Sourced, not run.

[[ -n ${KAVO_SOURCE:-} ]] || KAVO_SOURCE=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

# Ctrl-C ends the script. Without a trap bash continues when the interrupted program reports success, as
# apt-get does. Other signals end the script anyway.
trap 'exit 130' INT

# offer_help ARGUMENT...: if one of them is --help, prints the comment at the top of the script and ends.
offer_help() {
    local argument
    for argument in "$@"; do
        [[ $argument != --help && $argument != -h ]] || { print_usage; exit 0; }
    done
}

print_usage() {
    sed -n '2,/^[^#]/s/^#$\|^# //p' "$KAVO_SOURCE/scripts/$(basename "$0")"
}

# refuse_arguments ARGUMENT...: ends the script if there are any; answers --help.
refuse_arguments() {
    offer_help "$@"
    (($# == 0)) || die "unknown argument: $1; see --help"
}

# say TEXT...: prints one line about the current step.
say() {
    printf '==> %s\n' "$*"
}

# die TEXT...: ends the script with the reason.
die() {
    printf 'error: %s\n' "$*" >&2
    exit 1
}

# wait_for SECONDS WHAT COMMAND...: repeats the command until it succeeds. After the time is up, ends the
# script with an error that names WHAT.
wait_for() {
    local deadline=$((SECONDS + $1)) what=$2
    shift 2
    until "$@"; do
        ((SECONDS < deadline)) || die "timeout while waiting for $what"
        sleep 0.1
    done
}

# is_running PID
is_running() {
    kill -0 "$1" 2>/dev/null
}

# stop_process PID: terminates a child of this script and waits until it has ended. PID may be empty.
stop_process() {
    [[ -n $1 ]] && is_running "$1" || return 0
    kill "$1" 2>/dev/null || true
    wait "$1" 2>/dev/null || true
}
