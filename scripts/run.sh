#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Installs what is missing, builds Quelm, and shows it working. With a systemd user manager, quelmd
# is the companion app, with an example configuration: two small local web servers and a group of
# both, run as user units. Without one, `quelmctl demo` plays the app with its sample items.
# On a desktop: the widget itself, whose buttons start and stop them. Without a display: every
# widget size drawn to out/ before and after a click (on the group, or on the demo's "postgres").
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh run
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUELM_BUILD_TESTS=OFF -DQUELM_BUILD_BENCH=OFF >/dev/null
cmake --build build/release -j "$(nproc)"

quelmctl=$PWD/build/release/tools/quelmctl/quelmctl
quelmd=$PWD/build/release/tools/quelmd/quelmd
widget=$PWD/build/release/QuelmWidget/App/quelm-widget
families=(small medium large extraLarge)

work=$(mktemp -d)
demo_log=$work/demo.log
demo_pid=""
bus_pid=""
example_units=()
cleanup() {
  if [ -n "$demo_pid" ]; then
    kill -TERM "$demo_pid" 2>/dev/null || true
    wait "$demo_pid" 2>/dev/null || true
  fi
  # quelmd's services outlive it on purpose; the example's do not outlive the example.
  if ((${#example_units[@]})); then
    systemctl --user stop "${example_units[@]}" 2>/dev/null || true
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

user_systemd_usable() {
  command -v systemctl >/dev/null 2>&1 || return 1
  case $(systemctl --user is-system-running 2>/dev/null) in
    running|degraded) return 0 ;;
    *) return 1 ;;
  esac
}

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

# quelmd with the example: two web servers serving the work folder, and "Exemplo" grouping them.
start_quelmd() {
  local config=$work/services.toml first second
  first=$(free_port)
  second=$(free_port)
  mkdir -p "$work/site"
  echo "Quelm" > "$work/site/index.html"
  cat > "$config" <<TOML
[[service]]
id = "exemplo-web"
title = "web (exemplo)"
command = ["python3", "-m", "http.server", "$first", "--bind", "127.0.0.1"]
directory = "$work/site"

[[service]]
id = "exemplo-api"
title = "api (exemplo)"
command = "exec python3 -m http.server $second --bind 127.0.0.1"
directory = "$work/site"

[[group]]
name = "Exemplo"
members = ["exemplo-web", "exemplo-api"]
TOML
  example_units=(quelm-exemplo-web.service quelm-exemplo-api.service)
  : > "$demo_log"
  "$quelmd" --config "$config" 2> >(tee -a "$demo_log" >&2) &
  demo_pid=$!
  echo "Quelm: quelmd runs the example services of $config as user units (ports $first and $second)"
  wait_for_status 'snapshot["items"] and all(not i["isRunning"] for i in snapshot["items"])'
}

# Waits until `quelmctl status --json` satisfies a Python condition on its "snapshot".
wait_for_status() {
  local condition=$1
  for _ in $(seq 300); do
    "$quelmctl" status --json 2>/dev/null | python3 -c "import json, sys; snapshot = json.load(sys.stdin)['snapshot']; sys.exit(0 if ($condition) else 1)" && return 0
    if ! kill -0 "$demo_pid" 2>/dev/null; then
      echo "run.sh: quelmd ended early" >&2
      return 1
    fi
    sleep 0.1
  done
  echo "run.sh: quelmd did not show the example as expected within 30 s" >&2
  return 1
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

companion=demo
user_systemd_usable && companion=quelmd

if display_usable; then
  # The real app group container, as an installed app would use it.
  if [ "$companion" = quelmd ]; then start_quelmd; else start_demo; fi
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
if [ "$companion" = quelmd ]; then start_quelmd; else start_demo; fi

mkdir -p out
render_all() {
  local stage=$1 family
  for family in "${families[@]}"; do
    "$widget" render --family "$family" -o "out/$stage-$family.png"
  done
}
render_all before
if [ "$companion" = quelmd ]; then
  # What a click on the start button of the group does: both servers run, on their ports.
  "$quelmctl" toggle group:exemplo --start
  wait_for_status 'all(i["isRunning"] and "port" in i for i in snapshot["items"])'
else
  # What a click on the start button of the stopped "postgres" does.
  "$quelmctl" toggle c --start
  wait_for_demo "demo: c running"
fi
render_all after

for stage in before after; do
  for family in "${families[@]}"; do
    echo "$PWD/out/$stage-$family.png"
  done
done
