#include "kit/exception/BoundExceeded2.h"

namespace qv::kit::exception {

BoundExceeded2::BoundExceeded2(const String& detail)
    : message_(String(BoundExceeded::what()) + ": " + detail) {}

}  // namespace qv::kit::exception
