#!/usr/bin/env bash
# Runs clang-tidy with the rules of .clang-tidy over daemon/ and platform/; any finding fails. Takes about a minute and a
# half on two processors, and is ended after ten minutes. check_tidy.sh [FILE...] looks at these sources only.
set -eu

cd "$(dirname "$0")/.."
tools/install_packages.sh daemon checks
log=$(mktemp)
trap 'rm -f "$log"' EXIT
# The commands that the daemon is compiled with.
cmake --preset daemon >"$log" 2>&1 || { cat "$log"; exit 1; }
if [ $# -gt 0 ]; then
    files=("$@")
else
    mapfile -t files < <(find daemon platform -name '*.cpp' | sort)
fi
# One file at a time for each processor; what it says without findings ("N warnings generated") is of no interest.
if printf '%s\0' "${files[@]}" |
    timeout 600 xargs -0 -n 1 -P "$(nproc)" clang-tidy-14 -p build-daemon --quiet >"$log" 2>/dev/null; then
    echo "clang-tidy: ${#files[@]} sources, 0 findings"
else
    cat "$log"
    echo "clang-tidy: findings, or not done within ten minutes" >&2
    exit 1
fi
