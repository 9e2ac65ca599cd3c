// server/EventLoop.h: runs a Server over file descriptors.
//
// A reader thread reads the input, frames and decodes it and queues the messages;
// the calling thread takes them one by one and is the only one to touch the Server
// (and so the component). The queue holds at most 16 MiB of message bodies (at
// least one message): when it is full the reader stops reading until it drains. A
// $/cancelRequest for a request still waiting in the queue makes that request
// answer -32800 instead of running, and a textDocument/didChange makes every
// request about that document still waiting in the queue answer -32801: its
// positions refer to text that is gone, and the client asks again. Wake() (any thread) makes the loop look at the
// server again: the dictionary loader calls it when a load finishes.
#ifndef VANTLE_LSP_SERVER_EVENTLOOP_H_
#define VANTLE_LSP_SERVER_EVENTLOOP_H_

#include <condition_variable>
#include <deque>
#include <mutex>
#include <map>
#include <set>
#include <string>

#include "server/Server.h"
#include "transport/JsonRpc.h"

namespace vantle::lsp {

class EventLoop {
public:
    EventLoop(int input, int output) : input_(input), output_(output) {}
    // Writes one message; false once the output is gone.
    bool Write(const Outgoing& message);
    void Wake();
    // Runs until the server finishes; answers the server's exit code.
    int Run(Server& server);

private:
    struct Event {
        enum class Kind { Message, FrameError, End, Wake } kind;
        Message message;
        std::string problem;
        std::size_t bytes = 0;
    };
    void Read(int stopFd);
    void Push(Event event);

    int input_;
    int output_;
    bool outputGone_ = false;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Event> queue_;
    std::size_t queuedBytes_ = 0;
    bool stopping_ = false;
    std::map<std::string, std::string> waiting_;  // ids of the queued requests -> their document
    std::map<std::string, ErrorCode> refused_;    // ... of which these were cancelled or outdated
};

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_SERVER_EVENTLOOP_H_
