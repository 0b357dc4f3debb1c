// A dashboard in a process of its own, for the test that kills it: shows the main window,
// launches the module whose type is its first argument, embeds the module's window when it is
// ready and prints "embedded <module window> <module pid> <container window>".
#include "dashboard_app_window.h"
#include "dashboard_main_window.h"

#include <QGuiApplication>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QTimer>

#include <cstdio>

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 2)
        return 2;
    const auto type = DashboardGlobal::ApplicationType(QByteArray(argv[1]).toInt());
    qmlRegisterType<DashboardAppWindow>("Korvex.E2e", 1, 0, "DashboardAppWindow");
    QQmlEngine engine;
    DashboardMainWindow window;
    window.resize(1000, 700);
    window.show();
    QObject::connect(&window, &DashboardMainWindow::applicationReady, &window,
                     [&](int appWId, int pid, const QString &) {
                         engine.rootContext()->setContextProperty(
                                 QStringLiteral("moduleHandle"), QVariant::fromValue<double>(uint(appWId)));
                         QQmlComponent component(&engine);
                         component.setData("import Korvex.E2e 1.0\nDashboardAppWindow { "
                                           "windowId: moduleHandle; x: 10; y: 10; width: 800; "
                                           "height: 600 }",
                                           QUrl());
                         auto *item = qobject_cast<DashboardAppWindow *>(
                                 component.beginCreate(engine.rootContext()));
                         if (!item)
                             return;
                         item->setParent(window.contentItem());
                         item->setParentItem(window.contentItem());
                         component.completeCreate();
                         std::printf("embedded %u %d %llu\n", uint(appWId), pid,
                                     static_cast<unsigned long long>(item->containerWindow()));
                         std::fflush(stdout);
                     });
    QTimer::singleShot(0, &window, [&] { window.launchApplication(type); });
    return app.exec();
}
