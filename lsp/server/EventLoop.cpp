// The reader thread and the server's loop.
#include "server/EventLoop.h"

#include <poll.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <optional>
#include <thread>

#include "transport/Framing.h"

namespace vantle::lsp {
namespace {

constexpr std::size_t kMaxQueuedBytes = std::size_t{16} << 20;

// The document a message is about ("" for none).
std::string DocumentOf(const Message& message) {
    if (!message.params.is_object()) return {};
    const auto document = message.params.find("textDocument");
    if (document == message.params.end() || !document->is_object()) return {};
    const auto uri = document->find("uri");
    return uri != document->end() && uri->is_string() ? uri->get<std::string>() : std::string();
}

}  // namespace

bool EventLoop::Write(const Outgoing& message) {
    if (outputGone_) return false;
    // The header and the body go out in one writev: a long answer is not copied
    // again only to put twenty bytes in front of it.
    const std::string body = message.Serialize();
    const std::string header = FrameHeader(body.size());
    iovec parts[2] = {{const_cast<char*>(header.data()), header.size()},
                      {const_cast<char*>(body.data()), body.size()}};
    const std::size_t total = header.size() + body.size();
    for (std::size_t written = 0; written < total;) {
        ssize_t count = writev(output_, parts, 2);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            outputGone_ = true;
            return false;
        }
        written += static_cast<std::size_t>(count);
        for (iovec& part : parts) {
            const std::size_t used = std::min(part.iov_len, static_cast<std::size_t>(count));
            part.iov_base = static_cast<char*>(part.iov_base) + used;
            part.iov_len -= used;
            count -= static_cast<ssize_t>(used);
        }
    }
    return true;
}

void EventLoop::Wake() { Push(Event{Event::Kind::Wake, {}, {}, 0}); }

void EventLoop::Push(Event event) {
    std::unique_lock lock(mutex_);
    if (event.kind == Event::Kind::Message) {
        changed_.wait(lock, [&] { return stopping_ || queuedBytes_ < kMaxQueuedBytes || queue_.empty(); });
        if (stopping_) return;
        const Message& message = event.message;
        if (message.kind == Message::Kind::Request) waiting_.emplace(IdKey(message.id), DocumentOf(message));
        if (message.kind == Message::Kind::Notification && message.method == "$/cancelRequest" &&
            message.params.is_object()) {
            const auto id = message.params.find("id");
            if (id != message.params.end() && waiting_.count(IdKey(*id)) > 0)
                refused_.emplace(IdKey(*id), ErrorCode::RequestCancelled);
        }
        if (message.kind == Message::Kind::Notification && message.method == "textDocument/didChange") {
            const std::string document = DocumentOf(message);
            for (const auto& [id, about] : waiting_)
                if (!document.empty() && about == document) refused_.emplace(id, ErrorCode::ContentModified);
        }
        queuedBytes_ += event.bytes;
    }
    queue_.push_back(std::move(event));
    changed_.notify_all();
}

void EventLoop::Read(int stopFd) {
    FrameReader reader;
    char buffer[65536];
    for (;;) {
        pollfd fds[2] = {{input_, POLLIN, 0}, {stopFd, POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR) continue;
            break;
        }
        if (fds[1].revents != 0) return;
        const ssize_t count = read(input_, buffer, sizeof buffer);
        if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (count <= 0) break;
        reader.Feed(std::string_view(buffer, static_cast<std::size_t>(count)));
        while (std::optional<FrameEvent> frame = reader.Next()) {
            if (!frame->ok) {
                Push(Event{Event::Kind::FrameError, {}, frame->error, 0});
                continue;
            }
            const std::size_t bytes = frame->body.size();
            Push(Event{Event::Kind::Message, DecodeMessage(frame->body), {}, bytes});
        }
    }
    Push(Event{Event::Kind::End, {}, reader.Idle() ? "" : "the input ended inside a message", 0});
}

int EventLoop::Run(Server& server) {
    int stop[2];
    if (pipe(stop) != 0) return 1;
    std::thread reader([this, stopFd = stop[0]] { Read(stopFd); });
    while (!server.Finished()) {
        Event event;
        {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return !queue_.empty(); });
            event = std::move(queue_.front());
            queue_.pop_front();
            queuedBytes_ -= event.bytes;
            changed_.notify_all();
        }
        server.Poll();
        switch (event.kind) {
            case Event::Kind::Message: {
                std::optional<ErrorCode> refusal;
                if (event.message.kind == Message::Kind::Request) {
                    std::lock_guard lock(mutex_);
                    const std::string key = IdKey(event.message.id);
                    waiting_.erase(key);
                    if (const auto found = refused_.find(key); found != refused_.end()) {
                        refusal = found->second;
                        refused_.erase(found);
                    }
                }
                if (refusal)
                    server.Refused(event.message.id, *refusal);
                else
                    server.Handle(event.message);
                break;
            }
            case Event::Kind::FrameError: server.RefuseFrame(event.problem); break;
            case Event::Kind::End:
                if (!event.problem.empty()) server.RefuseFrame(event.problem);
                server.EndOfInput();
                break;
            case Event::Kind::Wake: break;
        }
        if (outputGone_) break;
    }
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        changed_.notify_all();
    }
    const char byte = 0;
    (void)!write(stop[1], &byte, 1);
    reader.join();
    close(stop[0]);
    close(stop[1]);
    return server.ExitCode();
}

}  // namespace vantle::lsp
