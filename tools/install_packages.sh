#!/usr/bin/env bash
# Installs those packages of packages.txt that are missing. Asks for nothing, and needs no rights, when all are there.
# install_packages.sh [BLOCK...]   the blocks of packages.txt to install, by default all
set -eu

list=$(dirname "$0")/../packages.txt
wanted=" $* "
block=
missing=()
while read -r first second _; do
    if [ "$first" = "#" ] && [[ $second == \[*\] ]]; then
        block=${second:1:-1}
    elif [ -n "$first" ] && [ "${first:0:1}" != "#" ] && [[ $# -eq 0 || $wanted == *" $block "* ]]; then
        status=$(dpkg-query --show --showformat '${db:Status-Status}' "$first" 2>/dev/null || true)
        [ "$status" = installed ] || missing+=("$first")
    fi
done <"$list"
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
    if ! command -v sudo >/dev/null; then
        echo "These packages are missing, and without sudo only root can install them: ${missing[*]}" >&2
        exit 1
    fi
    as_root=(sudo)
fi
echo "Installing ${missing[*]}"
log=$(mktemp)
trap 'rm -f "$log"' EXIT
if ! { "${as_root[@]}" apt-get update && "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get install --yes --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
