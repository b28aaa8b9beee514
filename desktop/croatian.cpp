#include "desktop/croatian.h"

#include <array>

#include "appserver/company_access.h"
#include "desktop/qt_text.h"
#include "mox/entry/line_screen.h"

namespace mox {
namespace {

// "{}" is any text, which is translated in turn and takes the place of the next "{}"; "{1}" is the second.
struct Message {
  std::string_view english;
  std::string_view croatian;
};

constexpr Message kMessages[] = {
    // where the company is
    {"{}: there is no such file", "{}: nema takve datoteke"},
    {"{}: is no file", "{}: nije datoteka"},
    {"{}: is not a file", "{}: nije datoteka"},
    {"{}: is not a company database", "{}: nije baza podataka tvrtke"},
    {"{}: there is no such company", "{}: nema takve tvrtke"},
    {"{}: there is such a file already", "{}: takva datoteka već postoji"},
    {"{}: was written by a newer program (version {}){}",
     "{}: bazu je zapisala novija inačica programa (inačica {}). Nadogradite program; ništa nije "
     "promijenjeno."},
    {"{}: the file is damaged: {}", "{}: datoteka je oštećena: {}"},
    {"{}: the file was moved, replaced or deleted while it was open",
     "{}: datoteka je u međuvremenu premještena, zamijenjena ili obrisana i ništa nije pohranjeno; vratite "
     "je "
     "ili otvorite tvrtku ponovo (Ctrl+O)."},
    {"{}: other programs are using it; nothing was changed",
     "{}: koriste je drugi programi; ništa nije promijenjeno"},
    {"{}: another program keeps the database locked; try again when it has finished",
     "{}: bazu upravo koristi drugi program; pokušajte ponovo kad završi"},
    {"{}: cannot be written", "{}: ne može se pisati"},
    {"{}: cannot be written: {}", "{}: ne može se pisati: {}"},
    {"{}: the copy cannot be written: {}", "{}: kopija se ne može zapisati: {}"},
    {"the copy is damaged, as the database may be{}", "kopija je oštećena, a možda i baza"},
    {"{}: is left over from another database; remove it first",
     "{}: ostatak je druge baze; najprije ga uklonite"},
    {"{}: the company is not named; {}", "{}: nedostaje ime tvrtke (company=IME iza „?”)"},
    {"the answer of the server cannot be unpacked", "odgovor poslužitelja je oštećen"},
    {"{}: cannot be read: {}", "{}: ne može se čitati: {}"},
    {"{}: cannot be created: {}", "{}: ne može se napraviti: {}"},
    {"{}: cannot be opened: {}", "{}: ne može se otvoriti: {}"},
    {"{}: the disk is full", "{}: disk je pun"},
    {"{}: the file may not grow: this user's limit for files is reached",
     "{}: datoteka ne smije rasti: dosegnuto je ograničenje ovog korisnika"},
    {"{}: this user may not read the file", "{}: nemate dopuštenje čitati datoteku"},
    {"{}: cannot be opened; the program must be allowed to read and write the file and its folder",
     "{}: ne može se otvoriti; program mora smjeti čitati i pisati datoteku i njezinu mapu"},
    {"{}: the file cannot be read or written, perhaps because the disk is full",
     "{}: datoteka se ne može čitati ili pisati, možda jer je disk pun"},
    {"the file or its folder is read-only", "datoteka ili njezina mapa samo su za čitanje"},
    {"Is a directory", "to je mapa"},
    {"No space left on device", "na disku nema mjesta"},
    {"File too large", "datoteka je prevelika"},
    {"Permission denied", "nemate dopuštenje"},
    {"No such file or directory", "nema takve datoteke ili mape"},
    // a server on the network
    {"user {} may not use {}, which takes the role \"{}\"",
     "korisnik {} nema ovlast „{2}”, koju za to treba"},
    {"the body is larger than this server takes{}", "zahtjev je veći nego što poslužitelj prima"},
    {"the requests under way take all memory that there is for them",
     "poslužitelj je pun zahtjeva; pokušajte ponovo"},
    {"the company is being moved to another server, and nothing was done; {}",
     "tvrtka se upravo seli na drugi poslužitelj i ništa nije napravljeno; pokušajte ponovo"},
    {"the server is being stopped", "poslužitelj se upravo gasi"},
    {"the company's database cannot be used now; {}", "baza tvrtke trenutačno nije dostupna"},
    {"the request waited too long for its turn, and nothing was done",
     "zahtjev je predugo čekao na red i ništa nije napravljeno; pokušajte ponovo"},
    {"{}: cannot be reached: {}; nothing was stored",
     "{}: poslužitelj nije dostupan ({}). Ništa nije pohranjeno."},
    {"{}; it is not known whether the request was stored: look before you store it again{}",
     "{}. Ne zna se je li pohranjeno: provjerite popis prije ponovne pohrane."},
    {"{}: it is not known whether the request was stored: look before you store it again{}",
     "{}: ne zna se je li pohranjeno: provjerite popis prije ponovne pohrane."},
    {"the request was ended by the user", "Čekanje odgovora je prekinuto"},
    {"{}: the connection to the server was lost", "{}: veza s bazom je prekinuta"},
    {"{}; nothing was stored", "{}. Ništa nije pohranjeno."},
    {"{}: cannot be reached: {}", "{}: poslužitelj nije dostupan: {}"},
    {"{}: not logged in, or the session has ended: mox login {}",
     "{}: niste prijavljeni ili je prijava istekla; prijavite se ponovo (Tvrtka, Prijava)"},
    {"{}: not logged in: mox login {}", "{}: niste prijavljeni (Tvrtka, Prijava)"},
    {"{}: a company is missing: {}/COMPANY", "{}: nedostaje ime tvrtke: {}/TVRTKA"},
    {"the address of a server begins with https://", "adresa poslužitelja počinje s https://"},
    {"the address of a server is https://HOST, or https://HOST:PORT where its port is not 443",
     "adresa poslužitelja je https://RAČUNALO, ili https://RAČUNALO:PORT kad port nije 443"},
    {"the name of a company on a server has 1 to 48 letters a to z, digits, '-' and '_'",
     "ime tvrtke na poslužitelju ima 1 do 48 slova a do z, znamenki, „-” i „_”"},
    {"{}: the user or the password is wrong", "{}: korisnik ili lozinka nisu ispravni"},
    {"{}: there were too many failed attempts to log in{}", "{}: previše neuspjelih prijava; pričekajte"},
    {"{}: the user may not do this in this company", "{}: nemate pravo na to u ovoj tvrtki"},
    {"{}: the company's database cannot be used now; the server's log says why",
     "{}: baza tvrtke trenutačno nije dostupna"},
    {"{}: too many requests wait already", "{}: poslužitelj je preopterećen; pokušajte ponovo"},
    {"{}: the server is being stopped", "{}: poslužitelj se gasi"},
    {"{}: the server failed; its log says why", "{}: greška na poslužitelju"},
    {"the request is no HTTP/1.1 that this server reads", "poslužitelj ne čita takav zahtjev"},
    {"the header is larger than this server reads", "poslužitelj ne čita takav zahtjev"},
    {"the body is not the text form of a parameter list", "poslužitelj ne čita takav zahtjev"},
    {"the length of the body must be told in Content-Length{}", "poslužitelj ne čita takav zahtjev"},
    {"a body is sent as it is or in zstd{}", "poslužitelj ne čita takav zahtjev"},
    {"the address takes POST", "poslužitelj ne čita takav zahtjev"},
    {"a company parameter of the request is not NAME=VALUE", "parametar tvrtke nije IME=VRIJEDNOST"},
    {"there is no such address on this server", "na tom poslužitelju nema takve adrese"},
    {"the server has no such service", "poslužitelj nema tu uslugu; nadogradite ga"},
    {"the idempotency key belongs to another request",
     "pod istim je ključem već pohranjeno nešto drugo; ništa nije promijenjeno"},
    {"the service refused the request", "poslužitelj je odbio zahtjev"},
    {"the server does not know this version of the protocol",
     "poslužitelj i program nisu iste inačice; nadogradite stariji od njih"},
    {"the token does not exist, has expired or was revoked: log in",
     "prijava je istekla; prijavite se ponovo (Tvrtka, Prijava)"},
    // refusals of what was to be stored
    {"\"{}\" is the key of another document, {}",
     "dokument je već pohranjen kao {1}; promjene nakon toga nisu pohranjene"},
    {"{} of {} is stored as {}, the list says {}; mox rates --replace takes the list's",
     "za {} na dan {} pohranjen je tečaj {}, a upisan je {}"},
    {"division by zero", "dijeljenje s nulom: neki podatak retka još nedostaje"},
    {"must not be empty", "ne smije biti prazno"},
    {"is missing", "nedostaje"},
    {"is missing, and is a part of the key", "nedostaje, a dio je ključa"},
    {"the document has no lines", "dokument nema stavaka"},
    {"there is nothing to store", "nema se što pohraniti"},
    {"the text is longer than {} characters", "tekst je dulji od {} znakova"},
    {"there is no user \"{}\"",
     "poslužitelj nema korisnika „{}”; korisnike otvara onaj tko vodi poslužitelj"},
    {"nobody would administer the company any more", "tvrtka bi ostala bez korisnika s administracijom"},
    {"\"{}\" is a user of other companies, too; his log-ins are ended by who runs the server (moxd token "
     "revoke)",
     "„{}” radi i u drugim tvrtkama; njegove prijave prekida onaj tko vodi poslužitelj"},
    {"service {}: only a server has users; a database alone has none",
     "Korisnike i ovlasti ima samo tvrtka na poslužitelju."},
    {"there is no \"{}\"", "nema „{}”"},
    {"there is no currency \"{}\"", "nema valute „{}”"},
    {"\"{}\" is used by {}", "„{}” se koristi: {}"},
    {"{} is in the database already", "{} već postoji u bazi"},
    {"{} stands in row {} already", "{} već stoji u retku {}"},
    {"{} was taken away since it was read", "{}: netko je u međuvremenu obrisao redak"},
    {"{} was changed by somebody else since it was read:{}",
     "{}: netko je u međuvremenu promijenio redak:{}"},
    {"the same file was imported before: {}", "ista je datoteka već uvezena: {}"},
    {"\"{}\" is not a date", "„{}” nije datum"},
    {"{} is not above 0", "{} nije veće od 0"},
    {"{}; at least {} other row is refused, too", "{}; odbijen je i još barem {} redak"},
    {"{}; at least {} other rows are refused, too", "{}; odbijeno je i još barem {} redaka"},
    // mail and pictures
    {"ended by the user", "prekinuto"},
    {"Failed to connect to {} port {} after {}", "poslužitelj {} ne odgovara na portu {}"},
    {"Could not resolve host: {}", "nema poslužitelja {}"},
    {"{} timed out{}", "poslužitelj ne odgovara"},
    {"Callback aborted", "isteklo je vrijeme čekanja"},
    {"\"{}\" is no address of a mail", "„{}” nije e-mail adresa"},
    {"the address of the mail server is not smtps://HOST or smtp://HOST",
     "adresa poslužitelja nije smtps://RAČUNALO ni smtp://RAČUNALO"},
    {"mail {} to {} {}", "Pošta za {1} {2}"},
    {"{}, and its document was cancelled by document {}", "{}, a njezin je dokument storniran dokumentom {}"},
    {"waits in the outbox", "čeka u odlaznoj pošti"},
    {"was not sent and waits in the outbox", "nije poslana i čeka u odlaznoj pošti"},
    {"there is no mail {}", "nema pošte {}"},
    {"the address of the mail server cannot be read", "adresa poslužitelja za poštu ne može se pročitati"},
    {"is being sent by another program, or that program broke down: it may have been sent, and no answer "
     "tells",
     "možda je poslana: drugi je program upravo šalje ili je pri tome prekinut"},
    {"was sent already", "već je poslana"},
    {"was refused or withdrawn", "odbijena je ili povučena"},
    {"may have been sent, and no answer tells", "možda je poslana; odgovor nije stigao"},
    {"no answer within {} seconds (TIMEOUT)", "nema odgovora u {} s (TIMEOUT)"},
    {"the company has no account of mails yet; set it first: {}",
     "tvrtka nema račun za poštu; upišite ga (Tvrtka, Račun za poštu)"},
    // paper
    {"no payment code: {}", "Nema koda za plaćanje: {}"},
    {"it is paid at once and names no operator (user_id), whom a receipt has to name",
     "Plaća se odmah, a na njemu nema operatera, koji na računu mora pisati"},
    {"the company has no bank account", "tvrtka nema bankovni račun"},
    {"it is paid at once, and what the tax administration knows of it is not stored (mox store "
     "FiskalniPodaciUpis): no ZKI, JIR, number and code on it",
     "Plaća se odmah, a podaci o fiskalizaciji nisu upisani: na njemu nema ZKI-ja, JIR-a, broja ni koda"},
    {"lines of it carry no tax, and no note says by which law (bez_poreza of [napomene] in the template, or "
     "opis)",
     "Ima stavke bez poreza, a nijedna napomena ne kaže po kojem zakonu (bez_poreza u [napomene] predloška "
     "ili "
     "opis)"},
    {"it is in {} and has no exchange rate (tecaj): its tax in {} is not on it",
     "U valuti je {}, a nema tečaja: na njemu nema poreza u valuti {}"},
    {"the control digits that the reference of its payment may need under {} are not checked",
     "Kontrolne znamenke poziva na broj koje model {} može tražiti nisu provjerene"},
    {"it is for buyers abroad, and {}", "Namijenjen je kupcima u inozemstvu, a {}"},
    {"it has no partner", "nema partnera"},
    {"the country of its partner is not stored", "država njegova partnera nije upisana"},
    {"its partner is in {}", "njegov je partner iz države {}"},
    {"the buyer's PDV ID (pdv_br of the partner) is not on it",
     "Na njemu nema PDV ID-a kupca, koji se upisuje uz partnera"},
    {"the buyer's PDV ID {} does not begin with {}", "PDV ID kupca {} ne počinje slovima {}"},
    {"{} is not on the slip, whose paper is too narrow for it", "Na isječku nema {}: papir je preuzak"},
    {"the payment code", "koda za plaćanje"},
    {"the code that verifies it", "koda za provjeru računa"},
    {"the reference of its payment is made without control digits, which banks may want under {}; "
     "poziv_na_br "
     "of the header is for one that has them",
     "Poziv na broj složen je bez kontrolnih znamenaka, a banka ih uz model {} može tražiti; upišite ga u "
     "zaglavlje dokumenta"},
    {"the payment code is without {}", "U kodu za plaćanje nema: {}"},
    {"the company has no payment slip (mox codebook virman)",
     "tvrtka nema nijedan virman (šifarnik Virmani)"},
    {"there is no payment slip \"{}\"", "nema virmana „{}”"},
    {"the document has no partner", "dokument nema partnera"},
    {"the server has no payment slip for the document", "poslužitelj nema virman za dokument"},
    {"the code of the payment slip: {}", "{}"},
    {"platitelj_naziv", "naziv platitelja"},
    {"platitelj_adresa", "adresa platitelja"},
    {"platitelj_mjesto", "mjesto platitelja"},
    {"primatelj_naziv", "naziv primatelja"},
    {"primatelj_adresa", "adresa primatelja"},
    {"primatelj_mjesto", "mjesto primatelja"},
    {"primatelj_iban", "IBAN primatelja"},
    {"poziv_na_br", "poziv na broj"},
    {"sifra_namjene", "šifra namjene"},
    {"opis_placanja", "opis plaćanja"},
    {"\"{}\" is not EUR", "„{}” nije EUR"},
    {"\"{}\" is no Croatian account", "„{}” nije hrvatski račun"},
    {"\"{}\" is not HR and two digits", "„{}” nije HR i dvije znamenke"},
    {"\"{}\" is not four capitals", "„{}” nisu četiri velika slova"},
    {"\"{}\" has {} characters, the code has room for {}", "„{}” ima {} znakova, a u kod ih stane {}"},
    {"{} has parts of a cent", "{} ima dijelove centa"},
    {"{} has more than 15 digits", "{} ima više od 15 znamenki"},
    {"\"{}\" is given, but the model HR99 has no reference",
     "upisan je „{}”, a model HR99 nema poziva na broj"},
    {"must not be empty under the model {}", "ne smije biti prazno uz model {}"},
    {"\"{}\" has other characters than digits and hyphens",
     "„{}” ima i drugih znakova osim znamenki i crtica"},
    {"\"{}\" has a part that is not 1 to 12 digits", "„{}” ima dio koji nema 1 do 12 znamenki"},
    {"\"{}\" has {} parts, the model {} has at most {}", "„{}” ima dijelova: {}, a model {} najviše {}"},
    {"no picture of the article {}: {}", "Nema slike artikla {}: {}"},
    {"document {} does not add up: base, tax and fees differ from its total by {}",
     "Dokument {} ne slaže se: osnovica, PDV i naknade razlikuju se od ukupnog za {}"},
    {"document {} does not add up: {}", "Dokument {} ne slaže se: {}"},
    {"document {}: the page does not add up: {} is {}, what stands above it comes to {}",
     "Dokument {}: ispis se ne slaže: {} je {}, a zbroj iznad toga {}"},
    {"document {} has the total {}, its lines have {}", "Dokument {} ima ukupno {}, a njegove stavke {}"},
    {"document {} cancels {}, but its total is {}", "Dokument {} stornira {}, a njegovo je ukupno {}"},
    {"document {} is of a kind that this program does not know: {}",
     "Dokument {} je vrste koju ovaj program ne poznaje: {}"},
    {"there is no document {}", "nema dokumenta {}"},
    {"at {} % the lines have the base {} and tax {}, the recapitulation has the base {} and tax {}",
     "po stopi {} % stavke imaju osnovicu {} i PDV {}, a rekapitulacija osnovicu {} i PDV {}"},
    {"the total", "ukupno"},
    {"the tax of all rates", "PDV svih stopa"},
    {"the tax of {}", "PDV po stopi {}"},
    {"the page shows \"{}\" where an amount belongs", "na mjestu iznosa piše „{}”"},
    {"{} has no tax, but a recapitulation", "{} nema PDV, a ima rekapitulaciju"},
    {"{} has tax, but no recapitulation", "{} ima PDV, a nema rekapitulaciju"},
    {"the company is not named yet; set it first: {}",
     "podaci tvrtke još nisu upisani (Tvrtka, Podaci tvrtke)"},
    {"the server does not know the service {}", "poslužitelj nema uslugu {}"},
    {"the columns of the lines do not fit on the paper; a template with fewer of them does it",
     "Stupci stavaka ne stanu na papir; neka ih u predlošku bude manje"},
    {"the footer ([podnozje] of the template) takes more than a third of the sheet",
     "Podnožje ([podnozje] predloška) zauzima više od trećine lista"},
    {"a text without blanks is longer than a sheet: {}", "Tekst bez razmaka dulji je od lista: {}"},
    {"no installed font has all letters of {}", "Nijedno instalirano pismo nema sva slova teksta {}"},
    {"the page cannot be drawn: {}", "Ispis se ne može nacrtati: {}"},
    // templates
    {"the text is not UTF-8", "tekst nije UTF-8"},
    {"there is no section {}", "nema odjeljka {}"},
    {"NAME = VALUE is expected instead of {}", "umjesto {} očekuje se IME = VRIJEDNOST"},
    {"a [section] is expected first", "najprije se očekuje [odjeljak]"},
    {"[{}] has no {}", "[{}] nema {}"},
    {"the text holds a control character", "tekst sadrži upravljački znak"},
    {"{} is said in line {} already", "{} već piše u retku {}"},
    {"there is no column {}", "nema stupca {}"},
    {"the column {} stands twice", "stupac {} stoji dvaput"},
    {"there are no columns", "nema stupaca"},
    {"there is no placeholder {}", "nema oznake {}"},
    {"\"{\" has no \"}\"", "vitičasta zagrada nije zatvorena"},
    {"the name of the font is empty", "ime pisma je prazno"},
    {"the font {} is not installed", "pismo {} nije instalirano"},
    {"{} is not a number from {} to {}", "{} nije broj od {} do {}"},
    {"{} is neither da nor ne", "{} nije ni da ni ne"},
    {"{} is longer than 25 characters", "{} ima više od 25 znakova"},
    // pictures
    {"not enough memory for a picture", "nema dovoljno memorije za sliku"},
    {"the picture is no JPEG, PNG or GIF", "slika nije JPEG, PNG ni GIF"},
    {"the picture has more than 32 MB", "slika ima više od 32 MB"},
    {"the picture is too large: {} x {} pixels", "slika je prevelika: {} × {} točaka"},
    {"the picture has too many passes", "slika ima previše prolaza"},
    {"the picture has another size than its header says", "slika nije one veličine koju kaže"},
    {"the picture cannot be encoded", "slika se ne može zapisati"},
    {"the picture cannot be decoded: {}", "slika je oštećena"},
    {"the picture is not base64", "slika je oštećena"},
    {"the picture {}", "slika je oštećena"},
    // files that are written
    {"{}: {}, which is not written over", "{}: {}; preko toga se ne piše"},
    {"is the company database", "to je baza podataka tvrtke"},
    {"is there already and is not {}", "već postoji i nije {}"},
    {"belongs to the database {}", "pripada bazi {}"},
    {"a PDF file", "PDF"},
    {"a slip", "isječak"},
    {"a picture", "slika"},
    {"{}: is a folder", "{}: to je mapa"},
    {"{}: is a pipe and not a file", "{}: to je cijev, a ne datoteka"},
    {"{}: is a pipe or a device and not a file", "{}: to je cijev ili uređaj, a ne datoteka"},
    {"is a folder", "to je mapa"},
    {"is a pipe or a device and not a file", "to je cijev ili uređaj, a ne datoteka"},
    // sheets
    {"is longer than {} characters", "dulje je od {} znakova"},
    {"{}: the file is protected by a password; save it without one",
     "{}: datoteka je zaštićena lozinkom; spremite je bez nje"},
    {"{}: the file is no sheet; save it as .xlsx, .ods or .csv",
     "{}: datoteka nije tablica; spremite je kao .xlsx, .ods ili .csv"},
    {"{}: the file is no sheet but another zip file; {}",
     "{}: datoteka nije tablica; spremite je kao .xlsx, .ods ili .csv"},
    {"{}: the file is damaged or incomplete ({}){}",
     "{}: datoteka je oštećena ili nepotpuna; otvorite je u programu za tablice i spremite ponovo"},
    {"{}: the file is damaged ({}){}",
     "{}: datoteka je oštećena; otvorite je u programu za tablice i spremite ponovo"},
    {"{}; open it with the spreadsheet and save it as .xlsx, .ods or .csv",
     "{}; otvorite je u programu za tablice i spremite kao .xlsx, .ods ili .csv"},
    {"this is a PDF", "to je PDF"},
    // where it happened, in front of any of these
    {"row {}: {}", "redak {}: {}"},
    {"{}: {}", "{}: {}"},
};

constexpr std::string_view kHole = "{}";
constexpr std::size_t kMostHoles = 5;

// What stands in the holes of the pattern, as far left as each part fits.
bool Matches(std::string_view text, std::string_view pattern,
             std::array<std::string_view, kMostHoles>& found) {
  std::size_t holes = 0;
  for (;;) {
    const std::size_t hole = pattern.find(kHole);
    if (hole == std::string_view::npos) return text == pattern;
    if (!text.starts_with(pattern.substr(0, hole))) return false;
    text.remove_prefix(hole);
    pattern.remove_prefix(hole + kHole.size());
    const std::string_view next = pattern.substr(0, pattern.find(kHole));
    const bool is_last = next.size() == pattern.size();
    const std::size_t end = is_last
                                ? (text.ends_with(next) ? text.size() - next.size() : std::string_view::npos)
                                : text.find(next);
    if (end == std::string_view::npos || holes == kMostHoles) return false;
    found[holes++] = text.substr(0, end);
    text.remove_prefix(end);
  }
}

}  // namespace

QString InCroatian(std::string_view message) {
  std::array<std::string_view, kMostHoles> found;
  for (const Message& known : kMessages) {
    if (!Matches(message, known.english, found)) continue;
    QString text;
    std::size_t hole = 0;
    for (std::string_view rest = known.croatian;;) {
      const std::size_t at = rest.find('{');
      text += ToQt(rest.substr(0, at));
      if (at == std::string_view::npos) return text;
      const bool is_numbered = rest[at + 1] != '}';
      text += InCroatian(found[is_numbered ? static_cast<std::size_t>(rest[at + 1] - '0') : hole++]);
      rest.remove_prefix(rest.find('}', at) + 1);
    }
  }
  return ToQt(message);
}

QString RefusalOf(const CompanyAccess& company) {
  const auto& failure = company.LastWrite().failure;
  if (!failure) return InCroatian(company.WriteRefusal());
  QString text = ToQt(failure->record_set);
  const auto add = [&text](const char16_t* between, const QString& part) {
    text += text.isEmpty() ? part : QString::fromUtf16(between) + part;
  };
  if (failure->row > 0) add(u", ", QStringLiteral("redak %1").arg(failure->row));
  if (!failure->field.empty()) add(u", ", ToQt(CaptionOf(failure->field)));
  add(u": ", InCroatian(failure->message));
  if (!failure->others.empty()) text += QStringLiteral(" (i još najmanje %1)").arg(failure->others.size());
  return text;
}

}  // namespace mox
