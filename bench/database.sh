#!/usr/bin/env bash
# Saved-crawl benchmark: crawls the generated site (default 20000 pages) with --save, then
# prints the file's size, the peak memory of the crawl and of `trellium open` on its file, and
# the save and load times of database_bench.
#
#   bench/database.sh [PAGES]
#
# Needs build/src/trellium and build/bench/database_bench (cmake --build build --target
# trellium database_bench), nginx and GNU time.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
shared=${TRELLIUM_SHARED:-$root/../shared}/bench
trellium=$root/build/src/trellium
bench=$root/build/bench/database_bench
[ -x "$trellium" ] && [ -x "$bench" ] || { echo "build trellium and database_bench first" >&2; exit 2; }
pages=${1:-20000}

work=$(mktemp -d /tmp/trellium-dbbench.XXXXXX)
chmod 755 "$work"
pids=()
cleanup() { for p in "${pids[@]}"; do kill "$p" 2>/dev/null || true; done; rm -rf "$work"; }
trap cleanup EXIT

port=18188
ext=$((port + 11))
python3 "$shared/gensite.py" "$work/site" --pages "$pages" --ext-base "http://127.0.0.2:$ext" >/dev/null
pids+=("$(bash "$shared/serve.sh" "$work/site" "$port" "$ext")")
export HOME=$work/home XDG_CONFIG_HOME=$work/home/config XDG_DATA_HOME=$work/home/share

/usr/bin/time -f "%e %M" -o "$work/crawl.time" "$trellium" crawl "http://127.0.0.1:$port/" --threads 12 \
  --quiet --save "$work/crawl.plist" >"$work/crawl.out" 2>&1 || true
tail -n 1 "$work/crawl.out"
/usr/bin/time -f "%e %M" -o "$work/open.time" "$trellium" open "$work/crawl.plist" --quiet \
  >"$work/open.out" 2>&1 || true
tail -n 1 "$work/open.out"
occurrences=$(grep -c '^\t\t\t\t<string>' "$work/crawl.plist" || true)
read -r crawl_s crawl_kb <"$work/crawl.time"
read -r open_s open_kb <"$work/open.time"
printf "file: %.1f MB, about %d strings in the records' lists\n" \
  "$(echo "$(stat -c %s "$work/crawl.plist") / 1048576" | bc -l)" "$occurrences"
printf "crawl --save: %s s, %.0f MB peak\n" "$crawl_s" "$(echo "$crawl_kb / 1024" | bc -l)"
printf "open (load and flat report): %s s, %.0f MB peak\n" "$open_s" "$(echo "$open_kb / 1024" | bc -l)"
TRELLIUM_BENCH_DATABASE=$work/crawl.plist "$bench"
