# shellcheck shell=bash
# What every script says and waits with. Sourced, not run.

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
