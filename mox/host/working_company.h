#pragma once

#include <string>

#include "mox/foundation/app.h"

namespace mox {

/// The company that a communication module serves. Its working year is the company parameter RadnaGodina;
/// where that is not set, the current year is.
class WorkingCompany : public TCompany {
 public:
  /// The module must outlive the object.
  explicit WorkingCompany(TdmComunication& comunication, std::string path = {})
      : comunication_(comunication), path_(std::move(path)) {}
  int WorkingYear() const override;
  std::string CompanyPath() const override { return path_; }
  void SetPath(std::string path) { path_ = std::move(path); }

 private:
  TdmComunication& comunication_;
  std::string path_;
};

}  // namespace mox
