#!/usr/bin/env bash
# Installs what is missing, builds both builds and runs every test of both:
#   native Linux under AddressSanitizer + UBSan, the threaded tests under ThreadSanitizer,
#   the Windows (mingw-w64) build under Wine, a short fuzz run of the playlist readers and the
#   control's persisted layout, and last the demo, the main job as a new user runs it.
# Every stage runs even when an earlier one failed; the exit code is non-zero if any failed.
set -uo pipefail
cd "$(dirname "$0")/.."

jobs=$(nproc 2>/dev/null || echo 2)
failed=()

stage() {
  local name=$1; shift
  echo
  echo "==== $name"
  if ! "$@"; then
    failed+=("$name")
    echo "==== $name: FAILED"
  fi
}

build_and_test() {
  local preset=$1
  cmake --preset "$preset" >/dev/null &&
    cmake --build --preset "$preset" -j "$jobs" &&
    ctest --preset "$preset" -j "$jobs"
}

stage "setup" bash scripts/setup.sh || true
if [ ${#failed[@]} -ne 0 ]; then
  echo "setup failed: cannot build"; exit 1
fi

stage "linux-debug (ASan + UBSan)" build_and_test linux-debug
stage "linux-tsan (threaded code)" build_and_test linux-tsan
stage "windows (mingw-w64, under Wine)" build_and_test windows
if [ -x scripts/fuzz.sh ]; then
  stage "fuzz (60 s per target)" scripts/fuzz.sh 60
fi
stage "demo (scripts/demo.sh)" bash scripts/demo.sh

echo
if [ ${#failed[@]} -ne 0 ]; then
  printf 'FAILED: %s\n' "${failed[@]}"
  exit 1
fi
echo "All stages passed."
