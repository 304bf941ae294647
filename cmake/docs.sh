#!/usr/bin/env bash
# Builds the API reference, build/docs/html/index.html, of the headers that the build makes public. A public symbol
# without a comment is an error.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/packages.sh

require_packages doxygen
mkdir -p build
headers=$(sed -n '/FILE_SET HEADERS/,/)/p' CMakeLists.txt | grep -oE '[A-Za-z/]+\.h')
[[ -n $headers ]] || { echo "CMakeLists.txt has no list of public headers any more: mend cmake/docs.sh" >&2; exit 1; }
{ cat docs/Doxyfile; echo "INPUT +=" $headers; } | doxygen -
