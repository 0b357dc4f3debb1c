#include "dashboard_app_window.h"

#include "dashboard_logging.h"
#include "native_window_system.h"

#include <QPointer>
#include <QQuickWindow>
#include <QTimer>

using namespace KorvexNative;

namespace {

// Caption, system menu, sizing frame, minimise and maximise boxes: a module's frame.
constexpr LongPtr MODULE_FRAME_STYLES =
        WsCaption | WsSysMenu | WsThickFrame | WsMinimizeBox | WsMaximizeBox;

} // namespace

DashboardAppWindow::DashboardAppWindow(QQuickItem *parent)
    : QQuickItem(parent), m_backend(NativeWindowSystem::backend())
{
    setFlag(ItemHasContents);
    connect(this, &QQuickItem::widthChanged, this, &DashboardAppWindow::resize);
    connect(this, &QQuickItem::heightChanged, this, &DashboardAppWindow::resize);
    m_statusTimer = new QTimer(this);
    connect(m_statusTimer, &QTimer::timeout, this, &DashboardAppWindow::checkWindowStatus);
}

DashboardAppWindow::~DashboardAppWindow()
{
    if (m_containerWindow && m_backend->isWindow(m_containerWindow) && m_moduleWindow)
        m_backend->sendMessage(m_moduleWindow, WmClose, 0, 0);
    m_statusTimer->stop();
    delete m_statusTimer;
    m_statusTimer = nullptr;
}

void DashboardAppWindow::setWindowId(qulonglong windowId)
{
    m_windowId = windowId;
    Q_EMIT windowIdChanged();
}

void DashboardAppWindow::setWindowTitle(const QString &windowTitle)
{
    m_windowTitle = windowTitle;
    Q_EMIT windowTitleChanged();
}

void DashboardAppWindow::setApplicationPath(const QString &applicationPath)
{
    m_applicationPath = applicationPath;
    Q_EMIT applicationPathChanged();
}

bool DashboardAppWindow::isWatching() const
{
    return m_statusTimer && m_statusTimer->isActive();
}

void DashboardAppWindow::componentComplete()
{
    QQuickItem::componentComplete();
    m_containerWindow = createNativeWindow();
    attachWindow();
}

WindowHandle DashboardAppWindow::createNativeWindow()
{
    QQuickWindow *qtWindow = window();
    if (!qtWindow) {
        // Qt's warning channel, through the suite's logger so the line names its source as
        // every other does.
        KX_WARNING(lcAppWindow, "DashboardAppWindow must be attached to a window.");
        return 0;
    }
    // Item units as they are, with no pixel-ratio scaling: the native windows keep the item's
    // numbers.
    return m_backend->createWindowEx(0, u"STATIC", u"", WsChild | WsVisible | WsClipChildren,
                                     int(x()), int(y()), int(width()), int(height()),
                                     WindowHandle(qtWindow->winId()), 0, nullptr, nullptr);
}

void DashboardAppWindow::attachWindow()
{
    if (m_windowId == 0)
        return;
    m_moduleWindow = WindowHandle(m_windowId);
    m_backend->setParent(m_moduleWindow, m_containerWindow);
    const LongPtr style = m_backend->getWindowLongPtr(m_moduleWindow, GwlStyle);
    m_backend->setWindowLongPtr(m_moduleWindow, GwlStyle, style & ~MODULE_FRAME_STYLES);
    m_backend->setWindowPos(m_moduleWindow, 0, 0, 0, int(width()), int(height()),
                            SwpShowWindow | SwpNoActivate);
    const LongPtr exStyle = m_backend->getWindowLongPtr(m_containerWindow, GwlExStyle);
    m_backend->setWindowLongPtr(m_containerWindow, GwlExStyle, exStyle | WsExComposited);
    m_statusTimer->start(STATUS_INTERVAL);
}

void DashboardAppWindow::resize()
{
    m_backend->setWindowPos(m_containerWindow, 0, int(x()), int(y()), int(width()), int(height()),
                            SwpNoZOrder | SwpNoActivate);
    m_backend->setWindowPos(m_moduleWindow, 0, 0, 0, int(width()), int(height()),
                            SwpNoZOrder | SwpNoActivate);
}

void DashboardAppWindow::hideApplication()
{
    if (m_containerWindow)
        m_backend->showWindow(m_containerWindow, SwHide);
}

void DashboardAppWindow::showApplication()
{
    if (m_containerWindow)
        m_backend->showWindow(m_containerWindow, SwShowNormal);
}

void DashboardAppWindow::closeApplication()
{
    // The module decides whether to close; the item stays until the status check sees it gone.
    if (m_containerWindow && m_backend->isWindow(m_containerWindow) && m_moduleWindow)
        m_backend->sendMessage(m_moduleWindow, WmClose, 0, 0);
}

void DashboardAppWindow::checkWindowStatus()
{
    if (m_backend->isWindow(m_moduleWindow))
        return;
    const QPointer<DashboardAppWindow> self(this);
    Q_EMIT windowDestroyed();
    if (!self)
        return; // a receiver already deleted the item
    m_backend->sendMessage(m_containerWindow, WmClose, 0, 0);
    m_containerWindow = 0;
    m_moduleWindow = 0;
    // The interface dropped its references at windowDestroyed(); nothing here runs after this.
    delete this;
}
