# shellcheck shell=bash
# Drives the main job through the real window with real mouse and keyboard input: installs the first
# package of the demonstration, which brings two others along, and starts the program once more.
# Buttons are found by their colour in the picture of the screen. Sourced, not run.

readonly PICTURES="$DEMO_RUN/pictures"
readonly SCREEN="$DEMO_RUN/screen.png"
readonly DRIVEN_ID=3 DRIVEN_NAME="Harbour City Airport"

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

# find_buttons COLOUR: "x y" of the middle of every button-sized area of the colour, top to bottom.
find_buttons() {
    imagemagick import -window root "$SCREEN"
    imagemagick convert "$SCREEN" -alpha off -fill black +opaque "$1" -fill white -opaque "$1" \
        -define connected-components:verbose=true \
        -define connected-components:area-threshold=1000 -connected-components 4 null: |
        sed -n 's/^ *[0-9]*: \([0-9]*\)x\([0-9]*\)+\([0-9]*\)+\([0-9]*\) .*(255.*/\1 \2 \3 \4/p' |
        awk '$1 > 80 && $1 < 240 && $2 > 24 && $2 < 60 { print int($3 + $1 / 2), int($4 + $2 / 2) }' |
        sort -n -k2
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
    local file X Y WIDTH HEIGHT
    picture_count=$((picture_count + 1))
    file=$(printf '%s/%02d-%s.png' "$PICTURES" "$picture_count" "$1")
    eval "$(xdotool getwindowgeometry --shell "$(main_window)" | grep -E '^(X|Y|WIDTH|HEIGHT)=[0-9]+$')"
    imagemagick import -window root -crop "${WIDTH}x${HEIGHT}+$X+$Y" +repage "$file"
    say "Picture: $file"
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

# click "X Y"
click() {
    local x y
    read -r x y <<<"$1"
    xdotool mousemove "$x" "$y" click 1
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

# Facts ------------------------------------------------------------------------------------------

# The states of a package as the database of installed packages has them.
readonly INSTALLED=1 DOWNLOADING=3 INSTALLING=4

# has_status ID STATUS...: the database has one of these states for the package.
has_status() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    local status
    status=$(sqlite3 -readonly "$DEMO_DATA/packages.db" \
        "SELECT status FROM packages WHERE package_id = $1" 2>/dev/null) || return 1
    shift
    [[ -n $status && " $* " == *" $status "* ]]
}

# is_installed ID: as has_status, but stops at a box that tells of a failure.
is_installed() {
    if [[ $(xdotool getactivewindow getwindowname 2>/dev/null) == *Error ]]; then
        take_picture failed
        die "the program reports that a package could not be installed"
    fi
    has_status "$1" "$INSTALLED"
}

# has_version FILE VERSION: the version file of an installed package, in the simulator's scenery.
has_version() {
    local file="$DEMO_SIMULATOR/Custom Scenery/$1"
    [[ -e $file && $(sed -n 3p "$file") == "$2" ]]
}

# has_received BYTES: that much of the package's archive has come, or it is over with already.
has_received() {
    local size
    size=$(stat --format=%s "$DEMO_DATA/cache/harbour-city-2.1.0.7z" 2>/dev/null) || size=0
    ((size >= $1)) || has_status "$DRIVEN_ID" "$INSTALLING" "$INSTALLED"
}

# was_served PATH: the web server has handed out this file to the end.
was_served() {
    grep --quiet --fixed-strings "GET /$1 HTTP/1.1\" 200" "$DEMO_RUN/nginx/access.log"
}

check_files() {
    has_version "Kavo Library/lib/Kavo_Library/Kavo_version.txt" 1.4.0 ||
        die "the library is not in the simulator's folder"
    has_version "Kavo Ground Equipment/Kavo_version.txt" 2.1.0 ||
        die "the ground equipment is not in the simulator's folder"
    has_version "Kavo Harbour City/Kavo_version.txt" 2.1.0 ||
        die "$DRIVEN_NAME is not in the simulator's folder"
    local photograph="$DEMO_SIMULATOR/Custom Scenery/Kavo Harbour City/textures/photograph.raw"
    [[ $(stat --format=%s "$photograph") == 6000000 ]] || die "$photograph is not whole"
    [[ -s "$DEMO_SIMULATOR/Custom Scenery/My Own Field/readme.txt" ]] ||
        die "the files of the simulator's owner are gone"
    say "All files of $DRIVEN_NAME and of the two packages it needs are there"
}

# The run ----------------------------------------------------------------------------------------

# drive PROGRAM
drive() {
    rm -rf "$PICTURES"
    mkdir -p "$PICTURES"
    install_through_window "$1"
    check_files
    look_at_detail
    restart "$1"
    say "The demonstration succeeded; its pictures are in $PICTURES"
}

install_through_window() {
    local button download installed
    download=$(style_colour Download)
    installed=$(style_colour Installed)

    say "Starting the program"
    open_program "$1"
    wait_for 30 "the list of packages" shows_button "$download"
    button=$(first_button "$download")
    take_picture list

    say "Pressing Download of $DRIVEN_NAME at $button"
    click "$button"
    wait_for 20 "the question about its dependencies" has_focus "Install Package"
    take_picture question
    say "Answering Yes"
    xdotool key alt+y

    wait_for 20 "the download" has_status "$DRIVEN_ID" "$DOWNLOADING" "$INSTALLING" "$INSTALLED"
    wait_for 20 "half of the download" has_received 3000000
    take_picture downloading
    local id
    for id in 1 2 "$DRIVEN_ID"; do
        wait_for 60 "package $id to be installed" is_installed "$id"
    done
    wait_for 20 "the card to say Installed" shows_button "$installed" "$button"
    take_picture installed
}

look_at_detail() {
    local detail installed card
    detail=$(style_colour MoreDetail)
    installed=$(style_colour Installed)
    card=$(first_button "$installed")
    say "Opening the details of $DRIVEN_NAME"
    click "$(first_button "$detail")"
    wait_for 20 "the detail view" moved_button "$installed" "$card"
    # Its banner comes over the network.
    wait_for 20 "the banner" was_served "banners/harbour-city-day.png"
    take_picture detail
    xdotool key Escape
    wait_for 20 "the list of packages" shows_button "$installed" "$card"
}

restart() {
    say "Closing the program and starting it again"
    close_program
    open_program "$1"
    wait_for 30 "the card to say Installed after the restart" \
        shows_button "$(style_colour Installed)"
    take_picture after-restart
    close_program
}
