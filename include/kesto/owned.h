// kesto/owned.h: owning handles for hosts of the runtime: one for an interface
// reference, one for a runtime string.
//
// kesto::Ref<I> owns one counted reference and releases it when it dies or is
// reset; kesto::String owns one BSTR (or NULL) and frees it once. Neither has an
// implicit address-of: an out-parameter is filled through out(), which first gives
// back what the handle held, so a handle reused in a loop never leaks and never
// frees twice (`manager->GetClassNode(name, node.out())`). A NULL string stays
// distinguishable from an empty one.
//
// Handles are moved, not copied (Ref::share() makes a second counted reference).
// They do no locking: one handle belongs to one thread at a time, as do the
// runtime's objects.
#ifndef KESTO_OWNED_H_
#define KESTO_OWNED_H_

#include <string>
#include <string_view>
#include <utility>

#include "kesto/com.h"

namespace kesto {

template <typename I>
class Ref {
public:
    Ref() = default;
    // Takes over one reference already counted for the caller.
    explicit Ref(I* adopted) noexcept : pointer_(adopted) {}
    Ref(Ref&& other) noexcept : pointer_(std::exchange(other.pointer_, nullptr)) {}
    Ref& operator=(Ref&& other) noexcept {
        if (this != &other) reset(std::exchange(other.pointer_, nullptr));
        return *this;
    }
    Ref(const Ref&) = delete;
    Ref& operator=(const Ref&) = delete;
    ~Ref() { reset(); }

    // Releases what is held and returns the slot an out-parameter fills.
    I** out() noexcept {
        reset();
        return &pointer_;
    }
    // The same slot typed for QueryInterface and COM_CreateInstance.
    void** out_void() noexcept { return reinterpret_cast<void**>(out()); }

    // Releases what is held and adopts `adopted` (already counted).
    void reset(I* adopted = nullptr) noexcept {
        I* old = std::exchange(pointer_, adopted);
        if (old != nullptr) old->Release();
    }
    // Hands the reference to the caller, who now releases it.
    [[nodiscard]] I* release() noexcept { return std::exchange(pointer_, nullptr); }
    // A second counted reference to the same object.
    Ref share() const noexcept {
        if (pointer_ != nullptr) pointer_->AddRef();
        return Ref(pointer_);
    }

    I* get() const noexcept { return pointer_; }
    I* operator->() const noexcept { return pointer_; }
    explicit operator bool() const noexcept { return pointer_ != nullptr; }

private:
    I* pointer_ = nullptr;
};

class String {
public:
    String() = default;
    // Takes over a string the runtime allocated.
    explicit String(BSTR adopted) noexcept : value_(adopted) {}
    // A new runtime copy of `text`; NULL when the runtime cannot allocate.
    static String copy(std::u16string_view text) {
        return String(COM_SysAllocStringLen(reinterpret_cast<const unsigned short*>(text.data()),
                                            static_cast<unsigned int>(text.size())));
    }
    String(String&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    String& operator=(String&& other) noexcept {
        if (this != &other) reset(std::exchange(other.value_, nullptr));
        return *this;
    }
    String(const String&) = delete;
    String& operator=(const String&) = delete;
    ~String() { reset(); }

    // Frees what is held and returns the slot an out-parameter fills.
    BSTR* out() noexcept {
        reset();
        return &value_;
    }
    void reset(BSTR adopted = nullptr) noexcept {
        BSTR old = std::exchange(value_, adopted);
        if (old != nullptr && old != adopted) COM_SysFreeString(old);
    }
    [[nodiscard]] BSTR release() noexcept { return std::exchange(value_, nullptr); }

    BSTR get() const noexcept { return value_; }
    bool is_null() const noexcept { return value_ == nullptr; }
    unsigned int size() const noexcept { return COM_SysStringLen(value_); }
    // The units, embedded zeros included; empty for NULL.
    std::u16string_view view() const noexcept {
        if (value_ == nullptr) return {};
        return {reinterpret_cast<const char16_t*>(value_), COM_SysStringLen(value_)};
    }
    std::u16string str() const { return std::u16string(view()); }

private:
    BSTR value_ = nullptr;
};

// A 16-bit string literal or std::u16string as the runtime's CBSTR.
inline CBSTR wide(const char16_t* text) noexcept { return reinterpret_cast<CBSTR>(text); }
inline CBSTR wide(const std::u16string& text) noexcept { return reinterpret_cast<CBSTR>(text.c_str()); }

}  // namespace kesto

#endif  // KESTO_OWNED_H_
