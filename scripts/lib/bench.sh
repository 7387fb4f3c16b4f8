# shellcheck shell=bash disable=SC2034,SC2154
# What scripts/bench measures and how: the subjects are functions measure_NAME. Sourced, not run.

# How it is measured ------------------------------------------------------------------------------
#
# Where the benchmarks work, how times become rows, and the page.

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

# The web server ----------------------------------------------------------------------------------

bench_server=

# start_server: serves $on_disk/www at $disk_address and $in_memory/www at $memory_address; the latter
# at $logged_address, too, which writes the bytes sent and received for each request to
# $on_disk/access.log.
start_server() {
    local port=$((20000 + RANDOM % 20000))
    cat >"$on_disk/nginx.conf" <<CONF
daemon off;
$( ((EUID)) || echo "user $(id --user --name) $(id --group --name);")
pid nginx.pid;
error_log error.log;
events { worker_connections 256; }
http {
  access_log off;
  sendfile on;
  client_body_temp_path tmp/b;
  proxy_temp_path tmp/p;
  fastcgi_temp_path tmp/f;
  uwsgi_temp_path tmp/u;
  scgi_temp_path tmp/s;
  server { listen 127.0.0.1:$port; root www; }
  server { listen 127.0.0.1:$((port + 1)); root "$in_memory/www"; }
  log_format bytes '\$bytes_sent \$request_length';
  server { listen 127.0.0.1:$((port + 2)); root "$in_memory/www"; access_log access.log bytes; }
}
CONF
    # From its folder: the name of that may mean something to nginx.
    (cd "$on_disk" && exec "$(nginx_program)" -p ./ -e error.log -c nginx.conf) 2>/dev/null &
    bench_server=$!
    disk_address=http://127.0.0.1:$port/
    memory_address=http://127.0.0.1:$((port + 1))/
    logged_address=http://127.0.0.1:$((port + 2))/
    wait_for 10 "the web server" curl --silent --output /dev/null "$disk_address"
}

stop_server() {
    stop_process "$bench_server"
}

# Transfers over HTTP on this machine -------------------------------------------------------------

# fetch ADDRESS...: with our download manager; prints microseconds.
fetch() {
    rm -rf "$on_disk/cache"
    timed env HOME="$on_disk/home" XDG_DATA_HOME="$on_disk/home" XDG_CONFIG_HOME="$on_disk/home" \
        "$BENCH_PROGRAMS/bench_transfer" "$on_disk/cache" "$@"
}

# compare_transfers SUBJECT GROWTH_LIMIT REFERENCE ADDRESS...: a row for the time against the
# function REFERENCE, and one for how far our memory rose, in MiB.
compare_transfers() {
    local subject=$1 limit=$2 reference=$3 pair ours theirs growth
    shift 3
    : >"$on_disk/pairs"
    : >"$on_disk/growths"
    for ((pair = -1; pair < PAIRS; ++pair)); do
        ours=$(fetch "$@")
        cat "$on_disk/printed" >>"$on_disk/growths"
        theirs=$("$reference" "$@")
        ((pair < 0)) || echo "$ours $theirs" >>"$on_disk/pairs"
    done
    add_pairs "$subject" 1.0 <"$on_disk/pairs"
    growth=$(($(largest <"$on_disk/growths") / 1024))
    add_row "memory growth of that" "$growth MiB" - - \
        "under $limit MiB$( ((growth < limit)) || echo ", missed")"
}

with_curl() {
    rm -f "$on_disk/fetched"
    timed curl --silent --output "$on_disk/fetched" "$1"
}

measure_transfer() {
    "$BENCH_PROGRAMS/bench_data" bytes 1024 "$on_disk/www/big.bin"
    compare_transfers "one 1 GiB transfer against \`curl -o\`" 32 with_curl "${disk_address}big.bin"
    cmp "$on_disk/cache/big.bin" "$on_disk/www/big.bin"
    rm "${on_disk:?}"/www/* "$on_disk/fetched"
}

with_aria2c() {
    rm -rf "$on_disk/fetched"
    printf '%s\n' "$@" >"$on_disk/list"
    # Without blocks set aside beforehand it is quicker.
    timed aria2c --quiet --no-conf -j 6 --file-allocation=none --dir="$on_disk/fetched" \
        --input-file="$on_disk/list"
}

measure_six_transfers() {
    local number addresses=()
    for number in {1..6}; do
        "$BENCH_PROGRAMS/bench_data" bytes 256 "$on_disk/www/part-$number.bin"
        addresses+=("${disk_address}part-$number.bin")
    done
    compare_transfers "six transfers of 256 MiB at once against \`aria2c -j 6\`" 64 with_aria2c \
        "${addresses[@]}"
    for number in {1..6}; do
        cmp "$on_disk/cache/part-$number.bin" "$on_disk/www/part-$number.bin"
    done
    rm -r "${on_disk:?}"/www/* "$on_disk/fetched"
}

# The file is sparse on the server's side and whole on ours.
measure_large_transfer() {
    local time
    truncate --size=4500M "$on_disk/www/large.bin"
    time=$(fetch "${disk_address}large.bin")
    cmp "$on_disk/cache/large.bin" "$on_disk/www/large.bin"
    add_row "a 4.4 GiB transfer arrives whole" \
        "$((time / 1000)) ms, growth $(($(cat "$on_disk/printed") / 1024)) MiB" - - whole
    rm -r "$on_disk/www/large.bin" "$on_disk/cache"
}

# Catalogues and packages -------------------------------------------------------------------------
#
# The programs measure both sides of a pair themselves.

# run_program NAME ARGUMENT...: with its work folder and the address of the server in front.
run_program() {
    local name=$1
    shift
    "$BENCH_PROGRAMS/bench_$name" "$in_memory" "$memory_address" "$@"
    rm -rf "${in_memory:?}"/{home,simulator}
}

measure_parse() {
    "$BENCH_PROGRAMS/bench_parse" 3600 "$PAIRS" >"$on_disk/pairs"
    add_pairs "parsing 3,600 packages of 30,000 versions against \`QJsonDocument::fromJson\`" 2.0 \
        <"$on_disk/pairs"
}

measure_check() {
    local hardest
    "$BENCH_PROGRAMS/bench_check" 3600 "$PAIRS" >"$on_disk/pairs"
    add_pairs "\`kavo-catalogue check\` of 3,600 packages of 30,000 versions against parsing them" 2.0 \
        <"$on_disk/pairs"
    hardest=$(($(awk '$1 == "hostile" { print $3 }' "$on_disk/pairs" | largest) / 1000))
    add_row "the same of the hardest of $(grep -c ^hostile "$on_disk/pairs") hostile files of 1 MB" \
        "$hardest ms" - - "at most 1,000 ms$( ((hardest <= 1000)) || echo ", missed")"
}

# The goal is 1.2 times what a refresh in one go took, which held the event loop all the while: 1.34 of
# the time of parsing.
measure_refresh() {
    run_program refresh 3600 "$PAIRS" >"$on_disk/pairs"
    add_pairs "whole refresh of 3,600 packages, 500 of them installed, against parsing them" 1.6 \
        <"$on_disk/pairs"
    add_held
}

# add_held: a row from the line "held MICROSECONDS" beside the pairs.
add_held() {
    local held
    held=$(($(awk '$1 == "held" { print $2 }' "$on_disk/pairs") / 1000))
    add_row "the event loop is held meanwhile" "$held ms" - - \
        "at most 50 ms$( ((held <= 50)) || echo ", missed")"
}

# compare_installation SUBJECT ARCHIVE GOAL listed|alone REFERENCE
compare_installation() {
    run_program installation "$2" "$PAIRS" "$4" >"$on_disk/pairs"
    add_pairs "$1 against $5" "$3" <"$on_disk/pairs"
    add_held
}

measure_installation() {
    local tree=$in_memory/tree
    "$BENCH_PROGRAMS/bench_data" tree 20000 "$tree"
    (cd "$tree" && 7z a -mx=1 "$in_memory/www/small.7z" . >/dev/null)
    rm -r "$tree"
    compare_installation "installing 20,000 small files" "$in_memory/www/small.7z" 1.3 \
        alone "\`7z x\`"
    compare_installation "installing 20,000 small files" "$in_memory/www/small.7z" 1.05 \
        listed "\`7z l -slt\` and \`7z x\`"

    "$BENCH_PROGRAMS/bench_data" bytes 1024 "$in_memory/big.bin"
    (cd "$in_memory" && 7z a -mx=0 www/big.7z big.bin >/dev/null)
    rm "$in_memory/big.bin"
    compare_installation "installing one file of 1 GiB" "$in_memory/www/big.7z" 1.05 \
        alone "\`7z x\`"
    rm "${in_memory:?}"/www/*
}

measure_removal() {
    run_program removal 20000 "$PAIRS" >"$on_disk/pairs"
    add_pairs "removing 20,000 files against \`rm -rf\`" 1.3 <"$on_disk/pairs"
}

measure_dependents() {
    run_program dependents 1000 "$PAIRS" >"$on_disk/pairs"
    add_pairs "removing a library with 1,000 dependents against 1,000 unrelated packages" 1.5 \
        <"$on_disk/pairs"
}

measure_dependencies() {
    local pair large small
    : >"$on_disk/pairs"
    for ((pair = -1; pair < PAIRS; ++pair)); do
        large=$(run_program dependencies 10000)
        small=$(run_program dependencies 1000)
        ((pair < 0)) || echo "$large $small" >>"$on_disk/pairs"
    done
    add_pairs "dependents and dependencies of a package among 10,000 against one among 1,000" 1.2 \
        ns 1 <"$on_disk/pairs"
}

# The window with many packages in it, and the start of the program -------------------------------
#
# Drawn off-screen, with the resolution of a plain screen.

export QT_QPA_PLATFORM=offscreen QT_FONT_DPI=96

# run_cards MODE LONG SHORT: lines of pairs.
run_cards() {
    "$BENCH_PROGRAMS/bench_cards" "$1" "$in_memory" "$memory_address" "$2" "$3" "$PAIRS"
    rm -rf "${in_memory:?}"/{home,simulator}
}

measure_first_screen() {
    run_cards screen 3600 30 >"$on_disk/pairs"
    add_pairs "first screen of cards painted after \`update\`, 3,600 packages against 30" 2.0 \
        <"$on_disk/pairs"
}

measure_whole_list() {
    run_cards whole 10000 1000 >"$on_disk/pairs"
    add_pairs "1,000 cards of a list of 10,000 against a list of 1,000, processor time" 1.2 \
        <"$on_disk/pairs"
}

# add_limit SUBJECT VALUE LIMIT DIVISOR UNIT
add_limit() {
    local shown
    shown=$(awk -v value="$2" -v divisor="$4" 'BEGIN { printf "%.1f", value / divisor }')
    add_row "$1" "$shown $5" - - \
        "at most $3 $5$(awk -v a="$shown" -v b="$3" 'BEGIN { if (a > b) print ", missed" }')"
}

measure_long_list() {
    local -a figures
    run_program long_list 3600 >"$on_disk/figures"
    mapfile -t figures <"$on_disk/figures"
    ((${#figures[@]} == 7)) || die "nothing was measured of the long list"
    add_limit "the event loop is held while 100 cards are made at once" "${figures[0]}" 50 1000 ms
    add_limit "the event loop is held while a list of 3,600 fills" "${figures[1]}" 50 1000 ms
    add_limit "the event loop is held while its cards are replaced" "${figures[2]}" 50 1000 ms
    add_limit "the event loop is held in the whole refresh before that" "${figures[6]}" 50 1000 ms
    add_limit "memory of a card" "${figures[3]}" 64 1024 KiB
    add_limit "idle window, 3,600 cards whose icons never come, of a core" "${figures[4]}" 5 1000 %
    add_limit "a step of scrolling through 3,600 cards, 99th percentile" "${figures[5]}" 16 1000 ms
}

measure_search() {
    local -a figures
    run_program search 3600 >"$on_disk/figures"
    mapfile -t figures <"$on_disk/figures"
    ((${#figures[@]} == 3)) || die "nothing was measured of the search"
    add_limit "a keystroke of a search in 3,600 packages to the painted list, 99th percentile" \
        "${figures[0]}" 16 1000 ms
    add_limit "the event loop is held meanwhile, and while the texts are read" "${figures[1]}" 50 1000 ms
    add_limit "memory of the search for a package" "${figures[2]}" 0.5 1024 KiB
}

# At 200 ms an icon. The time to the archive is that of the request, which takes no longer than without
# icons.
measure_icons() {
    local -a figures
    run_program icons 3600 200 >"$on_disk/figures"
    mapfile -t figures <"$on_disk/figures"
    ((${#figures[@]} == 3)) || die "nothing was measured of the icons"
    add_limit "icons of the first screen of 3,600 cards, 200 ms an icon" "${figures[0]}" 2000 1000 ms
    add_limit "icons in the middle of the list after scrolling there" "${figures[1]}" 2000 1000 ms
    add_limit "an order to install until the archive is asked for meanwhile" "${figures[2]}" 50 1000 ms
}

# visit: starts the program until all icons are there; prints what that costs the server: requests,
# bytes sent and bytes received.
visit() {
    : >"$on_disk/access.log"
    in_account "$BENCH_PROGRAMS/bench_visit" run "$logged_address" 3600 >/dev/null 2>&1 ||
        die "the program has failed"
    awk '{ ++requests; sent += $1; received += $2 } END { print requests, sent, received }' \
        "$on_disk/access.log"
}

measure_visits() {
    local -a first second
    rm -rf "${on_disk:?}/home"
    make_account
    "$BENCH_PROGRAMS/bench_visit" make "$in_memory/www" "$logged_address" 3600
    # What has changed just now is not kept.
    find "$in_memory/www" -type f -exec touch --date='1 hour ago' {} +
    read -ra first < <(visit)
    read -ra second < <(visit)
    rm -rf "${in_memory:?}"/www/*
    ((first[0] > 3600 && second[0] > 0)) || die "the server has not been asked"
    results+=("$(awk -v first="${first[*]}" -v second="${second[*]}" 'BEGIN {
        split(first, a); split(second, b)
        part = 100 * b[2] / a[2]
        printf "| bytes sent for the second start with 3,600 packages against the first | "
        printf "%.0f KiB, %d requests of %.0f KiB | ", b[2] / 1024, b[1], b[3] / 1024
        printf "%.0f KiB, %d requests of %.0f KiB | ", a[2] / 1024, a[1], a[3] / 1024
        printf "%.2f %% | at most 1 %%%s |", part, (part > 1 ? ", missed" : "")
    }')")
    say "${results[-1]}"
}

# make_account: settings of a user who has found the simulator.
make_account() {
    mkdir -p "$on_disk/home/Quarnell"
    printf '[General]\nInstallation=%s/\nLanguage=en\n' "$on_disk" \
        >"$on_disk/home/Quarnell/Kavo Suite.ini"
}

in_account() {
    env HOME="$on_disk/home" XDG_CONFIG_HOME="$on_disk/home" XDG_DATA_HOME="$on_disk/home" \
        XDG_CACHE_HOME="$on_disk/home/.cache" "$@"
}

measure_start() {
    local pair ours bare
    mkdir -p "$on_disk/www"
    echo '[]' >"$on_disk/www/packages.json"
    make_account
    : >"$on_disk/pairs"
    for ((pair = -1; pair < PAIRS; ++pair)); do
        ours=$(in_account "$BENCH_PROGRAMS/bench_start" program "$disk_address")
        bare=$(in_account "$BENCH_PROGRAMS/bench_start" bare)
        ((pair < 0)) || echo "$ours $bare" >>"$on_disk/pairs"
    done
    add_pairs "start to the window against a bare one with a line of text, processor time" 2.0 <"$on_disk/pairs"
}
