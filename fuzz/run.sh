#!/usr/bin/env bash
# run.sh <seconds> [<target>...]: fuzzes each target for that long, one after the other, and stops at the first finding.
# New corpus files are kept in build/fuzz/corpus, inputs that break a property in build/fuzz/findings.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

seconds=${1:?"usage: run.sh <seconds> [<target>...]"}
shift
targets=("$@")
[[ ${#targets[@]} -gt 0 ]] || targets=(Conversions FileString Names Table URL UserDirectoriesFile)

cmake --preset fuzz
cmake --build --preset fuzz

for target in "${targets[@]}"; do
  corpus=build/fuzz/corpus/$target findings=build/fuzz/findings/$target
  mkdir -p "$corpus" "$findings"
  echo "=== $target"
  "build/fuzz/fuzz/${target}Fuzzer" -max_total_time="$seconds" -dict="fuzz/dictionaries/$target.dict" \
    -artifact_prefix="$findings/" -timeout=10 -print_final_stats=1 "$corpus" "fuzz/corpus/$target"
done
