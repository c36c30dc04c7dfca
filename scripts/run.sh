#!/usr/bin/env bash
# Installs what is missing, builds Quelm, and shows it working: a companion-side round trip on a
# temporary container (publish a snapshot, beat, read the status back as the widget would).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release -DQUELM_BUILD_TESTS=OFF -DQUELM_BUILD_BENCH=OFF >/dev/null
cmake --build build/release -j "$(nproc)"

quelmctl=build/release/tools/quelmctl/quelmctl
container=$(mktemp -d)
trap 'rm -rf "$container"' EXIT

cat > "$container/sample.json" <<'JSON'
{"items":[
  {"id":"a","title":"my-api (dev)","category":"node","isRunning":true,"port":3000,"startedAt":1700000000},
  {"id":"c","title":"postgres","category":"database","isRunning":false}],
 "groups":[{"id":"group:x","name":"Trabalho","memberCount":3,"runningCount":2,"isActive":true}],
 "sessions":[{"id":"s1","title":"Ajustar o widget","project":"quelm","state":"needsApproval"}],
 "updatedAt":0}
JSON

echo "container: $container/root"
"$quelmctl" --root "$container/root" publish "$container/sample.json" --stamp
"$quelmctl" --root "$container/root" heartbeat
"$quelmctl" --root "$container/root" status
