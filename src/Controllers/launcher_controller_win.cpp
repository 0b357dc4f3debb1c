#include "Controllers/launcher_controller_p.h"

#ifdef Q_OS_WIN
namespace LauncherPrivate {

QString moduleProgram(const QString &workingDirectory, const QString &executable)
{
    Q_UNUSED(workingDirectory);
    return executable;
}

} // namespace LauncherPrivate
#endif
