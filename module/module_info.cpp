#include "module_info.h"

#include <QFileInfo>

namespace {

ModuleInfo info(int type, const char *exec, const char *display, const char *store, bool printer,
                bool testMode, bool file)
{
    ModuleInfo m;
    m.applicationType = type;
    m.executableName = QString::fromLatin1(exec);
    m.displayName = QString::fromLatin1(display);
    m.storeName = QString::fromLatin1(store);
    m.takesPrinter = printer;
    m.takesTestMode = testMode;
    m.takesFile = file;
    return m;
}

} // namespace

const QList<ModuleInfo> &ModuleInfo::all()
{
    // The store names of the five modules whose histories the dashboard reads are fixed by
    // the dashboard; the other three keep theirs under their own names.
    static const QList<ModuleInfo> modules = {
        info(0, "QVLabelEditor.exe", "Label Designer", "QVLabelEditor", true, true, true),
        info(1, "QVCatalog.exe", "Premade Signs", "QVCatalog", false, true, false),
        info(2, "ArcFlashMain.exe", "Arc Flash", "ArcFlashMain", true, true, false),
        info(3, "QuenbyGHS.exe", "Chemical (GHS) Labels", "GHS", true, true, false),
        info(4, "NFPAMain.exe", "NFPA Labels", "NFPAMain", true, true, false),
        info(5, "PipeMarkingMain.exe", "Pipe Marking", "PipeMarking", true, true, true),
        info(6, "SymbolCreatorAppMain.exe", "Symbol Creator", "SymbolCreator", false, false, false),
        info(7, "PrinterMaintenance.exe", "Printer Maintenance", "PrinterMaintenance", false, true,
             false),
    };
    return modules;
}

ModuleInfo ModuleInfo::fromExecutableName(const QString &fileName)
{
    const QString name = QFileInfo(fileName).fileName();
    for (const ModuleInfo &module : all())
        if (module.executableName == name)
            return module;
    return ModuleInfo();
}

ModuleInfo ModuleInfo::fromApplicationType(int applicationType)
{
    for (const ModuleInfo &module : all())
        if (module.applicationType == applicationType)
            return module;
    return ModuleInfo();
}
