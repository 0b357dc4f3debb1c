#include "logging/cute_logger.h"

#include <QByteArray>
#include <QDir>

#include <cstdarg>

Q_LOGGING_CATEGORY(lcSuiteDefaultCategory, "korvex.suite")

const QLoggingCategory &lcSuiteDefault()
{
    return lcSuiteDefaultCategory();
}

void Logger::write(LogLevel level, const char *file, int line, const char *function,
                   const QLoggingCategory &category, const QString &message)
{
    const QByteArray path = sourcePath(file);
    const QMessageLogger logger(file ? path.constData() : nullptr, line, function);
    const QByteArray text = message.toUtf8();
    switch (level) {
    case Trace:
    case Debug:
        logger.debug(category, "%s", text.constData());
        break;
    case Info:
        logger.info(category, "%s", text.constData());
        break;
    case Warning:
        logger.warning(category, "%s", text.constData());
        break;
    case Error:
    case Fatal:
        // A suite library never aborts its host: fatal lines are reported as critical.
        logger.critical(category, "%s", text.constData());
        break;
    }
}

QByteArray Logger::sourcePath(const char *file)
{
    if (!file)
        return QByteArray();
    QString path = QString::fromUtf8(file);
    path.replace(QLatin1Char('\\'), QLatin1Char('/'));
    const qsizetype nameStart = path.lastIndexOf(QLatin1Char('/')) + 1;
    const qsizetype dot = path.lastIndexOf(QLatin1Char('.'));
    if (dot > nameStart)
        path.truncate(dot);
    return QDir::toNativeSeparators(path).toUtf8();
}

Logger *loggerInstance()
{
    static Logger instance;
    return &instance;
}

CuteMessageLogger::CuteMessageLogger(Logger *logger, Logger::LogLevel level, const char *file,
                                     int line, const char *function)
    : CuteMessageLogger(logger, level, file, line, function, lcSuiteDefault())
{
}

CuteMessageLogger::CuteMessageLogger(Logger *logger, Logger::LogLevel level, const char *file,
                                     int line, const char *function,
                                     const QLoggingCategory &category)
    : m_logger(logger), m_level(level), m_file(file), m_line(line), m_function(function),
      m_category(category)
{
}

void CuteMessageLogger::write(const char *format, ...)
{
    QString message;
    if (format) {
        va_list args;
        va_start(args, format);
        message = QString::vasprintf(format, args);
        va_end(args);
    }
    write(message);
}

void CuteMessageLogger::write(const QString &message)
{
    if (m_logger)
        m_logger->write(m_level, m_file, m_line, m_function, m_category, message);
}
