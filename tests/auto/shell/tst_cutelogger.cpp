#include "Controllers/favorites_controller.h"
#include "log_capture.h"
#include "logging/cute_logger.h"
#include "printing/printer_directory.h"

#include <QtTest>

Q_LOGGING_CATEGORY(lcLoggerTest, "korvex.test.logger")

class tst_CuteLogger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void levels_data();
    void levels();
    void recordsContext();
    void sourcePath_data();
    void sourcePath();
    void libraryLinesCarryRelativePaths_data();
    void libraryLinesCarryRelativePaths();
    void nonAsciiPathsReachTheLineIntact();
    void printfFormatting();
    void categoryFiltering();
    void nullLoggerWritesNothing();
};

void tst_CuteLogger::levels_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<int>("qtType");
    QTest::newRow("trace") << int(Logger::Trace) << int(QtDebugMsg);
    QTest::newRow("debug") << int(Logger::Debug) << int(QtDebugMsg);
    QTest::newRow("info") << int(Logger::Info) << int(QtInfoMsg);
    QTest::newRow("warning") << int(Logger::Warning) << int(QtWarningMsg);
    QTest::newRow("error") << int(Logger::Error) << int(QtCriticalMsg);
    QTest::newRow("fatal does not abort") << int(Logger::Fatal) << int(QtCriticalMsg);
}

void tst_CuteLogger::levels()
{
    QFETCH(int, level);
    QFETCH(int, qtType);
    LogCapture capture;
    CuteMessageLogger(loggerInstance(), Logger::LogLevel(level), "f.cpp", 1, "void f()").write("x");
    QCOMPARE(capture.lines().size(), 1);
    QCOMPARE(int(capture.lines().first().type), qtType);
}

void tst_CuteLogger::recordsContext()
{
    LogCapture capture;
    const int line = __LINE__ + 1;
    KX_DEBUG(lcLoggerTest, "Dashboard Error: %s", "text");
    QCOMPARE(capture.lines().size(), 1);
    const LogCapture::Line &l = capture.lines().first();
    QCOMPARE(l.message, QStringLiteral("Dashboard Error: text"));
    QCOMPARE(l.category, QByteArray("korvex.test.logger"));
    // The test's target takes the library's way of naming its sources.
    QCOMPARE(QString::fromUtf8(l.file), QDir::toNativeSeparators(QStringLiteral("tst_cutelogger")));
    QCOMPARE(l.line, line);
    QVERIFY2(l.function.contains("tst_CuteLogger::recordsContext"), l.function.constData());

    capture.clear();
    LOG_DEBUG("plain");
    QCOMPARE(capture.lines().size(), 1);
    QCOMPARE(capture.lines().first().category, QByteArray("korvex.suite"));
}

void tst_CuteLogger::sourcePath_data()
{
    QTest::addColumn<QByteArray>("file");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nested") << QByteArray("Controllers/qvipchelper_win32.cpp")
                            << QStringLiteral("Controllers/qvipchelper_win32");
    QTest::newRow("backslashes") << QByteArray("Controllers\\launcher_controller_win.cpp")
                                 << QStringLiteral("Controllers/launcher_controller_win");
    QTest::newRow("top level") << QByteArray("dashboard_main_window.cpp")
                               << QStringLiteral("dashboard_main_window");
    QTest::newRow("header") << QByteArray("models/dashboard_main.h") << QStringLiteral("models/dashboard_main");
    QTest::newRow("dot in a folder only") << QByteArray("a.b/file") << QStringLiteral("a.b/file");
    QTest::newRow("two dots") << QByteArray("x/y.tar.gz") << QStringLiteral("x/y.tar");
    QTest::newRow("dot file") << QByteArray("x/.hidden") << QStringLiteral("x/.hidden");
    QTest::newRow("non-ASCII") << QByteArray("Étiquettes/grüße.cpp") << QStringLiteral("Étiquettes/grüße");
}

void tst_CuteLogger::sourcePath()
{
    QFETCH(QByteArray, file);
    QFETCH(QString, expected);
    QCOMPARE(QString::fromUtf8(Logger::sourcePath(file.constData())), QDir::toNativeSeparators(expected));
}

void tst_CuteLogger::libraryLinesCarryRelativePaths_data()
{
    QTest::addColumn<QString>("library");
    QTest::addColumn<QString>("expectedFile");
    QTest::newRow("dashboard") << QStringLiteral("dashboard")
                               << QStringLiteral("Controllers/dashboard_common_file_controller");
    QTest::newRow("suite") << QStringLiteral("suite") << QStringLiteral("printing/printer_directory");
}

// Whatever folder the tree was built in, a library's lines carry only the path inside it.
void tst_CuteLogger::libraryLinesCarryRelativePaths()
{
    QFETCH(QString, library);
    QFETCH(QString, expectedFile);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    LogCapture capture;
    if (library == QLatin1String("dashboard")) {
        FavoritesController controller;
        controller.consoleLog(QStringLiteral("from the library"));
    } else {
        const QString path = dir.filePath(QStringLiteral("printers.json"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("{ not json");
        file.close();
        PrinterDirectory directory;
        directory.setSimulatedPrintersFile(path);
    }
    QCOMPARE(capture.lines().size(), 1);
    const LogCapture::Line &line = capture.lines().first();
    QCOMPARE(QString::fromUtf8(line.file), QDir::toNativeSeparators(expectedFile));
    QVERIFY(line.line > 0);
    QVERIFY2(!line.function.isEmpty(), line.function.constData());
}

// The logger decodes UTF-8; on Windows the local 8-bit code page would garble these.
void tst_CuteLogger::nonAsciiPathsReachTheLineIntact()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString folder = dir.filePath(QStringLiteral("Étiquettes grüße ラベル"));
    QVERIFY(QDir().mkpath(folder));
    const QString path = folder + QStringLiteral("/imprimantes.json");
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[");
    file.close();

    LogCapture capture;
    {
        FavoritesController controller;
        controller.consoleLog(path + QStringLiteral(" 100% sûr"));
    }
    PrinterDirectory directory;
    directory.setSimulatedPrintersFile(path);

    const QStringList messages = capture.messages();
    QCOMPARE(messages.size(), 2);
    QCOMPARE(messages.at(0), path + QStringLiteral(" 100% sûr"));
    QVERIFY2(messages.at(1).startsWith(QStringLiteral("Simulated printers file ") + path + QStringLiteral(" is not valid: ")),
             qUtf8Printable(messages.at(1)));
}

void tst_CuteLogger::printfFormatting()
{
    LogCapture capture;
    KX_DEBUG(lcLoggerTest, "Dashboard Error: Failed to encode message - QByteArray failed to copy.\nmethodType: %d", 49321);
    KX_DEBUG(lcLoggerTest, "%s", "100% sure");
    CuteMessageLogger(loggerInstance(), Logger::Debug, "f.cpp", 1, "f", lcLoggerTest()).write(QStringLiteral("ünï"));
    CuteMessageLogger(loggerInstance(), Logger::Debug, "f.cpp", 1, "f", lcLoggerTest()).write(static_cast<const char *>(nullptr));
    QCOMPARE(capture.messages(),
             QStringList({ "Dashboard Error: Failed to encode message - QByteArray failed to copy.\nmethodType: 49321",
                           "100% sure", QStringLiteral("ünï"), QString() }));
}

void tst_CuteLogger::categoryFiltering()
{
    LogCapture capture;
    QLoggingCategory::setFilterRules(QStringLiteral("korvex.test.logger.debug=false"));
    KX_DEBUG(lcLoggerTest, "hidden");
    KX_WARNING(lcLoggerTest, "shown");
    QLoggingCategory::setFilterRules(QString());
    QCOMPARE(capture.messages(), QStringList({ "shown" }));
}

void tst_CuteLogger::nullLoggerWritesNothing()
{
    LogCapture capture;
    CuteMessageLogger(nullptr, Logger::Debug, "f.cpp", 1, "f").write("nothing");
    QVERIFY(capture.lines().isEmpty());
}

QTEST_GUILESS_MAIN(tst_CuteLogger)
#include "tst_cutelogger.moc"
