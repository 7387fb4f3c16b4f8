# shellcheck shell=bash
# The web server of the demonstration, the tests and the benchmarks. Sourced, not run.
#
# Debian's nginx packages enable a system service with a site on port 80 of every interface. So none
# of them is installed: the program is taken out of its package into build/tools/.

readonly UNPACKED_NGINX="$KAVO_SOURCE/build/tools/nginx"

# nginx_program: prints the path of one that starts; tests/support/Nginx.cpp looks in the same places.
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

# provide_nginx: afterwards nginx_program succeeds.
provide_nginx() {
    nginx_program >/dev/null && return
    command -v apt-get >/dev/null || die "nginx is needed, and there is no apt-get to fetch it with"
    say "Unpacking nginx into build/tools; it is not installed"
    mkdir -p "$KAVO_SOURCE/build/tools"
    local work
    work=$(mktemp --directory "$KAVO_SOURCE/build/tools/nginx.XXXXXX")
    # The list of packages may be older than the packages.
    fetch_nginx "$work" || { get_packages update && fetch_nginx "$work"; } ||
        die "nginx was not fetched: $(<"$work/log")"
    dpkg-deb --extract "$work"/nginx_*.deb "$work/content"
    mv "$work/content/usr/sbin/nginx" "$UNPACKED_NGINX"
    rm -r "$work"
    nginx_program >/dev/null || die "the unpacked $UNPACKED_NGINX does not start: $(ldd "$UNPACKED_NGINX")"
}

# fetch_nginx FOLDER: the package into this folder, which apt's own account cannot enter.
fetch_nginx() {
    (cd "$1" && apt-get -o APT::Sandbox::User=root download nginx) >"$1/log" 2>&1
}
