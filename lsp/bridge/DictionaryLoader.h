// bridge/DictionaryLoader.h: loading a class dictionary off the main thread.
//
// Start(path) asks for a load; one worker thread (started on the first request)
// creates a NEW tree manager, loads the file into it and keeps the result until
// the main thread takes it with Take(). Requests made while a load runs collapse
// into one that runs next, for the latest path. The worker touches nothing but the
// tree manager it created; that manager, and every reference to it, passes to the
// main thread with the result (or dies on the worker when a newer result replaces
// an untaken one). `wake` is called on the worker after each result, to tell the
// main thread to come and take it. The destructor waits for a running load.
#ifndef VANTLE_LSP_BRIDGE_DICTIONARYLOADER_H_
#define VANTLE_LSP_BRIDGE_DICTIONARYLOADER_H_

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "kesto/owned.h"
#include "kesto/tnode.h"

namespace vantle::lsp {

// What identifies one version of a file: enough to notice that it changed.
struct FileStamp {
    bool exists = false;
    std::int64_t modified = 0;  // nanoseconds
    std::uint64_t size = 0;
    bool operator==(const FileStamp&) const = default;
};
FileStamp StampOf(const std::string& path);

struct LoadResult {
    std::string path;
    kesto::Ref<COM_ITNodeManager> tree;  // the loaded tree when status succeeded
    HRESULT status = S_OK;
    std::string message;   // the first problem, "FILE:LINE:COLUMN: what" (failures)
    std::string problems;  // every problem found, one per line (failures, when the runtime says)
};

class DictionaryLoader {
public:
    explicit DictionaryLoader(std::function<void()> wake) : wake_(std::move(wake)) {}
    ~DictionaryLoader();
    DictionaryLoader(const DictionaryLoader&) = delete;
    DictionaryLoader& operator=(const DictionaryLoader&) = delete;

    void Start(const std::string& path);
    std::optional<LoadResult> Take();
    // A load is asked for or running.
    bool Busy();

private:
    void Work();

    std::function<void()> wake_;
    std::mutex mutex_;
    std::condition_variable requested_;
    std::optional<std::string> request_;
    std::optional<LoadResult> result_;
    bool loading_ = false;
    bool stopping_ = false;
    std::thread worker_;
};

// Loads `path` into a new tree manager on the calling thread.
LoadResult LoadDictionaryFile(const std::string& path);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_BRIDGE_DICTIONARYLOADER_H_
