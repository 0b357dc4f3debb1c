#pragma once

// The real Win32 calls behind the native-window interface. No Qt header here or in the source:
// the pair builds and runs on its own with a Windows compiler.

#include "platforms/native_window_backend.h"

#include <memory>

namespace KorvexNative {

class Win32NativeWindowBackend final : public NativeWindowBackend
{
public:
    const char *name() const override { return "win32"; }

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
};

std::unique_ptr<NativeWindowBackend> createWin32NativeWindowBackend();

} // namespace KorvexNative
