// Stands in for a module: a framed top-level window that registers with the dashboard given on
// its command line ("--dashboard <id>"), answers WM_COPYDATA with the hash of the bytes it got,
// echoes registered messages posted to it and leaves when WM_CLOSE destroys its window.

#include "platforms/win32/native_window_backend_win32.h"
#include "wine_protocol.h"

#include <shellapi.h>

using namespace winetest;

namespace {

struct Module
{
    std::unique_ptr<NativeWindowBackend> backend;
    WindowHandle dashboard = 0;
    MessageId echo = 0;
    bool closeReceived = false;
};

LRESULT CALLBACK moduleProc(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto *module = reinterpret_cast<Module *>(GetWindowLongPtrW(hwnd, GWLP_USERDATA));
    switch (message) {
    case WM_CLOSE:
        if (module)
            module->closeReceived = true;
        DestroyWindow(hwnd);
        return ClosedAnswer;
    case WM_DESTROY:
        PostQuitMessage(module && module->closeReceived ? ExitClosed : ExitNotClosed);
        return 0;
    case WM_COPYDATA:
        return copyDataAnswer(reinterpret_cast<const CopyDataStruct *>(lParam));
    case WM_PAINT: {
        PAINTSTRUCT paint;
        HDC dc = BeginPaint(hwnd, &paint);
        RECT client;
        GetClientRect(hwnd, &client);
        SetBkMode(dc, TRANSPARENT);
        SetTextColor(dc, RGB(255, 255, 255));
        wchar_t text[96];
        std::swprintf(text, std::size(text), L"Module window of process %lu",
                      static_cast<unsigned long>(GetCurrentProcessId()));
        DrawTextW(dc, text, -1, &client, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
        EndPaint(hwnd, &paint);
        return 0;
    }
    default:
        break;
    }
    if (module && message >= 0xC000 && message <= 0xFFFF && message != module->echo)
        module->backend->postMessage(module->dashboard, module->echo, message, LParam(wParam));
    return DefWindowProcW(hwnd, message, wParam, lParam);
}

} // namespace

int main()
{
    int argc = 0;
    wchar_t **argv = CommandLineToArgvW(GetCommandLineW(), &argc);
    Module module;
    module.backend = createWin32NativeWindowBackend();
    module.dashboard = (argc >= 3 && std::wcscmp(argv[1], L"--dashboard") == 0)
            ? windowArgument(argc, argv, 2)
            : 0;
    LocalFree(argv);
    if (!module.dashboard)
        return ExitBadArguments;
    module.echo = module.backend->registerWindowMessage(EchoMessage);

    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = moduleProc;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.hbrBackground = CreateSolidBrush(RGB(0x1f, 0x6f, 0x3a));
    windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
    windowClass.lpszClassName = L"KorvexWineModule";
    RegisterClassW(&windowClass);
    // A module's usual top-level window: caption, system menu, sizing frame, both boxes.
    const HWND window = CreateWindowExW(0, windowClass.lpszClassName, L"Module",
                                        WS_OVERLAPPEDWINDOW | WS_VISIBLE, 900, 80, 320, 240,
                                        nullptr, nullptr, windowClass.hInstance, nullptr);
    if (!window)
        return ExitNoWindow;
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&module));

    // Registers as modules do; lParam carries this process's id for the name, for the check.
    const MessageId registerId = module.backend->registerWindowMessage(RegisterQvipc);
    module.backend->postMessage(module.dashboard, registerId, WindowHandle(window),
                                LParam(registerId));

    MSG msg;
    int exitCode = ExitNotClosed;
    for (;;) {
        const BOOL got = GetMessageW(&msg, nullptr, 0, 0);
        if (got == 0) {
            exitCode = int(msg.wParam);
            break;
        }
        if (got < 0)
            break;
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
    return exitCode;
}
