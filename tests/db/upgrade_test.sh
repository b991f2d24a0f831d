#!/bin/sh
# A cluster made by the scripts of schema version 1 (from the git history) is
# upgraded by dbctl start, then holds exactly what a new cluster holds and
# answers the demo lookups; a newer schema version is refused.
#   upgrade_test.sh SOURCE_DIR WORK_DIR DB_TEST
set -eu
src=$1 work=$2 db_test=$3
dbctl=$src/scripts/dbctl
git -C "$src" cat-file -e 494fe56 2>/dev/null || { echo "no git history: skipped"; exit 77; }
if [ "$(id -u)" = 0 ]; then as_owner="runuser -u ${TOVAK_PG_USER:-postgres} --"; else as_owner=; fi

cleanup() { for d in "$work-old" "$work-new"; do "$dbctl" stop --remove "$d" 2>/dev/null || true; done
            rm -rf "$work-v1"; }
trap cleanup EXIT
cleanup
mkdir -p "$work-v1" "$work-old" "$work-new"
git -C "$src" archive 494fe56 db scripts/dbctl | tar -x -C "$work-v1"
"$work-v1/scripts/dbctl" start "$work-old" "$src/tests/db/odd_data.sql" >/dev/null
"$dbctl" start "$work-old" >/dev/null
"$dbctl" start "$work-new" "$src/tests/db/odd_data.sql" >/dev/null

# The catalog version counts the loading's writes, which the old cluster made
# before it had one; its demo data predates the shot log; a dump's restrict
# key is random.
dump() {
  $as_owner pg_dump -h "$1/socket" -d "$2" --exclude-table-data=catalog_change \
    --exclude-table-data=recorded_shot |
    grep -v '^\\\(un\)\{0,1\}restrict '
}
for database in index setup; do
  dump "$work-old" $database >"$work-v1/old.sql"
  dump "$work-new" $database >"$work-v1/new.sql"
  diff -u "$work-v1/new.sql" "$work-v1/old.sql" || { echo "$database differs"; exit 1; }
done
PGHOST=$work-old/socket "$db_test" --gtest_filter=DbTest.ColumnsAndStatusesOfEveryQuery

$as_owner psql -X -q -h "$work-new/socket" -d setup -c "UPDATE schema_version SET version = version + 1"
if "$dbctl" start "$work-new" 2>"$work-v1/refused"; then
  echo "a newer schema version was accepted"; exit 1
fi
grep -q "schema version [0-9]*, newer .* dbctl start --fresh $work-new" "$work-v1/refused" ||
  { cat "$work-v1/refused"; exit 1; }
