#pragma once

#include "korvexdashboard_export.h"
#include "platforms/native_window_backend.h"

#include <QString>

#include <memory>

// The dashboard's door to the native window system: which backend serves this process, and
// Qt-typed conveniences over it. The work is done by one KorvexNative::NativeWindowBackend per
// window system: Win32, X11, none (no native windows), and the recording one tests install.
class KORVEXDASHBOARD_EXPORT NativeWindowSystem
{
public:
    // The backend in use: the innermost ScopedBackend's, else the platform's default, created
    // on first use from QGuiApplication::platformName().
    static KorvexNative::NativeWindowBackend *backend();

    // A new backend for a Qt platform name, as backendNameFor chooses for this operating
    // system.
    static std::unique_ptr<KorvexNative::NativeWindowBackend>
    createBackend(const QString &platformName);

    enum class OperatingSystem { Windows, Linux, Other };
    static OperatingSystem currentOperatingSystem();
    // The backend ("win32", "xcb" or "none") for a Qt platform on an operating system. On
    // Windows the window system is Win32 whatever plugin draws ("windows", "direct2d", ...),
    // except on the offscreen and minimal platforms, which have no native windows. Elsewhere
    // "xcb" is X11 and every other platform gets "none", which keeps nothing.
    static QByteArray backendNameFor(const QString &platformName, OperatingSystem os);

    static KorvexNative::MessageId registerWindowMessage(KorvexNative::NativeWindowBackend *backend,
                                                         const QString &name);

    // Makes a backend the process's backend for the scope's lifetime; scopes nest. Objects
    // capture the backend when they are constructed, so install the scope first.
    class KORVEXDASHBOARD_EXPORT ScopedBackend
    {
    public:
        explicit ScopedBackend(KorvexNative::NativeWindowBackend *backend);
        ~ScopedBackend();
        ScopedBackend(const ScopedBackend &) = delete;
        ScopedBackend &operator=(const ScopedBackend &) = delete;

    private:
        KorvexNative::NativeWindowBackend *m_previous;
    };

private:
    NativeWindowSystem() = delete;
};
