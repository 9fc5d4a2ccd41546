#!/usr/bin/env bash
# Reruns every benchmark of bench/ in a release build and writes their table into
# docs/benchmarks.md (between the bench-table markers); each benchmark's full output is
# kept in build/bench/results/. The long fuzz run is separate: scripts/fuzz.sh 1800.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build/bench
results=$build/results
doc=docs/benchmarks.md
benches=(sha256_bench hls_parse_bench engine_open_bench remote_start_bench host_cost_bench segment_memory_bench)

bash scripts/setup.sh
cmake --preset linux-release -B "$build" -DQEL_BUILD_BENCH=ON >/dev/null
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target "${benches[@]}" >/dev/null
mkdir -p "$results"

rows=()
for bench in "${benches[@]}"; do
  echo "== $bench"
  cmake --build "$build" --target "run_$bench" 2>&1 | tee "$results/$bench.txt"
  while IFS='|' read -r _ figure ours peer ratio; do
    rows+=("| $figure | $ours | $peer | $ratio | \`cmake --build $build --target run_$bench\` |")
  done < <(grep '^BENCH|' "$results/$bench.txt")
done

table=$(mktemp)
{
  echo "<!-- bench-table: written by scripts/bench.sh; do not edit by hand -->"
  echo "Measured on $(date -u +%Y-%m-%d) by \`bash scripts/bench.sh\` ($(nproc) CPUs, load average $(cut -d" " -f1 /proc/loadavg) at the end: a shared machine)."
  echo "Ratio: our value over the peer's, measured in the same run (below 1: ours is faster)."
  echo
  echo "| figure | ours | peer | ratio | command (after scripts/bench.sh configured the build) |"
  echo "|---|---|---|---|---|"
  printf '%s\n' "${rows[@]}"
  echo "<!-- /bench-table -->"
} > "$table"

# The table replaces the one between the markers, or goes right after the title.
if grep -q '^<!-- bench-table' "$doc"; then
  awk -v table="$table" '
    /^<!-- bench-table/ { while ((getline line < table) > 0) print line; skip = 1; next }
    /^<!-- \/bench-table -->/ { skip = 0; next }
    !skip { print }' "$doc" > "$doc.new"
else
  { head -n 1 "$doc"; echo; cat "$table"; tail -n +2 "$doc"; } > "$doc.new"
fi
mv "$doc.new" "$doc"
rm -f "$table"
echo
echo "docs/benchmarks.md updated:"
sed -n '/<!-- bench-table/,/<!-- \/bench-table/p' "$doc"
