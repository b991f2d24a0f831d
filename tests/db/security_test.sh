#!/bin/bash
# The site roles only read, whatever their sessions ask; a cluster on TCP is reached over verified
# TLS only, with the password a site chose from libpq's password file; dbctl keeps its directories
# to their owner.
#   security_test.sh SOURCE_DIR WORK_DIR TOVAK_TOOL
set -eu
work=$2 tool=$3 dbctl=$1/scripts/dbctl
fail() { echo "FAILED: $*"; exit 1; }
# A loopback address of this work directory's own: runs side by side do not meet on port 5432,
# unless a server listens on every address.
sum=$(printf '%s' "$work" | cksum | cut -d ' ' -f 1)
address=127.$((sum % 200 + 20)).$((sum / 200 % 250 + 1)).1
if (exec 3<>"/dev/tcp/$address/5432") 2>/dev/null; then echo "$address:5432 is taken: skipped"; exit 77; fi
trap '"$dbctl" stop --remove "$work" 2>/dev/null; rm -rf "$work-home"' EXIT
mkdir -p "$work-home"
eval "$("$dbctl" start --fresh --tcp "$address" "$work")"
[ "$(stat -c %a "$PGHOST")" = 700 ] || fail "the socket directory is open to others"
as_owner() { if [ "$(id -u)" = 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi; }
superuser() { as_owner psql -X -qAt -d index -c "$1"; }
refused=$(PGPASSWORD=19981107quorblex3 psql -X -q -h "$PGHOST" -U ubo -d index 2>&1 \
  -c "SET default_transaction_read_only = off" -c "DELETE FROM schema_version" || true)
[[ $refused == *"permission denied"* ]] || fail "a site role wrote: $refused"
[ "$(superuser "SELECT rolconnlimit, array_to_string(rolconfig, ' ') FROM pg_roles WHERE rolname = 'ubo'")" = \
  "40|default_transaction_read_only=on statement_timeout=60s idle_in_transaction_session_timeout=60s" ] ||
  fail "the site role's limits"
lookup() { HOME=$work-home "$tool" link Magnetics 120100 1 1 3 >/dev/null 2>&1; }
lookup || fail "no lookup over verified TLS"
TOVAK_DB_SSLROOTCERT='' lookup && fail "a server certificate that nothing vouches for was taken"
TOVAK_DB_SSLMODE_UBO=disable lookup && fail "a plain connection was let in"
superuser "ALTER ROLE ubo PASSWORD 'chosen by the site'"
lookup && fail "the library's password still opens a site that chose its own"
echo "*:*:*:ubo:chosen by the site" >"$work-home/pass" && chmod 600 "$work-home/pass"
TOVAK_DB_PASSWORD_UBO=libpq PGPASSFILE=$work-home/pass lookup || fail "the password file was not used"
if [ "$(id -u)" = 0 ]; then
  mkdir -p "$work-home/theirs" && chown nobody "$work-home/theirs"
  "$dbctl" start "$work-home/theirs" 2>&1 | grep -q "belongs to nobody" ||
    fail "a directory of another user was taken"
fi
