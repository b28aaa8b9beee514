#include "desktop/drafts.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>
#include <QUuid>

#include "desktop/qt_text.h"
#include "mox/entry/document_entry.h"
#include "mox/foundation/app.h"
#include "mox/foundation/error.h"
#include "mox/foundation/files.h"

namespace mox {
namespace {

const QString kSuffix = QStringLiteral(".nacrt");
const QString kLock = QStringLiteral(".lock");

// A folder for each company, known by where its data lie.
QDir FolderOfCompany() {
  const QByteArray company = QByteArray::fromStdString(App().Company().CompanyPath());
  const QString name =
      QString::fromLatin1(QCryptographicHash::hash(company, QCryptographicHash::Sha256).toHex().left(16));
  const QDir state(ToQt(App().Platform().StateFolder()));
  const QString path = state.filePath(QStringLiteral("nacrti/") + name);
  if (!QDir().mkpath(path)) throw Error(FromQt(path) + ": cannot be created");
  return QDir(path);
}

}  // namespace

Draft Draft::Begin() {
  const std::string path =
      FromQt(FolderOfCompany().filePath(QUuid::createUuid().toString(QUuid::WithoutBraces) + kSuffix));
  auto lock = FileLock::Try(path + FromQt(kLock));
  if (!lock) throw Error(path + ": is used by another program");
  return {path, std::move(*lock)};
}

std::vector<Draft> Draft::Abandoned() {
  std::vector<Draft> drafts;
  const QDir folder = FolderOfCompany();
  for (const QFileInfo& file :
       folder.entryInfoList({QStringLiteral("*") + kSuffix}, QDir::Files, QDir::Time | QDir::Reversed)) {
    const std::string path = FromQt(file.filePath());
    if (auto lock = FileLock::Try(path + FromQt(kLock))) drafts.push_back(Draft(path, std::move(*lock)));
  }
  return drafts;
}

void Draft::Save(const Document& document) const {
  ReplaceFile(path_, DraftOf(document), FileAccess::kOwnerOnly);
}

Document Draft::Read() const { return FromDraft(ReadWholeFile(path_)); }

void Draft::Remove() {
  RemoveFile(path_);
  RemoveFile(path_ + FromQt(kLock));
}

}  // namespace mox
