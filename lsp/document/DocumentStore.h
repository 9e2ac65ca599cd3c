// document/DocumentStore.h: the documents the client has open, by URI.
//
// The store owns each document from didOpen to didClose. References it hands out
// stay valid until that document is closed or reopened. One thread.
#ifndef VANTLE_LSP_DOCUMENT_DOCUMENTSTORE_H_
#define VANTLE_LSP_DOCUMENT_DOCUMENTSTORE_H_

#include <cstdint>
#include <map>
#include <string>

#include "document/TextDocument.h"

namespace vantle::lsp {

struct OpenDocument {
    std::string uri;
    std::int64_t version = 0;
    TextDocument text;
};

class DocumentStore {
public:
    OpenDocument& Open(const std::string& uri, std::int64_t version, std::u16string text) {
        OpenDocument& document = documents_[uri];
        document = OpenDocument{uri, version, TextDocument(std::move(text))};
        return document;
    }
    void Close(const std::string& uri) { documents_.erase(uri); }
    OpenDocument* Find(const std::string& uri) {
        const auto found = documents_.find(uri);
        return found == documents_.end() ? nullptr : &found->second;
    }
    std::map<std::string, OpenDocument>& All() { return documents_; }

private:
    std::map<std::string, OpenDocument> documents_;
};

}  // namespace vantle::lsp

#endif  // VANTLE_LSP_DOCUMENT_DOCUMENTSTORE_H_
