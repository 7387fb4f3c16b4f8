# shellcheck shell=bash disable=SC2034,SC2154
# Web servers that publishers use, on the loopback interface. Sourced, not run.
#
# Debian's packages of them enable services, so none is installed: they are unpacked into
# build/tools/servers, together with the libraries that they need.

readonly UNPACKED="$KAVO_SOURCE/build/tools/servers"
readonly S3_SERVER="$KAVO_SOURCE/build/tools/s3rver"

# provide_unpacked PACKAGE...: what is missing of them.
provide_unpacked() {
    local package work
    mkdir -p "$UNPACKED/done"
    for package in "$@"; do
        [[ ! -e $UNPACKED/done/$package ]] || continue
        command -v apt-get >/dev/null || die "$package is needed, and there is no apt-get to fetch it with"
        say "Unpacking $package into build/tools; it is not installed"
        work=$(mktemp --directory "$UNPACKED/fetch.XXXXXX")
        fetch_package "$package" "$work" || { get_packages update && fetch_package "$package" "$work"; } ||
            die "$package was not fetched: $(<"$work/log")"
        dpkg-deb --extract "$work"/*.deb "$UNPACKED"
        dpkg-deb --field "$work"/*.deb Version >"$UNPACKED/done/$package"
        rm -r "$work"
    done
}

# fetch_package PACKAGE FOLDER
fetch_package() {
    (cd "$2" && apt-get -o APT::Sandbox::User=root download "$1") >"$2/log" 2>&1
}

# version_of PACKAGE: as upstream counts.
version_of() {
    sed 's/^[0-9]*://; s/-.*//' "$UNPACKED/done/$1"
}

# unpacked PROGRAM ARGUMENT...: replaces the calling (sub)shell by a program of those, with its
# libraries.
unpacked() {
    local program=$UNPACKED/$1
    shift
    export LD_LIBRARY_PATH="$UNPACKED/usr/lib/x86_64-linux-gnu"
    exec "$program" "$@"
}

# Each server has a function that fetches it (provide_NAME), one that starts it on $site at port
# $port and sets $server_pid (start_NAME), one that prints its name and version (title_NAME), and
# one that prints the settings that users need (settings_NAME). $state is a folder of its own.

provide_nothing() { :; }

# nginx ------------------------------------------------------------------------------------------

title_nginx() { echo "nginx $(nginx_program_version)"; }
settings_nginx() { echo "\`gzip on\`, \`gzip_types application/json\`; \`expires 1d\` for pictures"; }

nginx_program_version() {
    "$(nginx_program)" -v 2>&1 | sed 's/.*nginx\///; s/ .*//'
}

# nginx_configuration PORT: what all of them begin with, up to the server's block.
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
# Started by root, it would change to an account of that name.
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
# Apache does not know the tag again that it gives to a compressed answer; the date it does.
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
# Files of a type that it does not know have no date, and cannot be resumed.
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
settings_python() { echo "none to be had"; }

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

# start_origin: nginx at the next port, for a cache at $port.
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
    say "Fetching s3rver into build/tools with npm"
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

# upload_all ADDRESS FOLDER: every file of the folder into the bucket, as a publisher does.
upload_all() {
    local file type more body
    while IFS= read -r -d '' file; do
        more=() body=$2/$file
        case $file in
        # A store compresses nothing by itself.
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
