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
  LookUpForm form;
  QString title;
  std::string_view service;
  std::string_view answer;
  bool searches;  ///< the service takes a text, else the rows are filtered here
  std::vector<std::string_view> fields;
};

const LookUpSource& SourceOf(LookUpForm form);

/// The look-up forms: rows of a service, narrowed down while the user types, chosen with Enter.
class QtLookUps : public AppLookUps {
 public:
  std::unique_ptr<RecordSet> LookUp(LookUpForm form, std::string_view text) override;
};

}  // namespace mox
