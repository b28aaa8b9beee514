#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "appserver/database_location.h"
#include "connect/login_store.h"
#include "connect/server_address.h"
#include "connect/server_connection.h"
#include "connect/wire.h"
#include "connect/zstd_text.h"
#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/server/param_list.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/fakes/silent_server.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(Connect, AnswersTables) {
  const auto address = [](const Words& row) {
    const ServerAddress parsed = ServerAddress::Parse(row.at(0));
    return parsed.server + " " + parsed.company;
  };
  const auto encoded = [](const Words& row) {
    EXPECT_EQ(DecodedPart(EncodedPart(row.at(0))), row.at(0));
    return EncodedPart(row.at(0));
  };
  const auto decoded = [](const Words& row) { return DecodedPart(row.at(0)).value_or("none"); };
  ExpectTables("addresses", {{"servers", address}, {"encoded", encoded}, {"decoded", decoded}}, "connect");
}

TEST(Wire, CarriesOutcomesWhole) {
  WriteOutcome refused;
  refused.failure =
      WriteFailure{"DokumentInsert", "Stavke", 2, "kolicina", "Čaša:\n5", {{3, "", "x"}, {4, "pc", "y"}}};
  const WriteOutcome read = ReadOutcome(OutcomeText(refused));
  EXPECT_FALSE(read.committed);
  ASSERT_TRUE(read.failure);
  EXPECT_EQ(read.failure->ToString(), refused.failure->ToString());
  EXPECT_EQ(read.failure->others[1].field, "pc");
  EXPECT_EQ(read.failure->others[1].row, 4U);

  WriteOutcome stored;
  stored.committed = true;
  stored.transaction = "UplataInsert";
  EXPECT_FALSE(ReadOutcome(OutcomeText(stored)).stored);
  stored.stored = OneRecord("adsUplate", "iznos:currency", {Value()});
  const WriteOutcome again = ReadOutcome(OutcomeText(stored));
  EXPECT_EQ(again.transaction, "UplataInsert");
  EXPECT_EQ(again.stored->SaveToString(), stored.stored->SaveToString());
  for (const char* const damaged : {"", "moxpl 1\nitems 0\nend\n", "{}"})
    EXPECT_THROW(ReadOutcome(damaged), Error);
}

TEST(ZstdText, IsUnpackedUpToItsBound) {
  const std::string text = std::string(3'000'000, 'a') + "kraj";
  const std::string packed = Packed(text);
  const auto always = [](std::size_t) { return true; };
  std::string unpacked;
  EXPECT_EQ(Unpack(packed, text.size(), always, unpacked), UnpackFault::kNone);
  EXPECT_EQ(unpacked, text);
  EXPECT_EQ(Unpack(packed + Packed("!"), text.size() + 1, always, unpacked), UnpackFault::kNone);
  EXPECT_EQ(unpacked, text + "!");
  EXPECT_EQ(Unpack(Packed(""), 0, always, unpacked), UnpackFault::kNone);
  EXPECT_EQ(unpacked, "");
  EXPECT_EQ(Unpack(packed, text.size() - 1, always, unpacked), UnpackFault::kTooLarge);
  EXPECT_EQ(Unpack(packed.substr(0, packed.size() - 1), text.size(), always, unpacked),
            UnpackFault::kDamaged);
  EXPECT_EQ(Unpack("", text.size(), always, unpacked), UnpackFault::kDamaged);
  EXPECT_EQ(Unpack(packed + "x", text.size(), always, unpacked), UnpackFault::kDamaged);
  std::size_t left = 2'000'000;
  const auto bounded = [&left](std::size_t bytes) { return bytes <= left && (left -= bytes, true); };
  EXPECT_EQ(Unpack(packed, text.size(), bounded, unpacked), UnpackFault::kNoMemory);
}

TEST(LoginStore, KeepsSessionsForTheirOwnerAlone) {
  const ScratchFolder folder;
  LoginStore store(folder / "");
  EXPECT_FALSE(store.Find("https://a:443"));
  EXPECT_FALSE(store.Forget("https://a:443"));
  store.Keep("https://a:443", {"token-a", "ana", "/ca.pem"});
  store.Keep("https://b:443", {"token-b", "iva", ""});
  struct stat status {};
  ASSERT_EQ(::stat(store.path().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
  EXPECT_EQ(LoginStore(folder / "").Find("https://a:443")->ca_file, "/ca.pem");
  EXPECT_TRUE(store.Forget("https://a:443"));
  EXPECT_FALSE(store.Find("https://a:443"));
  EXPECT_EQ(store.Find("https://b:443")->token, "token-b");
  ReplaceFile(store.path(), "{");
  EXPECT_THROW(store.Find("https://b:443"), Error);
}

// A server that takes connections and says nothing: what is asked of it is not waited for any more, and of a
// write it is told that nothing was sent.
TEST(ServerConnection, EndsWhatItWaitsFor) {
  const SilentServer silent;
  const auto server = ServerAddress::Parse("https://" + silent.Address() + "/a");
  const auto hour = std::chrono::hours(1);
  ServerConnection connection(server, {"token", "ana", ""}, {hour, hour, hour, hour});
  connection.EndRequests(true);
  EXPECT_THAT(ErrorOf<DatabaseUnavailable>([&] { connection.ReportDataService({}, "Dokumenti"); }),
              testing::HasSubstr("ended by the user"));
  const TAstaParamList write{{"UplataInsert", Value()}};
  EXPECT_THAT(ErrorOf<DatabaseUnavailable>([&] { connection.WriteDataService(write); }),
              testing::HasSubstr("nothing was stored"));
}

}  // namespace
}  // namespace mox
