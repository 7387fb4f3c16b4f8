# shellcheck shell=bash
# Building the program. Sourced, not run.

# build_release FOLDER [CMAKE_OPTION...] [-- TARGET]: configures with the release preset and builds
# everything or the target.
build_release() {
    local folder=$1
    shift
    local -a options=() target=()
    while (($#)); do
        case $1 in
        --) target=(--target "$2"); shift ;;
        *) options+=("$1") ;;
        esac
        shift
    done
    # The preset compiles through ccache; without it the compiler is called directly.
    command -v ccache >/dev/null || options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=)
    say "Building in $folder"
    # In no subshell, which would not hear of Ctrl-C as say.sh has it.
    if ! cmake -S "$KAVO_SOURCE" --preset release -B "$folder" "${options[@]}" >"$folder.log" 2>&1; then
        cat "$folder.log" >&2
        die "the build failed"
    fi
    cmake --build "$folder" "${target[@]}" || die "the build failed"
}
