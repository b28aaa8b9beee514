#include "appserver/article_pictures.h"

#include "appserver/fold.h"
#include "appserver/stored_document.h"
#include "mox/foundation/base64.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/picture_header.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kMostBytes = 2'000'000;

void PrepareArticle(Database& /*database*/, ServiceInputs& inputs) {
  inputs.Derive("kljuc", FieldKind::kText, FoldKey(inputs.As<std::string>("sifra")));
}

void PrepareDocument(Database& database, ServiceInputs& inputs) {
  RequireDocument(database, inputs.As<std::int64_t>("id"));
}

constexpr std::string_view kPictureColumns =
    "art_id:integer,sifra,vrsta,sirina:integer,visina:integer,vrijeme:datetime,slika";

const NamedService kServices[] = {
    {"ArtiklSlika",
     Right::kRead,
     "sifra",
     "the picture of an article, as base64, and what its header says of it",
     {{"adsSlika", kPictureColumns, R"(
SELECT a.id, a.sifra, p.vrsta, p.sirina, p.visina, p.vrijeme, p.slika
FROM art a JOIN art_slike p ON p.art_id = a.id WHERE fold(a.sifra) = :kljuc)"}},
     PrepareArticle},
    {"SlikeDokumenta",
     Right::kRead,
     "id:integer",
     "the pictures of the articles that the goods of a document name, each once",
     {{"adsSlike", kPictureColumns, R"(
SELECT a.id, a.sifra, p.vrsta, p.sirina, p.visina, p.vrijeme, p.slika
FROM art_slike p JOIN art a ON a.id = p.art_id
WHERE EXISTS (SELECT 1 FROM dok_stavke s WHERE s.dok_id = :id AND s.sorta = 'roba'
  AND (s.art_id = a.id OR (s.art_id IS NULL AND fold(s.sifra) = fold(a.sifra))))
ORDER BY a.id)"}},
     PrepareDocument}};

// One picture an article; none where the text is empty.
std::optional<RecordSet> StorePictures(const NamedTransaction& /*transaction*/, Database& database,
                                       const SentRecordSets& sent) {
  const RecordSet& records = *sent.Find("adsSlika");
  std::size_t row = 0;
  for (const RecordRow& record : records.Rows()) {
    ++row;
    const auto refuse = [&](std::string_view field, std::string message) {
      throw WriteRefused({"", records.Name(), row, std::string(field), std::move(message)});
    };
    const auto text = [&](std::string_view field) {
      const auto index = record.FindFieldIndex(field);
      return index ? std::string(TrimBlanks(record.AsText(*index))) : std::string();
    };
    const std::string code = text("sifra");
    const RecordSet article = database.Query(
        "art", ParseColumns("id:integer"), "SELECT id FROM art WHERE fold(sifra) = :sifra", {FoldKey(code)});
    if (article.IsEmpty()) refuse("sifra", "there is no article \"" + code + '"');
    const std::int64_t art_id = article.AsInteger(0);
    database.Execute("DELETE FROM art_slike WHERE art_id = :id", {art_id});
    const std::string picture = text("slika");
    if (picture.empty()) continue;
    const auto bytes = FromBase64(picture);
    if (!bytes) refuse("slika", "is not base64");
    if (bytes->size() > kMostBytes) refuse("slika", "has more than 2 MB");
    PictureHeader header;
    try {
      header = ReadPictureHeader(*bytes);
    } catch (const Error& error) {
      refuse("slika", error.what());
    }
    database.Execute(
        "INSERT INTO art_slike (art_id, vrsta, sirina, visina, slika, vrijeme) "
        "VALUES (:art_id, :vrsta, :sirina, :visina, :slika, :vrijeme)",
        {art_id, std::string(PictureKindName(header.kind)), std::int64_t{header.width},
         std::int64_t{header.height}, ToBase64(*bytes), LocalNow()});
  }
  return std::nullopt;
}

const NamedTransaction kTransactions[] = {{"ArtiklSlikaUpis",
                                           Right::kMasterData,
                                           "stores the pictures of articles in the place of those that they "
                                           "have: a JPEG, PNG or GIF of at most 2 MB "
                                           "as base64; an empty one takes it away",
                                           {{"adsSlika", {"art_slike"}, true, "sifra,slika"}},
                                           StorePictures}};

}  // namespace

std::span<const NamedService> ArticlePictureServices() { return kServices; }

std::span<const NamedTransaction> ArticlePictureTransactionTable() { return kTransactions; }

}  // namespace mox
