#include "moxd/request_log.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace mox {
namespace {

std::string ReadAll(int descriptor) {
  std::string text;
  std::array<char, 65536> part{};
  for (ssize_t size = 0; (size = ::read(descriptor, part.data(), part.size())) > 0;) {
    text.append(part.data(), static_cast<std::size_t>(size));
  }
  return text;
}

TEST(RequestLogTest, NobodyWaitsForWhoTakesTheLines) {
  int ends[2] = {};
  ASSERT_EQ(::pipe(ends), 0);
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(::fdopen(ends[1], "w"), &std::fclose);
  std::optional<RequestLog> log(stream.get());
  constexpr std::size_t kLines = 100;
  const std::string detail(100'000, 'x');
  for (std::size_t i = 0; i < kLines; ++i) log->Event("database", detail);
  const std::uint64_t dropped = log->Dropped();
  EXPECT_GT(dropped, 0);
  EXPECT_LT(dropped, kLines);

  std::thread end([&] {
    log.reset();
    stream.reset();
  });
  const std::string text = ReadAll(ends[0]);
  end.join();
  ::close(ends[0]);
  const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  EXPECT_EQ(lines, kLines - dropped + 1);
  EXPECT_NE(text.find("\"" + std::to_string(dropped) + " lines were dropped"), std::string::npos);
}

}  // namespace
}  // namespace mox
