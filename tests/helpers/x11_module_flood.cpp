// Registers, sends COUNT "applicationFocused" reports (true, 0 .. COUNT-1) as fast as it can,
// then one "supplyModuleReady", prints "sent <accepted sends>" and exits.
#include "x11_module_common.h"

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 3)
        return 2;
    const auto dashboard = KorvexNative::WindowHandle(QByteArray(argv[1]).toULongLong());
    const int count = QByteArray(argv[2]).toInt();
    X11Module module;
    module.registerWith(dashboard);
    int accepted = 0;
    for (int i = 0; i < count; ++i)
        accepted += module.send(dashboard, X11Module::report(QStringLiteral("applicationFocused"),
                                                             { true, uint(i) }))
                ? 1 : 0;
    accepted += module.send(dashboard, X11Module::report(QStringLiteral("supplyModuleReady"),
                                                         { int(module.handle()), 1, QStringLiteral("flood") }))
            ? 1 : 0;
    say("sent " + QByteArray::number(accepted));
    return 0;
}
