#!/usr/bin/env bash
# Whole-crawl benchmark: generates sites with the shared generator, serves them with nginx on
# loopback, and crawls each with trellium and with two peers, printing seconds, pages per second
# and peak resident memory.
#
#   bench/crawl.sh [PAGES ...]      default: 2000 20000
#
# Needs a built build/src/trellium. Installs nginx, wget and GNU time from Debian and linkinator
# from npm (into bench/node_modules) when they are missing.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
shared=${TRELLIUM_SHARED:-$root/../shared}/bench
trellium=$root/build/src/trellium
[ -x "$trellium" ] || { echo "build first: scripts/build.sh" >&2; exit 2; }
[ -f "$shared/gensite.py" ] || { echo "no site generator at $shared (set TRELLIUM_SHARED)" >&2; exit 2; }

missing=()
command -v nginx >/dev/null || missing+=(nginx-light)
command -v wget >/dev/null || missing+=(wget)
[ -x /usr/bin/time ] || missing+=(time)
if [ ${#missing[@]} -gt 0 ]; then
  apt-get install -y -qq "${missing[@]}" >/dev/null
fi
linkinator=$root/bench/node_modules/.bin/linkinator
if [ ! -x "$linkinator" ] && command -v npm >/dev/null; then
  npm install --silent --no-audit --no-fund --prefix "$root/bench" linkinator >/dev/null 2>&1 || true
fi

work=$(mktemp -d /tmp/trellium-bench.XXXXXX)
chmod 755 "$work" # nginx workers read the site as another user
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$work"; }
trap cleanup EXIT

# measure NAME PAGES COMMAND...: one timed run, reported as a table row
measure() {
  local name=$1 pages=$2; shift 2
  /usr/bin/time -f "%e %M" -o "$work/time" "$@" >"$work/out" 2>&1 || true
  read -r seconds kb < <(tail -n 1 "$work/time")
  awk -v n="$name" -v p="$pages" -v s="$seconds" -v k="$kb" \
    'BEGIN { printf "| %-28s | %6d | %7.2f | %8.0f | %7.1f |\n", n, p, s, (s > 0 ? p / s : 0), k / 1024 }'
}

printf "| %-28s | %6s | %7s | %8s | %7s |\n" crawler pages seconds pages/s "MB peak"
printf "|%s|%s|%s|%s|%s|\n" ------------------------------ -------- --------- ---------- ---------
port=18088
for pages in "${@:-2000 20000}"; do
  site=$work/site-$pages
  ext=$((port + 11))
  # The external links point at the second nginx server, so they are answered, not refused.
  python3 "$shared/gensite.py" "$site" --pages "$pages" --ext-base "http://127.0.0.2:$ext" >/dev/null
  pids+=("$(bash "$shared/serve.sh" "$site" "$port" "$ext")")
  # The site's root: linkinator follows only links below the start, and /index.html has none.
  start=http://127.0.0.1:$port/
  total=$(python3 -c "import json;print(json.load(open('$site/site.json'))['pages'])")
  measure "trellium --threads 12" "$total" "$trellium" crawl "$start" --threads 12
  # Its closing line shows that the whole site was walked.
  grep -a 'links checked' "$work/out" | tail -n 1 >&2
  measure "wget --spider -r -l inf" "$total" wget --spider -r -l inf -q -e robots=off -P "$work/wget" "$start"
  if [ -x "$linkinator" ]; then
    measure "linkinator --concurrency 12" "$total" "$linkinator" "$start" --recurse --concurrency 12
  fi
  port=$((port + 1))
done
