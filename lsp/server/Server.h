// server/Server.h: the language server's lifecycle and dispatch.
//
// A Server takes decoded messages one at a time (Handle) and answers through the
// Sender it was given; it never reads input itself, so the same object runs under
// the event loop, in tests and under the fuzzer. It owns the documents, the
// settings and the Assistant (the component and its tree), and asks the
// DictionaryLoader for loads, which finish on the loader's thread: `wake` is called
// there, and the next Poll() on the server's thread swaps a cleanly loaded tree in.
// Until the first tree is in, queries answer empty.
//
// Threads: every member function is called on one thread, the one that made the
// Server; only `wake` runs elsewhere.
#ifndef VANTLE_LSP_SERVER_SERVER_H_
#define VANTLE_LSP_SERVER_SERVER_H_

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>

#include "bridge/Assistant.h"
#include "bridge/DictionaryLoader.h"
#include "document/DocumentStore.h"
#include "features/Features.h"
#include "server/Log.h"
#include "server/Settings.h"
#include "transport/JsonRpc.h"

namespace vantle::lsp {

struct ServerOptions {
    std::string dictionaryPath;  // used unless the settings name one
    LogLevel logLevel = LogLevel::Warn;
    bool backgroundLoads = true;  // false: only trees handed to AdoptTree (tests, fuzzing)
};

// What a request answers: a json value, or JSON text for large answers.
using Reply = std::variant<json, RawJson>;

class Server {
public:
    using Sender = std::function<void(const Outgoing&)>;
    Server(ServerOptions options, Sender send, std::function<void()> wake);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void Handle(const Message& message);
    void RefuseFrame(const std::string& problem);  // a frame the transport could not read
    void Refused(const json& id, ErrorCode code);  // a request cancelled, or outdated, before it ran
    void EndOfInput();
    // Takes a finished background load: swaps the tree in or reports its problems.
    void Poll();
    void AdoptTree(kesto::Ref<COM_ITNodeManager> tree);

    bool Finished() const { return finished_; }
    int ExitCode() const { return shutdown_ ? 0 : 1; }

private:
    using Handler = Reply (Server::*)(const json&);
    using NotificationHandler = void (Server::*)(const json&);

    void HandleRequest(const Message& message);
    void HandleNotification(const Message& message);
    void HandleResponse(const Message& message);
    void Send(const Outgoing& message) { send_(message); }
    void Request(const std::string& method, json params);
    void RequestConfiguration();
    void Log(LogLevel level, const std::string& text) { logger_.Log(level, text); }

    Reply OnInitialize(const json& params);
    Reply OnShutdown(const json& params);
    Reply OnCompletion(const json& params);
    Reply OnResolve(const json& params);
    Reply OnSignatureHelp(const json& params);
    Reply OnHover(const json& params);
    Reply OnDefinition(const json& params);
    Reply OnWorkspaceSymbol(const json& params);
    void OnInitialized(const json& params);
    void OnDidOpen(const json& params);
    void OnDidChange(const json& params);
    void OnDidClose(const json& params);
    void OnDidChangeConfiguration(const json& params);
    void OnDidChangeWatchedFiles(const json& params);

    // Features on a document position; nullptr when the document is not open.
    template <typename Feature>
    Reply AtPosition(const json& params, Feature feature);
    FeatureContext Context();
    void UpdateSettings();
    std::string ResolvePath(const std::string& path) const;
    std::string DictionaryPath() const;
    std::u16string RelativeClassOf(const std::string& uri) const;
    void StartLoad();
    void CheckDictionaryFile();
    void WatchDictionary();
    void Publish(const std::string& uri, const std::vector<Diagnostic>& diagnostics,
                 std::optional<std::int64_t> version = std::nullopt);
    void PublishDocument(const OpenDocument& document);
    void PublishAll();

    ServerOptions options_;
    Sender send_;
    Logger logger_;
    Assistant assistant_;
    DictionarySource dictionarySource_;
    DocumentStore documents_;
    std::unique_ptr<DictionaryLoader> loader_;

    bool initialized_ = false;  // initialize answered
    bool ready_ = false;        // the client said "initialized": it takes requests now
    bool shutdown_ = false;
    bool finished_ = false;
    PositionEncoding encoding_ = PositionEncoding::Utf16;
    ClientSupport client_;
    bool clientConfiguration_ = false;
    bool clientWatchRegistration_ = false;
    bool clientRelativePatterns_ = false;
    std::string rootPath_;

    json initializationOptions_;
    json configuration_;
    Settings settings_;
    std::string wantedPath_;   // the dictionary the settings ask for
    FileStamp wantedStamp_;    // as it was when its last load started
    std::string problemsUri_;  // where load problems are published, empty when none
    std::string watchId_;      // the file watcher registered with the client
    long long nextRequestId_ = 1;
    std::map<std::string, std::string> pendingRequests_;  // our requests, by id key: method
};

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_SERVER_SERVER_H_
