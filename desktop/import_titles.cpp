#include "desktop/import_titles.h"

#include "desktop/qt_text.h"

namespace mox {
namespace {

constexpr ShownName kTitles[] = {{"ARTDOB", u"Artikli dobavljača"},
                                 {"ZAPOSLENIK", u"Zaposlenici"},
                                 {"PARTNERPTT", u"Partneri"},
                                 {"SMJJED", u"Smještajne jedinice"},
                                 {"RESURS", u"Resursi"},
                                 {"RESURSBEZLOOKUP", u"Resursi bez provjere u šifarnicima"},
                                 {"GOSTIHOTEL", u"Gosti hotela"},
                                 {"MJESTA", u"Mjesta"},
                                 {"PARTNERPTTOPZ", u"Partneri s obaveznim OIB-om"},
                                 {"PUTNICIGRUPA", u"Putnici grupe"},
                                 {"ARTIKLI", u"Artikli"},
                                 {"OTVORENESTAVKE", u"Otvorene stavke"},
                                 {"OTVORENESTAVKESTRANO", u"Otvorene stavke stranih partnera"},
                                 {"OSNOVNASREDSTVA", u"Osnovna sredstva"},
                                 {"APOUPLATE", u"Uplate po ugovorima"},
                                 {"VRSTEKNJIZENJA", u"Vrste knjiženja"},
                                 {"KONTNIPLAN", u"Kontni plan"},
                                 {"TEMELJNICA", u"Stavke temeljnice"},
                                 {"KONVERZIJAARTLUNARI", u"Maloprodajni artikli – konverzija"},
                                 {"UPDATEARTLUNARI", u"Maloprodajni artikli – izmjena"},
                                 {"KUPCILUNARI", u"Maloprodajni kupci"},
                                 {"PARERACMAIL", u"E-mail adrese partnera za eRačun"},
                                 {"USLUGEIPRIJEVODI", u"Usluge s prijevodima"}};

}  // namespace

QString ImportTitle(std::string_view key) { return ShownText(kTitles, key); }

}  // namespace mox
