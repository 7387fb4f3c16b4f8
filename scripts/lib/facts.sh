# shellcheck shell=bash disable=SC2034,SC2154
# The facts that a run of the demonstration is held to: on disk, in the database, at the server.
# Sourced, not run.

readonly DRIVEN_ID=3 DRIVEN_NAME="Harbour City Airport"

# Facts ------------------------------------------------------------------------------------------

# The states of a package as the database of installed packages has them.
readonly AVAILABLE=0 INSTALLED=1 DOWNLOADING=3 INSTALLING=4

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

# is_recorded ID STATUS VERSION: that is what the database has for the package.
is_recorded() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    [[ $(sqlite3 -readonly "$DEMO_DATA/packages.db" \
        "SELECT status, version FROM packages WHERE package_id = $1" 2>/dev/null) == "$2|$3" ]]
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

# was_served PATH: the web server has handed out this file to the end, or told that it has not changed
# since.
was_served() {
    grep --quiet --fixed-strings -e "GET /$1 HTTP/1.1\" 200" -e "GET /$1 HTTP/1.1\" 304" \
        "$DEMO_RUN/nginx/access.log"
}

# was_served_like BEGINNING: as was_served, for any file whose path begins like this.
was_served_like() {
    grep --quiet --extended-regexp "GET /$1[^ ]* HTTP/1.1\" (200|304)" "$DEMO_RUN/nginx/access.log"
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
    check_foreign_files
    say "All files of $DRIVEN_NAME and of the two packages it needs are there"
}

check_foreign_files() {
    local file
    for file in "Custom Scenery/My Own Field/readme.txt" "Custom Scenery/scenery_packs.ini" \
        "Output/preferences/Cloud Colours.prf" "Resources/plugins/Friendly Copilot/64/lin.xpl"; do
        [[ -s $DEMO_SIMULATOR/$file ]] || die "the simulator's owner has lost $file"
    done
}

# check_removal: nothing is left of what was uninstalled, and the rest is there.
check_removal() {
    local folder
    for folder in "Kavo Library" "Kavo Ground Equipment" "Kavo Harbour City"; do
        [[ ! -e "$DEMO_SIMULATOR/Custom Scenery/$folder" ]] || die "$folder was not removed"
    done
    has_version "../Resources/plugins/NightLighting/Kavo_version.txt" 1.6.0 ||
        die "Night Lighting is not in the simulator's folder"
    check_foreign_files
    say "What was uninstalled is gone; what was not is there"
}
