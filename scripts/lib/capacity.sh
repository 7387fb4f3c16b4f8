# shellcheck shell=bash disable=SC2034,SC2154
# What users cost a server, and how many of them one nginx can bear. Sourced, not run.

readonly PACKAGES=3600
readonly LOAD_SECONDS=8

# start_counted SETTING...: nginx on $site at $port, with these lines in its server, which writes
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

# start_program: what package management asks at a start, in the account of $work/home.
start_program() {
    : >"$state/requests.log"
    env HOME="$work/home" XDG_CONFIG_HOME="$work/home/.config" XDG_DATA_HOME="$work/home/.local" \
        XDG_CACHE_HOME="$work/home/.cache" build/dev/tests-bin/engine_driver \
        "http://127.0.0.1:$port/" "$work/simulator" uninstall 1 >/dev/null 2>&1 || die "the program has failed"
    awk '{ ++requests; sent += $4; received += $5; status = $3 } END { print status, requests, sent, received }' \
        "$state/requests.log"
}

# two_starts NAME SETTING...: a row of what the catalogue costs at the first start and at one after it.
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

# count_requests: head and body of the other requests, as the probe makes them like the program.
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

# count_growth: what packages and versions add to a catalogue.
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

# load NAME PATH HEADER...: how often one process of nginx answers that, a second of the clock, and a
# second of the processor, which says the same on a busy machine.
load() {
    local name=$1 path=$2 header headers=() result before
    shift 2
    for header in "$@"; do
        headers+=(--header "$header")
    done
    before=$(processor_time)
    result=$(unpacked usr/bin/wrk --threads 1 --connections 32 --duration "$LOAD_SECONDS"s --timeout 30s \
        "${headers[@]}" "$load_address$path")
    grep --quiet 'Requests/sec' <<<"$result" || die "the load was not borne: $result"
    awk -v name="$name" -v ticks="$(($(processor_time) - before))" -v unit="$(getconf CLK_TCK)" '
        /Requests\/sec/ { rate = $2 }
        /Transfer\/sec/ { transfer = $2 }
        /Non-2xx/ { others = $NF }
        / requests in / { requests = $1 }
        END { printf "| %s | %.0f | %s | %.0f%s |\n", name, rate, transfer, requests / (ticks / unit),
            (others ? sprintf(", %d of %d not 2xx or 3xx", others, requests) : "") }' <<<"$result"
}

# processor_time: of the server, in ticks.
processor_time() {
    awk '{ print $14 + $15 }' "/proc/$server_pid/stat"
}

# tag_of PATH: the ETag that the server gives to a file.
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

# measure_tls: each start of the program is a connection of its own.
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

# make_load: the catalogue and an icon of the usual size.
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
    say "Counting what a start costs"
    count_starts
    count_requests
    say "Measuring how catalogues grow"
    count_growth
    say "Measuring the load, $LOAD_SECONDS seconds each; one process of nginx beside the one that asks"
    measure_load
}
