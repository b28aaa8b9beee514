#pragma once

namespace mox {

/// A page on which something may have been typed that is not stored yet.
class EditingPage {
 public:
  virtual ~EditingPage() = default;

  /// Before the page is closed: what is typed is stored, or thrown away with the user's leave. False where it
  /// stays.
  virtual bool MayClose() = 0;
  /// The same before the program ends, where nothing is asked about what the next start finds again.
  virtual bool MayEnd() { return MayClose(); }
};

}  // namespace mox
