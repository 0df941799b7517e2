#!/usr/bin/env bash
# Cross-builds the daemon for 32-bit ARM and runs the end-to-end tests against it under qemu, in a few minutes.
# tools/test_port.sh lists the tests that cannot run there.
exec "$(dirname "$0")/test_port.sh" armhf
