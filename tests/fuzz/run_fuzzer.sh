#!/usr/bin/env bash
# Runs one libFuzzer target as a test, the same way on every run:
#   run_fuzzer.sh BINARY NAME SEEDS REGRESSIONS WORKDIR RUNS [DICTIONARY]
# The seed and regression folders are only read. The run starts from them
# alone (WORKDIR/corpus is emptied first) with a fixed random seed and stops
# after RUNS inputs, so the same commit always tries the same inputs. A
# crash, leak, out-of-memory or broken property fails the test and leaves
# the input that caused it in WORKDIR/artifacts; WORKDIR/stats holds the
# run's figures. The time limit of one input only guards against a hang.
set -uo pipefail
binary=$1 name=$2 seeds=$3 regressions=$4 work=$5 runs=$6 dictionary=${7:-}

rm -rf "$work/corpus" "$work/artifacts"
mkdir -p "$work/corpus" "$work/artifacts"
inputs=("$work/corpus" "$seeds")
[ -d "$regressions" ] && inputs+=("$regressions")
options=(-seed=1 -runs="$runs" -reload=0 -timeout=120 -rss_limit_mb=2048 -max_len=4096
         -print_final_stats=1 -artifact_prefix="$work/artifacts/")
[ -n "$dictionary" ] && options+=(-dict="$dictionary")

# libFuzzer feeds the values the target compares, addresses among them,
# back into its mutations: with address randomisation off they are the same
# on every run.
fixed_addresses=(setarch "$(uname -m)" -R)
if ! "${fixed_addresses[@]}" true 2>/dev/null; then
  echo "fuzz target $name not run: address randomisation cannot be turned off here (setarch -R)"
  exit 1
fi

log=$work/fuzz.log
"${fixed_addresses[@]}" "$binary" "${options[@]}" "${inputs[@]}" >"$log" 2>&1
status=$?

executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n 1)
coverage=$(grep -o 'cov: [0-9]* ft: [0-9]* corp: [0-9/a-zA-Z]*' "$log" | tail -n 1)
printf '%s: %s inputs (%s), %s per second\n' "$name" "${executed:-?}" "${coverage:-?}" \
  "${rate:-?}" | tee "$work/stats"

if [ "$status" -ne 0 ]; then
  tail -n 80 "$log"
  echo "fuzz target $name failed (exit $status); inputs that broke it:"
  find "$work/artifacts" -type f | sort
  echo "Replay one with: $binary FILE"
  echo "Keep it as a regression case: tests/fuzz/regressions/$name/ (see docs/testing.md)"
  exit 1
fi
