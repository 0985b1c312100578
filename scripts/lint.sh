#!/usr/bin/env bash
# Format check of every source, then clang-tidy over the service and utilities (uses the dev
# build's compile_commands.json). Exits non-zero on any finding.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup.sh
mapfile -t sources < <(git ls-files '*.cpp' '*.h')
clang-format --dry-run -Werror "${sources[@]}"
cmake --preset dev >/dev/null
mapfile -t tidy < <(git ls-files '*.cpp' | grep -E '^(framework|service|permission|message|record|policy|clone|migrate|interfaces|utils|host|tools)/')
if [ ${#tidy[@]} -gt 0 ]; then
  printf '%s\n' "${tidy[@]}" | xargs -P 2 -n 4 clang-tidy -p build/dev --quiet
fi
echo "lint: clean"
