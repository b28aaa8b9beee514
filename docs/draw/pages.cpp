// Makes a picture of the page of each kind of document, of a sheet among others, and of a slip:
// mox_paper_pictures FOLDER. The pages are drawn by pdftoppm.

#include <cairo.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>

#include "appserver/company_server.h"
#include "mox/documents/document.h"
#include "mox/documents/storno.h"
#include "mox/host/memory_settings.h"
#include "paper/a4_layout.h"
#include "paper/page.h"
#include "paper/pdf.h"
#include "paper/slip.h"
#include "paper/text_painter.h"
#include "tests/paper/made_up_seller.h"

namespace mox {
namespace {

struct Ware {
  const char* code;
  const char* name;
  const char* unit;
  double quantity;
  double purchase;  // and from it all other prices
  double rate;
  double discount;
};
constexpr Ware kGoods[] = {
    {"1042", "Kava mljevena, 250 g", "kom", 12, 3.10, 25, 0},
    {"2210", "Voda mineralna gazirana 1,5 l, povratna ambalaža", "kom", 24, 0.62, 25, 10},
    {"3051", "Brašno glatko T-550, vreća", "kg", 37.5, 0.48, 5, 0},
    {"4117", "Sir Gauda", "kg", 2.412, 6.85, 25, 5}};
constexpr Ware kServices[] = {{"U1", "Montaža i puštanje u pogon", "sat", 3, 28, 25, 0},
                              {"U7", "Redovno održavanje, ožujak", "kom", 1, 95, 25, 15},
                              {"U9", "Prijevoz do čistionice u Šibeniku", "km", 80, 0.45, 13, 0}};

// What is entered of a ware, by the name of the field.
double EnteredOf(const Ware& ware, std::string_view field, bool cancels) {
  const auto rounded = [](double amount) { return std::round(amount * 100) / 100; };
  if (field == "kolicina") return cancels ? -ware.quantity : ware.quantity;
  if (field == "tbr_stp") return ware.rate;
  if (field == "rbp1") return ware.discount;
  if (field == "fc" || field == "nc") return ware.purchase;
  if (field == "vpc" || field == "pc") return rounded(ware.purchase * 1.3);
  if (field == "nvpc") return rounded(ware.purchase * 1.35);
  if (field == "mpc") return rounded(ware.purchase * 1.3 * (1 + ware.rate / 100));
  if (field == "pov_nak") return ware.unit == std::string_view("kom") && ware.quantity > 20 ? 0.07 : 0;
  if (field.starts_with("osnovica")) return rounded(ware.purchase * ware.quantity);
  if (field.starts_with("pdvi")) return rounded(ware.purchase * ware.quantity * ware.rate / 100);
  return 0;
}

class Company {
 public:
  Company() {
    Database& database = server_.database();
    MakeUpSeller(database);
    database.Execute(
        "INSERT INTO par (sifra, naziv, oib, adresa) VALUES ('1', 'Čvorak trgovina d.o.o.', '98765432106', "
        "'Šetalište Preradovića 3')");
    database.Execute("UPDATE par SET mjesto_id = (SELECT MIN(id) FROM mjesto WHERE ptt = '22000')");
    database.Execute(
        "INSERT INTO par (sifra, naziv, pdv_br, adresa, drzava_id) SELECT '2', 'Alpenküche GmbH', "
        "'ATU12345678', "
        "'Hauptstraße 7, 9500 Villach', id FROM drzave WHERE oznaka = 'AT'");
  }

  std::int64_t Store(const DocumentKind& kind, int times = 1) {
    Document document(kind);
    document.SetHeader("datum", *MakeDate(2026, 3, 2));
    const bool has_partner = kind.is == DocumentClass::kInvoice || kind.is == DocumentClass::kProForma ||
                             kind.is == DocumentClass::kGoodsReceipt || kind.name.starts_with("radni") ||
                             kind.name.find("povratnica") != std::string_view::npos;
    if (has_partner && kind.name != "mal-primka-zaduzenje") document.SetHeader("par_id", std::int64_t{1});
    const bool goes_abroad = kind.name.ends_with("-inozemstvo");
    if (goes_abroad) document.SetHeader("par_id", std::int64_t{2});
    document.SetHeader("user_id", std::string("ANA"));
    for (int i = 0; i < times; ++i) {
      if (document.Goods() != nullptr) Fill(*document.Goods(), kGoods, kind.is_storno);
      if (document.Services() != nullptr) Fill(*document.Services(), kServices, kind.is_storno, goes_abroad);
    }
    if (!document.Store()) throw Error(std::string(kind.name) + ": " + server_.WriteRefusal());
    return StoredInTheMorning();
  }
  std::int64_t Cancel(std::int64_t id) {
    RecordSet header = MakeStornoHeader(id);
    header.Edit();
    header.FieldByName("datum").SetDate(*MakeDate(2026, 3, 3));
    header.Post();
    if (!StoreStorno(header)) throw Error(server_.WriteRefusal());
    return StoredInTheMorning();
  }
  void Report(std::int64_t id) {
    server_.database().Execute(
        "INSERT INTO dok_fiskalno (dok_id, broj_racuna, zki, jir, vrijeme) VALUES (:id, '17/PP1/1', "
        "'0a1b2c3d4e5f60718293a4b5c6d7e8f9', '3b2c4d5e-1111-4222-8333-944455566677', '2026-03-02T09:05:00')",
        {id});
  }

 private:
  // The document that was stored last, with a time of issue that is the same whenever the pictures are made.
  std::int64_t StoredInTheMorning() {
    const std::int64_t id = server_.LastWrite().stored.value().AsInteger(0);
    server_.database().Execute(
        "UPDATE dnevnik_upisa SET vrijeme = (SELECT datum FROM dok WHERE id = :id) || 'T09:05:00' WHERE "
        "dok_id = :id",
        {id});
    return id;
  }
  static void Fill(RecordSet& lines, std::span<const Ware> wares, bool cancels, bool is_untaxed = false) {
    for (const Ware& ware : wares) {
      lines.Append();
      const std::pair<const char*, const char*> texts[] = {
          {"sifra", ware.code}, {"naziv", ware.name}, {"jm", ware.unit}};
      for (const auto& [field, text] : texts) lines.FieldByName(field).SetText(text);
      for (std::size_t i = 0; i < lines.FieldCount(); ++i) {
        const FieldDef& field = lines.Definition(i);
        if (FindVocabularyEntry(field.name) == nullptr || field.calculated) continue;
        const bool is_rate = field.name == "tbr_stp";
        lines.SetFloat(i, is_untaxed && is_rate ? 0 : EnteredOf(ware, field.name, cancels));
      }
      lines.Post();
    }
  }

  CompanyServer server_{Database::InMemory()};
  MemorySettings settings_;
  ScopedApp app_{{.ini = &settings_, .comunication = &server_}};
};

class Pictures {
 public:
  explicit Pictures(std::string folder) : folder_(std::move(folder)) {}

  void Sheet(std::int64_t id, const std::string& name, std::size_t sheet = 1) {
    const DocumentPage page = MakePage(id, paper_);
    PdfFile pdf("DejaVu Sans", page.date);
    pdf.Add(LayOutA4(page, paper_, painter_, CurrentLocale()));
    Draw(pdf.Finish(), name, sheet, kResolution);
  }
  void Slip(std::int64_t id, const std::string& name) {
    constexpr int kDotsPerInch = 72;  // of a slip laid out in dots, each is drawn as one
    PdfFile pdf("DejaVu Sans", *MakeDate(2026, 3, 2));
    pdf.Add(LayOutSlip(MakePage(id, paper_), paper_, painter_, SlipPaper::k80mm));
    Draw(pdf.Finish(), name, 1, kDotsPerInch * 2 / 3);
  }

 private:
  static constexpr int kResolution = 75;
  static constexpr int kSheetHeight = 877;  // of A4

  void Draw(const std::string& pdf, const std::string& name, std::size_t sheet, int resolution) const {
    const std::string file = folder_ + "/" + name;
    std::ofstream(file + ".pdf", std::ios::binary) << pdf;
    const std::string command = "pdftoppm -gray -singlefile -f " + std::to_string(sheet) + " -r " +
                                std::to_string(resolution) + " '" + file + ".pdf' '" + file + "'";
    if (std::system(command.c_str()) != 0) throw Error("failed: " + command);
    Shrink(file + ".pgm", file + ".png");
    std::filesystem::remove(file + ".pdf");
    std::filesystem::remove(file + ".pgm");
  }

  // Down to the last line, in sixteen shades: a third of the bytes.
  static void Shrink(const std::string& from, const std::string& to) {
    std::ifstream pgm(from, std::ios::binary);
    std::string magic;
    int width = 0;
    int height = 0;
    int most = 0;
    pgm >> magic >> width >> height >> most;
    pgm.get();
    cairo_surface_t* const gray = cairo_image_surface_create(CAIRO_FORMAT_A8, width, height);
    unsigned char* const data = cairo_image_surface_get_data(gray);
    const int stride = cairo_image_surface_get_stride(gray);
    std::string row(static_cast<std::size_t>(width), '\0');
    int last = 0;
    for (int y = 0; y < height && pgm.read(row.data(), width); ++y) {
      for (int x = 0; x < width; ++x) {
        constexpr int kStep = 17;
        const int shade = (static_cast<unsigned char>(row[static_cast<std::size_t>(x)]) + kStep / 2) / kStep;
        data[y * stride + x] = static_cast<unsigned char>(shade * kStep);
        const bool is_foot = height == kSheetHeight && y > height * 15 / 16;
        if (shade < 8 && !is_foot) last = y;
      }
    }
    constexpr int kMargin = 12;
    cairo_surface_mark_dirty(gray);
    cairo_surface_t* const part = cairo_image_surface_create_for_data(
        data, CAIRO_FORMAT_A8, width, std::min(height, last + kMargin), stride);
    const cairo_status_t status = cairo_surface_write_to_png(part, to.c_str());
    cairo_surface_destroy(part);
    cairo_surface_destroy(gray);
    if (status != CAIRO_STATUS_SUCCESS) throw Error(to + ": " + cairo_status_to_string(status));
  }

  std::string folder_;
  PaperTemplate paper_;
  TextPainter painter_{"DejaVu Sans"};
};

void MakeAll(const std::string& folder) {
  Company company;
  Pictures pictures(folder);
  std::map<std::string_view, std::int64_t> stornos;  // of kinds that are cancelled by another one
  for (const DocumentKind& kind : DocumentKinds()) {
    if (kind.is_storno) continue;
    const std::int64_t id = company.Store(kind);
    if (kind.name == "gotovinski-racun") company.Report(id);
    pictures.Sheet(id, std::string(kind.name));
    if (kind.name == "gotovinski-racun") pictures.Slip(id, "isjecak");
    if (!kind.cancelled_by.empty()) stornos[kind.cancelled_by] = company.Cancel(id);
  }
  for (const DocumentKind& kind : DocumentKinds()) {
    if (!kind.is_storno) continue;
    const auto storno = stornos.find(kind.name);
    pictures.Sheet(storno == stornos.end() ? company.Store(kind) : storno->second, std::string(kind.name));
  }
  pictures.Sheet(company.Store(DocumentKindByName("otpremnica-racun"), 20), "druga-stranica", 2);
}

}  // namespace
}  // namespace mox

int main(int count, char** words) {
  if (count != 2) {
    std::cerr << "usage: mox_paper_pictures FOLDER\n";
    return 2;
  }
  try {
    mox::MakeAll(words[1]);
  } catch (const std::exception& error) {
    std::cerr << error.what() << "\n";
    return 1;
  }
  return 0;
}
