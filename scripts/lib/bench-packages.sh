# shellcheck shell=bash disable=SC2154
# What happens to catalogues and packages. The programs measure both sides of a pair themselves.
# Sourced, not run.

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
