// Content-Length framing, incremental and bounded.
#include "transport/Framing.h"

#include <algorithm>
#include <cctype>

namespace vantle::lsp {
namespace {

constexpr std::string_view kLengthHeader = "content-length:";

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
    return text;
}

FrameEvent Refused(std::string why) { return FrameEvent{false, {}, std::move(why)}; }

// Where "content-length:" starts in `text`, in any case; npos when absent.
std::size_t FindLengthHeader(std::string_view text) {
    for (std::size_t at = 0; at + kLengthHeader.size() <= text.size(); ++at)
        if (EqualsIgnoringCase(text.substr(at, kLengthHeader.size()), kLengthHeader)) return at;
    return std::string_view::npos;
}

}  // namespace

void FrameReader::Feed(std::string_view bytes) {
    if (state_ == State::Skip && Buffered().empty()) {
        const std::size_t dropped = std::min(remaining_, bytes.size());
        remaining_ -= dropped;
        bytes.remove_prefix(dropped);
        if (remaining_ == 0) state_ = State::Header;
    }
    // Drop what was consumed before growing, so the buffer stays near one frame.
    if (start_ > 0 && (start_ >= buffer_.size() / 2 || start_ > (1u << 16))) {
        buffer_.erase(0, start_);
        start_ = 0;
    }
    buffer_.append(bytes);
}

void FrameReader::Consume(std::size_t bytes) {
    start_ += bytes;
    if (start_ == buffer_.size()) {
        buffer_.clear();
        start_ = 0;
    }
}

std::optional<FrameEvent> FrameReader::Next() {
    for (;;) {
        switch (state_) {
            case State::Header: {
                if (Buffered().empty()) return std::nullopt;
                return ReadHeader();
            }
            case State::Body: {
                if (Buffered().size() < remaining_) return std::nullopt;
                FrameEvent event{true, std::string(Buffered().substr(0, remaining_)), {}};
                Consume(remaining_);
                state_ = State::Header;
                return event;
            }
            case State::Skip: {
                const std::size_t dropped = std::min(remaining_, Buffered().size());
                Consume(dropped);
                remaining_ -= dropped;
                if (remaining_ > 0) return std::nullopt;
                state_ = State::Header;
                continue;
            }
            case State::Resync: {
                const std::size_t found = FindLengthHeader(Buffered());
                if (found == std::string_view::npos) {
                    // Keep a tail that may be the start of the header name.
                    const std::size_t keep = std::min(Buffered().size(), kLengthHeader.size() - 1);
                    Consume(Buffered().size() - keep);
                    return std::nullopt;
                }
                Consume(found);
                state_ = State::Header;
                continue;
            }
        }
    }
}

std::optional<FrameEvent> FrameReader::ReadHeader() {
    const std::string_view text = Buffered();
    const std::size_t end = text.find("\r\n\r\n");
    if (end == std::string_view::npos || end > kMaxHeader) {
        if (end == std::string_view::npos && text.size() <= kMaxHeader) return std::nullopt;
        Consume(std::min(text.size(), kMaxHeader));
        state_ = State::Resync;
        return Refused("the header block is longer than 8 KiB");
    }
    const std::string block(text.substr(0, end));  // Consume may reuse the buffer
    Consume(end + 4);
    std::string_view header = block;

    std::optional<std::size_t> length;
    std::string problem;
    while (!header.empty() && problem.empty()) {
        const std::size_t lineEnd = header.find("\r\n");
        const std::string_view line = header.substr(0, lineEnd);
        header = lineEnd == std::string_view::npos ? std::string_view() : header.substr(lineEnd + 2);
        if (line.empty()) continue;
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) {
            problem = "a header line without ':'";
            break;
        }
        if (!EqualsIgnoringCase(Trim(line.substr(0, colon)), "content-length")) continue;  // Content-Type and others
        const std::string_view value = Trim(line.substr(colon + 1));
        std::size_t parsed = 0;
        bool digits = !value.empty() && value.size() <= 18;
        for (const char c : value) {
            if (c < '0' || c > '9')
                digits = false;
            else
                parsed = parsed * 10 + static_cast<std::size_t>(c - '0');
        }
        if (!digits)
            problem = "Content-Length is not a valid length";
        else
            length = parsed;
    }
    if (problem.empty() && !length) problem = "the header has no Content-Length";
    if (!problem.empty()) {
        state_ = State::Resync;
        return Refused(problem);
    }
    if (*length > maxBody_) {
        state_ = State::Skip;
        remaining_ = *length;
        return Refused("a message of " + std::to_string(*length) + " bytes is over the limit of " +
                       std::to_string(maxBody_) + " bytes");
    }
    state_ = State::Body;
    remaining_ = *length;
    return Next();
}

std::string FrameHeader(std::size_t size) { return "Content-Length: " + std::to_string(size) + "\r\n\r\n"; }

std::string EncodeFrame(std::string_view body) {
    std::string frame = FrameHeader(body.size());
    frame.append(body);
    return frame;
}

}  // namespace vantle::lsp
