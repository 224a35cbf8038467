#pragma once

/* Everything else in an adapter stays hidden. */
#define QV_ADAPTER_EXPORT __attribute__((visibility("default")))
