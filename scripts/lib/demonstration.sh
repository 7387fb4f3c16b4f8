# shellcheck shell=bash disable=SC2034,SC2153,SC2154
# The demonstration: catalogue, web server, simulator folder and profile, and a display that the program is
# operated on by real keys. Sourced after install.sh, not run. Everything is in DEMO_RUN; a script may set it.

readonly DEMO_RUN="${DEMO_RUN:-$KAVO_SOURCE/build/demo-run}"
# The program asks on port 8585; tests of the server alone set another one.
readonly DEMO_PORT="${DEMO_PORT:-8585}"
readonly DEMO_HOME="$DEMO_RUN/home"
readonly DEMO_SIMULATOR="$DEMO_RUN/X-Plane demonstration"
readonly DEMO_DATA="$DEMO_HOME/.local/share/Quarnell/Kavo Suite"
readonly PICTURES="$DEMO_RUN/pictures"

# The folders and ids that the first add-on of the catalogue installs, with its dependencies.
declare -rA DEMO_NEEDED=(["Kavo Library"]=1 ["Kavo Ground Equipment"]=2 ["Kavo Harbour City"]=3)

server_pid=
display_pid=
window_manager_pid=
program_pid=
picture_count=0

# Profile and server -------------------------------------------------------------------------------

# forget_demonstration: deletes the profile and the simulator folder.
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

# The program finds the simulator with `locate`, whose database does not yet contain the new folder.
write_locate_stand_in() {
    printf '%s\n' "$DEMO_SIMULATOR/X-Plane-x86_64" >"$DEMO_RUN/bin/locate.list"
    cat >"$DEMO_RUN/bin/locate" <<'SCRIPT'
#!/bin/sh
# Replaces locate in the demonstration of Kavo Suite: prints the path of its simulator folder.
exec cat "${0%/*}/locate.list"
SCRIPT
    chmod +x "$DEMO_RUN/bin/locate"
}

# port_answers: a program listens on the port of the demonstration.
port_answers() {
    (exec 3<>"/dev/tcp/127.0.0.1/$DEMO_PORT") 2>/dev/null
}

# require_port: ends the script before it changes anything if the port is in use.
require_port() {
    if port_answers; then
        die "another program uses port $DEMO_PORT of 127.0.0.1, which the demonstration needs"
    fi
}

start_server() {
    local state="$DEMO_RUN/nginx"
    local -a account=()
    # When root starts nginx, it changes to a user who may not be able to read the folder.
    ((EUID == 0)) && account=(-g "user root;")
    sed "s/@PORT@/$DEMO_PORT/" "$KAVO_SOURCE/demo/nginx.conf.in" >"$state/nginx.conf"
    (
        cd "$DEMO_RUN" || exit
        exec "$(nginx_program)" -p ./ -e nginx/error.log -c nginx/nginx.conf "${account[@]}"
    ) 2>"$state/start.log" &
    server_pid=$!
    wait_for 10 "nginx, see $state/start.log" server_is_up
    say "The catalogue is at http://localhost:$DEMO_PORT/"
}

server_is_up() {
    is_running "$server_pid" || die "nginx did not start: $(<"$DEMO_RUN/nginx/start.log")"
    port_answers
}

# start_on_demonstration PROGRAM: replaces the calling (sub)shell by the program, in the profile of the
# demonstration.
start_on_demonstration() {
    # HOME changes, but the key of the display is still in the user's own folder.
    if [[ -z ${XAUTHORITY:-} && -e $HOME/.Xauthority ]]; then
        export XAUTHORITY="$HOME/.Xauthority"
    fi
    export HOME="$DEMO_HOME"
    export XDG_CONFIG_HOME="$HOME/.config" XDG_DATA_HOME="$HOME/.local/share"
    export XDG_CACHE_HOME="$HOME/.cache" PATH="$DEMO_RUN/bin:$PATH"
    exec "$1"
}

# Display ------------------------------------------------------------------------------------------

have_display() {
    [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]
}

# start_display: starts Xvfb on a free display number, and a small window manager, which places windows and
# gives them the keyboard focus.
start_display() {
    local number_file="$DEMO_RUN/display-number"
    : >"$number_file"
    Xvfb -displayfd 3 -screen 0 1600x900x24 -dpi 96 -nolisten tcp \
        3>"$number_file" 2>"$DEMO_RUN/xvfb.log" &
    display_pid=$!
    wait_for 20 "Xvfb, see $DEMO_RUN/xvfb.log" display_is_up "$number_file"
    DISPLAY=":$(<"$number_file")"
    export DISPLAY
    export QT_QPA_PLATFORM=xcb
    # Without a session there is no folder for run-time files.
    if [[ -z ${XDG_RUNTIME_DIR:-} ]]; then
        export XDG_RUNTIME_DIR="$DEMO_RUN/runtime"
        mkdir -p "$XDG_RUNTIME_DIR"
        chmod 700 "$XDG_RUNTIME_DIR"
    fi
    HOME="$DEMO_RUN" openbox 2>"$DEMO_RUN/openbox.log" &
    window_manager_pid=$!
    wait_for 20 "openbox, see $DEMO_RUN/openbox.log" window_manager_is_up
    say "There is no display; the program runs on Xvfb, display $DISPLAY"
}

display_is_up() {
    is_running "$display_pid" || die "Xvfb did not start: $(<"$DEMO_RUN/xvfb.log")"
    [[ -s $1 ]]
}

window_manager_is_up() {
    is_running "$window_manager_pid" || die "openbox did not start: $(<"$DEMO_RUN/openbox.log")"
    xdotool get_num_desktops >/dev/null 2>&1
}

stop_display() {
    stop_process "$window_manager_pid"
    stop_process "$display_pid"
}

# imagemagick TOOL ARGUMENT...: prefers Debian's name of the tool; another program may be called `convert`.
imagemagick() {
    local tool=$1
    shift
    command -v "$tool-im6.q16" >/dev/null && tool="$tool-im6.q16"
    "$tool" "$@"
}

# find_main_window: sets WINDOW, X, Y, WIDTH and HEIGHT. Fails while another window is closing, because
# xdotool then finds nothing.
find_main_window() {
    WINDOW=$(xdotool search --onlyvisible --name '^Kavo Suite$' | tail -n 1)
    [[ -n $WINDOW ]] || return 1
    eval "$(xdotool getwindowgeometry --shell "$WINDOW" 2>/dev/null |
        grep -E '^(X|Y|WIDTH|HEIGHT)=[0-9]+$')"
    ((WIDTH > 0 && HEIGHT > 0))
}

# take_picture NAME: saves a picture of the main window.
take_picture() {
    local file WINDOW='' X=0 Y=0 WIDTH=0 HEIGHT=0
    picture_count=$((picture_count + 1))
    file=$(printf '%s/%02d-%s.png' "$PICTURES" "$picture_count" "$1")
    wait_for 10 "the position of the main window" find_main_window
    imagemagick import -window root -crop "${WIDTH}x${HEIGHT}+$X+$Y" +repage "$file"
    say "Picture: $file"
}

# has_focus TITLE: the window with this title has the keyboard focus.
has_focus() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    [[ $(xdotool getactivewindow getwindowname 2>/dev/null) == "$1" ]]
}

# Operating the program ----------------------------------------------------------------------------

# open_program PROGRAM: sets $program_pid.
open_program() {
    (start_on_demonstration "$1") &
    program_pid=$!
    wait_for 60 "the main window" has_focus "Kavo Suite"
    wait_for 30 "the icons of the cards from the server" were_served icons
}

# install_by_keyboard: installs the first add-on of the list with its two dependencies. The program has just
# started; the first card has the focus.
install_by_keyboard() {
    local name
    xdotool key Return
    wait_for 20 "a banner of the detail view" was_served banners/harbour-city-day.png
    take_picture detail
    xdotool key Escape shift+Tab space
    wait_for 20 "the question about the dependencies" has_focus "Install Package"
    take_picture question
    xdotool key alt+y
    for name in "${!DEMO_NEEDED[@]}"; do
        wait_for 60 "the installation of $name" is_installed "${DEMO_NEEDED[$name]}"
        [[ -e "$DEMO_SIMULATOR/Custom Scenery/$name" ]] || die "$name is not in the simulator's folder"
    done
    wait_for 20 "the main window" has_focus "Kavo Suite"
    take_picture installed
}

# close_program: closes the main window as the window manager would, so that the settings are saved.
close_program() {
    has_focus "Kavo Suite" || die "the main window has lost the focus"
    xdotool key alt+F4
    wait_for 30 "the end of the program" has_ended "$program_pid"
    local status=0
    wait "$program_pid" || status=$?
    program_pid=
    ((status == 0)) || die "the program ended with status $status"
}

has_ended() {
    ! is_running "$1"
}

# Checking the result ------------------------------------------------------------------------------

# is_installed ID: the database says that the package is installed.
is_installed() {
    [[ $(sqlite3 -readonly "$DEMO_DATA/packages.db" \
        "SELECT status FROM packages WHERE package_id = $1" 2>/dev/null) == 1 ]]
}

# has_setting KEY VALUE: the settings file has this value.
has_setting() {
    [[ $(settings_text "$1") == "$2" ]]
}

# settings_text KEY: prints the value. Qt puts a value with a comma in quotes, for example, and writes \x and
# a number for a letter outside ASCII.
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

# was_served PATH: the web server has sent this whole file, or has answered that it did not change.
was_served() {
    grep --quiet --fixed-strings -e "GET /$1 HTTP/1.1\" 200" -e "GET /$1 HTTP/1.1\" 304" \
        "$DEMO_RUN/nginx/access.log"
}

# were_served FOLDER: was_served is true for every file of the folder.
were_served() {
    local file
    for file in "$DEMO_RUN/www/$1"/*; do
        was_served "$1/${file##*/}" || return 1
    done
}
