// Lifecycle, dispatch, settings and dictionary reloads of the language server.
#include "server/Server.h"

#include <filesystem>

#include "protocol/Uri.h"
#include "protocol/Utf.h"
#include "vantle/version.h"

namespace vantle::lsp {
namespace {

namespace fs = std::filesystem;

struct RequestError : std::runtime_error {
    RequestError(ErrorCode code, const std::string& message) : std::runtime_error(message), code(code) {}
    ErrorCode code;
};

fs::path Canonical(const fs::path& path) {
    std::error_code error;
    fs::path canonical = fs::weakly_canonical(path, error);
    return error ? path.lexically_normal() : canonical;
}

bool SameFile(const std::string& a, const std::string& b) { return Canonical(a) == Canonical(b); }

}  // namespace

Server::Server(ServerOptions options, Sender send, std::function<void()> wake)
    : options_(std::move(options)), send_(std::move(send)), logger_(options_.logLevel) {
    std::string error;
    if (!assistant_.Create(&error)) Log(LogLevel::Error, error + "; every query will answer nothing");
    if (options_.backgroundLoads) loader_ = std::make_unique<DictionaryLoader>(std::move(wake));
}

Server::~Server() = default;

void Server::Handle(const Message& message) {
    switch (message.kind) {
        case Message::Kind::Request: return HandleRequest(message);
        case Message::Kind::Notification: return HandleNotification(message);
        case Message::Kind::Response: return HandleResponse(message);
        case Message::Kind::Invalid:
            Log(LogLevel::Warn, "refused a message: " + message.problem);
            return Send(MakeError(message.id, message.code, message.problem));
    }
}

void Server::RefuseFrame(const std::string& problem) {
    Log(LogLevel::Warn, "refused a frame: " + problem);
    Send(MakeError(nullptr, ErrorCode::ParseError, problem));
}

void Server::Refused(const json& id, ErrorCode code) {
    Send(MakeError(id, code,
                   code == ErrorCode::ContentModified ? "the document changed after the request was made"
                                                      : "the request was cancelled"));
}

void Server::EndOfInput() {
    if (!shutdown_) Log(LogLevel::Warn, "the input ended without shutdown and exit");
    finished_ = true;
}

void Server::HandleRequest(const Message& message) {
    static const std::map<std::string, Handler> kHandlers = {
        {"initialize", &Server::OnInitialize},
        {"shutdown", &Server::OnShutdown},
        {"textDocument/completion", &Server::OnCompletion},
        {"completionItem/resolve", &Server::OnResolve},
        {"textDocument/signatureHelp", &Server::OnSignatureHelp},
        {"textDocument/hover", &Server::OnHover},
        {"textDocument/definition", &Server::OnDefinition},
        {"workspace/symbol", &Server::OnWorkspaceSymbol},
    };
    Log(LogLevel::Debug, "request " + message.method);
    try {
        if (!initialized_ && message.method != "initialize")
            throw RequestError(ErrorCode::ServerNotInitialized, "the server is not initialized yet");
        if (shutdown_) throw RequestError(ErrorCode::InvalidRequest, "the server is shut down");
        if (initialized_ && message.method == "initialize")
            throw RequestError(ErrorCode::InvalidRequest, "the server is initialized already");
        const auto handler = kHandlers.find(message.method);
        if (handler == kHandlers.end())
            throw RequestError(ErrorCode::MethodNotFound, "unknown method \"" + message.method + "\"");
        if (initialized_) {
            Poll();
            CheckDictionaryFile();
        }
        Reply reply = (this->*handler->second)(message.params);
        if (RawJson* text = std::get_if<RawJson>(&reply))
            Send(Outgoing(message.id, std::move(text->text)));
        else
            Send(MakeResponse(message.id, std::move(std::get<json>(reply))));
    } catch (const RequestError& error) {
        Send(MakeError(message.id, error.code, error.what()));
    } catch (const InvalidParams& error) {
        Send(MakeError(message.id, ErrorCode::InvalidParams, error.what()));
    } catch (const json::exception& error) {
        Send(MakeError(message.id, ErrorCode::InvalidParams, error.what()));
    } catch (const std::exception& error) {
        Log(LogLevel::Error, message.method + " failed: " + error.what());
        Send(MakeError(message.id, ErrorCode::InternalError, error.what()));
    }
}

void Server::HandleNotification(const Message& message) {
    static const std::map<std::string, NotificationHandler> kHandlers = {
        {"initialized", &Server::OnInitialized},
        {"textDocument/didOpen", &Server::OnDidOpen},
        {"textDocument/didChange", &Server::OnDidChange},
        {"textDocument/didClose", &Server::OnDidClose},
        {"workspace/didChangeConfiguration", &Server::OnDidChangeConfiguration},
        {"workspace/didChangeWatchedFiles", &Server::OnDidChangeWatchedFiles},
    };
    if (message.method == "exit") {
        finished_ = true;
        return;
    }
    const auto handler = kHandlers.find(message.method);
    if (!initialized_ || shutdown_ || handler == kHandlers.end()) {
        Log(LogLevel::Debug, "ignored the notification " + message.method);
        return;
    }
    try {
        Poll();
        (this->*handler->second)(message.params);
    } catch (const std::exception& error) {
        Log(LogLevel::Warn, message.method + " ignored: " + error.what());
    }
}

void Server::HandleResponse(const Message& message) {
    const auto pending = pendingRequests_.find(IdKey(message.id));
    if (pending == pendingRequests_.end()) return;
    const std::string method = pending->second;
    pendingRequests_.erase(pending);
    if (!message.error.is_null()) {
        Log(LogLevel::Warn, method + " failed: " + SerializeMessage(message.error));
    } else if (method == "workspace/configuration" && message.result.is_array() && !message.result.empty()) {
        configuration_ = message.result[0];
        UpdateSettings();
    }
}

void Server::Request(const std::string& method, json params) {
    if (pendingRequests_.size() >= 64) pendingRequests_.erase(pendingRequests_.begin());  // a client that never answers
    const json id = nextRequestId_++;
    pendingRequests_[IdKey(id)] = method;
    Send(MakeRequest(id, method, std::move(params)));
}

void Server::RequestConfiguration() {
    if (ready_ && clientConfiguration_) Request("workspace/configuration", {{"items", {{{"section", "vantle"}}}}});
}

Reply Server::OnInitialize(const json& params) {
    if (!params.is_object()) throw InvalidParams("initialize needs an object of parameters");
    const json& capabilities = Path(params, {"capabilities"});
    encoding_ = NegotiateEncoding(Path(capabilities, {"general", "positionEncodings"}));
    client_.snippets = Path(capabilities, {"textDocument", "completion", "completionItem", "snippetSupport"}) == true;
    const json& defaults = Path(capabilities, {"textDocument", "completion", "completionList", "itemDefaults"});
    client_.editRangeDefault =
        defaults.is_array() && std::find(defaults.begin(), defaults.end(), "editRange") != defaults.end();
    const json& formats = Path(capabilities, {"textDocument", "hover", "contentFormat"});
    client_.markdown = !formats.is_array() || std::find(formats.begin(), formats.end(), "markdown") != formats.end();
    clientConfiguration_ = Path(capabilities, {"workspace", "configuration"}) == true;
    const json& watch = Path(capabilities, {"workspace", "didChangeWatchedFiles"});
    clientWatchRegistration_ = Path(watch, {"dynamicRegistration"}) == true;
    clientRelativePatterns_ = Path(watch, {"relativePatternSupport"}) == true;

    const json& rootUri = Path(params, {"rootUri"});
    const json& folders = Path(params, {"workspaceFolders"});
    std::optional<std::string> root;
    if (rootUri.is_string()) root = UriToPath(rootUri.get<std::string>());
    if (!root && folders.is_array() && !folders.empty() && Path(folders[0], {"uri"}).is_string())
        root = UriToPath(folders[0]["uri"].get<std::string>());
    if (!root && Path(params, {"rootPath"}).is_string()) root = params["rootPath"].get<std::string>();
    rootPath_ = root.value_or("");

    initialized_ = true;
    logger_.SetClientSink([this](LogLevel level, const std::string& text) {
        Send(MakeNotification("window/logMessage", {{"type", static_cast<int>(level)}, {"message", text}}));
    });
    initializationOptions_ = Path(params, {"initializationOptions"});
    UpdateSettings();  // starts the first load; it runs while we answer

    return json{{"capabilities",
                 {{"positionEncoding", EncodingName(encoding_)},
              {"textDocumentSync", {{"openClose", true}, {"change", 2}}},
              {"completionProvider", {{"triggerCharacters", {"."}}, {"resolveProvider", true}}},
              {"signatureHelpProvider", {{"triggerCharacters", {"(", ","}}}},
              {"hoverProvider", true},
              {"definitionProvider", true},
              {"workspaceSymbolProvider", true}}},
            {"serverInfo", {{"name", "vantle-lsp"}, {"version", VANTLE_VERSION_STRING}}}};
}

Reply Server::OnShutdown(const json&) {
    shutdown_ = true;
    return json(nullptr);
}

void Server::OnInitialized(const json&) {
    ready_ = true;
    WatchDictionary();
    RequestConfiguration();
}

FeatureContext Server::Context() {
    return FeatureContext{assistant_, dictionarySource_, encoding_, client_, wantedPath_};
}

template <typename Feature>
Reply Server::AtPosition(const json& params, Feature feature) {
    const std::string uri = StringField(Field(params, "textDocument"), "uri");
    const Position position = Field(params, "position").get<Position>();
    OpenDocument* document = documents_.Find(uri);
    if (document == nullptr) return json(nullptr);
    assistant_.SetRelativeClass(RelativeClassOf(uri));
    FeatureContext context = Context();
    return feature(context, document->text, position);
}

Reply Server::OnCompletion(const json& params) { return AtPosition(params, Completion); }
Reply Server::OnSignatureHelp(const json& params) { return AtPosition(params, SignatureHelp); }
Reply Server::OnHover(const json& params) { return AtPosition(params, Hover); }
Reply Server::OnDefinition(const json& params) { return AtPosition(params, Definition); }

Reply Server::OnResolve(const json& params) {
    if (!params.is_object()) throw InvalidParams("completionItem/resolve needs a completion item");
    FeatureContext context = Context();
    return ResolveCompletion(context, params);
}

Reply Server::OnWorkspaceSymbol(const json& params) {
    const std::string query = StringField(params, "query");
    assistant_.SetRelativeClass(u"");
    FeatureContext context = Context();
    return WorkspaceSymbols(context, query);
}

void Server::OnDidOpen(const json& params) {
    const json& item = Field(params, "textDocument");
    const std::string uri = StringField(item, "uri");
    const json& version = Field(item, "version");
    if (!version.is_number_integer()) throw InvalidParams("\"version\" must be an integer");
    PublishDocument(documents_.Open(uri, version.get<std::int64_t>(), ToUtf16(StringField(item, "text"))));
}

void Server::OnDidChange(const json& params) {
    const json& item = Field(params, "textDocument");
    OpenDocument* document = documents_.Find(StringField(item, "uri"));
    if (document == nullptr) throw InvalidParams("the document is not open");
    const json& changes = Field(params, "contentChanges");
    if (!changes.is_array()) throw InvalidParams("\"contentChanges\" must be an array");
    // Checked whole before any is applied: a bad change leaves the text as it was.
    std::vector<std::pair<std::optional<Range>, std::u16string>> edits;
    for (const json& change : changes) {
        std::optional<Range> range;
        if (Path(change, {"range"}).is_object()) range = change["range"].get<Range>();
        edits.emplace_back(range, ToUtf16(StringField(change, "text")));
    }
    for (const auto& [range, text] : edits) document->text.Apply(range, text, encoding_);
    if (const json& version = Path(item, {"version"}); version.is_number_integer())
        document->version = version.get<std::int64_t>();
    PublishDocument(*document);
}

void Server::OnDidClose(const json& params) {
    const std::string uri = StringField(Field(params, "textDocument"), "uri");
    documents_.Close(uri);
    Publish(uri, {});
}

void Server::OnDidChangeConfiguration(const json& params) {
    if (const json& settings = Path(params, {"settings"}); settings.is_object()) {
        configuration_ = settings;
        UpdateSettings();
    }
    RequestConfiguration();
}

void Server::OnDidChangeWatchedFiles(const json& params) {
    const json& changes = Field(params, "changes");
    if (!changes.is_array()) throw InvalidParams("\"changes\" must be an array");
    for (const json& change : changes) {
        const json& uri = Path(change, {"uri"});
        const auto path = uri.is_string() ? UriToPath(uri.get<std::string>()) : std::nullopt;
        if (path && SameFile(*path, wantedPath_)) return StartLoad();
    }
}

std::string Server::ResolvePath(const std::string& path) const {
    if (path.empty()) return path;
    fs::path resolved(path);
    std::error_code error;
    if (resolved.is_relative())
        resolved = (rootPath_.empty() ? fs::current_path(error) : fs::path(rootPath_)) / resolved;
    return resolved.lexically_normal().string();
}

std::string Server::DictionaryPath() const {
    return ResolvePath(settings_.dictionary.empty() ? options_.dictionaryPath : settings_.dictionary);
}

std::u16string Server::RelativeClassOf(const std::string& uri) const {
    const std::optional<std::string> path = UriToPath(uri);
    if (settings_.sourceRoot.empty() || !path) return {};
    const fs::path relative = Canonical(*path).lexically_relative(Canonical(ResolvePath(settings_.sourceRoot)));
    if (relative.empty() || *relative.begin() == "..") return {};
    std::string name;
    for (auto part = relative.begin(); part != relative.end(); ++part) {
        const std::string text = std::next(part) == relative.end() ? part->stem().string() : part->string();
        if (text.empty() || text == ".") continue;
        name += (name.empty() ? "" : ".") + text;
    }
    return ToUtf16(name);
}

void Server::UpdateSettings() {
    Settings settings;
    std::vector<std::string> problems;
    ApplySettings(initializationOptions_, settings, problems);
    ApplySettings(configuration_, settings, problems);
    for (const std::string& problem : problems) Log(LogLevel::Warn, problem);
    const bool changed = !(settings == settings_);
    settings_ = settings;
    assistant_.Configure({ToUtf16(settings_.imports), settings_.flags, settings_.includeInherited});
    if (const std::string path = DictionaryPath(); path != wantedPath_) {
        wantedPath_ = path;
        StartLoad();
        WatchDictionary();
    }
    if (changed) PublishAll();
}

void Server::StartLoad() {
    wantedStamp_ = StampOf(wantedPath_);
    if (!loader_ || wantedPath_.empty()) return;
    Log(LogLevel::Info, "loading the class dictionary " + wantedPath_);
    loader_->Start(wantedPath_);
}

void Server::CheckDictionaryFile() {
    if (loader_ && !wantedPath_.empty() && !(StampOf(wantedPath_) == wantedStamp_)) StartLoad();
}

void Server::WatchDictionary() {
    if (!ready_ || !clientWatchRegistration_ || wantedPath_.empty()) return;
    const std::string method = "workspace/didChangeWatchedFiles";
    if (!watchId_.empty())
        Request("client/unregisterCapability", {{"unregisterations", {{{"id", watchId_}, {"method", method}}}}});
    watchId_ = "vantle-dictionary-" + std::to_string(nextRequestId_);
    const fs::path path(wantedPath_);
    json pattern = "**/" + path.filename().string();
    if (clientRelativePatterns_)
        pattern = {{"baseUri", PathToUri(path.parent_path().string())}, {"pattern", path.filename().string()}};
    Request("client/registerCapability", {{"registrations",
                                           {{{"id", watchId_},
                                             {"method", method},
                                             {"registerOptions", {{"watchers", {{{"globPattern", pattern}}}}}}}}}});
}

void Server::Poll() {
    std::optional<LoadResult> result = loader_ ? loader_->Take() : std::nullopt;
    if (!result || result->path != wantedPath_) return;  // none, or one the settings no longer want
    if (SUCCEEDED(result->status)) {
        AdoptTree(std::move(result->tree));
        Log(LogLevel::Info, "loaded the class dictionary " + result->path);
        if (!problemsUri_.empty()) Publish(std::exchange(problemsUri_, ""), {});
        return;
    }
    Log(LogLevel::Error, "the class dictionary did not load: " + result->message +
                             (assistant_.HasTree() ? " (the dictionary loaded before stays in use)" : ""));
    const std::string uri = PathToUri(result->path);
    if (!problemsUri_.empty() && problemsUri_ != uri) Publish(problemsUri_, {});
    problemsUri_ = uri;
    FeatureContext context = Context();
    Publish(uri, DictionaryDiagnostics(context, result->path, *result));
}

void Server::AdoptTree(kesto::Ref<COM_ITNodeManager> tree) {
    assistant_.Adopt(std::move(tree));
    PublishAll();
}

void Server::Publish(const std::string& uri, const std::vector<Diagnostic>& diagnostics,
                     std::optional<std::int64_t> version) {
    json params = {{"uri", uri}, {"diagnostics", diagnostics}};
    if (version) params["version"] = *version;
    Send(MakeNotification("textDocument/publishDiagnostics", std::move(params)));
}

void Server::PublishDocument(const OpenDocument& document) {
    std::vector<Diagnostic> diagnostics;
    if (settings_.diagnostics) {
        assistant_.SetRelativeClass(RelativeClassOf(document.uri));
        FeatureContext context = Context();
        diagnostics = MemberDiagnostics(context, document.text);
    }
    Publish(document.uri, diagnostics, document.version);
}

void Server::PublishAll() {
    for (auto& [uri, document] : documents_.All()) PublishDocument(document);
}

}  // namespace vantle::lsp
