// Reading a dictionary file.
#include "dictionary_file.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <exception>

#include "dictionary_loader.h"
#include "dictionary_messages.h"

namespace kesto {

HRESULT ReadDictionaryFile(const std::string& path, std::string* text, std::string* message) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        *message = messages::CannotOpen(path, errno);
        return STG_E_FILENOTFOUND;
    }
    struct stat status{};
    if (fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(file);
        *message = messages::IsFolder(path);
        return STG_E_FILENOTFOUND;
    }
    try {
        // Sized from the file's length; a file that grows meanwhile is read on.
        if (S_ISREG(status.st_mode) && status.st_size > 0 &&
            static_cast<unsigned long long>(status.st_size) <= kLargestDictionaryBytes)
            text->reserve(static_cast<std::size_t>(status.st_size));
        char buffer[1 << 16];
        std::size_t got;
        while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0) text->append(buffer, got);
    } catch (const std::exception&) {
        std::fclose(file);
        *message = messages::OutOfMemoryReading(path);
        return E_OUTOFMEMORY;
    }
    const bool failed = std::ferror(file) != 0;
    const int error = errno;
    std::fclose(file);
    if (failed) {
        *message = messages::CannotRead(path, error);
        return STG_E_FILENOTFOUND;
    }
    return S_OK;
}

}  // namespace kesto
