#!/usr/bin/env bash
# Sets up, builds and runs the add-on in the simulated Archicad on the sample building, then
# sends the building to the reference service running on loopback.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

velmora_install_packages
velmora_build "$VELMORA_ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_TESTS=OFF

bin="$VELMORA_ROOT/build/bin"

# A short session: the menus as loaded, the semantic mask toggled off and on again (watch
# the reports and the check mark), the sample building exported to .glb, then where
# settings.cfg and the log live.
demo_home="$(mktemp -d)"
"$bin/velmora-sim" --home "$demo_home" "$@" \
    menus \
    menu:32501:1 menus:32501 \
    menu:32501:1 menus:32501 \
    export \
    paths

support="$demo_home/Library/Application Support/VelmoraAI/Archicad"
glb="$support/logs/last_model.glb"
if [[ -f "$glb" ]]; then
    echo
    echo "Exported model: $glb ($(stat -c %s "$glb") bytes)"
fi

# The reference service on a free loopback port, stopped however this script ends.
store="$demo_home/service-store"
server_out="$demo_home/devserver.out"
mkdir -p "$store"
"$bin/velmora-devserver" --port 0 --store "$store" >"$server_out" 2>&1 &
server_pid=$!
trap 'kill "$server_pid" 2>/dev/null || true; wait "$server_pid" 2>/dev/null || true' EXIT
trap 'exit 130' INT TERM
for _ in $(seq 200); do
    [[ -s "$server_out" ]] && break
    kill -0 "$server_pid" 2>/dev/null || break
    sleep 0.05
done
base="$(sed -n '1s/^listening: //p' "$server_out")"
if [[ -z "$base" ]]; then
    cat "$server_out" >&2
    echo "demo: velmora-devserver did not start" >&2
    exit 1
fi

# Point the add-on's API address at it in settings.cfg, then send the model signed in with
# the service's development token: the progress lines, then the add-on's report.
echo
echo "Sending the model to the reference service at $base"
settings="$support/settings.cfg"
mkdir -p "$support"
touch "$settings"
if grep -q '^apiBaseUrl=' "$settings"; then
    sed -i "s|^apiBaseUrl=.*|apiBaseUrl=$base|" "$settings"
else
    echo "apiBaseUrl=$base" >>"$settings"
fi
"$bin/velmora-sim" --home "$demo_home" --token velmora-dev-token send

# What the service kept: the file and its record (begin metadata, PUT, confirmation).
echo
for record in "$store"/model-*.json; do
    [[ -f "$record" ]] || continue
    echo "Stored by the service: ${record%.json}.glb ($(stat -c %s "${record%.json}.glb") bytes)"
    cat "$record"
done
