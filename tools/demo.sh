#!/usr/bin/env bash
# Sets up, builds and runs the add-on in the simulated Archicad on the sample building: a short
# session with the menus and an export, then the model sent to and the view extracted for the
# reference service running on loopback. Extra arguments go to the first velmora-sim session.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

velmora_install_packages
velmora_build "$VELMORA_ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_TESTS=OFF

bin="$VELMORA_ROOT/build/bin"
demo_server_pid=

# The add-on's own folder under a demo HOME.
demo_support() {
    echo "$1/Library/Application Support/VelmoraAI/Archicad"
}

# Starts the reference service on a free loopback port with its uploads in STORE and prints
# its address; demo_stop_server (also run on every way out of the script) stops it.
demo_start_server() {
    local store=$1 out=$1/devserver.out line=
    mkdir -p "$store"
    "$bin/velmora-devserver" --port 0 --store "$store" >"$out" 2>&1 &
    demo_server_pid=$!
    for _ in $(seq 100); do
        line=$(head -n 1 "$out" 2>/dev/null || true)
        [[ $line == listening:* ]] && break
        kill -0 "$demo_server_pid" 2>/dev/null || break
        sleep 0.1
    done
    if [[ $line != listening:* ]]; then
        echo "demo: the reference service did not start:" >&2
        cat "$out" >&2
        return 1
    fi
    echo "${line#listening: }"
}

demo_stop_server() {
    if [[ -n $demo_server_pid ]]; then
        kill "$demo_server_pid" 2>/dev/null || true
        wait "$demo_server_pid" 2>/dev/null || true
        demo_server_pid=
    fi
}
trap demo_stop_server EXIT
trap 'exit 130' INT TERM

# Points the add-on in HOME at the service: settings.cfg's API address (and more KEY=VALUE
# lines when given).
demo_point_settings_at() {
    local home=$1 base=$2 support
    shift 2
    support=$(demo_support "$home")
    mkdir -p "$support"
    printf 'apiBaseUrl=%s\n' "$base" >"$support/settings.cfg"
    local extra
    for extra in "$@"; do
        printf '%s\n' "$extra" >>"$support/settings.cfg"
    done
}

# The menus as loaded, the semantic mask toggled off and on again (watch the reports and the
# check mark), the sample building exported to .glb, then where settings.cfg and the log live.
demo_session() {
    local home glb
    home=$(mktemp -d)
    "$bin/velmora-sim" --home "$home" "$@" \
        menus \
        menu:32501:1 menus:32501 \
        menu:32501:1 menus:32501 \
        export \
        paths
    glb="$(demo_support "$home")/logs/last_model.glb"
    if [[ -f $glb ]]; then
        echo
        echo "Exported model: $glb ($(stat -c %s "$glb") bytes)"
    fi
}

# The model sent in three phases, signed in with the service's development token: the
# progress lines, the add-on's report, then what the service kept (the file and its record).
demo_send_model() {
    local home base record
    home=$(mktemp -d)
    base=$(demo_start_server "$home/service-store")
    demo_point_settings_at "$home" "$base"
    echo
    echo "Sending the model to the reference service at $base"
    "$bin/velmora-sim" --home "$home" --token velmora-dev-token send
    demo_stop_server
    echo
    for record in "$home"/service-store/model-*.json; do
        [[ -f $record ]] || continue
        echo "Stored by the service: ${record%.json}.glb ($(stat -c %s "${record%.json}.glb") bytes)"
        cat "$record"
        echo
    done
}

# The 3D view extracted with its mask (tiled to 2048 px, cropped to a 4:3 safe frame) and
# uploaded, then the files the service stored and one picture (view | mask | overlay) to judge
# the mask's alignment at a glance.
demo_extract_view() {
    local home base store view mask
    home=$(mktemp -d)
    store="$home/service-store"
    base=$(demo_start_server "$store")
    demo_point_settings_at "$home" "$base" "includeMask=true"
    echo
    echo "Extracting the sample building's view for the reference service at $base"
    "$bin/velmora-sim" --home "$home" --token velmora-dev-token --window 960x540 \
        --safe-frame 4:3 extract
    demo_stop_server
    echo
    echo "The service stored:"
    ls -l "$store"
    view=$(ls "$store"/extraction-*.jpg 2>/dev/null | head -n 1)
    mask=$(ls "$store"/extraction-*-mask.png 2>/dev/null | head -n 1)
    if [[ -z $view || -z $mask ]]; then
        echo "demo: no view and mask were stored" >&2
        return 1
    fi
    "$bin/velmora-overlay" "$view" "$mask" "$store/view-mask-overlay.png"
}

demo_session "$@"
demo_send_model
demo_extract_view
