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
    ((${#figures[@]} == 6)) || die "nothing was measured of the long list"
    add_limit "the event loop is held while 100 cards are made at once" "${figures[0]}" 50 1000 ms
    add_limit "the event loop is held while a list of 3,600 fills" "${figures[1]}" 50 1000 ms
    add_limit "the event loop is held while its cards are replaced" "${figures[2]}" 50 1000 ms
    add_limit "memory of a card" "${figures[3]}" 64 1024 KiB
    add_limit "idle window, 3,600 cards whose icons never come, of a core" "${figures[4]}" 5 1000 %
    add_limit "a step of scrolling through 3,600 cards, 99th percentile" "${figures[5]}" 16 1000 ms
}

measure_start() {
    local pair ours bare home=$on_disk/home
    local -a account=(env HOME="$home" XDG_CONFIG_HOME="$home" XDG_DATA_HOME="$home")
    mkdir -p "$home/Quarnell" "$on_disk/www"
    echo '[]' >"$on_disk/www/packages.json"
    printf '[General]\nInstallation=%s/\nLanguage=en\n' "$on_disk" >"$home/Quarnell/Kavo Suite.ini"
    : >"$on_disk/pairs"
    for ((pair = -1; pair < PAIRS; ++pair)); do
        ours=$("${account[@]}" "$BENCH_PROGRAMS/bench_start" program "$disk_address")
        bare=$("${account[@]}" "$BENCH_PROGRAMS/bench_start" bare)
        ((pair < 0)) || echo "$ours $bare" >>"$on_disk/pairs"
    done
    add_pairs "start to the window against a bare one with a line of text, processor time" 2.0 <"$on_disk/pairs"
}
