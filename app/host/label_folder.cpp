#include "label_folder.h"

#include <Controllers/dashboard_common_file_controller.h>
#include <Controllers/recently_viewed_controller.h>
#include <widgetutils/file_controller_tools.h>

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>
#include <QStandardPaths>

namespace LabelFolder {

QString defaultPath()
{
    QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (documents.isEmpty())
        documents = QDir::homePath() + QStringLiteral("/Documents");
    return documents + QStringLiteral("/KorvexPro/mylabels");
}

QStringList sampleFiles()
{
    return {
        QStringLiteral("Emergency Exit.kxld"),
        QStringLiteral("Forklift Traffic.kxld"),
        QStringLiteral("Hearing Protection Template.kxlt"),
        QStringLiteral("Solvent Cabinet.kxcl"),
        QStringLiteral("Panel 4B Arc Flash.kxaf"),
        QStringLiteral("Tank 3 NFPA Diamond.kxnf"),
        QStringLiteral("Boiler Room Steam.kxaw"),
        QStringLiteral("Ammonia Return.kxam"),
        QStringLiteral("Cooling Water Supply.kxpm"),
        QStringLiteral("Line 2/Conveyor Pinch Point.kxld"),
        QStringLiteral("Line 2/Lockout Point 7.kxld"),
        QStringLiteral("Archive/Old Fire Door.kxld"),
        QStringLiteral("Archive/Compressed Air 2019.kxpm"),
    };
}

namespace {

bool writeSample(const QString &path)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const QString name = QFileInfo(path).completeBaseName();
    file.write(QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                              "<label name=\"%1\" width=\"101.6\" height=\"50.8\" units=\"mm\">\n"
                              "  <text x=\"4\" y=\"8\" size=\"14\">%1</text>\n"
                              "</label>\n")
                       .arg(name.toHtmlEscaped())
                       .toUtf8());
    return file.commit();
}

} // namespace

bool seed(const QString &folder)
{
    if (folder.isEmpty() || QFileInfo::exists(folder) || !QDir().mkpath(folder))
        return false;
    const QStringList samples = sampleFiles();
    for (const QString &sample : samples)
        writeSample(folder + QLatin1Char('/') + sample);

    // A few labels "viewed" over the last weeks, so Home has something to show.
    {
        QSettings store(QSettings::IniFormat, QSettings::UserScope,
                        DashboardCommonFileController::ORGANIZATION_NAME, QStringLiteral("KorvexPro"));
        const QDateTime now = QDateTime::currentDateTime();
        const int daysAgo[] = { 40, 9, 3, 1, 0 };
        const QString viewed[] = { samples.at(7), samples.at(3), samples.at(4), samples.at(1),
                                   samples.at(0) };
        for (int i = 0; i < 5; ++i) {
            FileControllerTools::recordFileView(&store, QStringLiteral("fileHistory"),
                                                folder + QLatin1Char('/') + viewed[i],
                                                now.addDays(-daysAgo[i]).addSecs(-600 * i));
        }
    }
    // One favourite, set the way the dashboard sets it.
    RecentlyViewedController recents;
    for (const DashboardFileInfoStruct &record : recents.getSearchedLabelFilesList()) {
        if (record.labelFileName == samples.at(0)) {
            recents.setFavorite(false, record.id);
            break;
        }
    }
    return true;
}

} // namespace LabelFolder
