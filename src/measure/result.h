// How adding to a measurement ended.
#ifndef VESKARO_MEASURE_RESULT_H
#define VESKARO_MEASURE_RESULT_H

#include "platform/loop.h"

namespace veskaro::measure {

enum class Result { kDone, kNotANumber, kNoMemory, kCancelled, kExecutorFailed, kOtherPicture };

inline Result resultOf(platform::LoopResult loop) {
  switch (loop) {
    case platform::LoopResult::kDone:
      return Result::kDone;
    case platform::LoopResult::kBadItem:
      return Result::kNotANumber;
    case platform::LoopResult::kCancelled:
      return Result::kCancelled;
    default:
      return Result::kExecutorFailed;
  }
}

}  // namespace veskaro::measure

#endif  // VESKARO_MEASURE_RESULT_H
