#pragma once

#include "korvexsuite_export.h"

#include <QLoggingCategory>
#include <QString>

// The suite's logger. Every line goes to Qt's message handler with the caller's source path
// (relative to the library that holds it, without suffix, with the platform's separators, as
// in Controllers\qvipchelper_win32), line and function, under the logging category of the
// area that wrote it, so a host or a test sees and filters suite log lines with the ordinary
// Qt tools (qInstallMessageHandler, QT_LOGGING_RULES, QTest::ignoreMessage).
class KORVEXSUITE_EXPORT Logger
{
public:
    enum LogLevel { Trace, Debug, Info, Warning, Error, Fatal };

    void write(LogLevel level, const char *file, int line, const char *function,
               const QLoggingCategory &category, const QString &message);

    // The path a line carries for a compiler-given source file: the suffix of the file name
    // dropped and the separators made the platform's.
    static QByteArray sourcePath(const char *file);
};

// Library sources are compiled with their path inside the library (korvex_log_source_paths
// in cmake/), which is the same wherever the tree was checked out and whatever a compiler
// cache makes of __FILE__; other code names its file as the compiler gives it.
#ifdef KORVEX_LOG_SOURCE_FILE
#define KX_SOURCE_FILE KORVEX_LOG_SOURCE_FILE
#else
#define KX_SOURCE_FILE __FILE__
#endif

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
    CuteMessageLogger(loggerInstance(), Logger::level, KX_SOURCE_FILE, __LINE__, Q_FUNC_INFO, category())
#define LOG_DEBUG CuteMessageLogger(loggerInstance(), Logger::Debug, KX_SOURCE_FILE, __LINE__, Q_FUNC_INFO).write
// Debug line under an area's category: KX_DEBUG(lcFiles, "text %d", 3)
#define KX_DEBUG(category, ...) KX_LOG(Debug, category).write(__VA_ARGS__)
#define KX_WARNING(category, ...) KX_LOG(Warning, category).write(__VA_ARGS__)
