#!/usr/bin/env bash
# Sets up, builds and runs every test. With --asan, or when CI=true, the whole suite then runs again
# under AddressSanitizer + UndefinedBehaviorSanitizer. Exits non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")/.."

asan=0
[ "${CI:-}" = "true" ] && asan=1
for arg in "$@"; do
  case "$arg" in
    --asan) asan=1 ;;
    --no-asan) asan=0 ;;
    *) echo "usage: scripts/test.sh [--asan|--no-asan]" >&2; exit 2 ;;
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
echo "== all tests passed"
