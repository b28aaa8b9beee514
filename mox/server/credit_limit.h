#pragma once

#include <cstdint>
#include <optional>

#include "mox/foundation/currency.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// What is known of a partner's credit: his limits, what he owes, and what happens where he owes too much.
struct CreditFigures {
  Currency limit;           ///< of what he may owe; 0 is none
  std::int64_t days = 0;    ///< that he may be overdue; 0 is no limit
  Currency balance;         ///< that he owes now
  bool is_overdue = false;  ///< by more than the days
  bool always = false;      ///< fakturiranje_limit_duga
  bool once = false;        ///< faktur_limit_duga_once

  /// Of the answer to "KreditniLimitPartnera"; none where the partner is not known.
  static std::optional<CreditFigures> Of(const RecordSet& answer);
  /// As the server has them now.
  static std::optional<CreditFigures> Read(std::int64_t partner_id);
};

enum class CreditVerdict : std::uint8_t { kAllowed, kAsk, kRefused };

/// Whether the partner may owe so much more. Where both limits are set, only the two together count.
CreditVerdict JudgeCredit(const CreditFigures& figures, Currency amount);

/// Whether work may go on with a document of this amount for a partner of these figures: asks the user where
/// the verdict leaves it to him, and tells him of a refusal.
bool ConfirmCredit(const CreditFigures& figures, Currency amount);

/// The same with the figures as the server has them now. A partner without an answer has no limits.
bool CheckKreditniLimitPartnera(std::int64_t partner_id, Currency amount);

}  // namespace mox
