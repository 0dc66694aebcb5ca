#!/usr/bin/env bash
# Shared set-up for run.sh and test.sh: install missing Debian packages,
# prepare a runtime folder, and configure/build a CMake tree.
# Sourced, not executed.

VELUTRA_PACKAGES=(
    build-essential cmake ninja-build pkg-config
    qtbase5-dev libqt5serialport5-dev qttools5-dev qttools5-dev-tools libqt5charts5-dev
    fonts-dejavu-core
    xvfb xauth x11-apps imagemagick
    clang-14 libclang-rt-14-dev
    valgrind
)

velutra_missing_packages() {
    local missing=()
    local pkg
    for pkg in "${VELUTRA_PACKAGES[@]}"; do
        if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q 'install ok installed'; then
            missing+=("$pkg")
        fi
    done
    echo "${missing[@]}"
}

velutra_install_packages() {
    local missing
    missing=$(velutra_missing_packages)
    if [ -z "$missing" ]; then
        return 0
    fi
    local cmd="apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends $missing"
    if [ "$(id -u)" -ne 0 ]; then
        echo "These Debian packages are missing: $missing" >&2
        echo "Install them as root with:" >&2
        echo "  sudo sh -c '$cmd'" >&2
        return 1
    fi
    echo "Installing Debian packages: $missing"
    apt-get update -qq || return 1
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing || return 1
}

velutra_runtime_dir() {
    if [ -z "${XDG_RUNTIME_DIR:-}" ] || [ ! -d "${XDG_RUNTIME_DIR}" ] || [ ! -w "${XDG_RUNTIME_DIR}" ]; then
        export XDG_RUNTIME_DIR="/tmp/velutra-runtime-$(id -u)"
    fi
    mkdir -p "$XDG_RUNTIME_DIR"
    chmod 0700 "$XDG_RUNTIME_DIR"
    export QT_FONT_DPI=96
}
