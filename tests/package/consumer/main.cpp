#include <korvexdashboard.h>

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
    std::puts("consumer ok");
    return 0;
}
