#!/usr/bin/env bash
# The CDDB client through a proxy of Debian's, with and without authorisation: nvtool, tinyproxy, and a server that answers
# every query the same. Prints what each road gave; anything unexpected ends it with an error.
#
#   tests/net/proxy.sh NVTOOL
set -euo pipefail
nvtool=$1
command -v tinyproxy >/dev/null || { echo "tinyproxy is not installed; not tried" && exit 77; }
work=$(mktemp -d)
children=()
trap 'kill "${children[@]}" 2>/dev/null || true; rm -rf "$work"' EXIT

python3 -c '
import http.server, sys

class Server(http.server.BaseHTTPRequestHandler):
    def do_GET(self):
        found = "cmd=cddb+query+1001f202+2+150+20000+500&hello=" in self.path
        body = b"200 rock 1001f202 Artist / Title\r\n" if found else b"500 what?\r\n"
        self.send_response(200)
        self.end_headers()
        self.wfile.write(body)
    def do_POST(self):
        text = self.rfile.read(int(self.headers["Content-Length"]))
        good = text.startswith(b"# xmcd") and self.headers["Category"] == "rock"
        self.send_response(200)
        self.end_headers()
        self.wfile.write(b"200 OK\r\n" if good else b"501 Entry rejected\r\n")
    def log_message(self, *arguments):
        pass

server = http.server.HTTPServer(("127.0.0.1", 0), Server)
print(server.server_port, file=open(sys.argv[1] + "/port.part", "w"), flush=True)
import os
os.rename(sys.argv[1] + "/port.part", sys.argv[1] + "/port")
server.serve_forever()
' "$work" &
children+=($!)
for _ in {1..100}; do [[ ! -s $work/port ]] || break; sleep 0.1; done
server=127.0.0.1:$(<"$work/port")

free_port() { python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'; }

# start_proxy NAME LINE...: on a port of its own, which it tells in `proxy`.
start_proxy() {
  local port
  port=$(free_port)
  proxy=127.0.0.1:$port
  printf '%s\n' "Port $port" "Listen 127.0.0.1" "Timeout 10" "Allow 127.0.0.1" "MaxClients 10" "LogLevel Critical" "${@:2}" >"$work/$1.conf"
  tinyproxy -d -c "$work/$1.conf" >"$work/$1.log" 2>&1 &
  children+=($!)
  for _ in {1..100}; do ! (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null || break; sleep 0.1; done
}

query() { "$nvtool" cddb query 0:02:00 4:26:50 8:20:00 --server "$server" --timeout 5000 "$@"; }

expect() { # WHAT WANTED GOT
  [[ $2 == "$3" ]] || { printf '%s: wanted "%s", got "%s"\n' "$1" "$2" "$3" >&2 && exit 1; }
  printf '%s: %s\n' "$1" "$3"
}

answer="rock 1001f202 Artist / Title"
expect "direct" "$answer" "$(query)"
start_proxy plain
expect "through the proxy" "$answer" "$(query --proxy "$proxy")"
printf '# xmcd\n# Track frame offsets:\n# 150\n# Disc length: 9 seconds\n# Submitted via: a 1\nDISCID=01000701\nDTITLE=A / B\nTTITLE0=x\n' >"$work/record"
expect "a submission through the proxy" "01000701: accepted" \
  "$("$nvtool" cddb submit "$work/record" --send --category rock --email a@b.c --server "$server" --proxy "$proxy" --timeout 5000)"
start_proxy guarded "BasicAuth someone secret"
expect "with authorisation" "$answer" "$(query --proxy "$proxy" --proxy-user someone --proxy-password secret)"
expect "with a wrong one" "refused" "$(query --proxy "$proxy" --proxy-user someone --proxy-password wrong >/dev/null 2>&1 || echo refused)"
expect "without any" "refused" "$(query --proxy "$proxy" >/dev/null 2>&1 || echo refused)"
