#pragma once

// The narrow interface through which the dashboard talks to the native window system. It is
// shaped after the Win32 user-interface calls the dashboard makes, with their handles, ids,
// flags and message parameters, so the portable code reads like the Windows code it mirrors.
// This header includes no Qt header: the Windows backend is compiled without Qt.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace KorvexNative {

// HWND, UINT, WPARAM, LPARAM, LRESULT, LONG_PTR, ULONG_PTR and DWORD as numbers.
using WindowHandle = std::uintptr_t;
using MessageId = std::uint32_t;
using WParam = std::uintptr_t;
using LParam = std::intptr_t;
using LResult = std::intptr_t;
using LongPtr = std::intptr_t;

// Same layout as COPYDATASTRUCT (ULONG_PTR, DWORD, PVOID).
struct CopyDataStruct
{
    std::uintptr_t dwData;
    std::uint32_t cbData;
    void *lpData;
};

struct Point
{
    std::int32_t x;
    std::int32_t y;
};

// Same layout as MSG, so that on Windows the platform's MSG is handed on as it is.
struct Message
{
    WindowHandle hwnd;
    MessageId message;
    WParam wParam;
    LParam lParam;
    std::uint32_t time;
    Point pt;
    std::uint32_t lPrivate;
};

// The Win32 constants the dashboard uses, with their Windows values. The names are the Win32
// ones in camel case: <windows.h> defines the originals as macros.
inline constexpr MessageId WmClose = 0x0010;
inline constexpr MessageId WmCopyData = 0x004A;

inline constexpr int GwlStyle = -16;
inline constexpr int GwlExStyle = -20;

inline constexpr std::uint32_t WsChild = 0x40000000;
inline constexpr std::uint32_t WsVisible = 0x10000000;
inline constexpr std::uint32_t WsClipChildren = 0x02000000;
inline constexpr std::uint32_t WsCaption = 0x00C00000;
inline constexpr std::uint32_t WsSysMenu = 0x00080000;
inline constexpr std::uint32_t WsThickFrame = 0x00040000;
inline constexpr std::uint32_t WsMinimizeBox = 0x00020000;
inline constexpr std::uint32_t WsMaximizeBox = 0x00010000;
inline constexpr std::uint32_t WsExComposited = 0x02000000;

inline constexpr std::uint32_t SwpNoZOrder = 0x0004;
inline constexpr std::uint32_t SwpNoActivate = 0x0010;
inline constexpr std::uint32_t SwpShowWindow = 0x0040;

inline constexpr int SwHide = 0;
inline constexpr int SwShowNormal = 1;

// Which control of an embedded window takes the keyboard when it is given focus: the one that
// had it, or the first or last of its focus chain (entering it with Tab or Shift+Tab).
enum class EmbeddedFocus { Current, First, Last };
// What the user did to the keyboard inside an embedded window: clicked into it, or it asked for
// the keyboard (a click its toolkit reported), or handed the keyboard on to the embedder's next
// or previous control.
enum class EmbeddedFocusEvent { Clicked, Requested, Next, Previous };
using EmbeddedFocusHandler = std::function<void(EmbeddedFocusEvent)>;

// One backend per window system. Every call behaves like the Win32 call of the same name:
// failures are reported the way Windows reports them (a null handle, 0, false) and never
// throw or crash, whatever handle a caller passes. sendMessage and postMessage deliver only to
// a window: a handle that names none (null, HWND_BROADCAST, a dead one) gets 0 or false.
class NativeWindowBackend
{
public:
    virtual ~NativeWindowBackend() = default;

    // Name of the backend ("win32", "memory", ...), for logs and tests.
    virtual const char *name() const = 0;

    virtual WindowHandle createWindowEx(std::uint32_t exStyle, const char16_t *className,
                                        const char16_t *windowName, std::uint32_t style, int x,
                                        int y, int width, int height, WindowHandle parent,
                                        WindowHandle menu, void *instance, void *param) = 0;
    virtual WindowHandle setParent(WindowHandle child, WindowHandle newParent) = 0;
    virtual LongPtr getWindowLongPtr(WindowHandle window, int index) = 0;
    virtual LongPtr setWindowLongPtr(WindowHandle window, int index, LongPtr newLong) = 0;
    virtual bool setWindowPos(WindowHandle window, WindowHandle insertAfter, int x, int y, int cx,
                              int cy, std::uint32_t flags) = 0;
    virtual bool showWindow(WindowHandle window, int command) = 0;
    virtual bool isWindow(WindowHandle window) = 0;

    virtual LResult sendMessage(WindowHandle window, MessageId message, WParam wParam,
                                LParam lParam) = 0;
    virtual bool postMessage(WindowHandle window, MessageId message, WParam wParam,
                             LParam lParam) = 0;
    // name is a NUL-terminated UTF-16 string. Returns 0 on failure.
    virtual MessageId registerWindowMessage(const char16_t *name) = 0;

    // Turns a native event as the window system delivered it (the eventType and message of
    // QWindow::nativeEvent) into the Windows-shaped message, or returns null when the event is
    // not a window message of this backend. storage may receive a converted copy; the result
    // points into it or into message and lives as long as both.
    virtual const Message *translateNativeEvent(const char *eventType, std::size_t eventTypeSize,
                                                void *message, Message *storage) = 0;

    // True when the event is only this backend's transport, meaning nothing else in the process
    // has a use for it: the window it arrived at may report it handled once it was translated.
    // Qt's xcb plugin warns about every client message nobody handled. WM_CLOSE and real
    // window-system messages are never the backend's own. Added after the calls above; the
    // default (false) suits backends whose messages are the system's own (Win32).
    virtual bool isBackendTransport(const char *eventType, std::size_t eventTypeSize,
                                    void *message)
    {
        (void)eventType;
        (void)eventTypeSize;
        (void)message;
        return false;
    }

    // Keyboard focus of windows embedded from other processes, added after the calls above.
    // Windows moves the keyboard into and out of such windows by itself, so the defaults do
    // nothing and report false. Where the window system leaves it to the embedder (X11):
    //  - watchEmbeddedFocus calls handler from the event loop, never inside a call of this
    //    interface, when the user clicks into a window inside container, when that window asks
    //    for the keyboard, or when the user hands the keyboard on from inside it with
    //    Ctrl+Tab or Ctrl+Shift+Tab; an empty handler stops watching;
    //  - focusEmbeddedWindow gives the keyboard to an embedded window, whatever the pointer does;
    //  - focusEmbedder gives it back to the embedder's top-level window.
    virtual bool watchEmbeddedFocus(WindowHandle container, EmbeddedFocusHandler handler)
    {
        (void)container;
        (void)handler;
        return false;
    }
    virtual bool focusEmbeddedWindow(WindowHandle window, EmbeddedFocus detail)
    {
        (void)window;
        (void)detail;
        return false;
    }
    virtual bool focusEmbedder(WindowHandle topLevel)
    {
        (void)topLevel;
        return false;
    }

    // The picture a window shows now, read from the window itself, added after the calls
    // above: rows top to bottom of 0xffRRGGBB. Where the screen's own picture is all there is
    // (Windows draws a window's picture on the screen) the default reports false and the
    // caller reads the screen; under XWayland the screen reads back black, the window does not.
    struct WindowImage
    {
        int width = 0;
        int height = 0;
        std::vector<std::uint32_t> pixels;
    };
    virtual bool windowImage(WindowHandle window, WindowImage *image)
    {
        (void)window;
        (void)image;
        return false;
    }

    // True for a key event that reached the embedder's top-level window while an embedded
    // window has the keyboard, added after the calls above. Such a key is handed on to the
    // embedded window (X11 under a manager that keeps the focus on the top-level, as
    // weston's does), so the embedder must not act on it too. The default (false) suits
    // systems that deliver keys to the focused window only.
    virtual bool isKeyForEmbedded(const char *eventType, std::size_t eventTypeSize,
                                  const void *message) const
    {
        (void)eventType;
        (void)eventTypeSize;
        (void)message;
        return false;
    }

    // Window messages handed over from the event loop a bounded amount of work at a time,
    // added after the calls above. Where each message may cost the receiver a read from the
    // window system (an X11 payload lives in another program's window), translating every event
    // as it arrives lets a sender that floods a window hold its event loop for as long as it
    // keeps sending. Instead, once setArrivalHandler gave a window a handler, queueNativeEvent
    // takes that window's events cheaply and the backend hands the messages to the handler from
    // the event loop, in the order they arrived, yielding to the loop between portions. A
    // message's CopyDataStruct and bytes are valid while the handler runs. An empty handler
    // stops this and drops what is still queued for the window. queueNativeEvent returns true
    // when it took the event (it will be delivered, or dropped if it proves malformed); false
    // means translateNativeEvent is the way, as it is wherever the defaults (false) stand:
    // Windows hands its messages over one at a time by itself.
    using ArrivalHandler = std::function<void(const Message &)>;
    virtual bool setArrivalHandler(WindowHandle window, ArrivalHandler handler)
    {
        (void)window;
        (void)handler;
        return false;
    }
    virtual bool queueNativeEvent(const char *eventType, std::size_t eventTypeSize, void *message)
    {
        (void)eventType;
        (void)eventTypeSize;
        (void)message;
        return false;
    }

    // The window embedded in a container left it for good, added after the calls above. Where
    // a window manager may take a window back from its embedder (X11), the backend takes it
    // back a few times; once it gives up, watchEmbedding calls lost from the event loop, never
    // inside a call of this interface. An empty handler stops watching. The default (false)
    // suits systems where nothing takes a child window away.
    using EmbeddingLostHandler = std::function<void()>;
    virtual bool watchEmbedding(WindowHandle container, EmbeddingLostHandler lost)
    {
        (void)container;
        (void)lost;
        return false;
    }

    // Asks a window to draw all of itself once more when it has stopped drawing for a moment,
    // added after the calls above; true when that will happen, from the event loop. A
    // compositing window manager may keep an older picture of an embedded window than the one
    // it drew last (mutter, when it copies window pictures in software, clears damage it never
    // read), and nothing the window draws afterwards in the same place makes it look again.
    // Drawn again once all is still, the picture is whole. The default (false) suits systems
    // that compose child windows themselves; X11 without a compositing manager has nothing to
    // lose either.
    virtual bool redrawWhenSettled(WindowHandle window)
    {
        (void)window;
        return false;
    }
};

} // namespace KorvexNative
