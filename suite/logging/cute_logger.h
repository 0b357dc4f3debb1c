#pragma once

#include "korvexsuite_export.h"

#include <QLoggingCategory>
#include <QString>

// The suite's logger. Every line goes to Qt's message handler with the caller's file, line
// and function, under the logging category of the area that wrote it, so a host or a test
// sees and filters suite log lines with the ordinary Qt tools (qInstallMessageHandler,
// QT_LOGGING_RULES, QTest::ignoreMessage).
class KORVEXSUITE_EXPORT Logger
{
public:
    enum LogLevel { Trace, Debug, Info, Warning, Error, Fatal };

    void write(LogLevel level, const char *file, int line, const char *function,
               const QLoggingCategory &category, const QString &message);
};

KORVEXSUITE_EXPORT Logger *loggerInstance();

// Category used when a caller names none.
KORVEXSUITE_EXPORT const QLoggingCategory &lcSuiteDefault();

class KORVEXSUITE_EXPORT CuteMessageLogger
{
public:
    CuteMessageLogger(Logger *logger, Logger::LogLevel level, const char *file, int line,
                      const char *function);
    CuteMessageLogger(Logger *logger, Logger::LogLevel level, const char *file, int line,
                      const char *function, const QLoggingCategory &category);

    // printf-style; a null format writes an empty line.
    void write(const char *format, ...)
#if defined(__GNUC__)
        __attribute__((format(printf, 2, 3)))
#endif
        ;
    void write(const QString &message);

private:
    Logger *m_logger;
    Logger::LogLevel m_level;
    const char *m_file;
    int m_line;
    const char *m_function;
    const QLoggingCategory &m_category;
};

#define KX_LOG(level, category) \
    CuteMessageLogger(loggerInstance(), Logger::level, __FILE__, __LINE__, Q_FUNC_INFO, category())
#define LOG_DEBUG CuteMessageLogger(loggerInstance(), Logger::Debug, __FILE__, __LINE__, Q_FUNC_INFO).write
// Debug line under an area's category: KX_DEBUG(lcFiles, "text %d", 3)
#define KX_DEBUG(category, ...) KX_LOG(Debug, category).write(__VA_ARGS__)
#define KX_WARNING(category, ...) KX_LOG(Warning, category).write(__VA_ARGS__)
