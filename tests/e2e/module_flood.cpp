// Registers, sends 10,000 "applicationWasClicked" reports as fast as it can, then reports
// ready and waits to be ended.
#include "e2e_module_helper.h"

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    E2eModuleHelper helper;
    if (!helper.registered)
        return 2;
    for (int i = 0; i < 10000; ++i)
        if (!helper.client->reportClicked())
            return 3;
    helper.client->reportReady(QStringLiteral("module_flood"));
    return app.exec();
}
