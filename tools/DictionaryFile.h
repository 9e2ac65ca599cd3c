// DictionaryFile: a file (a dictionary, the prompt's history) read whole, within a
// size limit.
//
// The file is looked at with stat before it is opened: a directory, a device, a
// FIFO or a socket is refused at once (a FIFO is never opened, so nothing blocks),
// and so is a file larger than the limit; after opening, fstat must still show the
// same regular file, and reading stops at the limit, so a file that grows meanwhile
// cannot make the tool read without end.
#ifndef VANTLE_TOOLS_DICTIONARYFILE_H_
#define VANTLE_TOOLS_DICTIONARYFILE_H_

#include <cstdint>
#include <string>

namespace vantle::tool {

// The default limit: well above the 25 MB of a 100,000-member dictionary.
constexpr std::uint64_t kDefaultDictionaryLimit = 256ull << 20;

// True when `path` is a regular file within the limit (stat only, nothing is
// opened); false with a message as ReadRegularFile gives it.
bool CheckRegularFile(const std::string& path, std::uint64_t limit, std::string* error, bool* tooLarge = nullptr);

// True with the file's bytes in *content; false with a message for people
// ("PATH: what is wrong") in *error; a file over the limit sets *tooLarge.
bool ReadRegularFile(const std::string& path, std::uint64_t limit, std::string* content, std::string* error,
                     bool* tooLarge = nullptr);

// "256 MiB", "1500 bytes": a size for people.
std::string SizeText(std::uint64_t bytes);
// "64M", "1G", "1500": a size on the command line (K, M, G are powers of 1024).
bool ParseSize(const std::string& text, std::uint64_t* bytes);

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_DICTIONARYFILE_H_
