#!/usr/bin/env bash
# Installs what is missing, builds the `velmora` command and runs its demo on
# the bundled example mail (in a temporary folder; your own data is untouched).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/setup-deps.sh
cmake -S . -B build -G Ninja >/dev/null
cmake --build build --target velmora
build/src/app/velmora demo "$@"
