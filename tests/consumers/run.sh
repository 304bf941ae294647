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

# install <preset>: builds it and leaves the library in $scratch/moved.
install() {
  rm -rf "$scratch/moved"
  (cd "$top" && quietly build_preset "$1" && quietly cmake --install "build/$1" --prefix "$scratch/prefix")
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

# build_with_pkg_config <shared|static> [<program>]
build_with_pkg_config() {
  local flags option=() program=${2:-$scratch/example.cpp}
  [[ $1 == shared ]] || option=(--static)
  export PKG_CONFIG_PATH
  PKG_CONFIG_PATH=$(dirname "$(find "$scratch/moved" -name quillfilesystem.pc)")
  flags=$(pkg-config "${option[@]}" --cflags --libs quillfilesystem)
  # shellcheck disable=SC2086 # the flags are words
  "$CXX" -std=c++20 "${warnings[@]}" -o "$scratch/program" "$program" $flags
  LD_LIBRARY_PATH=$(pkg-config --variable=libdir quillfilesystem) run_example "$scratch/program" "$CXX, pkg-config $1, $(basename "$program")"
}

# check_global_names: every external name of the static library is in our namespace, the contract's, or a template of the
# standard library's, which the linker merges.
check_global_names() {
  local contract='CoreFileManager|OSXFile(Manager|Iterator|SystemUtils)|FILEWrapper|TrivialVolumeIterator|QuillFile(Base|String)'
  contract+='|IQuillFile(ReadOnly|ReadWriteTemp|AppendOnly)|IFileIterator|Ravel|ValidateFileOpenFlags|_FileExists'
  local own
  own=$(nm -C --defined-only --extern-only "$(find "$scratch/moved" -name 'libquillfilesystem.a')" |
    sed -nE 's/^[0-9a-f]+ [BDRTVWu] //p' |
    sed -E 's/^((non-)?virtual thunk|vtable|typeinfo( name)?|guard variable|construction vtable) (to|for) //' |
    grep -vE "^([A-Za-z0-9_:*&]+ )?(quill|$contract)(::|\\(|$)|(^|[ &])(std|__gnu_cxx|__cxxabiv1|icu_[0-9]+)::|^operator (new|delete)|^DW\.ref\." | sort -u || true)
  [[ -z $own ]] || { printf 'Names of ours outside the namespace quill:\n%s\n' "$own"; return 1; }
  echo "Global names of our own: none"
}

# try_names: a program with its own definitions of everything that was once ours.
try_names() {
  build_with_pkg_config static "$top/tests/consumers/own_names.cpp"
}

# try_installed <shared|static>
try_installed() {
  build_with_cmake "find_package $1" -DCMAKE_PREFIX_PATH="$scratch/moved" -DQUILL_KIND="$1"
  build_with_pkg_config "$1"
  "$top/examples/check.sh" "$scratch/moved"
}

export CXX=g++
install debug
check_global_names
try_names
try_installed static
install package
try_installed shared
build_with_cmake add_subdirectory -DQUILL_SOURCE_DIR="$top"

export CXX=clang++
install clang
try_names
try_installed static
install clang-shared
try_installed shared
build_with_cmake add_subdirectory -DQUILL_SOURCE_DIR="$top"
