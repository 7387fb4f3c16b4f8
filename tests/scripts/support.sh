# shellcheck shell=bash disable=SC2016
# Shared by the tests of the scripts. Sourced, not run.
#
# A script runs on a copy of all scripts in a scratch folder. PATH has only the tools named below, and stand-ins
# for the programs that would change the machine. The stand-ins log their calls.

SOURCE=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
readonly SOURCE
SCRATCH=$(mktemp --directory /tmp/kavo-scripts.XXXXXX)
readonly SCRATCH
readonly COPY="$SCRATCH/source" BIN="$SCRATCH/bin" CALLS="$SCRATCH/calls"
trap 'chmod -R u+w "$SCRATCH"; rm -rf "$SCRATCH"' EXIT

readonly TOOLS=(awk basename bash cat chmod chown cut dirname env find getent grep head id kill ldd ln
    mkdir mktemp mv nproc ps readlink rm sed setpriv sh sleep sort stat tail touch uname wc)

# set_up: makes a new copy and new stand-ins, and empties the log of calls.
set_up() {
    chmod -R u+w "$SCRATCH"
    rm -rf "${SCRATCH:?}"/*
    mkdir -p "$COPY" "$BIN" "$SCRATCH/installed"
    cp -r "$SOURCE/scripts" "$COPY/"
    type -P "${TOOLS[@]}" | xargs ln --symbolic --target-directory="$BIN" ||
        fail "one of these is not installed: ${TOOLS[*]}"
    : >"$CALLS"
    stand_in dpkg-query 'test -e "$SCRATCH/installed/${!#}" && echo installed'
    stand_in apt-get 'case " $* " in
        *" --print-uris "*) echo "0 upgraded, 7 newly installed, 0 to remove and 0 not upgraded."
            echo "Need to get 12.3 MB of archives."
            echo "After this operation, 45.6 MB of additional disk space will be used." ;;
        *" install "*) shift "$(($# - 2))"; touch "$SCRATCH/installed/$1" "$SCRATCH/installed/$2" ;;
        esac'
    # The sample installs two packages and builds.
    cat >"$COPY/scripts/sample" <<'SAMPLE'
#!/usr/bin/env bash
# usage: scripts/sample
#
# A script like the others.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/lib/say.sh
source scripts/lib/install.sh
refuse_arguments "$@"
announce_build release "9 MB and 8 minutes"
prepare_machine alpha beta
mkdir -p build
build_release build/release
echo "built by $(id --user)"
SAMPLE
    chmod +x "$COPY/scripts/sample"
    stand_in cmake ''
    chmod -R a+rwX "$SCRATCH"
}

# stand_in NAME TEXT: creates a program of that name that logs its call and then runs the text.
stand_in() {
    cat >"$BIN/$1" <<SCRIPT
#!$(type -P bash)
SCRATCH=$(printf '%q' "$SCRATCH")
echo "$1 \$*" >>"\$SCRATCH/calls"
$2
SCRIPT
    chmod 755 "$BIN/$1"
}

# run COMMAND...: runs the command in its own session, as a terminal would; sets $status and $output.
# shellcheck disable=SC2034
run() {
    status=0
    output=$(cd "$SCRATCH" && setsid --wait env -i HOME="$SCRATCH" PATH="$BIN" "$@" 2>&1 </dev/null) ||
        status=$?
}

# run_as_user COMMAND...: the same, but never as root.
run_as_user() {
    if ((EUID)); then
        run "$@"
    else
        chown -R 65534:65534 "$SCRATCH"
        run setpriv --reuid 65534 --regid 65534 --clear-groups "$@"
    fi
}

# fail TEXT: ends the test and prints what happened.
fail() {
    printf 'FAILED: %s\nstatus: %s\noutput:\n%s\ncalls:\n%s\n' "$1" "${status:-}" "${output:-}" \
        "$(cat "$CALLS")" >&2
    exit 1
}

expect_status() {
    [[ $status == "$1" ]] || fail "expected the status $1"
}

expect_output() {
    [[ $output == *"$1"* ]] || fail "expected this output: $1"
}

expect_no_output() {
    [[ $output != *"$1"* ]] || fail "unexpected output: $1"
}

# expect_calls PATTERN: compares all calls except queries.
expect_calls() {
    local calls
    calls=$(grep --invert-match '^dpkg-query' "$CALLS" | paste --serial --delimiters='|') || true
    # shellcheck disable=SC2053
    [[ $calls == $1 ]] || fail "expected these calls: $1"
}
