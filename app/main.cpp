// The Korvex PRO dashboard program: the dashboard window with its QML front end.

#include "dashboard_host.h"
#include "platform_choice.h"
#include "screenshot_tour.h"

#include <dashboard_main_window.h>

#include <QCommandLineParser>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTextStream>

int main(int argc, char *argv[])
{
    // Answered before the application connects to a display, so it works in any terminal.
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "--version") == 0 || qstrcmp(argv[i], "-v") == 0) {
            QTextStream(stdout) << "korvex-dashboard " << KORVEX_VERSION << '\n';
            return 0;
        }
    }
    PlatformChoice::apply(argc, argv);
    QGuiApplication::setOrganizationName(QStringLiteral("Quorvane Inc"));
    QGuiApplication::setApplicationName(QStringLiteral("KorvexPro"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Korvex PRO"));
    QGuiApplication::setApplicationVersion(QStringLiteral(KORVEX_VERSION));
    // Lets task bars on X11 and Wayland match the window to the desktop entry and its icon.
    QGuiApplication::setDesktopFileName(QStringLiteral(KORVEX_DESKTOP_ID));
    QGuiApplication app(argc, argv);

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Korvex PRO dashboard"));
    parser.addHelpOption();
    parser.addVersionOption();  // listed in --help; answered above
    const QCommandLineOption labelFolder(QStringLiteral("label-folder"),
            QStringLiteral("Folder of the user's labels (default: under the documents folder)."),
            QStringLiteral("folder"));
    const QCommandLineOption noSeed(QStringLiteral("no-samples"),
            QStringLiteral("Do not create the label folder with sample labels when it is missing."));
    const QCommandLineOption testMode(QStringLiteral("test-mode"),
            QStringLiteral("Start the modules in their test mode."));
    const QCommandLineOption tour(QStringLiteral("screenshot-tour"),
            QStringLiteral("Visit the main pages, write a screenshot of each to folder, then quit."),
            QStringLiteral("folder"));
    parser.addOptions({ labelFolder, noSeed, testMode, tour });
    parser.addPositionalArgument(QStringLiteral("labels"),
            QStringLiteral("Label files to open, each in the module that edits it."),
            QStringLiteral("[label...]"));
    parser.process(app);

    DashboardHost host;
    DashboardHost::Options options;
    options.labelFolder = parser.value(labelFolder);
    options.seedLabelFolder = !parser.isSet(noSeed);
    options.testMode = parser.isSet(testMode);
    const auto reportFailure = [&host] {
        QTextStream(stderr) << "The dashboard's front end could not be loaded:\n"
                            << host.errors().join(QLatin1Char('\n')) << '\n';
    };
    QObject::connect(&host, &DashboardHost::failed, &app, [&] {
        reportFailure();
        app.exit(1);
    });

    std::unique_ptr<ScreenshotTour> screenshots;
    if (parser.isSet(tour)) {
        screenshots = std::make_unique<ScreenshotTour>(&host, parser.value(tour));
        QObject::connect(screenshots.get(), &ScreenshotTour::finished, &app, [&](bool ok) {
            QTextStream out(stdout);
            for (const QString &file : screenshots->written())
                out << "screenshot: " << file << '\n';
            for (const QString &file : screenshots->failures())
                out << "screenshot failed: " << file << '\n';
            app.exit(ok ? 0 : 1);
        });
        QObject::connect(&host, &DashboardHost::ready, screenshots.get(), &ScreenshotTour::start);
    }
    // A file manager passes the label files the user opened (the desktop entry's %F); each goes
    // the way of a label opened from a file list, so a missing module program is reported.
    const QStringList labels = parser.positionalArguments();
    QObject::connect(&host, &DashboardHost::ready, &app, [&host, labels] {
        QObject *modules = host.rootItem()->property("moduleHost").value<QObject *>();
        for (const QString &label : labels) {
            const QString path = QFileInfo(label).absoluteFilePath();
            const int type = host.window()->getFileArgumentApplicationType(path);
            if (type == DashboardGlobal::APP_NULL || !modules) {
                QTextStream(stderr) << "Not a label file the dashboard can open: " << path << '\n';
                continue;
            }
            QVariant name;
            QMetaObject::invokeMethod(host.rootItem(), "navName", Q_RETURN_ARG(QVariant, name),
                                      Q_ARG(QVariant, type));
            QMetaObject::invokeMethod(modules, "launch", Q_ARG(QVariant, type),
                                      Q_ARG(QVariant, path), Q_ARG(QVariant, name));
        }
    });
    if (!host.start(options)) {
        reportFailure();
        return 1;
    }
    return app.exec();
}
