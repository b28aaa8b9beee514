#include "moxd/demo.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <stdlib.h>

#include <array>
#include <filesystem>
#include <memory>

#include "appserver/database.h"
#include "mox/foundation/files.h"
#include "moxd/accounts.h"

namespace mox {
namespace {

constexpr const char* kUser = "ana";
constexpr const char* kCompany = "demo";

template <auto Function>
struct FreeWith {
  template <typename T>
  void operator()(T* object) const {
    Function(object);
  }
};
using Key = std::unique_ptr<EVP_PKEY, FreeWith<::EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, FreeWith<::X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, FreeWith<::X509_EXTENSION_free>>;
using Memory = std::unique_ptr<BIO, FreeWith<::BIO_free_all>>;

void Require(bool done) {
  if (!done) throw Error("no certificate can be made");
}

std::string TextIn(const Memory& memory) {
  char* text = nullptr;
  const long size = BIO_get_mem_data(memory.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

void AddExtension(X509* certificate, int kind, const char* value) {
  const Extension extension(::X509V3_EXT_conf_nid(nullptr, nullptr, kind, value));
  Require(extension != nullptr && ::X509_add_ext(certificate, extension.get(), -1) == 1);
}

// Letters and digits that are not mistaken for each other.
std::string RandomPassword() {
  constexpr std::string_view kLetters = "abcdefghijkmnpqrstuvwxyz23456789";
  std::array<unsigned char, 16> bytes{};
  Require(::RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) == 1);
  std::string password;
  for (const unsigned char byte : bytes) password += kLetters[byte % kLetters.size()];
  return password;
}

std::string MakeFolder() {
  std::string folder = (std::filesystem::temp_directory_path() / "moxd-demo-XXXXXX").string();
  if (::mkdtemp(folder.data()) == nullptr) throw Error(folder + ": the folder cannot be made");
  return folder + "/";
}

}  // namespace

void MakeCertificate(const TlsFiles& files) {
  const Key key(EVP_EC_gen("P-256"));
  const Certificate certificate(::X509_new());
  Require(key != nullptr && certificate != nullptr);
  X509* const made = certificate.get();
  std::uint64_t serial = 0;
  Require(::RAND_bytes(reinterpret_cast<unsigned char*>(&serial), sizeof serial) == 1);
  constexpr long kYear = 365L * 24 * 3600;
  ::X509_set_version(made, 2);
  ::ASN1_INTEGER_set_uint64(::X509_get_serialNumber(made), serial >> 1U);
  ::X509_gmtime_adj(::X509_getm_notBefore(made), -60);
  ::X509_gmtime_adj(::X509_getm_notAfter(made), kYear);
  ::X509_set_pubkey(made, key.get());
  X509_NAME* const name = ::X509_get_subject_name(made);
  const auto* const localhost = reinterpret_cast<const unsigned char*>("localhost");
  ::X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, localhost, -1, -1, 0);
  ::X509_set_issuer_name(made, name);
  AddExtension(made, NID_subject_alt_name, "DNS:localhost,IP:127.0.0.1,IP:::1");
  AddExtension(made, NID_basic_constraints, "critical,CA:TRUE");
  Require(::X509_sign(made, key.get(), ::EVP_sha256()) > 0);
  const Memory certificate_text(::BIO_new(::BIO_s_mem()));
  const Memory key_text(::BIO_new(::BIO_s_mem()));
  Require(::PEM_write_bio_X509(certificate_text.get(), made) == 1 &&
          ::PEM_write_bio_PrivateKey(key_text.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
  ReplaceFile(files.certificate, TextIn(certificate_text));
  ReplaceFile(files.key, TextIn(key_text), FileAccess::kOwnerOnly);
}

DemoCompany::DemoCompany() : folder_(MakeFolder()), password_(RandomPassword()) {
  Database::Create(company_file(), WithDemo::kYes);
  MakeCertificate(Settings().tls);
  ReplaceFile(folder_ + "password", password_ + "\n", FileAccess::kOwnerOnly);
  Accounts::Create(Settings().directory);
  Accounts accounts(Settings().directory);
  accounts.AddUser(kUser, password_);
  accounts.AddCompany(kCompany, company_file());
  accounts.Grant(kUser, kCompany, {FindRole("administracija")});
}

DemoCompany::~DemoCompany() {
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

const char* DemoCompany::user() { return kUser; }

ServerSettings DemoCompany::Settings() const {
  ServerSettings settings;
  settings.listen = "127.0.0.1:0";
  settings.operations = "127.0.0.1:0";
  settings.tls = {folder_ + "certificate.pem", folder_ + "key.pem"};
  settings.directory = folder_ + "directory.db";
  return settings;
}

std::string DemoCompany::HowToReach(unsigned port) const {
  const std::string address = "https://localhost:" + std::to_string(port);
  return "The made-up company \"demo\" is served until Ctrl-C; then all of it goes away. In another "
         "window:\n\n"
         "  mox login " +
         address + " --user " + kUser + " --ca " + folder_ + "certificate.pem --password-file " + folder_ +
         "password\n"
         "  mox company show --table --server " +
         address + "/" + kCompany +
         "\n"
         "  mox codebook partneri --table --server " +
         address + "/" + kCompany +
         "\n"
         "  mox logout " +
         address + "\n\n";
}

}  // namespace mox
