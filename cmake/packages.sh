# The Debian packages that the scripts need, and their installation. Sourced by run, check, .ci/run and the scripts here.

kToolPackages=(cmake g++ libcli11-dev libicu-dev ninja-build)
kCheckPackages=("${kToolPackages[@]}" file git libbenchmark-dev libgtest-dev pkgconf python3 strace unicode-data)
kPackagePackages=("${kToolPackages[@]}" abigail-tools dpkg-dev file git lintian)
kCiPackages=("${kCheckPackages[@]}" abigail-tools clang clang-format clang-tidy doxygen dpkg-dev lintian man-db)

# require_packages <package>...: installs what is missing, as root; names it otherwise.
require_packages() {
  command -v dpkg-query > /dev/null || return 0 # not Debian: the tools are expected to be there
  local package missing=()
  for package in "$@"; do
    [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2> /dev/null) == installed ]] ||
      missing+=("$package")
  done
  [[ ${#missing[@]} -gt 0 ]] || return 0
  if [[ $EUID -ne 0 ]]; then
    echo "Some Debian packages are missing. Install them as root, then start this again:" >&2
    echo "  apt-get install --no-install-recommends ${missing[*]}" >&2
    return 1
  fi
  echo "Installing ${missing[*]}" >&2
  apt-get update -qq >&2
  DEBIAN_FRONTEND=noninteractive apt-get install -qq -y --no-install-recommends "${missing[@]}" > /dev/null
}

# The compiler cache, where there is one, speeds up what was built before.
if command -v ccache > /dev/null; then
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi

# build_preset <preset> [<option>...]: configures and builds it.
build_preset() {
  cmake --preset "$@"
  cmake --build --preset "$1" --parallel "$(nproc)"
}
