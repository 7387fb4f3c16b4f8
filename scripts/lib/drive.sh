# shellcheck shell=bash disable=SC2153,SC2154
# Drives the program through its real window: installs the first package of the demonstration, which
# brings two others along, updates, downgrades and uninstalls, changes the settings, and starts the
# program once more. Sourced, not run.

# drive PROGRAM
drive() {
    rm -rf "$PICTURES"
    mkdir -p "$PICTURES"
    install_through_window "$1"
    check_files
    look_at_detail
    update_through_window
    downgrade_library
    uninstall_library
    change_settings
    refuse_reset
    refresh_without_server
    restart "$1"
    check_removal
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
    answer "Install Package" alt+y question

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

# show_old_versions POSITION COUNT: turns to the third tab of the detail view, which has so many rows;
# the position is that of a button of its title bar.
show_old_versions() {
    local bar=$1 light
    light=$(style_colour MoreDetail)
    # A click into the page gives it the keyboard.
    click "$((${bar% *} - 300)) $((${bar#* } + 140))"
    xdotool key ctrl+Tab
    take_picture change-log-page
    xdotool key ctrl+Tab
    wait_for 20 "the old versions" has_buttons_below "$light" "$bar" "$2"
}

# has_buttons_below COLOUR POSITION COUNT
has_buttons_below() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    (($(buttons_below "$1" "$2" | wc -l) == $3))
}

# Night Lighting, the second card: an older version first, then the update with its change log.
update_through_window() {
    local light download update installed bar
    light=$(style_colour MoreDetail)
    download=$(style_colour Download)
    update=$(style_colour Update)
    installed=$(style_colour Installed)

    say "Installing an older version of Night Lighting"
    click "$(find_buttons "$light" | sed -n 2p)"
    wait_for 20 "the banner of Night Lighting" was_served_like "banners/night-lighting-"
    wait_for 20 "its details" has_buttons "$download" 1
    bar=$(first_button "$download")
    take_picture detail-of-another
    show_old_versions "$bar" 2
    take_picture old-versions
    click "$(buttons_below "$light" "$bar" | sed -n 2p)"
    wait_for 30 "the older version" is_recorded 8 "$INSTALLED" 1.5.1
    wait_for 20 "the button Update" has_buttons "$update" 1
    take_picture older-version-installed

    say "Updating it"
    click "$(first_button "$update")"
    answer "Change Log" alt+y change-log
    wait_for 30 "the update" is_recorded 8 "$INSTALLED" 1.6.0
    wait_for 20 "the button Installed" has_buttons "$installed" 1
    take_picture updated
    xdotool key Escape
    wait_for 20 "the list of packages" has_buttons "$installed" 3
}

# has_buttons COLOUR COUNT [NARROWEST]
has_buttons() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    (($(find_buttons "$1" "${3:-80}" | wc -l) == $2))
}

# The library is the last card of the list, and the only one among the last that is installed.
downgrade_library() {
    local light update installed card bar
    light=$(style_colour MoreDetail)
    update=$(style_colour Update)
    installed=$(style_colour Installed)

    say "Installing an older version of the library, which two others will not like"
    card=$(first_button "$installed")
    xdotool mousemove $((${card% *} - 400)) "${card#* }" click --repeat 100 --delay 5 5
    wait_for 20 "the end of the list" has_buttons "$installed" 1
    take_picture list-end

    say "Trying to install what needs a package that nobody offers"
    click "$(find_buttons "$(style_colour Download)" | tail -n 1)"
    answer "Dependencies Error" Return missing-dependency
    wait_for 20 "the main window" has_focus "Kavo Suite"
    click "$(find_buttons "$light" | tail -n 1)"
    wait_for 20 "the details of the library" has_buttons "$light" 2
    bar=$(first_button "$installed")
    show_old_versions "$bar" 3
    click "$(buttons_below "$light" "$bar" | sed -n 3p)"
    answer "Install Package" alt+y warning
    wait_for 30 "the older library" is_recorded 1 "$INSTALLED" 1.2.0
    has_version "Kavo Library/lib/Kavo_Library/Kavo_version.txt" 1.2.0 ||
        die "the older library is not in the simulator's folder"
    wait_for 20 "the button Update" has_buttons "$update" 1
    take_picture library-older
}

uninstall_library() {
    local update
    update=$(style_colour Update)
    say "Uninstalling the library and with it what depends on it"
    click "$(button_beside "$(style_colour Uninstall)" "$(first_button "$update")")"
    answer "Uninstall Package" alt+y uninstall
    wait_for 30 "the removal of $DRIVEN_NAME" is_recorded "$DRIVEN_ID" "$AVAILABLE" 2.1.0
    wait_for 30 "the removal of the ground equipment" is_recorded 2 "$AVAILABLE" 2.1.0
    wait_for 30 "the removal of the library" is_recorded 1 "$AVAILABLE" 1.2.0
    is_recorded 8 "$INSTALLED" 1.6.0 || die "Night Lighting is gone as well"
    wait_for 20 "the button Download" has_buttons "$(style_colour Download)" 1
    take_picture uninstalled
    check_removal
    xdotool key Escape
    wait_for 20 "the list of packages" has_more_buttons "$(style_colour Download)" 1
}

# has_more_buttons COLOUR COUNT
has_more_buttons() {
    is_running "$program_pid" || die "the program has ended unexpectedly"
    (($(find_buttons "$1" | wc -l) > $2))
}

# Another cache folder, chosen in the folder dialog.
change_settings() {
    local folder="$DEMO_HOME/other cache" light
    light=$(style_colour MoreDetail)
    say "Choosing another cache folder"
    mkdir -p "$folder"
    click "$(top_button 2)"
    wait_for 20 "the settings" has_focus "Settings"
    take_picture settings-general
    xdotool key ctrl+Tab
    # Four to browse, and Cancel.
    wait_for 20 "the page of the folders" has_buttons "$light" 5 40
    take_picture settings-paths
    click "$(find_buttons "$light" | sed -n 2p)"
    wait_for 20 "the folder dialog" has_focus "Find Directory"
    # From the home folder: what is above may have letters that the keyboard of the display does not.
    # shellcheck disable=SC2088 # Qt knows the tilde.
    xdotool type --delay 12 "~/${folder##*/}"
    take_picture settings-folder
    wait_for 20 "the end of the folder dialog" confirm_folder
    take_picture settings-changed
    # Ok has the accent of Download.
    click "$(find_buttons "$(style_colour Download)" 40 | head -n 1)"
    wait_for 20 "the main window" has_focus "Kavo Suite"
    wait_for 20 "the new cache folder in the settings file" has_setting Cache "$folder/"
    wait_for 20 "the list of packages" has_more_buttons "$(style_colour Download)" 1

    click "$(top_button 2)"
    wait_for 20 "the settings" has_focus "Settings"
    xdotool key ctrl+Tab ctrl+Tab
    wait_for 20 "the page of the disk usage" has_buttons "$light" 1 40
    take_picture settings-disk
    xdotool key Escape
    wait_for 20 "the main window" has_focus "Kavo Suite"
}

# confirm_folder: presses Return in the folder dialog as long as it is there; the first time may only
# close the list of suggestions.
confirm_folder() {
    has_focus "Settings" && return
    xdotool key Return
    wait_at_most_a_second has_focus "Settings"
}

# wait_at_most_a_second COMMAND...: whether it succeeded in that time.
wait_at_most_a_second() {
    local attempts=10
    until "$@"; do
        ((--attempts > 0)) || return 1
        sleep 0.1
    done
}

refuse_reset() {
    say "Asking for the reset and refusing it"
    click "$(top_button 3)"
    answer Reset alt+n reset
    wait_for 20 "the main window" has_focus "Kavo Suite"
    is_recorded 8 "$INSTALLED" 1.6.0 || die "the refused reset has forgotten what is installed"
    has_setting Cache "$DEMO_HOME/other cache/" || die "the refused reset has changed the settings"
}

refresh_without_server() {
    local download
    download=$(style_colour Download)
    say "Refreshing while the server is silent, and once more when it is back"
    stop_process "$server_pid"
    click "$(top_button 1)"
    wait_for 20 "the error in the place of the list" has_buttons "$download" 0
    take_picture no-server
    start_server
    click "$(top_button 1)"
    wait_for 20 "the list of packages" has_more_buttons "$download" 1
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
