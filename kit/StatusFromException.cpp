#include "kit/StatusFromException.h"

#include "kit/exception/Exception.h"

namespace qv::kit {

namespace {

constexpr std::int32_t kFailed = -1;

std::int32_t CodeOfCurrentException() noexcept {
  try {
    throw;
  } catch (const exception::Exception& exception) {
    // Some operating-system errors carry codes that would read as success.
    return exception.getErrorCode() < 0 ? exception.getErrorCode() : kFailed;
  } catch (...) {
    return kFailed;
  }
}

}  // namespace

void SetStatusFromCurrentException(StatusChain& status) noexcept {
  status.set(CodeOfCurrentException());
}

}  // namespace qv::kit
