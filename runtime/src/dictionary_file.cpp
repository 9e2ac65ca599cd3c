// Reading a dictionary file.
#include "dictionary_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>

#include "dictionary_loader.h"
#include "dictionary_messages.h"

namespace kesto {
namespace {

// Closes the descriptor on every way out.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const { return fd_; }

private:
    int fd_;
};

// What a file that is not a regular one is, for the message; NULL for a regular file.
const char* NotRegularKind(mode_t mode) {
    if (S_ISREG(mode)) return nullptr;
    if (S_ISDIR(mode)) return "a directory";
    if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
    if (S_ISFIFO(mode)) return "a FIFO";
    if (S_ISSOCK(mode)) return "a socket";
    return "not a regular file";
}

// Reads into text[got..] until the end of the file or of `text`; false with errno
// set on a read error.
bool ReadInto(int fd, std::string* text, std::size_t* got) {
    while (*got < text->size()) {
        const ssize_t n = ::read(fd, text->data() + *got, text->size() - *got);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        if (n == 0) break;
        *got += static_cast<std::size_t>(n);
    }
    return true;
}

}  // namespace

HRESULT ReadDictionaryFile(const std::string& path, std::string* text, std::string* message) {
    // Without O_NONBLOCK, opening a FIFO waits for a writer, which may never come;
    // only the type is wanted before refusing it.
    Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (file.get() < 0) {
        *message = messages::CannotOpen(path, errno);
        return STG_E_FILENOTFOUND;
    }
    struct stat status{};
    if (::fstat(file.get(), &status) != 0) {
        *message = messages::CannotRead(path, errno);
        return STG_E_FILENOTFOUND;
    }
    // A device or a pipe has no size to check before reading, and /dev/zero never
    // ends: only regular files are dictionaries.
    if (const char* kind = NotRegularKind(status.st_mode)) {
        *message = messages::NotRegularFile(path, kind);
        return STG_E_FILENOTFOUND;
    }
    if (status.st_size < 0 || static_cast<unsigned long long>(status.st_size) > kLargestDictionaryBytes) {
        *message = messages::TooLarge(path);
        return E_OUTOFMEMORY;
    }
    const int flags = ::fcntl(file.get(), F_GETFL);
    if (flags < 0 || ::fcntl(file.get(), F_SETFL, flags & ~O_NONBLOCK) != 0) {
        *message = messages::CannotRead(path, errno);
        return STG_E_FILENOTFOUND;
    }
    try {
        // Sized from the file's length. A file that grows meanwhile (or reports no
        // length, as some system files do) is read on a block at a time, never
        // holding more than the limit: a block that would pass it is refused.
        std::size_t got = 0;
        text->resize(static_cast<std::size_t>(status.st_size));
        bool ok = ReadInto(file.get(), text, &got);
        if (ok && got == text->size()) {
            char block[1 << 16];
            for (;;) {
                const ssize_t n = ::read(file.get(), block, sizeof block);
                if (n < 0 && errno == EINTR) continue;
                if (n <= 0) {
                    ok = n == 0;
                    break;
                }
                const std::size_t more = static_cast<std::size_t>(n);
                if (more > kLargestDictionaryBytes - got) {
                    *message = messages::TooLarge(path);
                    *text = std::string();
                    return E_OUTOFMEMORY;
                }
                if (text->capacity() < got + more)
                    text->reserve(std::min(std::max(text->capacity() * 2, got + more), kLargestDictionaryBytes));
                text->append(block, more);
                got += more;
            }
        }
        if (!ok) {
            *message = messages::CannotRead(path, errno);
            return STG_E_FILENOTFOUND;
        }
        text->resize(got);
    } catch (const std::exception&) {
        *message = messages::OutOfMemoryReading(path);
        return E_OUTOFMEMORY;
    }
    return S_OK;
}

}  // namespace kesto
