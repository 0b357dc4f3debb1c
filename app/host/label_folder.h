#pragma once

#include <QString>
#include <QStringList>

// The user's label folder of this host: where it is, and the sample labels a first run
// puts in it so a new user has something to open.
namespace LabelFolder {

// "<documents>/KorvexPro/mylabels" (there is no public documents folder on Linux).
QString defaultPath();

// The sample label files, one or more of every suffix the dashboard opens, as paths
// relative to the folder.
QStringList sampleFiles();

// Creates folder with the sample files when it does not exist yet; records a few of them as
// recently viewed and one as a favourite. Returns false, changing nothing, when the folder
// already exists (a user's folder is never touched) or cannot be created.
bool seed(const QString &folder);

} // namespace LabelFolder
