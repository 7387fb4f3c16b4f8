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
    (
        cd "$KAVO_SOURCE"
        cmake --preset release -B "$folder" "${options[@]}" >"$folder.log" 2>&1 ||
            { cat "$folder.log" >&2; exit 1; }
        cmake --build "$folder" "${target[@]}"
    ) || die "the build failed"
}
