#!/usr/bin/env bash
# Installs what is missing, builds everything optimised, runs every test.
#
#   scripts/test.sh [CTEST OPTION...]      e.g. scripts/test.sh -R Wave
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"

step "Packages"
"$root/scripts/setup.sh" base browser
say "All there."

step "Build"
build release

step "Tests"
run_tests release "$@" || die "tests failed; see build/release/Testing/Temporary/LastTest.log"
say "Each test's output: build/release/Testing/Temporary/LastTest.log"
