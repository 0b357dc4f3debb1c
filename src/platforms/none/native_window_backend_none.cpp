#include "platforms/none/native_window_backend_none.h"

namespace KorvexNative {

namespace {
constexpr MessageId FIRST_REGISTERED_ID = 0xC000;
constexpr MessageId LAST_REGISTERED_ID = 0xFFFF;
} // namespace

MessageId NoneNativeWindowBackend::registerWindowMessage(const char16_t *name)
{
    if (!name || !*name)
        return 0;
    const std::u16string key(name);
    const auto found = m_registered.find(key);
    if (found != m_registered.end())
        return found->second;
    const MessageId id = FIRST_REGISTERED_ID + MessageId(m_registered.size());
    if (id > LAST_REGISTERED_ID)
        return 0;
    m_registered.emplace(key, id);
    return id;
}

std::unique_ptr<NativeWindowBackend> createNoneNativeWindowBackend()
{
    return std::make_unique<NoneNativeWindowBackend>();
}

} // namespace KorvexNative
