// A module that registers with the dashboard window named on its command line, reports ready,
// asks the status of printer P1 and prints the reply ("reply <status>"), then waits for the
// dashboard's "CloseApplicationSignal" broadcast, prints "closed" and exits.
#include "x11_module_common.h"

#include <QTimer>

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 2)
        return 2;
    const auto dashboard = KorvexNative::WindowHandle(QByteArray(argv[1]).toULongLong());
    X11Module module;
    const KorvexNative::MessageId close = module.id("CloseApplicationSignal");
    module.onReceived = [close](const X11Module::Received &got) {
        if (got.dwData == 0 && got.record.methodName == u"getPrinterStatus")
            say("reply " + QByteArray::number(got.record.data.toInt()));
        if (got.dwData == close) {
            say("closed");
            QCoreApplication::exit(0);
        }
    };
    module.registerWith(dashboard);
    module.send(dashboard, X11Module::report(QStringLiteral("supplyModuleReady"),
                                             { int(module.handle()), int(QCoreApplication::applicationPid()),
                                               QStringLiteral("x11 module") }));
    MessageStruct request;
    request.methodType = 1;
    request.methodName = QStringLiteral("getPrinterStatus");
    request.dataType = QStringLiteral("i");
    request.arguments = { QStringLiteral("P1"), QStringLiteral("-") };
    module.send(dashboard, request);
    QTimer::singleShot(60000, &app, [] { QCoreApplication::exit(3); });
    return app.exec();
}
