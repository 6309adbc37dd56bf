#!/usr/bin/env bash
# Builds the fuzz targets with the "fuzz" preset and runs them, one after the other.
#
#   fuzz/run.sh                      every target for 60 s (what CI runs)
#   fuzz/run.sh 3600                 every target for an hour
#   fuzz/run.sh 600 url_escape ...   the named targets only
#
# Each target runs on a scratch copy of its seeds (fuzz/corpus/<target>/) under
# build/fuzz-work/<target>/corpus, so the seeds in the repository stay as they are; inputs that
# crash, leak or time out are kept in build/fuzz-work/<target>/artifacts/. Prints the executions
# of every target and exits non-zero if any target failed.
set -euo pipefail

seconds=${1:-60}
shift $(($# > 0 ? 1 : 0))
if ! [[ $seconds =~ ^[0-9]+$ ]] || ((seconds == 0)); then
  echo "usage: $0 [seconds-per-target] [target...]" >&2
  exit 2
fi

root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
build=build/fuzz/fuzz
work=build/fuzz-work

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

# The helpers decide the verdicts, so they are checked first.
"$build/orv_fuzz_helpers_tests" --gtest_brief=1

if (($# > 0)); then
  targets=("$@")
else
  mapfile -t targets <"$build/targets.txt"
fi

# Executions from libFuzzer's final statistics in a log, or "?".
executions() {
  local count
  count=$(sed -n 's/^stat::number_of_executed_units: *//p' "$1" | tail -n 1)
  echo "${count:-?}"
}

failed=()
summary=()
for target in "${targets[@]}"; do
  program="$build/fuzz_$target"
  if [[ ! -x $program ]]; then
    echo "unknown fuzz target: $target" >&2
    failed+=("$target")
    continue
  fi
  dir="$work/$target"
  rm -rf "$dir"
  mkdir -p "$dir/corpus" "$dir/artifacts"
  cp -r "fuzz/corpus/$target/." "$dir/corpus/" 2>/dev/null || true
  echo "=== $target: ${seconds} s"
  status=0
  # -timeout: an input that takes this long counts as a hang; the tree targets need more room
  # than the default 4 kB inputs for long texts.
  "$program" -max_total_time="$seconds" -print_final_stats=1 -timeout=25 -max_len=16384 \
    -artifact_prefix="$dir/artifacts/" "$dir/corpus" >"$dir/log" 2>&1 || status=$?
  runs=$(executions "$dir/log")
  if ((status != 0)); then
    failed+=("$target")
    summary+=("$(printf '%-22s %12s executions  FAILED (exit %d)' "$target" "$runs" "$status")")
    echo "--- $target failed; the end of its log ($dir/log):"
    tail -n 60 "$dir/log"
    for input in "$dir"/artifacts/*; do
      [[ -e $input ]] && echo "kept input: $input (rerun: $program $input)"
    done
  else
    summary+=("$(printf '%-22s %12s executions  ok' "$target" "$runs")")
  fi
done

echo
echo "=== fuzz summary (${seconds} s per target)"
printf '%s\n' "${summary[@]}"
if ((${#failed[@]} > 0)); then
  echo "failed: ${failed[*]}"
  exit 1
fi
