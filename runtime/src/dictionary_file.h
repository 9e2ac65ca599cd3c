// Reading a dictionary file into memory, whole, before it is parsed: a dictionary
// is read once per load, and the reader gives exact positions only over text it
// can look back into. Stateless; any thread may call it.
#ifndef KESTO_RUNTIME_DICTIONARY_FILE_H_
#define KESTO_RUNTIME_DICTIONARY_FILE_H_

#include <string>

#include "kesto/com.h"

namespace kesto {

// S_OK with the file's bytes in *text. A file that cannot be opened or read, or is
// not a regular file (a directory, a device, a FIFO, a socket), gives
// STG_E_FILENOTFOUND; one larger than kLargestDictionaryBytes, told by its size
// before anything is read, or running out of memory gives E_OUTOFMEMORY; either
// with *message "PATH: why". Never blocks on a FIFO and never holds more than the
// limit.
HRESULT ReadDictionaryFile(const std::string& path, std::string* text, std::string* message);

}  // namespace kesto

#endif  // KESTO_RUNTIME_DICTIONARY_FILE_H_
