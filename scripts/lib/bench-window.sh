# shellcheck shell=bash disable=SC2154
# The window with many packages in it, and the start of the program. Drawn off-screen, with the
# resolution of a plain screen. Sourced, not run.

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
