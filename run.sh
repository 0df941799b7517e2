#!/usr/bin/env bash
# Builds the camera and starts it; the arguments go to kelpa-camera (--help lists them). Ctrl-C stops it.
set -eu

top=$(cd "$(dirname "$0")" && pwd)
"$top/tools/install_packages.sh" daemon camera

log=$(mktemp)
trap 'rm -f "$log"' EXIT
cd "$top"
# For a new build folder; one that is there goes on with what it was made for.
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja}
[ -x build/kelpa-camera ] || echo "Building; the first time this takes a few minutes."
# Output is only of interest when something fails.
if ! { cmake --preset release && cmake --build --preset release --parallel "$(nproc)" --target kelpa kelpa-camera editaccount kelpa-talk; } \
    >"$log" 2>&1; then
    cat "$log" >&2
    exit 1
fi
cd "$OLDPWD"

# The camera says where it listens. The examples follow that line; everything else passes through.
rm -f "$log"
exec "$top/build/kelpa-camera" "$@" > >(
    # Ctrl-C goes to the whole group: the camera still has something to say then.
    trap '' INT
    while IFS= read -r line; do
        printf '%s\n' "$line"
        if [[ $line =~ ^kelpa-camera:\ listening\ on\ (http://[^ ,]+) ]]; then
            url=${BASH_REMATCH[1]}
            curl=curl
            [[ $line == *"clients have to log in"* ]] && curl='curl -u admin'
            printf 'Try:\n'
            printf "  $curl %s/common/info.cgi\n" "$url"
            printf "  $curl '%s/config/camera_info.cgi?name=Hall'\n" "$url"
            printf "  $curl -N %s/config/notify_stream.cgi    # and meanwhile: $curl -X POST '%s/camera/input/1?state=on'\n" \
                "$url" "$url"
        fi
    done
)
