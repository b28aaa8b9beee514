#include "desktop/qt_words.h"

#include <algorithm>
#include <string_view>

namespace mox {
namespace {

struct Words {
  std::string_view english;
  const char16_t* croatian;
};

constexpr Words kWords[] = {
    {"OK", u"U redu"},
    {"Cancel", u"Odustani"},
    {"&Cancel", u"&Odustani"},
    {"&Yes", u"&Da"},
    {"&No", u"&Ne"},
    {"Save", u"Spremi"},
    {"&Save", u"&Spremi"},
    {"Open", u"Otvori"},
    {"&Open", u"&Otvori"},
    {"Close", u"Zatvori"},
    {"&Choose", u"&Odaberi"},
    {"Look in:", u"Mapa:"},
    {"Save in:", u"Mapa:"},
    {"File &name:", u"&Naziv datoteke:"},
    {"&File name:", u"&Naziv datoteke:"},
    {"Files of type:", u"Vrsta datoteka:"},
    {"Save As", u"Spremi kao"},
    {"Find Directory", u"Traženje mape"},
    {"Directory:", u"Mapa:"},
    {"All Files (*)", u"Sve datoteke (*)"},
    {"Name", u"Naziv"},
    {"Size", u"Veličina"},
    {"Type", u"Vrsta"},
    {"Kind", u"Vrsta"},
    {"Date Modified", u"Izmijenjeno"},
    {"My Computer", u"Računalo"},
    {"Computer", u"Računalo"},
    {"Drive", u"Disk"},
    {"Folder", u"Mapa"},
    {"%1 File", u"Datoteka %1"},
    {"File", u"Datoteka"},
    {"Back", u"Natrag"},
    {"Forward", u"Naprijed"},
    {"Parent Directory", u"Mapa iznad"},
    {"Create New Folder", u"Nova mapa"},
    {"Create a New Folder", u"Nova mapa"},
    {"&New Folder", u"&Nova mapa"},
    {"New Folder", u"Nova mapa"},
    {"List View", u"Popis"},
    {"Detail View", u"Popis s podacima"},
    {"Change to list view mode", u"Prikaži popis"},
    {"Change to detail view mode", u"Prikaži popis s podacima"},
    {"Go back", u"Natrag"},
    {"Go forward", u"Naprijed"},
    {"Go to the parent directory", u"U mapu iznad"},
    {"Sidebar", u"Mjesta"},
    {"Files", u"Datoteke"},
    {"&Rename", u"&Preimenuj"},
    {"&Delete", u"&Obriši"},
    {"Show &hidden files", u"Prikaži &skrivene datoteke"},
    {"%1 already exists.\nDo you want to replace it?", u"%1 već postoji.\nZamijeniti?"},
    {"%1\nFile not found.\nPlease verify the correct file name was given.",
     u"%1\nDatoteke nema. Provjerite naziv."},
    {"%1\nDirectory not found.\nPlease verify the correct directory name was given.",
     u"%1\nMape nema. Provjerite naziv."},
    {"&Undo", u"&Poništi"},
    {"&Redo", u"&Ponovi"},
    {"Cu&t", u"&Izreži"},
    {"&Copy", u"&Kopiraj"},
    {"&Paste", u"&Zalijepi"},
    {"Delete", u"Obriši"},
    {"Select All", u"Odaberi sve"},
};

}  // namespace

QString QtWords::translate(const char* context, const char* text, const char* disambiguation,
                           int count) const {
  const auto found = std::find_if(std::begin(kWords), std::end(kWords),
                                  [text](const Words& words) { return words.english == text; });
  if (found == std::end(kWords)) return QTranslator::translate(context, text, disambiguation, count);
  return QString::fromUtf16(found->croatian);
}

}  // namespace mox
