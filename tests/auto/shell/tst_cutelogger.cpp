#include "log_capture.h"
#include "logging/cute_logger.h"

#include <QtTest>

Q_LOGGING_CATEGORY(lcLoggerTest, "korvex.test.logger")

class tst_CuteLogger : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void levels_data();
    void levels();
    void recordsContext();
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
    QVERIFY(l.file.endsWith("tst_cutelogger.cpp"));
    QCOMPARE(l.line, line);
    QVERIFY2(l.function.contains("tst_CuteLogger::recordsContext"), l.function.constData());

    capture.clear();
    LOG_DEBUG("plain");
    QCOMPARE(capture.lines().size(), 1);
    QCOMPARE(capture.lines().first().category, QByteArray("korvex.suite"));
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
