# shellcheck shell=bash disable=SC2034
# The Debian packages that the project needs, and the one place that installs them. Sourced, not run.

# shellcheck source=scripts/lib/say.sh
source "$(dirname "${BASH_SOURCE[0]}")/say.sh"

# To build the program.
KAVO_BUILD_PACKAGES=(
    g++ cmake ninja-build ccache
    qtbase5-dev qttools5-dev qttools5-dev-tools
    librsvg2-bin imagemagick fonts-manrope fonts-font-awesome
)

# To run it and its demonstration, with or without a display.
KAVO_RUN_PACKAGES=(
    libqt5sql5-sqlite qttranslations5-l10n p7zip-full plocate
    nginx-light
    xvfb xauth openbox xdotool sqlite3
)

# To run the tests and checks, besides those.
KAVO_TEST_PACKAGES=(clang-format clang-tidy desktop-file-utils appstream)

# To fuzz; the run-time library is of the compiler's version.
KAVO_FUZZ_PACKAGES=(clang libclang-rt-14-dev)

# To measure, besides those to build and to run.
KAVO_BENCH_PACKAGES=(curl aria2)

# To make the Debian package, besides those to build.
KAVO_PACKAGE_PACKAGES=(dpkg-dev file)

# To check it, besides all of the above.
KAVO_PACKAGE_CHECK_PACKAGES=(lintian x11-utils)

# missing_packages NAME...: those that are not installed, one a line.
missing_packages() {
    local name
    for name in "$@"; do
        dpkg-query --show --showformat='${db:Status-Status}' "$name" 2>/dev/null |
            grep --quiet '^installed$' || echo "$name"
    done
}

# as_root COMMAND...: directly or through sudo.
as_root() {
    if ((EUID == 0)); then
        "$@"
    elif command -v sudo >/dev/null; then
        sudo "$@"
    else
        die "please run as root: $*"
    fi
}

# get_packages COMMAND ARGUMENT...: apt-get without questions, which waits for its turn.
get_packages() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 --yes --quiet "$@"
}

# install_missing_packages NAME...: asks apt-get for what is missing and for nothing else, as root or
# through sudo.
install_missing_packages() {
    local -a missing
    if ! command -v dpkg-query >/dev/null; then
        say "This is no Debian system; these packages (or their like) are needed: $*"
        return
    fi
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0

    say "Installing Debian packages: ${missing[*]}"
    get_packages update
    get_packages install --no-install-recommends "${missing[@]}"
}
