#!/usr/bin/env bash
# Builds the libFuzzer programs of fuzz/ with clang in build-fuzz/ and runs
# each of them for SECONDS seconds.
#   scripts/fuzz.sh SECONDS
#
# Each program first replays the inputs that once made it fail
# (fuzz/regressions/<name>/), then fuzzes from a copy of its seed inputs
# (fuzz/corpus/<name>/) in a scratch folder, so the committed seeds never
# grow, with the tokens of fuzz/dict/<name>.dict when there is one. The first
# failure stops the run: the script names the program and the file holding
# the failing input, and prints the end of the program's log.
# Logs and failing inputs stay in build-fuzz/fuzz-runs/<name>/.
set -euo pipefail
cd "$(dirname "$0")/.."

if [ $# -ne 1 ] || ! [[ "$1" =~ ^[1-9][0-9]*$ ]]; then
  echo "usage: $0 SECONDS" >&2
  exit 2
fi
seconds=$1

scripts/setup-deps.sh

# A debug build, so that Qt's and our assertions hold, but optimised a little
# and with line tables only, which is enough for the sanitizers' stack traces:
# it builds faster than a full optimised build with debug information.
build=build-fuzz
cmake -S . -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=/usr/bin/clang++ \
  -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-O1 -gline-tables-only" \
  -DVELMORA_FUZZ=ON -DVELMORA_BUILD_TESTS=OFF -DVELMORA_BUILD_BENCH=OFF >/dev/null
cmake --build "$build" --target velmora_fuzzers -j 2

export ASAN_SYMBOLIZER_PATH=/usr/lib/llvm-14/bin/llvm-symbolizer
export UBSAN_OPTIONS="print_stacktrace=1${UBSAN_OPTIONS:+:$UBSAN_OPTIONS}"

# The routines flush every file they save to disk; on a RAM disk, where that
# costs nothing, the programs run some twenty times as many inputs.
scratch=$(mktemp -d -p /dev/shm 2>/dev/null || mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch

# Prints why program $1 failed, with its log $2 and the input in file $3.
report_failure() {
  local name=$1 log=$2 input=$3
  echo
  tail -n 60 "$log"
  echo
  echo "fuzz.sh: FAILED: fuzz_$name"
  echo "fuzz.sh: failing input: $input"
  echo "fuzz.sh: replay it with: $build/fuzz/fuzz_$name $input"
  echo "fuzz.sh: full log: $log"
}

# Replays the regression inputs of program $1, then fuzzes it. Returns 1 on
# a failure, after reporting it.
fuzz_one() {
  local name=$1
  local program="$build/fuzz/fuzz_$name"
  local runs="$build/fuzz-runs/$name"
  rm -rf "$runs"
  mkdir -p "$runs"
  if [ ! -x "$program" ]; then
    echo "fuzz.sh: fuzz/corpus/$name has no program $program" >&2
    return 1
  fi

  shopt -s nullglob
  local regressions=(fuzz/regressions/"$name"/*)
  shopt -u nullglob
  if [ ${#regressions[@]} -gt 0 ]; then
    echo "fuzz.sh: fuzz_$name: replaying ${#regressions[@]} regression input(s)"
    local input
    for input in "${regressions[@]}"; do
      if ! "$program" -artifact_prefix="$runs/" "$input" >"$runs/regressions.log" 2>&1; then
        report_failure "$name" "$runs/regressions.log" "$input"
        return 1
      fi
    done
  fi

  echo "fuzz.sh: fuzz_$name: fuzzing for ${seconds}s"
  mkdir -p "$scratch/$name"
  cp "fuzz/corpus/$name/"* "$scratch/$name/"
  local options=(-max_total_time="$seconds" -timeout=25 -artifact_prefix="$runs/")
  if [ -f "fuzz/dict/$name.dict" ]; then
    options+=(-dict="fuzz/dict/$name.dict")
  fi
  if ! "$program" "${options[@]}" "$scratch/$name" >"$runs/fuzz.log" 2>&1; then
    local found
    found=$(find "$runs" -maxdepth 1 -type f ! -name '*.log' | head -n 1)
    report_failure "$name" "$runs/fuzz.log" "${found:-(none written; see the log)}"
    return 1
  fi
  grep -E '^Done [0-9]+ runs' "$runs/fuzz.log" | sed "s/^/fuzz.sh: fuzz_$name: /" || true
}

# Two programs at a time, one per core.
names=()
for corpus in fuzz/corpus/*/; do
  names+=("$(basename "$corpus")")
done
for ((i = 0; i < ${#names[@]}; i += 2)); do
  fuzz_one "${names[i]}" &
  first=$!
  second=""
  if [ $((i + 1)) -lt ${#names[@]} ]; then
    fuzz_one "${names[i + 1]}" &
    second=$!
  fi
  failed=0
  wait "$first" || failed=1
  if [ -n "$second" ]; then
    wait "$second" || failed=1
  fi
  [ "$failed" -eq 0 ] || exit 1
done
echo "fuzz.sh: no failures"
