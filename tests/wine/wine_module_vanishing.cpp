// Stands in for a module that dies while the dashboard handles its message: it sends the
// "supplyModuleReady" block with SendMessageW and, when the dashboard sets the event named on
// the command line ("--dashboard <id> --event <name>"), ends itself from a second thread while
// the first still waits in the send.

#include "platforms/win32/native_window_backend_win32.h"
#include "wine_protocol.h"

#include <shellapi.h>

using namespace winetest;

namespace {

DWORD WINAPI endWhenTold(void *event)
{
    WaitForSingleObject(static_cast<HANDLE>(event), INFINITE);
    TerminateProcess(GetCurrentProcess(), 0);
    return 0;
}

} // namespace

int main()
{
    int argc = 0;
    wchar_t **argv = CommandLineToArgvW(GetCommandLineW(), &argc);
    WindowHandle dashboard = 0;
    HANDLE event = nullptr;
    if (argc >= 5 && std::wcscmp(argv[1], L"--dashboard") == 0
        && std::wcscmp(argv[3], L"--event") == 0) {
        dashboard = windowArgument(argc, argv, 2);
        event = OpenEventW(SYNCHRONIZE, FALSE, argv[4]);
    }
    LocalFree(argv);
    if (!dashboard || !event)
        return ExitBadArguments;

    const HWND window = CreateWindowExW(0, L"STATIC", L"vanishing", WS_POPUP, 0, 0, 10, 10,
                                        nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    if (!window)
        return ExitNoWindow;
    if (!CreateThread(nullptr, 0, endWhenTold, event, 0, nullptr))
        return ExitNoWindow;

    auto backend = createWin32NativeWindowBackend();
    auto block = goldenBlocks()[4];
    CopyDataStruct copyData{ VanishDwData, std::uint32_t(block.size()), block.data() };
    backend->sendMessage(dashboard, WmCopyData, WindowHandle(window),
                         reinterpret_cast<LParam>(&copyData));
    // Reached only when the dashboard answered before the event: the dashboard sees exit code 1.
    return 1;
}
