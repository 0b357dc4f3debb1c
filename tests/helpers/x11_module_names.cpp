// Registers each name given on the command line and prints "<name> <id>", one a line.
#include "x11_module_common.h"

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    KorvexNative::NativeWindowBackend *backend = NativeWindowSystem::backend();
    for (int i = 1; i < argc; ++i)
        say(QByteArray(argv[i]) + ' '
            + QByteArray::number(NativeWindowSystem::registerWindowMessage(
                    backend, QString::fromUtf8(argv[i]))));
    return 0;
}
