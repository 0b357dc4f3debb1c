#include "platforms/xcb/native_window_backend_xcb.h"

#include "dashboard_logging.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <QSocketNotifier>
#include <QString>
#include <QThread>
#include <QTimer>

#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

#include <poll.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace KorvexNative {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint32_t SwpNoSize = 0x0001;
constexpr std::uint32_t SwpNoMove = 0x0002;
constexpr std::uint32_t SwpHideWindow = 0x0080;
constexpr WindowHandle HwndBottom = 1;
constexpr WindowHandle HwndTopMost = WindowHandle(-1);
constexpr WindowHandle HwndNoTopMost = WindowHandle(-2);

// Caption, system menu, sizing frame, minimise and maximise boxes.
constexpr LongPtr FRAME_STYLES = WsCaption | WsSysMenu | WsThickFrame | WsMinimizeBox | WsMaximizeBox;

// _MOTIF_WM_HINTS: flags, functions, decorations, input mode, status.
constexpr std::uint32_t MWM_HINTS_DECORATIONS = 1u << 1;
constexpr std::uint32_t MWM_DECOR_BORDER = 1u << 1;
constexpr std::uint32_t MWM_DECOR_RESIZEH = 1u << 2;
constexpr std::uint32_t MWM_DECOR_TITLE = 1u << 3;
constexpr std::uint32_t MWM_DECOR_MENU = 1u << 4;
constexpr std::uint32_t MWM_DECOR_MINIMIZE = 1u << 5;
constexpr std::uint32_t MWM_DECOR_MAXIMIZE = 1u << 6;

// XEmbed messages, focus details and the protocol version.
constexpr std::uint32_t XEMBED_EMBEDDED_NOTIFY = 0;
constexpr std::uint32_t XEMBED_WINDOW_ACTIVATE = 1;
constexpr std::uint32_t XEMBED_WINDOW_DEACTIVATE = 2;
constexpr std::uint32_t XEMBED_REQUEST_FOCUS = 3;
constexpr std::uint32_t XEMBED_FOCUS_IN = 4;
constexpr std::uint32_t XEMBED_FOCUS_OUT = 5;
constexpr std::uint32_t XEMBED_FOCUS_NEXT = 6;
constexpr std::uint32_t XEMBED_FOCUS_PREV = 7;
constexpr std::uint32_t XEMBED_FOCUS_CURRENT = 0;
constexpr std::uint32_t XEMBED_FOCUS_FIRST = 1;
constexpr std::uint32_t XEMBED_FOCUS_LAST = 2;
constexpr std::uint32_t XEMBED_VERSION = 0;

// The keysym of the Tab key, and the modifiers a passive grab must also name so that Caps Lock
// and Num Lock (Mod2 on every common layout) do not hide the key.
constexpr std::uint32_t KEYSYM_TAB = 0xff09;
constexpr std::uint16_t IGNORED_MODIFIERS[] = { 0, XCB_MOD_MASK_LOCK, XCB_MOD_MASK_2,
                                                XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2 };

// The payload property starts with this header, little-endian whatever the hosts: format-8
// data is never byte-swapped by the server.
constexpr char COPY_MAGIC[4] = { 'K', 'X', 'C', 'D' };
constexpr std::uint32_t COPY_HEADER = 24; // magic, serial, cbData, reserved, dwData (8)
// A payload this small (header included) is written with one request, from the stack.
constexpr std::uint32_t SMALL_COPY = 4096;
// A payload in pieces: a first event [key | PIECE_FIRST, cbData, wParam low, wParam high,
// dwData low], then events [key | (index mod 4) << 29, 16 bytes], the bytes being dwData's high
// half and then the payload's. The key, the sender's resource id base, tells apart the pieces
// of senders that interleave; the index tells a piece translated twice from a piece lost.
// A first piece with PIECE_RECEIPT asks for a receipt: a window of the sender follows dwData's
// high half, and the receiver that has taken the payload sends that window a ClientMessage
// _KORVEX_WM_COPYDATA_RECEIPT [receiving window]. A resource id base has its low 18 bits clear,
// so the flag is never part of a key.
constexpr std::uint32_t PIECE_FIRST = 0x80000000u;
constexpr std::uint32_t PIECE_RECEIPT = 0x1u;
constexpr std::uint32_t PIECE_KEY = 0x1FFFFFFFu & ~PIECE_RECEIPT;
constexpr std::uint32_t PIECE_BYTES = 16;

// Names of the display-wide table of registered messages, and the longest name (Windows'
// atom names stop at 255 characters).
constexpr std::size_t MAX_NAME_BYTES = 255 * 3;
// The part of the table that is read; names past it cannot be registered (id 0).
constexpr std::uint32_t MAX_TABLE_BYTES = 1024 * 1024;

void putLe32(unsigned char *p, std::uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}

std::uint32_t getLe32(const unsigned char *p)
{
    std::uint32_t v = 0;
    for (int i = 0; i < 4; ++i)
        v |= std::uint32_t(p[i]) << (8 * i);
    return v;
}

std::uint64_t getLe64(const unsigned char *p)
{
    return std::uint64_t(getLe32(p)) | (std::uint64_t(getLe32(p + 4)) << 32);
}

void putLe64(unsigned char *p, std::uint64_t v)
{
    putLe32(p, std::uint32_t(v));
    putLe32(p + 4, std::uint32_t(v >> 32));
}

// X ids are 29-bit numbers; a handle that cannot be one is no window.
bool isXid(WindowHandle handle)
{
    return handle != 0 && handle <= 0x1FFFFFFFu;
}

template<typename T>
struct FreeDeleter
{
    void operator()(T *p) const { std::free(p); }
};
template<typename T>
using Reply = std::unique_ptr<T, FreeDeleter<T>>;

std::int16_t clamp16(int v)
{
    return static_cast<std::int16_t>(std::clamp(v, -32768, 32767));
}

std::uint16_t clampSize(int v)
{
    // X has no empty window; the smallest is one pixel.
    return static_cast<std::uint16_t>(std::clamp(v, 1, 32767));
}

} // namespace

struct XcbNativeWindowBackend::Private
{
    struct WindowRecord
    {
        LongPtr style = 0;
        LongPtr exStyle = 0;
        bool ours = false; // created by this backend: WM_CLOSE destroys it
        // Whether the style this process last read or wrote had WS_VISIBLE: 1, 0, or -1 when
        // it never looked. Another process may map the window between a read and a write.
        int visibleSeen = -1;
    };
    struct PendingCopy
    {
        Clock::time_point sent;
        std::uint64_t bytes = 0;
        xcb_window_t target = XCB_NONE;
    };
    struct Backlog
    {
        int copies = 0;
        std::uint64_t bytes = 0;
    };
    struct Retained
    {
        CopyDataStruct copyData{};
        std::vector<unsigned char> bytes;
    };

    xcb_connection_t *connection = nullptr;
    xcb_window_t root = XCB_NONE;
    std::uint32_t maxChunk = 0;
    std::uint32_t nextSerial = 1;

    xcb_atom_t atomMessage = XCB_NONE;     // ClientMessage type of plain messages
    xcb_atom_t atomCopyData = XCB_NONE;    // ClientMessage type announcing a payload
    xcb_atom_t atomPayload = XCB_NONE;     // property name and type of a payload
    xcb_atom_t atomPiece = XCB_NONE;       // ClientMessage type of a piece of a small payload
    xcb_atom_t atomReceipt = XCB_NONE;     // ClientMessage type of a receipt for pieces
    xcb_atom_t atomTable = XCB_NONE;       // root property: the registered names
    xcb_atom_t atomUtf8 = XCB_NONE;
    xcb_atom_t atomProtocols = XCB_NONE;
    xcb_atom_t atomDeleteWindow = XCB_NONE;
    xcb_atom_t atomMotifHints = XCB_NONE;
    xcb_atom_t atomWmState = XCB_NONE;
    xcb_atom_t atomXEmbed = XCB_NONE;
    xcb_atom_t atomCompositor = XCB_NONE;  // _NET_WM_CM_S<screen>: owned by a compositing manager

    std::unordered_map<xcb_window_t, WindowRecord> windows;
    // Windows messages went to, watched (StructureNotify) since the server said they exist:
    // their end reaches this connection as a DestroyNotify, so sends to them need no answer.
    std::unordered_set<xcb_window_t> watchedTargets;
    std::unordered_map<xcb_window_t, PendingCopy> pending; // by carrier
    // The carriers in the order they were sent, so that withdrawing the old ones looks only at
    // the oldest: every call withdraws, and a flooding sender has thousands unread. Entries of
    // carriers read since stay until they reach the front, or until the next compaction.
    std::deque<std::pair<xcb_window_t, Clock::time_point>> sendOrder;
    int copyTimeoutMs = XcbNativeWindowBackend::COPY_DATA_TIMEOUT_MS;
    std::unordered_map<xcb_window_t, Backlog> backlogs;    // by receiving window
    std::uint64_t pendingBytes = 0;
    std::unordered_map<std::u16string, MessageId> registered;
    std::array<Retained, RETAINED_COPIES> retained;
    std::size_t nextRetained = 0;

    std::uint32_t pieceKey = 0;
    std::uint32_t inlineLimit = INLINE_COPY;
    // Payloads sent in pieces to each window since it last confirmed reading: a receipt, or
    // one of our carriers read.
    std::unordered_map<xcb_window_t, int> unconfirmed;
    // Windows asked for a receipt, and the count of unconfirmed payloads that receipt confirms.
    std::unordered_map<xcb_window_t, int> receiptsAsked;
    // Where receipts come: a window of this connection, made with it, so that a long session
    // does not see a window appear when a receipt is first asked for.
    xcb_window_t receiptWindow = XCB_NONE;
    // A payload whose pieces are coming in.
    struct Assembly
    {
        xcb_window_t window = XCB_NONE;
        std::uint32_t pieces = 0;
        std::uint32_t size = 0;
        WParam wParam = 0;
        std::uint32_t dwDataLow = 0;
        std::vector<unsigned char> body; // dwData's high half, then the payload
        std::uint64_t begun = 0;
        bool receipt = false; // the body has the window for a receipt after dwData's high half
    };
    std::unordered_map<std::uint64_t, Assembly> assemblies; // by sender's key and window
    std::uint64_t assemblyCount = 0;
    // Messages taken by queueNativeEvent, oldest first, for the windows with a handler. A
    // payload's read may already be asked of the server (read ahead).
    struct Arrival
    {
        xcb_client_message_event_t event{};
        bool requested = false;
        xcb_get_property_cookie_t cookie{};
        // The server's answer once it came (null for an error); owned.
        bool answered = false;
        xcb_get_property_reply_t *reply = nullptr;
        // A payload that came in pieces, whole.
        std::unique_ptr<Assembly> whole;
    };
    std::deque<Arrival> arrivals;
    std::size_t queueLimit = MAX_QUEUED_MESSAGES;
    std::unordered_map<xcb_window_t, ArrivalHandler> arrivalHandlers;
    std::size_t requestedAhead = 0;      // leading arrivals whose read is asked
    std::uint64_t requestedBytes = 0;    // and their announced sizes
    bool deliveryScheduled = false;
    // The oldest payload's answer had not come by the end of a portion: delivery goes on once
    // this connection has read it, from the event loop, which meanwhile turns freely.
    bool awaitingAnswer = false;
    std::unique_ptr<QSocketNotifier> notifier;
    // Windows taken into one of our containers: module window -> container. A window manager
    // that grabs one back (it may still act on a map request from before) is made to let go
    // again, a bounded number of times.
    struct Embedding
    {
        xcb_window_t container = XCB_NONE;
        int retakes = 0;
    };
    std::unordered_map<xcb_window_t, Embedding> embedded;
    std::vector<xcb_window_t> escaped;
    bool taking = false;
    // Containers whose embedded windows' keyboard focus the embedder follows, and what the
    // user did there, to be told from the event loop.
    std::unordered_map<xcb_window_t, EmbeddedFocusHandler> focusWatchers;
    std::unordered_map<xcb_window_t, EmbeddingLostHandler> lostWatchers; // by container
    std::vector<std::pair<xcb_window_t, EmbeddedFocusEvent>> focusEvents;
    bool focusDispatchQueued = false;
    bool drainScheduled = false;
    // An event a call's round trip read into xcb's queue, taken out by afterCall to see
    // whether there was one; the next drain handles it first.
    xcb_generic_event_t *early = nullptr;
    xcb_window_t focusedEmbedded = XCB_NONE;
    // The embedder's window that holds the container of focusedEmbedded. Some window managers
    // (weston's) put the X focus back on it whenever anybody moves it elsewhere; the module then
    // keeps the keyboard as XEmbed has it: it is told it is focused, and the keys that reach
    // this window are handed on to it.
    xcb_window_t focusHolder = XCB_NONE;
    xcb_keycode_t tabKeycode = 0;
    // Embedded windows to draw again once they have stopped drawing (redrawWhenSettled): each
    // drawing, seen through a damage object of this connection, waits again, up to a deadline.
    struct Settling
    {
        xcb_damage_damage_t damage = XCB_NONE;
        std::unique_ptr<QTimer> quiet;
        Clock::time_point deadline;
    };
    std::unordered_map<xcb_window_t, Settling> settling;
    int settleMs = XcbNativeWindowBackend::SETTLE_MS;
    // The Damage extension's first event, once the server was asked; 0 without the extension.
    bool damageAsked = false;
    std::uint8_t damageFirstEvent = 0;

    bool ok() const { return connection && !xcb_connection_has_error(connection); }

    bool checked(xcb_void_cookie_t cookie)
    {
        xcb_generic_error_t *error = xcb_request_check(connection, cookie);
        if (!error)
            return true;
        std::free(error);
        return false;
    }

    Reply<xcb_get_window_attributes_reply_t> attributes(xcb_window_t window)
    {
        return Reply<xcb_get_window_attributes_reply_t>(xcb_get_window_attributes_reply(
                connection, xcb_get_window_attributes(connection, window), nullptr));
    }

    Reply<xcb_query_tree_reply_t> tree(xcb_window_t window)
    {
        return Reply<xcb_query_tree_reply_t>(
                xcb_query_tree_reply(connection, xcb_query_tree(connection, window), nullptr));
    }

    Reply<xcb_get_property_reply_t> property(xcb_window_t window, xcb_atom_t name,
                                             xcb_atom_t type, std::uint32_t longs)
    {
        return Reply<xcb_get_property_reply_t>(xcb_get_property_reply(
                connection, xcb_get_property(connection, 0, window, name, type, 0, longs),
                nullptr));
    }

    void intern(std::initializer_list<std::pair<const char *, xcb_atom_t *>> atoms)
    {
        std::vector<xcb_intern_atom_cookie_t> cookies;
        for (const auto &atom : atoms)
            cookies.push_back(xcb_intern_atom(connection, 0, std::uint16_t(std::strlen(atom.first)),
                                              atom.first));
        std::size_t i = 0;
        for (const auto &atom : atoms) {
            Reply<xcb_intern_atom_reply_t> reply(
                    xcb_intern_atom_reply(connection, cookies[i++], nullptr));
            *atom.second = reply ? reply->atom : XCB_NONE;
        }
    }

    // Keeps what X11 cannot hold for a window, and watches it so the record goes with it.
    WindowRecord *record(xcb_window_t window, bool create)
    {
        auto it = windows.find(window);
        if (it != windows.end())
            return &it->second;
        if (!create)
            return nullptr;
        WindowRecord fresh;
        fresh.style = derivedStyle(window);
        // Added to what this connection watches there already (the keyboard on the window
        // holding a module, say); the owner's selection is its own.
        selectEvents(window, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
        return &windows.emplace(window, fresh).first->second;
    }

    // A window we never styled: a child, or a top-level framed unless its Motif hints say not.
    LongPtr derivedStyle(xcb_window_t window)
    {
        const auto node = tree(window);
        if (node && node->parent != node->root)
            return WsChild;
        const auto hints = property(window, atomMotifHints, atomMotifHints, 5);
        if (hints && hints->format == 32 && xcb_get_property_value_length(hints.get()) >= 12) {
            const auto *v = static_cast<const std::uint32_t *>(xcb_get_property_value(hints.get()));
            if ((v[0] & MWM_HINTS_DECORATIONS) && v[2] == 0)
                return 0;
        }
        return FRAME_STYLES;
    }

    LongPtr styleOf(WindowHandle window, int index, bool *alive)
    {
        drain();
        const DrainLater later{ this };
        *alive = false;
        if (!ok() || !isXid(window) || (index != GwlStyle && index != GwlExStyle))
            return 0;
        const auto state = attributes(xcb_window_t(window));
        if (!state)
            return 0;
        *alive = true;
        const WindowRecord *known = record(xcb_window_t(window), true);
        if (index == GwlExStyle)
            return known->exStyle;
        // Visibility is the X server's: mapped or not, whoever mapped it.
        const bool mapped = state->map_state != XCB_MAP_STATE_UNMAPPED;
        return (known->style & ~LongPtr(WsVisible)) | (mapped ? LongPtr(WsVisible) : 0);
    }

    void writeFrame(xcb_window_t window, LongPtr style)
    {
        std::uint32_t decorations = 0;
        if (style & WsCaption)
            decorations |= MWM_DECOR_TITLE | MWM_DECOR_BORDER;
        if (style & WsThickFrame)
            decorations |= MWM_DECOR_BORDER | MWM_DECOR_RESIZEH;
        if (style & WsSysMenu)
            decorations |= MWM_DECOR_MENU;
        if (style & WsMinimizeBox)
            decorations |= MWM_DECOR_MINIMIZE;
        if (style & WsMaximizeBox)
            decorations |= MWM_DECOR_MAXIMIZE;
        const std::uint32_t hints[5] = { MWM_HINTS_DECORATIONS, 0, decorations, 0, 0 };
        xcb_change_property(connection, XCB_PROP_MODE_REPLACE, window, atomMotifHints,
                            atomMotifHints, 32, 5, hints);
    }

    void forget(xcb_window_t window)
    {
        windows.erase(window);
        watchedTargets.erase(window);
        unconfirmed.erase(window);
        receiptsAsked.erase(window);
        auto it = pending.find(window);
        if (it != pending.end()) {
            // A carrier's receipt: its receiver has read it, and so every piece sent before it.
            unconfirmed.erase(it->second.target);
            receiptsAsked.erase(it->second.target);
            settle(it);
        }
    }

    // A receiver has taken the payload that asked for a receipt, and so every one before it.
    void confirmed(xcb_window_t target)
    {
        const auto asked = receiptsAsked.find(target);
        if (asked == receiptsAsked.end())
            return;
        const auto count = unconfirmed.find(target);
        if (count != unconfirmed.end())
            count->second = std::max(0, count->second - asked->second);
        receiptsAsked.erase(asked);
    }

    std::unordered_map<xcb_window_t, PendingCopy>::iterator
    settle(std::unordered_map<xcb_window_t, PendingCopy>::iterator it)
    {
        pendingBytes -= it->second.bytes;
        auto backlog = backlogs.find(it->second.target);
        if (backlog != backlogs.end()) {
            backlog->second.bytes -= it->second.bytes;
            if (--backlog->second.copies <= 0)
                backlogs.erase(backlog);
        }
        return pending.erase(it);
    }

    bool backlogFull(xcb_window_t target, std::uint32_t more) const
    {
        const auto it = backlogs.find(target);
        return it != backlogs.end()
                && (it->second.copies >= MAX_PENDING_PER_WINDOW
                    || it->second.bytes + more > MAX_PENDING_BYTES_PER_WINDOW);
    }

    // Waits until done() or the deadline, reading and handling what this connection gets in
    // the meantime; true when done. The socket is looked at again at least every 50 ms: a
    // round trip elsewhere may have read what done() waits for into xcb's queue.
    template <typename Done>
    bool waitOnConnection(Clock::time_point deadline, Done done)
    {
        while (!done()) {
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                    deadline - Clock::now()).count();
            if (left <= 0 || !ok())
                return false;
            pollfd fd{ xcb_get_file_descriptor(connection), POLLIN, 0 };
            ::poll(&fd, 1, int(std::min<long long>(left, 50)));
            drain();
        }
        return true;
    }

    // Waits, at most BACKPRESSURE_WAIT_MS, for a receiver with a full backlog to read.
    bool waitForRoom(xcb_window_t target, std::uint32_t more)
    {
        return waitOnConnection(Clock::now() + std::chrono::milliseconds(BACKPRESSURE_WAIT_MS),
                                [&] { return !backlogFull(target, more); });
    }

    void handleEvent(const xcb_generic_event_t *event)
    {
        if (damageFirstEvent
            && (event->response_type & 0x7f) == damageFirstEvent + XCB_DAMAGE_NOTIFY) {
            drawn(reinterpret_cast<const xcb_damage_notify_event_t *>(event));
            return;
        }
        // Errors of requests nobody checks (a save-set entry for our own window, a receiver
        // that destroyed a payload first) mean nothing here.
        switch (event->response_type & 0x7f) {
        case XCB_DESTROY_NOTIFY: {
            const xcb_window_t window = reinterpret_cast<const xcb_destroy_notify_event_t *>(event)->window;
            forget(window);
            settling.erase(window); // the server freed its damage object with it
            embedded.erase(window);
            focusWatchers.erase(window);
            lostWatchers.erase(window);
            if (focusedEmbedded == window)
                focusedEmbedded = XCB_NONE;
            if (focusHolder == window)
                focusHolder = XCB_NONE;
            break;
        }
        case XCB_FOCUS_IN: {
            const auto *focus = reinterpret_cast<const xcb_focus_in_event_t *>(event);
            // The keyboard is on the holder itself, not passing through it to an inferior.
            const bool onHolder = focus->detail == XCB_NOTIFY_DETAIL_ANCESTOR
                    || focus->detail == XCB_NOTIFY_DETAIL_INFERIOR
                    || focus->detail == XCB_NOTIFY_DETAIL_NONLINEAR;
            if (focus->event == focusHolder && focusedEmbedded != XCB_NONE && onHolder
                && focus->mode != XCB_NOTIFY_MODE_GRAB && focus->mode != XCB_NOTIFY_MODE_UNGRAB) {
                sendXEmbed(focusedEmbedded, XEMBED_WINDOW_ACTIVATE, 0);
                sendXEmbed(focusedEmbedded, XEMBED_FOCUS_IN, XEMBED_FOCUS_CURRENT);
                xcb_flush(connection);
            }
            break;
        }
        case XCB_REPARENT_NOTIFY: {
            const auto *reparent = reinterpret_cast<const xcb_reparent_notify_event_t *>(event);
            // Looked at again before anything is done: the event may be history by then.
            const auto it = embedded.find(reparent->window);
            if (it != embedded.end() && reparent->parent != it->second.container
                && std::find(escaped.begin(), escaped.end(), reparent->window) == escaped.end())
                escaped.push_back(reparent->window);
            break;
        }
        case XCB_BUTTON_PRESS: {
            // A click into a container that does not have the keyboard: the pointer waits
            // (a synchronous grab) until the click is played on to the window under it.
            const auto *press = reinterpret_cast<const xcb_button_press_event_t *>(event);
            xcb_allow_events(connection, XCB_ALLOW_REPLAY_POINTER, press->time);
            xcb_flush(connection);
            if (focusWatchers.count(press->event))
                queueFocusEvent(press->event, EmbeddedFocusEvent::Clicked);
            break;
        }
        case XCB_KEY_RELEASE:
        case XCB_KEY_PRESS: {
            const auto *key = reinterpret_cast<const xcb_key_press_event_t *>(event);
            if (key->event == focusHolder && focusHolder != XCB_NONE) {
                handOnHeldKey(key);
                break;
            }
            if ((event->response_type & 0x7f) == XCB_KEY_PRESS && focusWatchers.count(key->event)
                && key->detail == tabKeycode)
                queueFocusEvent(key->event, (key->state & XCB_MOD_MASK_SHIFT)
                                                    ? EmbeddedFocusEvent::Previous
                                                    : EmbeddedFocusEvent::Next);
            break;
        }
        case XCB_CLIENT_MESSAGE: {
            // XEmbed's requests of an embedded window reach the embedder at its container.
            const auto *message = reinterpret_cast<const xcb_client_message_event_t *>(event);
            if (message->format == 32 && message->type == atomReceipt
                && message->window == receiptWindow && receiptWindow != XCB_NONE) {
                confirmed(message->data.data32[0]);
                break;
            }
            if (message->format != 32 || message->type != atomXEmbed
                || !focusWatchers.count(message->window))
                break;
            switch (message->data.data32[1]) {
            case XEMBED_REQUEST_FOCUS:
                queueFocusEvent(message->window, EmbeddedFocusEvent::Requested);
                break;
            case XEMBED_FOCUS_NEXT:
                queueFocusEvent(message->window, EmbeddedFocusEvent::Next);
                break;
            case XEMBED_FOCUS_PREV:
                queueFocusEvent(message->window, EmbeddedFocusEvent::Previous);
                break;
            default:
                break;
            }
            break;
        }
        case XCB_CONFIGURE_NOTIFY: {
            const auto *configure = reinterpret_cast<const xcb_configure_notify_event_t *>(event);
            if (configure->event == configure->window)
                keepFilling(configure);
            break;
        }
        default:
            break;
        }
    }

    // The embedder sizes what it embeds: a module that sizes its own window once it is shown
    // inside a container (a toolkit fitting the window to its content) is put back to fill it.
    void keepFilling(const xcb_configure_notify_event_t *configure)
    {
        const auto it = embedded.find(configure->window);
        if (it == embedded.end())
            return;
        Reply<xcb_get_geometry_reply_t> container(xcb_get_geometry_reply(
                connection, xcb_get_geometry(connection, it->second.container), nullptr));
        if (!container
            || (configure->x == 0 && configure->y == 0 && configure->width == container->width
                && configure->height == container->height))
            return;
        const std::uint32_t values[] = { 0, 0, container->width, container->height };
        xcb_configure_window(connection, configure->window,
                             XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y | XCB_CONFIG_WINDOW_WIDTH
                                     | XCB_CONFIG_WINDOW_HEIGHT,
                             values);
        xcb_flush(connection);
    }

    // A round trip reads every event that came before its reply into xcb's queue, where the
    // socket notifier never sees it: after each call, the queue is looked at once more from
    // the event loop.
    void scheduleDrain() { postOnce(drainScheduled, &Private::drainAndFlush); }

    // From the event loop: also sends what calls left in the buffer (receipts, see
    // acceptCopyData) if nothing sent it meanwhile. Sending, here or in the drain, may read
    // events into xcb's queue, as a round trip does.
    void drainAndFlush()
    {
        drain();
        if (ok())
            xcb_flush(connection);
        afterCall();
    }

    // The end of a call: the event loop is asked to drain only when the call left it
    // something to do, a look that costs no system call. Most calls (a send to a watched
    // window) leave nothing, and a posted call each time would wake the loop for nothing.
    void afterCall()
    {
        if (!ok() || !notifier || drainScheduled)
            return;
        // First: looking for the answer may read the connection.
        const bool answerCame = awaitingAnswer && !arrivals.empty() && answered(arrivals.front());
        if (!early)
            early = xcb_poll_for_queued_event(connection);
        if (early || answerCame || !escaped.empty())
            scheduleDrain();
    }

    // Runs work once from the event loop, however often it is asked for before then. A posted
    // call, not a zero timer: Qt runs zero timers only when nothing else is pending, which a
    // flood never allows.
    void postOnce(bool &queued, void (Private::*work)())
    {
        if (queued || !notifier)
            return;
        queued = true;
        QMetaObject::invokeMethod(notifier.get(), [this, &queued, work] {
            queued = false;
            (this->*work)();
        }, Qt::QueuedConnection);
    }

    // Whether a compositing manager draws the screen from window pictures.
    bool compositing()
    {
        if (atomCompositor == XCB_NONE)
            return false;
        const Reply<xcb_get_selection_owner_reply_t> owner(xcb_get_selection_owner_reply(
                connection, xcb_get_selection_owner(connection, atomCompositor), nullptr));
        return owner && owner->owner != XCB_NONE;
    }

    bool damageUsable()
    {
        if (!damageAsked) {
            damageAsked = true;
            const xcb_query_extension_reply_t *extension = xcb_get_extension_data(connection, &xcb_damage_id);
            if (!extension || !extension->present)
                return false;
            // The server speaks Damage to a client only after it said which version it knows.
            const Reply<xcb_damage_query_version_reply_t> version(xcb_damage_query_version_reply(
                    connection,
                    xcb_damage_query_version(connection, XCB_DAMAGE_MAJOR_VERSION, XCB_DAMAGE_MINOR_VERSION),
                    nullptr));
            if (version)
                damageFirstEvent = extension->first_event;
        }
        return damageFirstEvent != 0;
    }

    // Starts watching a window it does not watch yet.
    bool watchUntilSettled(xcb_window_t window)
    {
        Settling entry;
        entry.damage = xcb_generate_id(connection);
        if (!checked(xcb_damage_create_checked(connection, entry.damage, window,
                                               XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY)))
            return false; // gone, or not ours to watch
        entry.quiet = std::make_unique<QTimer>();
        entry.quiet->setSingleShot(true);
        QObject::connect(entry.quiet.get(), &QTimer::timeout, entry.quiet.get(),
                         [this, window] { redraw(window); });
        entry.deadline = Clock::now() + std::chrono::milliseconds(XcbNativeWindowBackend::MAX_SETTLE_MS);
        waitAgain(settling.emplace(window, std::move(entry)).first->second);
        return true;
    }

    // The redraw waits for the window to be still again, up to its deadline.
    void waitAgain(Settling &entry)
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                entry.deadline - Clock::now()).count();
        entry.quiet->start(int(std::clamp<long long>(left, 0, settleMs)));
    }

    // The window drew: its damage is cleared so that its next drawing is reported too.
    void drawn(const xcb_damage_notify_event_t *event)
    {
        const auto it = settling.find(event->drawable);
        if (it == settling.end() || it->second.damage != event->damage)
            return;
        xcb_damage_subtract(connection, it->second.damage, XCB_NONE, XCB_NONE);
        waitAgain(it->second);
    }

    void redraw(xcb_window_t window)
    {
        const auto it = settling.find(window);
        if (it == settling.end())
            return;
        // Exposes the whole window: it draws all of itself again. A window that died meanwhile
        // makes these fail, unchecked.
        xcb_clear_area(connection, 1, window, 0, 0, 0, 0);
        xcb_damage_destroy(connection, it->second.damage);
        xcb_flush(connection);
        afterCall();
        // Last: the timer that runs this goes with the entry.
        it->second.quiet.release()->deleteLater();
        settling.erase(it);
    }

    struct DrainLater
    {
        Private *d;
        ~DrainLater() { d->afterCall(); }
    };

    void drain()
    {
        if (!ok())
            return;
        if (xcb_generic_event_t *event = std::exchange(early, nullptr)) {
            handleEvent(event);
            std::free(event);
        }
        while (xcb_generic_event_t *event = xcb_poll_for_event(connection)) {
            handleEvent(event);
            std::free(event);
        }
        expire();
        if (!taking && !escaped.empty()) {
            retakeEscaped();
            scheduleDrain();
        }
        // Whatever read this connection may have read the answer delivery waits for.
        if (awaitingAnswer && !arrivals.empty() && answered(arrivals.front())) {
            awaitingAnswer = false;
            scheduleDelivery();
        }
    }

    void queueFocusEvent(xcb_window_t container, EmbeddedFocusEvent what)
    {
        focusEvents.emplace_back(container, what);
        if (focusDispatchQueued || !notifier)
            return;
        focusDispatchQueued = true;
        // Handlers run from the event loop: they may call back into the backend.
        QMetaObject::invokeMethod(notifier.get(), [this] { dispatchFocusEvents(); },
                                  Qt::QueuedConnection);
    }

    // From the event loop: the handler may call back into the backend.
    void reportLost(xcb_window_t container)
    {
        if (!notifier || !lostWatchers.count(container))
            return;
        QMetaObject::invokeMethod(notifier.get(), [this, container] {
            const auto it = lostWatchers.find(container);
            if (it == lostWatchers.end())
                return;
            const EmbeddingLostHandler lost = it->second; // a copy: it may stop watching
            lost();
        }, Qt::QueuedConnection);
    }

    void dispatchFocusEvents()
    {
        focusDispatchQueued = false;
        const auto events = std::exchange(focusEvents, {});
        for (const auto &[container, what] : events) {
            const auto it = focusWatchers.find(container);
            if (it == focusWatchers.end())
                continue;
            // A copy: the handler may stop watching.
            const EmbeddedFocusHandler handler = it->second;
            if (handler)
                handler(what);
        }
    }

    xcb_keycode_t keycodeOf(std::uint32_t keysym)
    {
        const xcb_setup_t *setup = xcb_get_setup(connection);
        const int count = setup->max_keycode - setup->min_keycode + 1;
        Reply<xcb_get_keyboard_mapping_reply_t> mapping(xcb_get_keyboard_mapping_reply(
                connection,
                xcb_get_keyboard_mapping(connection, setup->min_keycode, std::uint8_t(count)),
                nullptr));
        if (!mapping || mapping->keysyms_per_keycode == 0)
            return 0;
        const xcb_keysym_t *keysyms = xcb_get_keyboard_mapping_keysyms(mapping.get());
        const int length = xcb_get_keyboard_mapping_keysyms_length(mapping.get());
        for (int i = 0; i < length; ++i) {
            if (keysyms[i] == keysym)
                return xcb_keycode_t(setup->min_keycode + i / mapping->keysyms_per_keycode);
        }
        return 0;
    }

    // A click into an embedded window goes first to the embedder, which gives it the keyboard,
    // as a window manager does for a top-level window. Every click, not only the first: a
    // window manager that focuses its client on each click would take the keyboard back to
    // the dashboard's window.
    void grabClicks(xcb_window_t container, bool grab)
    {
        if (grab)
            xcb_grab_button(connection, 0, container, XCB_EVENT_MASK_BUTTON_PRESS,
                            XCB_GRAB_MODE_SYNC, XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE,
                            XCB_BUTTON_INDEX_ANY, XCB_MOD_MASK_ANY);
        else
            xcb_ungrab_button(connection, XCB_BUTTON_INDEX_ANY, container, XCB_MOD_MASK_ANY);
    }

    void grabHandOnKeys(xcb_window_t container, bool grab)
    {
        if (!tabKeycode)
            tabKeycode = keycodeOf(KEYSYM_TAB);
        if (!tabKeycode)
            return;
        for (const std::uint16_t shift : { std::uint16_t(0), std::uint16_t(XCB_MOD_MASK_SHIFT) }) {
            for (const std::uint16_t ignored : IGNORED_MODIFIERS) {
                const std::uint16_t modifiers = XCB_MOD_MASK_CONTROL | shift | ignored;
                if (grab)
                    xcb_grab_key(connection, 0, container, modifiers, tabKeycode,
                                 XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
                else
                    xcb_ungrab_key(connection, tabKeycode, container, modifiers);
            }
        }
    }

    // A key that reached the holder while the module has the keyboard: Ctrl+Tab and
    // Ctrl+Shift+Tab leave the module, as their grab on the container does; any other key goes
    // on to the module. Keys sent on purpose (ours, or a module's handed back) stay where
    // they are, so no key goes round.
    void handOnHeldKey(const xcb_key_press_event_t *key)
    {
        if (focusedEmbedded == XCB_NONE || (key->response_type & 0x80))
            return;
        const auto container = embedded.find(focusedEmbedded);
        const bool press = (key->response_type & 0x7f) == XCB_KEY_PRESS;
        if (key->detail == tabKeycode && (key->state & XCB_MOD_MASK_CONTROL)) {
            if (press && container != embedded.end() && focusWatchers.count(container->second.container))
                queueFocusEvent(container->second.container, (key->state & XCB_MOD_MASK_SHIFT)
                                                                     ? EmbeddedFocusEvent::Previous
                                                                     : EmbeddedFocusEvent::Next);
            return;
        }
        xcb_key_press_event_t forwarded = *key;
        forwarded.event = focusedEmbedded;
        forwarded.child = XCB_NONE;
        forwarded.event_x = 0;
        forwarded.event_y = 0;
        xcb_send_event(connection, 0, focusedEmbedded,
                       press ? XCB_EVENT_MASK_KEY_PRESS : XCB_EVENT_MASK_KEY_RELEASE,
                       reinterpret_cast<const char *>(&forwarded));
        xcb_flush(connection);
    }

    // Adds event selections of this connection on a window, keeping those it has.
    void selectEvents(xcb_window_t window, std::uint32_t events)
    {
        Reply<xcb_get_window_attributes_reply_t> current(xcb_get_window_attributes_reply(
                connection, xcb_get_window_attributes(connection, window), nullptr));
        if (!current)
            return;
        const std::uint32_t mask[] = { current->your_event_mask | events };
        xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, mask);
    }

    // The window holding the container of an embedded window: the one a window manager
    // focuses when the user clicks the dashboard.
    xcb_window_t holderOf(xcb_window_t window)
    {
        const auto node = tree(window);
        if (!node || node->parent == root)
            return XCB_NONE;
        const auto container = tree(node->parent);
        return container && container->parent != root ? container->parent : XCB_NONE;
    }

    void sendXEmbed(xcb_window_t window, std::uint32_t message, std::uint32_t detail)
    {
        const std::uint32_t data[5] = { XCB_CURRENT_TIME, message, detail, 0, 0 };
        sendClientMessage(window, atomXEmbed, data);
    }

    // True when the keyboard is on window or inside it, or nobody has it (no window manager:
    // it follows the pointer).
    bool focusInsideOrFree(xcb_window_t window)
    {
        Reply<xcb_get_input_focus_reply_t> focus(xcb_get_input_focus_reply(
                connection, xcb_get_input_focus(connection), nullptr));
        if (!focus)
            return false;
        if (focus->focus == XCB_NONE || focus->focus == XCB_INPUT_FOCUS_POINTER_ROOT)
            return true;
        xcb_window_t at = focus->focus;
        // Deep enough for any real tree; a loop cannot happen, a hostile depth is cut short.
        for (int depth = 0; depth < 64 && at != XCB_NONE && at != root
                            && at != XCB_INPUT_FOCUS_POINTER_ROOT;
             ++depth) {
            if (at == window)
                return true;
            const auto node = tree(at);
            if (!node)
                return false;
            at = node->parent;
        }
        return false;
    }

    // ICCCM's WM_STATE: 0 withdrawn, 1 normal, 3 iconic; -1 when the window has none.
    int wmState(xcb_window_t window)
    {
        const auto reply = property(window, atomWmState, atomWmState, 2);
        if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
            return -1;
        return int(*static_cast<const std::uint32_t *>(xcb_get_property_value(reply.get())));
    }

    // A window manager holds a window while it keeps a normal or iconic state for it, and
    // until it has put it back on the root. A child of any other window is nobody's to let go.
    enum class Hold { Released, Held, Gone };
    Hold holdOf(xcb_window_t window, bool wasHeld)
    {
        const auto node = tree(window);
        if (!node)
            return Hold::Gone;
        const int state = wmState(window);
        if (state == 1 || state == 3)
            return Hold::Held;
        return wasHeld && node->parent != root ? Hold::Held : Hold::Released;
    }

    // Takes a window from its window manager the way ICCCM 4.1.4 has a client withdraw its
    // own window: unmapped, and a synthetic UnmapNotify to the root, so that the manager
    // unframes it and puts it back on the root. A bare re-parent instead races the manager,
    // which may keep, re-frame or unmap the window whenever it gets to it. Waits for the
    // manager's answer, not for a time; false when the window died or the manager did not let
    // go within WITHDRAW_TIMEOUT_MS.
    bool takeFromWindowManager(xcb_window_t window)
    {
        Hold hold = holdOf(window, false);
        if (hold != Hold::Held)
            return hold == Hold::Released;
        selectEvents(window, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
        xcb_unmap_window(connection, window);
        xcb_unmap_notify_event_t unmap;
        std::memset(&unmap, 0, sizeof unmap);
        unmap.response_type = XCB_UNMAP_NOTIFY;
        unmap.event = root;
        unmap.window = window;
        unmap.from_configure = 0;
        xcb_send_event(connection, 0, root,
                       XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                       reinterpret_cast<const char *>(&unmap));
        xcb_flush(connection);
        const Clock::time_point deadline =
                Clock::now() + std::chrono::milliseconds(WITHDRAW_TIMEOUT_MS);
        // Every change the manager makes (unframing, WM_STATE) is an event of this connection;
        // the state is read again after each batch of them. Not waitOnConnection: its drain
        // retakes escaped windows, which would come back here.
        for (;;) {
            hold = holdOf(window, true);
            if (hold != Hold::Held)
                return hold == Hold::Released;
            const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                    deadline - Clock::now()).count();
            if (left <= 0 || !ok())
                break;
            pollfd fd{ xcb_get_file_descriptor(connection), POLLIN, 0 };
            ::poll(&fd, 1, int(left));
            while (xcb_generic_event_t *event = xcb_poll_for_event(connection)) {
                handleEvent(event);
                std::free(event);
            }
        }
        KX_DEBUG(lcWindow,
                 "Dashboard Error: the window manager did not release window %u within %d ms; "
                 "it is not embedded.",
                 unsigned(window), WITHDRAW_TIMEOUT_MS);
        return false;
    }

    // Re-parents a window the window manager has let go into one of our windows, where the
    // manager never sees it again: no map request of a child reaches it.
    bool reparentInto(xcb_window_t window, xcb_window_t parent, std::int16_t x, std::int16_t y)
    {
        if (!checked(xcb_reparent_window_checked(connection, window, parent, x, y)))
            return false;
        xcb_change_save_set(connection, XCB_SET_MODE_INSERT, window);
        return true;
    }

    // XEmbed's first message: the window now lives in an embedder (data: time, message,
    // detail, embedder, protocol version). Toolkits that know XEmbed treat the window as
    // embedded from then on; others ignore it.
    void notifyEmbedded(xcb_window_t window, xcb_window_t container)
    {
        const std::uint32_t data[5] = { XCB_CURRENT_TIME, XEMBED_EMBEDDED_NOTIFY, 0, container,
                                        XEMBED_VERSION };
        sendClientMessage(window, atomXEmbed, data);
    }

    void retakeEscaped()
    {
        const std::vector<xcb_window_t> windows = std::exchange(escaped, {});
        taking = true;
        for (const xcb_window_t window : windows) {
            const auto it = embedded.find(window);
            if (it == embedded.end())
                continue;
            const xcb_window_t container = it->second.container;
            const auto node = tree(window);
            if (node && node->parent == container)
                continue; // it went and came back before we looked
            if (++it->second.retakes > MAX_RETAKES || !attributes(container)) {
                KX_DEBUG(lcWindow,
                         "Dashboard Error: window %u left its container %u again; it is left "
                         "where it is.",
                         unsigned(window), unsigned(container));
                embedded.erase(it);
                reportLost(container);
                continue;
            }
            KX_DEBUG(lcWindow, "Window %u left its container %u; taking it back.",
                     unsigned(window), unsigned(container));
            if (!takeFromWindowManager(window) || !reparentInto(window, container, 0, 0)) {
                embedded.erase(window);
                reportLost(container);
                continue;
            }
            xcb_map_window(connection, window);
            notifyEmbedded(window, container);
        }
        taking = false;
        xcb_flush(connection);
    }

    // The entry of a payload still unread, or pending.end() for a carrier read since (its id
    // may be a later carrier's by now: the time tells them apart).
    std::unordered_map<xcb_window_t, PendingCopy>::iterator
    unread(const std::pair<xcb_window_t, Clock::time_point> &sent)
    {
        const auto it = pending.find(sent.first);
        return it != pending.end() && it->second.sent == sent.second ? it : pending.end();
    }

    // A payload unread for too long is withdrawn: its receiver is not reading.
    void expire()
    {
        const Clock::time_point now = Clock::now();
        bool destroyed = false;
        while (!sendOrder.empty()) {
            const auto it = unread(sendOrder.front());
            if (it != pending.end()) {
                if (now - it->second.sent < std::chrono::milliseconds(copyTimeoutMs))
                    break;
                xcb_destroy_window(connection, it->first);
                settle(it);
                destroyed = true;
            }
            sendOrder.pop_front();
        }
        if (destroyed)
            xcb_flush(connection);
        // Behind an unread payload, those read since pile up: kept within twice the unread.
        if (sendOrder.size() > 2 * pending.size() + 64) {
            sendOrder.erase(std::remove_if(sendOrder.begin(), sendOrder.end(),
                                           [this](const auto &sent) { return unread(sent) == pending.end(); }),
                            sendOrder.end());
        }
    }

    static xcb_client_message_event_t clientMessage(xcb_window_t window, xcb_atom_t type,
                                                    const std::uint32_t data[5])
    {
        xcb_client_message_event_t event;
        std::memset(&event, 0, sizeof event);
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 32;
        event.window = window;
        event.type = type;
        std::memcpy(event.data.data32, data, 5 * sizeof(std::uint32_t));
        return event;
    }

    bool sendClientMessage(xcb_window_t window, xcb_atom_t type, const std::uint32_t data[5])
    {
        const xcb_client_message_event_t event = clientMessage(window, type, data);
        // No event mask: the event goes to the client that created the window, its owner.
        return checked(xcb_send_event_checked(connection, 0, window, XCB_EVENT_MASK_NO_EVENT,
                                              reinterpret_cast<const char *>(&event)));
    }

    // A message to a window's owner. The first one to a window waits for the server, which
    // tells a window that is gone, and from then on this connection watches the window: its
    // DestroyNotify, read at the start of every call, ends the watch, and later sends go out
    // without waiting. A window destroyed by another client is gone for us once its
    // DestroyNotify has come; a send that races it is lost, as one made just before would be.
    bool sendToWindow(xcb_window_t window, xcb_atom_t type, const std::uint32_t data[5])
    {
        if (watchedTargets.count(window)) {
            const xcb_client_message_event_t event = clientMessage(window, type, data);
            xcb_send_event(connection, 0, window, XCB_EVENT_MASK_NO_EVENT,
                           reinterpret_cast<const char *>(&event));
            return true;
        }
        const auto state = attributes(window);
        if (!state)
            return false;
        // Selections of this connection on the window are kept; StructureNotify is added.
        if (!(state->your_event_mask & XCB_EVENT_MASK_STRUCTURE_NOTIFY)) {
            const std::uint32_t mask[] = { state->your_event_mask
                                           | XCB_EVENT_MASK_STRUCTURE_NOTIFY };
            xcb_change_window_attributes(connection, window, XCB_CW_EVENT_MASK, mask);
        }
        // Checked: a window that went in between was never watched, and is not taken for one.
        if (!sendClientMessage(window, type, data))
            return false;
        watchedTargets.insert(window);
        return true;
    }

    bool supportsDelete(xcb_window_t window)
    {
        const auto reply = property(window, atomProtocols, XCB_ATOM_ATOM, 64);
        if (!reply || reply->format != 32)
            return false;
        const int count = xcb_get_property_value_length(reply.get()) / 4;
        const auto *atoms = static_cast<const xcb_atom_t *>(xcb_get_property_value(reply.get()));
        return std::find(atoms, atoms + count, atomDeleteWindow) != atoms + count;
    }

    bool close(xcb_window_t window)
    {
        WindowRecord *own = record(window, false);
        if (own && own->ours) {
            // Our container: WM_CLOSE's default is to destroy the window.
            const bool done = checked(xcb_destroy_window_checked(connection, window));
            forget(window);
            return done;
        }
        if (supportsDelete(window)) {
            const std::uint32_t data[5] = { atomDeleteWindow, XCB_CURRENT_TIME, 0, 0, 0 };
            return sendToWindow(window, atomProtocols, data);
        }
        const std::uint32_t data[5] = { WmClose, 0, 0, 0, 0 };
        return sendToWindow(window, atomMessage, data);
    }

    bool plainMessage(xcb_window_t window, MessageId message, WParam wParam, LParam lParam)
    {
        const std::uint64_t w = wParam;
        const std::uint64_t l = std::uint64_t(lParam);
        const std::uint32_t data[5] = { message, std::uint32_t(w), std::uint32_t(w >> 32),
                                        std::uint32_t(l), std::uint32_t(l >> 32) };
        return sendToWindow(window, atomMessage, data);
    }

    LResult copyData(xcb_window_t target, WParam wParam, const CopyDataStruct *copy)
    {
        if (!copy || (copy->cbData != 0 && !copy->lpData))
            return 0;
        if (copy->cbData > MAX_COPY_DATA) {
            KX_DEBUG(lcWindow, "Dashboard Error: WM_COPYDATA of %u bytes refused (largest %u).",
                     unsigned(copy->cbData), unsigned(MAX_COPY_DATA));
            return 0;
        }
        const auto sentInPieces = unconfirmed.find(target);
        if (copy->cbData <= inlineLimit
            && (sentInPieces == unconfirmed.end() || sentInPieces->second < INLINE_UNCONFIRMED)) {
            const int count = sentInPieces == unconfirmed.end() ? 0 : sentInPieces->second;
            // Halfway to the limit, one payload asks for a receipt: a receiver that reads keeps
            // its senders on pieces.
            const bool ask = count + 1 >= INLINE_UNCONFIRMED / 2 && !receiptsAsked.count(target);
            if (!sendPieces(target, wParam, copy, ask ? receiptWindow : XCB_NONE))
                return 0;
            ++unconfirmed[target];
            if (ask)
                receiptsAsked[target] = count + 1;
            return 1;
        }
        if (pendingBytes + copy->cbData > MAX_PENDING_BYTES
            || !waitForRoom(target, copy->cbData)) {
            KX_DEBUG(lcWindow,
                     "Dashboard Error: WM_COPYDATA to window %u refused: %d payloads (%llu bytes) "
                     "are still unread by their receivers.",
                     unsigned(target), int(pending.size()),
                     static_cast<unsigned long long>(pendingBytes));
            return 0;
        }

        // The payload lives in a window of its own: unique while it lives, freed by the server
        // with its window, and watched for its destruction, which is the receiver's receipt.
        const xcb_window_t carrier = xcb_generate_id(connection);
        const std::uint32_t mask[] = { XCB_EVENT_MASK_STRUCTURE_NOTIFY };
        xcb_create_window(connection, 0, carrier, root, -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK,
                          mask);

        const std::uint32_t serial = nextSerial++;
        if (nextSerial == 0)
            nextSerial = 1;
        unsigned char header[COPY_HEADER] = {};
        std::memcpy(header, COPY_MAGIC, 4);
        putLe32(header + 4, serial);
        putLe32(header + 8, copy->cbData);
        putLe64(header + 16, copy->dwData);
        const auto *bytes = static_cast<const unsigned char *>(copy->lpData);
        std::uint32_t done = 0;
        if (COPY_HEADER + copy->cbData <= std::min(SMALL_COPY, maxChunk)) {
            // The usual message: header and bytes in one request, one less for the server.
            unsigned char whole[SMALL_COPY];
            std::memcpy(whole, header, COPY_HEADER);
            if (copy->cbData)
                std::memcpy(whole + COPY_HEADER, bytes, copy->cbData);
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, carrier, atomPayload,
                                atomPayload, 8, COPY_HEADER + copy->cbData, whole);
            done = copy->cbData;
        } else {
            xcb_change_property(connection, XCB_PROP_MODE_REPLACE, carrier, atomPayload,
                                atomPayload, 8, COPY_HEADER, header);
        }
        // One request may not exceed the server's limit: the bytes go in appended chunks.
        while (done < copy->cbData) {
            const std::uint32_t chunk = std::min(maxChunk, copy->cbData - done);
            xcb_change_property(connection, XCB_PROP_MODE_APPEND, carrier, atomPayload,
                                atomPayload, 8, chunk, bytes + done);
            done += chunk;
        }

        const std::uint64_t w = wParam;
        const std::uint32_t data[5] = { carrier, serial, std::uint32_t(w), std::uint32_t(w >> 32),
                                        copy->cbData };
        if (!sendToWindow(target, atomCopyData, data)) {
            xcb_destroy_window(connection, carrier);
            xcb_flush(connection);
            return 0;
        }
        const Clock::time_point now = Clock::now();
        pending[carrier] = PendingCopy{ now, copy->cbData, target };
        sendOrder.emplace_back(carrier, now);
        pendingBytes += copy->cbData;
        Backlog &backlog = backlogs[target];
        ++backlog.copies;
        backlog.bytes += copy->cbData;
        return 1;
    }

    // A small payload in the events themselves: its receiver reads it without a round trip.
    // With receiptTo, the receiver is asked to tell that window once it has taken it.
    bool sendPieces(xcb_window_t target, WParam wParam, const CopyDataStruct *copy,
                    xcb_window_t receiptTo)
    {
        const std::uint64_t w = wParam;
        const std::uint64_t dwData = copy->dwData;
        const std::uint32_t first[5] = { pieceKey | PIECE_FIRST | (receiptTo ? PIECE_RECEIPT : 0u),
                                         copy->cbData, std::uint32_t(w), std::uint32_t(w >> 32),
                                         std::uint32_t(dwData) };
        if (!sendToWindow(target, atomPiece, first))
            return false;
        unsigned char body[8 + INLINE_COPY + PIECE_BYTES] = {};
        putLe32(body, std::uint32_t(dwData >> 32));
        std::uint32_t head = 4;
        if (receiptTo) {
            putLe32(body + 4, receiptTo);
            head = 8;
        }
        if (copy->cbData)
            std::memcpy(body + head, copy->lpData, copy->cbData);
        // Words, not bytes: the server swaps format-32 data for a receiver of the other byte
        // order, which keeps each word's value.
        std::uint32_t index = 1;
        for (std::uint32_t done = 0; done < head + copy->cbData; done += PIECE_BYTES, ++index) {
            std::uint32_t data[5] = { pieceKey | ((index & 3u) << 29) };
            for (int i = 0; i < 4; ++i)
                data[1 + i] = getLe32(body + done + 4 * i);
            const xcb_client_message_event_t event = clientMessage(target, atomPiece, data);
            xcb_send_event(connection, 0, target, XCB_EVENT_MASK_NO_EVENT,
                           reinterpret_cast<const char *>(&event));
        }
        return true;
    }

    // Takes one piece; true, with the payload in *whole, when it was the last one. Whatever
    // does not fit the pieces before it from the same sender to the same window is dropped.
    bool takePiece(const xcb_client_message_event_t *event, Assembly *whole)
    {
        const std::uint32_t head = event->data.data32[0];
        const std::uint64_t id = (std::uint64_t(head & PIECE_KEY) << 32) | event->window;
        const std::uint32_t index = (head >> 29) & 3u;
        if (head & PIECE_FIRST) {
            // Begins afresh: a payload cut short before it (its sender died sending) is dropped.
            const std::uint32_t size = event->data.data32[1];
            if (index != 0 || size > INLINE_COPY) {
                assemblies.erase(id);
                return false;
            }
            auto it = assemblies.find(id);
            if (it == assemblies.end()) {
                if (assemblies.size() >= std::size_t(MAX_ASSEMBLIES))
                    assemblies.erase(std::min_element(assemblies.begin(), assemblies.end(),
                                                      [](const auto &a, const auto &b) {
                                                          return a.second.begun < b.second.begun;
                                                      }));
                it = assemblies.emplace(id, Assembly{}).first;
            }
            Assembly &assembly = it->second;
            assembly.window = event->window;
            assembly.pieces = 1;
            assembly.size = size;
            assembly.receipt = (head & PIECE_RECEIPT) != 0;
            assembly.wParam = WParam(std::uint64_t(event->data.data32[2])
                                     | (std::uint64_t(event->data.data32[3]) << 32));
            assembly.dwDataLow = event->data.data32[4];
            assembly.body.clear();
            assembly.body.reserve(8 + size);
            assembly.begun = ++assemblyCount;
            return false;
        }
        const auto it = assemblies.find(id);
        if (it == assemblies.end())
            return false;
        Assembly &assembly = it->second;
        if (index == ((assembly.pieces - 1) & 3u))
            return false; // the same piece again: a filter and then the window translated it
        if (index != (assembly.pieces & 3u)) {
            assemblies.erase(it);
            return false;
        }
        ++assembly.pieces;
        unsigned char piece[PIECE_BYTES];
        for (int i = 0; i < 4; ++i)
            putLe32(piece + 4 * i, event->data.data32[1 + i]);
        const std::size_t length = (assembly.receipt ? 8 : 4) + std::size_t(assembly.size);
        const std::size_t missing = length - assembly.body.size();
        assembly.body.insert(assembly.body.end(), piece,
                             piece + std::min<std::size_t>(missing, PIECE_BYTES));
        if (assembly.body.size() < length)
            return false;
        *whole = std::move(assembly);
        assemblies.erase(it);
        if (whole->receipt) {
            sendReceipt(getLe32(whole->body.data() + 4), whole->window);
            whole->body.erase(whole->body.begin() + 4, whole->body.begin() + 8);
        }
        return true;
    }

    // Tells a sender that the window has taken its payload. The window named is the sender's
    // word: at worst another client gets a ClientMessage it does not know.
    void sendReceipt(xcb_window_t to, xcb_window_t taken)
    {
        if (!isXid(to))
            return;
        const std::uint32_t data[5] = { taken, 0, 0, 0, 0 };
        const xcb_client_message_event_t event = clientMessage(to, atomReceipt, data);
        xcb_send_event(connection, 0, to, XCB_EVENT_MASK_NO_EVENT,
                       reinterpret_cast<const char *>(&event));
        if (notifier)
            scheduleDrain();
        else
            xcb_flush(connection);
    }

    const Message *handOver(const Assembly &whole, Message *storage)
    {
        const std::uint64_t dwData = whole.dwDataLow
                | (std::uint64_t(getLe32(whole.body.data())) << 32);
        return keep(whole.window, whole.wParam, dwData, whole.body.data() + 4, whole.size, storage);
    }

    // A payload received, in the backend's keeping until RETAINED_COPIES more have come.
    const Message *keep(xcb_window_t window, WParam wParam, std::uint64_t dwData,
                        const unsigned char *bytes, std::uint32_t size, Message *storage)
    {
        Retained &slot = retained[nextRetained];
        nextRetained = (nextRetained + 1) % retained.size();
        slot.bytes.assign(bytes, bytes + size);
        slot.bytes.shrink_to_fit();
        slot.copyData.dwData = std::uintptr_t(dwData);
        slot.copyData.cbData = size;
        slot.copyData.lpData = size ? slot.bytes.data() : nullptr;
        *storage = Message{};
        storage->hwnd = window;
        storage->message = WmCopyData;
        storage->wParam = wParam;
        storage->lParam = reinterpret_cast<LParam>(&slot.copyData);
        return storage;
    }

    // An announcement whose carrier can be read at all: an X id, a size within the limit.
    static bool readable(const xcb_client_message_event_t *event)
    {
        return isXid(event->data.data32[0]) && event->data.data32[4] <= MAX_COPY_DATA;
    }

    xcb_get_property_cookie_t requestPayload(const xcb_client_message_event_t *event)
    {
        const std::uint32_t total = COPY_HEADER + event->data.data32[4];
        return xcb_get_property(connection, 0, event->data.data32[0], atomPayload, atomPayload, 0,
                                (total + 3) / 4);
    }

    const Message *receiveCopyData(const xcb_client_message_event_t *event, Message *storage)
    {
        if (!readable(event))
            return nullptr;
        const Reply<xcb_get_property_reply_t> reply(
                xcb_get_property_reply(connection, requestPayload(event), nullptr));
        return acceptCopyData(event, reply.get(), storage);
    }

    // The payload an announcement named, as the server answered for its carrier: checked
    // against the announcement, kept, and the carrier destroyed as the sender's receipt.
    const Message *acceptCopyData(const xcb_client_message_event_t *event,
                                  xcb_get_property_reply_t *reply, Message *storage)
    {
        const xcb_window_t carrier = event->data.data32[0];
        const std::uint32_t serial = event->data.data32[1];
        const std::uint32_t size = event->data.data32[4];
        const std::uint32_t total = COPY_HEADER + size;
        // Gone (the sender died or withdrew it), or not a payload of this size and type.
        if (!reply || reply->type != atomPayload || reply->format != 8 || reply->bytes_after != 0
            || std::uint32_t(xcb_get_property_value_length(reply)) != total)
            return nullptr;
        const auto *value = static_cast<const unsigned char *>(xcb_get_property_value(reply));
        if (std::memcmp(value, COPY_MAGIC, 4) != 0 || getLe32(value + 4) != serial
            || getLe32(value + 8) != size)
            return nullptr;

        // The receipt: the sender sees its carrier destroyed. Asked now, so this connection
        // never reads the carrier again, but sent with the next flush: the handler's reply,
        // typically, or the drain the event loop runs next.
        xcb_destroy_window(connection, carrier);
        if (notifier)
            scheduleDrain();
        else
            xcb_flush(connection);
        const WParam wParam = WParam(std::uint64_t(event->data.data32[2])
                                     | (std::uint64_t(event->data.data32[3]) << 32));
        return keep(event->window, wParam, getLe64(value + 16), value + COPY_HEADER, size, storage);
    }

    // A message that travels in the event itself: a plain message, or a window manager's
    // request to close. Null for anything else.
    const Message *translatePlain(const xcb_client_message_event_t *event, Message *storage) const
    {
        *storage = Message{};
        storage->hwnd = event->window;
        if (event->type == atomMessage) {
            const MessageId id = event->data.data32[0];
            // Only WM_COPYDATA's lParam is read as a pointer; an announcement of another shape
            // would hand the receiver a number from another process as an address.
            if (id == WmCopyData)
                return nullptr;
            storage->message = id;
            storage->wParam = WParam(std::uint64_t(event->data.data32[1])
                                     | (std::uint64_t(event->data.data32[2]) << 32));
            storage->lParam = LParam(std::uint64_t(event->data.data32[3])
                                     | (std::uint64_t(event->data.data32[4]) << 32));
            return storage;
        }
        if (event->type == atomProtocols && event->data.data32[0] == atomDeleteWindow) {
            storage->message = WmClose;
            return storage;
        }
        return nullptr;
    }

    bool isMessageEvent(const xcb_client_message_event_t *event) const
    {
        return event->type == atomCopyData || event->type == atomPiece || event->type == atomMessage
                || (event->type == atomProtocols && event->data.data32[0] == atomDeleteWindow);
    }

    void scheduleDelivery() { postOnce(deliveryScheduled, &Private::deliverArrivals); }

    // Asks the server for the payloads of the next announcements, so that their replies
    // travel while earlier messages are handled.
    // The requests stay in the buffer: whoever waits for an answer sends them (deliverArrivals,
    // or xcb_get_property_reply itself). Sent one by one, a request per message, they filled the
    // socket while the server was busy with the senders, and a send then blocked this thread.
    void readAhead()
    {
        while (requestedAhead < arrivals.size() && requestedAhead < std::size_t(READ_AHEAD)) {
            Arrival &next = arrivals[requestedAhead];
            const bool payload = next.event.type == atomCopyData && readable(&next.event);
            const std::uint32_t size = payload ? next.event.data.data32[4] : 0;
            // The first one is always asked for, whatever its size.
            if (requestedAhead > 0 && requestedBytes + size > READ_AHEAD_BYTES)
                break;
            if (payload) {
                next.cookie = requestPayload(&next.event);
                next.requested = true;
            }
            requestedBytes += size;
            ++requestedAhead;
        }
    }

    // True once the server's answer to an arrival's read is here, or when it needs none;
    // never waits for it.
    bool answered(Arrival &arrival)
    {
        if (!arrival.requested || arrival.answered)
            return true;
        void *reply = nullptr;
        xcb_generic_error_t *error = nullptr;
        if (!xcb_poll_for_reply(connection, arrival.cookie.sequence, &reply, &error))
            return false;
        std::free(error);
        arrival.answered = true;
        arrival.reply = static_cast<xcb_get_property_reply_t *>(reply);
        return true;
    }

    // Takes the oldest arrival off the queue, with what read ahead asked for it.
    Arrival takeArrival()
    {
        Arrival first = std::move(arrivals.front());
        arrivals.pop_front();
        --requestedAhead;
        if (first.event.type == atomCopyData && readable(&first.event))
            requestedBytes -= first.event.data.data32[4];
        return first;
    }

    void forgetReply(Arrival &arrival)
    {
        if (arrival.answered)
            std::free(arrival.reply);
        else if (arrival.requested)
            xcb_discard_reply(connection, arrival.cookie.sequence);
        arrival.requested = false;
        arrival.answered = false;
        arrival.reply = nullptr;
    }

    // Hands the oldest arrival to its window's handler. False, with nothing done, when its
    // payload's answer has not come and wait is false.
    bool deliverOne(bool wait)
    {
        if (requestedAhead == 0)
            readAhead();
        Arrival &front = arrivals.front();
        if (!answered(front)) {
            if (!wait)
                return false;
            front.reply = xcb_get_property_reply(connection, front.cookie, nullptr);
            front.answered = true;
        }
        Arrival arrival = takeArrival();
        const Reply<xcb_get_property_reply_t> reply(std::exchange(arrival.reply, nullptr));
        const auto it = arrivalHandlers.find(arrival.event.window);
        if (it == arrivalHandlers.end() || !it->second)
            return true;
        // A copy: the handler may change or remove handlers.
        const ArrivalHandler handler = it->second;
        Message storage{};
        const Message *message = nullptr;
        if (arrival.whole) {
            message = handOver(*arrival.whole, &storage);
        } else if (arrival.event.type == atomCopyData) {
            if (arrival.requested)
                message = acceptCopyData(&arrival.event, reply.get(), &storage);
        } else {
            message = translatePlain(&arrival.event, &storage);
        }
        if (message)
            handler(*message);
        return true;
    }

    // One portion of the queue: until the slice's time or count is used up. Every portion
    // hands over at least the oldest message unless its payload is still on its way. The
    // event loop turns before the next portion.
    void deliverArrivals()
    {
        if (!ok()) {
            dropArrivals(XCB_NONE);
            return;
        }
        const Clock::time_point deadline =
                Clock::now() + std::chrono::milliseconds(DELIVERY_SLICE_MS);
        awaitingAnswer = false;
        for (int delivered = 0; !arrivals.empty();) {
            readAhead();
            if (!deliverOne(false)) {
                // The answer is on its way: it is waited for while the slice lasts, then the
                // connection's notifier takes over.
                const auto left = std::chrono::duration_cast<std::chrono::microseconds>(
                        deadline - Clock::now()).count();
                if (left <= 0) {
                    awaitingAnswer = true;
                    break;
                }
                // Sending may read the answer in already, out of the socket's sight.
                xcb_flush(connection);
                if (answered(arrivals.front()))
                    continue;
                pollfd fd{ xcb_get_file_descriptor(connection), POLLIN, 0 };
                const timespec wait{ 0, long(left) * 1000 };
                ::ppoll(&fd, 1, &wait, nullptr);
                // Reads what came, the answer among it, and handles this connection's events.
                drain();
                continue;
            }
            if (++delivered >= MAX_DELIVERIES_PER_TURN || Clock::now() >= deadline)
                break;
        }
        if (!arrivals.empty() && !awaitingAnswer)
            scheduleDelivery();
        // What was asked ahead goes out in one write.
        xcb_flush(connection);
        // The replies read events of this connection into xcb's queue.
        scheduleDrain();
    }

    // Drops what waits for one window (all windows: XCB_NONE). Their carriers are destroyed:
    // nobody will read them, and their senders stop counting them as unread.
    void dropArrivals(xcb_window_t window)
    {
        std::deque<Arrival> kept;
        bool destroyed = false;
        for (Arrival &arrival : arrivals) {
            if (window != XCB_NONE && arrival.event.window != window) {
                kept.push_back(std::move(arrival));
                continue;
            }
            forgetReply(arrival);
            if (ok() && arrival.event.type == atomCopyData && readable(&arrival.event)) {
                xcb_destroy_window(connection, arrival.event.data.data32[0]);
                destroyed = true;
            }
        }
        // What was asked ahead is asked no more; reads start again from the oldest.
        for (Arrival &arrival : kept)
            forgetReply(arrival);
        arrivals = std::move(kept);
        requestedAhead = 0;
        requestedBytes = 0;
        awaitingAnswer = false;
        if (!arrivals.empty())
            scheduleDelivery();
        if (destroyed)
            xcb_flush(connection);
    }

    // The display's table of registered names: NUL-terminated UTF-8 names in a root window
    // property, a name's id being its place. Appending is one request, so two programs that
    // register the same name at once both append it and both take its first place.
    bool readTable(std::vector<std::string> *names, bool *usable, bool *terminated = nullptr)
    {
        if (terminated)
            *terminated = true;
        const auto reply = property(root, atomTable, XCB_GET_PROPERTY_TYPE_ANY,
                                    MAX_TABLE_BYTES / 4);
        if (!reply)
            return false;
        names->clear();
        *usable = reply->type == XCB_NONE || (reply->type == atomUtf8 && reply->format == 8);
        if (reply->type == XCB_NONE || !*usable)
            return true;
        const auto *text = static_cast<const char *>(xcb_get_property_value(reply.get()));
        const int length = xcb_get_property_value_length(reply.get());
        if (terminated)
            *terminated = length == 0 || text[length - 1] == '\0';
        int start = 0;
        for (int i = 0; i <= length; ++i) {
            if (i == length || text[i] == '\0') {
                if (i > start || i < length)
                    names->emplace_back(text + start, std::size_t(i - start));
                start = i + 1;
            }
        }
        return true;
    }

    static MessageId idOf(const std::vector<std::string> &names, const std::string &name)
    {
        const auto it = std::find(names.begin(), names.end(), name);
        if (it == names.end())
            return 0;
        const std::size_t place = std::size_t(it - names.begin());
        if (place > LAST_REGISTERED_ID - FIRST_REGISTERED_ID)
            return 0;
        return FIRST_REGISTERED_ID + MessageId(place);
    }

    // A name not in the cache (registerWindowMessage looks there first).
    MessageId registerName(const std::u16string &name)
    {
        const QByteArray utf8 = QString::fromUtf16(name.data(), qsizetype(name.size())).toUtf8();
        if (utf8.isEmpty() || std::size_t(utf8.size()) > MAX_NAME_BYTES
            || utf8.contains('\0'))
            return 0;
        const std::string key(utf8.constData(), std::size_t(utf8.size()));
        std::vector<std::string> names;
        bool usable = false;
        bool terminated = true;
        if (!readTable(&names, &usable, &terminated))
            return 0;
        MessageId id = idOf(names, key);
        if (!id) {
            if (!usable || names.size() > LAST_REGISTERED_ID - FIRST_REGISTERED_ID) {
                KX_DEBUG(lcWindow, "Dashboard Error: no registered message id left for %s.",
                         key.c_str());
                return 0;
            }
            // A table that does not end a name (someone else's bytes) is ended first, so the
            // new name stands on its own.
            const std::string entry = (terminated ? std::string() : std::string(1, '\0')) + key
                    + '\0';
            if (!checked(xcb_change_property_checked(connection, XCB_PROP_MODE_APPEND, root,
                                                     atomTable, atomUtf8, 8,
                                                     std::uint32_t(entry.size()), entry.data()))
                || !readTable(&names, &usable))
                return 0;
            id = idOf(names, key);
        }
        if (id)
            registered.emplace(name, id);
        return id;
    }
};

XcbNativeWindowBackend::XcbNativeWindowBackend(const char *displayName) : d(new Private)
{
    int screenNumber = 0;
    d->connection = xcb_connect(displayName, &screenNumber);
    if (!d->ok()) {
        KX_DEBUG(lcWindow, "Dashboard Error: cannot connect to the X server; no window calls.");
        return;
    }
    const xcb_setup_t *setup = xcb_get_setup(d->connection);
    xcb_screen_iterator_t screens = xcb_setup_roots_iterator(setup);
    for (int i = 0; i < screenNumber && screens.rem; ++i)
        xcb_screen_next(&screens);
    d->root = screens.data ? screens.data->root : XCB_NONE;

    // Requests stay well under the server's limit (4-byte units; 256 KiB without
    // BIG-REQUESTS), leaving room for the request's own header.
    const std::uint32_t limit = std::min<std::uint32_t>(
            xcb_get_maximum_request_length(d->connection), 65535u);
    d->maxChunk = std::max<std::uint32_t>(limit * 4u - 64u, 1024u) & ~3u;
    d->pieceKey = setup->resource_id_base & PIECE_KEY;

    d->intern({ { "_KORVEX_WM_MESSAGE", &d->atomMessage },
                { "_KORVEX_WM_COPYDATA", &d->atomCopyData },
                { "_KORVEX_COPYDATA_PAYLOAD", &d->atomPayload },
                { "_KORVEX_WM_COPYDATA_PIECE", &d->atomPiece },
                { "_KORVEX_WM_COPYDATA_RECEIPT", &d->atomReceipt },
                { "_KORVEX_WM_REGISTERED_MESSAGES", &d->atomTable },
                { "UTF8_STRING", &d->atomUtf8 },
                { "WM_PROTOCOLS", &d->atomProtocols },
                { "WM_DELETE_WINDOW", &d->atomDeleteWindow },
                { "_MOTIF_WM_HINTS", &d->atomMotifHints },
                { "WM_STATE", &d->atomWmState },
                { "_XEMBED", &d->atomXEmbed } });
    if (d->root != XCB_NONE) {
        d->receiptWindow = xcb_generate_id(d->connection);
        xcb_create_window(d->connection, 0, d->receiptWindow, d->root, -1, -1, 1, 1, 0,
                          XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, 0, nullptr);
    }
    const std::string compositor = "_NET_WM_CM_S" + std::to_string(screenNumber);
    d->intern({ { compositor.c_str(), &d->atomCompositor } });

    // Receipts and window ends arrive between calls; a Qt event loop takes them as they come.
    if (QCoreApplication::instance()
        && QThread::currentThread() == QCoreApplication::instance()->thread()) {
        d->notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(d->connection),
                                                        QSocketNotifier::Read);
        Private *p = d.get();
        QObject::connect(d->notifier.get(), &QSocketNotifier::activated, d->notifier.get(),
                         [p] { p->drainAndFlush(); });
    }
}

XcbNativeWindowBackend::~XcbNativeWindowBackend()
{
    d->arrivalHandlers.clear();
    d->dropArrivals(XCB_NONE);
    d->notifier.reset();
    // Disconnecting frees every window of this connection, payloads included: a module that
    // reports and quits would lose its last words. They get a short, bounded time to be read.
    d->drain();
    d->waitOnConnection(Clock::now() + std::chrono::milliseconds(EXIT_GRACE_MS),
                        [this] { return d->pending.empty(); });
    std::free(std::exchange(d->early, nullptr));
    if (d->connection) {
        // What is still in the buffer (the last messages, receipts) goes out, and the server
        // has done all of it before the connection closes: a server that finds the connection
        // closed while it writes to it (an event, an error) drops the requests it has not read.
        // A round trip tells, bounded as the wait above.
        if (d->ok()) {
            const unsigned int done = xcb_get_input_focus(d->connection).sequence;
            xcb_flush(d->connection);
            void *reply = nullptr;
            d->waitOnConnection(Clock::now() + std::chrono::milliseconds(EXIT_GRACE_MS), [&] {
                return xcb_poll_for_reply(d->connection, done, &reply, nullptr) != 0;
            });
            std::free(reply);
        }
        xcb_disconnect(d->connection);
    }
}

bool XcbNativeWindowBackend::isConnected() const
{
    return d->ok();
}

int XcbNativeWindowBackend::pendingCopies() const
{
    return int(d->pending.size());
}

void XcbNativeWindowBackend::processPendingEvents()
{
    d->drain();
    const Private::DrainLater later{ d.get() };
}

WindowHandle XcbNativeWindowBackend::createWindowEx(std::uint32_t exStyle,
                                                    const char16_t *className,
                                                    const char16_t *windowName,
                                                    std::uint32_t style, int x, int y, int width,
                                                    int height, WindowHandle parent,
                                                    WindowHandle menu, void *instance, void *param)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    const bool child = (style & WsChild) != 0;
    if (!d->ok() || !className || (child && !parent) || (parent && !isXid(parent)))
        return 0;
    const xcb_window_t parentWindow = parent ? xcb_window_t(parent) : d->root;
    const xcb_window_t window = xcb_generate_id(d->connection);
    const std::uint32_t mask[] = { XCB_EVENT_MASK_STRUCTURE_NOTIFY };
    if (!d->checked(xcb_create_window_checked(
                d->connection, XCB_COPY_FROM_PARENT, window, parentWindow, clamp16(x), clamp16(y),
                clampSize(width), clampSize(height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, mask)))
        return 0;
    if (windowName && *windowName) {
        const QByteArray title = QString::fromUtf16(windowName).toUtf8();
        xcb_change_property(d->connection, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME,
                            d->atomUtf8, 8, std::uint32_t(title.size()), title.constData());
    }
    Private::WindowRecord record;
    record.style = LongPtr(style);
    record.exStyle = LongPtr(exStyle);
    record.ours = true;
    d->windows[window] = record;
    if (!child && !(style & FRAME_STYLES))
        d->writeFrame(window, 0);
    if (style & WsVisible)
        xcb_map_window(d->connection, window);
    xcb_flush(d->connection);
    return window;
}

WindowHandle XcbNativeWindowBackend::setParent(WindowHandle child, WindowHandle newParent)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(child) || (newParent && (!isXid(newParent) || newParent == child)))
        return 0;
    const auto node = d->tree(xcb_window_t(child));
    if (!node)
        return 0;
    if (newParent && !d->attributes(xcb_window_t(newParent)))
        return 0;
    // Styles are taken before the move: a module's window keeps its top-level style, as
    // SetParent keeps it.
    d->record(xcb_window_t(child), true);
    const xcb_window_t target = newParent ? xcb_window_t(newParent) : d->root;
    // The place inside the parent is kept, as Windows keeps it.
    Reply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(
            d->connection, xcb_get_geometry(d->connection, xcb_window_t(child)), nullptr));
    const std::int16_t x = geometry ? geometry->x : 0;
    const std::int16_t y = geometry ? geometry->y : 0;
    d->taking = true;
    bool moved = false;
    if (newParent) {
        // A top-level window belongs to its window manager until the manager lets go.
        moved = d->takeFromWindowManager(xcb_window_t(child))
                && d->reparentInto(xcb_window_t(child), target, x, y);
        // What the manager did meanwhile waits in the queue for the event loop, which takes
        // back a window the manager grabbed again at once.
    } else {
        moved = d->checked(xcb_reparent_window_checked(d->connection, xcb_window_t(child),
                                                       target, x, y));
        if (moved)
            xcb_change_save_set(d->connection, XCB_SET_MODE_DELETE, xcb_window_t(child));
    }
    d->taking = false;
    if (!moved) {
        xcb_flush(d->connection);
        return 0;
    }
    const auto parentRecord = d->windows.find(xcb_window_t(newParent));
    const bool intoOurs = newParent && parentRecord != d->windows.end() && parentRecord->second.ours;
    if (intoOurs) {
        d->embedded[xcb_window_t(child)] = Private::Embedding{ xcb_window_t(newParent), 0 };
        d->notifyEmbedded(xcb_window_t(child), xcb_window_t(newParent));
    } else {
        d->embedded.erase(xcb_window_t(child));
    }
    xcb_flush(d->connection);
    // Our container hangs below a window of Qt's own connection, and the server may close that
    // connection first when the process dies, taking the container and the module with it. In
    // Qt's save-set too, the container goes to the root first and the module stays inside it
    // until our own connection's save-set frees it, whichever connection closes first.
    const auto mode = newParent ? XCB_SET_MODE_INSERT : XCB_SET_MODE_DELETE;
    auto *qtX11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (xcb_connection_t *qt = qtX11 ? qtX11->connection() : nullptr) {
        const xcb_setup_t *setup = xcb_get_setup(qt);
        // A window of Qt's own cannot be in its save-set (the server answers BadMatch).
        const auto notQts = [setup](xcb_window_t w) {
            return (w & ~setup->resource_id_mask) != setup->resource_id_base;
        };
        if (notQts(xcb_window_t(child)))
            xcb_change_save_set(qt, mode, xcb_window_t(child));
        if (intoOurs && notQts(xcb_window_t(newParent)))
            xcb_change_save_set(qt, XCB_SET_MODE_INSERT, xcb_window_t(newParent));
        xcb_flush(qt);
    }
    return node->parent;
}

LongPtr XcbNativeWindowBackend::getWindowLongPtr(WindowHandle window, int index)
{
    bool alive = false;
    const LongPtr style = d->styleOf(window, index, &alive);
    if (alive && index == GwlStyle) {
        if (Private::WindowRecord *record = d->record(xcb_window_t(window), false))
            record->visibleSeen = (style & WsVisible) ? 1 : 0;
    }
    return style;
}

LongPtr XcbNativeWindowBackend::setWindowLongPtr(WindowHandle window, int index, LongPtr newLong)
{
    bool alive = false;
    const LongPtr previous = d->styleOf(window, index, &alive);
    Private::WindowRecord *record = alive ? d->record(xcb_window_t(window), false) : nullptr;
    if (!record)
        return 0;
    if (index == GwlExStyle) {
        record->exStyle = newLong;
        return previous;
    }
    record->style = newLong;
    const xcb_window_t w = xcb_window_t(window);
    if ((previous ^ newLong) & FRAME_STYLES)
        d->writeFrame(w, newLong);
    // A read-modify-write changes visibility only when the caller changed the bit: a module
    // that maps its window between our read and our write keeps it mapped.
    const bool callerSawVisible = record->visibleSeen >= 0 ? record->visibleSeen == 1
                                                           : bool(previous & WsVisible);
    record->visibleSeen = (newLong & WsVisible) ? 1 : 0;
    if (callerSawVisible != bool(newLong & WsVisible)
        && bool(previous & WsVisible) != bool(newLong & WsVisible)) {
        if (newLong & WsVisible)
            xcb_map_window(d->connection, w);
        else
            xcb_unmap_window(d->connection, w);
    }
    xcb_flush(d->connection);
    return previous;
}

bool XcbNativeWindowBackend::setWindowPos(WindowHandle window, WindowHandle insertAfter, int x,
                                          int y, int cx, int cy, std::uint32_t flags)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(window))
        return false;
    std::uint16_t mask = 0;
    std::uint32_t values[6];
    int n = 0;
    if (!(flags & SwpNoMove)) {
        mask |= XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y;
        values[n++] = std::uint32_t(std::int32_t(clamp16(x)));
        values[n++] = std::uint32_t(std::int32_t(clamp16(y)));
    }
    if (!(flags & SwpNoSize)) {
        mask |= XCB_CONFIG_WINDOW_WIDTH | XCB_CONFIG_WINDOW_HEIGHT;
        values[n++] = clampSize(cx);
        values[n++] = clampSize(cy);
    }
    if (!(flags & SwpNoZOrder)) {
        if (insertAfter == HwndBottom) {
            mask |= XCB_CONFIG_WINDOW_STACK_MODE;
            values[n++] = XCB_STACK_MODE_BELOW;
        } else if (insertAfter == 0 || insertAfter == HwndTopMost
                   || insertAfter == HwndNoTopMost || !isXid(insertAfter)) {
            mask |= XCB_CONFIG_WINDOW_STACK_MODE;
            values[n++] = XCB_STACK_MODE_ABOVE;
        } else {
            // Windows puts the window behind insertAfter.
            mask |= XCB_CONFIG_WINDOW_SIBLING | XCB_CONFIG_WINDOW_STACK_MODE;
            values[n++] = std::uint32_t(insertAfter);
            values[n++] = XCB_STACK_MODE_BELOW;
        }
    }
    const xcb_window_t w = xcb_window_t(window);
    if (!d->checked(xcb_configure_window_checked(d->connection, w, mask, values)))
        return false;
    // Checked, so the server has done it before we return, as Windows has: X orders requests
    // per connection only, and another process may look next.
    if (flags & SwpShowWindow)
        d->checked(xcb_map_window_checked(d->connection, w));
    else if (flags & SwpHideWindow)
        d->checked(xcb_unmap_window_checked(d->connection, w));
    return true;
}

bool XcbNativeWindowBackend::showWindow(WindowHandle window, int command)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(window))
        return false;
    const auto attributes = d->attributes(xcb_window_t(window));
    if (!attributes)
        return false;
    // Checked, for the same reason as in setWindowPos: visible to every process on return.
    if (command == SwHide)
        d->checked(xcb_unmap_window_checked(d->connection, xcb_window_t(window)));
    else
        d->checked(xcb_map_window_checked(d->connection, xcb_window_t(window)));
    return attributes->map_state != XCB_MAP_STATE_UNMAPPED;
}

bool XcbNativeWindowBackend::isWindow(WindowHandle window)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(window))
        return false;
    // Asked of the server every time: the window may have gone by anybody's hand.
    if (d->attributes(xcb_window_t(window)))
        return true;
    d->forget(xcb_window_t(window));
    return false;
}

LResult XcbNativeWindowBackend::sendMessage(WindowHandle window, MessageId message, WParam wParam,
                                            LParam lParam)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(window))
        return 0;
    const xcb_window_t w = xcb_window_t(window);
    bool sent = false;
    if (message == WmCopyData)
        sent = d->copyData(w, wParam, reinterpret_cast<const CopyDataStruct *>(lParam)) != 0;
    else if (message == WmClose)
        sent = d->close(w);
    else
        sent = d->plainMessage(w, message, wParam, lParam);
    xcb_flush(d->connection);
    return sent ? 1 : 0;
}

bool XcbNativeWindowBackend::postMessage(WindowHandle window, MessageId message, WParam wParam,
                                         LParam lParam)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    // As on Windows, data travels only with a sent message: a posted pointer would dangle.
    if (!d->ok() || !isXid(window) || message == WmCopyData)
        return false;
    const xcb_window_t w = xcb_window_t(window);
    const bool sent = message == WmClose ? d->close(w) : d->plainMessage(w, message, wParam, lParam);
    xcb_flush(d->connection);
    return sent;
}

MessageId XcbNativeWindowBackend::registerWindowMessage(const char16_t *name)
{
    if (!d->ok() || !name)
        return 0;
    // A name asked before needs no look at the connection (ids never change while the server
    // runs): receivers ask for their names with every message.
    std::u16string key(name);
    const auto cached = d->registered.find(key);
    if (cached != d->registered.end())
        return cached->second;
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok())
        return 0;
    return d->registerName(key);
}

const Message *XcbNativeWindowBackend::translateNativeEvent(const char *eventType,
                                                            std::size_t eventTypeSize,
                                                            void *message, Message *storage)
{
    if (!eventType || !message || !storage || eventTypeSize != sizeof EVENT_TYPE - 1
        || std::memcmp(eventType, EVENT_TYPE, eventTypeSize) != 0 || !d->ok())
        return nullptr;
    const auto *generic = static_cast<const xcb_generic_event_t *>(message);
    if ((generic->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
        return nullptr;
    const auto *event = static_cast<const xcb_client_message_event_t *>(message);
    if (event->format != 32)
        return nullptr;

    if (event->type == d->atomCopyData) {
        const Private::DrainLater later{ d.get() };
        return d->receiveCopyData(event, storage);
    }
    if (event->type == d->atomPiece) {
        Private::Assembly whole;
        return d->takePiece(event, &whole) ? d->handOver(whole, storage) : nullptr;
    }
    return d->translatePlain(event, storage);
}

bool XcbNativeWindowBackend::setArrivalHandler(WindowHandle window, ArrivalHandler handler)
{
    // Delivery runs from a Qt event loop; without one, translateNativeEvent stays the way.
    if (!d->ok() || !d->notifier || !isXid(window))
        return false;
    const xcb_window_t w = xcb_window_t(window);
    if (handler) {
        d->arrivalHandlers[w] = std::move(handler);
        return true;
    }
    d->arrivalHandlers.erase(w);
    d->dropArrivals(w);
    return true;
}

bool XcbNativeWindowBackend::queueNativeEvent(const char *eventType, std::size_t eventTypeSize,
                                              void *message)
{
    if (!eventType || !message || eventTypeSize != sizeof EVENT_TYPE - 1
        || std::memcmp(eventType, EVENT_TYPE, eventTypeSize) != 0 || !d->ok()
        || d->arrivalHandlers.empty())
        return false;
    const auto *generic = static_cast<const xcb_generic_event_t *>(message);
    if ((generic->response_type & 0x7f) != XCB_CLIENT_MESSAGE)
        return false;
    const auto *event = static_cast<const xcb_client_message_event_t *>(message);
    if (event->format != 32 || !d->isMessageEvent(event) || !d->arrivalHandlers.count(event->window))
        return false;
    Private::Arrival arrival;
    arrival.event = *event;
    if (event->type == d->atomPiece) {
        // Queued once whole; its pieces are this backend's business.
        Private::Assembly whole;
        if (!d->takePiece(event, &whole))
            return true;
        arrival.whole = std::make_unique<Private::Assembly>(std::move(whole));
    }
    // A sender beyond every limit: the oldest goes first, here, rather than memory growing
    // without end.
    while (d->arrivals.size() >= d->queueLimit)
        d->deliverOne(true);
    d->arrivals.push_back(std::move(arrival));
    d->scheduleDelivery();
    return true;
}

int XcbNativeWindowBackend::queuedMessages() const
{
    return int(d->arrivals.size());
}

void XcbNativeWindowBackend::setInlineLimit(std::uint32_t bytes)
{
    d->inlineLimit = std::min(bytes, INLINE_COPY);
}

void XcbNativeWindowBackend::setQueueLimit(int messages)
{
    d->queueLimit = std::size_t(std::clamp(messages, 1, int(MAX_QUEUED_MESSAGES)));
}

bool XcbNativeWindowBackend::isBackendTransport(const char *eventType, std::size_t eventTypeSize,
                                                void *message)
{
    if (!eventType || !message || eventTypeSize != sizeof EVENT_TYPE - 1
        || std::memcmp(eventType, EVENT_TYPE, eventTypeSize) != 0 || !d->ok())
        return false;
    const auto *event = static_cast<const xcb_client_message_event_t *>(message);
    return (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && event->format == 32
            && (event->type == d->atomMessage || event->type == d->atomCopyData
                || event->type == d->atomPiece);
}

bool XcbNativeWindowBackend::isKeyForEmbedded(const char *eventType, std::size_t eventTypeSize,
                                              const void *message) const
{
    if (!eventType || !message || eventTypeSize != sizeof EVENT_TYPE - 1
        || std::memcmp(eventType, EVENT_TYPE, eventTypeSize) != 0)
        return false;
    const auto *event = static_cast<const xcb_generic_event_t *>(message);
    const std::uint8_t type = event->response_type & 0x7f;
    // A key sent on purpose is somebody's own business, as handOnHeldKey has it.
    if ((type != XCB_KEY_PRESS && type != XCB_KEY_RELEASE) || (event->response_type & 0x80))
        return false;
    const auto *key = static_cast<const xcb_key_press_event_t *>(message);
    return d->focusHolder != XCB_NONE && d->focusedEmbedded != XCB_NONE && key->event == d->focusHolder;
}

bool XcbNativeWindowBackend::watchEmbedding(WindowHandle container, EmbeddingLostHandler lost)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(container) || !d->attributes(xcb_window_t(container)))
        return false;
    if (lost)
        d->lostWatchers[xcb_window_t(container)] = std::move(lost);
    else
        d->lostWatchers.erase(xcb_window_t(container));
    return true;
}

bool XcbNativeWindowBackend::watchEmbeddedFocus(WindowHandle container,
                                                EmbeddedFocusHandler handler)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(container) || !d->attributes(xcb_window_t(container)))
        return false;
    const xcb_window_t w = xcb_window_t(container);
    const bool watched = d->focusWatchers.count(w) != 0;
    if (!handler) {
        if (watched) {
            d->focusWatchers.erase(w);
            d->grabClicks(w, false);
            d->grabHandOnKeys(w, false);
            xcb_flush(d->connection);
        }
        return true;
    }
    d->focusWatchers[w] = std::move(handler);
    if (!watched) {
        d->grabClicks(w, true);
        d->grabHandOnKeys(w, true);
        xcb_flush(d->connection);
    }
    return true;
}

bool XcbNativeWindowBackend::focusEmbeddedWindow(WindowHandle window, EmbeddedFocus detail)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(window))
        return false;
    const xcb_window_t w = xcb_window_t(window);
    const std::uint32_t xembedDetail = detail == EmbeddedFocus::First ? XEMBED_FOCUS_FIRST
            : detail == EmbeddedFocus::Last                           ? XEMBED_FOCUS_LAST
                                                                      : XEMBED_FOCUS_CURRENT;
    // XEmbed first, so a toolkit that speaks it picks the first or last control before the
    // keyboard arrives; any client then gets the keyboard itself.
    d->sendXEmbed(w, XEMBED_WINDOW_ACTIVATE, 0);
    d->sendXEmbed(w, XEMBED_FOCUS_IN, xembedDetail);
    if (!d->checked(xcb_set_input_focus_checked(d->connection, XCB_INPUT_FOCUS_PARENT, w,
                                                XCB_CURRENT_TIME)))
        return false;
    d->focusedEmbedded = w;
    const xcb_window_t holder = d->holderOf(w);
    if (holder != XCB_NONE && holder != d->focusHolder)
        d->selectEvents(holder, XCB_EVENT_MASK_FOCUS_CHANGE | XCB_EVENT_MASK_STRUCTURE_NOTIFY
                                        | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE);
    d->focusHolder = holder;
    xcb_flush(d->connection);
    return true;
}

bool XcbNativeWindowBackend::focusEmbedder(WindowHandle topLevel)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(topLevel))
        return false;
    const xcb_window_t top = xcb_window_t(topLevel);
    if (d->focusedEmbedded != XCB_NONE) {
        if (d->attributes(d->focusedEmbedded)) {
            d->sendXEmbed(d->focusedEmbedded, XEMBED_FOCUS_OUT, 0);
            d->sendXEmbed(d->focusedEmbedded, XEMBED_WINDOW_DEACTIVATE, 0);
        }
        d->focusedEmbedded = XCB_NONE;
    }
    // Only the keyboard that is inside the dashboard's window comes back: another program's
    // is left alone.
    bool moved = false;
    if (d->focusInsideOrFree(top))
        moved = d->checked(xcb_set_input_focus_checked(d->connection, XCB_INPUT_FOCUS_PARENT, top,
                                                       XCB_CURRENT_TIME));
    xcb_flush(d->connection);
    return moved;
}

bool XcbNativeWindowBackend::windowImage(WindowHandle window, WindowImage *image)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    if (!d->ok() || !isXid(window) || !image)
        return false;
    const xcb_setup_t *setup = xcb_get_setup(d->connection);
    if (setup->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        return false; // the pixels below are read as this machine's 32-bit words
    const Reply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(d->connection, xcb_get_geometry(d->connection, xcb_window_t(window)), nullptr));
    // A picture as large as a screen is what the dashboard's module area can be; more is not a
    // window of ours.
    constexpr int MAX_SIDE = 16384;
    if (!geometry || (geometry->depth != 24 && geometry->depth != 32) || geometry->width == 0
        || geometry->height == 0 || geometry->width > MAX_SIDE || geometry->height > MAX_SIDE)
        return false;
    const int width = geometry->width;
    const int height = geometry->height;
    // Fails (BadMatch) for a window that is not viewable: the caller reads the screen.
    const Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
            d->connection,
            xcb_get_image(d->connection, XCB_IMAGE_FORMAT_Z_PIXMAP, xcb_window_t(window), 0, 0,
                          std::uint16_t(width), std::uint16_t(height), ~0u),
            nullptr));
    const std::size_t count = std::size_t(width) * std::size_t(height);
    if (!reply || std::size_t(xcb_get_image_data_length(reply.get())) != count * 4)
        return false; // a pixel format other than 32 bits a pixel
    const std::uint8_t *data = xcb_get_image_data(reply.get());
    image->width = width;
    image->height = height;
    image->pixels.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t pixel;
        std::memcpy(&pixel, data + i * 4, 4);
        image->pixels[i] = 0xff000000u | (pixel & 0x00ffffffu);
    }
    return true;
}

bool XcbNativeWindowBackend::redrawWhenSettled(WindowHandle window)
{
    d->drain();
    const Private::DrainLater later{ d.get() };
    // The wait is the event loop's: without one nothing would come of it.
    if (!d->ok() || !isXid(window) || !d->notifier)
        return false;
    // A window already watched (a resize after another) only waits again: no round trip.
    const auto it = d->settling.find(xcb_window_t(window));
    if (it != d->settling.end()) {
        d->waitAgain(it->second);
        return true;
    }
    return d->compositing() && d->damageUsable() && d->watchUntilSettled(xcb_window_t(window));
}

void XcbNativeWindowBackend::setCopyDataTimeout(int milliseconds)
{
    d->copyTimeoutMs = std::max(milliseconds, 0);
}

void XcbNativeWindowBackend::setSettleInterval(int milliseconds)
{
    d->settleMs = std::max(milliseconds, 0);
}

std::unique_ptr<NativeWindowBackend> createXcbNativeWindowBackend(const char *displayName)
{
    return std::make_unique<XcbNativeWindowBackend>(displayName);
}

} // namespace KorvexNative
