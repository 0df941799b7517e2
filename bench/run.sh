#!/bin/sh
# Measures the daemon and prints the figures as a Markdown table. Usage: bench/run.sh [BUILD_FOLDER]
# Uses local Unix sockets in a temporary folder only, and ends by itself within a minute.
set -eu
cd "$(dirname "$0")/.."
build=${1:-build}
[ -f "$build/CMakeCache.txt" ] || cmake --preset release -B "$build" >&2
cmake --build "$build" --target kelpa kelpa_bench_load kelpa_bench_floor >&2
grep -q '^CMAKE_BUILD_TYPE:[^=]*=Release' "$build/CMakeCache.txt" || echo "warning: $build is no release build" >&2

load=$(cut -d' ' -f1 /proc/loadavg)
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
trap 'exit 1' INT TERM
timeout 60 "$build/kelpa_bench_load" "$build/kelpa" "$build/kelpa_bench_floor" "$root"

strip -o "$root/kelpa" "$build/kelpa"
libraries=$(readelf -d "$build/kelpa" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | sort | tr '\n' ' ')
echo "| stripped binary | $(($(stat -c %s "$root/kelpa") / 1000)) kB | | | under 150 kB |"
echo "| needed libraries | $libraries| | | libc and expat only |"
cat <<EOF

Measured on Linux $(uname -r), $(uname -m), $(nproc) processors, load average $load at the start (on a busy machine the
ratio says little: whatever runs in between empties the caches, and the daemon has more to load again), with:

- processor time and latency: \`bench/run.sh\`; both programs in turns, 60 rounds of 200 requests each; the medians, and
  the ratio's quartiles. Processor time with the queue kept full, latency with one request at a time.
- system calls: \`strace -p PID\` through 100 requests
- resident memory: \`grep -E 'VmHWM|RssAnon' /proc/PID/status\` with the streams open in slots that have been used before;
  the worst of 8 starts. VmHWM counts the pages of libc that all programs share, RssAnon is the daemon's own
- binary: \`strip -o kelpa.stripped $build/kelpa && stat -c %s kelpa.stripped\`, \`readelf -d $build/kelpa | grep NEEDED\`
EOF
