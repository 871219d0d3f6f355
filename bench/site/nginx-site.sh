#!/usr/bin/env bash
# Serves a folder with nginx on 127.0.0.1, with its own configuration, pid and logs, so it
# never touches the system's nginx.
#   nginx-site.sh start DIR [PORT]   prints the port once nginx answers (PORT 0/absent: free)
#   nginx-site.sh stop DIR
# Runtime files go to DIR/.nginx-run/. Needs the nginx binary (Debian: nginx-light).
set -euo pipefail

cmd=${1:-}
dir=${2:-}
[ -n "$cmd" ] && [ -n "$dir" ] || { echo "usage: $0 start|stop DIR [PORT]" >&2; exit 2; }
[ -d "$dir" ] || { echo "nginx-site: no such folder: $dir" >&2; exit 2; }
dir=$(cd "$dir" && pwd)
run="$dir/.nginx-run"
nginx_bin=$(command -v nginx || echo /usr/sbin/nginx)

free_port() {
    python3 -c 'import socket; s=socket.socket(); s.bind(("127.0.0.1",0)); print(s.getsockname()[1]); s.close()'
}

case "$cmd" in
start)
    [ -x "$nginx_bin" ] || { echo "nginx-site: nginx not installed" >&2; exit 1; }
    port=${3:-0}
    [ "$port" = 0 ] && port=$(free_port)
    mkdir -p "$run"
    if [ -f "$run/nginx.pid" ] && kill -0 "$(cat "$run/nginx.pid")" 2>/dev/null; then
        echo "nginx-site: already running for $dir" >&2; exit 1
    fi
    user_line=""
    [ "$(id -u)" = 0 ] && user_line="user root;"
    cat > "$run/nginx.conf" <<CONF
$user_line
worker_processes 1;
pid $run/nginx.pid;
error_log $run/error.log warn;
events { worker_connections 4096; }
http {
    access_log off;
    client_body_temp_path $run/body;
    proxy_temp_path $run/proxy;
    fastcgi_temp_path $run/fastcgi;
    uwsgi_temp_path $run/uwsgi;
    scgi_temp_path $run/scgi;
    types { text/html htm html; text/plain txt; }
    default_type application/octet-stream;
    keepalive_requests 1000000;
    keepalive_timeout 60s;
    server {
        listen 127.0.0.1:$port;
        root $dir;
        index index.htm;
    }
}
CONF
    "$nginx_bin" -p "$run" -e "$run/error.log" -c "$run/nginx.conf"
    for _ in $(seq 1 100); do
        if (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; then
            echo "$port"
            exit 0
        fi
        sleep 0.05
    done
    echo "nginx-site: nginx did not start, see $run/error.log" >&2
    exit 1
    ;;
stop)
    [ -f "$run/nginx.pid" ] || exit 0
    pid=$(cat "$run/nginx.pid")
    kill "$pid" 2>/dev/null || true
    for _ in $(seq 1 100); do
        kill -0 "$pid" 2>/dev/null || { rm -f "$run/nginx.pid"; exit 0; }
        sleep 0.05
    done
    kill -9 "$pid" 2>/dev/null || true
    rm -f "$run/nginx.pid"
    ;;
*)
    echo "usage: $0 start|stop DIR [PORT]" >&2; exit 2 ;;
esac
