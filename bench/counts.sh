#!/usr/bin/env bash
# counts.sh <CountDriver>: counts the system calls and allocations of every operation and compares them with the budgets
# that the driver names. Exit 1 when one is exceeded, 77 when this machine forbids tracing.
set -euo pipefail
driver=$1
trace=$(mktemp)
trap 'rm -f "$trace"' EXIT

if ! command -v strace > /dev/null || ! strace -o "$trace" true 2> /dev/null; then
  echo "SKIPPED: strace may not trace here, so system calls are not counted. Allocations alone:"
  "$driver" | awk -F'|' '
    { printf "%-42s %8d of %s\n", $1, $2, $3 == 999999 ? "-" : $3; if ($2 > $3) broken = 1 }
    END { exit broken }'
  exit 77
fi

# How often getdents64 is called depends on the file system, so it is counted separately. getrandom is not counted: for
# the name of a temporary file the C library repeats it until the random number is in range.
strace -qq -s 200 -o "$trace" "$driver" > /dev/null
awk '
  function limit(budget) { return budget == 999999 ? "-" : budget }
  BEGIN { printf "%-42s %6s %12s %6s %12s\n", "operation", "items", "calls", "lists", "allocations" }
  /^write\(-1, "begin/ {
    split($0, begin, /[|"]/)
    operation = begin[3]; calls = 0; lists = 0; made = ""
    counting = 1
    next
  }
  /^write\(-1, "end/ {
    split($0, end, /[|"]/)
    over = calls > begin[5] || end[3] > begin[6] + 0 || lists > begin[7] + 0
    printf "%-42s %6d %5d of %3s %6d %5d of %3s%s\n", operation, begin[4], calls, limit(begin[5]), lists, end[3],
      limit(begin[6]), over ? "  EXCEEDED" : ""
    if (over) { broken = 1; print made }
    counting = 0; measured++
    next
  }
  counting && /^getdents64/ { lists++; next }
  /^getrandom/ { next }
  counting { calls++; if (calls <= 40) made = made "    " $0 "\n" }
  END {
    if (!measured) { print "No operation was measured."; exit 1 }
    exit broken
  }' "$trace"
