#pragma once

#include <QByteArray>
#include <QDir>
#include <QList>
#include <QString>
#include <QtGlobal>

// Records every Qt log line written while it is alive, with the context the suite's logger
// attaches, so a test can assert exact texts and where they came from.
class LogCapture
{
public:
    struct Line
    {
        QtMsgType type;
        QByteArray category;
        QByteArray file;
        int line;
        QByteArray function;
        QString message;
    };

    LogCapture() : m_previous(qInstallMessageHandler(&LogCapture::handler))
    {
        m_outer = s_current;
        s_current = this;
    }
    ~LogCapture()
    {
        s_current = m_outer;
        qInstallMessageHandler(m_previous);
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    const QList<Line> &lines() const { return m_lines; }
    QStringList messages() const
    {
        QStringList all;
        for (const Line &l : m_lines)
            all << l.message;
        return all;
    }
    QList<Line> linesWithMessage(const QString &message) const
    {
        QList<Line> found;
        for (const Line &l : m_lines)
            if (l.message == message)
                found << l;
        return found;
    }
    void clear() { m_lines.clear(); }

    // The file a library's line carries: its path inside the library, without suffix, with the
    // platform's separators ("Controllers/qvipchelper_win32" gives Controllers\qvipchelper_win32
    // on Windows).
    static QByteArray sourcePath(const char *pathInLibrary)
    {
        return QDir::toNativeSeparators(QString::fromUtf8(pathInLibrary)).toUtf8();
    }

private:
    static void handler(QtMsgType type, const QMessageLogContext &context, const QString &message)
    {
        if (!s_current)
            return;
        s_current->m_lines.append({ type, QByteArray(context.category), QByteArray(context.file),
                                    context.line, QByteArray(context.function), message });
    }

    static inline LogCapture *s_current = nullptr;
    LogCapture *m_outer = nullptr;
    QtMessageHandler m_previous;
    QList<Line> m_lines;
};
