#!/bin/sh
# A cluster made by the scripts of schema version 1 (from the git history), upgraded by dbctl start,
# holds exactly what a new one holds and answers the demo lookups; a newer version is refused.
#   upgrade_test.sh SOURCE_DIR WORK_DIR DB_TEST
set -eu
src=$1 work=$2 db_test=$3 dbctl=$1/scripts/dbctl
git -C "$src" cat-file -e 494fe56 2>/dev/null || { echo "no git history: skipped"; exit 77; }
owner=; [ "$(id -u)" != 0 ] || owner="runuser -u ${TOVAK_PG_USER:-postgres} --"
cleanup() {
  for c in old new; do "$dbctl" stop --remove "$work-$c" 2>/dev/null || true; done
  rm -rf "$work-v1"
}
trap cleanup EXIT
cleanup
mkdir -p "$work-v1" && git -C "$src" archive 494fe56 db scripts/dbctl | tar -x -C "$work-v1"
"$work-v1/scripts/dbctl" start "$work-old" "$src/tests/db/odd_data.sql" >/dev/null
"$dbctl" start "$work-old" >/dev/null
"$dbctl" start "$work-new" "$src/tests/db/odd_data.sql" >/dev/null
# The catalog version counts the loading's writes, which the old cluster made before it had one;
# its demo data predates the shot log; a dump's restrict key is random.
for db in index setup; do
  for c in old new; do
    $owner pg_dump -h "$work-$c/socket" -d $db --exclude-table-data=catalog_change \
      --exclude-table-data=recorded_shot | grep -v '^\\\(un\)\{0,1\}restrict ' >"$work-v1/$c.sql"
  done
  diff -u "$work-v1/new.sql" "$work-v1/old.sql" || { echo "$db differs"; exit 1; }
done
PGHOST=$work-old/socket "$db_test" --gtest_filter=DbTest.ColumnsAndStatusesOfEveryQuery
$owner psql -X -q -h "$work-new/socket" -d setup -c "UPDATE schema_version SET version = version + 1"
! "$dbctl" start "$work-new" 2>"$work-v1/refused" || { echo "a newer version was accepted"; exit 1; }
grep -q "schema version [0-9]*, newer .* dbctl start --fresh $work-new" "$work-v1/refused" ||
  { cat "$work-v1/refused"; exit 1; }
