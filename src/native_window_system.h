#pragma once

#include "korvexdashboard_export.h"
#include "platforms/native_window_backend.h"

#include <QString>

#include <memory>

// The dashboard's door to the native window system: which backend serves this process, and
// Qt-typed conveniences over it. The work is done by one KorvexNative::NativeWindowBackend per
// window system (Win32, in memory; X11 to come).
class KORVEXDASHBOARD_EXPORT NativeWindowSystem
{
public:
    // The backend in use: the innermost ScopedBackend's, else the platform's default, created
    // on first use from QGuiApplication::platformName().
    static KorvexNative::NativeWindowBackend *backend();

    // A new backend for a Qt platform name: "windows" gives the Win32 backend (on Windows),
    // everything else the in-memory one. "xcb" is where the X11 backend will plug in.
    static std::unique_ptr<KorvexNative::NativeWindowBackend>
    createBackend(const QString &platformName);

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
