# shellcheck shell=bash
# What the machine looks like, to compare it before and after. Sourced, not run.

# list_files FOLDER...: every path that an installation could have to do with, but for the package
# manager's own notes. An ordinary user may not look into every folder (/etc/ssl/private): what is in
# there is left out.
list_files() {
    {
        find "$@" \
            \( -path /var/cache -o -path /var/log -o -path /var/tmp -o -path /var/lib/apt \
            -o -path /var/lib/dpkg -o -path "$KAVO_SOURCE" \) -prune -o -print 2>/dev/null || true
    } | LC_ALL=C sort
}
