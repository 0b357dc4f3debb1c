// Compiled on Windows only, without Qt.

#include "platforms/win32/native_window_backend_win32.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <cstring>

namespace KorvexNative {

// The portable records are handed to Windows as they are, so their layout must be the real one.
static_assert(sizeof(CopyDataStruct) == sizeof(COPYDATASTRUCT), "COPYDATASTRUCT layout");
static_assert(offsetof(CopyDataStruct, dwData) == offsetof(COPYDATASTRUCT, dwData), "dwData");
static_assert(offsetof(CopyDataStruct, cbData) == offsetof(COPYDATASTRUCT, cbData), "cbData");
static_assert(offsetof(CopyDataStruct, lpData) == offsetof(COPYDATASTRUCT, lpData), "lpData");
static_assert(sizeof(Message) == sizeof(MSG), "MSG layout");
static_assert(offsetof(Message, hwnd) == offsetof(MSG, hwnd), "hwnd");
static_assert(offsetof(Message, message) == offsetof(MSG, message), "message");
static_assert(offsetof(Message, wParam) == offsetof(MSG, wParam), "wParam");
static_assert(offsetof(Message, lParam) == offsetof(MSG, lParam), "lParam");
static_assert(offsetof(Message, time) == offsetof(MSG, time), "time");
static_assert(offsetof(Message, pt) == offsetof(MSG, pt), "pt");
static_assert(sizeof(WindowHandle) == sizeof(HWND), "HWND size");
static_assert(sizeof(wchar_t) == sizeof(char16_t), "UTF-16 wchar_t");

static_assert(WmClose == WM_CLOSE && WmCopyData == WM_COPYDATA, "message ids");
static_assert(GwlStyle == GWL_STYLE && GwlExStyle == GWL_EXSTYLE, "GWL indexes");
static_assert(WsChild == WS_CHILD && WsVisible == WS_VISIBLE
                      && WsClipChildren == WS_CLIPCHILDREN && WsCaption == WS_CAPTION
                      && WsSysMenu == WS_SYSMENU && WsThickFrame == WS_THICKFRAME
                      && WsMinimizeBox == WS_MINIMIZEBOX && WsMaximizeBox == WS_MAXIMIZEBOX
                      && WsExComposited == WS_EX_COMPOSITED,
              "window styles");
static_assert(SwpNoZOrder == SWP_NOZORDER && SwpNoActivate == SWP_NOACTIVATE
                      && SwpShowWindow == SWP_SHOWWINDOW,
              "SetWindowPos flags");
static_assert(SwHide == SW_HIDE && SwShowNormal == SW_SHOWNORMAL, "ShowWindow commands");

static HWND toHwnd(WindowHandle handle)
{
    return reinterpret_cast<HWND>(handle);
}

static WindowHandle fromHwnd(HWND hwnd)
{
    return reinterpret_cast<WindowHandle>(hwnd);
}

static const wchar_t *wide(const char16_t *text)
{
    return reinterpret_cast<const wchar_t *>(text);
}

WindowHandle Win32NativeWindowBackend::createWindowEx(std::uint32_t exStyle,
                                                      const char16_t *className,
                                                      const char16_t *windowName,
                                                      std::uint32_t style, int x, int y, int width,
                                                      int height, WindowHandle parent,
                                                      WindowHandle menu, void *instance,
                                                      void *param)
{
    return fromHwnd(::CreateWindowExW(exStyle, wide(className), wide(windowName), style, x, y,
                                      width, height, toHwnd(parent),
                                      reinterpret_cast<HMENU>(menu),
                                      static_cast<HINSTANCE>(instance), param));
}

WindowHandle Win32NativeWindowBackend::setParent(WindowHandle child, WindowHandle newParent)
{
    return fromHwnd(::SetParent(toHwnd(child), toHwnd(newParent)));
}

LongPtr Win32NativeWindowBackend::getWindowLongPtr(WindowHandle window, int index)
{
    return ::GetWindowLongPtrW(toHwnd(window), index);
}

LongPtr Win32NativeWindowBackend::setWindowLongPtr(WindowHandle window, int index, LongPtr newLong)
{
    return ::SetWindowLongPtrW(toHwnd(window), index, newLong);
}

bool Win32NativeWindowBackend::setWindowPos(WindowHandle window, WindowHandle insertAfter, int x,
                                            int y, int cx, int cy, std::uint32_t flags)
{
    return ::SetWindowPos(toHwnd(window), toHwnd(insertAfter), x, y, cx, cy, flags) != FALSE;
}

bool Win32NativeWindowBackend::showWindow(WindowHandle window, int command)
{
    return ::ShowWindow(toHwnd(window), command) != FALSE;
}

bool Win32NativeWindowBackend::isWindow(WindowHandle window)
{
    return ::IsWindow(toHwnd(window)) != FALSE;
}

// Handles come from other processes. Windows sends HWND_BROADCAST (0xFFFF) to every top-level
// window, WM_CLOSE included, and posts a null handle's message to the calling thread: a handle
// that names no window must reach none.
LResult Win32NativeWindowBackend::sendMessage(WindowHandle window, MessageId message,
                                              WParam wParam, LParam lParam)
{
    if (!::IsWindow(toHwnd(window)))
        return 0;
    return ::SendMessageW(toHwnd(window), message, wParam, lParam);
}

bool Win32NativeWindowBackend::postMessage(WindowHandle window, MessageId message, WParam wParam,
                                           LParam lParam)
{
    if (!::IsWindow(toHwnd(window)))
        return false;
    return ::PostMessageW(toHwnd(window), message, wParam, lParam) != FALSE;
}

MessageId Win32NativeWindowBackend::registerWindowMessage(const char16_t *name)
{
    return ::RegisterWindowMessageW(wide(name));
}

const Message *Win32NativeWindowBackend::translateNativeEvent(const char *eventType,
                                                              std::size_t eventTypeSize,
                                                              void *message, Message *storage)
{
    (void)storage;
    static const char generic[] = "windows_generic_MSG";
    static const char dispatcher[] = "windows_dispatcher_MSG";
    if (!eventType || !message)
        return nullptr;
    const auto is = [&](const char *name, std::size_t size) {
        return eventTypeSize == size && std::memcmp(eventType, name, size) == 0;
    };
    if (!is(generic, sizeof generic - 1) && !is(dispatcher, sizeof dispatcher - 1))
        return nullptr;
    // The layouts are asserted equal above: the MSG itself is the Windows-shaped message.
    return static_cast<const Message *>(message);
}

std::unique_ptr<NativeWindowBackend> createWin32NativeWindowBackend()
{
    return std::make_unique<Win32NativeWindowBackend>();
}

} // namespace KorvexNative
