#!/usr/bin/env bash
# Builds the examples against an installed library, runs them and looks at what they did:
#
#   examples/check.sh PREFIX [CMAKE-OPTION...]
#
# CXX chooses the compiler. First of all, the example in the README must be the minimal one.
set -euo pipefail
examples=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
prefix=$(realpath "$1")
shift

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
trap 'echo "examples: line $LINENO failed" >&2' ERR

awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$examples/../README.md" |
  diff - "$examples/minimal/main.cpp"

build() {
  local name
  for name in minimal own_host backup; do
    cmake -S "$examples/$name" -B "$scratch/$name" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror" "$@" || return
    cmake --build "$scratch/$name" || return
  done
}
build "$@" > "$scratch/log" 2>&1 || { cat "$scratch/log" >&2; exit 1; }

cd "$scratch"
[[ $(minimal/minimal) == "hello, world" && ! -e greeting.txt ]]

own_host/own_host > told
grep -q '^    FileDelete(.*/copy)$' told                           # through the table
grep -q '^    SetLastError(3003): not found$' told                 # recorded
grep -q 'false, last error kQuillErrCannotClearDestination$' told  # stored,
if grep -q 'SetLastError(3012)' told; then false; fi               # so nobody saw it

mkdir -p source/deep backups
echo text > source/deep/file
ln -s deep/file source/link
truncate -s 64M source/hole
backup/backup source backups > place
diff -r --no-dereference source "$(sed 's/: 5 items$//' place)"
[[ $(du -sm backups | cut -f 1) -lt 8 ]] # the hole is one in the copy too
rm -r backups/*

# Ctrl-C while the copy makes its second directory.
status=0
strace -o trace -e inject=mkdirat:signal=INT:when=2 backup/backup source backups 2> stopped > place || status=$?
[[ $status -eq 130 && $(cat stopped) == "backup: stopped, nothing is left of it" && -z $(ls -A backups) ]]

if backup/backup missing backups 2> failed; then false; fi
grep -q '^backup: missing: not found' failed
echo "examples${CXX:+ ($CXX)}: work"
