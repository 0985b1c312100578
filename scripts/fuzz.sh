#!/usr/bin/env bash
# Builds the libFuzzer targets (preset "fuzz": clang, ASan + UBSan) and runs each in turn.
#
#   scripts/fuzz.sh [--time SECONDS | --runs COUNT] [TARGET...]
#   scripts/fuzz.sh --smoke          what CI runs: every target for a short while from its seeds
#   scripts/fuzz.sh --write-corpus   rewrites the seed corpus (tests/fuzz/corpus) from the dev build
#
# Default: every target for 300 seconds. Each target starts from its seeds (tests/fuzz/corpus/<t>)
# and regression inputs (tests/fuzz/regressions/<t>), with its dictionary (tests/fuzz/<t>.dict)
# when it has one, and keeps what it learns in build/fuzz/work/<t> (the smoke starts from the seeds
# alone). A finding stops the run: its input is in build/fuzz/findings/<t>/; fix it, or keep it in
# tests/fuzz/regressions/<t>/ and name it in tests/fuzz/regressions/OPEN until it is fixed:
#
#   <target>/<file> [avoid:<key>]...   # what the input shows
#
# An open finding's input is left out of the seeds (it would stop every run at once), and its
# avoid keys go to the target in ASP_FUZZ_AVOID, so that the run steers past the finding to others.
set -euo pipefail
cd "$(dirname "$0")/.."

# Every target: the fuzz preset's programs (tests/fuzz/CMakeLists.txt holds the two lists equal).
read -r -a all_targets <<<"$(python3 -c 'import json
print(" ".join(t[: -len("_fuzzer")] for p in json.load(open("CMakePresets.json"))["buildPresets"]
               if p["name"] == "fuzz" for t in p["targets"]))')"
open_list=tests/fuzz/regressions/OPEN
seconds=300
runs=""
smoke=0
targets=()

while [ $# -gt 0 ]; do
  case "$1" in
    --time) seconds=$2; runs=""; shift 2 ;;
    --runs) runs=$2; shift 2 ;;
    # Ten targets within about six minutes on two cores, start-up included.
    --smoke) smoke=1; seconds=${ASP_FUZZ_SMOKE_SECONDS:-25}; runs=""; shift ;;
    --write-corpus)
      cmake --preset dev >/dev/null
      cmake --build --preset dev --target asp_fuzz_corpus_writer
      rm -rf tests/fuzz/corpus
      build/dev/tests/fuzz/asp_fuzz_corpus_writer tests/fuzz/corpus
      echo "fuzz: seeds written to tests/fuzz/corpus"
      exit 0 ;;
    -h|--help) sed -n '2,19p' "$0"; exit 0 ;;
    -*) echo "fuzz.sh: unknown option $1" >&2; exit 2 ;;
    *) targets+=("$1"); shift ;;
  esac
done
[ ${#targets[@]} -eq 0 ] && targets=("${all_targets[@]}")

# The entries of the open list as "<target> <file> <avoid keys...>" lines; a line whose first word
# is not <target>/<file> stops everything, as it stops the replay.
open_entries() {
  awk -v list="$open_list" '
    { sub(/#.*/, "") }
    NF == 0 { next }
    $1 !~ /^[^\/]+\/[^\/]+$/ { printf "%s:%d: \x27%s\x27 is not <target>/<file>\n", list, NR, $1 > "/dev/stderr"; bad = 1; next }
    {
      split($1, name, "/"); keys = ""
      for (i = 2; i <= NF; i++) if ($i ~ /^avoid:./) keys = keys " " substr($i, 7)
      print name[1], name[2] keys
    }
    END { exit bad }' "$open_list"
}
open_now=$(open_entries) || exit 2

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
  # The regression inputs but those of open findings; their avoid keys for the target.
  regressions="build/fuzz/seeds/$t"
  rm -rf "$regressions" && mkdir -p "$regressions"
  [ -d "tests/fuzz/regressions/$t" ] && cp -rp "tests/fuzz/regressions/$t"/. "$regressions"/
  avoid=""
  while read -r target file keys; do
    [ "$target" = "$t" ] || continue
    rm -f "$regressions/$file"
    for key in $keys; do avoid="${avoid:+$avoid,}$key"; done
  done <<<"$open_now"
  # Seeds from the corpus writer, or kept by hand beside a target whose inputs it cannot write.
  seeds=("$regressions")
  for dir in "tests/fuzz/${t}_seeds" "tests/fuzz/corpus/$t"; do
    [ -d "$dir" ] && seeds=("$dir" "${seeds[@]}")
  done
  options=(-timeout=10 -rss_limit_mb=2048 -max_len=4096 -print_final_stats=1 -artifact_prefix="$findings/")
  [ -f "tests/fuzz/$t.dict" ] && options+=(-dict="tests/fuzz/$t.dict")
  limit=(-max_total_time="$seconds")
  [ -n "$runs" ] && limit=(-runs="$runs")
  if [ -n "$runs" ]; then echo "== fuzz: $t ($runs runs)"; else echo "== fuzz: $t ($seconds s)"; fi
  [ -n "$avoid" ] && echo "   avoiding the open findings: $avoid"
  log="build/fuzz/work/$t.log"
  started=$(date +%s)
  if ASP_FUZZ_AVOID="$avoid" "$binary" "${limit[@]}" "${options[@]}" "$work" "${seeds[@]}" >"$log" 2>&1; then
    grep -E "^(Done|stat::number_of_executed_units|stat::average_exec_per_sec)" "$log" | sed 's/^/   /'
    echo "   $(( $(date +%s) - started )) s"
  else
    status=1
    echo "fuzz.sh: $t found something; the log is $log, the input in $findings/:" >&2
    ls -1 "$findings" >&2
    tail -n 40 "$log" >&2
  fi
done
exit $status
