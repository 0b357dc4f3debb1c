#include "dashboard_main_window.h"

#include "Controllers/launcher_controller.h"
#include "Controllers/qvipchelper_win32.h"
#include "dashboard_logging.h"
#include "dashboard_settings.h"
#include "native_window_system.h"

#include "printing/available_printers.h"
#include "printing/printer_latest_versions.h"
#include "printing/printer_status_controller.h"
#include "printing/windows_printer_info.h"

#include <QGuiApplication>
#include <QScreen>
#include <QVersionNumber>

namespace {

// Height of the title bar the saved geometry makes room for.
constexpr int TITLEBAR_HEIGHT = 31;
const QString ZERO_FIRMWARE = QStringLiteral("000000000000000000000000000000000000");

bool differs(double a, double b)
{
    return qAbs(a - b) * 1000000000000. > qMin(qAbs(a), qAbs(b));
}

struct FirmwareVersion
{
    QVersionNumber version;
    int build = 0;
};

// "1.2.3-45": a dotted version, then a build number.
FirmwareVersion parseFirmware(const QString &text)
{
    const QStringList parts = text.split(QLatin1Char('-'), Qt::SkipEmptyParts);
    FirmwareVersion parsed;
    if (!parts.isEmpty())
        parsed.version = QVersionNumber::fromString(parts.at(0));
    if (parts.size() >= 2) {
        bool ok = false;
        const int build = parts.at(1).toInt(&ok);
        parsed.build = ok ? build : 0;
    }
    return parsed;
}

bool isNewer(const QString &installedText, const QString &latestText)
{
    const FirmwareVersion installed = parseFirmware(installedText);
    const FirmwareVersion latest = parseFirmware(latestText);
    if (installed.version.segmentCount() > 0 && latest.version.segmentCount() > 0) {
        if (installed.version != latest.version)
            return installed.version < latest.version;
        return installed.build < latest.build;
    }
    return installedText != latestText;
}

// The window's place when nothing better is known, centred on a screen of that size and a
// little below the centre to leave room for the title bar.
QRect defaultGeometry(const QSize &screen)
{
    const int w = screen.width();
    const int h = screen.height();
    if (w >= 1600 && h >= 1008)
        return QRect((w - 1600) / 2, (h - 943) / 2, 1600, 960);
    if (w >= 1200 && h >= 848)
        return QRect((w - 1200) / 2, (h - 783) / 2, 1200, 800);
    return QRect((w - 1024) / 2, (h - 583) / 2, 1024, 600);
}

} // namespace

DashboardMainWindow::DashboardMainWindow(QWindow *parent, KorvexNative::NativeWindowBackend *backend)
    : QQuickWindow(parent),
      m_backend(backend ? backend : NativeWindowSystem::backend())
{
    m_windowTitlebarHeight = TITLEBAR_HEIGHT;
    m_normalGeometry = QRect();
    m_currentScreen = screen();

    m_launcher = new LauncherController();
    m_printerStatusController = new PrinterStatusController(this);
    m_messagingHelper = new QVIPCHelper_win32(m_printerStatusController, m_backend);

    connect(m_messagingHelper, SIGNAL(applicationReady(int,int,QString)), this,
            SIGNAL(applicationReady(int,int,QString)));
    connect(m_messagingHelper, SIGNAL(applicationFocused(bool,uint)), this,
            SIGNAL(applicationFocused(bool,uint)));
    connect(m_messagingHelper, SIGNAL(openLabel(QString)), m_launcher,
            SLOT(launchLabelFile(QString)));

    m_launcher->updateActiveDefaultPrinter(m_printerStatusController->activeDefaultPrinter(),
                                           m_printerStatusController->qvDefaultActivePrinter());
    connect(m_printerStatusController, SIGNAL(activeDefaultPrinterSetSignal(QString,bool)),
            m_launcher, SLOT(updateActiveDefaultPrinter(QString,bool)));

    m_printerVersions = new PrinterLatestVersions();
    m_printerVersions->checkForUpdates();
    connect(m_printerStatusController, SIGNAL(availablePrintersUpdated()), m_printerVersions,
            SLOT(checkForUpdates()));
    connect(m_printerVersions, SIGNAL(checkingForUpdates(int,bool)), this,
            SLOT(arePrintersUpToDate(int,bool)));

    connect(this, &QWindow::screenChanged, this, &DashboardMainWindow::onScreenChanged);
    if (m_currentScreen)
        connect(m_currentScreen, &QScreen::physicalDotsPerInchChanged, this,
                &DashboardMainWindow::updateDPIScaling);
    connect(this, &QWindow::windowStateChanged, this, &DashboardMainWindow::updateWindowState);
    connect(this, &QWindow::widthChanged, this, &DashboardMainWindow::updateWindowGeometry);
    connect(this, &QWindow::heightChanged, this, &DashboardMainWindow::updateWindowGeometry);
    connect(this, &QWindow::xChanged, this, &DashboardMainWindow::updateWindowGeometry);
    connect(this, &QWindow::yChanged, this, &DashboardMainWindow::updateWindowGeometry);

    updateDPIScaling();
    restoreWindowGeometry();
    m_windowState = int(windowState());
    installEventFilter(this);
}

DashboardMainWindow::~DashboardMainWindow()
{
    if (m_windowId)
        m_backend->setArrivalHandler(m_windowId, {});
    saveWindowGeometry();
    delete m_launcher;
    m_launcher = nullptr;
    delete m_printerStatusController;
    m_printerStatusController = nullptr;
    delete m_messagingHelper;
    m_messagingHelper = nullptr;
    // Not part of the shut-down order above; freed last so nothing outlives the window.
    delete m_printerVersions;
    m_printerVersions = nullptr;
}

PrinterStatusController *DashboardMainWindow::getPrinterStatusController() const
{
    return m_printerStatusController;
}

void DashboardMainWindow::launchApplication(DashboardGlobal::ApplicationType appType,
                                            QString filePath)
{
    m_launcher->launchApplication(appType, filePath);
}

void DashboardMainWindow::launchLabelFile(QString filePath)
{
    m_launcher->launchLabelFile(filePath);
}

void DashboardMainWindow::setTestModeEnabled(bool newTestModeEnabled)
{
    m_launcher->setTestModeEnabled(newTestModeEnabled);
}

QString DashboardMainWindow::getApplicationExec(DashboardGlobal::ApplicationType appType)
{
    return m_launcher->getApplicationExec(appType);
}

DashboardGlobal::ApplicationType DashboardMainWindow::getApplicationType(QString appExec)
{
    return m_launcher->getApplicationType(appExec);
}

DashboardGlobal::ApplicationType DashboardMainWindow::getFileArgumentApplicationType(QString filePath)
{
    return m_launcher->getFileArgumentApplicationType(filePath);
}

void DashboardMainWindow::saveWindowGeometry()
{
    const QRect geometryToSave = geometry().translated(0, TITLEBAR_HEIGHT);
    // Only the top edge moves: each save makes the stored normal geometry 31 pixels shorter.
    // Installed settings files were written this way, so it stays.
    m_normalGeometry.setTop(m_normalGeometry.top() + TITLEBAR_HEIGHT);

    const auto store = DashboardSettings::openDashboardStore();
    store->setValue(QStringLiteral("windowGeometry"), geometryToSave);
    store->setValue(QStringLiteral("windowNormalGeometry"), m_normalGeometry);
    if (m_currentScreen)
        store->setValue(QStringLiteral("displayName"), m_currentScreen->name());
    store->setValue(QStringLiteral("windowState"), int(windowState()));
}

void DashboardMainWindow::restoreWindowGeometry()
{
    const auto store = DashboardSettings::openDashboardStore();
    const QString displayName = store->value(QStringLiteral("displayName"), QString()).toString();
    const int savedState = store->value(QStringLiteral("windowState"), 0).toInt();

    QScreen *chosen = QGuiApplication::primaryScreen();
    QRect desktop;
    if (!displayName.isEmpty()) {
        const QList<QScreen *> screens = QGuiApplication::screens();
        for (QScreen *candidate : screens) {
            desktop = desktop.united(candidate->geometry());
            if (candidate->name() == displayName)
                chosen = candidate;
        }
    }

    const QRect fallback = defaultGeometry(chosen ? chosen->geometry().size() : QSize());
    QRect saved = store->value(QStringLiteral("windowGeometry"), fallback).toRect();
    m_normalGeometry = store->value(QStringLiteral("windowNormalGeometry"), saved).toRect();

    // Pull a window that hangs off the desktop back onto it, keeping its size.
    if (desktop.right() < saved.right())
        saved.moveRight(desktop.right());
    if (desktop.bottom() < saved.bottom())
        saved.moveBottom(desktop.bottom());
    if (desktop.left() > saved.left())
        saved.moveLeft(desktop.left());
    if (saved.top() < desktop.top())
        saved.moveTop(desktop.top());
    if (!desktop.contains(saved))
        saved = fallback;

    if (savedState == Qt::WindowMaximized) {
        setGeometry(m_normalGeometry);
        setVisibility(QWindow::Maximized);
    } else {
        setGeometry(saved);
    }
}

void DashboardMainWindow::arePrintersUpToDate(int printerType, bool isChecking)
{
    Q_UNUSED(printerType);
    if (isChecking) {
        m_isPrinterUpdateAvailable = false;
        m_printersWithNewerFirmware.clear();
        Q_EMIT isPrinterUpdateAvailableChanged(false);
        return;
    }

    QStringList behind;
    const QList<AvailablePrinters> printers = WindowsPrinterInfo::getAvailablePrinters();
    for (const AvailablePrinters &printer : printers) {
        if (printer.isExcluded)
            continue;
        if (!printer.driverName.startsWith(QLatin1String("Ondrel ")))
            continue;
        const QString installed =
                m_printerStatusController->getPrinterSoftwareVersion(printer.printerName);
        if (installed.isEmpty() || installed == ZERO_FIRMWARE)
            continue; // the printer reports no firmware
        const QString latest = m_printerVersions->getAvailableVersionForPrinterType(
                WindowsPrinterInfo::printerType(printer.driverName), false);
        if (latest.isEmpty())
            continue;
        if (isNewer(installed, latest))
            behind << printer.printerName;
    }
    m_printersWithNewerFirmware = behind;
    m_isPrinterUpdateAvailable = !behind.isEmpty();
    Q_EMIT isPrinterUpdateAvailableChanged(m_isPrinterUpdateAvailable);
}

void DashboardMainWindow::showEvent(QShowEvent *event)
{
    QQuickWindow::showEvent(event);
    const uint previousId = m_windowId;
    m_windowId = uint(winId());
    if (previousId && previousId != m_windowId)
        m_backend->setArrivalHandler(previousId, {});
    // Where the backend can, module messages are handed over from the event loop a portion at
    // a time: a module that floods the window then cannot hold up its frames and input.
    m_backend->setArrivalHandler(m_windowId, [this](const KorvexNative::Message &message) {
        if (!m_messagingHelper)
            return;
        qintptr result = 0;
        m_messagingHelper->parseMessage(QByteArray(), const_cast<KorvexNative::Message *>(&message),
                                        &result);
    });
    m_launcher->setDashboardWId(int(m_windowId));
    KX_DEBUG(lcWindow, "Dashboard Window ID: %u", m_windowId);
    Q_EMIT windowIdChanged(m_windowId);
}

bool DashboardMainWindow::nativeEvent(const QByteArray &eventType, void *message, qintptr *result)
{
    // A module has the keyboard and gets this key from the backend: typing into the module
    // must not also move the dashboard's focus or press its buttons.
    if (m_backend->isKeyForEmbedded(eventType.constData(), std::size_t(eventType.size()), message))
        return true;
    // Queued messages reach the helper later, through the handler set in showEvent, in the
    // order they came; the others are translated here, as they come.
    if (!m_backend->queueNativeEvent(eventType.constData(), std::size_t(eventType.size()), message)) {
        KorvexNative::Message storage{};
        const KorvexNative::Message *windowMessage = m_backend->translateNativeEvent(
                eventType.constData(), std::size_t(eventType.size()), message, &storage);
        if (windowMessage && m_messagingHelper)
            m_messagingHelper->parseMessage(eventType,
                                            const_cast<KorvexNative::Message *>(windowMessage),
                                            result);
    }
    // Otherwise never consumed: Qt's own handling runs for every message. Only the backend's
    // private transport, which Qt does not know, is then reported handled, so Qt does not warn.
    const bool handled = QQuickWindow::nativeEvent(eventType, message, result);
    return handled
            || m_backend->isBackendTransport(eventType.constData(), std::size_t(eventType.size()),
                                             message);
}

bool DashboardMainWindow::eventFilter(QObject *object, QEvent *event)
{
    switch (event->type()) {
    case QEvent::WindowActivate:
    case QEvent::ApplicationActivate:
        m_isActive = true;
        Q_EMIT isActiveChanged(true);
        break;
    case QEvent::WindowDeactivate:
    case QEvent::ApplicationDeactivate:
        m_isActive = false;
        Q_EMIT isActiveChanged(false);
        break;
    default:
        break;
    }
    return QQuickWindow::eventFilter(object, event);
}

void DashboardMainWindow::updateDPIScaling()
{
    const double scale = m_currentScreen ? m_currentScreen->devicePixelRatio() : 1.0;
    if (!differs(scale, m_dpiScale))
        return;
    m_dpiScale = scale;
    Q_EMIT dpiScaleChanged(scale);
}

void DashboardMainWindow::updateWindowState(Qt::WindowState windowState)
{
    m_windowState = int(windowState);
    Q_EMIT windowStateChanged(m_windowState);
}

void DashboardMainWindow::updateWindowGeometry()
{
    if (windowState() == Qt::WindowMaximized)
        return;
    m_normalGeometry = geometry();
}

void DashboardMainWindow::onScreenChanged(QScreen *screen)
{
    if (!screen)
        return;
    // The DPI connection made at construction stays on the first screen.
    m_currentScreen = screen;
    updateDPIScaling();
}
