#!/usr/bin/env bash
# Makes the Debian packages in build/package, and once more from another place to compare them; asks lintian; compares
# what the library exports with cmake/exported_symbols.txt (--update rewrites that list) and its binary interface with
# the last release's.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/packages.sh

list=cmake/exported_symbols.txt
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
SOURCE_DATE_EPOCH=$(git log -1 --format=%ct)
export SOURCE_DATE_EPOCH

quietly() { "$@" > "$scratch/log" 2>&1 || { cat "$scratch/log" >&2; return 1; }; }

# make_packages <source> <destination>
make_packages() {
  (cd "$1" && quietly build_preset package && cd build/package && quietly cpack -B "$2")
}

# Functions, objects and tables of the project's own; what templates of the standard library leave behind is not ours.
exported_symbols() {
  nm --dynamic --defined-only "$1" | cut -d ' ' -f 3 | grep -vE '^_Z(T[ISV]|Z)?N?K?(S[a-z]|9__gnu_cxx|10__cxxabiv1)|^_(init|fini)$' |
    c++filt | LC_ALL=C sort -u
}

check_symbols() {
  exported_symbols build/package/libquillfilesystem.so > "$scratch/symbols"
  if [[ ${1:-} == --update ]]; then
    cp "$scratch/symbols" "$list"
  fi
  diff -u "$list" "$scratch/symbols" || {
    echo "The exported symbols differ from $list. If that is meant: cmake/check_packages.sh --update"
    return 1
  }
  echo "Exported symbols: $(wc -l < "$list"), as listed."
}

# An empty part of such a path is the current directory, where anybody may have put a library.
check_library_paths() {
  local program
  for program in build/{debug,package}/tools/quillfs/quillfs; do
    [[ -f $program ]] || continue
    ! readelf --dynamic "$program" | grep -E '(RPATH|RUNPATH).*(\[:|::|:\]|\[\])' || { echo "$program: looks for libraries in the current directory"; return 1; }
  done
}

check_reproducibility() {
  mkdir "$scratch/copy"
  git ls-files --cached --others --exclude-standard | xargs -d '\n' cp --parents --target-directory="$scratch/copy"
  make_packages "$scratch/copy" "$scratch/second"
  local package
  for package in "$scratch/first"/*.deb; do
    cmp "$package" "$scratch/second/$(basename "$package")"
  done
  echo "Packages: the same from both places."
}

# build_for_comparison <source>: prints the path of a library with debugging information.
build_for_comparison() {
  quietly cmake -S "$1" -B "$1/build/abi" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_SHARED_LIBS=ON \
    -DQUILL_BUILD_TESTS=OFF -DQUILL_BUILD_BENCHMARKS=OFF -DQUILL_BUILD_TOOLS=OFF
  quietly cmake --build "$1/build/abi"
  echo "$1/build/abi/libquillfilesystem.so"
}

check_binary_interface() {
  local tag result=0 old new
  tag=$(git describe --tags --abbrev=0 2> /dev/null) || {
    echo "Binary interface: nothing to compare with, there is no release yet."
    return
  }
  mkdir "$scratch/release"
  git archive "$tag" | tar -x -C "$scratch/release"
  old=$(build_for_comparison "$scratch/release")
  new=$(build_for_comparison "$PWD")
  abidiff "$old" "$new" > "$scratch/abi" || result=$?
  [[ $((result & 11)) -eq 0 ]] || { # 1 and 2: it could not be compared; 8: programs would break
    cat "$scratch/abi"
    echo "The binary interface of $tag is broken: a new major version is needed."
    return 1
  }
  echo "Binary interface: programs built with $tag go on working."
}

require_packages "${kPackagePackages[@]}"
make_packages . "$scratch/first"
cp "$scratch/first"/*.deb build/package/
lintian --allow-root --fail-on error "$scratch/first"/*.deb
check_symbols "$@"
check_library_paths
check_reproducibility
check_binary_interface
