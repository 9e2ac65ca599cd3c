// ToolReply: what one invocation (a command, or one line at the prompt) answers.
//
// For people the answer is written to `out` as it comes, problems to `err`. For
// programs (--json) nothing is written until Emit(), which writes exactly one JSON
// document: the command, its exit code and status word, the service's status
// ("result") when a call was made, the answer's own fields, and "error" when
// something went wrong. The reply refers to the streams it is given; it owns only
// its document. One thread.
#ifndef VANTLE_TOOLS_TOOLREPLY_H_
#define VANTLE_TOOLS_TOOLREPLY_H_

#include <ostream>
#include <string>
#include <vector>

#include "ToolJson.h"

namespace vantle::tool {

struct TextStyle {
    bool color = false;  // terminal escapes for headings and the current argument
};

class Reply {
public:
    Reply(std::ostream& out, std::ostream& err, bool json, std::string command, TextStyle style = {});

    bool IsJson() const { return json_; }
    const TextStyle& Style() const { return style_; }
    // The answer's fields, for --json.
    Json& Document() { return document_; }
    // Text for people; written only when not --json.
    std::ostream& Text() { return json_ ? discard_ : out_; }
    std::ostream& Err() { return err_; }
    // Standard output itself, for a command that writes documents of its own (the prompt).
    std::ostream& Output() { return out_; }
    // Emit() writes nothing: the command wrote its own documents.
    void Silence() { silent_ = true; }

    void Result(HRESULT code);
    // Records a problem and raises the exit code to `exit` (when higher). For
    // people: "vantle-assist: message" and "did you mean ...?" on standard error.
    int Fail(int exit, const std::string& message, const std::vector<std::string>& suggestions = {},
             const std::string& hint = {});
    // Raises the exit code without a message (the answer says it: "not found").
    int Raise(int exit);
    int ExitCode() const { return exit_; }

    // --json: writes the document. Returns the exit code.
    int Emit();

private:
    std::ostream& out_;
    std::ostream& err_;
    std::ostream discard_{nullptr};
    bool json_;
    bool silent_ = false;
    TextStyle style_;
    int exit_ = 0;
    Json document_;
};

}  // namespace vantle::tool

#endif  // VANTLE_TOOLS_TOOLREPLY_H_
