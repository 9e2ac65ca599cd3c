// ToolOutput: standard output as a stream that remembers why a write failed.
//
// iostreams only say that a write failed; the tool needs to know whether the
// reader went away (EPIPE: end quietly) or the disk is full (say so). OutputBuffer
// writes to a file descriptor through its own buffer and keeps the first errno;
// after a failure every later write fails at once, so a long listing into a
// closed pipe stops early. One thread.
#ifndef VANTLE_TOOLS_TOOLOUTPUT_H_
#define VANTLE_TOOLS_TOOLOUTPUT_H_

#include <array>
#include <streambuf>

namespace vantle::tool {

class OutputBuffer : public std::streambuf {
public:
    explicit OutputBuffer(int fd);
    ~OutputBuffer() override;
    OutputBuffer(const OutputBuffer&) = delete;
    OutputBuffer& operator=(const OutputBuffer&) = delete;

    // 0 while every write succeeded, else the errno of the first failure.
    int Error() const { return error_; }

protected:
    int_type overflow(int_type c) override;
    int sync() override;
    std::streamsize xsputn(const char* data, std::streamsize size) override;

private:
    bool Drain();
    bool WriteAll(const char* data, std::size_t size);

    int fd_;
    int error_ = 0;
    std::array<char, 8192> buffer_{};
};

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLOUTPUT_H_
