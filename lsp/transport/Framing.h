// transport/Framing.h: LSP base-protocol framing ("Content-Length: N\r\n\r\n" + body).
//
// FrameReader is fed bytes as they arrive, in pieces of any size, and hands out
// one event per frame: a body, or an error for a frame it could not take. It never
// holds more than one header block (8 KiB at most) or one body (64 MiB at most by
// default) plus the bytes of the last Feed. A body over the limit is skipped as it
// streams past, never stored; after a header it cannot read (no or a bad
// Content-Length, an over-long header block) the length of what follows is unknown,
// so the reader discards input up to the next "Content-Length:" and goes on from
// there. One reader belongs to one thread.
#ifndef VANTLE_LSP_TRANSPORT_FRAMING_H_
#define VANTLE_LSP_TRANSPORT_FRAMING_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vantle::lsp {

struct FrameEvent {
    bool ok = false;  // true: body holds a message; false: error says what was refused
    std::string body;
    std::string error;
};

class FrameReader {
public:
    static constexpr std::size_t kDefaultMaxBody = std::size_t{64} << 20;
    static constexpr std::size_t kMaxHeader = 8192;

    explicit FrameReader(std::size_t maxBody = kDefaultMaxBody) : maxBody_(maxBody) {}

    void Feed(std::string_view bytes);
    // The next complete event, or nullopt until more bytes arrive.
    std::optional<FrameEvent> Next();
    // True when no part of a frame is waiting for more bytes.
    bool Idle() const { return state_ == State::Header && buffer_.size() == start_; }

private:
    enum class State { Header, Body, Skip, Resync };

    std::optional<FrameEvent> ReadHeader();
    std::string_view Buffered() const { return std::string_view(buffer_).substr(start_); }
    void Consume(std::size_t bytes);

    std::size_t maxBody_;
    State state_ = State::Header;
    std::string buffer_;
    std::size_t start_ = 0;      // bytes of buffer_ already consumed
    std::size_t remaining_ = 0;  // Body: bytes expected; Skip: bytes still to drop
};

// The frame of one message body.
std::string EncodeFrame(std::string_view body);
// The header EncodeFrame puts in front of a body of `size` bytes.
std::string FrameHeader(std::size_t size);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_TRANSPORT_FRAMING_H_
