#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/record_set.h"
#include "paper/picture.h"

namespace mox {

/// What becomes of a picture before it is stored with an article.
struct PictureWish {
  int crop_width = 0;  ///< the proportions of the part that is kept, from the middle; 0: all of it
  int crop_height = 0;
  int most = 800;  ///< pixels either way; of more it is made smaller
};

/// A picture as it is stored: decoded, and so known to be whole; what is too large becomes smaller. A JPEG,
/// or a PNG where a part of it is transparent. Raises Error as DecodePicture.
std::string PreparedPicture(std::string_view bytes, const PictureWish& wish = {});

/// The record that the transaction "ArtiklSlikaUpis" takes; without bytes the picture is taken away.
RecordSet ArticlePictureRecord(const std::string& code, std::string_view bytes);

/// The bytes of an article's picture, by the article's code; none where it has none.
std::optional<std::string> FindArticlePicture(const std::string& code);

/// The pictures of the lines of a document, each decoded once, small enough for a line.
class LinePictures {
 public:
  /// Those of the document's goods. One that is damaged is left out, and why is added to `warnings`.
  LinePictures(std::int64_t doc_id, std::vector<std::string>& warnings);

  /// Null where the line names no article that has one.
  std::shared_ptr<const Picture> Of(const RecordRow& line) const;

 private:
  std::map<std::int64_t, std::shared_ptr<const Picture>> by_key_;
  std::map<std::string, std::shared_ptr<const Picture>> by_code_;
};

}  // namespace mox
