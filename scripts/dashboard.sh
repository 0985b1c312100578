#!/usr/bin/env bash
# The privacy dashboard in a browser: set up, build, start the device host on a fresh temporary
# device (or use a running one), start asp_dashboard on it as the settings app, and print the URL to
# open. Ctrl-C stops both. Needs root: the dashboard takes the settings app's uid.
# Usage: scripts/dashboard.sh [--port P] [any other asp_dashboard option]
#   environment: ASP_DATA_ROOT or ASP_SOCKET to use a device host that already runs;
#                DASHBOARD_KEEP=1 keeps the temporary device directory.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then
    exec sudo -E "$0" "$@"
  fi
  echo "dashboard: run as root: the dashboard switches to the settings app's uid, which only root may do" >&2
  exit 1
fi

scripts/setup.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target asp_hostd asp_dashboard param security_privacy_service
bin="build/dev/bin"

hostd_pid=""
work=""
cleanup() {
  if [ -n "$hostd_pid" ] && kill -0 "$hostd_pid" 2>/dev/null; then
    kill -TERM "$hostd_pid" 2>/dev/null || true
    wait "$hostd_pid" 2>/dev/null || true
  fi
  if [ -n "$work" ]; then
    if [ "${DASHBOARD_KEEP:-0}" = 1 ]; then
      echo "dashboard: the device stays in $work/device"
    else
      rm -rf "$work"
    fi
  fi
}
trap cleanup EXIT

if [ -z "${ASP_DATA_ROOT:-}${ASP_SOCKET:-}" ]; then
  # A device of its own, as scripts/demo.sh makes one: the data root private to the daemon, the
  # socket's directory open for apps to pass through (the dashboard runs as one).
  work=$(mktemp -d /tmp/asp-dashboard-XXXXXX)
  chmod 0711 "$work"
  export ASP_DATA_ROOT="$work/device"
  "$bin/asp_hostd" --log-file "$work/hostd.log" &
  hostd_pid=$!
  for _ in $(seq 1 100); do
    "$bin/param" get const.product.name >/dev/null 2>&1 && break
    if ! kill -0 "$hostd_pid" 2>/dev/null; then
      echo "dashboard: asp_hostd did not start:" >&2
      cat "$work/hostd.log" >&2 || true
      exit 1
    fi
    sleep 0.1
  done
  echo "dashboard: a fresh default device in $ASP_DATA_ROOT (log: $work/hostd.log)"
fi

# Not exec: the trap must stop the device host when the dashboard ends.
"$bin/asp_dashboard" "$@" &
dashboard_pid=$!
trap 'kill -TERM "$dashboard_pid" 2>/dev/null || true' INT TERM
wait "$dashboard_pid" || true
wait "$dashboard_pid" 2>/dev/null || true
