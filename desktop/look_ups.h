#pragma once

#include <QString>
#include <memory>
#include <string_view>
#include <vector>

#include "mox/foundation/app.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// What a look-up form asks and shows.
struct LookUpSource {
  LookUpForm form = {};  ///< that of a codebook is none of them
  QString title;
  std::string service;
  std::string_view answer;
  bool searches = false;  ///< the service takes a text, else the rows are filtered here
  std::vector<std::string_view> fields;
};

const LookUpSource& SourceOf(LookUpForm form);

/// The look-up form of any codebook; null where nothing was chosen or there is no such codebook.
std::unique_ptr<RecordSet> LookUpInCodebook(std::string_view codebook, const QString& text);

/// The look-up forms: rows of a service, narrowed down while the user types, chosen with Enter.
class QtLookUps : public AppLookUps {
 public:
  std::unique_ptr<RecordSet> LookUp(LookUpForm form, std::string_view text) override;
};

}  // namespace mox
