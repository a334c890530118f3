#!/usr/bin/env bash
# Installs the Debian 12 packages Velmora builds against, skipping any that
# are already present. Run as root (or with sudo available).
set -euo pipefail

packages=(
  g++ cmake ninja-build pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-image-formats-plugins qt6-qpa-plugins
  xvfb xauth
  libgmime-3.0-dev
  libsecret-1-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  # scripts/fuzz.sh: clang with its sanitizer and libFuzzer runtimes, and the
  # symbolizer that puts names and lines in their reports
  clang libclang-rt-14-dev llvm-14
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done

if [ ${#missing[@]} -eq 0 ]; then
  echo "setup-deps: all packages present"
  exit 0
fi

SUDO=""
[ "$(id -u)" -eq 0 ] || SUDO="sudo"
echo "setup-deps: installing ${missing[*]}"
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
