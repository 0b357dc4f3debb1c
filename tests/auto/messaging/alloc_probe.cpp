#include "alloc_probe.h"

#include <atomic>

#if defined(__SANITIZE_ADDRESS__)
#define KX_NO_ALLOC_PROBE
#endif
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_NO_ALLOC_PROBE
#endif
#endif
#if !defined(__GLIBC__)
#define KX_NO_ALLOC_PROBE
#endif

namespace {

std::atomic<long long> g_live{ 0 };
std::atomic<long long> g_peak{ 0 };
std::atomic<long long> g_base{ 0 };
std::atomic<std::size_t> g_largest{ 0 };

void noteRequest(std::size_t n)
{
    std::size_t seen = g_largest.load(std::memory_order_relaxed);
    while (n > seen && !g_largest.compare_exchange_weak(seen, n, std::memory_order_relaxed)) {
    }
}

void noteLive(long long delta)
{
    const long long now = g_live.fetch_add(delta, std::memory_order_relaxed) + delta;
    long long peak = g_peak.load(std::memory_order_relaxed);
    while (now > peak && !g_peak.compare_exchange_weak(peak, now, std::memory_order_relaxed)) {
    }
}

} // namespace

#ifndef KX_NO_ALLOC_PROBE

#include <malloc.h>

extern "C" {
void *__libc_malloc(std::size_t);
void *__libc_calloc(std::size_t, std::size_t);
void *__libc_realloc(void *, std::size_t);
void __libc_free(void *);

void *malloc(std::size_t n)
{
    void *p = __libc_malloc(n);
    if (p) {
        noteRequest(n);
        noteLive((long long)malloc_usable_size(p));
    }
    return p;
}

void *calloc(std::size_t count, std::size_t size)
{
    void *p = __libc_calloc(count, size);
    if (p) {
        noteRequest(count * size);
        noteLive((long long)malloc_usable_size(p));
    }
    return p;
}

void *realloc(void *old, std::size_t n)
{
    const long long before = old ? (long long)malloc_usable_size(old) : 0;
    void *p = __libc_realloc(old, n);
    if (p) {
        noteRequest(n);
        // Counted as a new block before the old one goes: a moving realloc holds both.
        noteLive((long long)malloc_usable_size(p));
        noteLive(-before);
    } else if (n == 0) {
        noteLive(-before);
    }
    return p;
}

void free(void *p)
{
    if (p)
        noteLive(-(long long)malloc_usable_size(p));
    __libc_free(p);
}
} // extern "C"

#endif

namespace allocprobe {

bool available()
{
#ifdef KX_NO_ALLOC_PROBE
    return false;
#else
    return true;
#endif
}

void start()
{
    const long long live = g_live.load();
    g_base = live;
    g_peak = live;
    g_largest = 0;
}

Usage stop()
{
    Usage u;
    u.peakGrowth = g_peak.load() - g_base.load();
    u.largest = g_largest.load();
    return u;
}

} // namespace allocprobe
