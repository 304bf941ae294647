#!/usr/bin/env bash
# Builds the API reference, build/docs/html/index.html. A public symbol without a comment is an error.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source cmake/packages.sh

require_packages doxygen
mkdir -p build
doxygen docs/Doxyfile
