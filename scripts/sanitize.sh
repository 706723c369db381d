#!/usr/bin/env bash
# Runs the tests under the sanitisers: all of them with addresses and undefined behaviour checked, then those of the
# parts that have locks or threads with the thread sanitiser.
#
#   scripts/sanitize.sh [asan|tsan]      one of the two alone
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
usage_if_asked "$@"
for preset in "$@"; do
  [[ $preset == asan || $preset == tsan ]] || die "no sanitiser preset '$preset' (asan tsan)"
done
(($#)) || set -- asan tsan
"$root/scripts/setup.sh"

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:strict_string_checks=1:detect_stack_use_after_return=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}

for preset in "$@"; do
  if [[ $preset == tsan ]] && setarch "$(uname -m)" -R true 2>/dev/null && [[ -z ${NVLIB_FIXED_LAYOUT:-} ]]; then
    # This sanitiser does not start where the kernel scatters the address space more widely than it expects.
    NVLIB_FIXED_LAYOUT=1 setarch "$(uname -m)" -R "$0" tsan
    continue
  fi
  step "Sanitisers: $preset"
  targets=()
  choice=(-E '^nvtool\.(KilledPeaks|PagesPlay)') # a program that is killed, and a browser, tell nothing here
  if [[ $preset == tsan ]]; then
    targets=(platform_tests afx_tests audio_tests tool_runner_tests cdg_tests nvtool batch_tests)
    # Long tests of one thread tell nothing here.
    choice=(-E 'NOT_BUILT|fuzz_corpus|exports|RandomStream|^(ThumbprintReader|FrameScaler|CDGRenderer\.AnyOrder|nvtool\.|net\.|guide\.)')
  fi
  build "$preset" "${targets[@]}"
  run_tests "$preset" "${choice[@]}" || die "tests failed under $preset; see build/$preset/Testing/Temporary/LastTest.log"
done
