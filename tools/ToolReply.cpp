// One invocation's answer, for people or as one JSON document.
#include "ToolReply.h"

#include <algorithm>

#include "ToolExit.h"

namespace vantle::tool {

const char* ExitStatusName(int code) {
    switch (code) {
        case kExitFound:
            return "found";
        case kExitNotFound:
            return "not-found";
        case kExitUsage:
            return "usage";
        case kExitDictionary:
            return "dictionary";
        default:
            return "internal";
    }
}

Reply::Reply(std::ostream& out, std::ostream& err, bool json, std::string command, TextStyle style)
    : out_(out), err_(err), json_(json), style_(style), document_(Json::object()) {
    document_["command"] = command.empty() ? Json(nullptr) : Json(command);
    document_["exitCode"] = 0;
    document_["status"] = ExitStatusName(0);
}

void Reply::Result(HRESULT code) { document_["result"] = JsonStatus(code); }

int Reply::Raise(int exit) {
    exit_ = std::max(exit_, exit);
    return exit_;
}

int Reply::Fail(int exit, const std::string& message, const std::vector<std::string>& suggestions,
                const std::string& hint) {
    Raise(exit);
    if (json_) {
        Json error{{"message", message}};
        if (!suggestions.empty()) error["suggestions"] = suggestions;
        if (!hint.empty()) error["hint"] = hint;
        // The first problem is the error; later ones follow in "moreErrors".
        if (!document_.contains("error")) {
            document_["error"] = error;
        } else {
            document_["moreErrors"].push_back(error);
        }
        return exit_;
    }
    err_ << "vantle-assist: " << message << "\n";
    if (suggestions.size() == 1) {
        err_ << "  did you mean " << suggestions.front() << "?\n";
    } else if (!suggestions.empty()) {
        err_ << "  did you mean one of:";
        for (const std::string& name : suggestions) err_ << " " << name;
        err_ << "?\n";
    }
    if (!hint.empty()) err_ << "  " << hint << "\n";
    return exit_;
}

int Reply::Emit() {
    if (json_ && !silent_) {
        document_["exitCode"] = exit_;
        document_["status"] = ExitStatusName(exit_);
        WriteJson(out_, document_);
    }
    return exit_;
}

}  // namespace vantle::tool
