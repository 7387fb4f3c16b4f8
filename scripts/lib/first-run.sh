# shellcheck shell=bash
# scripts/check first-run: a command where nobody has installed anything. Sourced, not run.

readonly FIRST_RUN="$KAVO_SOURCE/build/first-run"
readonly BARE="$FIRST_RUN/debian-12.tar"
readonly ACCOUNT=newcomer
machine=

# What is run without a command.
# shellcheck disable=SC2016
readonly INSTALL_EVERYTHING='set -euo pipefail
source scripts/lib/say.sh
source scripts/lib/install.sh
# It needs man-db, which is not there and which no script installs.
mapfile -t names < <(every_package | grep --invert-match --line-regexp lintian)
prepare_machine "${names[@]}"
provide_nginx'

make_bare_system() {
    [[ ! -e $BARE ]] || return 0
    say "Fetching a bare Debian 12 into $BARE"
    local folder
    folder=$(mktemp --directory /var/tmp/kavo-bare.XXXXXX)
    as_root debootstrap --include=sudo,ca-certificates bookworm "$folder" \
        http://deb.debian.org/debian >"$FIRST_RUN/debootstrap.log" 2>&1 ||
        { as_root rm -rf "$folder"; die "debootstrap has failed, see $FIRST_RUN/debootstrap.log"; }
    as_root tar -C "$folder" -cf - . >"$BARE.part"
    as_root rm -rf "$folder"
    mv "$BARE.part" "$BARE"
}

# make_machine: sets $machine. Its folder is not below build/, because it belongs to root.
make_machine() {
    machine=$(mktemp --directory /var/tmp/kavo-first-run.XXXXXX)
    trap remove_machine EXIT
    as_root tar -C "$machine" -xf "$BARE"
    as_root chmod 755 "$machine"
    as_root cp --dereference /etc/resolv.conf "$machine/etc/"
    # sudo looks its own machine up.
    echo "127.0.0.1 localhost $(uname --nodename)" | as_root tee "$machine/etc/hosts" >/dev/null
    local suite
    for suite in "debian bookworm" "debian bookworm-updates" "debian-security bookworm-security"; do
        echo "deb http://deb.debian.org/$suite main"
    done | as_root tee "$machine/etc/apt/sources.list" >/dev/null
    make_account
    refuse_services
}

make_account() {
    as_root chroot "$machine" useradd --create-home --shell /bin/bash "$ACCOUNT"
    echo "$ACCOUNT ALL=(ALL) NOPASSWD: ALL" | as_root tee "$machine/etc/sudoers.d/$ACCOUNT" >/dev/null
    as_root mkdir "$machine/home/$ACCOUNT/kavo-suite"
    tar --exclude=./build --exclude=./.git -cf - . |
        as_root tar -C "$machine/home/$ACCOUNT/kavo-suite" -xf -
    as_root chroot "$machine" chown -R "$ACCOUNT:$ACCOUNT" "/home/$ACCOUNT"
}

# refuse_services: what asks for a service to be started is written down and told no. Without that, a
# package in a root of its own might start a server on this very machine.
refuse_services() {
    as_root tee "$machine/usr/sbin/policy-rc.d" >/dev/null <<'POLICY'
#!/bin/sh
echo "$*" >>/var/log/asked-services
exit 101
POLICY
    as_root chmod 755 "$machine/usr/sbin/policy-rc.d"
}

# inside COMMAND...: in the machine, as its user, with mounts that end with the command. The folder
# /run/systemd/system tells the packages that systemd runs the machine.
inside() {
    # shellcheck disable=SC2016
    as_root unshare --mount --pid --fork --kill-child -- bash -euc '
        machine=$1 account=$2
        shift 2
        mount -t proc proc "$machine/proc"
        mount --rbind /dev "$machine/dev"
        mount --rbind --make-slave /sys "$machine/sys"
        mount -t tmpfs tmpfs "$machine/run"
        mkdir -p "$machine/run/systemd/system" "$machine/run/lock"
        chroot "$machine" runuser --login "$account" --command \
            "cd kavo-suite && exec $(printf "%q " "$@")"
    ' inside "$machine" "$ACCOUNT" "$@"
}

# list_services: everything that begins by itself, a line each: units of the system and of users that
# are enabled, which is a link, or that a package has put among what is wanted; init scripts; cron.
list_services() {
    local script
    find "$machine/etc/systemd" -type l -printf 'enabled %P\n' | LC_ALL=C sort
    find "$machine/usr/lib/systemd" \( -path '*.wants/*' -o -path '*.requires/*' \) \
        -printf 'wanted %P\n' | LC_ALL=C sort
    # Where systemd has a unit of this name, it leaves the script alone.
    for script in "$machine"/etc/rc[S2345].d/S*; do
        script=${script##*/S??}
        [[ -e $machine/lib/systemd/system/$script.service ||
            -L $machine/lib/systemd/system/$script.service ]] || echo "init script $script"
    done
    find "$machine"/etc/cron.* -type f -printf 'cron %P\n' | LC_ALL=C sort
}

# list_asked: the services that were to be started. One that Debian masks, x11-common, never is.
list_asked() {
    local name action
    [[ -e $machine/var/log/asked-services ]] || return 0
    while read -r name action; do
        [[ $(readlink "$machine/lib/systemd/system/${name%.service}.service") == /dev/null ]] ||
            echo "$name $action"
    done <"$machine/var/log/asked-services"
}

remove_machine() {
    [[ -z $machine ]] || as_root rm -rf --one-file-system "$machine"
}

# check_first_run [COMMAND...]
check_first_run() {
    prepare_machine debootstrap
    mkdir -p "$FIRST_RUN"
    make_bare_system
    make_machine
    list_services >"$FIRST_RUN/services-before"
    (($#)) || set -- bash -c "$INSTALL_EVERYTHING"
    say "As a newcomer on a bare Debian 12: ${1}${2:+ ...}"
    local asked begin=$SECONDS
    inside "$@" || die "it ended with status $?"
    say "It took $((SECONDS - begin)) seconds; the system has $(as_root du -sh --one-file-system "$machine" | cut -f1)"
    list_services >"$FIRST_RUN/services-after"
    diff "$FIRST_RUN/services-before" "$FIRST_RUN/services-after" || die "these services were not there before"
    asked=$(list_asked)
    [[ -z $asked ]] || die "these were to be started: $asked"
    say "No service was enabled or started"
}
