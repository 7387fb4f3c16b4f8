# shellcheck shell=bash disable=SC2034
# The Debian packages that the project needs. Sourced, not run.
#
# None of them, nor anything that they bring along, may have a service of the system: whoever tries
# the program wants no server and no timer. tests/scripts/services-test holds them to it.

# To build the program.
KAVO_BUILD_PACKAGES=(
    g++ cmake ninja-build ccache
    qtbase5-dev qttools5-dev qttools5-dev-tools libssl-dev
    librsvg2-bin imagemagick fonts-manrope fonts-font-awesome
)

# To run it, besides its libraries, which come with those above. Without plocate, which enables a
# timer, it asks for the simulator's folder.
KAVO_PROGRAM_PACKAGES=(libqt5sql5-sqlite qttranslations5-l10n p7zip-full)

# To run its demonstration, with or without a display. nginx comes without a package, see nginx.sh; its
# libraries are among those of Qt and CMake, under names that differ from one Debian to the next.
KAVO_RUN_PACKAGES=(
    "${KAVO_PROGRAM_PACKAGES[@]}"
    xvfb xauth openbox xdotool sqlite3
)

# To run the tests, which look at the sources as well, besides those.
# dbus-x11 is the bus of a session without a service; for want of one, what at-spi2-core needs would
# bring another, and systemd with it. libsm-dev makes the session of a desktop that a test ends.
KAVO_TEST_PACKAGES=(
    clang-format clang-tidy desktop-file-utils appstream shellcheck git python3
    at-spi2-core python3-pyatspi python3-jsonschema dbus-x11 dbus-daemon x11-utils libsm-dev
)

# To try the tests with faults, besides those to run them. A program with a fault may do anything to
# files, so it gets a sandbox.
KAVO_MUTATION_PACKAGES=(python3 bubblewrap)

# To fuzz; the run-time library is of the compiler's version.
KAVO_FUZZ_PACKAGES=(clang libclang-rt-14-dev)

# To measure, besides those to build and to run.
KAVO_BENCH_PACKAGES=(curl aria2)

# To check web servers, besides those to build and to run. The servers come without packages, see
# servers.sh.
KAVO_SERVER_PACKAGES=(curl python3)

# To make the Debian package, besides those to build.
KAVO_PACKAGE_PACKAGES=(dpkg-dev file)

# To check it, besides all of the above. lintian needs man-db, which enables a timer; a machine that
# has none gets none, see scripts/check-package.
KAVO_PACKAGE_CHECK_PACKAGES=(lintian x11-utils)

# every_package: the names in all lists, one a line.
every_package() {
    local list
    for list in "${!KAVO_@}"; do
        [[ $list == *_PACKAGES ]] || continue
        local -n names=$list
        printf '%s\n' "${names[@]}"
    done | sort --unique
}
