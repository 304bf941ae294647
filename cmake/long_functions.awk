# Prints every function of C++ sources whose body, with its signature, is longer than "limit" lines. Braces are counted
# after text and comments have been taken out; a block is a function when a parameter list stands before its brace and
# no keyword of a statement or of a type does.
BEGIN { notAFunction = "^ *(if|else|for|while|do|switch|try|catch|namespace|class|struct|enum)([^a-zA-Z0-9_]|$)" }

FNR == 1 { depth = 0; head = ""; raw = 0 }

{
  line = $0
  if (raw) {
    if (!match(line, /\)[a-zA-Z]*"/)) next
    line = substr(line, RSTART + RLENGTH)
    raw = 0
  }
  gsub(/\\./, "", line)
  gsub(/R"[a-zA-Z]*\([^)]*\)[a-zA-Z]*"/, "", line)
  if (match(line, /R"[a-zA-Z]*\(/)) {
    line = substr(line, 1, RSTART - 1)
    raw = 1
  }
  gsub(/"[^"]*"/, "", line)
  gsub(/'.'/, "", line)
  sub(/\/\/.*/, "", line)
  if (line ~ /^ *#/) next

  for (i = 1; i <= length(line); ++i) {
    character = substr(line, i, 1)
    if (character == "{") {
      ++depth
      begin[depth] = headLine ? headLine : FNR
      isFunction[depth] = head ~ /\)/ && head !~ notAFunction
      head = ""; headLine = 0
    } else if (character == "}") {
      if (isFunction[depth] && FNR - begin[depth] + 1 > limit)
        printf "%s:%d: %d lines\n", FILENAME, begin[depth], FNR - begin[depth] + 1
      --depth
      head = ""; headLine = 0
    } else if (character == ";" && head !~ /^ *for[ (]/) {
      head = ""; headLine = 0
    } else {
      if (!headLine && character != " ") headLine = FNR
      head = head character
    }
  }
}
