#!/usr/bin/env bash
# Sets up, builds and runs the add-on in the simulated Archicad on the sample building.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/setup.sh"

velmora_install_packages
velmora_build "$VELMORA_ROOT/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DVELMORA_TESTS=OFF

# A short session: the menus as loaded, the semantic mask toggled off and on again (watch
# the reports and the check mark), then where settings.cfg and the log live.
"$VELMORA_ROOT/build/bin/velmora-sim" "$@" \
    menus \
    menu:32501:1 menus:32501 \
    menu:32501:1 menus:32501 \
    paths
