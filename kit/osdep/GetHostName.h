#pragma once

#include "kit/StringBase.h"

namespace qv::kit::osdep {

/// The name of this host: the configured one where there is one, made fully qualified when
/// forceFqdn is set, else the name that the system goes by, to which no domain is ever added.
/// "localhost" when the system does not tell, or when nobody knows the encoding of the locale;
/// bytes that are no text there become "?".
WString GetHostName(bool forceFqdn);

/// Puts the host name that this installation was configured with into name. No configuration holds
/// one here: always false, and name stays as it is.
bool GetConfiguredHostName(WString& name);

/// name with the domain that it lacks. No domain is known here: always name itself.
WString ForceFQDN(const WString& name);

}  // namespace qv::kit::osdep
