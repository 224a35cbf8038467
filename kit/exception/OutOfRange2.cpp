#include "kit/exception/OutOfRange2.h"

namespace qv::kit::exception {

OutOfRange2::OutOfRange2(const String& detail)
    : message_(String(OutOfRange::what()) + ": " + detail) {}

}  // namespace qv::kit::exception
