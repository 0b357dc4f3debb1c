// favoritewriter <configDir> <labelFolder> <namePrefix> [<uid>]
//
// Marks as favourites, one operation at a time as the dashboard does, the label files of
// labelFolder whose names start with namePrefix. The settings stores live under configDir.
// With uid (root only) the program first drops to that user. After listing the folder it
// prints "ready" and waits for one line on stdin, so a test can start two writers together;
// then prints one line per favourite, "<name> saved" or "<name> refused" as setFavorite
// answered, and exits 0. Exit codes: 2 bad arguments,
// 4 privileges could not be dropped.
#include "Controllers/my_labels_controller.h"

#include <QCoreApplication>
#include <QDir>
#include <QSettings>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include <grp.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

class Labels : public MyLabelsController
{
public:
    explicit Labels(const QString &platformRoot) : MyLabelsController(platformRoot) {}
};

} // namespace

int main(int argc, char **argv)
{
    if (argc != 4 && argc != 5)
        return 2;
    if (argc == 5) {
        const uid_t uid = uid_t(std::strtoul(argv[4], nullptr, 10));
        if (setgroups(0, nullptr) != 0 || setgid(gid_t(uid)) != 0 || setuid(uid) != 0)
            return 4;
        // Keeps the sanitizers' leak check working after the change of user.
        prctl(PR_SET_DUMPABLE, 1);
    }
    QCoreApplication app(argc, argv);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, QString::fromLocal8Bit(argv[1]));
    const QString folder = QString::fromLocal8Bit(argv[2]);
    const QString prefix = QString::fromLocal8Bit(argv[3]);

    Labels labels(folder + QStringLiteral("/"));
    labels.setRootFolder(folder);
    labels.updateFileLists();
    std::printf("ready\n");
    std::fflush(stdout);
    std::string go;
    std::getline(std::cin, go);

    for (const DashboardFileInfoStruct &record : labels.getSearchedLabelFilesList()) {
        if (!record.labelFileName.startsWith(prefix))
            continue;
        const bool saved = labels.setFavorite(false, record.id);
        std::printf("%s %s\n", qPrintable(record.labelFileName), saved ? "saved" : "refused");
    }
    std::fflush(stdout);
    return 0;
}
