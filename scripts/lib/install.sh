# shellcheck shell=bash disable=SC2034
# Prepares the machine for a script: installs Debian packages, provides nginx, continues as the user behind
# sudo, and builds. Sourced after say.sh, not run.
#
# Nothing that a script installs may bring a system service: a user who tries the program wants no server and
# no timer. tests/scripts/services-test verifies that for the lists below.

# Lists of packages --------------------------------------------------------------------------------

# To build the program.
KAVO_BUILD_PACKAGES=(
    g++ cmake ninja-build ccache
    qtbase5-dev qttools5-dev qttools5-dev-tools libssl-dev
    librsvg2-bin imagemagick fonts-manrope fonts-font-awesome
)

# To run the program, besides the libraries that the packages above bring. plocate is left out because it
# enables a timer; without it, the program asks for the simulator's folder.
KAVO_PROGRAM_PACKAGES=(libqt5sql5-sqlite qttranslations5-l10n p7zip-full)

# To run the demonstration, with or without a display. nginx is not installed, see provide_nginx; its
# libraries come with Qt and CMake, under names that differ between Debian releases.
KAVO_RUN_PACKAGES=(
    "${KAVO_PROGRAM_PACKAGES[@]}"
    xvfb xauth openbox xdotool sqlite3
)

# To run the tests, besides those to build and to run. dbus-x11 provides a session bus without a service;
# otherwise at-spi2-core would pull in another one, and systemd with it. libsm-dev is for the session manager
# of a test.
KAVO_TEST_PACKAGES=(
    clang-format clang-tidy desktop-file-utils appstream shellcheck git python3
    at-spi2-core python3-pyatspi python3-jsonschema dbus-x11 dbus-daemon x11-utils libsm-dev
)

# To run the tests with faults, besides those to run them. A faulty program may do anything to files, so it
# runs in a sandbox.
KAVO_MUTATION_PACKAGES=(python3 bubblewrap)

# To measure coverage, besides those to run the tests.
KAVO_COVERAGE_PACKAGES=(gcovr)

# To fuzz, besides those to build. The run-time library has the compiler's version.
KAVO_FUZZ_PACKAGES=(clang libclang-rt-14-dev)

# To measure, besides those to build and to run.
KAVO_BENCH_PACKAGES=(curl aria2)

# To check web servers, besides those to build and to run. The servers themselves are unpacked, see
# servers.sh.
KAVO_SERVER_PACKAGES=(curl python3)

# To make the Debian packages, besides those to build.
KAVO_PACKAGE_PACKAGES=(dpkg-dev file)

# To check the Debian packages, besides all of the above. lintian needs man-db, which enables a timer and is
# therefore never installed, see check-package.sh.
KAVO_PACKAGE_CHECK_PACKAGES=(lintian x11-utils)

# every_package: prints the names in all lists, one per line.
every_package() {
    local list
    for list in "${!KAVO_@}"; do
        [[ $list == *_PACKAGES ]] || continue
        local -n names=$list
        printf '%s\n' "${names[@]}"
    done | sort --unique
}

# Preparing ----------------------------------------------------------------------------------------

first_build=

# announce_build FOLDER COST: prepare_machine prints the cost if build/FOLDER does not exist.
announce_build() {
    [[ -d $KAVO_SOURCE/build/$1 ]] || first_build=$2
}

# prepare_machine NAME...: checks the build folder, installs missing packages, and continues as the user if
# the script was started with sudo.
prepare_machine() {
    require_build_folder
    [[ -z $first_build ]] || say "The first build takes about $first_build on two cores"
    install_missing_packages "$@"
    continue_as_user
}

# The user -----------------------------------------------------------------------------------------
#
# Only apt-get needs root. Everything that is built belongs to the user, even with sudo: files of root in
# build/ would make the next start fail.

# The command line of this script, to start it again.
readonly KAVO_COMMAND=("$KAVO_SOURCE/scripts/$(basename "$0")" "$@")

is_root() {
    ((EUID == 0))
}

has_sudo() {
    command -v sudo >/dev/null
}

# as_root COMMAND...: runs the command directly or through sudo.
as_root() {
    if is_root; then
        "$@"
    elif has_sudo; then
        sudo "$@"
    else
        die "sudo is not installed, and this needs root: $*"
    fi
}

# require_build_folder: ends the script before it fetches anything if it could not build.
require_build_folder() {
    local foreign build="$KAVO_SOURCE/build"
    if [[ ! -e $build ]]; then
        [[ -w $KAVO_SOURCE ]] || die "$(advice_for_read_only)"
        return
    fi
    foreign=$(find "$build/" -maxdepth 2 -type d ! -writable -print -quit 2>/dev/null) || true
    [[ -n $foreign ]] || return 0
    [[ $(stat --format=%u "$foreign") != 0 ]] || is_root || die "$(advice_for_roots_folder "$foreign")"
    die "$(advice_for_read_only)"
}

advice_for_read_only() {
    local copy
    copy="${HOME:-/tmp}/$(basename "$KAVO_SOURCE")"
    [[ $copy != "$KAVO_SOURCE" ]] || copy+=-copy
    cat <<ADVICE
$(id --user --name) cannot write to $KAVO_SOURCE, and the scripts build in its folder build.
Copy it to a folder of your own and start the script there:
    cp -r $(printf '%q %q' "$KAVO_SOURCE" "$copy")
    chmod -R u+w $(printf '%q' "$copy")
ADVICE
}

# advice_for_roots_folder FOLDER
advice_for_roots_folder() {
    cat <<ADVICE
$1 belongs to root, because a script was started as root before. Make it yours:
    sudo chown -R $(id --user):$(id --group) $(printf '%q' "$KAVO_SOURCE/build")
Without sudo, run the chown command as root.
ADVICE
}

# continue_as_user: starts the script again as the user who called sudo, if the project's folder belongs to
# that user. The display stays the same: sudo keeps DISPLAY and XAUTHORITY.
continue_as_user() {
    is_root && [[ -n ${SUDO_UID:-} && ${SUDO_UID:-} != 0 ]] || return 0
    [[ $(stat --format=%u "$KAVO_SOURCE") == "$SUDO_UID" ]] || return 0
    local name=$SUDO_USER home runtime="/run/user/$SUDO_UID"
    home=$(getent passwd "$SUDO_UID" | cut -d: -f6)
    local -a environment=(-u SUDO_UID -u SUDO_GID -u SUDO_USER -u SUDO_COMMAND
        "HOME=$home" "USER=$name" "LOGNAME=$name")
    [[ ! -d $runtime ]] || environment+=("XDG_RUNTIME_DIR=$runtime")
    say "Continuing as $name, who will own the build"
    # An earlier start may have left files of root.
    [[ ! -d $KAVO_SOURCE/build ]] ||
        chown --recursive --no-dereference --from=root "$SUDO_UID:${SUDO_GID:-}" "$KAVO_SOURCE/build"
    exec setpriv --reuid "$SUDO_UID" --regid "$SUDO_GID" --init-groups \
        env "${environment[@]}" "${KAVO_COMMAND[@]}"
}

# Installing ---------------------------------------------------------------------------------------

# missing_packages NAME...: prints those that are not installed, one per line.
missing_packages() {
    local name
    for name in "$@"; do
        dpkg-query --show --showformat='${db:Status-Status}' "$name" 2>/dev/null |
            grep --quiet '^installed$' || echo "$name"
    done
}

# get_packages COMMAND ARGUMENT...: runs apt-get without questions; it waits for its lock.
get_packages() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 --yes --quiet "$@"
}

install_missing_packages() {
    local -a missing
    if ! command -v dpkg-query >/dev/null; then
        say "This is not Debian; install these packages or their equivalents yourself: $*"
        return
    fi
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0

    say "Missing Debian packages: ${missing[*]}"
    is_root || has_sudo || die "sudo is not installed. $(by_hand "${missing[@]}")"
    say "Updating the package lists$(is_root || echo " (sudo may ask for your password)")"
    get_packages update || die "apt-get failed, see above. $(by_hand "${missing[@]}")"
    announce_cost "${missing[@]}"
    get_packages install --no-install-recommends "${missing[@]}" ||
        die "apt-get failed, see above. $(by_hand "${missing[@]}")"
    # apt-get can report success after an interruption.
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]} == 0)) || die "still missing: ${missing[*]}. $(by_hand "${missing[@]}")"
}

# announce_cost NAME...: prints what apt-get is going to download and install.
announce_cost() {
    local answer fetched kept
    answer=$(LC_ALL=C apt-get --print-uris --no-install-recommends --yes install "$@" 2>&1) ||
        die "apt-get cannot install these packages: $answer"
    fetched=$(sed -n 's/^Need to get \(.*\) of archives\.$/\1/p' <<<"$answer")
    kept=$(sed -n 's/^After this operation, \(.*\) of additional disk space will be used\.$/\1/p' \
        <<<"$answer")
    say "Including dependencies: $(grep ' newly installed, ' <<<"$answer")"
    say "Download: ${fetched:-nothing}. Disk space: ${kept:-none}. Press Ctrl-C to cancel."
}

# by_hand NAME...: prints how to install packages without this script.
by_hand() {
    cat <<ADVICE
As root (\`su -\` makes you root), run
    apt-get update
    apt-get install --no-install-recommends $*
Then start this script again, not as root.
ADVICE
}

# nginx --------------------------------------------------------------------------------------------
#
# The web server of the demonstration, the tests and the benchmarks. Debian's nginx packages enable a system
# service on port 80 of every interface. So none is installed; the program is unpacked into build/tools/.

readonly UNPACKED_NGINX="$KAVO_SOURCE/build/tools/nginx"

# nginx_program: prints the path of an nginx that starts. tests/support/Nginx.cpp looks in the same places.
nginx_program() {
    local program
    for program in "$UNPACKED_NGINX" /usr/sbin/nginx /usr/bin/nginx; do
        if "$program" -v >/dev/null 2>&1; then
            echo "$program"
            return
        fi
    done
    return 1
}

# provide_nginx: nginx_program succeeds afterwards.
provide_nginx() {
    nginx_program >/dev/null && return
    command -v apt-get >/dev/null || die "nginx is missing, and there is no apt-get to download it with"
    say "Unpacking nginx into build/tools; it is not installed"
    mkdir -p "$KAVO_SOURCE/build/tools"
    local work
    work=$(mktemp --directory "$KAVO_SOURCE/build/tools/nginx.XXXXXX")
    download_package nginx "$work"
    dpkg-deb --extract "$work"/nginx_*.deb "$work/content"
    mv "$work/content/usr/sbin/nginx" "$UNPACKED_NGINX"
    rm -r "$work"
    nginx_program >/dev/null || die "$UNPACKED_NGINX does not start: $(ldd "$UNPACKED_NGINX")"
}

# download_package NAME FOLDER: downloads a package into a folder without installing it.
download_package() {
    # The package lists may be out of date.
    try_download "$@" || { get_packages update && try_download "$@"; } ||
        die "$1 was not downloaded: $(<"$2/log")"
}

# try_download NAME FOLDER: as root, because apt's own account cannot enter the folder.
try_download() {
    (cd "$2" && apt-get -o APT::Sandbox::User=root download "$1") >"$2/log" 2>&1
}

# Building -----------------------------------------------------------------------------------------

# build_release FOLDER [CMAKE_OPTION...] [-- TARGET]: builds everything or the target with the release preset.
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
    # The preset compiles through ccache, which is optional.
    command -v ccache >/dev/null || options+=(-DCMAKE_CXX_COMPILER_LAUNCHER=)
    say "Building in $folder"
    # Not in a subshell, which would not see the trap for Ctrl-C.
    if ! cmake -S "$KAVO_SOURCE" --preset release -B "$folder" "${options[@]}" >"$folder.log" 2>&1; then
        cat "$folder.log" >&2
        die "the build failed"
    fi
    cmake --build "$folder" "${target[@]}" || die "the build failed"
}
