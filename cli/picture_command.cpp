#include <algorithm>
#include <charconv>
#include <memory>
#include <ostream>

#include "cli/command.h"
#include "cli/host.h"
#include "cli/options.h"
#include "cli/record_set_file.h"
#include "cli/service_request.h"
#include "mox/foundation/files.h"
#include "mox/foundation/find_row.h"
#include "mox/server/transactions.h"
#include "paper/article_pictures.h"

namespace mox {
namespace {

struct PictureArguments {
  std::string action;
  std::vector<std::string> words;
  std::string crop;
  std::string most;
};

int NumberOf(const char* option, std::string_view text) {
  constexpr int kMost = 10'000;
  int number = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (fault != std::errc() || end != text.data() + text.size() || number < 1 || number > kMost) {
    throw UsageError(std::string(option) + ": \"" + std::string(text) + "\" is not a number from 1 to 10000");
  }
  return number;
}

PictureWish WishOf(const PictureArguments& arguments) {
  PictureWish wish;
  if (!arguments.most.empty()) wish.most = NumberOf("--most", arguments.most);
  if (arguments.crop.empty()) return wish;
  const std::size_t colon = std::min(arguments.crop.find(':'), arguments.crop.size());
  wish.crop_width = NumberOf("--crop", std::string_view(arguments.crop).substr(0, colon));
  wish.crop_height =
      NumberOf("--crop", std::string_view(arguments.crop).substr(std::min(colon + 1, arguments.crop.size())));
  return wish;
}

// "PNG 600 x 400, 35 kB".
std::string Described(std::string_view bytes) {
  const PictureHeader header = ReadPictureHeader(bytes);
  return std::string(PictureKindName(header.kind)) + " " + std::to_string(header.width) + " x " +
         std::to_string(header.height) + ", " + std::to_string((bytes.size() + 999) / 1000) + " kB\n";
}

template <typename Use>
void WithFile(const std::string& file, Session& session, Use use) {
  const std::string bytes = file == "-" ? ReadFileText(file, session.in).bytes : ReadRegularFile(file);
  try {
    use(bytes);
  } catch (const UsageError&) {
    throw;
  } catch (const Error& error) {
    throw Error(file + ": " + error.what());
  }
}

void Size(const PictureArguments& arguments, Session& session) {
  // A file that has none keeps no other one from being told.
  for (const std::string& file : arguments.words) {
    try {
      WithFile(file, session, [&](std::string_view bytes) { session.out += file + ": " + Described(bytes); });
    } catch (const UsageError&) {
      throw;
    } catch (const Error& error) {
      session.err << "mox: " << OnOneLine(error.what()) << std::endl;
      session.valid = false;
    }
  }
}

void Store(const std::string& code, std::string_view bytes, Session& session) {
  RecordSet record = ArticlePictureRecord(code, bytes);
  RequireStored(ServerOf(session), ExecuteTransaction("ArtiklSlikaUpis", {&record}));
}

void Set(const PictureArguments& arguments, Session& session) {
  const PictureWish wish = WishOf(arguments);
  std::string prepared;
  WithFile(arguments.words[1], session,
           [&](std::string_view bytes) { prepared = PreparedPicture(bytes, wish); });
  Store(arguments.words[0], prepared, session);
  session.out += Described(prepared);
}

void Get(const PictureArguments& arguments, Session& session) {
  ServerOf(session);
  const auto bytes = FindArticlePicture(arguments.words[0]);
  if (!bytes) throw Error("the article \"" + arguments.words[0] + "\" has no picture");
  session.files.Write(arguments.words[1], *bytes, kPictureOutput);
  session.out += Described(*bytes);
}

void Remove(const PictureArguments& arguments, Session& session) { Store(arguments.words[0], {}, session); }

struct PictureAction {
  std::string_view name;
  std::size_t words;  // 0: one or more
  const char* usage;
  void (*run)(const PictureArguments& arguments, Session& session);
};
constexpr PictureAction kActions[] = {{"set", 2, "set ARTICLE FILE", Set},
                                      {"get", 2, "get ARTICLE FILE", Get},
                                      {"remove", 1, "remove ARTICLE", Remove},
                                      {"size", 0, "size FILE...", Size}};

void RunPicture(const PictureArguments& arguments, Session& session) {
  const PictureAction* const action = FindRow(kActions, arguments.action);
  if (action == nullptr) {
    throw UsageError("there is no action \"" + arguments.action + "\"; set, get, remove and size are");
  }
  const std::size_t words = arguments.words.size();
  if (action->words == 0 ? words == 0 : words != action->words) {
    throw UsageError("mox picture " + std::string(action->usage));
  }
  if (action->name != "set" && !(arguments.crop + arguments.most).empty()) {
    throw UsageError("--crop and --most belong to set");
  }
  action->run(arguments, session);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<PictureArguments>();
  options.RequiredArgument("ACTION", arguments->action,
                           "set stores a picture with an article, get writes it into a file, remove takes\n"
                           "it away; size says what the header of a file says, without decoding it");
  options.Arguments("WORDS", arguments->words, "ARTICLE (its code) and FILE, or FILE...");
  options.Value("--crop", arguments->crop, "W:H",
                "set: keep the part from the middle with these proportions");
  options.Value("--most", arguments->most, "PIXELS",
                "set: at most so many either way; 800 where it is left out");
  options.Run([arguments](Session& session) { RunPicture(*arguments, session); });
}

}  // namespace

const Command kPictureCommand = {
    "picture", "set ARTICLE FILE | get ARTICLE FILE | remove ARTICLE --db DB | size FILE...",
    "Store the pictures of articles.",
    R"(Examples:
  mox picture size kava.jpg
  mox picture set K1 kava.jpg --crop 4:3 --db tvrtka.db
  mox picture get K1 kopija.jpg --db tvrtka.db
  mox picture remove K1 --db tvrtka.db

JPEG, PNG and GIF (its first picture). Pages show them where the template has the column slika.)",
    Declare};

}  // namespace mox
