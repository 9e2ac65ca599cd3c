// Background loads of class dictionaries into fresh tree managers.
#include "bridge/DictionaryLoader.h"

#include <sys/stat.h>

#include "bridge/Assistant.h"
#include "protocol/Utf.h"
#include "unicode_text.h"

namespace vantle::lsp {

FileStamp StampOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return {};
    return {true, static_cast<std::int64_t>(status.st_mtim.tv_sec) * 1'000'000'000 + status.st_mtim.tv_nsec,
            static_cast<std::uint64_t>(status.st_size)};
}

LoadResult LoadDictionaryFile(const std::string& path) {
    LoadResult result;
    result.path = path;
    result.status = COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, result.tree.out_void());
    if (FAILED(result.status) || !result.tree) {
        result.message = path + ": the runtime cannot create a class-definition tree: " + StatusText(result.status);
        result.tree.reset();
        return result;
    }
    kesto::String message;
    result.status = result.tree->LoadDictionary(kesto::wide(kesto::PathToUtf16(path)), message.out());
    if (SUCCEEDED(result.status)) return result;
    result.message = message.is_null() ? path + ": " + StatusText(result.status) : ToUtf8(message.view());
    kesto::String problems;
    if (result.tree->GetLoadErrors(problems.out()) == S_OK) result.problems = ToUtf8(problems.view());
    result.tree.reset();
    return result;
}

DictionaryLoader::~DictionaryLoader() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    requested_.notify_all();
    if (worker_.joinable()) worker_.join();
}

void DictionaryLoader::Start(const std::string& path) {
    {
        std::lock_guard lock(mutex_);
        request_ = path;
        if (!worker_.joinable()) worker_ = std::thread([this] { Work(); });
    }
    requested_.notify_all();
}

std::optional<LoadResult> DictionaryLoader::Take() {
    std::lock_guard lock(mutex_);
    return std::exchange(result_, std::nullopt);
}

bool DictionaryLoader::Busy() {
    std::lock_guard lock(mutex_);
    return loading_ || request_.has_value();
}

void DictionaryLoader::Work() {
    std::unique_lock lock(mutex_);
    for (;;) {
        requested_.wait(lock, [this] { return stopping_ || request_.has_value(); });
        if (stopping_) return;
        const std::string path = std::exchange(request_, std::nullopt).value();
        loading_ = true;
        lock.unlock();
        LoadResult result = LoadDictionaryFile(path);
        lock.lock();
        loading_ = false;
        // An untaken older result dies here, with its tree, on the thread that made it.
        result_ = std::move(result);
        lock.unlock();
        wake_();
        lock.lock();
    }
}

}  // namespace vantle::lsp
