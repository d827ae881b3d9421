#!/usr/bin/env bash
# Sets up, builds and runs the add-on in the simulated Archicad on the sample building.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

velmora_install_packages
velmora_build "$VELMORA_ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_TESTS=OFF

# --browser: the panel's page in headless Chromium against the reference service on a free
# port: show the panel, sign in, extract the view, and save a screenshot of the page.
demo_browser() {
    velmora_install_npm
    local home store log port=""
    home="$(mktemp -d)"
    store="$home/uploads"
    log="$home/devserver.log"
    "$VELMORA_ROOT/build/bin/velmora-devserver" --port 0 --store "$store" >"$log" 2>&1 &
    demo_devserver_pid=$!
    trap 'kill "$demo_devserver_pid" 2>/dev/null || true' EXIT
    for _ in $(seq 100); do
        port=$(sed -n 's/^listening: http:\/\/127.0.0.1:\([0-9]*\)$/\1/p' "$log")
        [[ -n "$port" ]] && break
        sleep 0.1
    done
    if [[ -z "$port" ]]; then
        cat "$log"
        echo "demo: the reference service did not start" >&2
        return 1
    fi
    local support="$home/Library/Application Support/VelmoraAI/Archicad"
    mkdir -p "$support"
    printf 'webAppUrl=http://127.0.0.1:%s/app/?embed=archicad\napiBaseUrl=http://127.0.0.1:%s\n' \
        "$port" "$port" >"$support/settings.cfg"
    local screenshot="$home/panel.png"
    "$VELMORA_ROOT/build/bin/velmora-sim" --home "$home" --browser \
        menu:32500:1 \
        'browser:wait:window.__appReady === true && !!window.velmora' \
        'browser:click:#sign-in' \
        'browser:wait:window.velmora.getAuthToken().then(function (t) { return t.length > 0; })' \
        'browser:click:#extract' \
        "browser:wait:window.__events.some(function (e) { return e.action !== 'extractionProgress'; })" \
        "browser:wait:!document.getElementById('result').classList.contains('empty')" \
        "browser:screenshot:$screenshot"
    echo
    echo "Uploads received by the reference service: $store"
    echo "Panel screenshot: $screenshot"
}

if [[ "${1:-}" == "--browser" ]]; then
    shift
    demo_browser "$@"
    exit
fi

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
