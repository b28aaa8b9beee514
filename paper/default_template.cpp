#include "paper/paper_template.h"

namespace mox {

std::string_view PaperTemplate::DefaultText() {
  return R"(# What a company says and shows on its paper. Lines that are left out of a file of your own stay as here.
# A "\n" is a line break; {naslov} {broj} {datum} {dospijece} {iznos} {kupac} {poduzece} stand for the document's own.

[stranica]
font = DejaVu Sans
velicina = 8.5
logo =
logo_visina = 18
slika_visina = 12
slovima = da

[naslovi]

# The columns of lines (slika: the picture of the article) by kind of document, of its services KIND.usluge; roba and usluge are for all others.
[stupci]
roba = rb sifra naziv jm kolicina pc rabat pov_naki osnovica tbr_stp ukupno
usluge = rb sifra naziv jm kolicina pc rabat osnovica tbr_stp ukupno
gotovinski-racun-usluga.usluge = rb sifra naziv jm kolicina mpc rabat vpci tbr_stp ukupno
gotovinski-racun-usluga-marina.usluge = rb sifra naziv jm kolicina mpc rabat vpci tbr_stp ukupno
gotovinski-racun-servis = rb sifra naziv jm kolicina pc rabat osnovica tbr_stp ukupno
gotovinski-racun-servis.usluge = rb sifra naziv jm kolicina mpc tbr_stp pdvi ukupno
mal-gotovinski-racun = rb sifra naziv jm kolicina mpc rabat pov_naki tbr_stp pdvi pci
mal-gotovinski-racun.usluge = rb sifra naziv jm kolicina mpc tbr_stp pdvi ukupno
radni-nalog = rb sifra naziv jm kolicina mpc tbr_stp pdvi mpci
radni-nalog.usluge = rb sifra naziv jm kolicina pc rabat tbr_stp pdvi mpci
mal-dnevni-izv-blag = rb naziv tbr_stp osnovicaroba pdviroba osnovicausluge pdviusluge
primka-kalkulacija = rb sifra naziv jm kolicina fc rabat pov_naki pot_naki nfci zti nc nci mari tbr_stp mpc mpci
storno-primke-kalkulacije = rb sifra naziv jm kolicina fc rabat nfci zti nc nci mari tbr_stp mpc mpci
mal-primka-zaduzenje = rb sifra naziv jm kolicina nc nci vpc vpci marza
razduzenje-otpis = rb sifra naziv jm kolicina nc nci vpc vpci marza
meduskladisnica-ulaz = rb sifra naziv jm kolicina nc nci vpc vpci marza
meduskladisnica-izlaz = rb sifra naziv jm kolicina nc nci vpc vpci marza
pocetno-stanje = rb sifra naziv jm kolicina nc nci vpc vpci marza
razduzenje-manjak = rb sifra naziv jm kolicina vpc vpci pov_naki tbr_stp pdvi ukupno
izmjena-cijena = rb sifra naziv jm kolicina vpc vpci nvpc nvpci razlika
povratnica-dobavljacu = rb sifra naziv jm kolicina fc rabat pov_naki pot_naki nfci tbr_stp pdvi ukupno
mal-povratnica-dobavljacu = rb sifra naziv jm kolicina fc rabat pov_naki pot_naki nfci tbr_stp pdvi_dob uk_dob
mat-povratnica-dobavljacu = rb sifra naziv jm kolicina fc rabat pov_naki pot_naki nfci tbr_stp pdvi ukupno
povratnica-kupca = rb sifra naziv jm kolicina pc osnovica tbr_stp ukupno
racun-vlastite-potrebe = rb sifra naziv jm kolicina nc pov_naki osnovica tbr_stp ukupno

# Other headings of columns: COLUMN = heading.
[nazivi]

# svi: all documents; racuni: invoices to customers; bez_poreza: those of them without tax; a kind by its name, and
# KIND.bez_poreza where such a document has no tax.
[napomene]
svi =
racuni = Račun je izdan na računalu i valjan je bez pečata i potpisa.
bez_poreza =
predracun = Predračun nije račun i ne služi za odbitak pretporeza.
racun-usluga-inozemstvo.bez_poreza = Prijenos porezne obveze (reverse charge), članak 17. stavak 1. Zakona o PDV-u.
racun-vlastite-potrebe = Račun za vlastite potrebe poduzeća.
radni-nalog = Radni nalog nije račun.

[podnozje]
tekst =

# virman names the payment slip of the company's own list whose model and description the code has; primatelj is a
# name of at most 25 characters, where that of the company is longer.
[placanje]
kod = da
virman =
primatelj =

# Slips: rez cuts the paper, ladica opens the drawer.
[isjecak]
font = DejaVu Sans
rez = da
ladica = ne

[posta]
predmet = {naslov} {broj}
tekst = Poštovani,\n\nu privitku šaljemo: {naslov} {broj} od {datum}.\nIznos: {iznos}\n\nSrdačan pozdrav,\n{poduzece}
)";
}

}  // namespace mox
