# shellcheck shell=bash disable=SC2154
# Transfers over HTTP on this machine. Sourced, not run.

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
