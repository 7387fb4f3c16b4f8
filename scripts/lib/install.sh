# shellcheck shell=bash
# The one place that installs Debian packages, and what has to hold before a script begins. Sourced,
# not run.

# shellcheck source=scripts/lib/packages.sh
source "$KAVO_SOURCE/scripts/lib/packages.sh"
# shellcheck source=scripts/lib/account.sh
source "$KAVO_SOURCE/scripts/lib/account.sh"
# shellcheck source=scripts/lib/nginx.sh
source "$KAVO_SOURCE/scripts/lib/nginx.sh"

# shellcheck disable=SC2034
readonly KAVO_TEST_BUILD_COST="3 GB of disk and, with all tests, some 25 minutes"
first_build=

# missing_packages NAME...: those that are not installed, one a line.
missing_packages() {
    local name
    for name in "$@"; do
        dpkg-query --show --showformat='${db:Status-Status}' "$name" 2>/dev/null |
            grep --quiet '^installed$' || echo "$name"
    done
}

# get_packages COMMAND ARGUMENT...: apt-get without questions, which waits for its turn.
get_packages() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 --yes --quiet "$@"
}

# prepare_machine NAME...: everything that has to be there before a script builds: a folder to build
# in, and these packages. What is missing is asked of apt-get and nothing else, as root or through
# sudo. A script that was itself started through sudo goes on as the user who did that.
prepare_machine() {
    require_build_folder
    [[ -z $first_build ]] || say "The first build takes about $first_build on two cores"
    install_missing_packages "$@"
    continue_as_user
}

# announce_build FOLDER COST: has prepare_machine say what building there for the first time takes.
announce_build() {
    [[ -d $KAVO_SOURCE/build/$1 ]] || first_build=$2
}

install_missing_packages() {
    local -a missing
    if ! command -v dpkg-query >/dev/null; then
        say "This is no Debian system; these packages (or their like) are needed: $*"
        return
    fi
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]})) || return 0

    say "Debian packages that are missing: ${missing[*]}"
    is_root || has_sudo || die "there is no sudo here. $(by_hand "${missing[@]}")"
    say "Reading Debian's lists of packages$(is_root || echo " (sudo may ask for your password)")"
    get_packages update || die "apt-get has failed, see above. $(by_hand "${missing[@]}")"
    announce_cost "${missing[@]}"
    get_packages install --no-install-recommends "${missing[@]}" ||
        die "apt-get has failed, see above. $(by_hand "${missing[@]}")"
    # apt-get has been seen to end with success when it was interrupted.
    mapfile -t missing < <(missing_packages "$@")
    ((${#missing[@]} == 0)) || die "still missing: ${missing[*]}. $(by_hand "${missing[@]}")"
}

# announce_cost NAME...: in apt's own figures, which are those of this machine and of today.
announce_cost() {
    local answer fetched kept
    answer=$(LC_ALL=C apt-get --print-uris --no-install-recommends --yes install "$@" 2>&1) ||
        die "apt-get cannot install these packages: $answer"
    fetched=$(sed -n 's/^Need to get \(.*\) of archives\.$/\1/p' <<<"$answer")
    kept=$(sed -n 's/^After this operation, \(.*\) of additional disk space will be used\.$/\1/p' \
        <<<"$answer")
    say "With what they need: $(grep ' newly installed, ' <<<"$answer")"
    say "To be fetched: ${fetched:-nothing}. They take ${kept:-no more} of disk. Ctrl-C ends this."
}

# by_hand NAME...: what to do about missing packages without this script.
by_hand() {
    cat <<ADVICE
As root (\`su -\` makes you root), run
    apt-get update
    apt-get install --no-install-recommends $*
and then start this script again, not as root.
ADVICE
}
