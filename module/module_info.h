#pragma once

#include "korvexmodule_export.h"

#include <QList>
#include <QString>

// What the dashboard's launcher knows about each of the suite's eight module programs: the
// executable name it starts, the arguments it passes after the dashboard's window id, and the
// settings store in which the module keeps its view history.
struct KORVEXMODULE_EXPORT ModuleInfo
{
    int applicationType = -1;     // DashboardGlobal::ApplicationType, -1 when unknown
    QString executableName;       // "QVLabelEditor.exe", ...
    QString displayName;          // shown in the module's own window
    QString storeName;            // application name of its settings store ("fileHistory")
    bool takesPrinter = false;    // the launcher passes the printer argument
    bool takesTestMode = false;   // the launcher may pass "--qvtestmode"
    bool takesFile = false;       // the launcher may pass a label file's path

    bool isValid() const { return applicationType >= 0; }

    // The eight modules, in ApplicationType order.
    static const QList<ModuleInfo> &all();
    // The module whose executable is named fileName (exact, case-sensitive); with a path, only
    // its last component counts. An invalid record when none matches.
    static ModuleInfo fromExecutableName(const QString &fileName);
    static ModuleInfo fromApplicationType(int applicationType);
};
