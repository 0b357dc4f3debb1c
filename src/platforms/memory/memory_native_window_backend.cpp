#include "platforms/memory/memory_native_window_backend.h"

#include <QWindow>

#include <cstring>

using namespace KorvexNative;

namespace {

// QWindow::nativeEvent is where Qt hands a window its native messages. Reaching it through a
// member pointer keeps virtual dispatch, so the dashboard window's override runs exactly as it
// would for a message from the window system.
struct NativeEventAccess : QWindow
{
    static bool call(QWindow *window, const QByteArray &eventType, void *message, qintptr *result)
    {
        return (window->*(&NativeEventAccess::nativeEvent))(eventType, message, result);
    }
};

QString fromUtf16(const char16_t *text)
{
    return text ? QString::fromUtf16(text) : QString();
}

QVariant handleValue(WindowHandle handle)
{
    return QVariant::fromValue<quint64>(handle);
}

constexpr std::uint32_t SwpNoSize = 0x0001;
constexpr std::uint32_t SwpNoMove = 0x0002;
constexpr std::uint32_t SwpHideWindow = 0x0080;
// The largest COPYDATASTRUCT payload the recording copies; a larger cbData is recorded as a
// size only, so a hostile size cannot make the recorder read past the sender's buffer.
constexpr quint32 MAX_RECORDED_COPY = 64 * 1024 * 1024;

} // namespace

MemoryNativeWindowBackend::MemoryNativeWindowBackend() = default;
MemoryNativeWindowBackend::~MemoryNativeWindowBackend() = default;

QList<MemoryNativeWindowBackend::Call> MemoryNativeWindowBackend::callsTo(const QString &function) const
{
    QList<Call> found;
    for (const Call &call : m_calls)
        if (call.function == function)
            found << call;
    return found;
}

QStringList MemoryNativeWindowBackend::functionNames() const
{
    QStringList names;
    for (const Call &call : m_calls)
        names << call.function;
    return names;
}

MemoryNativeWindowBackend::Call &MemoryNativeWindowBackend::record(const QString &function,
                                                                   const QVariantList &arguments)
{
    Call call;
    call.function = function;
    call.arguments = arguments;
    m_calls.append(call);
    return m_calls.last();
}

WindowHandle MemoryNativeWindowBackend::addWindow(const QString &className, qint64 style,
                                                  const QRect &geometry, WindowHandle parent)
{
    Window window;
    window.handle = m_nextHandle;
    m_nextHandle += 0x10;
    window.className = className;
    window.style = style;
    window.geometry = geometry;
    window.parent = parent;
    window.visible = (style & WsVisible) != 0;
    m_windows.insert(window.handle, window);
    return window.handle;
}

void MemoryNativeWindowBackend::adoptWindow(WindowHandle handle, const QString &className)
{
    if (!handle)
        return;
    Window window;
    window.handle = handle;
    window.className = className;
    window.visible = true;
    window.closesOnClose = false;
    m_windows.insert(handle, window);
}

void MemoryNativeWindowBackend::destroyWindow(WindowHandle handle)
{
    if (!m_windows.contains(handle))
        return;
    QList<WindowHandle> children;
    for (const Window &window : std::as_const(m_windows))
        if (window.parent == handle)
            children << window.handle;
    m_windows.remove(handle);
    m_handlers.remove(handle);
    m_lostWatchers.remove(handle);
    for (WindowHandle child : std::as_const(children))
        destroyWindow(child);
}

bool MemoryNativeWindowBackend::windowExists(WindowHandle handle) const
{
    return handle && m_windows.contains(handle);
}

MemoryNativeWindowBackend::Window MemoryNativeWindowBackend::window(WindowHandle handle) const
{
    return m_windows.value(handle);
}

void MemoryNativeWindowBackend::setClosesOnClose(WindowHandle handle, bool closes)
{
    auto it = m_windows.find(handle);
    if (it != m_windows.end())
        it->closesOnClose = closes;
}

void MemoryNativeWindowBackend::setKeptByWindowManager(WindowHandle handle, bool kept)
{
    auto it = m_windows.find(handle);
    if (it != m_windows.end())
        it->keptByWindowManager = kept;
}

void MemoryNativeWindowBackend::setMessageHandler(WindowHandle handle, MessageHandler handler)
{
    m_handlers.insert(handle, std::move(handler));
}

MessageId MemoryNativeWindowBackend::registeredMessageId(const QString &name) const
{
    return m_registered.value(name, 0);
}

MessageId MemoryNativeWindowBackend::registerMessageName(const QString &name)
{
    if (name.isEmpty())
        return 0;
    auto it = m_registered.constFind(name);
    if (it != m_registered.constEnd())
        return *it;
    const MessageId id = FIRST_REGISTERED_ID + MessageId(m_registered.size());
    if (id > 0xFFFF)
        return 0;
    m_registered.insert(name, id);
    return id;
}

bool MemoryNativeWindowBackend::deliverMessage(QWindow *target, MessageId message, WParam wParam,
                                               LParam lParam, qintptr *result)
{
    if (!target)
        return false;
    Message msg{};
    msg.hwnd = WindowHandle(target->winId());
    msg.message = message;
    msg.wParam = wParam;
    msg.lParam = lParam;
    qintptr ignored = 0;
    return NativeEventAccess::call(target, QByteArray(EVENT_TYPE), &msg,
                                   result ? result : &ignored);
}

bool MemoryNativeWindowBackend::deliverCopyData(QWindow *target, WindowHandle sender,
                                                quint64 dwData, const QByteArray &bytes)
{
    QByteArray copy = bytes;
    CopyDataStruct copyData{};
    copyData.dwData = std::uintptr_t(dwData);
    copyData.cbData = std::uint32_t(copy.size());
    copyData.lpData = copy.isEmpty() ? nullptr : copy.data();
    return deliverMessage(target, WmCopyData, sender, reinterpret_cast<LParam>(&copyData));
}

WindowHandle MemoryNativeWindowBackend::createWindowEx(std::uint32_t exStyle,
                                                       const char16_t *className,
                                                       const char16_t *windowName,
                                                       std::uint32_t style, int x, int y,
                                                       int width, int height, WindowHandle parent,
                                                       WindowHandle menu, void *instance,
                                                       void *param)
{
    Call &call = record(QStringLiteral("CreateWindowExW"),
                        { QVariant::fromValue<quint32>(exStyle), fromUtf16(className),
                          fromUtf16(windowName), QVariant::fromValue<quint32>(style), x, y, width,
                          height, handleValue(parent), handleValue(menu),
                          QVariant::fromValue<quint64>(quintptr(instance)),
                          QVariant::fromValue<quint64>(quintptr(param)) });
    // Like Windows: a child needs a live parent, and a class name is required.
    const bool child = (style & WsChild) != 0;
    if (!className || (parent && !windowExists(parent)) || (child && !parent)) {
        call.result = 0;
        return 0;
    }
    const WindowHandle handle = addWindow(fromUtf16(className), style,
                                          QRect(x, y, qMax(0, width), qMax(0, height)), parent);
    m_windows[handle].exStyle = exStyle;
    m_windows[handle].title = fromUtf16(windowName);
    call.result = qint64(handle);
    return handle;
}

WindowHandle MemoryNativeWindowBackend::setParent(WindowHandle child, WindowHandle newParent)
{
    Call &call = record(QStringLiteral("SetParent"), { handleValue(child), handleValue(newParent) });
    if (!windowExists(child) || (newParent && !windowExists(newParent)) || child == newParent)
        return 0;
    if (newParent && m_windows[child].keptByWindowManager)
        return 0;
    const WindowHandle previous = m_windows[child].parent;
    m_windows[child].parent = newParent;
    const WindowHandle reported = previous ? previous : DESKTOP_WINDOW;
    call.result = qint64(reported);
    return reported;
}

LongPtr MemoryNativeWindowBackend::getWindowLongPtr(WindowHandle window, int index)
{
    Call &call = record(QStringLiteral("GetWindowLongPtrW"), { handleValue(window), index });
    if (!windowExists(window))
        return 0;
    const Window &w = m_windows[window];
    const LongPtr value = index == GwlStyle ? w.style : index == GwlExStyle ? w.exStyle : 0;
    call.result = value;
    return value;
}

LongPtr MemoryNativeWindowBackend::setWindowLongPtr(WindowHandle window, int index, LongPtr newLong)
{
    Call &call = record(QStringLiteral("SetWindowLongPtrW"),
                        { handleValue(window), index, qint64(newLong) });
    if (!windowExists(window) || (index != GwlStyle && index != GwlExStyle))
        return 0;
    Window &w = m_windows[window];
    qint64 &slot = index == GwlStyle ? w.style : w.exStyle;
    const LongPtr previous = slot;
    slot = newLong;
    if (index == GwlStyle)
        w.visible = (newLong & WsVisible) != 0;
    call.result = previous;
    return previous;
}

bool MemoryNativeWindowBackend::setWindowPos(WindowHandle window, WindowHandle insertAfter, int x,
                                             int y, int cx, int cy, std::uint32_t flags)
{
    Call &call = record(QStringLiteral("SetWindowPos"),
                        { handleValue(window), handleValue(insertAfter), x, y, cx, cy,
                          QVariant::fromValue<quint32>(flags) });
    if (!windowExists(window))
        return false;
    Window &w = m_windows[window];
    if (!(flags & SwpNoMove))
        w.geometry.moveTo(x, y);
    if (!(flags & SwpNoSize))
        w.geometry.setSize(QSize(qMax(0, cx), qMax(0, cy)));
    if (flags & SwpShowWindow) {
        w.visible = true;
        w.style |= WsVisible;
    } else if (flags & SwpHideWindow) {
        w.visible = false;
        w.style &= ~qint64(WsVisible);
    }
    call.result = 1;
    return true;
}

bool MemoryNativeWindowBackend::showWindow(WindowHandle window, int command)
{
    Call &call = record(QStringLiteral("ShowWindow"), { handleValue(window), command });
    if (!windowExists(window))
        return false;
    Window &w = m_windows[window];
    const bool wasVisible = w.visible;
    w.visible = command != SwHide;
    if (w.visible)
        w.style |= WsVisible;
    else
        w.style &= ~qint64(WsVisible);
    call.result = wasVisible ? 1 : 0;
    return wasVisible;
}

bool MemoryNativeWindowBackend::watchEmbeddedFocus(WindowHandle container,
                                                   EmbeddedFocusHandler handler)
{
    if (!windowExists(container))
        return false;
    if (handler)
        m_focusWatchers.insert(container, std::move(handler));
    else
        m_focusWatchers.remove(container);
    return true;
}

bool MemoryNativeWindowBackend::focusEmbeddedWindow(WindowHandle window, EmbeddedFocus detail)
{
    const char *name = detail == EmbeddedFocus::First ? "first"
            : detail == EmbeddedFocus::Last            ? "last"
                                                       : "current";
    m_focusLog << QStringLiteral("focusEmbeddedWindow %1 %2").arg(quint64(window)).arg(QLatin1String(name));
    if (!windowExists(window))
        return false;
    m_focused = window;
    return true;
}

bool MemoryNativeWindowBackend::focusEmbedder(WindowHandle topLevel)
{
    m_focusLog << QStringLiteral("focusEmbedder %1").arg(quint64(topLevel));
    m_focused = topLevel;
    return true;
}

bool MemoryNativeWindowBackend::reportEmbeddedFocus(WindowHandle container, EmbeddedFocusEvent what)
{
    const auto it = m_focusWatchers.constFind(container);
    if (it == m_focusWatchers.constEnd())
        return false;
    // A copy: the handler may stop watching.
    const EmbeddedFocusHandler handler = *it;
    handler(what);
    return true;
}

bool MemoryNativeWindowBackend::watchEmbedding(WindowHandle container, EmbeddingLostHandler lost)
{
    if (!windowExists(container))
        return false;
    if (lost)
        m_lostWatchers.insert(container, std::move(lost));
    else
        m_lostWatchers.remove(container);
    return true;
}

bool MemoryNativeWindowBackend::redrawWhenSettled(WindowHandle window)
{
    if (!windowExists(window))
        return false;
    m_settleRedraws.append(window);
    return true;
}

bool MemoryNativeWindowBackend::reportEmbeddingLost(WindowHandle container)
{
    const auto it = m_lostWatchers.constFind(container);
    if (it == m_lostWatchers.constEnd())
        return false;
    const EmbeddingLostHandler lost = *it; // a copy: the handler may stop watching
    lost();
    return true;
}

bool MemoryNativeWindowBackend::isWindow(WindowHandle window)
{
    Call &call = record(QStringLiteral("IsWindow"), { handleValue(window) });
    const bool exists = windowExists(window);
    call.result = exists ? 1 : 0;
    return exists;
}

LResult MemoryNativeWindowBackend::sendMessage(WindowHandle window, MessageId message,
                                               WParam wParam, LParam lParam)
{
    {
        Call &call = record(QStringLiteral("SendMessageW"),
                            { handleValue(window), QVariant::fromValue<quint32>(message),
                              QVariant::fromValue<quint64>(wParam), qint64(lParam) });
        if (message == WmCopyData && lParam) {
            const auto *copyData = reinterpret_cast<const CopyDataStruct *>(lParam);
            call.hasCopyData = true;
            call.copyDataId = copyData->dwData;
            call.copyDataSize = copyData->cbData;
            if (copyData->lpData && copyData->cbData <= MAX_RECORDED_COPY)
                call.copyDataBytes = QByteArray(static_cast<const char *>(copyData->lpData),
                                                qsizetype(copyData->cbData));
        }
    }
    // The handler may call back into this backend and append calls, so the record is looked
    // up again afterwards instead of being held by reference.
    const qsizetype index = m_calls.size() - 1;
    const LResult result = dispatch(window, message, wParam, lParam);
    m_calls[index].result = result;
    return result;
}

bool MemoryNativeWindowBackend::postMessage(WindowHandle window, MessageId message, WParam wParam,
                                            LParam lParam)
{
    Call &call = record(QStringLiteral("PostMessageW"),
                        { handleValue(window), QVariant::fromValue<quint32>(message),
                          QVariant::fromValue<quint64>(wParam), qint64(lParam) });
    // As on Windows, data travels only with a sent message: a posted pointer would dangle.
    const bool posted = windowExists(window) && message != WmCopyData;
    call.result = posted ? 1 : 0;
    return posted;
}

MessageId MemoryNativeWindowBackend::registerWindowMessage(const char16_t *name)
{
    const QString text = fromUtf16(name);
    const qsizetype index = m_calls.size();
    record(QStringLiteral("RegisterWindowMessageW"), { text });
    const MessageId id = registerMessageName(text);
    m_calls[index].result = id;
    return id;
}

const Message *MemoryNativeWindowBackend::translateNativeEvent(const char *eventType,
                                                               std::size_t eventTypeSize,
                                                               void *message, Message *storage)
{
    Q_UNUSED(storage);
    if (!eventType || !message || eventTypeSize != sizeof EVENT_TYPE - 1
        || std::memcmp(eventType, EVENT_TYPE, eventTypeSize) != 0)
        return nullptr;
    return static_cast<const Message *>(message);
}

LResult MemoryNativeWindowBackend::dispatch(WindowHandle window, MessageId message, WParam wParam,
                                            LParam lParam)
{
    if (!windowExists(window))
        return 0;
    LResult result = 0;
    const auto handler = m_handlers.constFind(window);
    if (handler != m_handlers.constEnd() && *handler) {
        // A copy: the handler may replace or remove itself.
        const MessageHandler run = *handler;
        result = run(window, message, wParam, lParam);
    }
    if (message == WmClose && windowExists(window) && m_windows[window].closesOnClose)
        destroyWindow(window);
    return result;
}
