// A module of the flood benchmark. Started with the dashboard's window id, a kind ("big" or
// "small") and a count; it prints "ready" once it can send, waits for a line on stdin, then
// sends its reports back to back through the native-window backend, as fast as the backend
// takes them, prints "sent <accepted>" and exits.
//  - big:   "applicationWasClicked" reports carrying 2 MiB (a 1 Mi-character string);
//  - small: "applicationFocused" reports (true, 0 .. count-1), about a hundred bytes each.
#include "Controllers/qvipc_message.h"
#include "native_window_system.h"

#include <QGuiApplication>
#include <QWindow>

#include <cstdio>

using namespace KorvexNative;

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 4)
        return 2;
    const auto dashboard = WindowHandle(QByteArray(argv[1]).toULongLong());
    const bool big = QByteArray(argv[2]) == "big";
    const int count = QByteArray(argv[3]).toInt();
    NativeWindowBackend *backend = NativeWindowSystem::backend();
    QWindow window;
    window.create();
    const WindowHandle self = WindowHandle(window.winId());

    const QString bulk = big ? QString(1024 * 1024, QLatin1Char('x')) : QString();
    std::printf("ready\n");
    std::fflush(stdout);
    char line[16];
    if (!std::fgets(line, sizeof line, stdin))
        return 3;

    int accepted = 0;
    for (int i = 0; i < count; ++i) {
        MessageStruct record;
        record.methodName = big ? QStringLiteral("applicationWasClicked")
                                : QStringLiteral("applicationFocused");
        record.dataType = QStringLiteral("-");
        record.arguments = big ? QVariantList{ bulk } : QVariantList{ true, uint(i) };
        QByteArray bytes = QVIPCMessage::encode(record);
        CopyDataStruct copy{ 0, std::uint32_t(bytes.size()), bytes.data() };
        accepted += backend->sendMessage(dashboard, WmCopyData, self,
                                         reinterpret_cast<LParam>(&copy)) != 0;
    }
    std::printf("sent %d\n", accepted);
    std::fflush(stdout);
    // The backend's destructor waits, bounded, for the dashboard to read what is still unread.
    return 0;
}
