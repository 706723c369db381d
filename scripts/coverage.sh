#!/usr/bin/env bash
# Runs the tests in a build that counts what runs, and prints how much of each folder they reached: lines, branches and
# functions in percent. Branches that only an exception takes are not counted.
#
#   scripts/coverage.sh [CTEST OPTION...]      e.g. scripts/coverage.sh -R Wave
#
# Afterwards build/coverage/index.html has every line, build/coverage/unreached.txt the functions that nothing reached.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"
"$root/scripts/setup.sh" base browser coverage
cd "$root"

step "Build"
# Counts of earlier runs, which do not fit sources that have changed since.
[[ ! -d build/coverage ]] || find build/coverage -name '*.gcda' -delete
build coverage
# What sources that are gone have left.
ninja -C build/coverage -t cleandead >/dev/null
find build/coverage -name '*.gcno' | while read -r notes; do [[ -e ${notes%.gcno}.o ]] || rm "$notes"; done

step "Tests"
failed=
# The library exports a name of the counting code as well.
run_tests coverage -E "^exports[.]list$" "$@" || failed="tests failed; see build/coverage/Testing/Temporary/LastTest.log"

step "Reached"
filters=()
for folder in include afx audio cdg image net platform apps samples; do
  filters+=(--filter "$folder/")
done
log=build/coverage-gcovr.log
trap 'find . -maxdepth 1 -name "*.gcov" -delete' EXIT # what it leaves when it is stopped
counted() { gcovr --root . "${filters[@]}" "$@" >>"$log" 2>&1 || { tail -n 20 "$log" >&2 && die "gcovr failed"; }; }
rm -f "$log"
counted -j "$cores" --exclude-unreachable-branches --json build/coverage/account.json build/coverage
scripts/coverage-table.py build/coverage/account.json build/coverage/unreached.txt
counted --add-tracefile build/coverage/account.json --html-details build/coverage/index.html --html-title NVLib
say "Every line: build/coverage/index.html; functions not reached: build/coverage/unreached.txt"
[[ -z $failed ]] || die "$failed"
