#!/bin/sh
# A private W3C Markup Validator on this machine: Debian's w3c-markup-validator CGI behind
# lighttpd, on 127.0.0.1. It needs the packages w3c-markup-validator and lighttpd.
#
#   scripts/local-validator.sh start [PORT]   starts it; the last line printed is its base URL,
#                                             for Preferences or `trellium validate --validator`
#   scripts/local-validator.sh stop           ends it
#
# The validator's configuration is copied to a folder of our own with "Allow Private IPs = yes",
# since the packaged one refuses pages on loopback and private addresses. TRELLIUM_VALIDATOR_DIR
# chooses that folder (default: a folder in $XDG_RUNTIME_DIR or /tmp); the tests give each run
# its own.
set -eu

dir=${TRELLIUM_VALIDATOR_DIR:-${XDG_RUNTIME_DIR:-/tmp}/trellium-local-validator-$(id -u)}
check=/usr/lib/cgi-bin/w3c-markup-validator/check
lighttpd=$(command -v lighttpd || echo /usr/sbin/lighttpd)

free_port() {
    python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

start() {
    [ -x "$check" ] || { echo "local-validator: $check is missing (apt install w3c-markup-validator)" >&2; exit 1; }
    [ -x "$lighttpd" ] || { echo "local-validator: lighttpd is missing (apt install lighttpd)" >&2; exit 1; }
    if [ -f "$dir/pid" ] && kill -0 "$(cat "$dir/pid")" 2>/dev/null; then
        echo "local-validator: already running" >&2
        cat "$dir/url"
        return 0
    fi
    port=${1:-$(free_port)}
    mkdir -p "$dir/w3c"
    cp /etc/w3c/* "$dir/w3c/"
    sed -i 's/^\([[:space:]]*Allow Private IPs[[:space:]]*=\).*/\1 yes/' "$dir/w3c/validator.conf"
    sed -i "s|/etc/w3c/|$dir/w3c/|g" "$dir/w3c/validator.conf"
    cat >"$dir/lighttpd.conf" <<EOF
server.modules = ("mod_alias", "mod_cgi", "mod_setenv")
server.document-root = "$dir"
server.bind = "127.0.0.1"
server.port = $port
server.errorlog = "$dir/error.log"
alias.url = ("/w3c-validator/check" => "$check")
cgi.assign = ("" => "")
setenv.add-environment = ("W3C_VALIDATOR_CFG" => "$dir/w3c/validator.conf")
EOF
    "$lighttpd" -D -f "$dir/lighttpd.conf" </dev/null >/dev/null 2>&1 &
    echo $! >"$dir/pid"
    url="http://127.0.0.1:$port/w3c-validator"
    # Ready once the CGI itself answers: its form page, without a uri.
    tries=0
    until curl -s -o /dev/null --max-time 5 "$url/check"; do
        tries=$((tries + 1))
        if [ $tries -ge 100 ] || ! kill -0 "$(cat "$dir/pid")" 2>/dev/null; then
            echo "local-validator: lighttpd did not start on port $port (see $dir/error.log)" >&2
            stop
            exit 1
        fi
        sleep 0.1
    done
    echo "$url" >"$dir/url"
    echo "$url"
}

stop() {
    if [ -f "$dir/pid" ]; then
        kill "$(cat "$dir/pid")" 2>/dev/null || true
        rm -f "$dir/pid" "$dir/url"
    fi
}

case "${1:-}" in
start)
    shift
    start "$@"
    ;;
stop) stop ;;
*)
    echo "usage: $0 start [PORT] | stop" >&2
    exit 2
    ;;
esac
