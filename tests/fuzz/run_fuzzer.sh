#!/usr/bin/env bash
# Runs one libFuzzer target as a test, the same way on every run:
#   run_fuzzer.sh BINARY NAME SEEDS REGRESSIONS WORKDIR RUNS [DICTIONARY]
# from copies of the seeds and regressions, with a fixed seed, for RUNS inputs. libFuzzer
# mutates with compared values, addresses among them, so address randomisation is off (the
# run fails where setarch -R is refused), the environment fixed and paths relative.
set -uo pipefail
binary=$1 name=$2 seeds=$3 regressions=$4 work=$5 runs=$6 dictionary=${7:-}
rm -rf "$work" && mkdir -p "$work/corpus" "$work/artifacts" "$work/inputs"
cp "$binary" "$work/target" && cp -r "$seeds" "$work/inputs/seeds" && inputs=(corpus inputs/seeds)
[ -d "$regressions" ] && cp -r "$regressions" "$work/inputs/regressions" && inputs+=(inputs/regressions)
[ -n "$dictionary" ] && cp "$dictionary" "$work/inputs/dictionary"
(cd "$work" && env -i PATH=/usr/bin:/bin HOME=/nonexistent TOVAK_CONFIG=/dev/null LC_ALL=C TZ=UTC \
  setarch "$(uname -m)" -R ./target -seed=1 -runs="$runs" -reload=0 -timeout=120 -rss_limit_mb=2048 \
  -max_len=4096 -print_final_stats=1 -artifact_prefix=artifacts/ ${dictionary:+-dict=inputs/dictionary} "${inputs[@]}") \
  >"$work/fuzz.log" 2>&1; status=$?
grep -E '^stat::(number_of_executed_units|average_exec_per_sec):' "$work/fuzz.log"
[ "$status" -eq 0 ] && exit 0
tail -n 80 "$work/fuzz.log" && find "$work/artifacts" -type f | sort
echo "fuzz target $name failed (exit $status); keep an input above in tests/fuzz/regressions/$name/ (docs/testing.md)"
exit 1
