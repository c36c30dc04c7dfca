#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# Runs a command beside a private systemd user manager of its own, so that quelmd's tests meet a
# real one and nothing else on the machine sees it:
#   with-user-systemd.sh COMMAND [ARGUMENTS...]
# systemd --user refuses to start unless /run/systemd/system exists, which a machine (or a
# container) without systemd as init lacks: in a private mount namespace a scratch folder is
# bound over /run/systemd, with system/ inside it, and the manager gets its own XDG_RUNTIME_DIR
# (its bus is $XDG_RUNTIME_DIR/bus, started by its dbus.socket). The command finds the manager
# through XDG_RUNTIME_DIR and DBUS_SESSION_BUS_ADDRESS. Where any of this is impossible the
# command still runs, with QUELM_NO_USER_SYSTEMD saying why, so that it can report itself skipped.
set -uo pipefail

if [ "${QUELM_USER_SYSTEMD_INSIDE:-}" != yes ]; then
    export QUELM_USER_SYSTEMD_INSIDE=yes
    self=$(readlink -f "$0")
    if [ "$(id -u)" -eq 0 ]; then
        unshare_args=(--mount --propagation private)
    else
        unshare_args=(--user --map-root-user --mount --propagation private)
    fi
    if ! why=$(unshare "${unshare_args[@]}" true 2>&1); then
        export QUELM_NO_USER_SYSTEMD="cannot make a private mount namespace for a systemd user manager (unshare: ${why:-refused})"
        echo "with-user-systemd: $QUELM_NO_USER_SYSTEMD" >&2
        unset QUELM_USER_SYSTEMD_INSIDE
        exec "$@"
    fi
    exec unshare "${unshare_args[@]}" bash "$self" "$@"
fi

systemd_binary=""
for candidate in /lib/systemd/systemd /usr/lib/systemd/systemd; do
    [ -x "$candidate" ] && systemd_binary=$candidate && break
done
run_without() {
    export QUELM_NO_USER_SYSTEMD="$1"
    shift
    echo "with-user-systemd: $QUELM_NO_USER_SYSTEMD" >&2
    "$@"
    exit $?
}
[ -n "$systemd_binary" ] || run_without "systemd is not installed" "$@"

scratch=$(mktemp -d /tmp/quelm-user-systemd.XXXXXX)
mkdir -p "$scratch/run-systemd/system" "$scratch/runtime"
chmod 0700 "$scratch/runtime"
if [ -d /run/systemd ]; then
    mount --bind "$scratch/run-systemd" /run/systemd || run_without "cannot bind a scratch folder over /run/systemd" "$@"
else
    mount -t tmpfs tmpfs /run || run_without "cannot mount a private /run" "$@"
    mkdir -p /run/systemd/system
fi

# The manager and everything it starts live in a cgroup of their own, so that two runs at once do
# not share units' cgroups and whatever is left at the end can be killed as one.
cgroup_name=$(basename "$scratch")
cgroups=()
if [ -f /sys/fs/cgroup/cgroup.controllers ]; then
    cgroups+=("/sys/fs/cgroup/$cgroup_name")
else
    [ -f /sys/fs/cgroup/unified/cgroup.controllers ] && cgroups+=("/sys/fs/cgroup/unified/$cgroup_name")
    [ -d /sys/fs/cgroup/systemd ] && cgroups+=("/sys/fs/cgroup/systemd/$cgroup_name")
fi
for cgroup in "${cgroups[@]}"; do
    mkdir "$cgroup" || run_without "cannot make a cgroup for the manager at $cgroup" "$@"
done

export XDG_RUNTIME_DIR=$scratch/runtime
export DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/bus
# The manager moves every process of its cgroup into its init.scope: only it goes there, never
# this shell or the command.
(
    for cgroup in "${cgroups[@]}"; do
        echo "$BASHPID" >"$cgroup/cgroup.procs" || exit 1
    done
    exec "$systemd_binary" --user
) >"$scratch/systemd.log" 2>&1 &
manager=$!

stop_manager() {
    if kill -0 "$manager" 2>/dev/null; then
        kill -TERM "$manager" 2>/dev/null
        for _ in $(seq 100); do
            kill -0 "$manager" 2>/dev/null || break
            sleep 0.1
        done
        kill -KILL "$manager" 2>/dev/null
    fi
    wait "$manager" 2>/dev/null
    for cgroup in "${cgroups[@]}"; do
        [ -f "$cgroup/cgroup.kill" ] && echo 1 >"$cgroup/cgroup.kill"
    done
    sleep 0.2
    for cgroup in "${cgroups[@]}"; do
        find "$cgroup" -depth -type d -exec rmdir {} + 2>/dev/null
    done
    rm -rf "$scratch"
}
trap stop_manager EXIT

state=""
for _ in $(seq 300); do
    kill -0 "$manager" 2>/dev/null || break
    state=$(systemctl --user is-system-running 2>/dev/null)
    case $state in running|degraded) break ;; esac
    sleep 0.1
done
case $state in
    running|degraded)
        export QUELM_USER_SYSTEMD=yes
        "$@"
        ;;
    *)
        reason="the systemd user manager did not come up ($(tail -n 3 "$scratch/systemd.log" | tr '\n' ' '))"
        export QUELM_NO_USER_SYSTEMD="$reason"
        echo "with-user-systemd: $reason" >&2
        "$@"
        ;;
esac
