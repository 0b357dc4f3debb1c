#include "module_embedding.h"

// The window system takes a shown window into another without a window manager in between.
namespace ModuleEmbedding {

bool waitsForEmbedding()
{
    return false;
}

KorvexNative::WindowHandle embeddedNotification(const QByteArray &, void *,
                                                KorvexNative::WindowHandle)
{
    return 0;
}

bool forwardStrayKey(const QByteArray &, void *, KorvexNative::WindowHandle,
                     KorvexNative::WindowHandle)
{
    return false;
}

} // namespace ModuleEmbedding
