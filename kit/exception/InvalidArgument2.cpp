#include "kit/exception/InvalidArgument2.h"

namespace qv::kit::exception {

InvalidArgument2::InvalidArgument2(const String& detail)
    : message_(String(InvalidArgument::what()) + ": " + detail) {}

}  // namespace qv::kit::exception
