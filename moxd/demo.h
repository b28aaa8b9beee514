#pragma once

#include <string>

#include "moxd/settings.h"

namespace mox {

/// A company to try the server with: its database, a directory with one user, a certificate of this computer,
/// all in a folder of their own that goes away with the object.
class DemoCompany {
 public:
  DemoCompany();
  ~DemoCompany();
  DemoCompany(const DemoCompany&) = delete;
  DemoCompany& operator=(const DemoCompany&) = delete;

  /// At free ports of this computer.
  ServerSettings Settings() const;
  const std::string& password() const { return password_; }
  static const char* user();
  std::string company_file() const { return folder_ + "demo.db"; }
  /// The commands with which the server is reached at that port.
  std::string HowToReach(unsigned port) const;

 private:
  std::string folder_;
  std::string password_;
};

/// A key and a certificate that it signs itself, for "localhost" and the loopback addresses, good for a year,
/// as two new PEM files. Raises Error.
void MakeCertificate(const TlsFiles& files);

}  // namespace mox
