#pragma once

#include <QString>

namespace LauncherPrivate {

// The program QProcess is given for a module executable that lives in workingDirectory.
// Windows finds a bare name in the working directory itself; Qt on Unix looks bare names up
// in PATH only, so there the file is named by its path.
QString moduleProgram(const QString &workingDirectory, const QString &executable);

} // namespace LauncherPrivate
