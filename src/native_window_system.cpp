#include "native_window_system.h"

#include "dashboard_logging.h"
#include "platforms/none/native_window_backend_none.h"

#ifdef Q_OS_WIN
#include "platforms/win32/native_window_backend_win32.h"
#endif
#ifdef KORVEX_HAVE_XCB
#include "platforms/xcb/native_window_backend_xcb.h"
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

NativeWindowSystem::OperatingSystem NativeWindowSystem::currentOperatingSystem()
{
#if defined(Q_OS_WIN)
    return OperatingSystem::Windows;
#elif defined(Q_OS_LINUX)
    return OperatingSystem::Linux;
#else
    return OperatingSystem::Other;
#endif
}

QByteArray NativeWindowSystem::backendNameFor(const QString &platformName, OperatingSystem os)
{
    const bool windowless = platformName == u"offscreen" || platformName == u"minimal";
    if (os == OperatingSystem::Windows)
        return windowless ? QByteArrayLiteral("none") : QByteArrayLiteral("win32");
    if (platformName == u"xcb")
        return QByteArrayLiteral("xcb");
    return QByteArrayLiteral("none");
}

std::unique_ptr<KorvexNative::NativeWindowBackend>
NativeWindowSystem::createBackend(const QString &platformName)
{
    const QByteArray chosen = backendNameFor(platformName, currentOperatingSystem());
#ifdef Q_OS_WIN
    if (chosen == "win32")
        return KorvexNative::createWin32NativeWindowBackend();
#endif
#ifdef KORVEX_HAVE_XCB
    if (chosen == "xcb")
        return KorvexNative::createXcbNativeWindowBackend();
#endif
    if (chosen != "none")
        KX_DEBUG(lcWindow, "No %s backend in this build; modules cannot be embedded.",
                 chosen.constData());
    return KorvexNative::createNoneNativeWindowBackend();
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
