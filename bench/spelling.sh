#!/usr/bin/env bash
# Crawl time with the language checks on against the plain crawl: a generated site (a small
# repeated vocabulary) and a site of real English prose (pages cut from Debian's plain-text
# licences), each served by nginx on loopback.
#
#   bench/spelling.sh [PAGES]      default: 2001
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
shared=${TRELLIUM_SHARED:-$root/../shared}/bench
trellium=$root/build/src/trellium
pages=${1:-2001}
[ -x "$trellium" ] || { echo "build first" >&2; exit 2; }
command -v nginx >/dev/null || { echo "needs nginx" >&2; exit 2; }

work=$(mktemp -d /tmp/trellium-spellbench.XXXXXX)
chmod 755 "$work"
export HOME=$work/home
mkdir -p "$HOME"
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$work"; }
trap cleanup EXIT

python3 "$shared/gensite.py" --pages "$pages" "$work/gen" >/dev/null
# The prose site: each page a slice of some 300 words of the licences.
mkdir -p "$work/prose"
cat /usr/share/common-licenses/{GPL-3,LGPL-3,Apache-2.0,GFDL-1.3} | tr -d '<>&' | tr -s ' \n' ' ' |
  awk -v n="$pages" -v out="$work/prose" '{ for (i = 1; i <= NF; i++) w[c++] = $i }
    END { for (p = 0; p < n; p++) {
            f = out "/" (p == 0 ? "index" : "p" p) ".html"
            printf "<html><head><title>Page %d</title></head>\n<body><p>", p > f
            for (k = 0; k < 300; k++) printf "%s ", w[(p * 300 + k) % c] > f
            printf "</p>" > f
            # The home page links every page, so the whole site lies within the levels limit.
            if (p == 0) for (q = 1; q < n; q++) printf "<a href=\"p%d.html\">%d</a> ", q, q > f
            printf "<a href=\"p%d.html\">next</a></body></html>\n", p + 1 > f
            close(f) } }'
sed -i 's|<a href="p'"$pages"'.html">next</a>||' "$work/prose/p$((pages - 1)).html"

freeport() { python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'; }
serve() { bash "$shared/serve.sh" "$1" "$2" "$(freeport)"; }
genport=$(freeport)
proseport=$(freeport)
pids+=("$(serve "$work/gen" "$genport")")
pids+=("$(serve "$work/prose" "$proseport")")

time_of() { local s; s=$(date +%s.%N); "$@" >"$work/out" 2>&1 || true; echo "$(date +%s.%N) - $s" | bc; }
printf "%-8s %-22s %8s\n" site run seconds
for site in gen:$genport prose:$proseport; do
  url=http://127.0.0.1:${site#*:}/
  printf "%-8s %-22s %8.2f\n" "${site%%:*}" "crawl" "$(time_of "$trellium" crawl "$url" --quiet)"
  printf "%-8s %-22s %8.2f\n" "${site%%:*}" "spelling" "$(time_of "$trellium" spelling "$url" --quiet)"
  echo "         ($(tail -n 1 "$work/out"))"
  # Grammar is slow by nature; a run is cut off after five minutes.
  printf "%-8s %-22s %8.2f\n" "${site%%:*}" "spelling --grammar" \
    "$(time_of timeout 300 "$trellium" spelling "$url" --quiet --grammar)"
  echo "         ($(tail -n 1 "$work/out"))"
done
