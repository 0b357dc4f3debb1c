// The demo module program. It plays the module whose executable name it was started under.
#include "demo_module.h"

#include <QApplication>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    DemoModule module(ModuleCommandLine::parse(QCoreApplication::arguments()));
    module.configureFromEnvironment();
    module.start();
    return app.exec();
}
