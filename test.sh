#!/usr/bin/env bash
# Installs what is missing, then builds and runs every test: as a release, under the address and undefined-behaviour
# sanitizers, and those in which threads meet under the thread sanitizer. Fails when anything does.
set -u

cd "$(dirname "$0")" || exit 1
tools/install_packages.sh daemon camera tests || exit 1

# For new build folders; those that are there go on with what they were made for.
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja}
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
jobs=$(($(nproc) * 2)) # most tests wait for another process most of the time
log=$(mktemp)
trap 'rm -f "$log"' EXIT
failed=()

# build PRESET [ARGUMENT...]: configures and builds; the arguments go to cmake, those behind "--" to the build.
build() {
    local preset=$1 configure=()
    shift
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        configure+=("$1")
        shift
    done
    echo "== $preset: building"
    if ! { cmake --preset "$preset" -DKELPA_WERROR=ON "${launcher[@]}" "${configure[@]}" && cmake --build --preset "$preset" --parallel "$(nproc)" "${@:2}"; } \
        >"$log" 2>&1; then
        cat "$log"
        failed+=("$preset: build")
        return 1
    fi
}

# run PRESET FOLDER [ARGUMENT...]: runs the tests and prints CTest's summary, with the output of those that failed.
run() {
    local preset=$1 folder=$2
    shift 2
    echo "== $preset: testing"
    if ctest --test-dir "$folder" -j "$jobs" --output-on-failure "$@" >"$log" 2>&1; then
        sed -n '/tests passed/,$p' "$log"
    else
        grep -v -e ' Passed ' -e '^ *Start ' "$log"
        failed+=("$preset: tests")
    fi
}

# A new folder is built as fast as it can be; one that somebody works in stays as it is, fast after a change.
if [ -d build ]; then build release; else build release -DKELPA_UNITY=ON; fi && run release build
build asan && run asan build-asan
# Threads are the daemon's affair: this build does without the virtual camera.
build tsan -DKELPA_CAMERA=OFF -- --target kelpa thread_tests && run tsan build-tsan -L '^tsan$'

if [ ${#failed[@]} -gt 0 ]; then
    printf 'FAILED: %s\n' "${failed[@]}"
    exit 1
fi
echo "All tests passed."
