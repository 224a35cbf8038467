#pragma once

#include <cstdint>

#include "kit/TimeValue.h"

namespace nQVSS100 {

/// Which way a conversion of epochs goes.
enum tEpochConversion : std::int32_t { kEpochTo1904 = 1, k1904ToEpoch = 2 };

/// Epochs that times may be counted from: the beginning, in UTC, of the year that is the value.
enum tEpoch : std::int32_t { kEpoch1 = 1, kEpoch1601 = 1601, kEpoch1970 = 1970 };

/// A point in time: a span counted from 1904-01-01 00:00:00 UTC.
class tSSTimeAbsolute {
 public:
  /// Always succeeds: status stays as it is.
  tSSTimeAbsolute(const tSSTimeValue& since1904, long* status) noexcept;

  /// The span from 1904 on; negative before that.
  const tSSTimeValue& since1904() const noexcept { return since1904_; }

  /// Makes of value, a time counted from epoch, one counted from 1904; the reverse for any
  /// direction but kEpochTo1904. Sets kUnknownUnitOrEpoch, and leaves value, for an epoch that is
  /// none of tEpoch; sets kTimeOverflow when the sum does not fit, and value then holds its low 128
  /// bits. An earlier error in status stays, and does not keep the conversion from being done.
  static void _CorrectEpoch(tEpochConversion direction, tEpoch epoch, tSSTimeValue& value,
                            long* status) noexcept;

 private:
  tSSTimeValue since1904_;
};

}  // namespace nQVSS100
