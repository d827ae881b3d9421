#!/usr/bin/env bash
# Installs what the build, the demo and the tests need on Debian 12, only what is missing.
# Sourced by demo.sh and test.sh; safe to run again.
set -euo pipefail

VELMORA_APT_PACKAGES=(
    g++ clang libclang-rt-14-dev cmake ninja-build pkg-config
    libgtest-dev libgmock-dev libbenchmark-dev
    libjpeg62-turbo-dev libturbojpeg0-dev libpng-dev zlib1g-dev libstb-dev
    nlohmann-json3-dev libtinygltf-dev libmeshoptimizer-dev
    libcurl4-openssl-dev libcpp-httplib-dev libssl-dev nginx curl
    chromium
)

velmora_missing_packages() {
    local pkg
    for pkg in "${VELMORA_APT_PACKAGES[@]}"; do
        dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed' ||
            echo "$pkg"
    done
}

velmora_install_packages() {
    local missing
    missing=$(velmora_missing_packages)
    [ -z "$missing" ] && return 0
    echo "setup: installing $(echo $missing | tr '\n' ' ')"
    local sudo=""
    [ "$(id -u)" -ne 0 ] && sudo="sudo"
    $sudo apt-get update -qq
    # shellcheck disable=SC2086
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
        $missing >/dev/null
}

# The npm packages of tools/js (the glTF validator, playwright-core for Chromium), installed from the lock file only when
# node_modules is missing or older than the lock file. Node and npm come with the machine;
# without them, Debian's packages are installed.
velmora_install_npm() {
    local dir="$VELMORA_ROOT/tools/js"
    if ! command -v npm >/dev/null 2>&1; then
        VELMORA_APT_PACKAGES+=(nodejs npm)
        velmora_install_packages
    fi
    if [ -d "$dir/node_modules" ] && [ "$dir/node_modules" -nt "$dir/package-lock.json" ]; then
        return 0
    fi
    echo "setup: installing npm packages in tools/js"
    (cd "$dir" && npm ci --no-audit --no-fund --loglevel=error >/dev/null) &&
        touch "$dir/node_modules"
}

# velmora_build DIR [cmake options...]: configures once, then builds quietly; the build's
# own output is shown only when it fails.
velmora_build() {
    local dir=$1
    shift
    local log="$dir.log"
    if ! { cmake -S "$VELMORA_ROOT" -B "$dir" -G Ninja "$@" &&
           cmake --build "$dir" -j"$(nproc)"; } >"$log" 2>&1; then
        cat "$log"
        echo "setup: build in $dir failed (log: $log)" >&2
        return 1
    fi
}

VELMORA_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
export VELMORA_ROOT
