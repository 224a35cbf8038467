#pragma once

namespace qv::kit::osdep::platform {

/// Whether the process was started with the rights of another user or group than the one who
/// started it (set-user-ID, set-group-ID), whatever rights it has by now.
bool HasLentRights() noexcept;

}  // namespace qv::kit::osdep::platform
