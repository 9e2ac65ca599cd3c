// Standard output with the reason of a failed write kept.
#include "ToolOutput.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vantle::tool {

OutputBuffer::OutputBuffer(int fd) : fd_(fd) { setp(buffer_.data(), buffer_.data() + buffer_.size()); }

OutputBuffer::~OutputBuffer() { Drain(); }

bool OutputBuffer::WriteAll(const char* data, std::size_t size) {
    if (error_ != 0) return false;
    while (size > 0) {
        ssize_t written = ::write(fd_, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) {
            error_ = written < 0 ? errno : EIO;
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool OutputBuffer::Drain() {
    const std::size_t pending = static_cast<std::size_t>(pptr() - pbase());
    setp(buffer_.data(), buffer_.data() + buffer_.size());
    return WriteAll(buffer_.data(), pending);
}

OutputBuffer::int_type OutputBuffer::overflow(int_type c) {
    if (!Drain()) return traits_type::eof();
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    *pptr() = traits_type::to_char_type(c);
    pbump(1);
    return c;
}

int OutputBuffer::sync() { return Drain() ? 0 : -1; }

std::streamsize OutputBuffer::xsputn(const char* data, std::streamsize size) {
    if (error_ != 0) return 0;
    const auto room = static_cast<std::streamsize>(epptr() - pptr());
    if (size <= room) {
        std::memcpy(pptr(), data, static_cast<std::size_t>(size));
        pbump(static_cast<int>(size));
        return size;
    }
    if (!Drain() || !WriteAll(data, static_cast<std::size_t>(size))) return 0;
    return size;
}

}  // namespace vantle::tool
