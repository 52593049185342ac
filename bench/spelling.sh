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
# The prose site: each page a slice of some 300 words of the licences, linked in a chain.
mkdir -p "$work/prose"
cat /usr/share/common-licenses/{GPL-3,LGPL-3,Apache-2.0,GFDL-1.3} | tr -d '<>&' | tr -s ' \n' ' ' |
  awk -v n="$pages" -v out="$work/prose" '{ for (i = 1; i <= NF; i++) w[c++] = $i }
    END { for (p = 0; p < n; p++) {
            f = out "/" (p == 0 ? "index" : "p" p) ".html"
            printf "<html><head><title>Page %d</title></head>\n<body><p>", p > f
            for (k = 0; k < 300; k++) printf "%s ", w[(p * 300 + k) % c] > f
            printf "</p><a href=\"p%d.html\">next</a></body></html>\n", p + 1 > f
            close(f) } }'
sed -i 's|<a href="p'"$pages"'.html">next</a>||' "$work/prose/p$((pages - 1)).html"

serve() { bash "$shared/serve.sh" "$1" "$2" "$3"; }
pids+=("$(serve "$work/gen" 18431 18432)")
pids+=("$(serve "$work/prose" 18433 18434)")

time_of() { local s; s=$(date +%s.%N); "$@" >/dev/null 2>&1 || true; echo "$(date +%s.%N) - $s" | bc; }
printf "%-8s %-22s %8s\n" site run seconds
for site in gen:18431 prose:18433; do
  url=http://127.0.0.1:${site#*:}/
  printf "%-8s %-22s %8.2f\n" "${site%%:*}" "crawl" "$(time_of "$trellium" crawl "$url" --quiet)"
  printf "%-8s %-22s %8.2f\n" "${site%%:*}" "spelling" "$(time_of "$trellium" spelling "$url" --quiet)"
  # Grammar is slow by nature: a hundred levels of the site.
  printf "%-8s %-22s %8.2f\n" "${site%%:*}" "crawl, 100 levels" \
    "$(time_of "$trellium" crawl "$url" --quiet --levels-limit 100)"
  printf "%-8s %-22s %8.2f\n" "${site%%:*}" "grammar, 100 levels" \
    "$(time_of "$trellium" spelling "$url" --quiet --grammar --levels-limit 100)"
done
