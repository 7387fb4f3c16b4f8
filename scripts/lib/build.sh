# shellcheck shell=bash
# Building the program. Sourced, not run.

# build_release FOLDER [CMAKE_OPTION...]: configures with the release preset and builds.
build_release() {
    local folder=$1
    shift
    local -a options=("$@")
    # The preset compiles through ccache; without it the compiler is called directly.
    command -v ccache >/dev/null || options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=)
    say "Building in $folder"
    (
        cd "$KAVO_SOURCE"
        cmake --preset release -B "$folder" "${options[@]}" >"$folder.log" 2>&1 ||
            { cat "$folder.log" >&2; exit 1; }
        cmake --build "$folder"
    ) || die "the build failed"
}
