// The query commands of the host tool: one service call each, printed for people
// or as one JSON object for programs.
//
// JSON shapes: {"hresult": H, "list": S} (classes, members), {"hresult": H,
// "kind": K, "type": S} (type), {"hresult": H, "before": S, "current": S,
// "after": S} (signature), {"hresult": H, "origin": S} (origin). H is the HRESULT as
// a signed 32-bit number; S is the service's string exactly, or null for a NULL
// string. Each command returns the process exit code: 0 when the service succeeded
// (S_OK or S_FALSE), 1 after writing the status's message to `err` otherwise.
#ifndef VANTLE_TOOLS_QUERYCOMMANDS_H_
#define VANTLE_TOOLS_QUERYCOMMANDS_H_

#include <ostream>
#include <string>

#include "ServiceSession.h"

namespace vantle::tool {

struct QueryStyle {
    bool json = false;
    bool highlight = false;  // mark the current signature argument with terminal escapes
};

class QueryCommands {
public:
    QueryCommands(ServiceSession& session, std::ostream& out, std::ostream& err, QueryStyle style)
        : session_(session), out_(out), err_(err), style_(style) {}

    int Classes(const std::string& prefix);
    int Members(const std::string& className, unsigned int flags, bool extended);
    int Type(const std::string& className, const std::string& member);
    int Signature(const std::string& className, const std::string& method, unsigned long argument);
    int Origin(const std::string& className, const std::string& member, int kind);

    void SetStyle(QueryStyle style) { style_ = style; }

private:
    int Finish(HRESULT hr);

    ServiceSession& session_;
    std::ostream& out_;
    std::ostream& err_;
    QueryStyle style_;
};

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_QUERYCOMMANDS_H_
