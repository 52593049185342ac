#!/usr/bin/env bash
# Puts Trellium into the desktop's application menu for the current user: the .desktop entry,
# the icon and the .lcsettings file type, all under ~/.local/share. Needs no root.
set -euo pipefail
cd "$(dirname "$0")/.."
build="${1:-build}"
data="${XDG_DATA_HOME:-$HOME/.local/share}"
exec_path="$(pwd)/$build/src/trellium-gui"

mkdir -p "$data/applications" "$data/icons/hicolor/scalable/apps" "$data/mime/packages"
sed "s|@EXEC@|$exec_path|" data/trellium.desktop.in > "$data/applications/trellium.desktop"
cp data/trellium.svg "$data/icons/hicolor/scalable/apps/trellium.svg"
cp data/trellium-mime.xml "$data/mime/packages/trellium.xml"

# The caches are refreshed where the tools exist; a minimal system or CI runs without them.
command -v update-desktop-database >/dev/null && update-desktop-database -q "$data/applications" || true
command -v update-mime-database >/dev/null && update-mime-database "$data/mime" >/dev/null 2>&1 || true
command -v gtk-update-icon-cache >/dev/null && gtk-update-icon-cache -q -t "$data/icons/hicolor" 2>/dev/null || true
echo "Trellium added to the application menu ($data/applications/trellium.desktop)"
