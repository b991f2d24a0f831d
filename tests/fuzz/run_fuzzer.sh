#!/usr/bin/env bash
# Runs one libFuzzer target for a bounded time, as a test:
#   run_fuzzer.sh BINARY NAME SEEDS REGRESSIONS WORKDIR SECONDS [DICTIONARY]
# The seed and regression folders are only read; inputs the fuzzer finds
# worth keeping go to WORKDIR/corpus, kept between runs. A crash, leak,
# timeout, out-of-memory or broken property fails the test and leaves the
# input that caused it in WORKDIR/artifacts. WORKDIR/stats holds the run's
# figures.
set -uo pipefail
binary=$1 name=$2 seeds=$3 regressions=$4 work=$5 seconds=$6 dictionary=${7:-}

mkdir -p "$work/corpus" "$work/artifacts"
inputs=("$work/corpus" "$seeds")
[ -d "$regressions" ] && inputs+=("$regressions")
options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=4096
         -print_final_stats=1 -artifact_prefix="$work/artifacts/")
[ -n "$dictionary" ] && options+=(-dict="$dictionary")

log=$work/fuzz.log
touch "$work/started"
"$binary" "${options[@]}" "${inputs[@]}" >"$log" 2>&1
status=$?

runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n 1)
printf '%s: %s inputs, %s per second\n' "$name" "${runs:-?}" "${rate:-?}" |
  tee "$work/stats"

if [ "$status" -ne 0 ]; then
  tail -n 80 "$log"
  echo "fuzz target $name failed (exit $status); inputs that broke it:"
  find "$work/artifacts" -type f -newer "$work/started" | sort
  echo "Replay one with: $binary FILE"
  echo "Keep it as a regression case: move it into tests/fuzz/regressions/$name/"
  exit 1
fi
