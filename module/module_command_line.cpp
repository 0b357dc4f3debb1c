#include "module_command_line.h"

#include <limits>

namespace {

const QString DASHBOARD_OPTION = QStringLiteral("--dashboard");
const QString TEST_MODE_OPTION = QStringLiteral("--qvtestmode");
const QString PRINTER_PREFIX = QStringLiteral("--p ");

// The launcher writes the window id as a C int. Windows handles are 32-bit values that the
// system sign-extends, so a negative number is the same handle as its unsigned twin.
bool parseWindowId(const QString &text, KorvexNative::WindowHandle *window)
{
    bool ok = false;
    const qlonglong value = text.toLongLong(&ok, 10);
    if (!ok || text.startsWith(u'+') || value < std::numeric_limits<qint32>::min()
        || value > std::numeric_limits<quint32>::max())
        return false;
    *window = value < 0 ? KorvexNative::WindowHandle(std::intptr_t(value))
                        : KorvexNative::WindowHandle(value);
    return true;
}

} // namespace

bool ModuleCommandLine::parsePrinterArgument(const QString &text, QString *name,
                                             bool *isSuitePrinter)
{
    if (!text.startsWith(PRINTER_PREFIX))
        return false;
    // Printer names may hold commas; the flag is after the last one.
    const qsizetype comma = text.lastIndexOf(u',');
    if (comma < PRINTER_PREFIX.size())
        return false;
    const QStringView flag = QStringView(text).mid(comma + 1);
    if (flag != u"1" && flag != u"0")
        return false;
    if (name)
        *name = text.mid(PRINTER_PREFIX.size(), comma - PRINTER_PREFIX.size());
    if (isSuitePrinter)
        *isSuitePrinter = flag == u"1";
    return true;
}

ModuleCommandLine ModuleCommandLine::parse(const QStringList &arguments)
{
    ModuleCommandLine line;
    line.arguments = arguments;
    if (arguments.isEmpty()) {
        line.error = QStringLiteral("no program name");
        return line;
    }
    line.module = ModuleInfo::fromExecutableName(arguments.first());

    qsizetype i = 1;
    if (i < arguments.size() && arguments.at(i) == DASHBOARD_OPTION) {
        // The argument after "--dashboard" is the window id, whatever it holds.
        if (i + 1 < arguments.size() && parseWindowId(arguments.at(i + 1), &line.dashboardWindow)) {
            line.hasDashboard = line.dashboardWindow != 0;
            if (!line.hasDashboard)
                line.error = QStringLiteral("the dashboard's window id is 0");
        } else {
            line.dashboardWindow = 0;
            line.error = QStringLiteral("\"--dashboard\" is not followed by a window id");
        }
        i += 2;
    } else if (arguments.contains(DASHBOARD_OPTION)) {
        line.error = QStringLiteral("\"--dashboard\" is not the first argument");
    }

    // The printer argument comes first where the module takes one; it may be empty, and then
    // only its place tells it apart.
    const bool printerFirst = !line.module.isValid() || line.module.takesPrinter;
    if (printerFirst && i < arguments.size()
        && (arguments.at(i).isEmpty() || arguments.at(i).startsWith(PRINTER_PREFIX))) {
        line.hasPrinterArgument = true;
        line.printerArgument = arguments.at(i);
        if (!line.printerArgument.isEmpty()
            && !parsePrinterArgument(line.printerArgument, &line.printerName,
                                     &line.printerIsSuitePrinter)) {
            line.error = QStringLiteral("malformed printer argument \"%1\"").arg(line.printerArgument);
        }
        ++i;
    }

    for (; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        if (argument == TEST_MODE_OPTION && !line.testMode && line.filePath.isEmpty()) {
            line.testMode = true;
        } else if (!argument.isEmpty() && line.filePath.isEmpty()
                   && !argument.startsWith(QLatin1String("--"))) {
            line.filePath = argument;
        } else {
            line.ignoredArguments << argument;
        }
    }
    if (line.error.isEmpty() && !line.ignoredArguments.isEmpty())
        line.error = QStringLiteral("unexpected arguments: %1")
                             .arg(line.ignoredArguments.join(QStringLiteral(", ")));
    return line;
}
