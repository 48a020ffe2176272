#pragma once

#include <gio/gio.h>

#include "TarnPlatform/bus/CallLimit.h"

namespace tarn {

/// The type of a `SecretService` whose prompts stop the `CallLimit` attached to it while they are on the
/// screen.
///
/// The library's own way of waiting for a prompt does not end when the service dies or hangs under it. This
/// one ends with the prompt, with the service, with the bus, or when the call is cancelled, whichever is
/// first.
GType promptAwareServiceType();

/// Must be called before the first operation of `service`, of the type above; `limit` must outlive it.
void attachLimit(GObject* service, CallLimit& limit);

}  // namespace tarn
