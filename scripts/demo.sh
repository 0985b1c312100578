#!/usr/bin/env bash
# The main job, end to end: set up, build, start the device host on a fresh temporary device, and do
# what a privacy-settings app does with the privacy service, step by step, then stop the host.
# Needs root: the tools take the settings app's uid (aspctl --as), so the host's kernel-attested
# caller is that app. Usage: scripts/demo.sh   (environment: DEMO_KEEP=1 keeps the device directory)
set -euo pipefail
cd "$(dirname "$0")/.."

if [ "$(id -u)" -ne 0 ]; then
  if command -v sudo >/dev/null 2>&1; then
    exec sudo -E "$0" "$@"
  fi
  echo "demo: run as root: the tools switch to the settings app's uid, which only root may do" >&2
  exit 1
fi

bold=""
plain=""
if [ -t 1 ]; then
  bold=$(tput bold 2>/dev/null || true)
  plain=$(tput sgr0 2>/dev/null || true)
fi
step_number=0

# step "title" "what it shows, in one line" command args...
step() {
  local title=$1 explanation=$2
  shift 2
  step_number=$((step_number + 1))
  printf '\n%s== %d. %s%s\n' "$bold" "$step_number" "$title" "$plain"
  printf '   %s\n' "$explanation"
  local shown="" arg
  for arg in "$@"; do
    case "$arg" in
      *" "*) shown+=" \"$arg\"" ;;
      *) shown+=" $arg" ;;
    esac
  done
  printf '   $%s\n' "$shown"
  "$@" 2>&1 | sed 's/^/     /'
  return "${PIPESTATUS[0]}"
}

# refused "title" "explanation" command args...: a step whose point is that the service says no.
refused() {
  local status=0
  step "$@" || status=$?
  if [ "$status" -eq 0 ]; then
    echo "demo: that request should have been refused" >&2
    exit 1
  fi
  printf '   (exit code %d: refused, as it should be)\n' "$status"
}

echo "${bold}== Setting up and building (scripts/setup.sh, CMake preset dev)${plain}"
scripts/setup.sh
cmake --preset dev >/dev/null
cmake --build --preset dev --target asp_hostd aspctl hidumper bm atm param security_privacy_service \
  ovra_containerd containerctl
bin="build/dev/bin"

# A temporary device of the demo's own. The daemon makes the data root private to itself (0700) and
# puts its socket beside it, in device-run (0711): apps of other uids pass through to the socket and
# see nothing else. The tools find the socket from ASP_DATA_ROOT by the daemon's own rule.
work=$(mktemp -d /tmp/asp-demo-XXXXXX)
chmod 0711 "$work"
export ASP_DATA_ROOT="$work/device"
socket="$work/device-run/asp_hostd.sock"
hostd_pid=""
cleanup() {
  if [ -n "$hostd_pid" ] && kill -0 "$hostd_pid" 2>/dev/null; then
    kill -TERM "$hostd_pid" 2>/dev/null || true
    wait "$hostd_pid" 2>/dev/null || true
  fi
  if [ "${DEMO_KEEP:-0}" = 1 ]; then
    echo "demo: the device stays in $ASP_DATA_ROOT"
  else
    rm -rf "$work"
  fi
}
trap cleanup EXIT

printf '\n%s== Starting the device host%s\n' "$bold" "$plain"
echo "   asp_hostd keeps a device under $ASP_DATA_ROOT (seeded from profiles/default_device.json, readable"
echo "   by its uid alone) and serves the privacy service (ability 65993) on $socket; the service's"
echo "   library is loaded on the first request. Its log: $work/hostd.log"
echo "   With --with-container it also runs the container (ovra_containerd), whose apps the service reaches"
echo "   through the container's broker; the container's log: $work/ovra_containerd.log"
"$bin/asp_hostd" --log-file "$work/hostd.log" --with-container &
hostd_pid=$!
for _ in $(seq 1 100); do
  if "$bin/param" get const.product.name >/dev/null 2>&1; then
    break
  fi
  if ! kill -0 "$hostd_pid" 2>/dev/null; then
    echo "demo: asp_hostd did not start:" >&2
    cat "$work/hostd.log" >&2 || true
    exit 1
  fi
  sleep 0.1
done

for _ in $(seq 1 100); do
  grep -q "container broker registered" "$work/hostd.log" 2>/dev/null && break
  sleep 0.1
done

settings=com.ohos.permissionmanager
as_settings=("$bin/aspctl" --as "$settings")

step "The device" \
  "A few dozen apps are installed for user 100; the settings app $settings is a system app." \
  "$bin/bm" dump -a -u 100
step "The settings app's own permissions" \
  "It holds the six permissions the privacy service asks of its callers." \
  "$bin/atm" dump -t -b "$settings"
step "An app's permission groups" \
  "The settings app lists what com.example.maps may access: each group, its state, the choices it offers." \
  "${as_settings[@]}" groups com.example.maps
step "Allow location only while the app is in use" \
  "The user picks 'while in use' for Maps; the service grants and revokes the platform permissions behind it." \
  "${as_settings[@]}" set com.example.maps LOCATION ALLOW_ONLY_WHILE_IN_USE
step "Read it back" \
  "The group now shows the new state, marked as set by the user." \
  "${as_settings[@]}" groups com.example.maps --group LOCATION
step "What changed underneath" \
  "On the platform, foreground location stays granted and background location is revoked." \
  "$bin/bm" dump -n com.example.maps
step "A container app beside a native one" \
  "The camera of a native app and of a container app, in one listing: the container decides its app's states in its own terms, the service shows both alike." \
  "${as_settings[@]}" group CAMERA --bundle com.example.camera --bundle com.example.ovra.chat
step "What the container keeps" \
  "Underneath, the container's own permissions of that app (granted, user-set, one-time) and the groups they make." \
  "$bin/containerctl" show com.example.ovra.chat
step "Location across apps" \
  "One group for several apps, as the settings screen of a permission shows it; some choices are locked, and the reason says why." \
  "${as_settings[@]}" group LOCATION --bundle com.example.maps --bundle com.example.weather \
  --bundle com.example.fitness --bundle com.example.navigation.fleet
step "When did Maps use location?" \
  "The last 8 uses of location by Maps, from the device's usage records (the default range is 28 days)." \
  "${as_settings[@]}" usage timeline --bundle com.example.maps --group LOCATION --limit 8
step "Location use over the past week" \
  "How often each app used location in the last 7 days." \
  "${as_settings[@]}" usage summary --begin -7d --group LOCATION
step "Mark an app as malicious" \
  "A GToken policy: 'malicious-app' = 1 is also passed on to the bundle manager, which disables the app." \
  "${as_settings[@]}" gtoken add com.example.game.arcade --policy malicious-app=1 --fingerprint 5F:3A:9C --version-code 7
step "Read the policy table" \
  "The bundles that carry the policy, with their values, from the service's own database." \
  "${as_settings[@]}" gtoken get malicious-app
refused "The caller checks" \
  "An ordinary app may not ask: Maps is not a system app and lacks the permission, so the service refuses." \
  "$bin/aspctl" --as com.example.maps groups com.example.maps
step "The service's dump" \
  "The platform's dump tool asks the service's permission module for Maps' location group." \
  "$bin/hidumper" -s 65993 -a "permission get-by-app com.example.maps 100 LOCATION"
step "The abilities of the host" \
  "The service was loaded on the first request and stays loaded until it has been idle for 40 s." \
  "$bin/hidumper" -ls

printf '\n%s== Stopping the device host%s\n' "$bold" "$plain"
kill -TERM "$hostd_pid"
wait "$hostd_pid"
echo "   asp_hostd stopped cleanly (exit code $?); the device database keeps everything for the next start."
hostd_pid=""

printf '\n%s== See it in a browser%s\n' "$bold" "$plain"
echo "   scripts/dashboard.sh starts a device of its own and the privacy dashboard, and prints its URL:"
echo "   every app's groups, a control that changes them through the service, and a chart of each group's use."
