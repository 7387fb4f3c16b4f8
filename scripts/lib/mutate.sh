# shellcheck shell=bash
# Small faults in a copy of the sources, each of which a test has to notice. Sourced, not run.

# run_mutations [LABEL...] [--only PATTERN]: puts in the faults of tests/mutations, of all folders or of
# some, and runs the tests of their folders with each.
run_mutations() {
    announce_build mutate "2 GB of disk and some 15 minutes"
    prepare_machine "${KAVO_BUILD_PACKAGES[@]}" "${KAVO_RUN_PACKAGES[@]}" \
        "${KAVO_TEST_PACKAGES[@]}" "${KAVO_MUTATION_PACKAGES[@]}"
    provide_nginx
    python3 -B "$KAVO_SOURCE/scripts/lib/mutate.py" "$@"
}
