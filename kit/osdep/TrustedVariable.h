#pragma once

namespace qv::kit::osdep {

/// The value of an environment variable, or null when it is not set, or when the process was
/// started with the rights of another user or group than the one who started it (set-user-ID,
/// set-group-ID), who may not say where such a process looks for keys. The text belongs to the
/// environment. Thread-safe as long as no thread changes the environment.
const char* TrustedVariable(const char* name) noexcept;

}  // namespace qv::kit::osdep
