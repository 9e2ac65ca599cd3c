// Bounded reading of regular files.
#include "DictionaryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vantle::tool {
namespace {

const char* KindOf(mode_t mode) {
    if (S_ISDIR(mode)) return "a directory";
    if (S_ISFIFO(mode)) return "a FIFO (named pipe)";
    if (S_ISCHR(mode)) return "a character device";
    if (S_ISBLK(mode)) return "a block device";
    if (S_ISSOCK(mode)) return "a socket";
    return "not a regular file";
}

}  // namespace

std::string SizeText(std::uint64_t bytes) {
    const char* units[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
    std::size_t unit = 0;
    std::uint64_t value = bytes;
    while (unit + 1 < std::size(units) && value >= 1024 && value % 1024 == 0) {
        value /= 1024;
        ++unit;
    }
    return std::to_string(value) + " " + units[unit];
}

bool ParseSize(const std::string& text, std::uint64_t* bytes) {
    if (text.empty() || text.size() > 24) return false;
    std::uint64_t value = 0;
    std::size_t i = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
        if (value > (UINT64_MAX - 9) / 10) return false;
        value = value * 10 + static_cast<std::uint64_t>(text[i] - '0');
    }
    if (i == 0) return false;
    int shift = 0;
    if (i + 1 == text.size()) {
        switch (text[i]) {
            case 'K': case 'k': shift = 10; break;
            case 'M': case 'm': shift = 20; break;
            case 'G': case 'g': shift = 30; break;
            default: return false;
        }
    } else if (i != text.size()) {
        return false;
    }
    if (value > (UINT64_MAX >> shift)) return false;
    *bytes = value << shift;
    return true;
}

namespace {

bool StatRegularFile(const std::string& path, std::uint64_t limit, struct stat* before, std::string* error,
                     bool* tooLarge) {
    if (tooLarge != nullptr) *tooLarge = false;
    if (path.empty()) {
        *error = "the path is empty";
        return false;
    }
    if (::stat(path.c_str(), before) != 0) {
        *error = path + ": cannot open: " + std::strerror(errno);
        return false;
    }
    if (!S_ISREG(before->st_mode)) {
        *error = path + ": " + KindOf(before->st_mode) + ", not a regular file";
        return false;
    }
    if (static_cast<std::uint64_t>(before->st_size) > limit) {
        *error = path + ": the file has " + std::to_string(before->st_size) + " bytes, more than the limit of " +
                 SizeText(limit);
        if (tooLarge != nullptr) *tooLarge = true;
        return false;
    }
    return true;
}

}  // namespace

bool CheckRegularFile(const std::string& path, std::uint64_t limit, std::string* error, bool* tooLarge) {
    struct stat status {};
    return StatRegularFile(path, limit, &status, error, tooLarge);
}

bool ReadRegularFile(const std::string& path, std::uint64_t limit, std::string* content, std::string* error,
                     bool* tooLarge) {
    struct stat before {};
    if (!StatRegularFile(path, limit, &before, error, tooLarge)) return false;
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        *error = path + ": cannot open: " + std::strerror(errno);
        return false;
    }
    struct stat after {};
    if (::fstat(fd, &after) != 0 || !S_ISREG(after.st_mode) || after.st_ino != before.st_ino ||
        after.st_dev != before.st_dev) {
        ::close(fd);
        *error = path + ": the file changed while it was opened";
        return false;
    }
    content->clear();
    content->reserve(static_cast<std::size_t>(after.st_size));
    char block[65536];
    for (;;) {
        ssize_t got = ::read(fd, block, sizeof block);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            const int cause = errno;
            ::close(fd);
            *error = path + ": cannot read: " + std::strerror(cause);
            return false;
        }
        if (got == 0) break;
        if (content->size() + static_cast<std::uint64_t>(got) > limit) {
            ::close(fd);
            *error = path + ": the file grew beyond the limit of " + SizeText(limit) + " while it was read";
            return false;
        }
        content->append(block, static_cast<std::size_t>(got));
    }
    ::close(fd);
    return true;
}

}  // namespace vantle::tool
