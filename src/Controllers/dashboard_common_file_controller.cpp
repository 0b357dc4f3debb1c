#include "Controllers/dashboard_common_file_controller.h"

#include "dashboard_logging.h"
#include "dashboard_settings.h"
#include "Controllers/favorite_keys.h"
#include "Controllers/file_status.h"
#include "Controllers/local_times.h"
#include "widgetutils/file_controller_tools.h"

#include <QFileInfo>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace {

const QString FAVORITES_GROUP = QStringLiteral("favorites");
const QString CLOUD_FAVORITES_GROUP = QStringLiteral("cloudFavorites");
const QString FILE_HISTORY_GROUP = QStringLiteral("fileHistory");

int twoDigits(const QChar *p)
{
    return (p[0].unicode() - '0') * 10 + (p[1].unicode() - '0');
}

// History dates are read by the thousand; the general format parser costs about 10 us a
// date. Texts of the exact shape dddd:dd:dd:dd:dd:dd:ddd that name a real date and time are
// read directly, which gives the same wall-clock time; anything else goes to the parser.
bool parseShapedHistoryDate(const QString &text, QDate *date, QTime *time)
{
    if (text.size() != 23)
        return false;
    const QChar *p = text.constData();
    for (int i = 0; i < 23; ++i) {
        const bool colon = i == 4 || i == 7 || i == 10 || i == 13 || i == 16 || i == 19;
        const bool ok = colon ? p[i] == QLatin1Char(':') : (p[i] >= QLatin1Char('0') && p[i] <= QLatin1Char('9'));
        if (!ok)
            return false;
    }
    const int year = twoDigits(p) * 100 + twoDigits(p + 2);
    *date = QDate(year, twoDigits(p + 5), twoDigits(p + 8));
    *time = QTime(twoDigits(p + 11), twoDigits(p + 14), twoDigits(p + 17),
                  (p[20].unicode() - '0') * 100 + twoDigits(p + 21));
    return date->isValid() && time->isValid();
}

// A wall-clock time read directly names one instant only where the offset stays the same
// around it. In the hour repeated when summer time ends, QDateTime(date, time) takes either
// of the two instants, depending on the local times the process converted before; the parser
// always takes the same one. So near a change of offset (and for any other text) the parser
// decides.
QDateTime parseHistoryDate(const QString &text, LocalTimes &times)
{
    QDate date;
    QTime time;
    qint64 instant = 0;
    if (parseShapedHistoryDate(text, &date, &time) && times.toInstant(date, time, &instant))
        return QDateTime(date, time);
    return QDateTime::fromString(text, DashboardCommonFileController::HISTORY_DATE_FORMAT);
}

// Sorting compares keys built once per record: lower-casing a name or converting a
// date-time inside the comparator would repeat the work n log n times. The proxies see the
// same comparisons in the same sequence as the records would, so std::sort leaves the
// records in the order it would have left them.
template <typename Key, typename KeyOf, typename Less>
void sortRecords(QList<DashboardFileInfoStruct> &list, KeyOf keyOf, Less less)
{
    struct Proxy
    {
        Key key;
        bool folder;
        int index;
    };
    std::vector<Proxy> proxies;
    proxies.reserve(size_t(list.size()));
    bool anyFolder = false;
    for (int i = 0; i < list.size(); ++i) {
        proxies.push_back({ keyOf(i), list.at(i).type, i });
        anyFolder = anyFolder || list.at(i).type;
    }

    // Folders are never ordered against anything. Without folders the check is always
    // false, and leaving it out changes no comparison.
    if (anyFolder) {
        std::sort(proxies.begin(), proxies.end(), [&less](const Proxy &a, const Proxy &b) {
            return !a.folder && !b.folder && less(a.key, b.key);
        });
    } else {
        std::sort(proxies.begin(), proxies.end(),
                  [&less](const Proxy &a, const Proxy &b) { return less(a.key, b.key); });
    }

    // Apply the permutation in place along its cycles, relocating each record once as plain
    // bytes (the record is a relocatable type, as QList itself treats it): no second list to
    // allocate and free, and no member-wise moves. Records are read in random order, so each
    // cycle is walked a few records ahead of the moves to fetch those records early.
    static_assert(QTypeInfo<DashboardFileInfoStruct>::isRelocatable);
    unsigned char *records = reinterpret_cast<unsigned char *>(list.data());
    constexpr size_t size = sizeof(DashboardFileInfoStruct);
    const auto record = [records](int i) { return records + size_t(i) * size; };
    const auto prefetch = [&record](int i) {
#if defined(__GNUC__)
        const unsigned char *p = record(i);
        for (size_t line = 0; line < size; line += 64)
            __builtin_prefetch(p + line);
        __builtin_prefetch(p + size - 1);
#else
        Q_UNUSED(record);
        Q_UNUSED(i);
#endif
    };
    const int n = int(proxies.size());
    std::vector<int> source(size_t(n), 0);
    for (int i = 0; i < n; ++i)
        source[size_t(i)] = proxies[size_t(i)].index;
    proxies = {};

    constexpr int LOOKAHEAD = 8;
    alignas(DashboardFileInfoStruct) unsigned char held[size];
    for (int start = 0; start < n; ++start) {
        if (source[size_t(start)] == start)
            continue;
        int ahead = source[size_t(start)];
        for (int k = 0; k < LOOKAHEAD && ahead != start; ++k) {
            prefetch(ahead);
            ahead = source[size_t(ahead)];
        }
        std::memcpy(held, record(start), size);
        int to = start;
        for (;;) {
            const int from = source[size_t(to)];
            source[size_t(to)] = to;
            if (from == start) {
                std::memcpy(record(to), held, size);
                break;
            }
            std::memcpy(record(to), record(from), size);
            to = from;
            if (ahead != start) {
                prefetch(ahead);
                ahead = source[size_t(ahead)];
            }
        }
    }
}


// QSettings::remove() takes every key below the one named along with it, and an empty key
// (which "/" becomes) means the whole group: a directory path would drop all favourites in
// it. Only a key that exists as such is removed.
void removeExactKey(QSettings *settings, const QString &key)
{
    if (settings->contains(key))
        settings->remove(key);
}

// The lower-cased names of a list in one buffer: one allocation for all of them rather than
// one per name. Names of ASCII letters only, the usual case, are lower-cased here;
// anything else goes through QString::toLower, so the result is the same.
class LowerCasedNames
{
public:
    explicit LowerCasedNames(const QList<DashboardFileInfoStruct> &list)
    {
        qsizetype total = 0;
        for (const DashboardFileInfoStruct &r : list)
            total += r.labelFileName.size();
        m_buffer.reserve(total);
        m_spans.reserve(size_t(list.size()));
        for (const DashboardFileInfoStruct &r : list) {
            const QString &name = r.labelFileName;
            const qsizetype start = m_buffer.size();
            const bool ascii = std::all_of(name.cbegin(), name.cend(),
                                           [](QChar c) { return c.unicode() < 0x80; });
            if (ascii && start + name.size() <= m_buffer.capacity()) {
                m_buffer.resize(start + name.size());
                QChar *out = m_buffer.data() + start;
                for (QChar c : name) {
                    const char16_t u = c.unicode();
                    *out++ = QChar(char16_t(u >= u'A' && u <= u'Z' ? u + 32 : u));
                }
            } else {
                m_buffer.append(name.toLower());
            }
            m_spans.emplace_back(start, m_buffer.size() - start);
        }
    }

    QStringView at(int i) const
    {
        const auto &span = m_spans[size_t(i)];
        return QStringView(m_buffer).mid(span.first, span.second);
    }

private:
    QString m_buffer;
    std::vector<std::pair<qsizetype, qsizetype>> m_spans;
};

qint64 dateKey(const QDateTime &date)
{
    // Invalid date-times order before every valid one, as QDateTime itself orders them.
    return date.isValid() ? date.toMSecsSinceEpoch() : std::numeric_limits<qint64>::min();
}

} // namespace

const QString DashboardCommonFileController::ORGANIZATION_NAME =
        QString::fromLatin1(DashboardSettings::ORGANIZATION_NAME);
const QString DashboardCommonFileController::HISTORY_DATE_FORMAT =
        QStringLiteral("yyyy:MM:dd:hh:mm:ss:zzz");
const QDateTime DashboardCommonFileController::DEFAULT_ACCESS_DATE =
        QDateTime::fromString(QStringLiteral("1970:01:01:01:01:00:000"),
                              QStringLiteral("yyyy:MM:dd:hh:mm:ss:zzz"));

DashboardCommonFileController::DashboardCommonFileController(QObject *parent)
    : QObject(parent),
      m_clock([] { return QDateTime::currentDateTime(); }),
      m_localTimes(std::make_unique<LocalTimes>())
{
}

DashboardCommonFileController::~DashboardCommonFileController() = default;

void DashboardCommonFileController::setClock(Clock clock)
{
    m_clock = clock ? std::move(clock) : Clock([] { return QDateTime::currentDateTime(); });
}

QDateTime DashboardCommonFileController::currentDateTime() const
{
    return m_clock();
}

void DashboardCommonFileController::openSettingsFiles()
{
    m_dashboardSettings = openCheckedStore(QString::fromLatin1(DashboardSettings::DASHBOARD_APPLICATION_NAME));
    m_labelEditorSettings = openCheckedStore(QStringLiteral("QVLabelEditor"));
    m_pipeMarkingSettings = openCheckedStore(QStringLiteral("PipeMarking"));
    m_arcFlashSettings = openCheckedStore(QStringLiteral("ArcFlashMain"));
    m_ghsSettings = openCheckedStore(QStringLiteral("GHS"));
    m_nfpaSettings = openCheckedStore(QStringLiteral("NFPAMain"));
}

std::unique_ptr<QSettings> DashboardCommonFileController::openCheckedStore(const QString &applicationName) const
{
    // Constructing the store reads nothing yet; the check runs before any section is parsed.
    auto store = DashboardSettings::openStore(applicationName);
    if (!FileControllerTools::isStoreSafe(store->fileName())) {
        KX_DEBUG(lcFiles, "Ignoring settings store %s: it holds a value nested too deeply to read safely",
                 qUtf8Printable(store->fileName()));
        return nullptr;
    }
    return store;
}

void DashboardCommonFileController::closeSettingsFiles()
{
    if (m_dashboardSettings)
        checkWritten(m_dashboardSettings.get(), "favourites");
    m_dashboardSettings.reset();
    m_labelEditorSettings.reset();
    m_pipeMarkingSettings.reset();
    m_arcFlashSettings.reset();
    m_ghsSettings.reset();
    m_nfpaSettings.reset();
}

void DashboardCommonFileController::openFavoriteSettings()
{
    m_dashboardSettings = openCheckedStore(QString::fromLatin1(DashboardSettings::DASHBOARD_APPLICATION_NAME));
}

void DashboardCommonFileController::closeFavoriteSettings()
{
    if (m_dashboardSettings)
        checkWritten(m_dashboardSettings.get(), "favourites");
    m_dashboardSettings.reset();
}

bool DashboardCommonFileController::checkWritten(QSettings *settings, const char *what) const
{
    settings->sync();
    if (settings->status() != QSettings::AccessError)
        return true;
    KX_DEBUG(lcFiles, "Could not save %s in %s", what, qUtf8Printable(settings->fileName()));
    return false;
}

QMap<QString, QDateTime> DashboardCommonFileController::getFileHistoryMap(
        const QList<std::pair<QString, QString>> &history) const
{
    QMap<QString, QDateTime> map;
    // The zone is read afresh for each merge.
    LocalTimes times;
    for (const auto &[path, text] : history) {
        QDateTime date = DEFAULT_ACCESS_DATE;
        if (!text.isEmpty())
            date = parseHistoryDate(text, times);
        auto it = map.find(path);
        if (it == map.end())
            map.insert(path, date);
        else if (date > it.value())
            it.value() = date;
    }
    return map;
}

QMap<QString, QDateTime> DashboardCommonFileController::loadFileHistoryMap() const
{
    using Tools = FileControllerTools;
    const auto pipeMarking = Tools::loadFileHistory(m_pipeMarkingSettings.get(), FILE_HISTORY_GROUP);
    const auto nfpa = Tools::loadFileHistory(m_nfpaSettings.get(), FILE_HISTORY_GROUP);
    const auto ghs = Tools::loadFileHistory(m_ghsSettings.get(), FILE_HISTORY_GROUP);
    const auto arcFlash = Tools::loadFileHistory(m_arcFlashSettings.get(), FILE_HISTORY_GROUP);
    const auto labelEditor = Tools::loadFileHistory(m_labelEditorSettings.get(), FILE_HISTORY_GROUP);
    const auto dashboard = Tools::loadFileHistory(m_dashboardSettings.get(), FILE_HISTORY_GROUP);

    QList<std::pair<QString, QString>> all;
    all.reserve(dashboard.size() + labelEditor.size() + arcFlash.size() + ghs.size()
                + nfpa.size() + pipeMarking.size());
    all << dashboard << labelEditor << arcFlash << ghs << nfpa << pipeMarking;
    return getFileHistoryMap(all);
}

DashboardCommonFileController::ViewInstants DashboardCommonFileController::loadFileHistoryInstants() const
{
    using Tools = FileControllerTools;
    const QList<std::pair<QString, QString>> histories[] = {
        Tools::loadFileHistory(m_pipeMarkingSettings.get(), FILE_HISTORY_GROUP),
        Tools::loadFileHistory(m_nfpaSettings.get(), FILE_HISTORY_GROUP),
        Tools::loadFileHistory(m_ghsSettings.get(), FILE_HISTORY_GROUP),
        Tools::loadFileHistory(m_arcFlashSettings.get(), FILE_HISTORY_GROUP),
        Tools::loadFileHistory(m_labelEditorSettings.get(), FILE_HISTORY_GROUP),
        Tools::loadFileHistory(m_dashboardSettings.get(), FILE_HISTORY_GROUP),
    };
    const qint64 notViewed = m_localTimes->toInstant(DEFAULT_ACCESS_DATE);

    size_t total = 0;
    for (const auto &history : histories)
        total += size_t(history.size());
    ViewInstants views;
    views.reserve(total);
    for (const auto &history : histories) {
        for (const auto &[path, text] : history) {
            qint64 date = notViewed;
            if (!text.isEmpty()) {
                QDate day;
                QTime time;
                if (!parseShapedHistoryDate(text, &day, &time) || !m_localTimes->toInstant(day, time, &date)) {
                    // Near a change of offset too: see parseHistoryDate.
                    const QDateTime parsed = QDateTime::fromString(text, HISTORY_DATE_FORMAT);
                    date = parsed.isValid() ? parsed.toMSecsSinceEpoch() : INVALID_VIEW;
                }
            }
            views.emplace_back(path, date);
        }
    }

    // getFileHistoryMap keeps, for each path, the latest of its views (an unparsable date
    // ordering before every date); with the dates as plain numbers, which store a view came
    // from no longer matters. Sorting the views once costs less than a map look-up and
    // insertion per view.
    std::sort(views.begin(), views.end(), [](const auto &a, const auto &b) {
        const int order = a.first.compare(b.first);
        return order < 0 || (order == 0 && a.second > b.second);
    });
    views.erase(std::unique(views.begin(), views.end(),
                            [](const auto &a, const auto &b) { return a.first == b.first; }),
                views.end());
    return views;
}

QStringList DashboardCommonFileController::readFavoriteKeys() const
{
    QStringList paths;
    if (!m_dashboardSettings)
        return paths;
    m_dashboardSettings->beginGroup(FAVORITES_GROUP);
    const QStringList keys = m_dashboardSettings->allKeys();
    m_dashboardSettings->endGroup();
    paths.reserve(keys.size());
    for (const QString &key : keys)
        paths.append(FavoriteKeys::pathFromKey(key));
    return paths;
}

void DashboardCommonFileController::fillFileDates(DashboardFileInfoStruct &record,
                                                  const QFileInfo &info,
                                                  const QDateTime &viewedAt,
                                                  const QDate &today) const
{
    const QDateTime access = viewedAt == DEFAULT_ACCESS_DATE ? info.lastModified() : viewedAt;
    const QDateTime created = info.birthTime();
    // The texts come from the local times the file system and the histories give, before
    // the dates are stored in UTC: the same instants, and sorting then needs no time-zone
    // look-up per record.
    record.timeSinceCreated = timeSince(created, today);
    record.timeSinceModified = timeSince(access, today);
    record.accessDate = toUtc(access);
    record.createdDate = toUtc(created);
}

void DashboardCommonFileController::fillFileDates(DashboardFileInfoStruct &record,
                                                  const FileStatus &status, qint64 viewedAt,
                                                  const QDate &today) const
{
    // Every date here is an instant already; only the texts need local dates.
    const auto timeSinceInstant = [this, &today](const QDateTime &utc) {
        if (!utc.isValid())
            return QString();
        const int days = int(m_localTimes->localDate(utc.toMSecsSinceEpoch()).daysTo(today));
        auto text = m_timeSinceTexts.constFind(days);
        if (text == m_timeSinceTexts.cend())
            text = m_timeSinceTexts.insert(days, adjustDaysSinceModified(days));
        return *text;
    };
    QDateTime access;
    if (viewedAt == m_localTimes->toInstant(DEFAULT_ACCESS_DATE))
        access = status.lastModified;
    else if (viewedAt != INVALID_VIEW)
        access = QDateTime::fromMSecsSinceEpoch(viewedAt, Qt::UTC);
    record.timeSinceCreated = timeSinceInstant(status.birthTime);
    record.timeSinceModified = timeSinceInstant(access);
    record.accessDate = access.toUTC();
    record.createdDate = status.birthTime.toUTC();
}

QDateTime DashboardCommonFileController::toUtc(const QDateTime &local) const
{
    // An invalid date (a time the clock skipped holds a date and a time all the same) would
    // come out of toUTC() as a valid one.
    if (!local.isValid())
        return QDateTime();
    if (local.timeSpec() != Qt::LocalTime)
        return local.toUTC();
    return QDateTime::fromMSecsSinceEpoch(m_localTimes->toInstant(local), Qt::UTC);
}

QDate DashboardCommonFileController::today() const
{
    *m_localTimes = LocalTimes();
    m_timeSinceTexts.clear();
    return currentDateTime().toLocalTime().date();
}

QString DashboardCommonFileController::timeSince(const QDateTime &date, const QDate &today) const
{
    // No date (a file system without birth times, a history text that did not parse): no
    // text, rather than a count from nothing.
    if (!date.isValid())
        return QString();
    return adjustDaysSinceModified(int(date.toLocalTime().date().daysTo(today)));
}

QString DashboardCommonFileController::calculateTimeSince(const QDateTime &date) const
{
    return timeSince(date, today());
}

QString DashboardCommonFileController::adjustDaysSinceModified(int days) const
{
    if (days < 0)
        return QString();
    if (days == 0)
        //: Under a label file tile: viewed or changed today
        return tr("today");
    if (days == 1)
        //: Under a label file tile: viewed or changed yesterday
        return tr("one day ago");
    if (days < 7)
        //: Under a label file tile; %1 is a number of days from 2 to 6
        return tr("%1 days ago").arg(days);
    if (days < 14)
        //: Under a label file tile: viewed or changed a week ago
        return tr("one week ago");
    if (days < 30)
        //: Under a label file tile; %1 is a number of weeks from 2 to 4
        return tr("%1 weeks ago").arg(days / 7);
    if (days < 60)
        //: Under a label file tile: viewed or changed a month ago
        return tr("one month ago");
    if (days < 365)
        //: Under a label file tile; %1 is a number of 30-day months from 2 to 12
        return tr("%1 months ago").arg(days / 30);
    if (days < 730)
        //: Under a label file tile: viewed or changed a year ago
        return tr("one year ago");
    //: Under a label file tile; %1 is a number of years, 2 or more
    return tr("%1 years ago").arg(days / 365);
}

QList<DashboardFileInfoStruct> DashboardCommonFileController::getSearchedLabelFilesList()
{
    return m_searchedLabelFilesList;
}

void DashboardCommonFileController::setSortType(DashboardGlobal::SortByType sortSettings)
{
    m_sortType = sortSettings;
}

DashboardGlobal::SortByType DashboardCommonFileController::getSortType()
{
    return m_sortType;
}

QString DashboardCommonFileController::getSearchString()
{
    return m_searchString;
}

void DashboardCommonFileController::setSearchString(QString searchString)
{
    m_searchString = searchString;
}

void DashboardCommonFileController::searchLabelFileList()
{
    m_searchedLabelFilesList.clear();
    if (m_searchString.isEmpty()) {
        m_searchedLabelFilesList = m_labelFilesList;
    } else {
        const QString term = m_searchString.toLower();
        for (const DashboardFileInfoStruct &record : std::as_const(m_labelFilesList)) {
            if (record.labelFileName.toLower().contains(term))
                m_searchedLabelFilesList.append(record);
        }
    }
    sortLabelFilesList();
}

void DashboardCommonFileController::sortLabelFilesList()
{
    QList<DashboardFileInfoStruct> &list = m_searchedLabelFilesList;
    const auto accessKey = [&list](int i) { return dateKey(list.at(i).accessDate); };
    const auto createdKey = [&list](int i) { return dateKey(list.at(i).createdDate); };
    const auto byName = [&list](auto less) {
        const LowerCasedNames names(list);
        sortRecords<QStringView>(list, [&names](int i) { return names.at(i); }, less);
    };

    switch (m_sortType) {
    case DashboardGlobal::LAST_VIEWED_ASCENDING: // most recently viewed first, by design
        sortRecords<qint64>(list, accessKey, std::greater<qint64>());
        break;
    case DashboardGlobal::LAST_VIEWED_DESCENDING:
        sortRecords<qint64>(list, accessKey, std::less<qint64>());
        break;
    case DashboardGlobal::A_TO_Z:
        byName(std::less<QStringView>());
        break;
    case DashboardGlobal::Z_TO_A:
        byName(std::greater<QStringView>());
        break;
    case DashboardGlobal::NEWEST:
        sortRecords<qint64>(list, createdKey, std::greater<qint64>());
        break;
    case DashboardGlobal::OLDEST:
        sortRecords<qint64>(list, createdKey, std::less<qint64>());
        break;
    }
    Q_EMIT listSorted();
}

void DashboardCommonFileController::openLabel(int labelIndex)
{
    const auto it = std::find_if(m_searchedLabelFilesList.cbegin(), m_searchedLabelFilesList.cend(),
                                 [labelIndex](const DashboardFileInfoStruct &r) { return r.id == labelIndex; });
    if (it == m_searchedLabelFilesList.cend()) {
        KX_DEBUG(lcFiles, "Error invalid request");
        return;
    }

    static const QStringList pipeSuffixes = { QStringLiteral("kxaw"), QStringLiteral("kxam"),
                                              QStringLiteral("kxpm") };
    static const QStringList designerSuffixes = { QStringLiteral("kxld"), QStringLiteral("kxlt"),
                                                  QStringLiteral("kxcl"), QStringLiteral("kxaf"),
                                                  QStringLiteral("kxnf") };
    const QString path = it->fullPath();
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (pipeSuffixes.contains(suffix))
        Q_EMIT launchLabelInModule(DashboardGlobal::APP_PIPEMARKING, path);
    else if (designerSuffixes.contains(suffix))
        Q_EMIT launchLabelInModule(DashboardGlobal::APP_LABELDESIGNER, path);
}

bool DashboardCommonFileController::setFavorite(bool currentValue, int id)
{
    const auto it = std::find_if(m_searchedLabelFilesList.begin(), m_searchedLabelFilesList.end(),
                                 [id](const DashboardFileInfoStruct &r) { return r.id == id; });
    if (it == m_searchedLabelFilesList.end())
        return !currentValue;

    // A favourite that cannot be stored (a store left closed as unsafe, a read-only folder)
    // is refused: the record keeps its flag and the caller gets the unchanged value back.
    bool written = false;
    openFavoriteSettings();
    if (m_dashboardSettings) {
        m_dashboardSettings->beginGroup(FAVORITES_GROUP);
        const QString key = it->fullPath();
        if (currentValue)
            removeExactKey(m_dashboardSettings.get(), key);
        else
            m_dashboardSettings->setValue(key, true);
        m_dashboardSettings->endGroup();
        written = checkWritten(m_dashboardSettings.get(), "favourites");
    }
    m_dashboardSettings.reset();
    if (!written)
        return currentValue;

    it->isFavorite = !currentValue;
    const auto full = std::find_if(m_labelFilesList.begin(), m_labelFilesList.end(),
                                   [&](const DashboardFileInfoStruct &r) {
                                       return r.filePath == it->filePath
                                               && r.labelFileName == it->labelFileName;
                                   });
    if (full != m_labelFilesList.end())
        full->isFavorite = !currentValue;
    Q_EMIT favoriteChanged();
    return !currentValue;
}

void DashboardCommonFileController::removeFavorite(bool current, QString filePath, int cloudService)
{
    if (!current)
        return;
    openSettingsFiles();
    if (m_dashboardSettings) {
        if (cloudService == DashboardGlobal::LABEL_LOCAL) {
            m_dashboardSettings->beginGroup(FAVORITES_GROUP);
            removeExactKey(m_dashboardSettings.get(), filePath);
        } else {
            m_dashboardSettings->beginGroup(CLOUD_FAVORITES_GROUP);
            removeExactKey(m_dashboardSettings.get(),
                           QString::number(cloudService) + QFileInfo(filePath).fileName());
        }
        m_dashboardSettings->endGroup();
    }
    closeSettingsFiles();
    updateFileLists();
}

void DashboardCommonFileController::consoleLog(QString message)
{
    KX_LOG(Debug, lcFiles).write(message);
}
