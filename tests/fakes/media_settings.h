#pragma once

#include "tests/fakes/fake_store.h"

/** The store of a camera with three video streams, H.264, MJPEG and MPEG-4, and two audio streams, AAC and G.711.
 */
[[nodiscard]] FakeStore::Settings mediaSettings();
