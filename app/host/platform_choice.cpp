#include "platform_choice.h"

#include <QtGlobal>

namespace PlatformChoice {

QByteArray platformFor(const Environment &environment, const QList<QByteArray> &arguments)
{
    if (!environment.qpaPlatform.isEmpty())
        return {};
    for (const QByteArray &argument : arguments) {
        if (argument == "-platform" || argument.startsWith("-platform=")
            || argument == "--platform" || argument.startsWith("--platform="))
            return {};
    }
    const bool wayland = !environment.waylandDisplay.isEmpty()
            || environment.sessionType == "wayland";
    if (wayland && !environment.display.isEmpty())
        return QByteArrayLiteral("xcb");
    return {};
}

bool modulesOpenInOwnWindows(const QByteArray &platformName, const QByteArray &backendName)
{
    // Nobody looks at an offscreen or minimal window, and nothing opens in one.
    const bool seen = platformName != "offscreen" && platformName != "minimal";
    return seen && backendName == "none";
}

void apply(int argc, char **argv)
{
    Environment environment;
    environment.qpaPlatform = qgetenv("QT_QPA_PLATFORM");
    environment.waylandDisplay = qgetenv("WAYLAND_DISPLAY");
    environment.display = qgetenv("DISPLAY");
    environment.sessionType = qgetenv("XDG_SESSION_TYPE");
    QList<QByteArray> arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QByteArray(argv[i]);
    const QByteArray platform = platformFor(environment, arguments);
    if (!platform.isEmpty())
        qputenv("QT_QPA_PLATFORM", platform);
}

} // namespace PlatformChoice
