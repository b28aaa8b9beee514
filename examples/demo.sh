#!/usr/bin/env bash
# The first day of a shop in short, in a folder that is gone afterwards: examples/demo.sh MOX_BINARY
# docs/FIRST-DAY.md tells it at length; the files are those of the page.
set -euo pipefail

[ $# -eq 1 ] || {
  echo "usage: $0 MOX_BINARY" >&2
  exit 2
}
binary=$(realpath -- "$1")
examples=$(realpath -- "$(dirname -- "${BASH_SOURCE[0]}")")
folder=$(mktemp -d)
trap 'rm -rf -- "$folder"' EXIT
cd -- "$folder"

mox() { "$binary" "$@"; }

# Shows a command and runs it.
show() {
  printf '\n$ %s\n\n' "$1"
  eval "$1"
}

awk '/^```(csv|text) /{file = $2; next} /^```/{file = ""} file {print >file}' "$examples/../docs/FIRST-DAY.md"

echo "The company, its warehouse, its partners and articles."
show 'mox db init trgovina.db --NazivPoduzeca "Žito i sinovi d.o.o." --OIBPoduzeca 12345678903 \
    --AdresaPoduzeca "Ilica 10" --MjestoPoduzeca "10000 Zagreb" --IBAN HR1210010051863000160'
for codebook in skladiste:skladista mjesta:mjesta vrsta:grupe rabatne_grupe:rabati partneri:partneri artikli:artikli; do
  show "mox codebook ${codebook%:*} --store ${codebook#*:}.csv --db trgovina.db"
done

echo
echo "More partners from a sheet, three of them with a fault: every fault is shown at once, and nothing is stored."
show "mox import MJESTA $examples/import/mjesta.tsv --heading --yes --db trgovina.db"
show "mox import PARTNERPTT $examples/import/partnerptt_faulty.tsv --heading --yes --db trgovina.db || true"

echo
echo "What stands on the shelves, and a receipt with its costing: freight makes the purchase price, the margin the retail price."
show 'mox document pocetno-stanje stanje.csv --store --header datum=2026-03-02 --db trgovina.db'
show 'mox calc PrimkaKalkulacija01CalcFields primka.csv | mox calc calc_NC_PrimkaKalkulacija 2 |
    mox calc CalcMPC_Marza_PrimkaKalkulacija 0 2 2 --table'
show 'mox document primka-kalkulacija primka.csv --store --part totals --header datum=2026-03-02 --header par_id=1 --db trgovina.db'

echo
echo "An invoice at the till and one that is paid later, a part of it at once; a storno, once."
show 'mox document gotovinski-racun blagajna.csv --store --header datum=2026-03-02 --header par_id=3 --header user_id=ANA --db trgovina.db'
show 'mox document otpremnica-racun pekara.csv --store --part totals --header datum=2026-03-02 --header par_id=2 --db trgovina.db'
show 'mox pay 4 50 --date 2026-03-02 --db trgovina.db'
show 'mox document gotovinski-racun blagajna.csv --store --part totals --header datum=2026-03-02 --db trgovina.db'
show 'mox document storno 5 --header datum=2026-03-02 --db trgovina.db'
show 'mox document storno 5 --header datum=2026-03-02 --db trgovina.db || true'

python3 "$examples/intermediary.py" "$folder" &
trap 'kill "$!"; rm -rf -- "$folder"' EXIT
for _ in {1..100}; do [ -s port ] || sleep 0.1; done
address=http://127.0.0.1:$(cat port)/accept

echo
echo "The buyer at the till is a private person, who gets an e-invoice, here from an intermediary on this computer; only once."
show 'mox company set EracunSendB2CBills=true EracunB2CUrl=$address EracunUserName=ana --key kljuc.txt --db trgovina.db'
show 'mox einvoice send 3 --db trgovina.db'
show 'mox einvoice send 3 --db trgovina.db'

echo
echo "The code through which the buyer verifies the receipt, as a picture."
show 'mox qr receipt --zki 0a1b2c3d4e5f60718293a4b5c6d7e8f9 --amount 17.28 --time 2026-03-02T09:05 --db trgovina.db'

echo
echo "What customers get: the page of the invoice, the slip of the till, the code from which a telephone pays."
paper=$(dirname -- "$binary")/demo
mkdir -p -- "$paper"
show 'mox print 4 --text --db trgovina.db'
mox print 4 --pdf "$paper/racun.pdf" --db trgovina.db >/dev/null
mox print 3 --slip "$paper/isjecak.bin" --db trgovina.db
mox print 4 --code "$paper/kod-za-placanje.png" --db trgovina.db >/dev/null

echo
echo "The evening: what was sold, the tax, what is owed, what stands on the shelves; and a copy."
show 'mox report turnover --from 2026-03-02 --to 2026-03-02 --by kind --table --db trgovina.db'
show 'mox report tax --from 2026-03-02 --to 2026-03-02 --table --db trgovina.db'
show 'mox report balances --table --db trgovina.db'
show 'mox report stock --table --db trgovina.db'
show 'mox db backup trgovina-2026-03-02.db --db trgovina.db'

cat <<TEXT

The same at length, with what everything means: docs/FIRST-DAY.md. What to try next:

  mox=$binary
  \$mox document --list                          # the kinds of documents, what each needs and fills
  \$mox document gotovinski-racun $examples/gotovinski_racun_roba.csv $examples/gotovinski_racun_usluge.csv
  \$mox calc --list                              # every function of document lines
  \$mox import --list                            # what can be imported; KEY --template prints the sheet's heading
  \$mox codebook --table --db FILE               # what a company keeps: partners, articles, ...
  \$mox round -2.675 -2                          # the rounding rule behind all of it
  \$mox --help

The page of the invoice, the slip and the payment code:
  $paper/racun.pdf
  $paper/isjecak.bin
  $paper/kod-za-placanje.png
TEXT
