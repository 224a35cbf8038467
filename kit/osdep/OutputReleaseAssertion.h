#pragma once

namespace qv::kit::osdep {

/// Reports a check that failed in a shipped build: one line on standard error, with a bell, naming
/// file, line and message, or the expression when the message is empty. Silent unless, when the
/// library was loaded, the file "vantis.ini" in the current directory held
///
///     [NVE]
///     ShowReleaseAsserts = true
///
/// A file of more than 1 MiB is not read. The call always returns, wherever standard error leads,
/// and leaves errno alone. message must not be null, nor what is printed. Any thread may call.
void OutputReleaseAssertion(const char* expression, const char* message, const char* file,
                            unsigned line) noexcept;

}  // namespace qv::kit::osdep
