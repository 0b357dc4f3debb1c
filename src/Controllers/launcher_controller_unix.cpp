#include "Controllers/launcher_controller_p.h"

namespace LauncherPrivate {

QString moduleProgram(const QString &workingDirectory, const QString &executable)
{
    return workingDirectory + executable;
}

} // namespace LauncherPrivate
