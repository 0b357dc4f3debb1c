#pragma once

// What the end-to-end tests of the real host program use to drive it and to look at the X
// server: the X tools (xdotool, xwininfo, xprop, import) run to their end, window places and
// trees as xwininfo reports them, and processes as /proc shows them.

#include <QColor>
#include <QDir>
#include <QMultiMap>
#include <QFile>
#include <QFileInfo>
#include <QPoint>
#include <QProcess>
#include <QQuickItem>
#include <QRect>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QStringList>

#include <optional>

namespace E2eHost {

// The host and a module start in well under a second; a loaded machine running the sanitizer
// build needs far more.
inline constexpr int START_TIMEOUT_MS = 60000;
inline constexpr int TOOL_TIMEOUT_MS = 20000;

inline const QStringList &requiredTools()
{
    static const QStringList tools = { QStringLiteral("xdotool"), QStringLiteral("xwininfo"),
                                       QStringLiteral("xprop"), QStringLiteral("import") };
    return tools;
}

struct ToolOutput
{
    bool ok = false;
    QString out;
};

// Runs one X tool to its end; ok when it exited 0.
inline ToolOutput runTool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::SeparateChannels);
    process.start(program, arguments);
    ToolOutput result;
    if (!process.waitForStarted(TOOL_TIMEOUT_MS))
        return result;
    if (!process.waitForFinished(TOOL_TIMEOUT_MS)) {
        process.kill();
        process.waitForFinished();
        return result;
    }
    result.ok = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    result.out = QString::fromLocal8Bit(process.readAllStandardOutput());
    return result;
}

// The arguments a process was started with (its program first); empty when it is gone.
inline QList<QByteArray> commandLineOf(qint64 pid)
{
    QFile file(QStringLiteral("/proc/%1/cmdline").arg(pid));
    return file.open(QIODevice::ReadOnly) ? file.readAll().split('\0') : QList<QByteArray>();
}

// The X windows shown on the screen that carry the dashboard's title.
inline QStringList shownDashboards()
{
    const ToolOutput shown = runTool(QStringLiteral("xdotool"),
            { QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
              QStringLiteral("^Korvex PRO$") });
    return shown.out.split(u'\n', Qt::SkipEmptyParts);
}

inline QString hex(quint32 window)
{
    return QStringLiteral("0x") + QString::number(window, 16);
}

struct WindowInfo
{
    QRect rect; // absolute, on the root window
    bool viewable = false;
};

// What xwininfo says of a window; nothing when it does not exist (any more).
inline std::optional<WindowInfo> windowInfo(quint32 window)
{
    const ToolOutput info = runTool(QStringLiteral("xwininfo"), { QStringLiteral("-id"), hex(window) });
    if (!info.ok)
        return std::nullopt;
    const auto number = [&](const char *label) {
        const QRegularExpression pattern(QString::fromLatin1(label) + QStringLiteral(":\\s+(-?\\d+)"));
        return pattern.match(info.out).captured(1).toInt();
    };
    WindowInfo result;
    result.rect = QRect(number("Absolute upper-left X"), number("Absolute upper-left Y"),
                        number("Width"), number("Height"));
    result.viewable = info.out.contains(QLatin1String("Map State: IsViewable"));
    return result;
}

// Every window below the given one, at any depth.
// Nothing when the tree could not be read: a window that is destroyed while xwininfo walks
// the tree makes it fail, which must not read as "no such window below".
inline std::optional<QList<quint32>> descendants(quint32 window)
{
    const ToolOutput tree = runTool(QStringLiteral("xwininfo"),
                                    { QStringLiteral("-tree"), QStringLiteral("-id"), hex(window) });
    if (!tree.ok)
        return std::nullopt;
    QList<quint32> windows;
    static const QRegularExpression line(QStringLiteral("^\\s+0x([0-9a-fA-F]+) "),
                                         QRegularExpression::MultilineOption);
    for (auto it = line.globalMatch(tree.out); it.hasNext();)
        windows << it.next().captured(1).toUInt(nullptr, 16);
    return windows;
}

// The process a window says it belongs to (_NET_WM_PID), 0 when it says nothing.
inline qint64 windowPid(quint32 window)
{
    const ToolOutput prop = runTool(QStringLiteral("xprop"),
                                    { QStringLiteral("-id"), hex(window), QStringLiteral("_NET_WM_PID") });
    static const QRegularExpression value(QStringLiteral("= (\\d+)"));
    return prop.ok ? value.match(prop.out).captured(1).toLongLong() : 0;
}

// The file name of a process's program, and its parent process.
inline QString programName(qint64 pid)
{
    return QFileInfo(QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(pid))).fileName();
}

inline qint64 parentPid(qint64 pid)
{
    QFile stat(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return 0;
    // "pid (name) state ppid ...": the name may hold spaces and parentheses.
    const QByteArray text = stat.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 1 ? fields.at(1).toLongLong() : 0;
}

// Gone, or a zombie its parent has yet to collect.
inline bool processGone(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    return !status.open(QIODevice::ReadOnly) || status.readAll().contains("State:\tZ");
}

inline QPoint centerInWindow(const QQuickItem *item)
{
    return item->mapToScene(QPointF(item->width() / 2, item->height() / 2)).toPoint();
}

inline bool similar(QColor a, QColor b)
{
    // Flat fills come out exact; the margin only absorbs a colour conversion.
    return qAbs(a.red() - b.red()) <= 3 && qAbs(a.green() - b.green()) <= 3
           && qAbs(a.blue() - b.blue()) <= 3;
}


} // namespace E2eHost

namespace E2eHost {

// The running children of a process, by program file name.
inline QMultiMap<QString, qint64> childPrograms(qint64 parent)
{
    QMultiMap<QString, qint64> children;
    const QStringList entries = QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &entry : entries) {
        bool ok = false;
        const qint64 pid = entry.toLongLong(&ok);
        if (ok && parentPid(pid) == parent && !processGone(pid))
            children.insert(programName(pid), pid);
    }
    return children;
}

} // namespace E2eHost
