#!/usr/bin/env bash
# Builds the example of the README as outsiders would, against an installed library in a prefix that was moved, and runs
# it: found by CMake and by pkg-config, shared and static, or taken in as a subdirectory; with both compilers.
set -euo pipefail
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
source "$top/cmake/packages.sh"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$top/README.md" > "$scratch/example.cpp"
warnings=(-Wall -Wextra -Wpedantic -Werror)

quietly() { "$@" > "$scratch/log" 2>&1 || { cat "$scratch/log" >&2; return 1; }; }

# run_example <program> <how it was built>
run_example() {
  local directory=$scratch/run
  mkdir "$directory"
  (cd "$directory" && "$1" > "$scratch/output")
  grep -q 'hello, world' "$scratch/output" || { echo "wrong output ($2)"; cat "$scratch/output"; return 1; }
  rm -r "$directory"
  echo "$2: works"
}

# install <shared|static>: leaves the library in $scratch/moved.
install() {
  local shared=OFF
  [[ $1 == static ]] || shared=ON
  rm -rf "$scratch/moved"
  quietly cmake -S "$top" -B "$scratch/$CXX-$1" -G Ninja -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=$shared \
    -DCMAKE_INSTALL_PREFIX="$scratch/prefix" -DQUILL_BUILD_TESTS=OFF -DQUILL_BUILD_BENCHMARKS=OFF -DQUILL_BUILD_TOOLS=OFF
  quietly cmake --build "$scratch/$CXX-$1" --target install
  mv "$scratch/prefix" "$scratch/moved"
}

# build_with_cmake <how> <option>...
build_with_cmake() {
  local how="$CXX, $1"
  shift
  rm -rf "$scratch/consumer"
  quietly cmake -S "$top/tests/consumers" -B "$scratch/consumer" -G Ninja -DCMAKE_CXX_FLAGS="${warnings[*]}" \
    -DEXAMPLE="$scratch/example.cpp" "$@"
  quietly cmake --build "$scratch/consumer" --target consumer
  run_example "$scratch/consumer/consumer" "$how"
}

# build_with_pkg_config <shared|static>
build_with_pkg_config() {
  local flags option=()
  [[ $1 == shared ]] || option=(--static)
  export PKG_CONFIG_PATH
  PKG_CONFIG_PATH=$(dirname "$(find "$scratch/moved" -name quillfilesystem.pc)")
  flags=$(pkg-config "${option[@]}" --cflags --libs quillfilesystem)
  # shellcheck disable=SC2086 # the flags are words
  "$CXX" -std=c++20 "${warnings[@]}" -o "$scratch/program" "$scratch/example.cpp" $flags
  LD_LIBRARY_PATH=$(pkg-config --variable=libdir quillfilesystem) run_example "$scratch/program" "$CXX, pkg-config $1"
}

for CXX in g++ clang++; do
  export CXX
  for kind in shared static; do
    install "$kind"
    build_with_cmake "find_package $kind" -DCMAKE_PREFIX_PATH="$scratch/moved" -DQUILL_KIND="$kind"
    build_with_pkg_config "$kind"
  done
  build_with_cmake "add_subdirectory" -DQUILL_SOURCE_DIR="$top"
done
