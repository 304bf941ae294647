#!/usr/bin/env bash
# The project's rules that a script can see. Prints every breach and what to do about it; fails when there is one.
set -euo pipefail
shopt -s lastpipe  # report counts in this shell, not in one of its own
cd "$(dirname "${BASH_SOURCE[0]}")/.."

breaches=0

# report <rule, and what to do>: what standard input holds breaks the rule.
report() {
  local found
  found=$(cat)
  [[ -n $found ]] || return 0
  printf '%s:\n%s\n' "$1" "$found"
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

# search_lines <expression>: the lines of standard input that match it.
search_lines() { grep -E "$1" || true; }

# without <expression>: the lines of standard input that do not match it.
without() { grep -vE "$1" || true; }

# What the files of each folder may include, as an expression for the path in quotation marks.
darwin=platform/darwin
declare -A arrows=(
  [host]='host/'
  [$darwin/descriptors]="$darwin/descriptors/"
  [$darwin/names]="$darwin/(descriptors|names)/"
  [$darwin/paths]="$darwin/(descriptors|names|paths)/"
  [$darwin/trees]="host/Export\.h|$darwin/(descriptors|names|trees)/"
  [$darwin/user]="$darwin/(descriptors|names|user)/"
  [platform/foundation]="host/Export\.h|$darwin/|platform/foundation/"
  [platform/osx]='host/|platform/'
  [standalone/bodies]='host/|platform/|standalone/(bodies/|BaseDirectories\.h)'
  [standalone]='host/|platform/|standalone/'
  [tools]='host/|platform/|standalone/|tools/'
)

check_includes() {
  local folder
  for folder in "${!arrows[@]}"; do
    sources "$folder" | search '^ *# *include *("|<(host|platform|standalone|tools)/)' |
      without "#include \"(${arrows[$folder]})([^.\"]|\.[^.])*\"" |
      report "$folder includes what is not below it; move the code, or what it needs, to the folder where it belongs"
  done
  sources host platform standalone tools | xargs -n 1 dirname | sort -u |
    while read -r folder; do [[ -n ${arrows[$folder]-} || $folder == "$darwin" || $folder == tools/* ]] || echo "$folder"; done |
    report 'Folders of which nothing says what they may include; add them to the arrows in cmake/check_rules.sh'
}

check_portability() {
  # The headers of C++ have no suffix; those of C and of systems have one.
  sources host platform/osx | search '^#include <[^>]*\.h>' |
    report 'The layer includes a system header; ask platform/darwin or platform/foundation instead'
  sources host platform/osx | search '^ *# *(if|ifdef|ifndef|elif|else)\b' |
    report 'The layer is compiled conditionally; put the difference into platform/darwin'
}

# A call that is made elsewhere is not repeated after a signal, leaves its descriptor open for other programs, or loses
# its reason. What the objects need from the C library is known for certain only to the linker, so its names are looked
# at: whatever is not listed here is a call.
check_system_calls() {
  local library=build/debug/libquillfilesystem.a within allowed
  [[ -f $library ]] || { echo "Build the preset debug first." | report "No $library to look into"; return 0; }
  within=$(files $darwin/descriptors | sed -nE 's#.*/([A-Za-z]+\.cpp)$#\1#p' | paste -sd '|')
  allowed='_.*|mem(chr|cmp|cpy|move|set)|str(n?cmp|chr|len|ftime)|abort|malloc|free|snprintf|llround|time|localtime_r|inet_pton|stderr'
  allowed+='|getenv|get(pw(nam|uid)_r|uid)|pthread_(key_create|[gs]etspecific|mutex_(un)?lock)|u(norm2|tf8|_|bidi|set|icu).*'
  nm --undefined-only --print-file-name "$library" | without ":($within)\.o:" | sed -E 's/^[^:]*:([^:]*):.* [Uw] /\1: /' |
    without "\.o: ($allowed)$" |
    report "A system call outside $darwin/descriptors; call the function of SystemCalls.h, or add one there"
  nm --undefined-only --print-file-name --demangle "$library" | search_lines 'std::(filesystem|basic_(file|[io]?f)|random_device|thread)' |
    report "A way of the standard library's to files, which loses reasons; call the function of SystemCalls.h"
  sources platform standalone | grep -v "^$darwin/descriptors/" | search '^([^/"]|/[^/])*\berrno\b' |
    report "The global errno is read outside $darwin/descriptors; functions answer an Error"
}

check_sizes() {
  sources | xargs awk -v limit=60 -f cmake/long_functions.awk |
    report 'Functions of more than 60 lines; take a step out, under a name of its own'
  sources host platform standalone tools | xargs wc -l | awk '$1 > 350 && $2 != "total"' |
    report 'Sources of more than 350 lines; look for the second subject in them'
  sources host platform standalone tools | xargs -n 1 dirname | sort | uniq -c | awk '$1 > 32' |
    report 'Folders of more than 32 files; look for the second subject in them'
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

# Of the sources alone: headers are half comment anyway.
print_share_of_comments() {
  local folder
  for folder in $darwin/{descriptors,names,paths,trees,user} platform/foundation platform/osx standalone tools; do
    files "$folder" | grep '\.cpp$' | xargs cat | awk -v folder="$folder" '
      /(^[[:space:]]*|[;{}),][[:space:]]+)\/\/[\/ ]/ { comments++ }
      /[^[:space:]]/ { lines++ }
      END { printf "%s %.0f %%, ", folder, 100 * comments / lines }'
  done | sed 's/^/Comments: /; s/, $/.\n/'
}

check_includes
check_portability
check_system_calls
check_sizes
python3 cmake/check_table.py || breaches=$((breaches + 1))
print_share_of_tests
print_share_of_comments
if [[ $breaches -gt 0 ]]; then
  echo "Project rules: $breaches broken."
  exit 1
fi
echo "Project rules: all kept."
