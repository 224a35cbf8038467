#include "kit/exception/AccessDenied.h"

namespace qv::kit::exception {

AccessDenied::AccessDenied(const WString& path) : message_("Access denied: ", path) {}

}  // namespace qv::kit::exception
