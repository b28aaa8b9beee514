#!/usr/bin/env bash
# Calculates the example documents, keeps a company's data and sends an invoice: examples/demo.sh MOX_BINARY
set -euo pipefail

[ $# -eq 1 ] || {
  echo "usage: $0 MOX_BINARY" >&2
  exit 2
}
binary=$(realpath -- "$1")
cd -- "$(dirname -- "${BASH_SOURCE[0]}")"

mox() { "$binary" "$@"; }

# Shows a command and runs it.
show() {
  printf '\n$ %s\n\n' "$1"
  eval "$1"
}

echo "A cash invoice: goods and services, discounts, three tax rates, a return fee on bottles."
show "mox document gotovinski-racun gotovinski_racun_roba.csv gotovinski_racun_usluge.csv"
echo
echo "The return fee of 1,68 carries no tax: the total of the lines has it, the tax recapitulation does not."

echo
echo "A goods receipt: the supplier's invoice and its tax."
show "mox document primka-kalkulacija primka.csv"

echo
echo "Its costing: dependent costs make the purchase price, the margin percent makes the retail price."
show 'mox calc PrimkaKalkulacija01CalcFields primka.csv |
    mox calc calc_NC_PrimkaKalkulacija 2 |
    mox calc CalcMPC_Marza_PrimkaKalkulacija 0 2 2 --table'

folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT
db=$folder/tvrtka.db

echo
echo "A company's own database: accounts and places as they come from a spreadsheet. All rows are stored, or none."
show 'mox db init $db --demo'
show 'mox import KONTNIPLAN import/kontniplan.csv --heading --yes --db $db'
show 'mox import MJESTA import/mjesta.tsv --heading --yes --db $db'

echo
echo "Partners, three of them with a fault: every fault is shown at once, and nothing is stored. Then the mended file."
show 'mox import PARTNERPTT import/partnerptt_faulty.tsv --heading --yes --db $db || true'
show 'mox import PARTNERPTT import/partnerptt.tsv --heading --yes --db $db'

echo
echo "The cash invoice is stored and asked for again."
show 'mox document gotovinski-racun gotovinski_racun_roba.csv --part totals --store --header datum=2024-03-01 --header par_id=2 --db $db'
show 'mox query Dokument id=1 --table --db $db'

echo
echo "A second one was a mistake: its storno is its exact mirror, and the list shows both ways. A document is cancelled once."
show 'mox document gotovinski-racun gotovinski_racun_roba.csv --part totals --store --header datum=2024-03-01 --header par_id=2 --db $db >/dev/null'
show 'mox document storno 2 --header datum=2024-03-02 --db $db'
show 'mox document storno 2 --header datum=2024-03-02 --db $db || true'
show 'mox query Dokumenti --table --db $db'

python3 intermediary.py "$folder" &
trap 'kill "$!"; rm -rf -- "$folder"' EXIT
for _ in {1..100}; do [ -s "$folder/port" ] || sleep 0.1; done
printf 'EracunSendB2CBills:boolean,EracunB2CUrl\ntrue,http://127.0.0.1:%s/accept\n' "$(cat "$folder/port")" >"$folder/account.csv"

echo
echo "Its buyer is a private person, so it goes out as an e-invoice, here to an intermediary on this computer; only once."
show 'mox store UpdateIntegrationsUsersAccounts adsLoginData=$folder/account.csv --db $db'
show 'mox einvoice send 1 --db $db'
show 'mox einvoice send 1 --db $db'
show 'mox query ERacunVeza id=1 --table --db $db'

echo
echo "The code through which the buyer verifies the receipt, as a picture."
show 'mox qr receipt --zki 0a1b2c3d4e5f60718293a4b5c6d7e8f9 --amount 136.46 --time 2024-03-01T09:05'

cat <<TEXT

What to try next, in the folder $PWD:

  mox=$binary
  \$mox document --list                          # the kinds of documents, what each needs and fills
  \$mox document gotovinski-racun --csv gotovinski_racun_roba.csv      # files instead of tables
  \$mox calc --list                              # every function of document lines
  \$mox import --list                            # what can be imported; KEY --template prints the sheet's heading
  \$mox recap --list                             # every tax recapitulation
  \$mox round -2.675 -2                          # the rounding rule behind all of it
  \$mox --help
TEXT
