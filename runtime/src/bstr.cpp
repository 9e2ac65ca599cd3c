// BSTR allocation: a 32-bit byte count, the units, a 16-bit zero.
//
// An editor's member queries take and give back two short strings for every child
// they walk, so short strings are the hot path of the whole runtime. Each thread
// keeps the blocks of the short strings it freed, by size class, and hands them out
// again; it also keeps its own count of live strings, so that neither an allocation
// nor a free takes a lock or an atomic read-modify-write. Under the address
// sanitizer every string is a plain malloc/free, so that it sees each one.
//
// Names and keyword answers vary in length from one child to the next, and any
// branch on that length is mispredicted often enough to cost more than the copy.
// So every string of up to 37 units shares one size class, and the tree's own
// strings, whose text is followed by readable slack, are copied in one fixed move
// (AllocPaddedBstr).
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <vector>

#include "bstr_padded.h"
#include "kesto/com.h"
#include "kesto/diagnostics.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KESTO_PLAIN_STRING_BLOCKS 1
#endif
#endif
#if defined(__SANITIZE_ADDRESS__)
#define KESTO_PLAIN_STRING_BLOCKS 1
#endif
#if defined(KESTO_PLAIN_STRING_BLOCKS)
#include <sanitizer/asan_interface.h>
#endif

namespace {

std::atomic<unsigned long> g_faultSkip{0};
std::atomic<unsigned long> g_faultCount{0};
std::atomic<unsigned long> g_faultFailures{0};

struct FaultFromEnvironment {
    FaultFromEnvironment() {
        const char* setting = std::getenv("KESTO_FAIL_STRING_ALLOCS");
        if (setting == nullptr) return;
        char* rest = nullptr;
        unsigned long skip = std::strtoul(setting, &rest, 10);
        unsigned long count = (rest != nullptr && *rest == ',') ? std::strtoul(rest + 1, nullptr, 10) : 0;
        KESTO_FaultInjectStrings(skip, count);
    }
} g_faultFromEnvironment;

// True when fault injection wants this allocation to fail.
[[gnu::noinline]] bool InjectFailure() {
    if (g_faultCount.load(std::memory_order_relaxed) == 0) return false;
    unsigned long skip = g_faultSkip.load(std::memory_order_relaxed);
    if (skip > 0) {
        g_faultSkip.store(skip - 1, std::memory_order_relaxed);
        return false;
    }
    g_faultCount.fetch_sub(1, std::memory_order_relaxed);
    g_faultFailures.fetch_add(1, std::memory_order_relaxed);
    return true;
}

constexpr std::uint32_t kMaxUnits = (0xFFFFFFFFu - 2u) / 2u;
constexpr std::size_t kPrefix = sizeof(std::uint32_t);

// Blocks of up to kLargestKept bytes are rounded up to their size class and kept
// for reuse: one class for every block of up to kShortBlockBytes (names and short
// answers), then sizes grow by 16 bytes up to 256 bytes, then by 256 bytes (formal
// specs, lists). A thread keeps at most kKeptBytes of them.
constexpr std::size_t kShortBlockBytes = 80;
constexpr std::size_t kShortClass = 0;
constexpr std::size_t kLastSixteenClass = 11;  // 241 to 256 bytes
constexpr std::size_t kClassCount = 27;
constexpr std::size_t kLargestKept = 4096;
constexpr std::size_t kKeptBytes = 256 * 1024;

constexpr std::size_t BlockBytes(std::uint32_t bytes) { return kPrefix + bytes + 2u; }
// The size class of a block, or kClassCount when blocks of this size are not kept.
[[maybe_unused]] constexpr std::size_t ClassOf(std::size_t blockBytes) {
    if (blockBytes <= kShortBlockBytes) return kShortClass;
    if (blockBytes <= 256) return ((blockBytes - 1) >> 4) - 4;
    if (blockBytes <= kLargestKept) return kLastSixteenClass + ((blockBytes - 1) >> 8);
    return kClassCount;
}
[[maybe_unused]] constexpr std::size_t ClassBytes(std::size_t c) {
    if (c == kShortClass) return kShortBlockBytes;
    return c <= kLastSixteenClass ? (c + 5) * 16 : (c - kLastSixteenClass + 1) * 256;
}
// A padded copy moves kPaddedCopyUnits whatever the length, so it must fit a short block.
static_assert(kPrefix + 2 * kesto::kPaddedCopyUnits <= kShortBlockBytes);
static_assert(ClassOf(BlockBytes(2 * kesto::kPaddedCopyUnits)) == kShortClass);

struct FreeBlock {
    FreeBlock* next;
};

// One thread's string state, made when the thread first allocates or frees a
// string and dropped when it ends (ThreadExit below).
struct ThreadStrings {
    std::atomic<long> live{0};  // written by its thread only; read by LiveStringCount
    FreeBlock* kept[kClassCount] = {};
    std::size_t keptBytes = 0;
};

// The calling thread's state; kFreshThread until it is made, kEndedThread once the
// thread is ending: its strings are then counted globally and not kept.
ThreadStrings* const kFreshThread = nullptr;
ThreadStrings* const kEndedThread = reinterpret_cast<ThreadStrings*>(alignof(ThreadStrings));

#if defined(__GNUC__)
__attribute__((tls_model("initial-exec")))
#endif
thread_local ThreadStrings* t_strings = kFreshThread;

// Threads with a state, and the net count of strings of those that have ended.
std::mutex g_threadsMutex;
std::vector<ThreadStrings*>& Threads() {
    static auto* threads = new std::vector<ThreadStrings*>();  // outlives every thread's exit
    return *threads;
}
std::atomic<long> g_liveOfEndedThreads{0};

struct ThreadExit {
    ~ThreadExit() {
        ThreadStrings* mine = t_strings;
        t_strings = kEndedThread;
        if (mine == kFreshThread || mine == kEndedThread) return;
        for (FreeBlock*& list : mine->kept) {
            while (FreeBlock* block = list) {
                list = block->next;
                std::free(block);
            }
        }
        {
            std::lock_guard<std::mutex> lock(g_threadsMutex);
            g_liveOfEndedThreads.fetch_add(mine->live.load(std::memory_order_relaxed), std::memory_order_relaxed);
            auto& threads = Threads();
            for (auto it = threads.begin(); it != threads.end(); ++it) {
                if (*it == mine) {
                    threads.erase(it);
                    break;
                }
            }
        }
        delete mine;
    }
};

// Makes the calling thread's state; NULL when the thread is ending or there is no
// memory for it (such strings are counted globally and not kept).
[[gnu::noinline]] ThreadStrings* RegisterThread() {
    if (t_strings == kEndedThread) return nullptr;
    try {
        auto mine = std::make_unique<ThreadStrings>();
        static thread_local ThreadExit exitHook;
        (void)exitHook;
        {
            std::lock_guard<std::mutex> lock(g_threadsMutex);
            Threads().push_back(mine.get());
        }
        t_strings = mine.get();
        return mine.release();
    } catch (...) {
        return nullptr;
    }
}

inline bool IsActive(const ThreadStrings* thread) {
    return reinterpret_cast<std::uintptr_t>(thread) > reinterpret_cast<std::uintptr_t>(kEndedThread);
}

inline ThreadStrings* ActiveThread() {
    ThreadStrings* mine = t_strings;
    if (IsActive(mine)) [[likely]]
        return mine;
    return RegisterThread();
}

inline void CountLive(ThreadStrings* thread, long delta) {
    if (thread != nullptr)
        thread->live.store(thread->live.load(std::memory_order_relaxed) + delta, std::memory_order_relaxed);
    else
        g_liveOfEndedThreads.fetch_add(delta, std::memory_order_relaxed);
}

// A kept block of class c, or NULL.
[[maybe_unused]] inline void* ReuseBlock(ThreadStrings& thread, std::size_t c) {
    FreeBlock* block = thread.kept[c];
    if (block != nullptr) {
        thread.kept[c] = block->next;
        thread.keptBytes -= ClassBytes(c);
    }
    return block;
}

// Keeps a block of class c; false when the thread has no room for it.
[[maybe_unused]] inline bool KeepBlock(ThreadStrings& thread, void* block, std::size_t c) {
    if (thread.keptBytes + ClassBytes(c) > kKeptBytes) return false;
    auto* kept = static_cast<FreeBlock*>(block);
    kept->next = thread.kept[c];
    thread.kept[c] = kept;
    thread.keptBytes += ClassBytes(c);
    return true;
}

// Copies n bytes, kWord <= n <= 2 * kWord, as one word from each end.
template <std::size_t kWord>
inline void CopyEnds(unsigned char* to, const unsigned char* from, std::size_t n) {
    unsigned char head[kWord];
    unsigned char tail[kWord];
    std::memcpy(head, from, kWord);
    std::memcpy(tail, from + n - kWord, kWord);
    std::memcpy(to, head, kWord);
    std::memcpy(to + n - kWord, tail, kWord);
}

// Most strings are a name or a short answer: copied in a few overlapping words they
// spare the call to memcpy, which costs more than the copy itself at these lengths.
constexpr unsigned int kUnitsCopiedInline = 32;

inline void CopyBytes(unsigned char* to, const unsigned char* from, std::size_t n) {
    if (n > 2 * kUnitsCopiedInline) {
        std::memcpy(to, from, n);
    } else if (n >= 32) {
        CopyEnds<16>(to, from, 32);
        CopyEnds<16>(to + n - 32, from + n - 32, 32);
    } else if (n >= 16) {
        CopyEnds<16>(to, from, n);
    } else if (n >= 8) {
        CopyEnds<8>(to, from, n);
    } else if (n >= 4) {
        CopyEnds<4>(to, from, n);
    } else if (n >= 2) {
        CopyEnds<2>(to, from, n);
    }
}

// Makes `block` the string: byte count, text, terminator. A NULL text reserves the
// units for the caller to fill: clearing them would cost as much again as the copy
// that every builder makes right after.
inline BSTR Fill(ThreadStrings* thread, void* block, const unsigned short* text, unsigned int length) {
    auto* bytesAt = static_cast<unsigned char*>(block);
    std::uint32_t bytes = length * 2u;
    std::memcpy(bytesAt, &bytes, sizeof bytes);
    if (text != nullptr) CopyBytes(bytesAt + kPrefix, reinterpret_cast<const unsigned char*>(text), bytes);
    auto* units = reinterpret_cast<unsigned short*>(bytesAt + kPrefix);
    units[length] = 0;
    CountLive(thread, 1);
    return units;
}

[[gnu::noinline]] BSTR AllocateAnyway(const unsigned short* text, unsigned int length) {
    if (length > kMaxUnits || InjectFailure()) return nullptr;
    std::size_t blockBytes = BlockBytes(length * 2u);
    ThreadStrings* thread = ActiveThread();
    void* block = nullptr;
#if !defined(KESTO_PLAIN_STRING_BLOCKS)
    std::size_t c = ClassOf(blockBytes);
    if (c < kClassCount) {
        if (thread != nullptr) block = ReuseBlock(*thread, c);
        // The whole class even when nothing was kept: any thread may keep this block
        // once it is freed and hand it out for the longest string of its class.
        blockBytes = ClassBytes(c);
    }
#endif
    if (block == nullptr) block = std::malloc(blockBytes);
    if (block == nullptr) return nullptr;
    return Fill(thread, block, text, length);
}

// The common case, a short string in a thread that keeps a block of its size, makes
// no call at all; everything else goes the general way.
inline BSTR Allocate(const unsigned short* text, unsigned int length) {
#if !defined(KESTO_PLAIN_STRING_BLOCKS)
    ThreadStrings* thread = t_strings;
    if (length <= kUnitsCopiedInline && IsActive(thread) && g_faultCount.load(std::memory_order_relaxed) == 0) {
        void* block = ReuseBlock(*thread, ClassOf(BlockBytes(length * 2u)));
        if (block != nullptr) return Fill(thread, block, text, length);
    }
#endif
    return AllocateAnyway(text, length);
}

unsigned int UnitsUpToZero(const unsigned short* text) {
    unsigned int n = 0;
    while (text[n] != 0) ++n;
    return n;
}

std::uint32_t ByteCount(const unsigned short* string) {
    std::uint32_t bytes;
    std::memcpy(&bytes, reinterpret_cast<const unsigned char*>(string) - kPrefix, sizeof bytes);
    return bytes;
}

[[gnu::noinline]] void FreeAnyway(BSTR string) {
    ThreadStrings* thread = ActiveThread();
    CountLive(thread, -1);
    void* block = reinterpret_cast<unsigned char*>(string) - kPrefix;
#if !defined(KESTO_PLAIN_STRING_BLOCKS)
    std::size_t c = ClassOf(BlockBytes(ByteCount(string)));
    if (thread != nullptr && c < kClassCount && KeepBlock(*thread, block, c)) return;
#endif
    std::free(block);
}

// Like Allocate, the common case (a thread with room to keep the block) makes no call.
inline void FreeString(BSTR string) {
#if !defined(KESTO_PLAIN_STRING_BLOCKS)
    ThreadStrings* thread = t_strings;
    if (IsActive(thread)) {
        std::size_t c = ClassOf(BlockBytes(ByteCount(string)));
        if (c < kClassCount && KeepBlock(*thread, reinterpret_cast<unsigned char*>(string) - kPrefix, c)) {
            CountLive(thread, -1);
            return;
        }
    }
#endif
    FreeAnyway(string);
}

}  // namespace

namespace kesto {

BSTR AllocPaddedBstr(const char16_t* text, unsigned int length) {
    const auto* units = reinterpret_cast<const unsigned short*>(text);
    if (length > kPaddedCopyUnits || g_faultCount.load(std::memory_order_relaxed) != 0)
        return AllocateAnyway(units, length);
#if defined(KESTO_PLAIN_STRING_BLOCKS)
    // A fresh block every time, as everywhere under the sanitizer, and the fixed move
    // all the same; the block past the terminator is poisoned, so that a read past
    // the string's end is still reported.
    ThreadStrings* thread = ActiveThread();
    void* block = std::malloc(kShortBlockBytes);
    if (block == nullptr) return nullptr;
#else
    ThreadStrings* thread = t_strings;
    void* block = IsActive(thread) ? ReuseBlock(*thread, kShortClass) : nullptr;
    if (block == nullptr) return AllocateAnyway(units, length);
#endif
    auto* bytesAt = static_cast<unsigned char*>(block);
    std::memcpy(bytesAt + kPrefix, units, 2 * kPaddedCopyUnits);
    BSTR string = Fill(thread, block, nullptr, length);  // the units are in place already
#if defined(KESTO_PLAIN_STRING_BLOCKS)
    const std::size_t used = BlockBytes(length * 2u);
    ASAN_POISON_MEMORY_REGION(bytesAt + used, kShortBlockBytes - used);
#endif
    return string;
}

}  // namespace kesto

extern "C" {

BSTR COM_SysAllocString(const unsigned short* text) {
    if (text == nullptr) return nullptr;
    return Allocate(text, UnitsUpToZero(text));
}

BSTR COM_SysAllocStringLen(const unsigned short* text, unsigned int length) {
    return Allocate(text, length);
}

int COM_SysReAllocString(BSTR* string, const unsigned short* text) {
    if (string == nullptr) return 0;
    BSTR fresh = nullptr;
    if (text != nullptr) {
        fresh = COM_SysAllocString(text);
        if (fresh == nullptr) return 0;
    }
    COM_SysFreeString(*string);
    *string = fresh;
    return 1;
}

unsigned int COM_SysStringLen(const unsigned short* string) {
    if (string == nullptr) return 0;
    return ByteCount(string) / 2u;
}

void COM_SysFreeString(BSTR string) {
    if (string == nullptr) return;
    FreeString(string);
}

void KESTO_FaultInjectStrings(unsigned long skip, unsigned long count) {
    g_faultSkip.store(skip, std::memory_order_relaxed);
    g_faultCount.store(count, std::memory_order_relaxed);
    g_faultFailures.store(0, std::memory_order_relaxed);
}

unsigned long KESTO_FaultInjectedFailures() { return g_faultFailures.load(std::memory_order_relaxed); }

long KESTO_LiveStringCount() {
    std::lock_guard<std::mutex> lock(g_threadsMutex);
    long total = g_liveOfEndedThreads.load(std::memory_order_relaxed);
    for (const ThreadStrings* thread : Threads()) total += thread->live.load(std::memory_order_relaxed);
    return total;
}

}  // extern "C"
