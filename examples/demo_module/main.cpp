// The demo module program. It plays the module whose executable name it was started under.
#include "demo_module.h"

#include <QApplication>

#ifdef Q_OS_UNIX
#include <csignal>
#endif

int main(int argc, char **argv)
{
#ifdef Q_OS_UNIX
    // The dashboard holds the other ends of our standard streams; when it dies the module
    // lives on (its window goes back to the desktop), so a log line must not kill it.
    std::signal(SIGPIPE, SIG_IGN);
#endif
    QApplication app(argc, argv);
    DemoModule module(ModuleCommandLine::parse(QCoreApplication::arguments()));
    module.configureFromEnvironment();
    module.start();
    return app.exec();
}
