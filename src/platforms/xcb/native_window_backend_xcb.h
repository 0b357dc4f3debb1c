#pragma once

// The X11 side of the native-window interface, spoken over an xcb connection of its own. No xcb
// header here: xcb stays below the seam, in the source.

#include "korvexdashboard_export.h"
#include "platforms/native_window_backend.h"

#include <cstdint>
#include <memory>

namespace KorvexNative {

// Each call does on X11 what its Win32 namesake does; how, and why so, is in
// docs/native_window.md. In short:
//  - windows are X windows; "STATIC" children are plain child windows, SetParent re-parents and
//    adds the window to the save-set, styles that X11 cannot express are kept per window;
//  - messages are ClientMessage events to the window's owner; a small WM_COPYDATA travels in
//    a few of them, a larger one in a property of a short-lived window of the sender, which
//    the receiver reads and destroys;
//  - SendMessageW never waits for the receiving program: it returns 1 once the message is on
//    its way to the window's owner and 0 when the window is gone. Only the first message to a
//    window waits for the X server; the backend then watches the window for its end.
// Use it from one thread, the one that runs the Qt event loop of the process.
class KORVEXDASHBOARD_EXPORT XcbNativeWindowBackend final : public NativeWindowBackend
{
public:
    // A payload of up to INLINE_COPY bytes travels in the events themselves, so its receiver
    // needs no round trip to read it. Larger ones go in a carrier window, and so does every
    // payload after INLINE_UNCONFIRMED in a row to one window that it has not confirmed, until
    // it has read one of those: a receiver that does not read is held to what carriers allow.
    // Halfway there, one payload asks for a receipt, so a receiver that reads confirms them and
    // its senders stay on pieces, floods included. A hung receiver holds at most about 590 KB
    // of one sender's pieces in the server.
    static constexpr std::uint32_t INLINE_COPY = 256;
    static constexpr int INLINE_UNCONFIRMED = 1024;
    // Payloads coming in pieces from this many senders to this many windows at once, at most;
    // beyond, the one begun first is dropped (its sender is gone, or hostile).
    static constexpr int MAX_ASSEMBLIES = 256;
    // Largest WM_COPYDATA payload, either way. Bigger sends are refused (0), bigger
    // announcements are dropped.
    static constexpr std::uint32_t MAX_COPY_DATA = 16u * 1024u * 1024u;
    // A payload nobody has read by then is withdrawn by its sender (the receiver hangs).
    static constexpr int COPY_DATA_TIMEOUT_MS = 30000;
    // Payloads of one process waiting to be read by one window. A send beyond waits at most
    // BACKPRESSURE_WAIT_MS for that window to read one, then is refused (0).
    static constexpr int MAX_PENDING_PER_WINDOW = 4096;
    static constexpr std::uint64_t MAX_PENDING_BYTES_PER_WINDOW = 64u * 1024u * 1024u;
    static constexpr int BACKPRESSURE_WAIT_MS = 1000;
    // All unread payloads of one process; beyond, a send is refused at once.
    static constexpr std::uint64_t MAX_PENDING_BYTES = 256u * 1024u * 1024u;
    // A backend being destroyed (at the latest when its process exits) waits this long for its
    // unread payloads to be read before the server frees them with its connection.
    static constexpr int EXIT_GRACE_MS = 2000;
    // The CopyDataStruct that translateNativeEvent hands out, and its bytes, stay valid until
    // this many further WM_COPYDATA messages have been translated by the same backend. The
    // first translation of an announcement takes the payload; translating the same event again
    // gives null, so each WM_COPYDATA is seen once whoever looks first.
    static constexpr int RETAINED_COPIES = 4;
    // Messages queued for a window with a handler are handed over in portions, each ending
    // after DELIVERY_SLICE_MS or MAX_DELIVERIES_PER_TURN messages, whichever comes first; the
    // event loop turns between portions. Up to READ_AHEAD payloads (READ_AHEAD_BYTES of them,
    // and always the oldest, whatever its size) are asked of the server at once, so small ones
    // do not each wait for a round trip. A payload whose bytes have not come by the end of a
    // portion is waited for by the event loop, not inside it: a server busy with other senders
    // holds up the messages, never the frames.
    static constexpr int DELIVERY_SLICE_MS = 2;
    static constexpr int MAX_DELIVERIES_PER_TURN = 256;
    static constexpr int READ_AHEAD = 128;
    static constexpr std::uint32_t READ_AHEAD_BYTES = 4u * 1024u * 1024u;
    // Beyond this many queued messages (a sender that ignores every limit) the oldest is
    // handed over at once, inside queueNativeEvent, before the new one is queued: memory stays
    // bounded and nothing is lost or reordered.
    static constexpr int MAX_QUEUED_MESSAGES = 1 << 20;
    // Registered message ids: FIRST_REGISTERED_ID + the name's place in the display's table.
    static constexpr MessageId FIRST_REGISTERED_ID = 0xC000;
    static constexpr MessageId LAST_REGISTERED_ID = 0xFFFF;
    // SetParent into another window first asks the window manager to let go of a top-level
    // window (an ICCCM withdrawal) and waits this long, at most, for it to do so.
    static constexpr int WITHDRAW_TIMEOUT_MS = 2000;
    // A window manager that takes an embedded window back out of its container is made to let
    // go again this many times; after that the window is left where the manager put it.
    static constexpr int MAX_RETAKES = 3;
    // redrawWhenSettled waits until the window has not drawn for SETTLE_MS, and MAX_SETTLE_MS
    // at the most.
    static constexpr int SETTLE_MS = 250;
    static constexpr int MAX_SETTLE_MS = 5000;
    // The eventType of the events translateNativeEvent understands.
    static constexpr char EVENT_TYPE[] = "xcb_generic_event_t";

    // displayName: as for xcb_connect; null takes $DISPLAY. A backend that cannot connect
    // fails every call, as calls on invalid handles fail.
    explicit XcbNativeWindowBackend(const char *displayName = nullptr);
    ~XcbNativeWindowBackend() override;
    XcbNativeWindowBackend(const XcbNativeWindowBackend &) = delete;
    XcbNativeWindowBackend &operator=(const XcbNativeWindowBackend &) = delete;

    bool isConnected() const;
    // Payloads this process has sent that no receiver has read yet.
    int pendingCopies() const;
    // Messages queued for handlers and not yet handed over.
    int queuedMessages() const;
    // How many messages may wait before the oldest is handed over at once:
    // MAX_QUEUED_MESSAGES, unless a test lowers it to reach the bound quickly.
    void setQueueLimit(int messages);
    // How long a payload may wait unread before it is withdrawn: COPY_DATA_TIMEOUT_MS, unless a
    // test shortens it.
    void setCopyDataTimeout(int milliseconds);
    // The largest payload sent in the events themselves: INLINE_COPY, unless a test lowers it
    // (0 sends every payload in a carrier).
    void setInlineLimit(std::uint32_t bytes);
    // How long redrawWhenSettled waits for a window to stop drawing: SETTLE_MS, unless a test
    // lengthens it to tell "after its drawing" from "during it" on a slow machine.
    void setSettleInterval(int milliseconds);
    // Handles queued events of the backend's own connection: the receivers' acknowledgements
    // and the ends of watched windows. Every call does this first; a Qt event loop does it as
    // the events arrive.
    void processPendingEvents();

    const char *name() const override { return "xcb"; }
    WindowHandle createWindowEx(std::uint32_t exStyle, const char16_t *className,
                                const char16_t *windowName, std::uint32_t style, int x, int y,
                                int width, int height, WindowHandle parent, WindowHandle menu,
                                void *instance, void *param) override;
    WindowHandle setParent(WindowHandle child, WindowHandle newParent) override;
    LongPtr getWindowLongPtr(WindowHandle window, int index) override;
    LongPtr setWindowLongPtr(WindowHandle window, int index, LongPtr newLong) override;
    bool setWindowPos(WindowHandle window, WindowHandle insertAfter, int x, int y, int cx, int cy,
                      std::uint32_t flags) override;
    bool showWindow(WindowHandle window, int command) override;
    bool isWindow(WindowHandle window) override;
    LResult sendMessage(WindowHandle window, MessageId message, WParam wParam,
                        LParam lParam) override;
    bool postMessage(WindowHandle window, MessageId message, WParam wParam,
                     LParam lParam) override;
    MessageId registerWindowMessage(const char16_t *name) override;
    const Message *translateNativeEvent(const char *eventType, std::size_t eventTypeSize,
                                        void *message, Message *storage) override;
    bool isBackendTransport(const char *eventType, std::size_t eventTypeSize,
                            void *message) override;
    bool setArrivalHandler(WindowHandle window, ArrivalHandler handler) override;
    bool queueNativeEvent(const char *eventType, std::size_t eventTypeSize,
                          void *message) override;
    bool watchEmbeddedFocus(WindowHandle container, EmbeddedFocusHandler handler) override;
    bool focusEmbeddedWindow(WindowHandle window, EmbeddedFocus detail) override;
    bool focusEmbedder(WindowHandle topLevel) override;
    bool windowImage(WindowHandle window, WindowImage *image) override;
    bool isKeyForEmbedded(const char *eventType, std::size_t eventTypeSize,
                          const void *message) const override;
    bool watchEmbedding(WindowHandle container, EmbeddingLostHandler lost) override;
    bool redrawWhenSettled(WindowHandle window) override;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

KORVEXDASHBOARD_EXPORT std::unique_ptr<NativeWindowBackend>
createXcbNativeWindowBackend(const char *displayName = nullptr);

} // namespace KorvexNative
