# shellcheck shell=bash disable=SC2034,SC2154
# The web server of the benchmarks. Sourced, not run.

bench_server=

# start_server: serves $on_disk/www at $disk_address and $in_memory/www at $memory_address; the latter
# at $logged_address, too, which writes the bytes sent and received for each request to
# $on_disk/access.log.
start_server() {
    local port=$((20000 + RANDOM % 20000))
    cat >"$on_disk/nginx.conf" <<CONF
daemon off;
$( ((EUID)) || echo "user $(id --user --name) $(id --group --name);")
pid nginx.pid;
error_log error.log;
events { worker_connections 256; }
http {
  access_log off;
  sendfile on;
  client_body_temp_path tmp/b;
  proxy_temp_path tmp/p;
  fastcgi_temp_path tmp/f;
  uwsgi_temp_path tmp/u;
  scgi_temp_path tmp/s;
  server { listen 127.0.0.1:$port; root www; }
  server { listen 127.0.0.1:$((port + 1)); root "$in_memory/www"; }
  log_format bytes '\$bytes_sent \$request_length';
  server { listen 127.0.0.1:$((port + 2)); root "$in_memory/www"; access_log access.log bytes; }
}
CONF
    # From its folder: the name of that may mean something to nginx.
    (cd "$on_disk" && exec "$(nginx_program)" -p ./ -e error.log -c nginx.conf) 2>/dev/null &
    bench_server=$!
    disk_address=http://127.0.0.1:$port/
    memory_address=http://127.0.0.1:$((port + 1))/
    logged_address=http://127.0.0.1:$((port + 2))/
    wait_for 10 "the web server" curl --silent --output /dev/null "$disk_address"
}

stop_server() {
    stop_process "$bench_server"
}
