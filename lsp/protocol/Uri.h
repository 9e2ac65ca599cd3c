// protocol/Uri.h: file URIs <-> local paths.
//
// Only the file scheme names something we can read. Paths are percent-encoded
// except for the unreserved characters and "/"; decoding accepts any escape but
// refuses one that makes a NUL. Pure functions, any thread.
#ifndef VANTLE_LSP_PROTOCOL_URI_H_
#define VANTLE_LSP_PROTOCOL_URI_H_

#include <optional>
#include <string>
#include <string_view>

namespace vantle::lsp {

// "file://" + the absolute form of `path`, percent-encoded.
std::string PathToUri(const std::string& path);
// The local path of a file URI (an empty or "localhost" authority); nullopt for any
// other URI.
std::optional<std::string> UriToPath(std::string_view uri);

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_PROTOCOL_URI_H_
