#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test.
#   scripts/test.sh            the normal build and test run
#   scripts/test.sh --sanitize also builds and tests under ASan/UBSan
#   scripts/test.sh --long     the long load tests: 60 kills, 100,000 messages
set -euo pipefail
cd "$(dirname "$0")/.."

sanitize=0
for arg in "$@"; do
  case "$arg" in
    --sanitize) sanitize=1 ;;
    --long) export VELMORA_LONG_TESTS=1 ;;
    *) echo "usage: $0 [--sanitize] [--long]" >&2; exit 2 ;;
  esac
done

scripts/setup-deps.sh
scripts/setup-test-servers.sh

run_suite() {
  local dir=$1; shift
  cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
  cmake --build "$dir"
  QT_QPA_PLATFORM=offscreen \
  LSAN_OPTIONS="suppressions=$PWD/tests/lsan.supp${LSAN_OPTIONS:+:$LSAN_OPTIONS}" \
    ctest --test-dir "$dir" --output-on-failure -j2
}

run_suite build
if [ "$sanitize" -eq 1 ]; then
  run_suite build-sanitize -DCMAKE_BUILD_TYPE=Debug -DVELMORA_SANITIZE=ON -DVELMORA_BUILD_BENCH=OFF
fi
