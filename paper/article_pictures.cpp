#include "paper/article_pictures.h"

#include "mox/foundation/base64.h"
#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

// Sharp enough for the little that a line gives to it.
constexpr int kMostInLine = 160;

std::string BytesOf(const RecordRow& row) {
  auto bytes = FromBase64(row.AsTextView(row.IndexOf("slika")));
  if (!bytes) throw Error("the picture is not base64");
  return std::move(*bytes);
}

std::string KeyOf(std::string_view code) { return FoldCase(TrimBlanks(code)); }

bool IsOpaque(const Picture& picture) {
  for (std::size_t at = 3; at < picture.pixels.size(); at += 4) {
    if (picture.pixels[at] != 255) return false;
  }
  return true;
}

}  // namespace

std::string PreparedPicture(std::string_view bytes, const PictureWish& wish) {
  Picture picture = DecodePicture(bytes);
  if (wish.crop_width > 0) picture = CroppedTo(picture, wish.crop_width, wish.crop_height);
  picture = ResizedTo(picture, wish.most, wish.most);
  return IsOpaque(picture) ? EncodeJpeg(picture) : EncodePng(picture);
}

RecordSet ArticlePictureRecord(const std::string& code, std::string_view bytes) {
  RecordSet record("adsSlika");
  for (const char* field : {"sifra", "slika"}) record.DefineField(field, FieldKind::kText);
  record.Open();
  record.AppendRecord({code, ToBase64(bytes)});
  return record;
}

std::optional<std::string> FindArticlePicture(const std::string& code) {
  const auto stored = CreateDBDataSet("ArtiklSlika", "adsSlika", {{"sifra", code}});
  if (!stored || stored->IsEmpty()) return std::nullopt;
  return BytesOf(stored->RowAt(0));
}

LinePictures::LinePictures(std::int64_t doc_id, std::vector<std::string>& warnings) {
  const auto stored = CreateDBDataSet("SlikeDokumenta", "adsSlike", {{"id", doc_id}});
  if (!stored) return;
  for (const RecordRow& row : stored->Rows()) {
    const std::string code = row.AsText(row.IndexOf("sifra"));
    try {
      const auto picture =
          std::make_shared<const Picture>(ResizedTo(DecodePicture(BytesOf(row)), kMostInLine, kMostInLine));
      by_key_[row.AsInteger(row.IndexOf("art_id"))] = picture;
      by_code_[KeyOf(code)] = picture;
    } catch (const Error& error) {
      warnings.push_back("no picture of the article " + code + ": " + error.what());
    }
  }
}

std::shared_ptr<const Picture> LinePictures::Of(const RecordRow& line) const {
  const std::size_t key = line.IndexOf("art_id");
  if (!line.IsNull(key)) {
    const auto found = by_key_.find(line.AsInteger(key));
    return found == by_key_.end() ? nullptr : found->second;
  }
  const auto found = by_code_.find(KeyOf(line.AsTextView(line.IndexOf("sifra"))));
  return found == by_code_.end() ? nullptr : found->second;
}

}  // namespace mox
