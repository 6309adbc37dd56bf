#!/usr/bin/env bash
# Runs the test programs under valgrind memcheck on a debug build.
#
# Any memory error or leak fails the run (--error-exitcode=1 --leak-check=full). Leaks that are
# not ours are suppressed in scripts/memcheck.supp, each with its reason. The build goes to
# build/memcheck unless MEMCHECK_BUILD_DIR names another directory.
#
# Left out through the gtest filter below, because under valgrind's serialised, ~50 times
# slower execution they measure time rather than memory: the stress tests (every suite named
# *Stress*). The end-to-end test of the example
# service is a separate ctest and is not run here.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${MEMCHECK_BUILD_DIR:-${root}/build/memcheck}"
filter='-*Stress*'
programs=(orv_common_tests orv_dataformats_tests orv_nol_common_tests orv_soap_tests
          orv_bafu_tests orv_media_service_tests)

cd "${root}"
cmake --preset debug -B "${build}"
cmake --build "${build}" -j 2

failed=()
for program in "${programs[@]}"; do
    binary="${build}/tests/${program}"
    if [[ ! -x "${binary}" ]]; then
        echo "memcheck: ${program} not built, skipped"
        continue
    fi
    echo "memcheck: ${program}"
    if ! valgrind --error-exitcode=1 --leak-check=full --show-leak-kinds=definite,indirect,possible \
        --errors-for-leak-kinds=definite,indirect,possible --track-origins=yes \
        --suppressions="${root}/scripts/memcheck.supp" --quiet \
        "${binary}" --gtest_filter="${filter}" --gtest_brief=1; then
        failed+=("${program}")
    fi
done

if ((${#failed[@]} > 0)); then
    echo "memcheck: failed: ${failed[*]}"
    exit 1
fi
echo "memcheck: all test programs clean"
