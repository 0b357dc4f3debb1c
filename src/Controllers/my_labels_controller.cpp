#include "Controllers/my_labels_controller.h"

#include "Controllers/label_tree_walker.h"
#include "dashboard_logging.h"

#include <QDir>
#include <QFileInfo>

MyLabelsController::MyLabelsController(QObject *parent)
    : MyLabelsController(QDir::rootPath(), parent)
{
}

MyLabelsController::MyLabelsController(const QString &platformRootPath, QObject *parent)
    : DashboardCommonFileController(parent),
      m_suffixList({ QStringLiteral("kxld"), QStringLiteral("kxlt"), QStringLiteral("kxcl"),
                     QStringLiteral("kxaf"), QStringLiteral("kxnf"), QStringLiteral("kxaw"),
                     QStringLiteral("kxam"), QStringLiteral("kxpm") }),
      m_platformRootPath(platformRootPath)
{
    m_sortType = DashboardGlobal::A_TO_Z;
    ensureDefaultDirExists();
    m_rootFolder = defaultRootFolder();
    m_currentFolder = m_rootFolder;
}

MyLabelsController::~MyLabelsController() = default;

QString MyLabelsController::defaultRootFolder() const
{
    return m_platformRootPath + QStringLiteral("Users/Public/Documents")
            + QStringLiteral("/KorvexPro/users/guest/") + QStringLiteral("mylabels");
}

void MyLabelsController::ensureDefaultDirExists()
{
    if (QFileInfo::exists(defaultRootFolder()))
        return;
    // Only a machine that has the public documents folder gets the label folder.
    QDir dir(m_platformRootPath + QStringLiteral("Users/Public/Documents"));
    if (!dir.exists())
        return;
    for (const char *part : { "KorvexPro", "users", "guest" }) {
        dir.mkdir(QLatin1String(part));
        dir.cd(QLatin1String(part));
    }
    dir.mkdir(QStringLiteral("mylabels"));
}

void MyLabelsController::readFileHistoryMap()
{
    takeFavoriteKeys();
    m_fileHistoryMap = loadFileHistoryMap();
}

void MyLabelsController::takeFavoriteKeys()
{
    m_favoriteKeys = readFavoriteKeys();
    m_favoriteKeySet = QSet<QString>(m_favoriteKeys.cbegin(), m_favoriteKeys.cend());
}

DashboardFileInfoStruct MyLabelsController::buildRecord(const QFileInfo &info)
{
    DashboardFileInfoStruct record;
    record.labelFileName = info.fileName();
    record.filePath = info.absolutePath();
    record.isWritable = info.isWritable();
    record.type = info.isDir();
    if (record.type)
        return record;

    const QString key = record.fullPath();
    fillFileDates(record, info, m_fileHistoryMap.value(key, DEFAULT_ACCESS_DATE), m_today);
    record.isFavorite = m_favoriteKeySet.contains(key);
    record.id = m_idCounter++;
    return record;
}

void MyLabelsController::parseDirectory(QString dir)
{
    if (dir.isEmpty() || !QDir(dir).exists())
        return;
    const QFileInfoList entries = QDir(dir).entryInfoList(
            QDir::Files | QDir::AllDirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase);

    m_labelFilesList.clear();
    m_folderList.clear();
    m_searchedLabelFilesList.clear();
    m_idCounter = 0;
    m_today = today();

    for (const QFileInfo &info : entries) {
        const bool isDir = info.isDir();
        if (!isDir && !m_suffixList.contains(info.suffix().toLower()))
            continue;
        if (isDir)
            m_folderList.append(buildRecord(info));
        else
            m_labelFilesList.append(buildRecord(info));
    }
}

void MyLabelsController::updateFileLists()
{
    readLists(m_currentFolder);
    searchLabelFileList();
}

void MyLabelsController::readLists(const QString &folder)
{
    openSettingsFiles();
    m_labelFilesList.clear();
    m_folderList.clear();
    m_searchedLabelFilesList.clear();
    m_idCounter = 0;
    readFileHistoryMap();
    parseDirectory(folder);
    closeSettingsFiles();
}

MyLabelsController::FolderListing MyLabelsController::readFolder(const QString &folder,
                                                               const Clock &clock)
{
    // A controller of the reading thread's own, so nothing is shared with the one shown.
    MyLabelsController reader;
    reader.setClock(clock);
    reader.readLists(folder);
    FolderListing listing;
    listing.folder = folder;
    listing.files = std::move(reader.m_labelFilesList);
    listing.folders = std::move(reader.m_folderList);
    listing.history = std::move(reader.m_fileHistoryMap);
    return listing;
}

bool MyLabelsController::updateFileLists(const FolderListing &listing)
{
    if (listing.folder != m_currentFolder)
        return false;
    openFavoriteSettings();
    takeFavoriteKeys();
    closeFavoriteSettings();
    m_fileHistoryMap = listing.history;
    m_labelFilesList = listing.files;
    for (DashboardFileInfoStruct &record : m_labelFilesList)
        record.isFavorite = m_favoriteKeySet.contains(record.fullPath());
    m_folderList = listing.folders;
    m_idCounter = int(m_labelFilesList.size());
    searchLabelFileList();
    return true;
}

void MyLabelsController::enterFolder(QString folder)
{
    m_currentFolder += QLatin1Char('/') + folder;
    parseDirectory(m_currentFolder);
    searchLabelFileList();
}

QString MyLabelsController::exitFolder(QString path)
{
    const QString parent = m_currentFolder.left(m_currentFolder.lastIndexOf(QLatin1Char('/')));
    // The root is as far up as the list goes, also when asked to leave the root itself.
    const bool belowRoot = m_currentFolder.startsWith(m_rootFolder + QLatin1Char('/'))
            && m_currentFolder.size() > m_rootFolder.size() + 1;
    if (parent == m_rootFolder || parent + QLatin1Char('/') == m_rootFolder || !belowRoot) {
        m_currentFolder = m_rootFolder;
        parseDirectory(m_currentFolder);
        searchLabelFileList();
        return QString();
    }
    m_currentFolder = parent;
    parseDirectory(m_currentFolder);
    searchLabelFileList();
    return path.left(path.lastIndexOf(QLatin1Char('/')));
}

void MyLabelsController::prependFolders()
{
    for (const DashboardFileInfoStruct &folder : std::as_const(m_folderList)) {
        const bool shown = std::any_of(
                m_searchedLabelFilesList.cbegin(), m_searchedLabelFilesList.cend(),
                [&folder](const DashboardFileInfoStruct &r) {
                    return r.type && r.labelFileName == folder.labelFileName
                            && r.filePath == folder.filePath;
                });
        // Each one goes to the very front, so folders end up in reverse listing order.
        if (!shown)
            m_searchedLabelFilesList.insert(0, folder);
    }
}

QString MyLabelsController::getCurrentFolder()
{
    return m_currentFolder;
}

void MyLabelsController::setRootFolder(QString folder)
{
    m_rootFolder = folder;
    m_currentFolder = folder;
}

bool MyLabelsController::IsLabelInList(QString path)
{
    return std::any_of(m_searchedLabelFilesList.cbegin(), m_searchedLabelFilesList.cend(),
                       [&path](const DashboardFileInfoStruct &r) { return r.filePath == path; });
}

void MyLabelsController::appendSearched(const DashboardFileInfoStruct &record)
{
    m_searchedLabelFilesList.append(record);
    m_searchedDirectories.insert(record.filePath);
}

void MyLabelsController::walkForMatches(const QString &dir, const QString &lowerTerm)
{
    LabelTreeWalker::walkFiles(dir, [this, &lowerTerm](const QString &directory, const QString &name) {
        if (!name.toLower().contains(lowerTerm))
            return;
        // One match per directory: the first the walk meets. The check is made before the
        // record is built, so the file system is asked only about files that are kept; the
        // id is used up either way.
        if (m_searchedDirectories.contains(directory)) {
            ++m_idCounter;
            return;
        }
        appendSearched(buildRecord(QFileInfo(LabelTreeWalker::childPath(directory, name))));
    });
}

void MyLabelsController::searchLabelFileList()
{
    m_searchedLabelFilesList.clear();
    m_searchedDirectories.clear();
    if (m_searchString.isEmpty()) {
        m_searchedLabelFilesList = m_labelFilesList;
        sortLabelFilesList();
        return;
    }

    const QString lowerTerm = m_searchString.toLower();
    m_today = today();
    if (m_currentFolder == m_rootFolder) {
        if (QDir(m_rootFolder).exists() && !m_rootFolder.isEmpty())
            walkForMatches(m_rootFolder, lowerTerm);
    } else {
        for (const DashboardFileInfoStruct &record : std::as_const(m_labelFilesList)) {
            if (record.labelFileName.contains(m_searchString, Qt::CaseInsensitive))
                appendSearched(record);
        }
        // Every folder entry's directory is the current folder, so this walks the same tree
        // once per sub-folder; the directory check keeps repeats out.
        for (const DashboardFileInfoStruct &folder : std::as_const(m_folderList)) {
            if (QFileInfo::exists(folder.filePath))
                walkForMatches(folder.filePath, lowerTerm);
        }
    }
    m_searchedDirectories.clear();
    sortLabelFilesList();
}
