#!/usr/bin/env bash
# Installs what building and testing kalviro needs on a Debian machine, and
# nothing that is already there: apt-get runs only when a package is missing.
# Arguments name further packages (the Arm cross toolchain, say). Another
# apt-get may hold the dpkg lock: wait for it rather than fail.
set -euo pipefail

packages=(
    build-essential
    cmake
    ninja-build
    pkg-config
    googletest
    libgtest-dev
    libgmock-dev
    libbenchmark-dev
    clang-format
    python3-dev
    pybind11-dev
    python3-numpy
    python3-pytest
    libcli11-dev
    libpng-dev
    libtiff-dev
    nlohmann-json3-dev
    libmpfr-dev
    libavcodec-dev
    libavformat-dev
    libswscale-dev
    libavutil-dev
    python3-tifffile
    libcpp-httplib-dev
    chromium
    chromium-driver
    python3-selenium
    "$@"
)

if ! command -v dpkg-query >/dev/null 2>&1; then
    echo "setup: not a Debian system; install these yourself: ${packages[*]}" >&2
    exit 0
fi

missing=()
for p in "${packages[@]}"; do
    status="$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)"
    if [ "$status" != "install ok installed" ]; then
        missing+=("$p")
    fi
done

if [ "${#missing[@]}" -eq 0 ]; then
    echo "setup: all build packages present"
    exit 0
fi

if [ "$(id -u)" -eq 0 ]; then
    as_root=()
elif command -v sudo >/dev/null 2>&1; then
    as_root=(sudo)
else
    echo "setup: missing ${missing[*]}, and neither root nor sudo to install them" >&2
    exit 1
fi

echo "setup: installing ${missing[*]}"
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 update
"${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=600 install -y --no-install-recommends "${missing[@]}"
