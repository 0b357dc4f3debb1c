#pragma once

// What the tests that drive the real host program on an X server share: a user of their own
// for every program they start and for their own copy of the front end, made fresh for each
// run, so that nothing an earlier run left (a theme, a language, a window's place) changes
// what they see; and their main().

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <QString>
#include <QTest>

#include <cstdio>
#include <initializer_list>

#include <sys/stat.h>

namespace HostX11Test {

// Points environment at a user whose home is home: the XDG folders below it, and a private
// runtime folder (Qt refuses one others can read). False when the folders cannot be made.
inline bool setHome(QProcessEnvironment *environment, const QString &home)
{
    const QDir dir(home);
    const QString runtime = dir.filePath(QStringLiteral("runtime"));
    if (!QDir().mkpath(runtime) || ::chmod(QFile::encodeName(runtime).constData(), 0700) != 0)
        return false;
    environment->insert(QStringLiteral("HOME"), dir.path());
    environment->insert(QStringLiteral("XDG_CONFIG_HOME"), dir.filePath(QStringLiteral(".config")));
    environment->insert(QStringLiteral("XDG_DATA_HOME"), dir.filePath(QStringLiteral(".local/share")));
    environment->insert(QStringLiteral("XDG_CACHE_HOME"), dir.filePath(QStringLiteral(".cache")));
    environment->insert(QStringLiteral("XDG_STATE_HOME"), dir.filePath(QStringLiteral(".local/state")));
    environment->insert(QStringLiteral("XDG_RUNTIME_DIR"), runtime);
    // The machine's defaults stay readable (/etc/xdg): a window manager's key bindings live there.
    environment->remove(QStringLiteral("XDG_CONFIG_DIRS"));
    return true;
}

// The test process itself moves to a home of its own before its copy of the front end reads
// any settings: test mode keeps them below HOME, which CTest keeps from run to run.
inline bool useOwnHome(const QString &home)
{
    QProcessEnvironment own;
    if (!setHome(&own, home))
        return false;
    for (const QString &name : own.keys())
        qputenv(name.toLocal8Bit().constData(), QFile::encodeName(own.value(name)));
    QStandardPaths::setTestModeEnabled(true);
    return true;
}

struct Tool
{
    const char *program;
    const char *package; // the Debian package that has it
};

// Runs the test class on the X server of DISPLAY, or skips (77) and says why when a tool or
// the display is missing. The test's own Qt runs offscreen: its copy of the front end must not
// show on the display it drives. The test class gets the environment the programs it starts
// should see, the test's own from before it chose its platform.
template<typename Test>
int run(int argc, char **argv, std::initializer_list<Tool> tools)
{
    for (const Tool &tool : tools) {
        if (QStandardPaths::findExecutable(QString::fromLatin1(tool.program)).isEmpty()) {
            std::printf("SKIP: %s is not installed (Debian package %s)\n", tool.program, tool.package);
            return 77;
        }
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::printf("SKIP: no X display; run this test through tests/run_with_xvfb\n");
        return 77;
    }
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_QUICK_BACKEND", "software");
    QGuiApplication app(argc, argv);
    Test test(environment);
    return QTest::qExec(&test, argc, argv);
}

} // namespace HostX11Test
