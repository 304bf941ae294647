#!/usr/bin/env bash
# The rules of the house that a script can see. Prints every breach; fails when there is one.
set -euo pipefail
shopt -s lastpipe  # report counts in this shell, not in one of its own
cd "$(dirname "${BASH_SOURCE[0]}")/.."

breaches=0

# report <rule>: what standard input holds breaks the rule.
report() {
  local found
  found=$(cat)
  [[ -n $found ]] || return 0
  printf '%s\n%s\n' "$1:" "$found"
  breaches=$((breaches + 1))
}

# What git keeps or would keep, without what has just been deleted.
files() {
  local file
  git ls-files --cached --others --exclude-standard -- "$@" | while read -r file; do
    [[ ! -f $file ]] || echo "$file"
  done
}

sources() { files "$@" | grep -E '\.(h|cpp)$' || true; }

# search <expression>: the lines that match it in the files that standard input names.
search() { xargs -r -d '\n' grep -nIE "$1" /dev/null || true; }

# upward_includes <room> <what its files may include>
upward_includes() {
  sources "$1" | search '^#include "' | grep -vE "#include \"($2)" || true
}

check_includes() {
  local below='host/Export\.h"|platform/darwin/'
  upward_includes platform/darwin "$below" | report 'platform/darwin includes what stands above it'
  upward_includes platform/foundation "$below|platform/foundation/" |
    report 'platform/foundation includes what stands above it'
  upward_includes host 'host/' | report 'host includes what is not the contract'
  below="host/|platform/"
  upward_includes platform/osx "$below" | report 'platform/osx includes what stands above it'
  upward_includes standalone "$below|standalone/" | report 'standalone includes what stands above it'
  upward_includes tools "$below|standalone/|tools/" | report 'tools include tests or benchmarks'
}

check_portability() {
  # The headers of C++ have no suffix; those of C and of systems have one.
  sources host platform/osx | search '^#include <[^>]*\.h>' | report 'The layer includes a system header'
  sources host platform/osx | search '^ *# *(if|ifdef|ifndef|elif|else)\b' | report 'The layer is compiled conditionally'
}

check_functions() {
  sources | xargs awk -v limit=60 -f cmake/long_functions.awk | report 'Functions of more than 60 lines'
}

# The project speaks of itself: not of documents, people and machines around it. The brackets keep this list from
# finding itself.
check_wording() {
  local words='\b[Ss]pec(ification)?\b|\bPart [1-5]\.[0-9]\b|[d]esign\.md|\bissue [0-9]+\b|[D]EVELOPERS'
  words+='|/(work|farm)/|\bsub-?[a]gents?\b|\bhelper [s]ession'
  files | search "$words" | report 'Wording that speaks of what is not the project'
}

# Lines that are not blank, of tests and of everything; benchmarks count for neither.
count_lines() { xargs -r -d '\n' cat | grep -cvE '^[[:space:]]*$' || true; }

print_share_of_tests() {
  local code all tests
  code=$(files | grep -E '\.(h|cpp|py|sh)$|(^|/)(run|check)$|CMakeLists\.txt$|\.cmake$' | grep -v '^bench/')
  all=$(count_lines <<< "$code")
  tests=$(grep '^tests/' <<< "$code" | count_lines)
  local percent=$((100 * tests / all))
  echo "Tests are $tests of $all lines, $percent %."
  [[ $percent -ge 25 && $percent -le 33 ]] || echo "Warning: 25 to 33 % is the aim."
}

check_includes
check_portability
check_functions
check_wording
print_share_of_tests
if [[ $breaches -gt 0 ]]; then
  echo "House rules: $breaches broken."
  exit 1
fi
echo "House rules: all kept."
