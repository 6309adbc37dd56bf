#!/usr/bin/env bash
# Line and branch coverage of the three libraries (platform/orv/** and orv/**).
#
# Configures, builds and tests the `coverage` preset (gcov instrumentation, build/coverage),
# then summarises with gcovr over the library sources only: tests, benchmarks, fuzz targets
# and examples are left out of the figures. Fails when line coverage is below the threshold
# (92 % unless COVERAGE_MIN_LINES says otherwise; CI runs this check). Extra arguments go
# to gcovr, for example
# `--html-details build/coverage/coverage.html`.
set -euo pipefail

root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
build="${root}/build/coverage"
minimum="${COVERAGE_MIN_LINES:-92}"

cd "${root}"
cmake --preset coverage
# Counters of an earlier run would add to this one.
find "${build}" -name '*.gcda' -delete
cmake --build --preset coverage
ctest --preset coverage

gcovr --root "${root}" --object-directory "${build}" \
    --filter "${root}/platform/orv/" --filter "${root}/orv/" \
    --exclude "${root}/tests/" --exclude "${root}/bench/" \
    --exclude "${root}/fuzz/" --exclude "${root}/examples/" \
    --exclude-unreachable-branches --exclude-throw-branches --gcov-ignore-parse-errors \
    --print-summary --fail-under-line "${minimum}" "$@"
