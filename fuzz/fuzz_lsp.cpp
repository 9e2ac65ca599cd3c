// The language server's input: bytes through the framing, JSON-RPC decoding and
// dispatch to a server answering from a tiny dictionary held in memory. An input
// whose first byte is even is preceded by an initialize and a didOpen, so that the
// fuzzer reaches the features without having to find a whole handshake first.
//
// Whatever the bytes, the server must not crash, hang or grow without bound; every
// message it sends must serialize.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "kesto/owned.h"
#include "kesto/tnode.h"
#include "server/Server.h"
#include "transport/Framing.h"

namespace {

using namespace vantle::lsp;

constexpr const char kDictionary[] = R"json({"classes": [
  {"name": "%Library.Text"},
  {"name": "Shop.Order", "description": "An order.",
   "methods": [{"name": "Save", "returnType": "%Status", "formalSpec": "pName:%Text=\"a,b\",&pCount:%Integer"},
               {"name": "Find", "classMethod": true, "formalSpec": "pId:%Text(MAX=(1,2))"},
               {"name": "%Hidden", "private": true}],
   "properties": [{"name": "Lines", "type": "Shop.Line", "collection": "list"}],
   "parameters": [{"name": "VERSION", "default": "1"}]},
  {"name": "Shop.Line", "super": ["Order"], "properties": [{"name": "Qty", "type": "%Text"}]}]})json";

const std::string kPreamble =
    EncodeFrame(R"j({"jsonrpc":"2.0","id":0,"method":"initialize","params":{"capabilities":{"general":)j"
                R"j({"positionEncodings":["utf-8"]}},"initializationOptions":{"sourceRoot":"/s"}}})j") +
    EncodeFrame(R"j({"jsonrpc":"2.0","method":"textDocument/didOpen","params":{"textDocument":)j"
                R"j({"uri":"file:///s/Shop/X.x","version":1,"text":"Order.Save(\"a,\", Shop.Line.Qty.)"}}})j");

kesto::Ref<COM_ITNodeManager> Tree() {
    kesto::Ref<COM_ITNodeManager> tree;
    kesto::String message;
    if (SUCCEEDED(COM_CreateInstance(COM_CLSID_TNodeManager, nullptr, COM_IID_ITNodeManager, tree.out_void())))
        tree->LoadDictionaryBuffer(kDictionary, sizeof kDictionary - 1, kesto::wide(u"fuzz.json"), message.out());
    return tree;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const int registry = setenv("KESTO_REGISTRY", "/nonexistent/fuzz_lsp/registry.db", 1);
    (void)registry;
    Server server(
        ServerOptions{"", LogLevel::Error, false}, [](const json& message) { (void)SerializeMessage(message).size(); },
        [] {});
    server.AdoptTree(Tree());
    FrameReader reader(1 << 20);
    if (size > 0 && data[0] % 2 == 0) reader.Feed(kPreamble);
    reader.Feed(std::string_view(reinterpret_cast<const char*>(data), size));
    while (std::optional<FrameEvent> frame = reader.Next()) {
        if (frame->ok)
            server.Handle(DecodeMessage(frame->body));
        else
            server.RefuseFrame(frame->error);
        if (server.Finished()) break;
    }
    return 0;
}
