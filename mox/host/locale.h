#pragma once

#include <string_view>
#include <utility>

#include "mox/foundation/app.h"

namespace mox {

/// A locale of the host's own: Croatian unless told otherwise.
class StandardLocale : public AppLocale {
 public:
  StandardLocale() = default;
  explicit StandardLocale(LocaleSettings settings) : settings_(std::move(settings)) {}
  const LocaleSettings& Settings() const override { return settings_; }
  void SetCurrencySymbol(std::string_view symbol) override { settings_.currency_symbol = symbol; }

 private:
  LocaleSettings settings_;
};

}  // namespace mox
