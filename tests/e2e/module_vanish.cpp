// Registers, reports ready and ends at once without unregistering, so its window dies while
// the dashboard still lists it.
#include "e2e_module_helper.h"

#include <QTimer>

#include <cstdlib>

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    E2eModuleHelper helper;
    if (!helper.registered || !helper.client->reportReady(QStringLiteral("module_vanish")))
        return 2;
    // Once the event loop has passed the messages on, gone without a word.
    QTimer::singleShot(0, [] { std::_Exit(0); });
    return app.exec();
}
