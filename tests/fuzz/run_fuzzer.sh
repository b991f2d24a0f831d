#!/usr/bin/env bash
# Runs one libFuzzer target as a test, the same way on every run:
#   run_fuzzer.sh BINARY NAME SEEDS REGRESSIONS WORKDIR RUNS [DICTIONARY]
# It starts from copies of the seeds and regressions alone, with a fixed
# random seed, and stops after RUNS inputs. libFuzzer feeds the values the
# target compares, addresses among them, back into its mutations, so the
# target also runs with address randomisation off, a fixed environment and
# relative paths inside WORKDIR. A crash, leak, use of more than 2 GB or
# broken property fails the test and leaves its input in WORKDIR/artifacts;
# the time limit of one input only guards against a hang.
set -uo pipefail
binary=$1 name=$2 seeds=$3 regressions=$4 work=$5 runs=$6 dictionary=${7:-}
fixed_addresses=(setarch "$(uname -m)" -R)
if ! "${fixed_addresses[@]}" true 2>/dev/null; then
  echo "fuzz target $name not run: address randomisation cannot be turned off here (setarch -R)"
  exit 1
fi

rm -rf "$work" && mkdir -p "$work/corpus" "$work/artifacts" "$work/inputs"
cp "$binary" "$work/target" && cp -r "$seeds" "$work/inputs/seeds"
inputs=(corpus inputs/seeds)
[ -d "$regressions" ] && cp -r "$regressions" "$work/inputs/regressions" &&
  inputs+=(inputs/regressions)
options=(-seed=1 -runs="$runs" -reload=0 -timeout=120 -rss_limit_mb=2048 -max_len=4096
         -print_final_stats=1 -artifact_prefix=artifacts/)
[ -n "$dictionary" ] && cp "$dictionary" "$work/inputs/dictionary" &&
  options+=(-dict=inputs/dictionary)

log=$work/fuzz.log
(cd "$work" && env -i PATH=/usr/bin:/bin HOME=/nonexistent TOVAK_CONFIG=/dev/null LC_ALL=C TZ=UTC \
   "${fixed_addresses[@]}" ./target "${options[@]}" "${inputs[@]}") >"$log" 2>&1
status=$?
executed=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n 1)
coverage=$(grep -o 'cov: [0-9]* ft: [0-9]* corp: [0-9/a-zA-Z]*' "$log" | tail -n 1)
echo "$name: ${executed:-?} inputs (${coverage:-?}), ${rate:-?} per second"
[ "$status" -eq 0 ] && exit 0
tail -n 80 "$log"
echo "fuzz target $name failed (exit $status); inputs that broke it:"
find "$work/artifacts" -type f | sort
echo "Replay one with: $binary FILE; keep it in tests/fuzz/regressions/$name/ (docs/testing.md)"
exit 1
