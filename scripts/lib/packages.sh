# shellcheck shell=bash disable=SC2034
# The Debian packages that the project needs. Sourced, not run.

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

# To run the tests, besides those.
KAVO_TEST_PACKAGES=(clang-format desktop-file-utils appstream)

# To check the sources, besides those to build.
KAVO_LINT_PACKAGES=(clang-format clang-tidy shellcheck git)

# To fuzz; the run-time library is of the compiler's version.
KAVO_FUZZ_PACKAGES=(clang libclang-rt-14-dev)

# To measure, besides those to build and to run.
KAVO_BENCH_PACKAGES=(curl aria2)

# To make the Debian package, besides those to build.
KAVO_PACKAGE_PACKAGES=(dpkg-dev file)

# To check it, besides all of the above.
KAVO_PACKAGE_CHECK_PACKAGES=(lintian x11-utils)
