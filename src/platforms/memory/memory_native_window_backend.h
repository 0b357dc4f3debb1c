#pragma once

#include "korvexdashboardtesting_export.h"
#include "platforms/native_window_backend.h"

#include <QByteArray>
#include <QHash>
#include <QList>
#include <QMap>
#include <QRect>
#include <QString>
#include <QVariantList>

#include <functional>

class QWindow;

// A native window system that lives in memory: every call is recorded with its arguments, in
// order, and windows are simulated well enough for the dashboard's logic (existence, parent,
// style words, geometry, visibility, destruction). Tests install it to drive the dashboard
// without a display; it is never a process's default (that is "none" where no real backend
// exists, which keeps nothing).
class KORVEXDASHBOARDTESTING_EXPORT MemoryNativeWindowBackend
        : public KorvexNative::NativeWindowBackend
{
public:
    // The eventType under which this backend's messages reach QWindow::nativeEvent.
    static constexpr char EVENT_TYPE[] = "korvex_memory_MSG";
    // Registered message ids are handed out from here upwards, like Windows' 0xC000..0xFFFF.
    static constexpr KorvexNative::MessageId FIRST_REGISTERED_ID = 0xC000;
    // What SetParent reports as a top-level window's previous parent, as Windows reports its
    // desktop window: a successful call never returns 0.
    static constexpr KorvexNative::WindowHandle DESKTOP_WINDOW = 0x0010;

    struct Call
    {
        QString function;        // the Win32 name: "SetWindowPos", "SendMessageW", ...
        QVariantList arguments;  // the call's parameters in Win32 order (handles as quint64)
        qint64 result = 0;       // what the call returned
        // WmCopyData only: the COPYDATASTRUCT as it was during the call (the bytes are copied).
        bool hasCopyData = false;
        quint64 copyDataId = 0;
        quint32 copyDataSize = 0;
        QByteArray copyDataBytes;
    };

    struct Window
    {
        KorvexNative::WindowHandle handle = 0;
        QString className;
        QString title;
        KorvexNative::WindowHandle parent = 0;
        qint64 style = 0;
        qint64 exStyle = 0;
        QRect geometry;
        bool visible = false;
        // WmClose destroys the window (DefWindowProc's behaviour); a module may refuse.
        bool closesOnClose = true;
        bool keptByWindowManager = false;
    };

    // Sees every message sent or posted to a window after it was recorded; the return value
    // becomes SendMessageW's result. Runs synchronously inside the call, like a window procedure.
    using MessageHandler = std::function<KorvexNative::LResult(
            KorvexNative::WindowHandle, KorvexNative::MessageId, KorvexNative::WParam,
            KorvexNative::LParam)>;

    MemoryNativeWindowBackend();
    ~MemoryNativeWindowBackend() override;

    // --- the recording ---
    const QList<Call> &calls() const { return m_calls; }
    QList<Call> callsTo(const QString &function) const;
    QStringList functionNames() const;
    void clearCalls() { m_calls.clear(); }

    // --- the simulated windows ---
    // A top-level window as a module creates it (a framed, visible window by default).
    KorvexNative::WindowHandle addWindow(const QString &className = QStringLiteral("ModuleWindow"),
                                         qint64 style = 0x10CF0000, const QRect &geometry = QRect(),
                                         KorvexNative::WindowHandle parent = 0);
    // Makes a window of another system (a Qt window's winId()) known under its own handle.
    void adoptWindow(KorvexNative::WindowHandle handle,
                     const QString &className = QStringLiteral("QtWindow"));
    // Destroys a window and its children, as DestroyWindow does or as a process ending does.
    void destroyWindow(KorvexNative::WindowHandle handle);
    bool windowExists(KorvexNative::WindowHandle handle) const;
    // The window's state; a default Window (handle 0) when it does not exist.
    Window window(KorvexNative::WindowHandle handle) const;
    QList<KorvexNative::WindowHandle> windows() const { return m_windows.keys(); }
    void setClosesOnClose(KorvexNative::WindowHandle handle, bool closes);
    // A window its window manager never lets go: SetParent into any parent fails and leaves it.
    void setKeptByWindowManager(KorvexNative::WindowHandle handle, bool kept);
    void setMessageHandler(KorvexNative::WindowHandle handle, MessageHandler handler);

    // --- registered messages ---
    // The id a name was given, or 0 if nobody registered it yet. Ids never change.
    KorvexNative::MessageId registeredMessageId(const QString &name) const;
    // Registers without recording a call, as another process registering first would.
    KorvexNative::MessageId registerMessageName(const QString &name);

    // --- delivering messages to a Qt window, as another process would ---
    // Hands the message to target's QWindow::nativeEvent under EVENT_TYPE, with hwnd set to
    // target's winId(). Returns what nativeEvent returned; *result gets its result.
    static bool deliverMessage(QWindow *target, KorvexNative::MessageId message,
                               KorvexNative::WParam wParam, KorvexNative::LParam lParam,
                               qintptr *result = nullptr);
    // WmCopyData with a COPYDATASTRUCT holding bytes, from the window sender.
    static bool deliverCopyData(QWindow *target, KorvexNative::WindowHandle sender,
                                quint64 dwData, const QByteArray &bytes);

    // --- keyboard focus of embedded windows, kept apart from calls() ---
    // "focusEmbeddedWindow <handle> <current|first|last>" and "focusEmbedder <handle>", in order.
    QStringList focusLog() const { return m_focusLog; }
    // Where focusEmbeddedWindow or focusEmbedder last put the keyboard; 0 before.
    KorvexNative::WindowHandle focusedWindow() const { return m_focused; }
    bool isWatchingFocus(KorvexNative::WindowHandle container) const
    {
        return m_focusWatchers.contains(container);
    }
    // Plays the user inside an embedded window of container, as the window system would report
    // it; false when nobody watches that container.
    bool reportEmbeddedFocus(KorvexNative::WindowHandle container,
                             KorvexNative::EmbeddedFocusEvent what);
    // Plays a window manager that took the window embedded in container away for good; false
    // when nobody watches that container.
    bool reportEmbeddingLost(KorvexNative::WindowHandle container);
    // The windows redrawWhenSettled was asked to draw again, in order; kept apart from calls().
    QList<KorvexNative::WindowHandle> settleRedraws() const { return m_settleRedraws; }

    // --- NativeWindowBackend ---
    const char *name() const override { return "memory"; }
    KorvexNative::WindowHandle createWindowEx(std::uint32_t exStyle, const char16_t *className,
                                              const char16_t *windowName, std::uint32_t style,
                                              int x, int y, int width, int height,
                                              KorvexNative::WindowHandle parent,
                                              KorvexNative::WindowHandle menu, void *instance,
                                              void *param) override;
    KorvexNative::WindowHandle setParent(KorvexNative::WindowHandle child,
                                         KorvexNative::WindowHandle newParent) override;
    KorvexNative::LongPtr getWindowLongPtr(KorvexNative::WindowHandle window, int index) override;
    KorvexNative::LongPtr setWindowLongPtr(KorvexNative::WindowHandle window, int index,
                                           KorvexNative::LongPtr newLong) override;
    bool setWindowPos(KorvexNative::WindowHandle window, KorvexNative::WindowHandle insertAfter,
                      int x, int y, int cx, int cy, std::uint32_t flags) override;
    bool showWindow(KorvexNative::WindowHandle window, int command) override;
    bool isWindow(KorvexNative::WindowHandle window) override;
    KorvexNative::LResult sendMessage(KorvexNative::WindowHandle window,
                                      KorvexNative::MessageId message, KorvexNative::WParam wParam,
                                      KorvexNative::LParam lParam) override;
    bool postMessage(KorvexNative::WindowHandle window, KorvexNative::MessageId message,
                     KorvexNative::WParam wParam, KorvexNative::LParam lParam) override;
    KorvexNative::MessageId registerWindowMessage(const char16_t *name) override;
    const KorvexNative::Message *translateNativeEvent(const char *eventType,
                                                      std::size_t eventTypeSize, void *message,
                                                      KorvexNative::Message *storage) override;
    bool watchEmbeddedFocus(KorvexNative::WindowHandle container,
                            KorvexNative::EmbeddedFocusHandler handler) override;
    bool focusEmbeddedWindow(KorvexNative::WindowHandle window,
                             KorvexNative::EmbeddedFocus detail) override;
    bool focusEmbedder(KorvexNative::WindowHandle topLevel) override;
    bool watchEmbedding(KorvexNative::WindowHandle container, EmbeddingLostHandler lost) override;
    bool redrawWhenSettled(KorvexNative::WindowHandle window) override;

private:
    Call &record(const QString &function, const QVariantList &arguments);
    KorvexNative::LResult dispatch(KorvexNative::WindowHandle window,
                                   KorvexNative::MessageId message, KorvexNative::WParam wParam,
                                   KorvexNative::LParam lParam);

    QList<Call> m_calls;
    QMap<KorvexNative::WindowHandle, Window> m_windows;
    QHash<KorvexNative::WindowHandle, MessageHandler> m_handlers;
    QHash<QString, KorvexNative::MessageId> m_registered;
    KorvexNative::WindowHandle m_nextHandle = 0x10000;
    QHash<KorvexNative::WindowHandle, KorvexNative::EmbeddedFocusHandler> m_focusWatchers;
    QHash<KorvexNative::WindowHandle, EmbeddingLostHandler> m_lostWatchers;
    QStringList m_focusLog;
    KorvexNative::WindowHandle m_focused = 0;
    QList<KorvexNative::WindowHandle> m_settleRedraws;
};
