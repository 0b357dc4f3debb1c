#pragma once

// What the dashboard stand-in (tst_win32_backend) and the module stand-ins agree on: the names,
// dwData values and answers of the scenarios, and small helpers. Windows only, no Qt.

#include "golden_vectors_hex.h"
#include "platforms/native_window_backend.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cwchar>
#include <iterator>
#include <vector>

namespace winetest {

using namespace KorvexNative;

// The protocol's registered names, spelled as the modules spell them.
inline constexpr char16_t RegisterQvipc[] = u"registerQVIPC";
inline constexpr char16_t StatusChanged[] = u"StatusChanged";
// Not part of the protocol: a module stand-in answers every registered message posted to it
// with this one, wParam the id it got and lParam the wParam it got.
inline constexpr char16_t EchoMessage[] = u"korvexWineEcho";

// dwData of the blocks sent from one process to the other. The high bits fill the whole of
// ULONG_PTR, so a narrowing on the way would show.
inline constexpr std::uintptr_t GoldenDwData = 0x1122334455660000; // + index of the block
inline constexpr std::uintptr_t ZeroWParamDwData = 0x11223344556600f0;
inline constexpr std::uintptr_t BigDwData = 0x11223344556600f1;
inline constexpr std::uintptr_t EmptyDwData = 0x11223344556600f2; // cbData 0, lpData set
inline constexpr std::uintptr_t NullDataDwData = 0x11223344556600f3; // lpData null, cbData 16
inline constexpr std::uintptr_t NullEmptyDwData = 0x11223344556600f4; // lpData null, cbData 0
inline constexpr std::uintptr_t VanishDwData = 0x11223344556600f5; // sender dies meanwhile

inline constexpr std::uint32_t BigPayloadSize = 1u << 20;
inline constexpr std::uint32_t NullDataClaimedSize = 16;

// What a module stand-in answers to WM_CLOSE, so the sender knows the message arrived.
inline constexpr LRESULT ClosedAnswer = 0x600D;

// Exit codes of the module stand-ins.
inline constexpr int ExitClosed = 0; // left after WM_CLOSE
inline constexpr int ExitNotClosed = 2; // window gone without WM_CLOSE
inline constexpr int ExitBadArguments = 3;
inline constexpr int ExitNoWindow = 4;

// 64-bit FNV-1a: the receiver answers WM_COPYDATA with the hash of the bytes it got.
inline std::uint64_t fnv1a(const void *data, std::size_t size)
{
    std::uint64_t hash = 0xcbf29ce484222325ull;
    const auto *bytes = static_cast<const unsigned char *>(data);
    for (std::size_t i = 0; i < size; ++i) {
        hash ^= bytes[i];
        hash *= 0x100000001b3ull;
    }
    return hash;
}

// The answer to a WM_COPYDATA: the hash of the bytes, or -1 when there were no bytes to read.
inline LRESULT copyDataAnswer(const CopyDataStruct *copyData)
{
    if (!copyData || (!copyData->lpData && copyData->cbData != 0))
        return -1;
    return LRESULT(fnv1a(copyData->lpData, copyData->cbData));
}

inline std::vector<unsigned char> hexBytes(const char *hex)
{
    std::vector<unsigned char> bytes;
    int high = -1;
    for (const char *p = hex; *p; ++p) {
        int value;
        if (*p >= '0' && *p <= '9')
            value = *p - '0';
        else if (*p >= 'a' && *p <= 'f')
            value = *p - 'a' + 10;
        else if (*p >= 'A' && *p <= 'F')
            value = *p - 'A' + 10;
        else
            continue;
        if (high < 0) {
            high = value;
        } else {
            bytes.push_back(static_cast<unsigned char>(high << 4 | value));
            high = -1;
        }
    }
    return bytes;
}

inline std::vector<std::vector<unsigned char>> goldenBlocks()
{
    std::vector<std::vector<unsigned char>> blocks;
    for (const golden::HexVector &v : golden::hexVectors)
        blocks.push_back(hexBytes(v.hex));
    return blocks;
}

inline constexpr std::size_t GoldenCount = std::size(golden::hexVectors);

// 1 MiB that no shifted or truncated copy matches: every 4 bytes hold their own offset.
inline std::vector<unsigned char> bigPayload()
{
    std::vector<unsigned char> bytes(BigPayloadSize);
    for (std::uint32_t i = 0; i < BigPayloadSize; ++i)
        bytes[i] = static_cast<unsigned char>((i >> ((i % 4) * 8)) ^ 0x5a);
    return bytes;
}

// One line to stdout in a single write, so lines of several processes never interleave.
inline void say(const char *format, ...)
{
    char line[1024];
    va_list args;
    va_start(args, format);
    int n = std::vsnprintf(line, sizeof line - 1, format, args);
    va_end(args);
    if (n < 0)
        return;
    if (n > int(sizeof line) - 2)
        n = int(sizeof line) - 2;
    line[n++] = '\n';
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line, DWORD(n), &written, nullptr);
}

// The dashboard's window id on a module's command line, in decimal as the launcher writes it.
inline WindowHandle windowArgument(int argc, wchar_t **argv, int index)
{
    if (index >= argc)
        return 0;
    wchar_t *end = nullptr;
    const unsigned long long value = std::wcstoull(argv[index], &end, 10);
    return (end && *end == 0) ? WindowHandle(value) : 0;
}

} // namespace winetest
