# shellcheck shell=bash
# A display of our own where there is none. Sourced, not run.

display_pid=
window_manager_pid=

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
