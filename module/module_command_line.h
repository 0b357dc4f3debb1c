#pragma once

#include "korvexmodule_export.h"
#include "module_info.h"

#include "platforms/native_window_backend.h"

#include <QString>
#include <QStringList>

// The command line the dashboard's launcher gives a module:
//   <program> --dashboard <window id> [<printer argument>] [--qvtestmode] [<label file>]
// The printer argument is one argument, "--p <printer name>,1" (a suite printer) or ",0", and
// is empty when the dashboard has no default printer yet; which of the optional arguments a
// module receives depends on the module (ModuleInfo). A module started without "--dashboard"
// runs on its own.
struct KORVEXMODULE_EXPORT ModuleCommandLine
{
    QStringList arguments;                   // as given, program first
    ModuleInfo module;                       // from argv[0]; invalid for an unknown program
    bool hasDashboard = false;               // "--dashboard" was given with a valid window id
    KorvexNative::WindowHandle dashboardWindow = 0;
    bool hasPrinterArgument = false;         // a printer argument was given, possibly empty
    QString printerArgument;                 // as given, "--p Printer A,1"
    QString printerName;                     // "Printer A"
    bool printerIsSuitePrinter = false;      // the ",1" flag
    bool testMode = false;                   // "--qvtestmode"
    QString filePath;                        // the label file to open, as given
    QStringList ignoredArguments;            // anything else, kept for the log
    QString error;                           // why the command line is not what the launcher
                                             // gives; empty when it is

    // arguments as QCoreApplication::arguments() has them, program first. Never fails: what
    // cannot be understood is reported in error and ignoredArguments.
    static ModuleCommandLine parse(const QStringList &arguments);

    // Splits a printer argument; false when text is not of the form "--p NAME,0|1".
    static bool parsePrinterArgument(const QString &text, QString *name, bool *isSuitePrinter);
};
