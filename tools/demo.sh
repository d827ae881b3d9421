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
