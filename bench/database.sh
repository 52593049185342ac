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

# Free ports of the moment: other benchmarks may be serving on the usual ones.
free_port() { python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'; }
port=$(free_port)
ext=$(free_port)
python3 "$shared/gensite.py" "$work/site" --pages "$pages" --ext-base "http://127.0.0.2:$ext" >/dev/null
pids+=("$(bash "$shared/serve.sh" "$work/site" "$port" "$ext")")
export HOME=$work/home XDG_CONFIG_HOME=$work/home/config XDG_DATA_HOME=$work/home/share

/usr/bin/time -f "%e %M" -o "$work/crawl.time" "$trellium" crawl "http://127.0.0.1:$port/" --threads 12 \
  --quiet --save "$work/crawl.plist" >"$work/crawl.out" 2>&1 || true
tail -n 1 "$work/crawl.out"
/usr/bin/time -f "%e %M" -o "$work/open.time" "$trellium" open "$work/crawl.plist" --quiet \
  >"$work/open.out" 2>&1 || true
tail -n 1 "$work/open.out"
# Places where links were found: the entries of every onPageUrl list.
occurrences=$(awk '/^\t\t\t<key>onPageUrl</ { on = 1; next } on && /^\t\t\t<array>/ { next }
  on && /^\t\t\t\t<string>/ { n++; next }
  { on = 0 } END { print n + 0 }' "$work/crawl.plist")
[ -z "${TRELLIUM_BENCH_KEEP:-}" ] || cp "$work/crawl.plist" "$TRELLIUM_BENCH_KEEP"
# GNU time puts "Command exited with non-zero status" first when there are bad links.
read -r crawl_s crawl_kb < <(tail -n 1 "$work/crawl.time")
read -r open_s open_kb < <(tail -n 1 "$work/open.time")
printf "file: %.1f MB, %d occurrences\n" \
  "$(echo "$(stat -c %s "$work/crawl.plist") / 1048576" | bc -l)" "$occurrences"
printf "crawl --save: %s s, %.0f MB peak\n" "$crawl_s" "$(echo "$crawl_kb / 1024" | bc -l)"
printf "open (load and flat report): %s s, %.0f MB peak\n" "$open_s" "$(echo "$open_kb / 1024" | bc -l)"
TRELLIUM_BENCH_DATABASE=$work/crawl.plist "$bench"
