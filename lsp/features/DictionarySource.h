// features/DictionarySource.h: places in the dictionary file as LSP locations.
//
// The runtime gives places as a line and a UTF-16 column, both from 1 (a byte
// order mark counts none); LSP wants them from 0 in the negotiated encoding. For
// UTF-16 that is arithmetic; for the others the line's text is needed, so the file
// is read once and kept until it changes on disk. A file that cannot be read keeps
// the runtime's column. One thread.
#ifndef VANTLE_LSP_FEATURES_DICTIONARYSOURCE_H_
#define VANTLE_LSP_FEATURES_DICTIONARYSOURCE_H_

#include <optional>
#include <string>
#include <vector>

#include "bridge/DictionaryLoader.h"
#include "protocol/PositionEncoding.h"
#include "protocol/Types.h"

namespace vantle::lsp {

struct DictionaryProblem {
    unsigned int line = 0;  // from 1; 0 when the problem has no place
    unsigned int column = 0;
    std::string text;  // what went wrong (the whole line when it has no place)
};

// The problems of a failed load: every line of `problems` (the runtime's full
// list), else the single `message`; each "FILE:LINE:COLUMN: what" or "FILE: what".
std::vector<DictionaryProblem> ParseProblems(const std::string& message, const std::string& problems);

class DictionarySource {
public:
    // The range of `units` UTF-16 units from a runtime place in `path`.
    Range RangeAt(const std::string& path, unsigned int line, unsigned int column, std::size_t units,
                  PositionEncoding encoding);

private:
    std::u16string LineText(const std::string& path, unsigned int line);

    std::string path_;
    FileStamp stamp_;
    std::string content_;
    std::vector<std::size_t> lineStarts_;
};

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_FEATURES_DICTIONARYSOURCE_H_
