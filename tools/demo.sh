#!/usr/bin/env bash
# Sets up, builds and runs the add-on in the simulated Archicad on the sample building.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

velmora_install_packages
velmora_build "$VELMORA_ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_TESTS=OFF

# A short session: the menus as loaded, the semantic mask toggled off and on again (watch
# the reports and the check mark), the sample building exported to .glb, then where
# settings.cfg and the log live.
demo_home="$(mktemp -d)"
"$VELMORA_ROOT/build/bin/velmora-sim" --home "$demo_home" "$@" \
    menus \
    menu:32501:1 menus:32501 \
    menu:32501:1 menus:32501 \
    export \
    paths

glb="$demo_home/Library/Application Support/VelmoraAI/Archicad/logs/last_model.glb"
if [[ -f "$glb" ]]; then
    echo
    echo "Exported model: $glb ($(stat -c %s "$glb") bytes)"
fi

# The sample building's 3D view extracted with its mask and uploaded to the reference service
# (started here on a free port, stopped on every way out), then the files the service stored
# and one picture (view | mask | overlay) to judge the mask's alignment at a glance.
demo_extract_view() {
    local bin="$VELMORA_ROOT/build/bin"
    local home store settings port line
    home="$(mktemp -d)"
    store="$home/uploads"
    settings="$home/Library/Application Support/VelmoraAI/Archicad"
    mkdir -p "$store" "$settings"

    "$bin/velmora-devserver" --port 0 --store "$store" >"$home/devserver.out" 2>&1 &
    demo_server_pid=$!
    trap demo_stop_server EXIT
    for _ in $(seq 100); do
        line=$(head -n 1 "$home/devserver.out" 2>/dev/null || true)
        [[ $line == listening:* ]] && break
        sleep 0.1
    done
    if [[ $line != listening:* ]]; then
        echo "demo: the reference service did not start:" >&2
        cat "$home/devserver.out" >&2
        return 1
    fi
    port=${line##*:}
    printf 'apiBaseUrl=http://127.0.0.1:%s\nincludeMask=true\n' "$port" >"$settings/settings.cfg"

    echo
    echo "Extracting the sample building's view against the reference service on port $port"
    "$bin/velmora-sim" --home "$home" --token velmora-dev-token --window 960x540 \
        --safe-frame 4:3 extract
    demo_stop_server
    trap - EXIT

    echo
    echo "The service stored:"
    ls -l "$store"
    local view mask
    view=$(ls "$store"/extraction-*.jpg 2>/dev/null | head -n 1)
    mask=$(ls "$store"/extraction-*-mask.png 2>/dev/null | head -n 1)
    if [[ -z $view || -z $mask ]]; then
        echo "demo: no view and mask were stored" >&2
        return 1
    fi
    "$bin/velmora-overlay" "$view" "$mask" "$store/view-mask-overlay.png"
}

demo_stop_server() {
    if [[ -n ${demo_server_pid:-} ]]; then
        kill "$demo_server_pid" 2>/dev/null || true
        wait "$demo_server_pid" 2>/dev/null || true
        demo_server_pid=
    fi
}

demo_extract_view
