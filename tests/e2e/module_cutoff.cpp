// Registers, then sends 1 MiB "openLabelFile" reports until it is killed by its own hand
// after the delay in microseconds given as its last argument, so that it dies in the middle
// of a message.
#include "e2e_module_helper.h"

#include <chrono>
#include <csignal>
#include <thread>

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    E2eModuleHelper helper;
    if (!helper.registered)
        return 2;
    const long delay = QCoreApplication::arguments().last().toLong();
    std::thread killer([delay] {
        std::this_thread::sleep_for(std::chrono::microseconds(delay));
        std::raise(SIGKILL);
    });
    killer.detach();
    const QString path = QStringLiteral("/cut/") + QString(512 * 1024, QLatin1Char('x'));
    for (;;) {
        helper.client->requestOpenLabelFile(path);
        QCoreApplication::processEvents();
    }
}
