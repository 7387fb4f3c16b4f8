# shellcheck shell=bash disable=SC2034
# The demonstration: catalogue, web server, pretend simulator and a profile of its own. Everything
# lies in DEMO_RUN; a script that wants it elsewhere sets that before. Sourced, not run.

readonly DEMO_RUN="${DEMO_RUN:-$KAVO_SOURCE/build/demo-run}"
# The program asks at 8585; another port is for looking at the server alone.
readonly DEMO_PORT="${DEMO_PORT:-8585}"
readonly DEMO_HOME="$DEMO_RUN/home"
readonly DEMO_SIMULATOR="$DEMO_RUN/X-Plane demonstration"
readonly DEMO_DATA="$DEMO_HOME/.local/share/Quarnell/Kavo Suite"

# What the first add-on of the catalogue brings, itself included: folders of the scenery and ids.
declare -rA DEMO_NEEDED=(["Kavo Library"]=1 ["Kavo Ground Equipment"]=2 ["Kavo Harbour City"]=3)

server_pid=

# forget_demonstration: back to a first start.
forget_demonstration() {
    rm -rf "$DEMO_HOME" "$DEMO_SIMULATOR"
}

prepare_demonstration() {
    say "Preparing the demonstration in $DEMO_RUN"
    mkdir -p "$DEMO_RUN/bin" "$DEMO_RUN/nginx" "$DEMO_HOME"
    "$KAVO_SOURCE/demo/make-demo" "$DEMO_RUN/www" "http://localhost:$DEMO_PORT/"
    "$KAVO_SOURCE/demo/make-simulator" "$DEMO_SIMULATOR"
    write_locate_stand_in
}

# The program looks for the simulator with the system's `locate`, whose database cannot know a
# folder that was made a moment ago.
write_locate_stand_in() {
    printf '%s\n' "$DEMO_SIMULATOR/X-Plane-x86_64" >"$DEMO_RUN/bin/locate.list"
    cat >"$DEMO_RUN/bin/locate" <<'SCRIPT'
#!/bin/sh
# Stand-in for locate, of the demonstration of Kavo Suite: it knows the pretend simulator only.
exec cat "${0%/*}/locate.list"
SCRIPT
    chmod +x "$DEMO_RUN/bin/locate"
}

# port_answers: something listens on the demonstration's port.
port_answers() {
    (exec 3<>"/dev/tcp/127.0.0.1/$DEMO_PORT") 2>/dev/null
}

# require_port: stops before anything is touched when the port is taken, by another demonstration
# perhaps.
require_port() {
    if port_answers; then
        die "port $DEMO_PORT of 127.0.0.1 is taken by another program; the demonstration needs it"
    fi
}

start_server() {
    local state="$DEMO_RUN/nginx"
    local -a account=()
    # Started by root, nginx would serve as a user who may not be able to read the folder.
    ((EUID == 0)) && account=(-g "user root;")
    sed "s/@PORT@/$DEMO_PORT/" "$KAVO_SOURCE/demo/nginx.conf.in" >"$state/nginx.conf"
    (
        cd "$DEMO_RUN" || exit
        exec "$(nginx_program)" -p ./ -e nginx/error.log -c nginx/nginx.conf "${account[@]}"
    ) 2>"$state/start.log" &
    server_pid=$!
    wait_for 10 "nginx, see $state/start.log" server_is_up
    say "Serving the catalogue at http://localhost:$DEMO_PORT/"
}

server_is_up() {
    is_running "$server_pid" || die "nginx did not start: $(<"$DEMO_RUN/nginx/start.log")"
    port_answers
}

# start_on_demonstration PROGRAM: replaces the calling (sub)shell by the program, in the profile of
# the demonstration.
start_on_demonstration() {
    # The display's key stays where it is when HOME moves.
    if [[ -z ${XAUTHORITY:-} && -e $HOME/.Xauthority ]]; then
        export XAUTHORITY="$HOME/.Xauthority"
    fi
    export HOME="$DEMO_HOME"
    export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share"
    export XDG_CACHE_HOME="$HOME/.cache" PATH="$DEMO_RUN/bin:$PATH"
    exec "$1"
}

# Facts ------------------------------------------------------------------------------------------

# is_installed ID: that is what the database has for the package.
is_installed() {
    [[ $(sqlite3 -readonly "$DEMO_DATA/packages.db" \
        "SELECT status FROM packages WHERE package_id = $1" 2>/dev/null) == 1 ]]
}

# has_setting KEY VALUE: that is what the settings file has.
has_setting() {
    [[ $(settings_text "$1") == "$2" ]]
}

# settings_text KEY: its value, as Qt writes it into a settings file: between quotes where it has a
# comma, say, and with \x and a number for a letter that ASCII does not have.
settings_text() {
    local text letter decoded='' LC_ALL=C.UTF-8
    text=$(sed -n "s/^$1=//p" "$DEMO_HOME/.config/Quarnell/Kavo Suite.ini") || return 1
    text=${text#\"}
    text=${text%\"}
    while [[ $text =~ ^([^\\]*)\\x([0-9a-f]+)(.*)$ ]]; do
        printf -v letter '%b' "\\U${BASH_REMATCH[2]}"
        decoded+=${BASH_REMATCH[1]}$letter
        text=${BASH_REMATCH[3]}
    done
    printf '%s\n' "$decoded$text"
}

# was_served PATH: the web server has handed out this file to the end, or told that it has not changed
# since.
was_served() {
    grep --quiet --fixed-strings -e "GET /$1 HTTP/1.1\" 200" -e "GET /$1 HTTP/1.1\" 304" \
        "$DEMO_RUN/nginx/access.log"
}

# were_served FOLDER: all files of it.
were_served() {
    local file
    for file in "$DEMO_RUN/www/$1"/*; do
        was_served "$1/${file##*/}" || return 1
    done
}
