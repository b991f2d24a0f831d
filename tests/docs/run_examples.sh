#!/usr/bin/env bash
# Compiles and runs the example programs of Markdown documents and compares
# what each prints on standard output with the output block that follows it.
#
#   run_examples.sh LIBRARY INCLUDE_DIR CC CXX "FLAGS" FILE.md...
#
# An example is a fenced block tagged c or cpp: a complete program. The next
# fenced block after it must be tagged text and hold exactly its standard
# output. A program must build without warnings and exit with status 0.
# With TOVAK_PYTHON (an interpreter) set, blocks tagged python are examples
# too, run by it.
set -euo pipefail
library=$1
include=$2
cc=$3
cxx=$4
read -r -a flags <<<"$5"
shift 5

work=$(mktemp -d /tmp/tovak-docs.XXXXXX)
trap 'rm -rf "$work"' EXIT

# The examples use the databases directly: no remote server from the
# caller's environment or configuration file.
unset KOVD_GRPC TOVAK_USER TOVAK_USER_KEY_FILE TOVAK_USER_KEY_PASSPHRASE
export TOVAK_CONFIG=/dev/null

examples=0
failures=0

# Builds a c or cpp example into the file named by its source without suffix.
build_example() {
  local where=$1 lang=$2 source=$3
  local exe=${source%.*}
  local compiler=$cxx std=-std=c++20
  if [ "$lang" = c ]; then
    compiler=$cc
    std=-std=c11
  fi
  if ! "$compiler" "$std" -Wall -Wextra -Werror "${flags[@]}" -I"$include" -o "$exe" "$source" \
      "$library" -Wl,-rpath,"$(dirname "$library")" 2>"$exe.build"; then
    echo "$where: does not build"
    cat "$exe.build"
    return 1
  fi
}

# Builds and runs one example; its source and expected output are files.
check_example() {
  local where=$1 lang=$2 source=$3 expected=$4
  local run=("${source%.*}")
  if [ "$lang" = python ]; then
    run=("$TOVAK_PYTHON" "$source")
  else
    build_example "$where" "$lang" "$source" || return 1
  fi
  local status=0
  "${run[@]}" >"$source.out" 2>"$source.err" || status=$?
  if [ "$status" -ne 0 ]; then
    echo "$where: exit status $status"
    cat "$source.out" "$source.err"
    return 1
  fi
  if ! diff -u --label expected --label printed "$expected" "$source.out"; then
    echo "$where: output differs"
    return 1
  fi
  echo "$where: ok"
}

# Reads one document: every c/cpp block and the text block after it.
check_document() {
  local doc=$1
  local line number=0 fence="" lang="" start=0 pending="" pending_lang="" pending_start=0
  local body=""
  while IFS= read -r line || [ -n "$line" ]; do
    number=$((number + 1))
    if [ -z "$fence" ]; then
      if [[ $line =~ ^\`\`\`([A-Za-z0-9_+-]*)[[:space:]]*$ ]]; then
        fence=open
        lang=${BASH_REMATCH[1]}
        start=$number
        body=""
      fi
      continue
    fi
    if [[ $line =~ ^\`\`\`[[:space:]]*$ ]]; then
      fence=""
      case $lang in
        c | cpp | python)
          if [ "$lang" = python ] && [ -z "${TOVAK_PYTHON:-}" ]; then
            continue
          fi
          if [ -n "$pending" ]; then
            echo "$doc:$pending_start: example without an output block"
            failures=$((failures + 1))
          fi
          examples=$((examples + 1))
          pending=$work/example$examples.$(case $lang in c) echo c ;; python) echo py ;; *) echo cc ;; esac)
          printf '%s' "$body" >"$pending"
          pending_lang=$lang
          pending_start=$start
          ;;
        text)
          if [ -n "$pending" ]; then
            printf '%s' "$body" >"$pending.expected"
            check_example "$doc:$pending_start" "$pending_lang" "$pending" "$pending.expected" ||
              failures=$((failures + 1))
            pending=""
          fi
          ;;
        *)
          if [ -n "$pending" ]; then
            echo "$doc:$pending_start: example without an output block"
            failures=$((failures + 1))
            pending=""
          fi
          ;;
      esac
      continue
    fi
    body+="$line"$'\n'
  done <"$doc"
  if [ -n "$fence" ]; then
    echo "$doc:$start: block never closed"
    failures=$((failures + 1))
  fi
  if [ -n "$pending" ]; then
    echo "$doc:$pending_start: example without an output block"
    failures=$((failures + 1))
  fi
}

for doc in "$@"; do
  check_document "$doc"
done

if [ "$examples" -eq 0 ]; then
  echo "no examples found in: $*"
  exit 1
fi
echo "$examples examples, $failures failed"
[ "$failures" -eq 0 ]
