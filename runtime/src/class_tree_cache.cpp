// The index cache: mapped trees, checked against their dictionary.
#include "class_tree_cache.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

#include "dictionary_fast_reader.h"
#include "dictionary_loader.h"

namespace kesto {
namespace {

class FileDescriptor {
public:
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() {
        if (fd_ >= 0) close(fd_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

bool CacheEnabled() {
    const char* setting = std::getenv("KESTO_TREE_CACHE");
    return setting == nullptr || std::strcmp(setting, "0") != 0;
}

SourceStamp StampOf(const struct stat& status) {
    SourceStamp stamp;
    stamp.size = static_cast<std::uint64_t>(status.st_size);
    stamp.mtimeNs = static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec;
    stamp.inode = static_cast<std::uint64_t>(status.st_ino);
    stamp.device = static_cast<std::uint64_t>(status.st_dev);
    return stamp;
}

// XXH3-64 of the whole file, read in blocks: nothing of it stays in memory. Read,
// not mapped: a file that shrinks meanwhile only ends the read early.
bool HashFile(int fd, std::uint64_t* hash) {
    XXH3_state_t* state = XXH3_createState();
    if (state == nullptr) return false;
    XXH3_64bits_reset(state);
    std::vector<char> buffer(std::size_t{1} << 20);
    off_t at = 0;
    bool ok = true;
    for (;;) {
        const ssize_t got = pread(fd, buffer.data(), buffer.size(), at);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) {
            ok = false;
            break;
        }
        if (got == 0) break;
        XXH3_64bits_update(state, buffer.data(), static_cast<std::size_t>(got));
        at += got;
    }
    *hash = XXH3_64bits_digest(state);
    XXH3_freeState(state);
    return ok;
}

void Unmap(void* block, std::size_t size) { munmap(block, size); }

// The cached tree, when the cache file is whole and was made from this very file.
std::shared_ptr<ClassTree> FromCache(const std::string& cachePath, int dictionaryFd, const SourceStamp& stamp) {
    FileDescriptor fd(open(cachePath.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (fd.get() < 0) return nullptr;
    struct stat status{};
    if (fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size < sizeof(TreeHeader)) return nullptr;
    TreeHeader header{};
    if (pread(fd.get(), &header, sizeof header, 0) != static_cast<ssize_t>(sizeof header)) return nullptr;
    if (header.source.size != stamp.size || header.source.mtimeNs != stamp.mtimeNs ||
        header.source.inode != stamp.inode || header.source.device != stamp.device)
        return nullptr;
    // The dictionary is hashed on a second thread while this one checks the block:
    // together they are most of a later start.
    std::uint64_t contentHash = 0;
    bool hashed = false;
    std::thread hashing([&] { hashed = HashFile(dictionaryFd, &contentHash); });
    void* block = mmap(nullptr, size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd.get(), 0);
    const bool sound = block != MAP_FAILED && ValidateTreeBlock(block, size, true);
    hashing.join();
    if (!sound || !hashed || contentHash != header.source.contentHash) {
        if (block != MAP_FAILED) munmap(block, size);
        return nullptr;
    }
    return std::make_shared<ClassTree>(block, size, &Unmap);
}

// The dictionary read a block at a time into one reserved stretch of memory, for
// the fast reader: each block is hashed as it comes in, and the pages the reader
// has finished with are let go, so the file is never resident whole. Read, not
// mapped: a file cut short while it is read (an editor saving in place) only ends
// the text early, where a mapping would fault.
class FileFeed final : public ReadFeed {
public:
    FileFeed(int fd, std::size_t size, bool hash) : fd_(fd), size_(size) {
        void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        text_ = memory == MAP_FAILED ? nullptr : static_cast<char*>(memory);
        if (hash) state_ = XXH3_createState();
        if (state_ != nullptr) XXH3_64bits_reset(state_);
    }
    ~FileFeed() {
        if (text_ != nullptr) munmap(text_, size_);
        if (state_ != nullptr) XXH3_freeState(state_);
    }
    FileFeed(const FileFeed&) = delete;
    FileFeed& operator=(const FileFeed&) = delete;

    const char* Text() const { return text_; }
    std::size_t Loaded() const override { return loaded_; }

    bool More() override {
        if (text_ == nullptr || loaded_ >= size_ || failed_) return false;
        const std::size_t want = std::min(kBlock, size_ - loaded_);
        std::size_t got = 0;
        while (got < want) {
            const ssize_t read = pread(fd_, text_ + loaded_ + got, want - got, static_cast<off_t>(loaded_ + got));
            if (read < 0 && errno == EINTR) continue;
            if (read <= 0) {
                failed_ = true;  // cut short or unreadable: the text ends here
                break;
            }
            got += static_cast<std::size_t>(read);
        }
        if (state_ != nullptr) XXH3_64bits_update(state_, text_ + loaded_, got);
        loaded_ += got;
        return got > 0;
    }

    void Consumed(std::size_t bytes) override {
        const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t done = bytes / page * page;
        if (done <= dropped_) return;
        madvise(text_ + dropped_, done - dropped_, MADV_DONTNEED);
        dropped_ = done;
    }

    // The whole file read as it was sized, and its hash.
    bool Finish(std::uint64_t* hash) const {
        if (state_ == nullptr || failed_ || loaded_ != size_) return false;
        *hash = XXH3_64bits_digest(state_);
        return true;
    }

private:
    static constexpr std::size_t kBlock = std::size_t{4} << 20;

    int fd_;
    std::size_t size_;
    char* text_ = nullptr;
    std::size_t loaded_ = 0;
    std::size_t dropped_ = 0;
    bool failed_ = false;
    XXH3_state_t* state_ = nullptr;
};

bool WriteAll(int fd, const unsigned char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t wrote = write(fd, data, size);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) return false;
        data += wrote;
        size -= static_cast<std::size_t>(wrote);
    }
    return true;
}

bool MakeFolders(const std::string& folder) {
    for (std::size_t slash = folder.find('/', 1); ; slash = folder.find('/', slash + 1)) {
        const std::string part = folder.substr(0, slash);
        if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) return false;
        if (slash == std::string::npos) return true;
    }
}

// Writes the tree to a temporary file beside `cachePath` and renames it there.
// Any failure leaves no trace but, at worst, the temporary file removed again.
void WriteCache(const std::string& cachePath, const ClassTree& tree, const SourceStamp& stamp) {
    const std::size_t slash = cachePath.rfind('/');
    if (slash == std::string::npos || !MakeFolders(cachePath.substr(0, slash))) return;
    std::string temporary = cachePath + ".XXXXXX";
    FileDescriptor fd(mkstemp(temporary.data()));
    if (fd.get() < 0) return;
    const auto bytes = tree.Bytes();
    TreeHeader header = tree.Header();
    header.source = stamp;
    header.payloadHash = PayloadHash(bytes.data(), bytes.size());
    const bool written = WriteAll(fd.get(), reinterpret_cast<const unsigned char*>(&header), sizeof header) &&
                         WriteAll(fd.get(), bytes.data() + sizeof header, bytes.size() - sizeof header);
    if (!written || rename(temporary.c_str(), cachePath.c_str()) != 0) unlink(temporary.c_str());
}

}  // namespace

std::string ClassTreeCachePath(const std::string& path) {
    std::string folder;
    if (const char* cache = std::getenv("XDG_CACHE_HOME"); cache != nullptr && cache[0] == '/') {
        folder = std::string(cache) + "/kesto";
    } else if (const char* home = std::getenv("HOME"); home != nullptr && home[0] == '/') {
        folder = std::string(home) + "/.cache/kesto";
    } else {
        return {};
    }
    char resolved[PATH_MAX];
    const std::string canonical = realpath(path.c_str(), resolved) != nullptr ? std::string(resolved) : path;
    char name[40];
    std::snprintf(name, sizeof name, "/%016llx.tree",
                  static_cast<unsigned long long>(XXH3_64bits(canonical.data(), canonical.size())));
    return folder + name;
}

std::shared_ptr<ClassTree> LoadClassTreeFile(const std::string& path) {
    FileDescriptor fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (fd.get() < 0) return nullptr;
    struct stat status{};
    if (fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size <= 0 ||
        static_cast<std::uint64_t>(status.st_size) > kLargestDictionaryBytes)
        return nullptr;
    SourceStamp stamp = StampOf(status);
    const std::string cachePath = CacheEnabled() ? ClassTreeCachePath(path) : std::string();
    if (!cachePath.empty()) {
        if (auto cached = FromCache(cachePath, fd.get(), stamp)) return cached;
    }

    const auto size = static_cast<std::size_t>(status.st_size);
    FileFeed feed(fd.get(), size, !cachePath.empty());
    if (feed.Text() == nullptr) return nullptr;
    std::shared_ptr<ClassTree> tree = ReadDictionaryFast(feed.Text(), size, feed);
    if (tree != nullptr && !cachePath.empty() && feed.Finish(&stamp.contentHash)) WriteCache(cachePath, *tree, stamp);
    return tree;
}

}  // namespace kesto
