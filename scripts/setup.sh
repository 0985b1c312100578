#!/usr/bin/env bash
# Installs the Debian packages the project needs, and only those that are missing. Quiet and quick
# when everything is there; runs apt-get update only when it has something to install.
set -euo pipefail

packages=(cmake ninja-build g++ clang nlohmann-json3-dev libsqlite3-dev libgtest-dev libgmock-dev
          libbenchmark-dev libcli11-dev libhowardhinnant-date-dev)
# The dashboard: its HTTP server (found through pkg-config), and the browser its tests drive.
packages+=(libcpp-httplib-dev pkgconf chromium chromium-driver python3-selenium)
# ccache only speeds up rebuilds; clang-format/clang-tidy are for scripts/lint.sh.
optional=(ccache clang-format clang-tidy)

missing=()
for p in "${packages[@]}" "${optional[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
# The dashboard's front-end libraries come through npm; any Node.js with npm will do.
if ! command -v npm >/dev/null 2>&1; then
  missing+=(nodejs npm)
fi
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then sudo="sudo"; fi
echo "setup: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
