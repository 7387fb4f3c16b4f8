# shellcheck shell=bash disable=SC2153,SC2154
# A display of our own where there is none, and eyes and hands for a program on it, by real keys and by
# the titles of windows. Sourced after demonstration.sh, not run.

readonly PICTURES="$DEMO_RUN/pictures"

display_pid=
window_manager_pid=
program_pid=
picture_count=0

have_display() {
    [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]
}

# start_display: Xvfb on a free display number with a small window manager, so that windows get
# their place and the keyboard.
start_display() {
    local number_file="$DEMO_RUN/display-number"
    : >"$number_file"
    Xvfb -displayfd 3 -screen 0 1600x900x24 -dpi 96 -nolisten tcp \
        3>"$number_file" 2>"$DEMO_RUN/xvfb.log" &
    display_pid=$!
    wait_for 20 "Xvfb, see $DEMO_RUN/xvfb.log" display_is_up "$number_file"
    DISPLAY=":$(<"$number_file")"
    export DISPLAY
    # Always the X11 plug-in: there is nothing else here.
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
    say "No display here: using Xvfb on display $DISPLAY"
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

# Looking ----------------------------------------------------------------------------------------

# imagemagick TOOL ARGUMENT...: by the Debian name first; `convert` may be somebody else's.
imagemagick() {
    local tool=$1
    shift
    command -v "$tool-im6.q16" >/dev/null && tool="$tool-im6.q16"
    "$tool" "$@"
}

# find_main_window: sets WINDOW, X, Y, WIDTH and HEIGHT. A search among windows of which one is just
# closing finds nothing.
find_main_window() {
    WINDOW=$(xdotool search --onlyvisible --name '^Kavo Suite$' | tail -n 1)
    [[ -n $WINDOW ]] || return 1
    eval "$(xdotool getwindowgeometry --shell "$WINDOW" 2>/dev/null |
        grep -E '^(X|Y|WIDTH|HEIGHT)=[0-9]+$')"
    ((WIDTH > 0 && HEIGHT > 0))
}

# take_picture NAME: the window as it looks now.
take_picture() {
    local file WINDOW='' X=0 Y=0 WIDTH=0 HEIGHT=0
    picture_count=$((picture_count + 1))
    file=$(printf '%s/%02d-%s.png' "$PICTURES" "$picture_count" "$1")
    wait_for 10 "the place of the main window" find_main_window
    imagemagick import -window root -crop "${WIDTH}x${HEIGHT}+$X+$Y" +repage "$file"
    say "Picture: $file"
}

# has_focus TITLE: the window of that title gets the keyboard.
has_focus() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    [[ $(xdotool getactivewindow getwindowname 2>/dev/null) == "$1" ]]
}

# Acting -----------------------------------------------------------------------------------------

open_program() {
    (start_on_demonstration "$1") &
    program_pid=$!
    wait_for 60 "the main window" has_focus "Kavo Suite"
    wait_for 30 "the pictures of the cards from the server" were_served icons
}

# install_by_keyboard: the first add-on of the list and the two that it needs. The program has just been
# started, and the keyboard is at the details of that add-on.
install_by_keyboard() {
    local name
    xdotool key Return
    wait_for 20 "a banner of the details" was_served banners/harbour-city-day.png
    take_picture detail
    xdotool key Escape shift+Tab space
    wait_for 20 "the question for what the add-on needs" has_focus "Install Package"
    take_picture question
    xdotool key alt+y
    for name in "${!DEMO_NEEDED[@]}"; do
        wait_for 60 "$name to be installed" is_installed "${DEMO_NEEDED[$name]}"
        [[ -e "$DEMO_SIMULATOR/Custom Scenery/$name" ]] || die "$name is not in the simulator's folder"
    done
    wait_for 20 "the main window" has_focus "Kavo Suite"
    take_picture installed
}

# close_program: as the window manager would, so that the settings are saved.
close_program() {
    has_focus "Kavo Suite" || die "the main window lost the keyboard"
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
