#include "native_window_system.h"

#include "dashboard_logging.h"
#include "platforms/memory/memory_native_window_backend.h"

#ifdef Q_OS_WIN
#include "platforms/win32/native_window_backend_win32.h"
#endif

#include <QGuiApplication>

namespace {

KorvexNative::NativeWindowBackend *&overrideBackend()
{
    static KorvexNative::NativeWindowBackend *backend = nullptr;
    return backend;
}

} // namespace

KorvexNative::NativeWindowBackend *NativeWindowSystem::backend()
{
    if (KorvexNative::NativeWindowBackend *installed = overrideBackend())
        return installed;
    // The process's default lives as long as the process: windows may outlive the application
    // object and still call into it while they are destroyed.
    static const std::unique_ptr<KorvexNative::NativeWindowBackend> platformDefault =
            createBackend(QGuiApplication::platformName());
    return platformDefault.get();
}

std::unique_ptr<KorvexNative::NativeWindowBackend>
NativeWindowSystem::createBackend(const QString &platformName)
{
#ifdef Q_OS_WIN
    if (platformName == u"windows")
        return KorvexNative::createWin32NativeWindowBackend();
#endif
    if (platformName == u"xcb") {
        // The X11 backend plugs in here; until then modules cannot be embedded under X11.
        KX_DEBUG(lcWindow, "No native window backend for xcb yet; using the in-memory one.");
    }
    return std::make_unique<MemoryNativeWindowBackend>();
}

KorvexNative::MessageId NativeWindowSystem::registerWindowMessage(
        KorvexNative::NativeWindowBackend *backend, const QString &name)
{
    if (!backend)
        return 0;
    return backend->registerWindowMessage(reinterpret_cast<const char16_t *>(name.utf16()));
}

NativeWindowSystem::ScopedBackend::ScopedBackend(KorvexNative::NativeWindowBackend *backend)
    : m_previous(overrideBackend())
{
    overrideBackend() = backend;
}

NativeWindowSystem::ScopedBackend::~ScopedBackend()
{
    overrideBackend() = m_previous;
}
