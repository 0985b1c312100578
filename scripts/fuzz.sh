#!/usr/bin/env bash
# Builds the libFuzzer targets (preset "fuzz": clang, ASan + UBSan) and runs each in turn.
#
#   scripts/fuzz.sh [--time SECONDS | --runs COUNT] [TARGET...]
#   scripts/fuzz.sh --smoke          what CI runs: every target for a short while from its seeds
#   scripts/fuzz.sh --write-corpus   rewrites the seed corpus (tests/fuzz/corpus) from the dev build
#
# Default: every target for 300 seconds. Each target starts from its seeds (tests/fuzz/corpus/<t>)
# and regression inputs (tests/fuzz/regressions/<t>) and keeps what it learns in
# build/fuzz/work/<t> (the smoke starts from the seeds alone). A finding stops the run: its input is
# in build/fuzz/findings/<t>/; fix it, or keep it in tests/fuzz/regressions/<t>/ and name it in
# tests/fuzz/regressions/OPEN until it is fixed.
set -euo pipefail
cd "$(dirname "$0")/.."

all_targets=(parcel_read json_records frame_decoder service_stub)
seconds=300
runs=""
smoke=0
targets=()

while [ $# -gt 0 ]; do
  case "$1" in
    --time) seconds=$2; runs=""; shift 2 ;;
    --runs) runs=$2; shift 2 ;;
    --smoke) smoke=1; seconds=${ASP_FUZZ_SMOKE_SECONDS:-30}; runs=""; shift ;;
    --write-corpus)
      cmake --preset dev >/dev/null
      cmake --build --preset dev --target asp_fuzz_corpus_writer
      rm -rf tests/fuzz/corpus
      build/dev/tests/fuzz/asp_fuzz_corpus_writer tests/fuzz/corpus
      echo "fuzz: seeds written to tests/fuzz/corpus"
      exit 0 ;;
    -h|--help) sed -n '2,13p' "$0"; exit 0 ;;
    -*) echo "fuzz.sh: unknown option $1" >&2; exit 2 ;;
    *) targets+=("$1"); shift ;;
  esac
done
[ ${#targets[@]} -eq 0 ] && targets=("${all_targets[@]}")

scripts/setup.sh
echo "== fuzz: configure and build (preset fuzz)"
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz

export ASAN_OPTIONS="halt_on_error=1:abort_on_error=1:detect_leaks=1"
export UBSAN_OPTIONS="halt_on_error=1:print_stacktrace=1"

status=0
for t in "${targets[@]}"; do
  binary="build/fuzz/tests/fuzz/${t}_fuzzer"
  if [ ! -x "$binary" ]; then
    echo "fuzz.sh: no target $t (have: ${all_targets[*]})" >&2
    exit 2
  fi
  work="build/fuzz/work/$t"
  findings="build/fuzz/findings/$t"
  [ "$smoke" = 1 ] && rm -rf "$work"
  mkdir -p "$work" "$findings"
  seeds=("tests/fuzz/corpus/$t")
  [ -d "tests/fuzz/regressions/$t" ] && seeds+=("tests/fuzz/regressions/$t")
  limit=(-max_total_time="$seconds")
  [ -n "$runs" ] && limit=(-runs="$runs")
  if [ -n "$runs" ]; then echo "== fuzz: $t ($runs runs)"; else echo "== fuzz: $t ($seconds s)"; fi
  log="build/fuzz/work/$t.log"
  if "$binary" "${limit[@]}" -timeout=10 -rss_limit_mb=2048 -max_len=4096 -print_final_stats=1 \
      -artifact_prefix="$findings/" "$work" "${seeds[@]}" >"$log" 2>&1; then
    grep -E "^(Done|stat::number_of_executed_units|stat::average_exec_per_sec)" "$log" | sed 's/^/   /'
  else
    status=1
    echo "fuzz.sh: $t found something; the log is $log, the input in $findings/:" >&2
    ls -1 "$findings" >&2
    tail -n 40 "$log" >&2
  fi
done
exit $status
