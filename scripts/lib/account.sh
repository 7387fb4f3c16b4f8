# shellcheck shell=bash
# Who runs a script, and whose the files are that it leaves. Sourced, not run.
#
# Only apt-get needs root. Everything that is built belongs to the user, also when the script was
# started through sudo: what root leaves in build/ would stop the next start.

# The script and its arguments, to start it anew.
readonly KAVO_COMMAND=("$KAVO_SOURCE/scripts/$(basename "$0")" "$@")

is_root() {
    ((EUID == 0))
}

has_sudo() {
    command -v sudo >/dev/null
}

# as_root COMMAND...: directly or through sudo.
as_root() {
    if is_root; then
        "$@"
    elif has_sudo; then
        sudo "$@"
    else
        die "there is no sudo here; this needs root: $*"
    fi
}

# require_build_folder: stops before anything is fetched when nothing could be built.
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

# advice_for_read_only: copying makes the folder the user's.
advice_for_read_only() {
    local copy
    copy="${HOME:-/tmp}/$(basename "$KAVO_SOURCE")"
    [[ $copy != "$KAVO_SOURCE" ]] || copy+=-copy
    cat <<ADVICE
$KAVO_SOURCE cannot be written to by $(id --user --name), and everything that is built goes into its folder build.
Copy it to a place of your own and start the script there:
    cp -r $(printf '%q %q' "$KAVO_SOURCE" "$copy")
    chmod -R u+w $(printf '%q' "$copy")
ADVICE
}

# advice_for_roots_folder FOLDER
advice_for_roots_folder() {
    cat <<ADVICE
$1 belongs to root, from an earlier start as root. Either give it back to yourself:
    sudo chown -R $(id --user):$(id --group) $(printf '%q' "$KAVO_SOURCE/build")
or, without sudo, have root run the same without the first word.
ADVICE
}

# continue_as_user: starts the script anew as the user who has started it through sudo, if the folder
# is that user's. The display comes along: sudo keeps DISPLAY and XAUTHORITY.
continue_as_user() {
    is_root && [[ -n ${SUDO_UID:-} && ${SUDO_UID:-} != 0 ]] || return 0
    [[ $(stat --format=%u "$KAVO_SOURCE") == "$SUDO_UID" ]] || return 0
    local name=$SUDO_USER home runtime="/run/user/$SUDO_UID"
    home=$(getent passwd "$SUDO_UID" | cut -d: -f6)
    local -a environment=(-u SUDO_UID -u SUDO_GID -u SUDO_USER -u SUDO_COMMAND
        "HOME=$home" "USER=$name" "LOGNAME=$name")
    [[ ! -d $runtime ]] || environment+=("XDG_RUNTIME_DIR=$runtime")
    say "Going on as $name: what is built is yours, not root's"
    # Something may be there from a start that did go on as root.
    [[ ! -d $KAVO_SOURCE/build ]] ||
        chown --recursive --no-dereference --from=root "$SUDO_UID:${SUDO_GID:-}" "$KAVO_SOURCE/build"
    exec setpriv --reuid "$SUDO_UID" --regid "$SUDO_GID" --init-groups \
        env "${environment[@]}" "${KAVO_COMMAND[@]}"
}
