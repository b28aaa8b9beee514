#!/usr/bin/env bash
# A PostgreSQL server for tests: `start FILE [OPTION...]` starts one in a folder of its own, which it writes into FILE;
# `crash FILE` ends it as a crash does and starts it again; `stop FILE` stops it and removes the folder. It is reached by a
# socket in that folder alone, and keeps nothing that a crash of the computer would need where no option says so.
set -euo pipefail
action=$1 file=$2
shift 2

# The server stays when who has started it is gone, and must not keep open, and locked, what that one had open.
for inherited in /proc/self/fd/*; do
  case ${inherited##*/} in 0 | 1 | 2 | 255) ;; *) eval "exec ${inherited##*/}>&-" ;; esac
done

bin=$(find /usr/lib/postgresql /usr/local/pgsql /usr/pgsql-* -type f -name initdb 2>/dev/null | sort -V | tail -n 1 || true)
bin=$(dirname "${bin:-$(command -v initdb || true)}")
[ -x "$bin/initdb" ] || {
  echo "PostgreSQL is not installed (Debian: postgresql)" >&2
  exit 1
}

# The server refuses to run as root.
as_user() {
  if [ "$(id -u)" -ne 0 ]; then "$@"; else setpriv --reuid="$user" --regid="$(id -g "$user")" --clear-groups -- "$@"; fi
}
user=postgres
id "$user" >/dev/null 2>&1 || user=nobody

stop() {
  [ -s "$file" ] || return 0
  folder=$(cat "$file")
  rm -f "$file"
  [ -d "$folder" ] || return 0
  as_user env LC_ALL=C "$bin/pg_ctl" -D "$folder/data" -m immediate -w stop >/dev/null 2>&1 || true
  rm -rf "$folder"
}

cd /
if [ "$action" = crash ]; then
  folder=$(cat "$file")
  as_user env LC_ALL=C "$bin/pg_ctl" -D "$folder/data" -m immediate -w -l "$folder/log" restart >/dev/null 2>&1 </dev/null
  exit
fi
stop
[ "$action" = start ] || exit 0
folder=$(mktemp -d /tmp/mox_postgresql_XXXXXX)
[ "$(id -u)" -ne 0 ] || chown "$user" "$folder"
mkdir -p "$(dirname "$file")"
echo "$folder" >"$file"
{
  # With the order of Croatian letters, which nothing may depend on.
  as_user env LC_ALL=C "$bin/initdb" -D "$folder/data" -U postgres -A trust -N -E UTF8 --locale=C.UTF-8 \
    --locale-provider=icu --icu-locale=hr-HR
  as_user env LC_ALL=C "$bin/pg_ctl" -D "$folder/data" -w -l "$folder/log" -o "-k $folder -c listen_addresses= -c fsync=off \
    -c full_page_writes=off -c max_connections=200 -c max_locks_per_transaction=1024 -c autovacuum=off \
    -c wal_level=logical -c max_replication_slots=120 -c max_wal_senders=40 -c max_worker_processes=32 \
    -c max_logical_replication_workers=20 -c max_sync_workers_per_subscription=8 -c wal_retrieve_retry_interval=50ms $*" start
} >"$folder.out" 2>&1 </dev/null || {
  cat "$folder.out" "$folder/log" >&2 2>/dev/null || true
  rm -f "$folder.out"
  stop
  exit 1
}
rm -f "$folder.out"
