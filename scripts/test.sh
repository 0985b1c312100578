#!/usr/bin/env bash
# Sets up, builds and runs every test. With --asan, or when CI=true, the whole suite then runs again
# under AddressSanitizer + UndefinedBehaviorSanitizer. With --tsan, or when CI=true, the concurrency
# test (tests/concurrency) runs under ThreadSanitizer too; only that program is built in the tsan
# preset, which keeps the step cheap. Exits non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")/.."

asan=0
tsan=0
[ "${CI:-}" = "true" ] && asan=1 && tsan=1
for arg in "$@"; do
  case "$arg" in
    --asan) asan=1 ;;
    --no-asan) asan=0 ;;
    --tsan) tsan=1 ;;
    --no-tsan) tsan=0 ;;
    *) echo "usage: scripts/test.sh [--asan|--no-asan] [--tsan|--no-tsan]" >&2; exit 2 ;;
  esac
done

scripts/setup.sh

run_preset() {
  local preset=$1
  echo "== $preset: configure, build, test"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
  ctest --preset "$preset"
}

run_preset dev
if [ "$asan" = 1 ]; then
  run_preset asan
fi
if [ "$tsan" = 1 ]; then
  echo "== tsan: configure, build and run the concurrency test"
  cmake --preset tsan >/dev/null
  cmake --build --preset tsan --target asp_concurrency_tests
  TSAN_OPTIONS="halt_on_error=1:second_deadlock_stack=1" build/tsan/tests/asp_concurrency_tests
fi
echo "== all tests passed"
