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
# too, run by it. With TOVAK_DOC_SHELL (bash) set, so are blocks tagged sh,
# run by it as scripts with -eo pipefail in the project's root, the directory
# of TOVAK_CLI (the tovak tool) first in PATH and TMPDIR a directory the
# PostgreSQL server's user can reach; for them the output block is optional:
# without one, an example need only succeed. Clusters of scripts/dbctl left
# by an example are stopped on exit.
set -euo pipefail
library=$1
include=$2
cc=$3
cxx=$4
read -r -a flags <<<"$5"
shift 5

root=$(cd "$(dirname "$0")/../.." && pwd)
work=$(mktemp -d /tmp/tovak-docs.XXXXXX)
chmod 711 "$work"
mkdir -m 711 "$work/tmp"

# Stops the clusters examples left running, then removes their files.
clean_up() {
  find "$work" -name .tovak-dbctl -printf '%h\n' | while IFS= read -r cluster; do
    "$root/scripts/dbctl" stop "$cluster" || true
  done
  rm -rf "$work"
}
trap clean_up EXIT

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

# Builds and runs one example; its source and expected output (none: any
# output) are files.
check_example() {
  local where=$1 lang=$2 source=$3 expected=$4
  local run=("${source%.*}")
  case $lang in
    python) run=("$TOVAK_PYTHON" "$source") ;;
    sh)
      run=(env -C "$root" PATH="$(dirname "$TOVAK_CLI"):$PATH" TMPDIR="$work/tmp"
           "$TOVAK_DOC_SHELL" -eo pipefail "$source")
      ;;
    *) build_example "$where" "$lang" "$source" || return 1 ;;
  esac
  local status=0
  "${run[@]}" </dev/null >"$source.out" 2>"$source.err" || status=$?
  if [ "$status" -ne 0 ]; then
    echo "$where: exit status $status"
    cat "$source.out" "$source.err"
    return 1
  fi
  if [ -n "$expected" ] && ! diff -u --label expected --label printed "$expected" "$source.out"; then
    echo "$where: output differs"
    return 1
  fi
  echo "$where: ok"
}

# Runs the pending example of check_document whose next block is not its
# output: a shell example need only succeed, any other is an error.
check_unanswered() {
  [ -n "$pending" ] || return 0
  if [ "$pending_lang" = sh ]; then
    check_example "$doc:$pending_start" sh "$pending" "" || failures=$((failures + 1))
  else
    echo "$doc:$pending_start: example without an output block"
    failures=$((failures + 1))
  fi
  pending=""
}

# Reads one document: every example block and the text block after it.
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
        c | cpp | python | sh)
          if { [ "$lang" = python ] && [ -z "${TOVAK_PYTHON:-}" ]; } ||
              { [ "$lang" = sh ] && [ -z "${TOVAK_DOC_SHELL:-}" ]; }; then
            continue
          fi
          check_unanswered
          examples=$((examples + 1))
          pending=$work/example$examples.$(case $lang in c | sh) echo "$lang" ;; python) echo py ;; *) echo cc ;; esac)
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
        *) check_unanswered ;;
      esac
      continue
    fi
    body+="$line"$'\n'
  done <"$doc"
  if [ -n "$fence" ]; then
    echo "$doc:$start: block never closed"
    failures=$((failures + 1))
  fi
  check_unanswered
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
