#!/usr/bin/env bash
# Installs what is missing, then configures and builds into build/.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
cmake --build build -j"$(nproc)"
# The desktop entry, icon and file type, for the current user (no root needed).
if [ -x build/src/trellium-gui ]; then bash scripts/install-desktop.sh build; fi
