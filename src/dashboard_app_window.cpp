#include "dashboard_app_window.h"

#include "dashboard_logging.h"
#include "native_window_system.h"

#include <QFocusEvent>
#include <QGuiApplication>
#include <QPixmap>
#include <QPointer>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QScreen>
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
    if (m_filteredWindow)
        m_filteredWindow->removeEventFilter(this);
    if (m_watchingFocus && m_containerWindow)
        m_backend->watchEmbeddedFocus(m_containerWindow, {});
    if (m_watchingEmbedding && m_containerWindow)
        m_backend->watchEmbedding(m_containerWindow, {});
    takeKeyboardBack();
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
    if (QQuickWindow *qtWindow = window()) {
        // Clicks on the dashboard take the keyboard back from the module.
        qtWindow->installEventFilter(this);
        m_filteredWindow = qtWindow;
        watchPopups();
    }
}

bool DashboardAppWindow::isDashboardsOwnWindow(WindowHandle handle) const
{
    // Only windows that exist natively are compared: winId() would create the others.
    const QList<QWindow *> windows = QGuiApplication::allWindows();
    for (QWindow *qtWindow : windows) {
        if (qtWindow->handle() && WindowHandle(qtWindow->winId()) == handle)
            return true;
    }
    if (handle == m_containerWindow)
        return true;
    QQuickWindow *qtWindow = window();
    if (!qtWindow)
        return false;
    // The containers of the other modules in this window.
    QList<QQuickItem *> items = qtWindow->contentItem()->childItems();
    while (!items.isEmpty()) {
        QQuickItem *item = items.takeLast();
        if (auto *other = qobject_cast<DashboardAppWindow *>(item)) {
            if (other->containerWindow() == handle)
                return true;
        }
        items += item->childItems();
    }
    return false;
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
    if (isDashboardsOwnWindow(WindowHandle(m_windowId))) {
        // A module that names one of the dashboard's windows as its own: nothing of that window
        // is touched, and the item goes as if the module's window were gone.
        KX_DEBUG(lcAppWindow, "Dashboard Error: window %llu belongs to the dashboard itself; "
                              "it is not embedded.",
                 static_cast<unsigned long long>(m_windowId));
        m_statusTimer->start(STATUS_INTERVAL);
        return;
    }
    m_moduleWindow = WindowHandle(m_windowId);
    if (!m_backend->setParent(m_moduleWindow, m_containerWindow) && m_containerWindow) {
        QMetaObject::invokeMethod(this, [this] {
            // A window that died meanwhile is the status check's to report, as an ended module.
            if (!m_backend->isWindow(m_moduleWindow))
                return;
            embeddingFailedEvent();
        }, Qt::QueuedConnection);
    }
    const LongPtr style = m_backend->getWindowLongPtr(m_moduleWindow, GwlStyle);
    m_backend->setWindowLongPtr(m_moduleWindow, GwlStyle, style & ~MODULE_FRAME_STYLES);
    m_backend->setWindowPos(m_moduleWindow, 0, 0, 0, int(width()), int(height()),
                            SwpShowWindow | SwpNoActivate);
    settlePicture();
    const LongPtr exStyle = m_backend->getWindowLongPtr(m_containerWindow, GwlExStyle);
    m_backend->setWindowLongPtr(m_containerWindow, GwlExStyle, exStyle | WsExComposited);
    m_statusTimer->start(STATUS_INTERVAL);
    if (m_containerWindow) {
        const QPointer<DashboardAppWindow> self(this);
        m_watchingFocus = m_backend->watchEmbeddedFocus(
                m_containerWindow, [self](EmbeddedFocusEvent what) {
                    if (self)
                        self->handleModuleFocus(what);
                });
        // A window manager that takes the window away for good, after it was embedded: said
        // as a window that could not be taken in.
        m_watchingEmbedding = m_backend->watchEmbedding(m_containerWindow, [self] {
            if (self)
                self->embeddingFailedEvent();
        });
        setActiveFocusOnTab(true);
    }
}

void DashboardAppWindow::embeddingFailedEvent()
{
    KX_DEBUG(lcAppWindow, "Dashboard Error: window %llu could not be taken into the dashboard; "
                          "it stays a window of its own.",
             static_cast<unsigned long long>(m_windowId));
}

void DashboardAppWindow::handleModuleFocus(EmbeddedFocusEvent what)
{
    if (what == EmbeddedFocusEvent::Clicked || what == EmbeddedFocusEvent::Requested) {
        if (!m_shown || m_covered || !isVisible())
            return;
        // The item holds the window's focus, so the module gets the keyboard again when the
        // window is activated again. First, so that the item it takes the focus from gives
        // the keyboard back before this module gets it.
        forceActiveFocus(Qt::MouseFocusReason);
        giveModuleKeyboard(EmbeddedFocus::Current);
        return;
    }
    const bool forward = what == EmbeddedFocusEvent::Next;
    takeKeyboardBack();
    QQuickItem *next = nextItemInFocusChain(forward);
    if (next && next != this)
        next->forceActiveFocus(forward ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    else
        setFocus(false);
}

void DashboardAppWindow::giveModuleKeyboard(EmbeddedFocus detail)
{
    if (!m_moduleWindow || !m_shown || m_covered)
        return;
    if (m_backend->focusEmbeddedWindow(m_moduleWindow, detail))
        m_keyboardInModule = true;
}

void DashboardAppWindow::takeKeyboardBack()
{
    if (!m_keyboardInModule)
        return;
    m_keyboardInModule = false;
    if (QQuickWindow *qtWindow = window())
        m_backend->focusEmbedder(WindowHandle(qtWindow->winId()));
}

void DashboardAppWindow::focusInEvent(QFocusEvent *event)
{
    QQuickItem::focusInEvent(event);
    const EmbeddedFocus detail = event->reason() == Qt::TabFocusReason ? EmbeddedFocus::First
            : event->reason() == Qt::BacktabFocusReason               ? EmbeddedFocus::Last
                                                                      : EmbeddedFocus::Current;
    giveModuleKeyboard(detail);
}

void DashboardAppWindow::focusOutEvent(QFocusEvent *event)
{
    QQuickItem::focusOutEvent(event);
    // The window loses its own focus when the module takes the keyboard: that keeps it there.
    // Focus that moves to another item of the dashboard takes it back.
    if (event->reason() != Qt::ActiveWindowFocusReason)
        takeKeyboardBack();
}

bool DashboardAppWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_filteredWindow && event->type() == QEvent::MouseButtonPress
        && m_keyboardInModule) {
        // The click reaches the dashboard's own controls, which may take focus themselves.
        takeKeyboardBack();
        setFocus(false);
    }
    return QQuickItem::eventFilter(watched, event);
}

void DashboardAppWindow::watchPopups()
{
    QQuickWindow *qtWindow = window();
    if (!qtWindow || m_popupLayer)
        return;
    // Qt Quick Controls make the layer of popups the first time a popup is made: a child of the
    // content item, looked for until it is there.
    QQuickItem *content = qtWindow->contentItem();
    const QList<QQuickItem *> children = content->childItems();
    for (QQuickItem *child : children) {
        if (child->inherits("QQuickOverlay")) {
            m_popupLayer = child;
            connect(child, &QQuickItem::childrenChanged, this, &DashboardAppWindow::updateCovered);
            disconnect(content, &QQuickItem::childrenChanged, this,
                       &DashboardAppWindow::watchPopups);
            updateCovered();
            return;
        }
    }
    // Queued: the layer announces itself from its base class's constructor, before it is
    // one.
    connect(content, &QQuickItem::childrenChanged, this, &DashboardAppWindow::watchPopups,
            Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection));
}

void DashboardAppWindow::updateCovered()
{
    bool covered = false;
    if (m_popupLayer) {
        const QList<QQuickItem *> popups = m_popupLayer->childItems();
        for (QQuickItem *popup : popups) {
            connect(popup, &QQuickItem::visibleChanged, this, &DashboardAppWindow::updateCovered,
                    Qt::UniqueConnection);
            // A modal popup's dimmer may stay in the layer, faded out, after its popup closed.
            connect(popup, &QQuickItem::opacityChanged, this, &DashboardAppWindow::updateCovered,
                    Qt::UniqueConnection);
            covered = covered || (popup->isVisible() && popup->opacity() > 0.0);
        }
    }
    if (covered == m_covered)
        return;
    m_covered = covered;
    if (!m_containerWindow || !m_shown)
        return;
    if (covered) {
        takeKeyboardBack();
        // The module's last picture stands in for its window while the popup is open: read
        // from the window where the system can (under XWayland the screen reads back black),
        // else from the screen.
        NativeWindowBackend::WindowImage own;
        if (m_backend->windowImage(m_containerWindow, &own)) {
            m_snapshot = QImage(reinterpret_cast<const uchar *>(own.pixels.data()), own.width, own.height,
                                qsizetype(own.width) * 4, QImage::Format_RGB32)
                                 .copy();
        } else {
            QQuickWindow *qtWindow = window();
            QScreen *screen = qtWindow ? qtWindow->screen() : nullptr;
            m_snapshot = screen ? screen->grabWindow(WId(m_containerWindow)).toImage() : QImage();
        }
        m_snapshotChanged = true;
        setContainerShown(false);
    } else {
        setContainerShown(true);
        m_snapshot = QImage();
        m_snapshotChanged = true;
    }
    update();
}

void DashboardAppWindow::setContainerShown(bool shown)
{
    m_backend->showWindow(m_containerWindow, shown ? SwShowNormal : SwHide);
    if (shown)
        settlePicture();
}

void DashboardAppWindow::settlePicture()
{
    // A compositing manager may keep a picture the module drew just after being shown or
    // resized, or one the dashboard drew of the page around it meanwhile; drawn once more when
    // all is still, the picture on the screen is whole.
    if (!m_moduleWindow || !m_shown || m_covered)
        return;
    m_backend->redrawWhenSettled(m_moduleWindow);
    if (QQuickWindow *qtWindow = window())
        m_backend->redrawWhenSettled(WindowHandle(qtWindow->winId()));
}

QSGNode *DashboardAppWindow::updatePaintNode(QSGNode *oldNode, UpdatePaintNodeData *)
{
    QQuickWindow *qtWindow = window();
    if (m_snapshot.isNull() || !qtWindow) {
        delete oldNode;
        return nullptr;
    }
    auto *node = static_cast<QSGImageNode *>(oldNode);
    if (!node) {
        node = qtWindow->createImageNode();
        node->setOwnsTexture(true);
        m_snapshotChanged = true;
    }
    if (m_snapshotChanged) {
        node->setTexture(qtWindow->createTextureFromImage(m_snapshot));
        m_snapshotChanged = false;
    }
    // The item's numbers are the native windows' pixels; the scene draws in its own units.
    const qreal ratio = qtWindow->effectiveDevicePixelRatio() > 0
            ? qtWindow->effectiveDevicePixelRatio() : 1.0;
    node->setRect(QRectF(0, 0, width() / ratio, height() / ratio));
    return node;
}

void DashboardAppWindow::resize()
{
    m_backend->setWindowPos(m_containerWindow, 0, int(x()), int(y()), int(width()), int(height()),
                            SwpNoZOrder | SwpNoActivate);
    m_backend->setWindowPos(m_moduleWindow, 0, 0, 0, int(width()), int(height()),
                            SwpNoZOrder | SwpNoActivate);
    settlePicture();
}

void DashboardAppWindow::hideApplication()
{
    m_shown = false;
    takeKeyboardBack();
    if (!m_snapshot.isNull()) {
        m_snapshot = QImage();
        m_snapshotChanged = true;
        update();
    }
    if (m_containerWindow)
        m_backend->showWindow(m_containerWindow, SwHide);
}

void DashboardAppWindow::showApplication()
{
    m_shown = true;
    // Behind an open popup the container stays hidden until the popup closes.
    if (m_containerWindow && !m_covered)
        setContainerShown(true);
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
    takeKeyboardBack();
    if (m_watchingFocus) {
        m_backend->watchEmbeddedFocus(m_containerWindow, {});
        m_watchingFocus = false;
    }
    if (m_watchingEmbedding) {
        m_backend->watchEmbedding(m_containerWindow, {});
        m_watchingEmbedding = false;
    }
    m_backend->sendMessage(m_containerWindow, WmClose, 0, 0);
    m_containerWindow = 0;
    m_moduleWindow = 0;
    // The interface dropped its references at windowDestroyed(); nothing here runs after this.
    delete this;
}
