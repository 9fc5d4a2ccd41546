#!/usr/bin/env bash
# Builds the libFuzzer targets (fuzz/) with clang, ASan and UBSan, and runs each one for
# SECONDS (default 60) from the seed corpus. Exits non-zero when a target finds a crash,
# a leak, a timeout or a broken invariant; the reproducer is left in the work folder.
#
#   scripts/fuzz.sh [SECONDS] [BUILD_DIR]
#   QEL_FUZZ_JOBS=N  runs N fuzzing processes per target (default 1)
#
# The committed corpus is never modified: each run works on a copy in BUILD_DIR/work.
set -euo pipefail

seconds=${1:-60}
root=$(cd "$(dirname "$0")/.." && pwd)
build=${2:-$root/build/fuzz}
jobs=${QEL_FUZZ_JOBS:-1}

cmake -S "$root/fuzz" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ >/dev/null
cmake --build "$build" -j2 >/dev/null

work=$build/work
rm -rf "$work"
mkdir -p "$work/parse" "$work/packed" "$work/persist" "$work/artifacts"
cp "$root"/fuzz/corpus/* "$work/parse/"
cp "$root"/fuzz/corpus_persist/* "$work/persist/"
cp "$root"/fuzz/corpus/* "$work/packed/"
"$build/make_packed_seeds" "$work/packed" "$root"/fuzz/corpus/*

status=0
for target in hls_parse_fuzzer packed_playlist_fuzzer persist_layout_fuzzer; do
  # The playlist readers get the HLS dictionary; the layout reader may allocate no more
  # than its input describes.
  extra=(-dict="$root/fuzz/hls.dict")
  case $target in
    hls_parse_fuzzer) corpus=$work/parse ;;
    packed_playlist_fuzzer) corpus=$work/packed ;;
    *) corpus=$work/persist; extra=(-malloc_limit_mb=16) ;;
  esac
  log=$work/$target.log
  echo "fuzz: $target for ${seconds}s"
  args=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=65536
        "${extra[@]}" -print_final_stats=1
        -artifact_prefix="$work/artifacts/$target-")
  set +e
  if [ "$jobs" -gt 1 ]; then
    "$build/$target" "${args[@]}" -fork="$jobs" "$corpus" >"$log" 2>&1
  else
    "$build/$target" "${args[@]}" "$corpus" >"$log" 2>&1
  fi
  rc=$?
  set -e
  # The last status line carries the executions and the rate; the final stats the totals.
  grep -E '^#[0-9]+' "$log" | tail -n 1 || true
  grep -E '^stat::(number_of_executed_units|average_exec_per_sec|peak_rss_mb)' "$log" || true
  if [ $rc -ne 0 ]; then
    echo "fuzz: $target FAILED (exit $rc); log $log, artifacts in $work/artifacts" >&2
    tail -n 40 "$log" >&2
    status=1
  fi
done
exit $status
