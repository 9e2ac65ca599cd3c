// lsp_bench: round trips of the language server, as an editor sees them.
//
// Runs vantle-lsp as a child process over pipes and sends 1,000 completion requests
// after a dot (classes of 500 and 5,000 members) and 1,000 signature-help requests,
// then reports p50 and p99 next to the same query made in-process through the
// component and a bare echo of the same bytes through `cat` over the same kind of
// pipes. Last, the time from initialize to the first answer on a dictionary of
// 100,000 members. Wall-clock times; run on an idle machine. The client reads in
// blocks and matches an answer by its id without parsing it, so a round trip is the
// server and the pipes, not this client.
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "BenchService.h"
#include "DictionaryGenerator.h"
#include "TestText.h"

namespace {

using Clock = std::chrono::steady_clock;
using nlohmann::json;
constexpr int kRounds = 1000;

// A child process with its standard input and output on pipes.
class Child {
public:
    explicit Child(const std::vector<std::string>& argv) {
        int in[2], out[2];
        vantle::bench::Require(pipe(in) == 0 && pipe(out) == 0, "making pipes");
        pid_ = fork();
        vantle::bench::Require(pid_ >= 0, "starting a child");
        if (pid_ == 0) {
            dup2(in[0], 0);
            dup2(out[1], 1);
            close(in[1]);
            close(out[0]);
            std::vector<char*> args;
            for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
            args.push_back(nullptr);
            execv(args[0], args.data());
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        to_ = in[1];
        from_ = out[0];
    }
    ~Child() {
        close(to_);
        close(from_);
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }

    void Write(const std::string& bytes) {
        for (std::size_t done = 0; done < bytes.size();) {
            ssize_t n = write(to_, bytes.data() + done, bytes.size() - done);
            vantle::bench::Require(n > 0, "writing to the child");
            done += static_cast<std::size_t>(n);
        }
    }
    // Buffered: an editor reads a pipe in blocks, not byte by byte.
    std::string Read(std::size_t count) {
        while (buffered_.size() < count) Fill();
        std::string bytes = buffered_.substr(0, count);
        buffered_.erase(0, count);
        return bytes;
    }
    std::string ReadHeader() {
        std::size_t end;
        while ((end = buffered_.find("\r\n\r\n")) == std::string::npos) Fill();
        return Read(end + 4);
    }

private:
    void Fill() {
        char block[65536];
        ssize_t n = read(from_, block, sizeof block);
        vantle::bench::Require(n > 0, "reading from the child");
        buffered_.append(block, static_cast<std::size_t>(n));
    }

    std::string buffered_;
    pid_t pid_ = -1;
    int to_ = -1;
    int from_ = -1;
};

std::string Framed(const json& message) {
    const std::string body = message.dump();
    return "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

// A client that answers the server's own requests with null and skips notifications.
class Client {
public:
    explicit Client(const std::string& dictionary)
        : server_({VANTLE_LSP_PATH, "--dictionary", dictionary, "--log-level", "error"}) {}

    std::string Request(const std::string& method, json params) {
        const int id = ++lastId_;
        server_.Write(Framed({{"jsonrpc", "2.0"}, {"id", id}, {"method", method}, {"params", std::move(params)}}));
        for (;;) {
            const std::string body = ReadBody();
            // The server's own requests and notifications are small and name their
            // method near the start; they are parsed. An answer is only matched by
            // its id, so the round trip measures the server, not this client's parser.
            if (body.substr(0, 64).find("\"method\"") != std::string::npos) {
                json message = json::parse(body);
                if (message.contains("id"))
                    server_.Write(Framed({{"jsonrpc", "2.0"}, {"id", message["id"]}, {"result", nullptr}}));
                continue;
            }
            const std::size_t at = body.find("\"id\":");
            if (at != std::string::npos && std::atoi(body.c_str() + at + 5) == id) return body;
        }
    }
    // An answer parsed in full, for the few places that look into it.
    json RequestParsed(const std::string& method, json params) {
        return json::parse(Request(method, std::move(params))).value("result", json());
    }
    void Notify(const std::string& method, json params) {
        server_.Write(Framed({{"jsonrpc", "2.0"}, {"method", method}, {"params", std::move(params)}}));
    }

private:
    std::string ReadBody() {
        const std::string header = server_.ReadHeader();
        const std::size_t at = header.find("Content-Length:");
        vantle::bench::Require(at != std::string::npos, "a framed answer");
        return server_.Read(std::stoul(header.substr(at + 15)));
    }

    Child server_;
    int lastId_ = 0;
};

struct Percentiles {
    double p50;
    double p99;
};

Percentiles Measure(const std::function<void()>& once) {
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i) {
        const auto start = Clock::now();
        once();
        times.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    std::sort(times.begin(), times.end());
    return {times[times.size() / 2], times[times.size() * 99 / 100]};
}

void Row(const char* what, Percentiles p) { std::printf("| %-58s | %9.1f | %9.1f |\n", what, p.p50, p.p99); }

std::string WriteDictionary(const vantle::bench::GeneratorOptions& options, const std::string& name) {
    const std::string path = "/tmp/vantle-lsp-bench-" + std::to_string(getpid()) + "-" + name + ".json";
    std::ofstream(path) << vantle::bench::GenerateDictionary(options);
    return path;
}

json Position(const std::string& text) { return {{"line", 0}, {"character", text.size()}}; }

const char* kUri = "file:///tmp/vantle-lsp-bench/document.txt";

json InitializeParams() {
    // As a current editor declares itself: snippets, and list-wide defaults.
    json capabilities;
    capabilities["general"]["positionEncodings"] = {"utf-16"};
    capabilities["textDocument"]["completion"]["completionItem"]["snippetSupport"] = true;
    capabilities["textDocument"]["completion"]["completionList"]["itemDefaults"] = {"editRange", "insertTextFormat",
                                                                                  "data"};
    return {{"processId", getpid()}, {"rootUri", nullptr}, {"capabilities", capabilities}};
}

// Opens a one-line document and waits until the server's tree answers it.
void Open(Client& client, const std::string& text) {
    client.Notify("textDocument/didOpen",
                  {{"textDocument", {{"uri", kUri}, {"languageId", "vantle"}, {"version", 1}, {"text", text}}}});
    for (;;) {
        json result = client.RequestParsed("textDocument/completion",
                                     {{"textDocument", {{"uri", kUri}}}, {"position", Position(text)}});
        const json& items = result.is_object() ? result["items"] : result;
        if (items.is_array() && !items.empty()) return;
        usleep(1000);
    }
}

void BenchClassOfSize(unsigned members, unsigned methods, unsigned properties, unsigned parameters,
                      unsigned overrides) {
    vantle::bench::GeneratorOptions options;
    options.classes = options.chainDepth = 8;
    options.methodsPerClass = methods;
    options.propertiesPerClass = properties;
    options.parametersPerClass = parameters;
    options.overridesPerClass = overrides;
    options.argumentCounts = {1, 10, 40};
    const std::string path = WriteDictionary(options, std::to_string(members));
    const std::string className = vantle::bench::GeneratedClassName(options, 0, 7);
    const std::string method = vantle::bench::GeneratedMethodName(options, 7, overrides + 1);  // 10 arguments

    Client client(path);
    client.Request("initialize", InitializeParams());
    client.Notify("initialized", json::object());
    const std::string completionText = className + ".";
    Open(client, completionText);
    std::string answer;
    const Percentiles completion = Measure([&] {
        answer = client.Request("textDocument/completion",
                                {{"textDocument", {{"uri", kUri}}}, {"position", Position(completionText)}});
    });
    std::size_t items = 0;
    for (std::size_t at = answer.find("\"label\":"); at != std::string::npos; at = answer.find("\"label\":", at + 1))
        ++items;
    std::string label = "completion after a dot, " + std::to_string(members) + " members (" + std::to_string(items) +
                        " items, " + std::to_string(answer.size() / 1024) + " KB)";
    Row(label.c_str(), completion);

    vantle::bench::ServiceOverTree service(vantle::bench::GenerateDictionary(options));
    const Units wideClass = W(className).units();
    label = "  in-process GetClassMembersEx, " + std::to_string(members) + " members";
    Row(label.c_str(), Measure([&] {
            kesto::String list;
            service.assist3->GetClassMembersEx(wideClass.c_str(), static_cast<MEMBER_FILTER_FLAGS>(23), list.out());
        }));

    const std::string signatureText = className + "." + method + "(1, 2, ";
    client.Notify("textDocument/didChange", {{"textDocument", {{"uri", kUri}, {"version", 2}}},
                                             {"contentChanges", {{{"text", signatureText}}}}});
    label = "signature help, 3rd of 10 arguments, " + std::to_string(members) + " members";
    Row(label.c_str(), Measure([&] {
            client.Request("textDocument/signatureHelp",
                           {{"textDocument", {{"uri", kUri}}}, {"position", Position(signatureText)}});
        }));
    const Units wideMethod = W(method).units();
    label = "  in-process GetMethodSignature, " + std::to_string(members) + " members";
    Row(label.c_str(), Measure([&] {
            kesto::String before, current, after;
            service.assist->GetMethodSignature(wideClass.c_str(), wideMethod.c_str(), 3, before.out(), current.out(),
                                               after.out());
        }));
    std::remove(path.c_str());
}

void BenchEcho() {
    Child echo({"/bin/cat"});
    const std::string request = Framed({{"jsonrpc", "2.0"}, {"id", 1}, {"method", "textDocument/completion"},
                                        {"params", {{"textDocument", {{"uri", kUri}}}, {"position", {{"line", 0}, {"character", 20}}}}}});
    Row("bare echo of a completion request over pipes", Measure([&] {
            echo.Write(request);
            echo.Read(request.size());
        }));
}

void BenchFirstAnswer() {
    vantle::bench::GeneratorOptions options;
    options.classes = 10000;
    options.methodsPerClass = 6;
    options.propertiesPerClass = 3;
    options.parametersPerClass = 1;
    const std::string path = WriteDictionary(options, "100k");
    const std::string text = vantle::bench::GeneratedClassName(options, 0, 7) + ".";
    const auto start = Clock::now();
    Client client(path);
    client.Request("initialize", InitializeParams());
    client.Notify("initialized", json::object());
    Open(client, text);
    const double ms = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
    std::printf("\nfirst completion answer after initialize, %lu members: %.0f ms\n",
                vantle::bench::GeneratedMemberCount(options), ms);
    std::remove(path.c_str());
}

}  // namespace

int main() {
    signal(SIGPIPE, SIG_IGN);
    std::printf("| %-58s | %9s | %9s |\n|---|---:|---:|\n", "round trip (1,000 each), microseconds", "p50", "p99");
    BenchEcho();
    BenchClassOfSize(500, 30, 30, 6, 4);
    BenchClassOfSize(5000, 300, 300, 32, 8);
    BenchFirstAnswer();
    return 0;
}
