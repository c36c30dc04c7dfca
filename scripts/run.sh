#!/usr/bin/env bash
# Installs what is missing, builds Quelm, and shows it working with `quelmctl demo` playing the
# companion app. On a desktop: the widget itself, whose buttons start and stop the demo's items.
# Without a display: every widget size drawn to out/ before and after a click on "postgres".
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh run
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUELM_BUILD_TESTS=OFF -DQUELM_BUILD_BENCH=OFF >/dev/null
cmake --build build/release -j "$(nproc)"

quelmctl=$PWD/build/release/tools/quelmctl/quelmctl
widget=$PWD/build/release/QuelmWidget/App/quelm-widget
families=(small medium large extraLarge)

work=$(mktemp -d)
demo_log=$work/demo.log
demo_pid=""
bus_pid=""
cleanup() {
  if [ -n "$demo_pid" ]; then
    kill -TERM "$demo_pid" 2>/dev/null || true
    wait "$demo_pid" 2>/dev/null || true
  fi
  if [ -n "$bus_pid" ]; then
    kill -TERM "$bus_pid" 2>/dev/null || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# A click wakes the app over the session bus, which a console or container login may lack.
if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ] && [ ! -S "${XDG_RUNTIME_DIR:-/nonexistent}/bus" ]; then
  { read -r bus_address && read -r bus_pid; } < <(dbus-daemon --session --fork --nosyslog --print-address=1 --print-pid=1 2>/dev/null)
  export DBUS_SESSION_BUS_ADDRESS=$bus_address
fi

# The demo's lines go to the terminal and to a log that the steps below wait on.
start_demo() {
  : > "$demo_log"
  "$quelmctl" demo > >(tee -a "$demo_log") &
  demo_pid=$!
  wait_for_demo "demo: waiting for the widget's commands"
}

wait_for_demo() {
  local line=$1
  for _ in $(seq 300); do
    grep -qxF -- "$line" "$demo_log" && return 0
    if ! kill -0 "$demo_pid" 2>/dev/null; then
      echo "run.sh: quelmctl demo ended early" >&2
      return 1
    fi
    sleep 0.1
  done
  echo "run.sh: quelmctl demo did not print \"$line\" within 30 s" >&2
  return 1
}

display_usable() {
  [ -n "${WAYLAND_DISPLAY:-}" ] && return 0
  [ -n "${DISPLAY:-}" ] || return 1
  if command -v xdpyinfo >/dev/null 2>&1; then
    xdpyinfo >/dev/null 2>&1
  elif command -v xdotool >/dev/null 2>&1; then
    xdotool getdisplaygeometry >/dev/null 2>&1
  fi
}

if display_usable; then
  # The real app group container, as an installed app would use it.
  start_demo
  echo "Quelm: the widget is on the desktop (right-click it for its menu); close it or press Ctrl-C to end."
  status=0
  "$widget" || status=$?
  exit "$status"
fi

echo "Quelm: no display; drawing the widget to out/ instead."
# A container of its own, found by the demo, the widget and toggle alike through XDG_DATA_HOME.
export XDG_DATA_HOME=$work/data
export QT_QPA_PLATFORM=offscreen
# Qt wants a private runtime directory and says so on every render without one.
if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
  export XDG_RUNTIME_DIR=$work/runtime
  mkdir -m 0700 "$XDG_RUNTIME_DIR"
fi
start_demo

mkdir -p out
render_all() {
  local stage=$1 family
  for family in "${families[@]}"; do
    "$widget" render --family "$family" -o "out/$stage-$family.png"
  done
}
render_all before
# What a click on the start button of the stopped "postgres" does.
"$quelmctl" toggle c --start
wait_for_demo "demo: c running"
render_all after

for stage in before after; do
  for family in "${families[@]}"; do
    echo "$PWD/out/$stage-$family.png"
  done
done
