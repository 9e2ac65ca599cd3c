// File URIs as editors send them: file:///dir/a%20b.x
#include "protocol/Uri.h"

#include <cctype>
#include <filesystem>

namespace vantle::lsp {
namespace {

int HexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

bool Unreserved(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '.' ||
           c == '_' || c == '~' || c == '/';
}

}  // namespace

std::string PathToUri(const std::string& path) {
    std::error_code error;
    std::filesystem::path absolute = std::filesystem::absolute(path, error);
    const std::string text = error ? path : absolute.lexically_normal().string();
    static const char kHex[] = "0123456789ABCDEF";
    std::string uri = "file://";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (Unreserved(byte)) {
            uri += c;
        } else {
            uri += '%';
            uri += kHex[byte >> 4];
            uri += kHex[byte & 15];
        }
    }
    return uri;
}

std::optional<std::string> UriToPath(std::string_view uri) {
    constexpr std::string_view kScheme = "file://";
    if (uri.size() < kScheme.size()) return std::nullopt;
    for (std::size_t i = 0; i < kScheme.size(); ++i)
        if (std::tolower(static_cast<unsigned char>(uri[i])) != kScheme[i]) return std::nullopt;
    uri.remove_prefix(kScheme.size());
    const std::size_t slash = uri.find('/');
    if (slash == std::string_view::npos) return std::nullopt;
    const std::string_view authority = uri.substr(0, slash);
    if (!authority.empty() && authority != "localhost") return std::nullopt;
    uri.remove_prefix(slash);
    uri = uri.substr(0, uri.find_first_of("?#"));
    std::string path;
    for (std::size_t i = 0; i < uri.size(); ++i) {
        if (uri[i] == '%' && i + 2 < uri.size()) {
            const int high = HexValue(uri[i + 1]);
            const int low = HexValue(uri[i + 2]);
            if (high >= 0 && low >= 0) {
                if (high == 0 && low == 0) return std::nullopt;
                path += static_cast<char>(high * 16 + low);
                i += 2;
                continue;
            }
        }
        if (uri[i] == '\0') return std::nullopt;
        path += uri[i];
    }
    return path;
}

}  // namespace vantle::lsp
