#!/usr/bin/env bash
# Replays a transcript with the built programs: replay.sh TRANSCRIPT MOX SENDER INTERMEDIARY FOLDER
#
# "$ " begins a command of the shell, "> " what it printed, "! " its standard error and "= " its exit status, where that
# is not 0; other lines are for the reader. The programs lie in a new folder whose name begins with FOLDER, where the
# commands run; HOST stands for the address of the intermediary, DIGEST for what depends on it, COMPANY for what tells
# companies apart.
set -uo pipefail
transcript=$(realpath "$1")
folder=$(mktemp -d "$5 XXXXXX") || exit 1
trap 'rm -rf -- "$folder"' EXIT
cp -l "$2" "$folder/mox" && cp -l "$3" "$folder/CallAPIRequestSender.exe" || exit 1
python3 "$4" "$folder" &
intermediary=$!
trap 'kill "$intermediary"; cd / && rm -rf -- "$folder"' EXIT
cd "$folder" || exit 1
await() { for _ in {1..400}; do eval "$1" && return || sleep 0.05; done; }
await '[ -s port ]'
host=127.0.0.1:$(cat port) || exit 1

mox() { ./mox "$@"; }
scan() { echo "$(zbarimg --raw -q "$1" 2>/dev/null)"; }
posted() { find . -name 'invoice-*.json' | wc -l; }
left() { find . -name 'adsB2C_*' -printf '%P left\n' | sort; }

while IFS= read -r line <&3; do
  case $line in '> '* | '! '* | '= '*) continue ;; esac
  printf '%s\n' "$line"
  case $line in '$ '*) ;; *) continue ;; esac
  status=0
  eval "${line#\$ }" >out 2>err || status=$?
  sed 's/^/> /' out
  sed 's/^/! /' err
  [ "$status" -eq 0 ] || echo "= $status"
done 3<"$transcript" | sed "s|$host|HOST|g; s|$folder|FOLDER|g; s|\.[0-9a-f]\{16\}\.|.DIGEST.|; s|_[0-9a-f]\{16\}_|_COMPANY_|" >actual
diff -u "$transcript" actual
