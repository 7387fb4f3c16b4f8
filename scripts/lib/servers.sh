# shellcheck shell=bash disable=SC2034,SC2154
# scripts/check servers: starts the web servers that publishers use on the loopback interface, with the settings
# that users need, and lets the program's package management install an add-on from each: without a fault, after
# a cut connection, and after the archive was replaced in between. kavo-catalogue probe then asks for everything
# in the demonstration. Prints a table. Sourced by scripts/check, not run.
#
# Debian's packages of the servers enable services. So none is installed; they are unpacked into
# build/tools/servers, together with their libraries.

readonly UNPACKED="$KAVO_SOURCE/build/tools/servers"
readonly S3_SERVER="$KAVO_SOURCE/build/tools/s3rver"
readonly SERVERS=(nginx apache lighttpd caddy python varnish nginx_cache s3)

# provide_unpacked PACKAGE...: downloads and unpacks the missing packages.
provide_unpacked() {
    local package work
    mkdir -p "$UNPACKED/done"
    for package in "$@"; do
        [[ ! -e $UNPACKED/done/$package ]] || continue
        command -v apt-get >/dev/null || die "$package is missing, and there is no apt-get to download it with"
        say "Unpacking $package into build/tools; it is not installed"
        work=$(mktemp --directory "$UNPACKED/fetch.XXXXXX")
        download_package "$package" "$work"
        dpkg-deb --extract "$work"/*.deb "$UNPACKED"
        dpkg-deb --field "$work"/*.deb Version >"$UNPACKED/done/$package"
        rm -r "$work"
    done
}

# version_of PACKAGE: prints the upstream version.
version_of() {
    sed 's/^[0-9]*://; s/-.*//' "$UNPACKED/done/$1"
}

# unpacked PROGRAM ARGUMENT...: replaces the calling (sub)shell by an unpacked program, with its libraries.
unpacked() {
    local program=$UNPACKED/$1
    shift
    export LD_LIBRARY_PATH="$UNPACKED/usr/lib/x86_64-linux-gnu"
    exec "$program" "$@"
}

# Each server has up to four functions: provide_NAME downloads it, start_NAME starts it on $site at $port and sets
# $server_pid, title_NAME prints its name and version, and settings_NAME prints the settings that users need.
# $state is a folder for each server.

# nginx ------------------------------------------------------------------------------------------

title_nginx() { echo "nginx $(nginx_program_version)"; }
settings_nginx() { echo "\`gzip on\`, \`gzip_types application/json\`; \`expires 1d\` for pictures"; }

nginx_program_version() {
    "$(nginx_program)" -v 2>&1 | sed 's/.*nginx\///; s/ .*//'
}

# nginx_configuration PORT: prints the configuration up to the server's block.
nginx_configuration() {
    cat <<CONF
daemon off;
master_process off;
$( ((EUID)) || echo "user root;")
pid nginx-$1.pid;
error_log nginx-$1.log;
events { worker_connections 256; }
http {
  access_log off;
  client_body_temp_path tmp; proxy_temp_path tmp; fastcgi_temp_path tmp;
  uwsgi_temp_path tmp; scgi_temp_path tmp;
  types { application/json json; image/png png; application/zip zip; }
CONF
}

run_nginx() {
    mkdir -p "$state/tmp"
    (cd "$state" && exec "$(nginx_program)" -p ./ -e start.log -c "$1") >/dev/null 2>&1 &
}

start_nginx() {
    {
        nginx_configuration "$port"
        cat <<CONF
  gzip on;
  gzip_types application/json;
  server {
    listen 127.0.0.1:$port;
    root "$site";
    location ~ \.png$ { expires 1d; }
  }
}
CONF
    } >"$state/nginx.conf"
    run_nginx nginx.conf
    server_pid=$!
}

# Apache -----------------------------------------------------------------------------------------

provide_apache() { provide_unpacked apache2-bin libapr1 libaprutil1 liblua5.3-0 libjansson4; }
title_apache() { echo "Apache $(version_of apache2-bin)"; }
settings_apache() {
    echo "\`AddOutputFilterByType DEFLATE application/json\` and, for the catalogue, \`FileETag None\`;" \
        "\`ExpiresByType image/png \"access plus 1 day\"\`"
}

start_apache() {
    local modules="$UNPACKED/usr/lib/apache2/modules"
    {
        for module in mpm_event authz_core mime filter deflate expires; do
            echo "LoadModule ${module}_module \"$modules/mod_$module.so\""
        done
        cat <<CONF
ServerRoot "$state"
ServerName 127.0.0.1
Listen 127.0.0.1:$port
PidFile apache.pid
DefaultRuntimeDir "$state"
ErrorLog apache.log
# Needed when root starts Apache.
User ${APACHE_ACCOUNT:-www-data}
Group ${APACHE_ACCOUNT:-www-data}
TypesConfig /dev/null
AddType application/json .json
AddType image/png .png
AddType application/zip .zip
DocumentRoot "$site"
<Directory "$site">
  Require all granted
</Directory>
AddOutputFilterByType DEFLATE application/json
# Apache does not recognise the tag that it gives to a compressed answer. It recognises the date.
<Files "packages.json">
  FileETag None
</Files>
ExpiresActive on
ExpiresByType image/png "access plus 1 day"
CONF
    } >"$state/apache.conf"
    (unpacked usr/sbin/apache2 -f "$state/apache.conf" -DFOREGROUND) >"$state/start.log" 2>&1 &
    server_pid=$!
}

# lighttpd ---------------------------------------------------------------------------------------

provide_lighttpd() { provide_unpacked lighttpd lighttpd-mod-deflate; }
title_lighttpd() { echo "lighttpd $(version_of lighttpd)"; }
settings_lighttpd() {
    echo "\`mimetype.assign\` for every kind of archive; \`mod_deflate\` with" \
        "\`deflate.mimetypes = (\"application/json\")\`; \`mod_expire\` for pictures"
}

start_lighttpd() {
    cat >"$state/lighttpd.conf" <<CONF
server.modules = ("mod_expire", "mod_deflate")
server.document-root = "$site"
server.bind = "127.0.0.1"
server.port = $port
server.errorlog = "$state/lighttpd.log"
# lighttpd sends no date for a file of unknown type, so its download cannot be resumed.
mimetype.assign = (".json" => "application/json", ".png" => "image/png", ".zip" => "application/zip",
    ".7z" => "application/x-7z-compressed")
deflate.mimetypes = ("application/json")
deflate.allowed-encodings = ("gzip")
\$HTTP["url"] =~ "\.png$" { expire.url = ("" => "access plus 1 days") }
CONF
    (unpacked usr/sbin/lighttpd -D -f "$state/lighttpd.conf" -m "$UNPACKED/usr/lib/lighttpd") \
        >"$state/start.log" 2>&1 &
    server_pid=$!
}

# Caddy ------------------------------------------------------------------------------------------

provide_caddy() { provide_unpacked caddy; }
title_caddy() { echo "Caddy $(version_of caddy)"; }
settings_caddy() { echo "\`encode gzip\`; \`header *.png Cache-Control max-age=86400\`"; }

start_caddy() {
    cat >"$state/Caddyfile" <<CONF
{
	admin off
	auto_https off
}
:$port {
	bind 127.0.0.1
	root * "$site"
	encode gzip
	header *.png Cache-Control max-age=86400
	file_server
}
CONF
    (HOME=$state XDG_DATA_HOME=$state XDG_CONFIG_HOME=$state unpacked usr/bin/caddy run \
        --config "$state/Caddyfile" --adapter caddyfile) >"$state/start.log" 2>&1 &
    server_pid=$!
}

# Python -----------------------------------------------------------------------------------------

title_python() { echo "$(python3 --version) \`http.server\`"; }
settings_python() { echo "none available"; }

start_python() {
    python3 -m http.server "$port" --bind 127.0.0.1 --directory "$site" >"$state/start.log" 2>&1 &
    server_pid=$!
}

# Varnish in front of nginx ----------------------------------------------------------------------

provide_varnish() { provide_unpacked varnish libvarnishapi3 libjemalloc2; }
title_varnish() { echo "Varnish $(version_of varnish) before nginx"; }
settings_varnish() { echo "those of nginx; a \`default_ttl\` after which a new catalogue is to be seen, here 1 s"; }

start_varnish() {
    start_origin
    cat >"$state/cache.vcl" <<CONF
vcl 4.1;
backend default { .host = "127.0.0.1"; .port = "$((port + 1))"; }
CONF
    mkdir -p "$state/varnish"
    (unpacked usr/sbin/varnishd -F -j none -n "$state/varnish" -a "127.0.0.1:$port" -f "$state/cache.vcl" \
        -s malloc,128m -p default_ttl=1 -p default_grace=0) >"$state/start.log" 2>&1 &
    server_pid=$!
}

# start_origin: starts nginx at the next port, behind a cache at $port.
start_origin() {
    local cache_port=$port
    port=$((port + 1))
    start_nginx
    origin_pid=$server_pid
    port=$cache_port
}

# nginx's cache in front of nginx ----------------------------------------------------------------

title_nginx_cache() { echo "nginx's \`proxy_cache\` before nginx"; }
settings_nginx_cache() {
    echo "those of nginx; \`proxy_cache_valid\`, here 1 s, and \`proxy_cache_revalidate on\`"
}

start_nginx_cache() {
    start_origin
    {
        nginx_configuration "$port"
        cat <<CONF
  proxy_cache_path cache keys_zone=answers:1m;
  server {
    listen 127.0.0.1:$port;
    location / {
      proxy_pass http://127.0.0.1:$((port + 1));
      proxy_http_version 1.1;
      proxy_set_header Connection "";
      proxy_cache answers;
      proxy_cache_valid 200 1s;
      proxy_cache_revalidate on;
    }
  }
}
CONF
    } >"$state/cache.conf"
    run_nginx cache.conf
    server_pid=$!
}

# An object store --------------------------------------------------------------------------------

provide_s3() {
    [[ ! -x $S3_SERVER/node_modules/.bin/s3rver ]] || return 0
    say "Downloading s3rver into build/tools with npm"
    npm install --silent --no-fund --no-audit --prefix "$S3_SERVER" s3rver@3.7.1 >/dev/null
}
title_s3() { echo "S3 interface (s3rver 3.7.1)"; }
settings_s3() {
    echo "the catalogue uploaded in gzip, with \`Content-Encoding: gzip\`; \`Cache-Control: max-age=86400\`" \
        "with each picture"
}

start_s3() {
    "$S3_SERVER/node_modules/.bin/s3rver" --address 127.0.0.1 --port "$port" --directory "$state/store" \
        --configure-bucket addons --silent >"$state/start.log" 2>&1 &
    server_pid=$!
}

# upload_all ADDRESS FOLDER: uploads every file of the folder to the bucket, as a publisher does.
upload_all() {
    local file type more body
    while IFS= read -r -d '' file; do
        more=() body=$2/$file
        case $file in
        # An object store does not compress.
        *.json)
            type=application/json more=(--header "Content-Encoding: gzip") body=$2/.catalogue.gz
            gzip --stdout "$2/$file" >"$body"
            ;;
        *.png) type=image/png more=(--header "Cache-Control: max-age=86400") ;;
        *) type=application/octet-stream ;;
        esac
        curl --silent --show-error --fail --aws-sigv4 aws:amz:us-east-1:s3 --user S3RVER:S3RVER \
            --header "x-amz-content-sha256: UNSIGNED-PAYLOAD" --header "Content-Type: $type" "${more[@]}" --upload-file "$body" "$1$file" >/dev/null || return
    done < <(cd "$2" && find . -type f ! -name '.*' -printf '%P\0')
}

# The trial of each server -------------------------------------------------------------------------

# make_site: puts the demonstration into the folder addons of every server.
make_site() {
    demo/make-demo "$site/addons" "$address" >/dev/null
    mkdir -p "$site/addons/trial"
    # Caches do not keep files that have just changed.
    find "$site" -type f -exec touch --date='2 hours ago' {} +
}

# shellcheck disable=SC2317 # wait_for calls it.
server_answers() {
    is_running "$server_pid" || die "the server has ended: $(cat "$state/start.log")"
    curl --silent --output /dev/null "$1"
}

# try_server NAME: adds a row to the table.
try_server() {
    local results verdict=0 report
    state=$work/$1
    mkdir -p "$state"
    chmod -R go+rX "$work"
    if declare -F "provide_$1" >/dev/null && ! "provide_$1"; then
        add_row "$("title_$1")" - "not tried" - - -
        return
    fi
    say "Trying $("title_$1")"
    "start_$1"
    wait_for 20 "the server" server_answers "$address"
    publisher=
    [[ $1 != s3 ]] || publish_to_store
    mapfile -t results < <(build/dev/tests-bin/server_trial "${address}trial/" "$site/addons/trial" "$publisher")
    report=$(build/dev/bin/kavo-catalogue probe "$address" --all) || verdict=$?
    printf '%s\n' "$report" >"$work/$1.txt"
    add_row "$("title_$1")" "$("settings_$1")" "${results[0]-failed}" "${results[1]-failed}" \
        "${results[2]-failed}" "$(verdict_of "$verdict" "$report")"
    stop_servers
}

# publish_to_store: fills the bucket, and sets $publisher to a command that uploads the files again.
publish_to_store() {
    upload_all "$address" "$site/addons" || die "the upload to the bucket failed"
    publisher=$state/publish
    cat >"$publisher" <<SCRIPT
#!/usr/bin/env bash
KAVO_SOURCE='$KAVO_SOURCE'
source "\$KAVO_SOURCE/scripts/lib/servers.sh"
upload_all '${address}trial/' "\$1"
SCRIPT
    chmod +x "$publisher"
}

# verdict_of STATUS REPORT: prints the costs for users that the report names.
verdict_of() {
    local lost
    lost=$(awk -F '   *' '$4 == "costs users" || $4 == "cannot be used" { print $1 ": " $2 " (" $3 ")" }' <<<"$2" |
        paste --serial --delimiters=';' | sed 's/;/; /g')
    echo "status $1${lost:+: $lost}"
}

add_row() {
    local row="| $1 | $2 | $3 | $4 | $5 | $6 |"
    rows+=("$row")
    say "$row"
    [[ $row != *"| failed |"* && $row != *"| damaged |"* ]] || has_failed=1
}

stop_servers() {
    stop_process "$server_pid"
    stop_process "$origin_pid"
    server_pid='' origin_pid=''
}

# shellcheck disable=SC2317 # The trap calls it.
end_servers() {
    stop_servers
    rm -rf "$work"
}

# The cost of users, and the load that one nginx bears ---------------------------------------------

readonly PACKAGES=3600
readonly LOAD_SECONDS=8

# start_counted SETTING...: starts nginx on $site at $port with these lines in its configuration. It writes
# method, path, status, bytes sent and bytes received of each request to $state/requests.log.
start_counted() {
    stop_servers
    mkdir -p "$state"
    rm -f "$state/requests.log"
    {
        nginx_configuration "$port"
        cat <<CONF
  log_format counted '\$request_method \$uri \$status \$bytes_sent \$request_length';
  keepalive_requests 1000000;
  sendfile on;
  server {
    listen 127.0.0.1:$port;
    root "$site";
    access_log requests.log counted;
    $(printf '%s\n    ' "$@")
    location /silent/ { access_log off; alias "$site/"; }
  }
}
CONF
    } >"$state/nginx.conf"
    run_nginx nginx.conf
    server_pid=$!
    wait_for 20 "the server" server_answers "http://127.0.0.1:$port/"
    : >"$state/requests.log"
}

# start_program: starts package management in the profile $work/home, and prints what it costs the server.
start_program() {
    : >"$state/requests.log"
    env HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_DATA_HOME="$work/home/.local" \
        XDG_CACHE_HOME="$work/home/.cache" build/dev/tests-bin/engine_driver \
        "http://127.0.0.1:$port/" "$work/simulator" uninstall 1 >/dev/null 2>&1 || die "the program failed"
    awk '{ ++requests; sent += $4; received += $5; status = $3 } END { print status, requests, sent, received }' \
        "$state/requests.log"
}

# two_starts NAME SETTING...: prints a row with the cost of the catalogue at the first and at the second start.
two_starts() {
    local name=$1 first second
    shift
    rm -rf "${work:?}/home"
    mkdir -p "$work/home" "$work/simulator"
    start_counted "$@"
    first=$(start_program)
    second=$(start_program)
    awk -v name="$name" -v first="$first" -v second="$second" 'BEGIN {
        split(first, a); split(second, b)
        printf "| %s | %d, %d bytes | %d, %d bytes |\n", name, a[1], a[3], b[1], b[3]
    }'
}

count_starts() {
    echo "| the catalogue of $PACKAGES packages | first start | second start |"
    echo "|---|---|---|"
    two_starts "neither ETag nor date, not compressed" 'etag off;' 'add_header Last-Modified "";'
    two_starts "ETag and date" ''
    two_starts "ETag and date, compressed" 'gzip_static on;'
}

# count_requests: counts the other requests, which the probe makes in the same way as the program.
count_requests() {
    start_counted ''
    build/dev/bin/kavo-catalogue probe "$demonstration" --all >/dev/null || true
    echo "| request | bytes sent | bytes received |"
    echo "|---|---|---|"
    awk '
        function add(name) { ++count[name]; sent[name] += $4; received[name] += $5 }
        $2 ~ /png$/ && $3 == 200 { add("icon, whole") }
        $2 ~ /png$/ && $3 == 304 { add("icon, not changed") }
        $1 == "HEAD" { add("archive, HEAD") }
        END {
            for (name in count)
                printf "| %s | %d | %d |\n", name, sent[name] / count[name], received[name] / count[name]
        }' "$state/requests.log" | sort
}

# count_growth: prints how packages and versions add to the size of a catalogue.
count_growth() {
    local count
    echo "| packages | versions | bytes | in gzip | bytes a package, with one version | in gzip | bytes for each further version | in gzip |"
    echo "|---|---|---|---|---|---|---|---|"
    for count in 100 1000 "$PACKAGES" 10000; do
        build/bench/bin/bench_data catalogue "$count" https://addons.example.org/ "$work/catalogue.json"
        python3 - "$work/catalogue.json" <<'PYTHON'
import gzip, json, sys

def sizes(catalogue):
    text = json.dumps(catalogue, separators=(",", ":"), ensure_ascii=False).encode()
    return len(text), len(gzip.compress(text, 6))

catalogue = json.load(open(sys.argv[1], encoding="utf-8"))
packages, versions = len(catalogue), sum(len(package["versions"]) for package in catalogue)
whole = sizes(catalogue)
for package in catalogue:
    del package["versions"][1:]
newest = sizes(catalogue)
cells = [packages, versions, *whole]
cells += [size // packages for size in newest]
cells += [(a - b) // (versions - packages) for a, b in zip(whole, newest)]
print("|", " | ".join(f"{cell:,}" for cell in cells), "|")
PYTHON
    done
}

# load NAME PATH HEADER...: prints how often one nginx process answers this request in a second of wall time and
# in a second of processor time; the latter does not depend on other load.
load() {
    local name=$1 path=$2 header headers=() result before
    shift 2
    for header in "$@"; do
        headers+=(--header "$header")
    done
    before=$(processor_time)
    result=$(unpacked usr/bin/wrk --threads 1 --connections 32 --duration "$LOAD_SECONDS"s --timeout 30s \
        "${headers[@]}" "$load_address$path")
    grep --quiet 'Requests/sec' <<<"$result" || die "the server failed under load: $result"
    awk -v name="$name" -v ticks="$(($(processor_time) - before))" -v unit="$(getconf CLK_TCK)" '
        /Requests\/sec/ { rate = $2 }
        /Transfer\/sec/ { transfer = $2 }
        /Non-2xx/ { others = $NF }
        / requests in / { requests = $1 }
        END { printf "| %s | %.0f | %s | %.0f%s |\n", name, rate, transfer, requests / (ticks / unit),
            (others ? sprintf(", %d of %d not 2xx or 3xx", others, requests) : "") }' <<<"$result"
}

# processor_time: prints the server's processor time in ticks.
processor_time() {
    awk '{ print $14 + $15 }' "/proc/$server_pid/stat"
}

# tag_of PATH: prints the ETag of a file.
tag_of() {
    curl --silent --insecure --head "${@:2}" "$load_address$1" | sed -n 's/^etag: //Ip' | tr -d '\r'
}

measure_load() {
    echo "| request | answers a second | bytes a second | answers a second of the processor |"
    echo "|---|---|---|---|"
    load_address=http://127.0.0.1:$port
    start_counted 'gzip_static on;'
    load "catalogue, not changed" /silent/packages.json "If-None-Match: $(tag_of /packages.json)"
    load "icon, not changed" /silent/icon.png "If-None-Match: $(tag_of /icon.png)"
    load "icon, whole" /silent/icon.png
    load "catalogue, compressed beforehand" /silent/packages.json "Accept-Encoding: gzip"
    start_counted 'gzip on;' 'gzip_types application/json;'
    load "catalogue, compressed for each answer" /silent/packages.json "Accept-Encoding: gzip"
    measure_tls
}

# measure_tls: also without keep-alive, because each start of the program opens a new connection.
measure_tls() {
    command -v openssl >/dev/null || return 0
    openssl req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=127.0.0.1 \
        -keyout "$state/key.pem" -out "$state/certificate.pem" 2>/dev/null
    start_counted "listen 127.0.0.1:$((port + 2)) ssl;" 'ssl_certificate certificate.pem;' \
        'ssl_certificate_key key.pem;'
    load_address=https://127.0.0.1:$((port + 2))
    load "catalogue, not changed, over TLS" /silent/packages.json "If-None-Match: $(tag_of /packages.json)"
    load "the same, each over a connection of its own" /silent/packages.json \
        "If-None-Match: $(tag_of /packages.json)" "Connection: close"
}

# make_load: writes the catalogue and an icon of the usual size.
make_load() {
    build/bench/bin/bench_data catalogue "$PACKAGES" "http://127.0.0.1:$port/" "$site/packages.json"
    gzip --keep --force "$site/packages.json"
    cp "$site/addons/icons/harbour-city.png" "$site/icon.png"
    find "$site" -type f -exec touch --date='2 hours ago' {} +
}

measure_capacity() {
    state=$work/capacity
    demonstration=$address
    make_load
    say "Counting the cost of a start"
    count_starts
    count_requests
    say "Measuring the growth of catalogues"
    count_growth
    say "Measuring the load on one nginx process, $LOAD_SECONDS seconds for each request"
    measure_load
}

# The check ----------------------------------------------------------------------------------------

# check_servers [--capacity | NAME...]
check_servers() {
    local name mode=trial
    local -a chosen=("$@")
    (($#)) || chosen=("${SERVERS[@]}")
    [[ ${chosen[*]} != --capacity ]] || mode=capacity chosen=()
    for name in "${chosen[@]}"; do
        [[ " ${SERVERS[*]} " == *" $name "* ]] || die "unknown server $name; there are ${SERVERS[*]}"
    done

    prepare_machine "${KAVO_BUILD_PACKAGES[@]}" "${KAVO_RUN_PACKAGES[@]}" "${KAVO_SERVER_PACKAGES[@]}"
    provide_nginx
    say "Building in build/dev"
    cmake --preset dev >/dev/null
    cmake --build --preset dev --target server_trial engine_driver kavo-catalogue
    if [[ $mode == capacity ]]; then
        build_release build/bench -DKAVO_BENCHMARKS=ON -- bench_data
        provide_unpacked wrk libluajit-5.1-2
    fi

    server_pid='' origin_pid='' has_failed=0 rows=()
    work=$(mktemp --directory "$KAVO_SOURCE/build/servers.XXXXXX")
    trap end_servers EXIT
    port=$((20000 + RANDOM % 20000))
    site=$work/site
    address=http://127.0.0.1:$port/addons/
    make_site
    if [[ $mode == capacity ]]; then
        measure_capacity
        return
    fi
    for name in "${chosen[@]}"; do
        try_server "$name"
    done

    cat <<'TABLE'
| server | settings | main job | cut | replaced after a cut | `kavo-catalogue probe --all` |
|---|---|---|---|---|---|
TABLE
    printf '%s\n' "${rows[@]}"
    return "$has_failed"
}
