#!/usr/bin/env bash
# Builds the daemon with other compilers and for other machines, warnings being errors, says how large it is and what it
# needs, and runs the end-to-end tests against it. What the tests themselves are built with is this machine's compiler.
# test_port.sh [TARGET...]   of clang, i386, musl and armhf (which runs under qemu); by default all
set -eu

cd "$(dirname "$0")/.."
targets=("$@")
[ $# -gt 0 ] || targets=(clang i386 musl armhf)
tools/install_packages.sh daemon camera tests ports
launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# quietly COMMAND...: output is only of interest when something fails.
quietly() {
    "$@" >"$work/log" 2>&1 || { cat "$work/log" >&2; return 1; }
}

# cannot_run TARGET: prints the tests that cannot run there, one a line; everything else does.
cannot_run() {
    case $1 in
    armhf)
        # It preloads a library of this machine.
        echo Resources.NoRequestAllocates
        # They count descriptors. qemu has one of its own at the start, which it closes later,
        echo DigitalIO.AFullFifoFailsAfterSixWritesAndKeepsWhatIsSent
        echo Ptz.MoveStopsAtTheFirstCommandThatFails
        echo Resources.NoDescriptorIsLeftByAThousandRequests
        # and it keeps those that it receives beyond the room that a 32-bit program gave it.
        echo Connections.MalformedHandOversLeakNothing
        ;;
    i386)
        echo Resources.NoRequestAllocates # preloads a 64-bit library
        ;;
    musl)
        echo Resources.NoRequestAllocates                  # nothing can be preloaded into a static program
        echo CommandLine.PrintsTheVersionBeforeAnythingElse # musl's getopt(3) finds no option after the two paths
        ;;
    esac
}

# runner TARGET: prints how this machine starts the target's daemon.
runner() {
    local build=$PWD/build-$1 root=$PWD/build-sysroots/$1
    case $1 in
    armhf) echo "qemu-arm -L /usr/arm-linux-gnueabihf -E LD_LIBRARY_PATH=$root/lib/arm-linux-gnueabihf $build/kelpa" ;;
    i386) echo "/usr/i686-linux-gnu/lib/ld-linux.so.2 --library-path /usr/i686-linux-gnu/lib:$root/lib/i386-linux-gnu $build/kelpa" ;;
    *) echo "$build/kelpa" ;;
    esac
}

# describe TARGET: what the built daemon is.
describe() {
    local strip=strip
    case $1 in
    armhf) strip=arm-linux-gnueabihf-strip ;;
    i386) strip=i686-linux-gnu-strip ;;
    esac
    "$strip" -o "$work/stripped" "build-$1/kelpa"
    echo "$1: stripped $(stat -c %s "$work/stripped") bytes; needs: $(readelf -d "build-$1/kelpa" |
        sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | paste -sd ' ')"
}

# run_tests TARGET: the end-to-end tests, in several processes at a time.
run_tests() {
    local shards=$(($(nproc) * 2)) pids=() status=0 filter i
    filter="*-$(cannot_run "$1" | paste -sd :)"
    printf '#!/bin/sh\nexec %s "$@"\n' "$(runner "$1")" >"$work/kelpa-$1"
    chmod +x "$work/kelpa-$1"
    export KELPA_BINARY=$work/kelpa-$1
    for ((i = 0; i < shards; i++)); do
        GTEST_TOTAL_SHARDS=$shards GTEST_SHARD_INDEX=$i timeout 300 build/e2e_tests --gtest_brief=1 \
            --gtest_filter="$filter" >"$work/tests.$i" 2>&1 &
        pids+=($!)
    done
    timeout 300 build/thread_tests --gtest_brief=1 --gtest_filter='Signals.*' >"$work/tests.$i" 2>&1 &
    pids+=($!)
    for i in "${!pids[@]}"; do
        wait "${pids[$i]}" || { cat "$work/tests.$i"; status=1; }
    done
    echo "$1: $(cat "$work"/tests.* | awk '/PASSED/ { n += $4 } END { print n + 0 }') end-to-end tests passed, $(cannot_run "$1" | wc -l) cannot run there"
    return $status
}

echo "Building the tests"
export CMAKE_GENERATOR=${CMAKE_GENERATOR:-Ninja} # of a new build folder
quietly cmake --preset release
quietly cmake --build --preset release --parallel "$(nproc)" --target e2e_tests thread_tests
failed=()
for target in "${targets[@]}"; do
    echo "== $target"
    if [ "$target" != clang ]; then
        tools/sysroot.sh "$target"
    fi
    if quietly cmake --preset "$target" "${launcher[@]}" && quietly cmake --build --preset "$target" --parallel "$(nproc)"; then
        describe "$target"
        run_tests "$target" || failed+=("$target: tests")
    else
        failed+=("$target: build")
    fi
done
if [ ${#failed[@]} -gt 0 ]; then
    printf 'FAILED: %s\n' "${failed[@]}"
    exit 1
fi
