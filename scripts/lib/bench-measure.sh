# shellcheck shell=bash disable=SC2034
# Where the benchmarks work, how times become rows, and the page. Sourced, not run.

readonly PAIRS=7
readonly BENCH_PROGRAMS=$KAVO_SOURCE/build/bench/bin
results=()

# make_folders: $on_disk for transfers; $in_memory for everything in which the programs are to be
# compared and not how busy the disk is.
make_folders() {
    local enough=$((5 * 1024 * 1024))
    on_disk=$(mktemp --directory "$KAVO_SOURCE/build/bench/work.XXXXXX")
    in_memory=$on_disk/memory
    if (($(df --output=avail /dev/shm 2>/dev/null | tail -n 1 || echo 0) > enough)); then
        in_memory=$(mktemp --directory /dev/shm/kavo-bench.XXXXXX)
    fi
    mkdir -p "$on_disk"/{www,home,tmp} "$in_memory/www"
}

clean_up() {
    stop_server
    rm -rf "$on_disk" "$in_memory"
}

# timed COMMAND...: wall time in microseconds; what the command prints goes to $on_disk/printed.
timed() {
    local begin=${EPOCHREALTIME/./} end
    "$@" >"$on_disk/printed" 2>/dev/null || die "failed: $*"
    end=${EPOCHREALTIME/./}
    echo $((end - begin))
}

# add_row SUBJECT OURS REFERENCE RATIO GOAL
add_row() {
    results+=("| $1 | $2 | $3 | $4 | $5 |")
    say "${results[-1]}"
}

# add_pairs SUBJECT LIMIT [UNIT DIVISOR] <PAIRS: a row from lines of "ours reference", in
# microseconds unless told otherwise. The medians, and the ratio pair by pair.
add_pairs() {
    local row
    row=$(awk -v subject="$1" -v limit="$2" -v unit="${3:-ms}" -v divisor="${4:-1000}" '
        function sort(list, count,    i, j, value) {
            for (i = 2; i <= count; ++i) {
                value = list[i]
                for (j = i - 1; j > 0 && list[j] > value; --j)
                    list[j + 1] = list[j]
                list[j + 1] = value
            }
            return list[int((count + 1) / 2)]
        }
        /^[0-9]+ [0-9]+$/ { ++n; ours[n] = $1; reference[n] = $2; ratio[n] = $1 / $2 }
        END {
            if (!n)
                exit 1
            middle = sort(ratio, n)
            printf "| %s | %.0f %s | %.0f %s | %.2f (%.2f to %.2f) | at most %s%s |", subject,
                sort(ours, n) / divisor, unit, sort(reference, n) / divisor, unit, middle,
                ratio[1], ratio[n], limit, (middle > limit ? ", missed" : "")
        }') || die "nothing was measured: $1"
    results+=("$row")
    say "$row"
}

# largest <NUMBERS
largest() {
    sort --numeric-sort | tail -n 1
}

print_table() {
    echo "| subject | ours | reference | ratio | goal |"
    echo "|---|---|---|---|---|"
    printf '%s\n' "${results[@]}"
}

print_page() {
    local processor memory system
    processor=$(awk -F': ' '/model name/ { print $2; exit }' /proc/cpuinfo)
    memory=$(awk '/MemTotal/ { printf "%d GiB", $2 / 1048576 }' /proc/meminfo)
    # shellcheck source=/dev/null
    system=$(. /etc/os-release && echo "$PRETTY_NAME")
    cat <<PAGE
# Benchmarks

Written by \`scripts/bench\` on $(date +%F): $(nproc) cores, $processor, $memory, $system.
Ours and the reference ran in turn, $PAIRS pairs after one warm-up; medians, and the ratio pair by
pair as median (smallest to largest). Transfers are written to the disk; all else lies in memory
where that is large enough, so that the programs are compared and not how busy the disk is.

PAGE
    print_table
}
