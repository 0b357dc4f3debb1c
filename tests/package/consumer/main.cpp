#include <korvexdashboard.h>
#include <module_command_line.h>
#include <platforms/memory/memory_native_window_backend.h>

#include <QCoreApplication>
#include <QMetaType>

#include <cstdio>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    LauncherController launcher;
    if (launcher.getApplicationExec(DashboardGlobal::APP_NFPA) != QLatin1String("NFPAMain.exe"))
        return 1;
    if (!QMetaType::fromName("DashboardGlobal::ApplicationType").isValid())
        return 2;
    // The recording backend of the testing library hands out stable message ids.
    MemoryNativeWindowBackend backend;
    if (backend.registerWindowMessage(u"registerQVIPC") != backend.registerWindowMessage(u"registerQVIPC"))
        return 3;
    // The module side's library reads the launcher's command line.
    const ModuleCommandLine line = ModuleCommandLine::parse(
            { "NFPAMain.exe", "--dashboard", "42", "--p P1,0", "--qvtestmode" });
    if (!line.hasDashboard || line.dashboardWindow != 42 || line.printerName != "P1" || !line.testMode)
        return 4;
    std::puts("consumer ok");
    return 0;
}
