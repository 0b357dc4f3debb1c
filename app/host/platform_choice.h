#pragma once

#include <QByteArray>
#include <QList>

// Which Qt platform the dashboard asks for before it starts. Modules are embedded and spoken to
// through the X server, so on a Wayland desktop that also runs XWayland the dashboard runs on
// xcb, and the modules it starts inherit that, unless the user chose a platform. Without any X
// server it stays on what Qt picks, and the modules open in windows of their own.
namespace PlatformChoice {

struct Environment
{
    QByteArray qpaPlatform;     // QT_QPA_PLATFORM
    QByteArray waylandDisplay;  // WAYLAND_DISPLAY
    QByteArray display;         // DISPLAY
    QByteArray sessionType;     // XDG_SESSION_TYPE
};

// The platform to set in QT_QPA_PLATFORM, or empty to leave Qt's choice. arguments are the
// program's, for "-platform".
QByteArray platformFor(const Environment &environment, const QList<QByteArray> &arguments);

// Whether modules open in windows of their own: the Qt platform draws on a desktop the user
// sees, and the native-window backend chosen for it ("xcb", "win32", "none") embeds nothing.
bool modulesOpenInOwnWindows(const QByteArray &platformName, const QByteArray &backendName);

// Reads the process environment and sets QT_QPA_PLATFORM when platformFor says so. Call before
// the application object exists.
void apply(int argc, char **argv);

} // namespace PlatformChoice
