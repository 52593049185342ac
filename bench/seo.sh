#!/usr/bin/env bash
# The SEO run beside the plain links run: the same generated site crawled by `trellium crawl`,
# `trellium seo`, and `trellium seo --keyword ... --in-content` (pages kept in the archive and
# searched), printing seconds, pages per second and peak resident memory.
#
#   bench/seo.sh [PAGES ...]      default: 2000 20000
#
# Needs a built build/src/trellium and nginx; bench/crawl.sh tells how they are set up. The
# in-process figures (keyword count over 20,000 pages, archive writes) are build/bench/seo_bench.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
shared=${TRELLIUM_SHARED:-$root/../shared}/bench
trellium=$root/build/src/trellium
[ -x "$trellium" ] || { echo "build first: scripts/build.sh" >&2; exit 2; }
command -v nginx >/dev/null || { echo "nginx is needed (see bench/crawl.sh)" >&2; exit 2; }

work=$(mktemp -d /tmp/trellium-seo-bench.XXXXXX)
chmod 755 "$work"
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$work"; }
trap cleanup EXIT
# The runs keep their store (and the archive) apart from the user's.
export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config

measure() {
  local name=$1 pages=$2; shift 2
  /usr/bin/time -f "%e %M" -o "$work/time" "$@" >"$work/out" 2>&1 || true
  read -r seconds kb < <(tail -n 1 "$work/time")
  awk -v n="$name" -v p="$pages" -v s="$seconds" -v k="$kb" \
    'BEGIN { printf "| %-36s | %6d | %7.2f | %8.0f | %7.1f |\n", n, p, s, (s > 0 ? p / s : 0), k / 1024 }'
}

printf "| %-36s | %6s | %7s | %8s | %7s |\n" run pages seconds pages/s "MB peak"
printf "|%s|%s|%s|%s|%s|\n" -------------------------------------- -------- --------- ---------- ---------
port=18188
for pages in "${@:-2000 20000}"; do
  site=$work/site-$pages
  ext=$((port + 11))
  python3 "$shared/gensite.py" "$site" --pages "$pages" --ext-base "http://127.0.0.2:$ext" >/dev/null
  pids+=("$(bash "$shared/serve.sh" "$site" "$port" "$ext")")
  start=http://127.0.0.1:$port/
  total=$(python3 -c "import json;print(json.load(open('$site/site.json'))['pages'])")
  measure "trellium crawl --threads 12" "$total" "$trellium" crawl "$start" --threads 12 --quiet
  measure "trellium seo --threads 12" "$total" "$trellium" seo "$start" --threads 12 --quiet
  grep -a 'page(s) included' "$work/out" | tail -n 1 >&2 || true
  measure "trellium seo --keyword --in-content" "$total" \
    "$trellium" seo "$start" --threads 12 --quiet --keyword garden --in-content
  port=$((port + 1))
done
