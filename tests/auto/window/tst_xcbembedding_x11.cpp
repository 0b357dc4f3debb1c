// Embedding on X11 with a window manager in the way: SetParent takes a framed window from its
// manager as ICCCM asks, waits for the manager's answer and not for a time, and fails cleanly
// when the manager never lets go or the window dies; a window the manager grabs back is taken
// again. Then the keyboard: the embedder gives it to the embedded window and takes it back,
// and a click or the hand-on keys inside the container are reported.
// The window manager is tests/helpers/x11_fake_wm, one behaviour per mode.

#include "native_window_system.h"
#include "platforms/xcb/native_window_backend_xcb.h"
#include "x11_raw_client.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QSignalSpy>
#include <QtTest>

#include <xcb/xcb.h>

#include <functional>
#include <memory>

using namespace KorvexNative;

namespace {

constexpr int WAIT_MS = 20000;

QString helperPath(const char *name)
{
    return QStringLiteral(KORVEX_HELPER_DIR "/") + QLatin1String(name);
}

struct Raw : RawClient
{
    // A top-level window that asks to be shown, as a program's main window does.
    xcb_window_t topLevel(std::uint32_t events = 0)
    {
        const xcb_window_t w = xcb_generate_id(c());
        const std::uint32_t values[] = { events };
        xcb_create_window(c(), XCB_COPY_FROM_PARENT, w, root(), 0, 0, 200, 100, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          values);
        return w;
    }
    std::uint32_t wmState(xcb_window_t w)
    {
        const xcb_atom_t name = atom("WM_STATE");
        xcb_get_property_reply_t *reply = xcb_get_property_reply(
                c(), xcb_get_property(c(), 0, w, name, name, 0, 2), nullptr);
        std::uint32_t state = 0xffffffffu;
        if (reply && xcb_get_property_value_length(reply) >= 4)
            state = *static_cast<const std::uint32_t *>(xcb_get_property_value(reply));
        std::free(reply);
        return state;
    }
    xcb_window_t focus()
    {
        xcb_get_input_focus_reply_t *reply =
                xcb_get_input_focus_reply(c(), xcb_get_input_focus(c()), nullptr);
        const xcb_window_t w = reply ? reply->focus : XCB_NONE;
        std::free(reply);
        return w;
    }
    bool mapped(xcb_window_t w)
    {
        xcb_get_window_attributes_reply_t *reply = xcb_get_window_attributes_reply(
                c(), xcb_get_window_attributes(c(), w), nullptr);
        const bool result = reply && reply->map_state != XCB_MAP_STATE_UNMAPPED;
        std::free(reply);
        return result;
    }
    QSize size(xcb_window_t w)
    {
        xcb_get_geometry_reply_t *reply =
                xcb_get_geometry_reply(c(), xcb_get_geometry(c(), w), nullptr);
        const QSize s = reply ? QSize(reply->width, reply->height) : QSize();
        std::free(reply);
        return s;
    }
    // Whether any event that reached this client by now is one the predicate accepts; all of
    // them are used up.
    bool queued(const std::function<bool(const xcb_generic_event_t *)> &wanted)
    {
        sync();
        bool found = false;
        while (xcb_generic_event_t *event = xcb_poll_for_event(c())) {
            found = found || wanted(event);
            std::free(event);
        }
        return found;
    }
    void discardEvents()
    {
        queued([](const xcb_generic_event_t *) { return false; });
    }
    // The next event of this client that the predicate accepts, within the time.
    bool waitForEvent(const std::function<bool(const xcb_generic_event_t *)> &wanted)
    {
        bool found = false;
        return QTest::qWaitFor([&] {
            while (xcb_generic_event_t *event = xcb_poll_for_event(c())) {
                found = found || wanted(event);
                std::free(event);
            }
            return found;
        }, WAIT_MS);
    }
};

bool xdotool(const QStringList &arguments)
{
    QProcess tool;
    tool.start(QStringLiteral("xdotool"), arguments);
    return tool.waitForFinished(WAIT_MS) && tool.exitCode() == 0;
}

} // namespace

class tst_XcbEmbeddingX11 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void takesAFramedWindow_data();
    void takesAFramedWindow();
    void managerThatNeverLetsGo();
    void managerThatTakesItBackForGood();
    void windowThatDiesWhileTaken();
    void windowNeverShownNeedsNoManager();
    void embeddedWindowIsToldItsEmbedder();
    void embeddedWindowKeepsFillingItsContainer();
    void windowShownBetweenStyleReadAndWriteStaysShown();
    void keyboardGoesInAndComesBack();
    void clickIntoTheContainerIsReportedAndPassedOn();
    void handOnKeysAreReported();
    void keyboardHeldByTheEmbedderIsHandedOn();
    void keyboardWatchOutlivesAStyleRead();
    void windowImageIsTheWindowsOwnPicture();
    void drawnAgainOnceStillUnderACompositor();
    void notDrawnAgainWithoutACompositor();

private:
    void startWindowManager(const char *mode);
    xcb_window_t framedWindow();
    // A program's window that never was a top-level on screen, taken into the container and
    // shown there at its size, as the dashboard does.
    xcb_window_t embeddedWindow(std::uint32_t events = 0);
    // Plays a compositing manager: owns the selection that says one runs.
    void ownCompositorSelection();
    void draw(xcb_window_t window);
    // Whether an Expose of window reached the raw client within the time; *exposed gets its
    // area.
    bool exposedWithin(xcb_window_t window, int milliseconds, QRect *exposed = nullptr);

    std::unique_ptr<XcbNativeWindowBackend> m_backend;
    std::unique_ptr<QProcess> m_wm;
    std::unique_ptr<Raw> m_raw;
    WindowHandle m_top = 0;
    WindowHandle m_container = 0;
};

void tst_XcbEmbeddingX11::initTestCase()
{
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        QSKIP("needs an X server (run through tests/run_with_xvfb)");
}

void tst_XcbEmbeddingX11::init()
{
    m_backend = std::make_unique<XcbNativeWindowBackend>();
    QVERIFY(m_backend->isConnected());
    m_raw = std::make_unique<Raw>();
    // The dashboard's side: a top-level window of its own with a container inside it. Made
    // before any manager runs, so nobody frames it.
    m_top = m_backend->createWindowEx(0, u"STATIC", u"dashboard", WsVisible, 0, 300, 500, 400, 0,
                                      0, nullptr, nullptr);
    m_container = m_backend->createWindowEx(0, u"STATIC", u"", WsChild | WsVisible, 50, 50, 400,
                                            300, m_top, 0, nullptr, nullptr);
    QVERIFY(m_top && m_container);
}

void tst_XcbEmbeddingX11::cleanup()
{
    if (m_wm) {
        m_wm->kill();
        m_wm->waitForFinished();
        m_wm.reset();
    }
    m_backend->sendMessage(m_top, WmClose, 0, 0);
    m_raw.reset();
    m_backend.reset();
}

void tst_XcbEmbeddingX11::startWindowManager(const char *mode)
{
    m_wm = std::make_unique<QProcess>();
    m_wm->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_wm->start(helperPath("x11_fake_wm"), { QString::fromLatin1(mode) });
    QVERIFY(m_wm->waitForStarted());
    QVERIFY(QTest::qWaitFor([this] { return m_wm->canReadLine(); }, WAIT_MS));
    QCOMPARE(m_wm->readLine().trimmed(), QByteArray("ready"));
}

// A program's window, shown: the manager frames it before anybody embeds it.
xcb_window_t tst_XcbEmbeddingX11::framedWindow()
{
    const xcb_window_t w = m_raw->topLevel();
    xcb_map_window(m_raw->c(), w);
    xcb_flush(m_raw->c());
    const QByteArray expected = "framed " + QByteArray::number(w);
    if (!QTest::qWaitFor([&] { return m_wm->canReadLine(); }, WAIT_MS))
        return XCB_NONE;
    return m_wm->readLine().trimmed() == expected && m_raw->parentOf(w) != m_raw->root() ? w : XCB_NONE;
}

xcb_window_t tst_XcbEmbeddingX11::embeddedWindow(std::uint32_t events)
{
    const xcb_window_t window = m_raw->topLevel(events);
    m_raw->sync();
    if (!m_backend->setParent(window, m_container)
        || !m_backend->setWindowPos(window, 0, 0, 0, 400, 300, SwpShowWindow))
        return XCB_NONE;
    return window;
}

void tst_XcbEmbeddingX11::takesAFramedWindow_data()
{
    QTest::addColumn<QByteArray>("mode");
    QTest::newRow("manager lets go") << QByteArray("release");
    QTest::newRow("manager grabs it back once") << QByteArray("grabback");
}

void tst_XcbEmbeddingX11::takesAFramedWindow()
{
    QFETCH(QByteArray, mode);
    startWindowManager(mode.constData());
    const xcb_window_t window = framedWindow();
    QVERIFY(window);
    QCOMPARE(m_raw->wmState(window), 1u);

    QVERIFY(m_backend->setParent(window, m_container) != 0);
    if (mode == "release") {
        QCOMPARE(m_raw->parentOf(window), xcb_window_t(m_container));
        // The manager let go as ICCCM asks: withdrawn.
        QCOMPARE(m_raw->wmState(window), 0u);
    }
    QVERIFY(m_backend->setWindowPos(window, 0, 0, 0, 400, 300, SwpShowWindow));
    if (mode == "grabback") {
        // The manager frames it again; the backend takes it back from the event loop.
        QVERIFY(QTest::qWaitFor([this] { return m_wm->canReadLine(); }, WAIT_MS));
        QCOMPARE(m_wm->readLine().trimmed(), "framed " + QByteArray::number(window));
    }
    QTRY_COMPARE_WITH_TIMEOUT(m_raw->parentOf(window), xcb_window_t(m_container), WAIT_MS);
    m_raw->sync();
    QCOMPARE(m_raw->parentOf(window), xcb_window_t(m_container));
}

void tst_XcbEmbeddingX11::managerThatNeverLetsGo()
{
    startWindowManager("keep");
    const xcb_window_t window = framedWindow();
    QVERIFY(window);
    const xcb_window_t frame = m_raw->parentOf(window);
    // Refused after the bounded wait; the window stays with its manager.
    QCOMPARE(m_backend->setParent(window, m_container), WindowHandle(0));
    QCOMPARE(m_raw->parentOf(window), frame);
    // The backend goes on working.
    QVERIFY(m_backend->isWindow(m_container));
    QVERIFY(m_backend->setWindowPos(m_container, 0, 10, 10, 300, 200, SwpNoZOrder));
}

// A manager that frames the window again each time it is taken: the backend takes it back a
// few times, then leaves it with the manager and says so to whoever watches the container.
void tst_XcbEmbeddingX11::managerThatTakesItBackForGood()
{
    startWindowManager("grabalways");
    const xcb_window_t window = framedWindow();
    QVERIFY(window);
    int lost = 0;
    QVERIFY(m_backend->watchEmbedding(m_container, [&lost] { ++lost; }));
    QVERIFY(m_backend->setParent(window, m_container) != 0);
    QVERIFY(m_backend->setWindowPos(window, 0, 0, 0, 400, 300, SwpShowWindow));
    QTRY_COMPARE_WITH_TIMEOUT(lost, 1, WAIT_MS);
    // Every take was answered by a frame: the first, then one per take back.
    int frames = 0;
    QTRY_COMPARE_WITH_TIMEOUT(([&] {
                                  while (m_wm->canReadLine()) {
                                      if (m_wm->readLine().trimmed() == "framed " + QByteArray::number(window))
                                          ++frames;
                                  }
                                  return frames;
                              }()),
                              XcbNativeWindowBackend::MAX_RETAKES + 1, WAIT_MS);
    m_raw->sync();
    QVERIFY(m_raw->parentOf(window) != xcb_window_t(m_container));
    QCOMPARE(lost, 1);
    // The backend goes on working, and a container nobody watches says nothing.
    QVERIFY(m_backend->watchEmbedding(m_container, {}));
    QVERIFY(m_backend->isWindow(m_container));
}

void tst_XcbEmbeddingX11::windowThatDiesWhileTaken()
{
    startWindowManager("destroy");
    const xcb_window_t window = framedWindow();
    QVERIFY(window);
    QCOMPARE(m_backend->setParent(window, m_container), WindowHandle(0));
    QVERIFY(!m_backend->isWindow(window));
    QVERIFY(m_backend->isWindow(m_container));
}

void tst_XcbEmbeddingX11::windowNeverShownNeedsNoManager()
{
    startWindowManager("keep");
    // A window that was never mapped: the manager holds nothing, even one that never lets go.
    const xcb_window_t window = embeddedWindow();
    QVERIFY(window);
    QCOMPARE(m_raw->parentOf(window), xcb_window_t(m_container));
    m_raw->sync();
    // Mapped inside the container, no manager framed it.
    QVERIFY(!m_wm->canReadLine());
    QCOMPARE(m_raw->parentOf(window), xcb_window_t(m_container));
}

void tst_XcbEmbeddingX11::embeddedWindowIsToldItsEmbedder()
{
    const xcb_window_t window = m_raw->topLevel();
    m_raw->sync();
    QVERIFY(m_backend->setParent(window, m_container) != 0);
    const xcb_atom_t xembed = m_raw->atom("_XEMBED");
    // A client message sent with no event mask reaches the window's creator: the raw client.
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        if ((event->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
            return false;
        const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
        return message->window == window && message->type == xembed
                && message->data.data32[1] == 0 /* XEMBED_EMBEDDED_NOTIFY */
                && message->data.data32[3] == m_container;
    }));
}

void tst_XcbEmbeddingX11::embeddedWindowKeepsFillingItsContainer()
{
    const xcb_window_t window = embeddedWindow();
    QVERIFY(window);
    QCOMPARE(m_raw->size(window), QSize(400, 300));
    // The module fits its window to its content, as a toolkit does once it is shown.
    const std::uint32_t small[] = { 120, 80 };
    xcb_configure_window(m_raw->c(), window, XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT, small);
    xcb_flush(m_raw->c());
    QTRY_COMPARE_WITH_TIMEOUT(m_raw->size(window), QSize(400, 300), WAIT_MS);
}

// The embedder reads the module's style, clears the frame bits and writes it back, while the
// module, told it is embedded, maps its window: the write must not undo the module's map.
void tst_XcbEmbeddingX11::windowShownBetweenStyleReadAndWriteStaysShown()
{
    const xcb_window_t window = m_raw->topLevel(XCB_EVENT_MASK_STRUCTURE_NOTIFY);
    m_raw->sync();
    QVERIFY(m_backend->setParent(window, m_container) != 0);
    const LongPtr style = m_backend->getWindowLongPtr(window, GwlStyle);
    QVERIFY(!(style & WsVisible));
    xcb_map_window(m_raw->c(), window);
    m_raw->sync();
    m_backend->setWindowLongPtr(window, GwlStyle, style & ~LongPtr(WsCaption | WsThickFrame));
    m_backend->isWindow(window); // a round trip: the write has reached the server
    QVERIFY(m_raw->mapped(window));
    QVERIFY2(!m_raw->queued([&](const xcb_generic_event_t *event) {
                 return (event->response_type & 0x7f) == XCB_UNMAP_NOTIFY
                         && reinterpret_cast<const xcb_unmap_notify_event_t *>(event)->window == window;
             }),
             "the style write unmapped the window");

    // Clearing the bit the caller saw set still hides the window.
    const LongPtr shown = m_backend->getWindowLongPtr(window, GwlStyle);
    QVERIFY(shown & WsVisible);
    m_backend->setWindowLongPtr(window, GwlStyle, shown & ~LongPtr(WsVisible));
    m_backend->isWindow(window);
    QVERIFY(!m_raw->mapped(window));
}

void tst_XcbEmbeddingX11::keyboardGoesInAndComesBack()
{
    const xcb_window_t window = embeddedWindow();
    QVERIFY(window);
    QVERIFY(m_backend->focusEmbeddedWindow(window, EmbeddedFocus::First));
    QCOMPARE(m_raw->focus(), window);
    QVERIFY(m_backend->focusEmbedder(m_top));
    QCOMPARE(m_raw->focus(), xcb_window_t(m_top));

    // The keyboard another program holds is never taken.
    const xcb_window_t other = m_raw->topLevel();
    xcb_map_window(m_raw->c(), other);
    m_raw->sync();
    xcb_set_input_focus(m_raw->c(), XCB_INPUT_FOCUS_PARENT, other, XCB_CURRENT_TIME);
    m_raw->sync();
    QVERIFY(!m_backend->focusEmbedder(m_top));
    QCOMPARE(m_raw->focus(), other);
    // Nor does a window that is not one give anything.
    QVERIFY(!m_backend->focusEmbeddedWindow(0x1fffffff, EmbeddedFocus::Current));
}

void tst_XcbEmbeddingX11::clickIntoTheContainerIsReportedAndPassedOn()
{
    const xcb_window_t window = embeddedWindow(XCB_EVENT_MASK_BUTTON_PRESS);
    QVERIFY(window);
    QList<EmbeddedFocusEvent> seen;
    QVERIFY(m_backend->watchEmbeddedFocus(m_container, [&](EmbeddedFocusEvent what) { seen << what; }));
    m_raw->sync();
    // A real click at the middle of the container (the dashboard's window is at 0,300).
    QVERIFY(xdotool({ QStringLiteral("mousemove"), QStringLiteral("--sync"), QStringLiteral("250"),
                      QStringLiteral("500"), QStringLiteral("click"), QStringLiteral("1") }));
    QTRY_COMPARE_WITH_TIMEOUT(seen, QList<EmbeddedFocusEvent>{ EmbeddedFocusEvent::Clicked }, WAIT_MS);
    // The click went on to the embedded window.
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        return (event->response_type & 0x7f) == XCB_BUTTON_PRESS
                && reinterpret_cast<const xcb_button_press_event_t *>(event)->event == window;
    }));
    // While the window has the keyboard, each click is still reported (a window manager may
    // have taken the keyboard to the top-level on that click) and passed on.
    QVERIFY(m_backend->focusEmbeddedWindow(window, EmbeddedFocus::Current));
    QVERIFY(xdotool({ QStringLiteral("click"), QStringLiteral("1") }));
    QTRY_COMPARE_WITH_TIMEOUT(seen.size(), 2, WAIT_MS);
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        return (event->response_type & 0x7f) == XCB_BUTTON_PRESS;
    }));
    // Not watched any more: clicks are the window's alone.
    QVERIFY(m_backend->watchEmbeddedFocus(m_container, {}));
    QVERIFY(xdotool({ QStringLiteral("click"), QStringLiteral("1") }));
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        return (event->response_type & 0x7f) == XCB_BUTTON_PRESS;
    }));
    QCoreApplication::processEvents();
    QCOMPARE(seen.size(), 2);
}

void tst_XcbEmbeddingX11::handOnKeysAreReported()
{
    const xcb_window_t window = embeddedWindow(XCB_EVENT_MASK_KEY_PRESS);
    QVERIFY(window);
    QList<EmbeddedFocusEvent> seen;
    QVERIFY(m_backend->watchEmbeddedFocus(m_container, [&](EmbeddedFocusEvent what) { seen << what; }));
    QVERIFY(m_backend->focusEmbeddedWindow(window, EmbeddedFocus::First));
    // Plain keys are the window's; the hand-on keys are the embedder's, with Caps Lock too.
    QVERIFY(xdotool({ QStringLiteral("key"), QStringLiteral("a") }));
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        return (event->response_type & 0x7f) == XCB_KEY_PRESS;
    }));
    QVERIFY(xdotool({ QStringLiteral("key"), QStringLiteral("ctrl+Tab") }));
    QTRY_COMPARE_WITH_TIMEOUT(seen, QList<EmbeddedFocusEvent>{ EmbeddedFocusEvent::Next }, WAIT_MS);
    QVERIFY(xdotool({ QStringLiteral("key"), QStringLiteral("ctrl+shift+Tab") }));
    QTRY_COMPARE_WITH_TIMEOUT(seen, (QList<EmbeddedFocusEvent>{ EmbeddedFocusEvent::Next, EmbeddedFocusEvent::Previous }),
                              WAIT_MS);
    // An XEmbed client asks the same by message.
    const std::uint32_t next[5] = { XCB_CURRENT_TIME, 6 /* XEMBED_FOCUS_NEXT */, 0, 0, 0 };
    m_raw->clientMessage(xcb_window_t(m_container), m_raw->atom("_XEMBED"), next);
    m_raw->sync();
    QTRY_COMPARE_WITH_TIMEOUT(seen.size(), 3, WAIT_MS);
    QCOMPARE(seen.last(), EmbeddedFocusEvent::Next);
}

// A window manager that puts the X focus back on the dashboard's window whenever anybody moves
// it (weston's does): the module keeps the keyboard as XEmbed has it. It is told it has the
// focus again, the keys reaching the dashboard's window are handed on to it, and Ctrl+Tab still
// leaves it.
void tst_XcbEmbeddingX11::keyboardHeldByTheEmbedderIsHandedOn()
{
    const xcb_window_t window = embeddedWindow(XCB_EVENT_MASK_KEY_PRESS);
    QVERIFY(window);
    QList<EmbeddedFocusEvent> seen;
    QVERIFY(m_backend->watchEmbeddedFocus(m_container, [&](EmbeddedFocusEvent what) { seen << what; }));
    QVERIFY(m_backend->focusEmbeddedWindow(window, EmbeddedFocus::Current));
    // The pointer rests away from the dashboard's window (at 0,300), so keys go by the focus.
    QVERIFY(xdotool({ QStringLiteral("mousemove"), QStringLiteral("--sync"), QStringLiteral("700"),
                      QStringLiteral("10") }));
    const xcb_atom_t xembed = m_raw->atom("_XEMBED");
    m_raw->discardEvents();

    // The manager's move.
    xcb_set_input_focus(m_raw->c(), XCB_INPUT_FOCUS_PARENT, xcb_window_t(m_top), XCB_CURRENT_TIME);
    m_raw->sync();
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
        return (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message->window == window
                && message->type == xembed && message->data.data32[1] == 4 /* XEMBED_FOCUS_IN */;
    }));
    QCOMPARE(m_raw->focus(), xcb_window_t(m_top));

    // The dashboard leaves such keys alone: they are the module's. Keys sent on purpose, and
    // keys at other windows, stay with whoever gets them.
    const auto keyAt = [](xcb_window_t at, std::uint8_t type) {
        xcb_key_press_event_t key{};
        key.response_type = type;
        key.event = at;
        return key;
    };
    const auto forEmbedded = [&](const xcb_key_press_event_t &key) {
        static const char type[] = "xcb_generic_event_t";
        return m_backend->isKeyForEmbedded(type, sizeof type - 1, &key);
    };
    QVERIFY(forEmbedded(keyAt(xcb_window_t(m_top), XCB_KEY_PRESS)));
    QVERIFY(forEmbedded(keyAt(xcb_window_t(m_top), XCB_KEY_RELEASE)));
    QVERIFY(!forEmbedded(keyAt(xcb_window_t(m_top), XCB_KEY_PRESS | 0x80)));
    QVERIFY(!forEmbedded(keyAt(m_container, XCB_KEY_PRESS)));
    QVERIFY(!forEmbedded(keyAt(xcb_window_t(m_top), XCB_BUTTON_PRESS)));

    QVERIFY(xdotool({ QStringLiteral("key"), QStringLiteral("a") }));
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        // Sent on purpose (the synthetic bit), to the module's window.
        return event->response_type == (XCB_KEY_PRESS | 0x80)
                && reinterpret_cast<const xcb_key_press_event_t *>(event)->event == window;
    }));
    QVERIFY(xdotool({ QStringLiteral("key"), QStringLiteral("ctrl+Tab") }));
    QTRY_COMPARE_WITH_TIMEOUT(seen, QList<EmbeddedFocusEvent>{ EmbeddedFocusEvent::Next }, WAIT_MS);

    // Once the dashboard has the keyboard back, its keys stay its own. (The Ctrl key around
    // the Tab went on to the module: only Ctrl+Tab itself is the dashboard's.)
    QVERIFY(m_backend->focusEmbedder(m_top));
    QVERIFY(!forEmbedded(keyAt(xcb_window_t(m_top), XCB_KEY_PRESS)));
    m_raw->discardEvents();
    QVERIFY(xdotool({ QStringLiteral("key"), QStringLiteral("b") }));
    m_raw->sync();
    m_backend->isWindow(window); // the backend has read its events
    QCoreApplication::processEvents();
    QVERIFY2(!m_raw->queued([](const xcb_generic_event_t *event) {
                 return (event->response_type & 0x7f) == XCB_KEY_PRESS;
             }),
             "a key of the dashboard's reached the module");
}

// The dashboard's own window belongs to another connection (the toolkit's): the backend's
// watch on it for the keyboard must survive the backend first reading that window's style,
// or the keys a window manager sends there would no longer reach the module.
void tst_XcbEmbeddingX11::keyboardWatchOutlivesAStyleRead()
{
    const xcb_window_t top = m_raw->topLevel();
    xcb_map_window(m_raw->c(), top);
    m_raw->sync();
    const WindowHandle container = m_backend->createWindowEx(0, u"STATIC", u"", WsChild | WsVisible, 0, 0,
                                                             200, 100, top, 0, nullptr, nullptr);
    QVERIFY(container);
    const xcb_window_t window = m_raw->topLevel(XCB_EVENT_MASK_KEY_PRESS);
    m_raw->sync();
    QVERIFY(m_backend->setParent(window, container));
    QVERIFY(m_backend->setWindowPos(window, 0, 0, 0, 200, 100, SwpShowWindow));
    QVERIFY(m_backend->focusEmbeddedWindow(window, EmbeddedFocus::Current));
    QVERIFY(m_backend->getWindowLongPtr(top, GwlStyle) & WsVisible);
    m_raw->discardEvents();

    // The manager's move: the module is told it has the keyboard again.
    xcb_set_input_focus(m_raw->c(), XCB_INPUT_FOCUS_PARENT, top, XCB_CURRENT_TIME);
    m_raw->sync();
    const xcb_atom_t xembed = m_raw->atom("_XEMBED");
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
        return (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message->window == window
                && message->type == xembed && message->data.data32[1] == 4 /* XEMBED_FOCUS_IN */;
    }));
    // With the pointer away, keys go by the focus: to the dashboard's window, and on from there.
    QVERIFY(xdotool({ QStringLiteral("mousemove"), QStringLiteral("--sync"), QStringLiteral("700"),
                      QStringLiteral("500") }));
    QVERIFY(xdotool({ QStringLiteral("key"), QStringLiteral("a") }));
    QVERIFY(m_raw->waitForEvent([&](const xcb_generic_event_t *event) {
        return event->response_type == (XCB_KEY_PRESS | 0x80)
                && reinterpret_cast<const xcb_key_press_event_t *>(event)->event == window;
    }));
    xcb_destroy_window(m_raw->c(), top);
    m_raw->sync();
}

// What a module's container shows, read from the window itself: its own pixels and those of
// the windows inside it, whatever the screen's picture (black under XWayland).
void tst_XcbEmbeddingX11::windowImageIsTheWindowsOwnPicture()
{
    xcb_connection_t *c = m_raw->c();
    const xcb_window_t inside = xcb_generate_id(c);
    const std::uint32_t background = 0x336699;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, inside, xcb_window_t(m_container), 100, 50, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL, &background);
    xcb_map_window(c, inside);
    m_raw->sync();

    NativeWindowBackend::WindowImage image;
    QTRY_VERIFY(m_backend->windowImage(m_container, &image) && image.pixels.size() == 400u * 300u
                && image.pixels[std::size_t(100) * 400 + 200] == (0xff000000u | background));
    QCOMPARE(image.width, 400);
    QCOMPARE(image.height, 300);
    // The window inside is where it is, and the container's own background around it.
    const auto at = [&](int x, int y) { return image.pixels[std::size_t(y) * 400 + std::size_t(x)]; };
    QCOMPARE(at(100, 50), 0xff000000u | background);
    QCOMPARE(at(299, 149), 0xff000000u | background);
    QVERIFY(at(99, 50) != (0xff000000u | background));
    QVERIFY(at(300, 149) != (0xff000000u | background));

    // Nothing to read: not shown, not a window, nowhere to put it.
    m_backend->showWindow(m_container, 0);
    NativeWindowBackend::WindowImage none;
    QVERIFY(!m_backend->windowImage(m_container, &none));
    QVERIFY(!m_backend->windowImage(WindowHandle(0x7fffffff), &none));
    QVERIFY(!m_backend->windowImage(m_top, nullptr));
    QVERIFY(none.pixels.empty());
}

void tst_XcbEmbeddingX11::ownCompositorSelection()
{
    const xcb_window_t owner = m_raw->createWindow();
    xcb_set_selection_owner(m_raw->c(), owner, m_raw->atom("_NET_WM_CM_S0"), XCB_CURRENT_TIME);
    m_raw->sync();
}

void tst_XcbEmbeddingX11::draw(xcb_window_t window)
{
    xcb_connection_t *c = m_raw->c();
    const xcb_gcontext_t gc = xcb_generate_id(c);
    const std::uint32_t foreground = 0x884422;
    xcb_create_gc(c, gc, window, XCB_GC_FOREGROUND, &foreground);
    const xcb_rectangle_t rect{ 10, 10, 50, 20 };
    xcb_poly_fill_rectangle(c, window, gc, 1, &rect);
    xcb_free_gc(c, gc);
    xcb_flush(c);
}

bool tst_XcbEmbeddingX11::exposedWithin(xcb_window_t window, int milliseconds, QRect *exposed)
{
    bool found = false;
    (void)QTest::qWaitFor([&] {
        while (xcb_generic_event_t *event = xcb_poll_for_event(m_raw->c())) {
            const auto *expose = reinterpret_cast<const xcb_expose_event_t *>(event);
            if ((event->response_type & 0x7f) == XCB_EXPOSE && expose->window == window && !found) {
                found = true;
                if (exposed)
                    *exposed = QRect(expose->x, expose->y, expose->width, expose->height);
            }
            std::free(event);
        }
        return found;
    }, milliseconds);
    return found;
}

// Under a compositing manager, an embedded window is asked to draw all of itself again once it
// has stopped drawing, and only then: its last drawing, which the manager may have lost, is
// drawn once more when nothing else is. One such redraw per request.
void tst_XcbEmbeddingX11::drawnAgainOnceStillUnderACompositor()
{
    ownCompositorSelection();
    const xcb_window_t window = embeddedWindow(XCB_EVENT_MASK_EXPOSURE);
    QVERIFY(window);
    m_raw->discardEvents(); // the Expose of being shown
    // Long enough that drawing every 150 ms keeps it waiting on a busy machine too.
    constexpr int SETTLE = 1500;
    m_backend->setSettleInterval(SETTLE);
    QVERIFY(m_backend->redrawWhenSettled(window));
    QElapsedTimer drawing;
    drawing.start();
    for (int i = 0; i < 15; ++i) {
        draw(window);
        QVERIFY2(!exposedWithin(window, 150),
                 qPrintable(QStringLiteral("drawn again while it was drawing, %1 ms after it was asked")
                                    .arg(drawing.elapsed())));
    }
    QVERIFY2(drawing.elapsed() > SETTLE, "the window drew for less time than the backend waits");
    QRect exposed;
    QVERIFY2(exposedWithin(window, WAIT_MS, &exposed), "never drawn again");
    QCOMPARE(exposed, QRect(0, 0, 400, 300));
    QVERIFY2(!exposedWithin(window, 2 * SETTLE), "drawn again twice for one request");

    // Asked again, twice while it waits, with no drawing to wait for: drawn again once.
    QVERIFY(m_backend->redrawWhenSettled(window));
    QVERIFY(m_backend->redrawWhenSettled(window));
    QVERIFY(exposedWithin(window, WAIT_MS));
    QVERIFY2(!exposedWithin(window, 2 * SETTLE), "drawn again twice for two requests while it waited");

    // A window that dies before it settles leaves nothing behind: the backend works on.
    const xcb_window_t dying = embeddedWindow(XCB_EVENT_MASK_EXPOSURE);
    QVERIFY(dying);
    QVERIFY(m_backend->redrawWhenSettled(dying));
    xcb_destroy_window(m_raw->c(), dying);
    m_raw->sync();
    QVERIFY(!m_backend->redrawWhenSettled(dying));
    QVERIFY(m_backend->redrawWhenSettled(window));
    QVERIFY(exposedWithin(window, WAIT_MS));
    QVERIFY(!m_backend->redrawWhenSettled(WindowHandle(0x7fffffff)));
}

// Without a compositing manager the X server draws the screen from the windows themselves:
// nothing can be lost, and nothing is drawn twice.
void tst_XcbEmbeddingX11::notDrawnAgainWithoutACompositor()
{
    const xcb_window_t window = embeddedWindow(XCB_EVENT_MASK_EXPOSURE);
    QVERIFY(window);
    m_backend->setSettleInterval(100);
    m_raw->discardEvents();
    QVERIFY(!m_backend->redrawWhenSettled(window));
    draw(window);
    QVERIFY(!exposedWithin(window, 1000));
}

QTEST_MAIN(tst_XcbEmbeddingX11)
#include "tst_xcbembedding_x11.moc"
