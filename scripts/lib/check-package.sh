# shellcheck shell=bash disable=SC2154
# scripts/check package: builds both Debian packages, validates them, and builds them again in another folder,
# which must give the same bytes. Installs, uses and removes kavo-catalogue, then replaces it with kavo-suite,
# runs the installed program on the demonstration, and removes that as well. Sourced by scripts/check, not run.

# scripts/run has another folder, so what was installed there stays.
DEMO_RUN="$KAVO_SOURCE/build/check-package"
# shellcheck source=scripts/lib/demonstration.sh
source "$KAVO_SOURCE/scripts/lib/demonstration.sh"

readonly NAME=kavo-suite
readonly TOOL=kavo-catalogue
readonly DESKTOP_ID=example.quarnell.KavoSuite
readonly PROGRAM_FOLDER=/usr/lib/kavo-suite
readonly CONTENT="$DEMO_RUN/content"
readonly TOOL_CONTENT="$DEMO_RUN/tool-content"
# The folders that packages install to.
readonly PLACES=(/usr /etc /opt /var)
readonly APT_LOG="$DEMO_RUN/apt.log"

# All packages that the installations have added, empty while there is nothing to remove.
brought=()

# Before -------------------------------------------------------------------------------------------

# is_known NAME: dpkg knows the package, installed or removed with its configuration left.
is_known() {
    dpkg-query --status "$1" >/dev/null 2>&1
}

# require_absence: an installed package belongs to the user, and the check must not remove it.
require_absence() {
    local name path
    for name in "$NAME" "$TOOL"; do
        ! is_known "$name" || die "the package $name is installed or not fully removed; purge it first"
    done
    for path in "$PROGRAM_FOLDER" "/usr/bin/$TOOL"; do
        [[ ! -e $path ]] || die "$path already exists"
    done
}

# require_man_db: most machines have man-db.
require_man_db() {
    [[ -z $(missing_packages man-db) ]] || die "lintian needs the package man-db, which enables a timer, so no script installs it. Install it yourself:
    sudo apt-get install --no-install-recommends man-db"
}

build_packages() {
    "$KAVO_SOURCE/scripts/package" | tee "$DEMO_RUN/package.log"
    package=$(built_package "$NAME")
    tool_package=$(built_package "$TOOL")
}

# built_package NAME
built_package() {
    local path
    path=$(tail -n 2 "$DEMO_RUN/package.log" | grep "/$1_[^/]*\.deb\$") || true
    [[ -f $path ]] || die "scripts/package did not build a package $1"
    echo "$path"
}

# check_reproduction: the same sources give the same packages in another folder and another time zone, without
# anything of the first build.
check_reproduction() {
    local copy="$DEMO_RUN/another folder/kavo" path
    say "Building the packages again in $copy"
    mkdir -p "$copy"
    find "$KAVO_SOURCE" -mindepth 1 -maxdepth 1 ! -name 'build*' ! -name .git \
        -exec cp --recursive {} "$copy/" \;
    # ccache would return the objects of the first build.
    TZ=Asia/Tokyo CCACHE_DISABLE=1 "$copy/scripts/package" >"$DEMO_RUN/package-again.log" 2>&1 ||
        die "the second build failed, see $DEMO_RUN/package-again.log"
    for path in "$package" "$tool_package"; do
        cmp "$path" "$copy/build/${path##*/}" || die "${path##*/} differs in the second build"
    done
}

# Validation --------------------------------------------------------------------------------------

validate() {
    say "Validating the desktop entry, the metainfo and the packages"
    rm -rf "$CONTENT" "$TOOL_CONTENT"
    dpkg-deb --extract "$package" "$CONTENT"
    dpkg-deb --extract "$tool_package" "$TOOL_CONTENT"
    desktop-file-validate "$CONTENT/usr/share/applications/$DESKTOP_ID.desktop" ||
        die "the desktop entry is not valid"
    appstreamcli validate --no-net "$CONTENT/usr/share/metainfo/$DESKTOP_ID.metainfo.xml" ||
        die "the metainfo is not valid"
    # As a tree, so that the metainfo finds its desktop entry.
    appstreamcli validate-tree --no-net "$CONTENT" || die "metainfo and desktop entry do not match"
    lintian --fail-on error,warning --tag-display-limit 0 "$package" "$tool_package" 2>&1 |
        sed '/running with root privileges/d' || die "lintian found faults"
    check_archive "$NAME" "$package"
    check_archive "$TOOL" "$tool_package"
    check_tool_is_the_same
    check_tool_needs_no_window
}

# check_archive NAME FILE
check_archive() {
    dpkg-deb --info "$2" md5sums >/dev/null || die "the package $1 has no checksums"
    if dpkg-deb --contents "$2" | awk '$2 != "root/root" { print; found = 1 } END { exit !found }'
    then
        die "these files of the package $1 do not belong to root"
    fi
    # A control file has the summary first, then indented lines, and a dot for an empty line.
    sed '1! { s/^$/./; s/^/ / }' "$KAVO_SOURCE/packaging/$1.description" |
        cmp - <(dpkg-deb --field "$2" Description) || die "the description of $1 is damaged"
}

# check_tool_is_the_same: the files that both packages contain are equal.
check_tool_is_the_same() {
    local path compared=0
    while read -r path; do
        [[ $path != usr/share/doc/* ]] || continue
        cmp "$TOOL_CONTENT/$path" "$CONTENT/$path" || die "the packages contain different files $path"
        compared=$((compared + 1))
    done < <(cd "$TOOL_CONTENT" && find usr -type f)
    ((compared > 1)) || die "the package $TOOL contains almost nothing"
}

# check_tool_needs_no_window: looks at all that apt-get would install on a machine without any package.
check_tool_needs_no_window() {
    local needed="$DEMO_RUN/needed-by-tool"
    : >"$DEMO_RUN/no-packages"
    LC_ALL=C apt-get -o "Dir::State::status=$DEMO_RUN/no-packages" \
        -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= \
        --simulate install --no-install-recommends "$tool_package" |
        awk '$1 == "Inst" { print $2 }' >"$needed"
    grep --quiet --line-regexp p7zip-full "$needed" || die "$TOOL does not depend on 7-Zip"
    if grep '^libqt5\(gui\|widgets\)' "$needed"; then
        die "$TOOL would install these libraries for windows"
    fi
    say "$TOOL needs $(wc -l <"$needed") packages in all, including dependencies"
}

# Installing and removing --------------------------------------------------------------------------

# list_files FOLDER...: prints every path in these folders that an installation could change, without the
# package manager's own files. An ordinary user cannot read every folder (/etc/ssl/private); unreadable ones
# are left out.
list_files() {
    {
        find "$@" \
            \( -path /var/cache -o -path /var/log -o -path /var/tmp -o -path /var/lib/apt \
            -o -path /var/lib/dpkg -o -path "$KAVO_SOURCE" \) -prune -o -print 2>/dev/null || true
    } | LC_ALL=C sort
}

# remember_machine: saves the list of files to compare with after the removal.
remember_machine() {
    list_files "${PLACES[@]}" >"$DEMO_RUN/files-before"
}

# install_package NAME FILE [OTHER...]: installs the package in this file together with the others.
install_package() {
    local name=$1
    local -a wanted
    shift
    say "Installing $1"
    mapfile -t wanted < <(
        LC_ALL=C apt-get --simulate install --no-install-recommends "$@" | awk '$1 == "Inst" { print $2 }')
    [[ " ${wanted[*]} " == *" $name "* ]] || die "apt-get would not install $1"
    brought+=("${wanted[@]}")
    get_packages install --no-install-recommends "$@" >>"$APT_LOG" 2>&1 ||
        die "the package was not installed, see $APT_LOG"
    dpkg-query --listfiles "$name" >"$DEMO_RUN/$name-files"
    dpkg --verify "$name" | tee "$DEMO_RUN/changed-files"
    [[ ! -s $DEMO_RUN/changed-files ]] || die "the installed files differ from those of the package"
}

install_suite() {
    local -a ordered=("$package")
    # The package accepts locate or plocate; only locate enables no timer.
    [[ -n $(missing_packages locate) && -n $(missing_packages plocate) ]] && ordered+=(locate)
    install_package "$NAME" "${ordered[@]}"
    [[ $(readlink -f "/usr/bin/$NAME") == "$PROGRAM_FOLDER/$NAME" ]] ||
        die "/usr/bin/$NAME does not link to the program"
}

# remove_packages: removes all added packages that were not replaced by another one.
remove_packages() {
    local name
    local -a present=()
    for name in "${brought[@]}"; do
        ! is_known "$name" || present+=("$name")
    done
    ((${#present[@]})) || return 0
    say "Removing ${present[*]}"
    get_packages purge "${present[@]}" >>"$APT_LOG" 2>&1 || return 1
    brought=()
}

# account_files: prints the user's files with their checksums.
account_files() {
    find "$DEMO_HOME" "$DEMO_SIMULATOR" -type f -exec sha256sum {} + | LC_ALL=C sort
}

# check_removal_of NAME
check_removal_of() {
    local path
    account_files >"$DEMO_RUN/account-before"
    remove_packages || die "the package was not removed, see $APT_LOG"
    ! is_known "$1" || die "the package $1 is still known"
    [[ ! -e $PROGRAM_FOLDER ]] || die "$PROGRAM_FOLDER is still there"
    while read -r path; do
        [[ ! -e $path && ! -L $path ]] || grep --quiet --line-regexp --fixed-strings "$path" \
            "$DEMO_RUN/files-before" || [[ $path == /. ]] || die "$path was not removed"
    done <"$DEMO_RUN/$1-files"
    wait_for 60 "the machine to be unchanged, see $DEMO_RUN/differences" machine_is_as_before
    account_files | cmp - "$DEMO_RUN/account-before" || die "the removal changed the user's files"
    say "Nothing but the user's own files remains of $1"
}

# machine_is_as_before: ignores files of other packages, because somebody else may be installing them.
machine_is_as_before() {
    local path
    list_files "${PLACES[@]}" >"$DEMO_RUN/files-after"
    {
        LC_ALL=C comm -23 "$DEMO_RUN/files-before" "$DEMO_RUN/files-after" | sed 's/^/lost: /'
        LC_ALL=C comm -13 "$DEMO_RUN/files-before" "$DEMO_RUN/files-after" |
            while read -r path; do
                dpkg-query --search "$path" >/dev/null 2>&1 || echo "not removed: $path"
            done
    } >"$DEMO_RUN/differences"
    [[ ! -s $DEMO_RUN/differences ]]
}

# The installed command ----------------------------------------------------------------------------

# tool ARGUMENT...: runs the installed command in the profile of the demonstration, without a display.
tool() {
    env -u DISPLAY -u WAYLAND_DISPLAY -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME \
        HOME="$DEMO_HOME" "/usr/bin/$TOOL" "$@"
}

# status_of COMMAND...: prints the exit status.
status_of() {
    "$@" >>"$DEMO_RUN/tool.log" 2>&1 && echo 0 || echo $?
}

use_tool() {
    local catalogue="$DEMO_RUN/catalogue.json" archives="$DEMO_RUN/www/archives"
    say "Using /usr/bin/$TOOL"
    [[ $(tool --version) == "$TOOL $(dpkg-deb --field "$tool_package" Version)" ]] ||
        die "$TOOL has another version"
    rm -f "$catalogue"
    [[ $(status_of tool init "$catalogue") == 0 ]] || die "$TOOL did not create a catalogue, see $DEMO_RUN/tool.log"
    [[ $(status_of tool add "$catalogue" "$archives/harbour-city-2.1.0.7z" --id 3 --version 2.1.0 \
        --name "Harbour City" --type SCENERY --extract "Custom Scenery/Kavo Harbour City" \
        --link-prefix https://example.org/) == 0 ]] ||
        die "$TOOL did not add an archive, see $DEMO_RUN/tool.log"
    [[ $(status_of tool check --strict --archives "$archives" --simulate "$catalogue") == 0 ]] ||
        die "$TOOL reported faults in a good catalogue, see $DEMO_RUN/tool.log"
    tool schema | cmp - "/usr/share/$TOOL/catalogue.schema.json" ||
        die "$TOOL does not print the installed schema"
    sed -i 's/"extract": "/&..\//' "$catalogue"
    [[ $(status_of tool check "$catalogue") == 2 ]] ||
        die "$TOOL did not report a package that leaves the simulator, see $DEMO_RUN/tool.log"
    # The server of the demonstration does not compress.
    [[ $(status_of tool probe "http://localhost:$DEMO_PORT/") == 1 ]] ||
        die "$TOOL did not report the missing compression, see $DEMO_RUN/tool.log"
    [[ -z $(find "$DEMO_HOME" -mindepth 1 -print -quit) ]] || die "$TOOL left files in $DEMO_HOME"
    if ldd "/usr/bin/$TOOL" | grep 'libQt5\(Gui\|Widgets\)'; then
        die "$TOOL loads these libraries for windows"
    fi
}

check_tool_alone() {
    install_package "$TOOL" "$tool_package"
    use_tool
    check_removal_of "$TOOL"
}

# replace_tool: the larger package replaces the smaller one, but not the reverse.
replace_tool() {
    local answer
    install_package "$TOOL" "$tool_package"
    install_suite
    ! is_known "$TOOL" || die "both packages are installed"
    use_tool
    ! answer=$(LC_ALL=C dpkg --no-act --install "$tool_package" 2>&1) ||
        die "$TOOL would be installed beside $NAME"
    [[ $answer == *"conflicting packages - not installing $TOOL"* ]] || die "$answer"
}

# The installed program ----------------------------------------------------------------------------

# shows_icon NAME POSITION: the icon of this package is on the screen near the position. Only its middle is
# searched for, because a card may round the corners.
shows_icon() {
    local found
    imagemagick convert "$DEMO_RUN/www/icons/$1.png" -background white -flatten \
        -resize 96x96 -gravity center -crop 64x64+0+0 +repage "$DEMO_RUN/icon.png"
    imagemagick import -window root -crop 400x300+"$2" +repage "$DEMO_RUN/screen.png"
    # compare prints the difference at the best place, between 0 and 1, in brackets.
    found=$(imagemagick compare -metric RMSE -subimage-search "$DEMO_RUN/screen.png" "$DEMO_RUN/icon.png" null: 2>&1) ||
        true
    awk -F '[()]' '{ exit !($2 != "" && $2 < 0.05) }' <<<"$found"
}

# look_at_cards PICTURE: the cards show what the server has sent.
look_at_cards() {
    local WINDOW='' X=0 Y=0 WIDTH=0 HEIGHT=0
    was_served packages.json || die "the program did not request the catalogue"
    find_main_window || die "there is no main window"
    wait_for 30 "the icon of the first card" shows_icon harbour-city "$((X + 100))+$((Y + 60))"
    take_picture "$1"
}

# property OPTION...: prints properties of the main window as the desktop sees them.
property() {
    local WINDOW='' X=0 Y=0 WIDTH=0 HEIGHT=0
    find_main_window || die "there is no main window"
    xprop -id "$WINDOW" "$@"
}

# check_process: the installed program is running and has found its own folder through the link.
check_process() {
    [[ $(readlink "/proc/$program_pid/exe") == "$PROGRAM_FOLDER/$NAME" ]] ||
        die "the running program is not the installed one"
    [[ $(readlink "/proc/$program_pid/cwd") == "$PROGRAM_FOLDER" ]] ||
        die "the program did not find its own folder"
}

# check_desktop_properties: a task bar can find the desktop entry of the window, and the window has an icon for
# task bars that do not look for one.
check_desktop_properties() {
    local entry="/usr/share/applications/$DESKTOP_ID.desktop" class
    class=$(sed -n 's/^StartupWMClass=//p' "$entry")
    [[ $(property WM_CLASS) == *"\"$class\""* ]] ||
        die "the desktop entry does not name the window: $(property WM_CLASS)"
    # The first bytes contain the size.
    [[ $(property -len 8 _NET_WM_ICON) == *"Icon (256 x 256)"* ]] || die "the window has no icon"
}

# has_loaded FILE: the program has mapped this translation.
has_loaded() {
    grep --quiet --fixed-strings "$1" "/proc/$program_pid/maps"
}

run_in_english() {
    say "Starting the installed program in a new profile"
    open_program "/usr/bin/$NAME"
    check_process
    look_at_cards installed-program
    check_desktop_properties
    if has_loaded _de.qm; then die "the English program has loaded a translation"; fi
    install_by_keyboard
    close_program
    has_setting Language en || die "the program did not save its settings"
    has_setting Installation "$DEMO_SIMULATOR/" || die "the program did not find the simulator"
}

run_in_german() {
    local settings="$DEMO_HOME/.config/Quarnell/Kavo Suite.ini"
    say "Starting it in German"
    sed -i 's/^Language=.*/Language=de/' "$settings"
    : >"$DEMO_RUN/nginx/access.log"
    open_program "/usr/bin/$NAME"
    check_process
    look_at_cards installed-program-german
    has_loaded "$PROGRAM_FOLDER/translations/qt_de.qm" ||
        die "the program did not load its translation"
    has_loaded /qtbase_de.qm || die "the program did not load Qt's own German texts"
    xdotool key ctrl+comma
    wait_for 20 "the German settings dialog" has_focus "Einstellungen"
    take_picture installed-program-german-settings
    xdotool key Escape
    wait_for 20 "the main window" has_focus "Kavo Suite"
    close_program
    has_setting Language de || die "the program did not keep its language"
}

# The check ----------------------------------------------------------------------------------------

end_check() {
    local status=$?
    trap '' INT TERM HUP
    stop_process "${program_pid:-}"
    stop_display
    stop_process "$server_pid"
    remove_packages || { say "not removed: ${brought[*]}, see $APT_LOG" >&2; status=1; }
    exit "$status"
}

check_package() {
    require_absence
    require_port
    require_man_db
    prepare_machine "${KAVO_BUILD_PACKAGES[@]}" "${KAVO_RUN_PACKAGES[@]}" \
        "${KAVO_TEST_PACKAGES[@]}" "${KAVO_PACKAGE_PACKAGES[@]}" "${KAVO_PACKAGE_CHECK_PACKAGES[@]}"
    provide_nginx
    rm -rf "$DEMO_RUN"
    mkdir -p "$DEMO_RUN" "$PICTURES"
    # The trap for EXIT undoes the changes, also after a signal.
    trap 'exit 143' TERM
    trap 'exit 129' HUP
    trap end_check EXIT
    build_packages
    validate
    check_reproduction
    prepare_demonstration
    start_server
    start_display
    remember_machine
    check_tool_alone
    replace_tool
    run_in_english
    run_in_german
    check_removal_of "$NAME"
    say "The packages are good; pictures are in $PICTURES"
}
