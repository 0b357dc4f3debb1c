// Registers, then sends a 1 MiB "applicationWasClicked" report (the bytes in an argument nobody
// reads) every 100 ms, printing "sending" once the first is out, until it is killed: a module
// that dies in the middle of its messages.
#include "x11_module_common.h"

#include <QTimer>

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 2)
        return 2;
    const auto dashboard = KorvexNative::WindowHandle(QByteArray(argv[1]).toULongLong());
    X11Module module;
    module.registerWith(dashboard);
    const QString big(512 * 1024, QLatin1Char('x')); // 1 MiB as UTF-16
    QTimer timer;
    bool first = true;
    QObject::connect(&timer, &QTimer::timeout, &app, [&] {
        module.send(dashboard, X11Module::report(QStringLiteral("applicationWasClicked"), { big }));
        if (first)
            say("sending");
        first = false;
    });
    timer.start(100);
    return app.exec();
}
