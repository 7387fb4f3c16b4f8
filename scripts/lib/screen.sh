# shellcheck shell=bash
# Eyes and hands: looks at the window and works it with real mouse and keyboard input. Buttons are
# found by their colour in the picture of the screen. Sourced, not run.

readonly PICTURES="$DEMO_RUN/pictures"
readonly SCREEN="$DEMO_RUN/screen.png"

program_pid=
picture_count=0

# Looking ----------------------------------------------------------------------------------------

# imagemagick TOOL ARGUMENT...: by the Debian name first; `convert` may be somebody else's.
imagemagick() {
    local tool=$1
    shift
    command -v "$tool-im6.q16" >/dev/null && tool="$tool-im6.q16"
    "$tool" "$@"
}

# style_colour NAME: the ground of the buttons with this object name.
style_colour() {
    local colour
    colour=$(sed -n "s/^#$1\(,.*\)\? { background: \(#[0-9a-f]*\);.*/\2/p" \
        "$KAVO_SOURCE/resources/style.qss")
    [[ -n $colour ]] || die "the style sheet has no colour for $1"
    echo "$colour"
}

# find_areas COLOUR SMALLEST_AREA: "width height x y" of every area of the colour in the window that
# has the keyboard.
find_areas() {
    local X=0 Y=0 WIDTH=0 HEIGHT=0
    eval "$(window_geometry "$(xdotool getactivewindow 2>/dev/null)")"
    ((WIDTH > 0 && HEIGHT > 0)) || return 0
    imagemagick import -window root "$SCREEN"
    imagemagick convert "$SCREEN" -crop "${WIDTH}x${HEIGHT}+$X+$Y" +repage -alpha off \
        -fill black +opaque "$1" -fill white -opaque "$1" \
        -define connected-components:verbose=true \
        -define "connected-components:area-threshold=$2" -connected-components 4 null: |
        sed -n 's/^ *[0-9]*: \([0-9]*\)x\([0-9]*\)+\([0-9]*\)+\([0-9]*\) .*(255.*/\1 \2 \3 \4/p' |
        awk -v x="$X" -v y="$Y" '{ print $1, $2, $3 + x, $4 + y }'
}

# find_buttons COLOUR [NARROWEST]: "x y" of the middle of every button-sized area of the colour, top
# to bottom.
find_buttons() {
    find_areas "$1" 1000 |
        awk -v narrowest="${2:-80}" '$1 > narrowest && $1 < 240 && $2 > 24 && $2 < 60 { print int($3 + $1 / 2), int($4 + $2 / 2) }' |
        sort -n -k2
}

# top_button NUMBER: one of the small square buttons of the top bar, from the left.
top_button() {
    find_areas "$(style_colour Uninstall)" 400 |
        awk '$1 > 24 && $1 < 60 && $2 > 24 && $2 < 60 { print int($3 + $1 / 2), int($4 + $2 / 2) }' |
        sort -n | sed -n "$1p"
}

# buttons_below COLOUR POSITION: those of find_buttons in the rows under this one.
buttons_below() {
    find_buttons "$1" | awk -v y="${2#* }" '$2 > y + 20'
}

# button_beside COLOUR POSITION: the one of find_buttons in the same row.
button_beside() {
    find_buttons "$1" | awk -v y="${2#* }" '$2 > y - 6 && $2 < y + 6' | head -n 1
}

# window_geometry WINDOW: assignments to X, Y, WIDTH and HEIGHT.
window_geometry() {
    [[ -z $1 ]] ||
        xdotool getwindowgeometry --shell "$1" 2>/dev/null | grep -E '^(X|Y|WIDTH|HEIGHT)=[0-9]+$' ||
        true
}

# first_button COLOUR: the topmost one; fails where there is none.
first_button() {
    local found
    found=$(find_buttons "$1")
    [[ -n $found ]] && head -n 1 <<<"$found"
}

# shows_button COLOUR [POSITION]: a button of the colour is to be seen (in the row of the position).
shows_button() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    local found
    found=$(first_button "$1") && [[ -z ${2:-} || ${found#* } == "${2#* }" ]]
}

# moved_button COLOUR POSITION: the topmost button of the colour is in another row.
moved_button() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    local found
    found=$(first_button "$1") && [[ ${found#* } != "${2#* }" ]]
}

# take_picture NAME: the window as it looks now.
take_picture() {
    local file X=0 Y=0 WIDTH=0 HEIGHT=0
    picture_count=$((picture_count + 1))
    file=$(printf '%s/%02d-%s.png' "$PICTURES" "$picture_count" "$1")
    wait_for 10 "the place of the main window" find_main_window
    imagemagick import -window root -crop "${WIDTH}x${HEIGHT}+$X+$Y" +repage "$file"
    say "Picture: $file"
}

# find_main_window: sets X, Y, WIDTH and HEIGHT. A search among windows of which one is just closing
# finds nothing.
find_main_window() {
    eval "$(window_geometry "$(main_window)")"
    ((WIDTH > 0 && HEIGHT > 0))
}

main_window() {
    xdotool search --onlyvisible --name '^Kavo Suite$' | tail -n 1
}

# has_focus TITLE: the window of that title gets the keyboard.
has_focus() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    [[ $(xdotool getactivewindow getwindowname 2>/dev/null) == "$1" ]]
}

# Acting -----------------------------------------------------------------------------------------

# click "X Y": and leaves the place, because what is under the pointer changes its colour.
click() {
    local x y
    read -r x y <<<"$1"
    [[ -n $x && -n $y ]] || die "there is no place to click"
    xdotool mousemove "$x" "$y" click 1 mousemove 2 2
}

# answer TITLE KEY PICTURE: waits for a box, takes its picture and presses the key.
answer() {
    wait_for 20 "the box \"$1\"" has_focus "$1"
    take_picture "$3"
    say "Answering \"$1\" with $2"
    xdotool key "$2"
}

open_program() {
    (start_on_demonstration "$1") &
    program_pid=$!
    wait_for 60 "the main window" has_focus "Kavo Suite"
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
