// Plays a dashboard that embeds the window given on its command line into a container of its
// own, prints "embedded <container>" and waits to be killed.
#include "x11_module_common.h"

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 2)
        return 2;
    const auto module = KorvexNative::WindowHandle(QByteArray(argv[1]).toULongLong());
    KorvexNative::NativeWindowBackend *backend = NativeWindowSystem::backend();
    const KorvexNative::WindowHandle container = backend->createWindowEx(
            0, u"STATIC", u"embedder", KorvexNative::WsVisible, 0, 0, 400, 300, 0, 0, nullptr,
            nullptr);
    if (!container || !backend->setParent(module, container))
        return 1;
    backend->setWindowPos(module, 0, 0, 0, 400, 300, KorvexNative::SwpShowWindow);
    say("embedded " + QByteArray::number(quint64(container)));
    return app.exec();
}
