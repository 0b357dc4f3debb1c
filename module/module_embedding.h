#pragma once

#include "platforms/native_window_backend.h"

#include <QByteArray>

// What a module's window needs to know of the window system to be shown only inside the
// dashboard. On X11 a top-level window that is mapped once belongs to the window manager, so a
// module started by a dashboard keeps its window unmapped until the dashboard has taken it and
// says so with XEmbed's XEMBED_EMBEDDED_NOTIFY. Elsewhere the dashboard takes a shown window.
namespace ModuleEmbedding {

// True when this process runs on a window system whose modules wait to be embedded.
bool waitsForEmbedding();

// The embedder's window when the native event tells `window` that it was embedded, else 0.
KorvexNative::WindowHandle embeddedNotification(const QByteArray &eventType, void *message,
                                                KorvexNative::WindowHandle window);

// X delivers a key to the window under the pointer when the focus is on one of its ancestors:
// the dashboard's window holds the keyboard, yet a key typed while the pointer rests over the
// module reaches the module. Such a key (this process has no focused window, and the key came
// to `window` or a window inside it) is handed on to the embedder's window and true returned;
// typed text then never depends on where the pointer rests.
bool forwardStrayKey(const QByteArray &eventType, void *message,
                     KorvexNative::WindowHandle window, KorvexNative::WindowHandle embedder);

} // namespace ModuleEmbedding
